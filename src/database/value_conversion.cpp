#include "database/value_conversion.h"

#include <QDate>
#include <QDateTime>
#include <QTime>
#include <optional>

#include "core/codecs.h"
#include "core/money.h"
#include "database/dialect.h"

namespace tlm {

namespace {

QVariant TypedNull(ColumnKind kind) {
    switch (kind) {
        case ColumnKind::Money:
            return QVariant(QMetaType::fromType<Money>());
        case ColumnKind::DateTime:
            return QVariant(QMetaType::fromType<QDateTime>());
        case ColumnKind::Id:
        case ColumnKind::Int16:
        case ColumnKind::Int32:
        case ColumnKind::Bool:
            return QVariant(QMetaType::fromType<int>());
        case ColumnKind::Text:
        case ColumnKind::Memo:
            return QVariant(QMetaType::fromType<QString>());
        case ColumnKind::Other:
            break;
    }
    return QVariant();
}

template <typename Text>
int Digits(const Text& s, qsizetype from, int count) {
    int v = 0;
    for (qsizetype i = from; i < from + count; ++i) {
        const char16_t c = char16_t(s[i]);
        if (c < u'0' || c > u'9')
            return -1;
        v = v * 10 + (c - u'0');
    }
    return v;
}

// The one reading of stored date text, over QChar or ASCII bytes.
template <typename Text>
bool DateParts(const Text& s, qsizetype size, int parts[6]) {
    const auto at = [&](qsizetype i) { return char16_t(s[i]); };
    if (size != 19 && size != 10 && !(size > 19 && at(19) == u'.'))
        return false;
    if (at(4) != u'-' || at(7) != u'-')
        return false;
    const int y = Digits(s, 0, 4), mo = Digits(s, 5, 2), d = Digits(s, 8, 2);
    int h = 0, mi = 0, sec = 0;
    if (size >= 19) {
        if ((at(10) != u' ' && at(10) != u'T') || at(13) != u':' || at(16) != u':')
            return false;
        h = Digits(s, 11, 2);
        mi = Digits(s, 14, 2);
        sec = Digits(s, 17, 2);
    }
    if (y < 0 || mo < 0 || d < 0 || h < 0 || mi < 0 || sec < 0)
        return false;
    if (!QDate::isValid(y, mo, d) || !QTime::isValid(h, mi, sec))
        return false;
    parts[0] = y;
    parts[1] = mo;
    parts[2] = d;
    parts[3] = h;
    parts[4] = mi;
    parts[5] = sec;
    return true;
}

struct QCharText {
    const QString& s;
    char16_t operator[](qsizetype i) const { return s[i].unicode(); }
};
struct ByteText {
    const char* s;
    char16_t operator[](qsizetype i) const { return char16_t(static_cast<unsigned char>(s[i])); }
};

ColumnKind KindFromDriver(const QMetaType& type) {
    switch (type.id()) {
        case QMetaType::Bool:
            return ColumnKind::Bool;
        case QMetaType::Int:
        case QMetaType::Short:
        case QMetaType::UShort:
        case QMetaType::UInt:
            return ColumnKind::Int32;
        case QMetaType::QDateTime:
            return ColumnKind::DateTime;
        default:
            return ColumnKind::Other;
    }
}

qint32 AdoTypeFromDriver(const QMetaType& type) {
    switch (type.id()) {
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
            return adotype::adBigInt;
        case QMetaType::Double:
        case QMetaType::Float:
            return adotype::adNumeric;
        case QMetaType::QDate:
            return adotype::adDate;
        default:
            return adotype::adVarWChar;
    }
}

// A date from what a caller may hand over: QDateTime, QDate or date text.
QDateTime AsDateTime(const QVariant& v) {
    if (v.typeId() == QMetaType::QDateTime)
        return v.toDateTime();
    if (v.typeId() == QMetaType::QDate)
        return QDateTime(v.toDate(), QTime(0, 0));
    if (v.typeId() == QMetaType::QString) {
        const QString s = v.toString().trimmed();
        for (const QString& f : {QStringLiteral("yyyy-MM-dd HH:mm:ss"), QStringLiteral("yyyy-M-d H:mm:ss"),
                                 QStringLiteral("yyyy-M-d H:mm"), QStringLiteral("yyyy-M-d")}) {
            const QDateTime dt = QDateTime::fromString(s, f);
            if (dt.isValid())
                return dt;
        }
        const QDateTime iso = QDateTime::fromString(s, Qt::ISODate);
        if (iso.isValid())
            return QDateTime(iso.date(), iso.time());
    }
    return QDateTime();
}

QString NonNullText(const QString& s) {
    return s.isNull() ? QStringLiteral("") : s;
}

QString FlagText(const QVariant& v) {
    return v.toBool() ? QStringLiteral("True") : QStringLiteral("False");
}

// "True" and "False" as flags are written in text, without regard to case or blanks around.
std::optional<int> FlagWord(const QString& text) {
    const QString t = text.trimmed();
    if (t.compare(u"True", Qt::CaseInsensitive) == 0)
        return 1;
    if (t.compare(u"False", Qt::CaseInsensitive) == 0)
        return 0;
    return std::nullopt;
}

}  // namespace

// Read without a format parser, since every date of a large read passes here.
QDateTime ParseStoredDate(const QString& s) {
    int p[6];
    if (!DateParts(QCharText{s}, s.size(), p))
        return QDateTime();
    return QDateTime(QDate(p[0], p[1], p[2]), QTime(p[3], p[4], p[5]));
}

bool ParseStoredDateKey(const char* text, qsizetype size, qint64* key) {
    int p[6];
    if (!DateParts(ByteText{text}, size, p))
        return false;
    *key = PackDateTime(p[0], p[1], p[2], p[3], p[4], p[5]);
    return true;
}

QDateTime UnpackDateTime(qint64 key) {
    const int s = int(key % 64), mi = int(key / 64 % 64), h = int(key / 4096 % 32);
    const int d = int(key / (4096 * 32) % 32), mo = int(key / (4096 * 32 * 32) % 16);
    const int y = int(key / (4096LL * 32 * 32 * 16));
    return QDateTime(QDate(y, mo, d), QTime(h, mi, s));
}

QVariant StoredCellValue(const StoredCell& cell, const StoredColumn& column) {
    switch (cell.form) {
        case StoredCell::Form::Null:
            return TypedNull(column.kind);
        case StoredCell::Form::Int:
            return QVariant(int(cell.number));
        case StoredCell::Form::Money:
            return QVariant::fromValue(Money::fromUnits(cell.number));
        case StoredCell::Form::DateTime:
            return QVariant(UnpackDateTime(cell.number));
        case StoredCell::Form::Utf8:
            return QVariant(QString::fromUtf8(cell.utf8, cell.size));
        case StoredCell::Form::Variant:
            break;
    }
    return cell.variant;
}

StoredColumn DescribeColumn(const QString& fieldName, const QMetaType& driverType) {
    StoredColumn c{CanonicalColumnName(fieldName), ColumnKind::Other, 0};
    c.kind = KindOfColumn(c.name);
    c.adoType = AdoTypeOf(c.kind);
    if (c.kind == ColumnKind::Other) {
        c.kind = KindFromDriver(driverType);
        c.adoType = c.kind == ColumnKind::Other ? AdoTypeFromDriver(driverType) : AdoTypeOf(c.kind);
    }
    return c;
}

QVariant ConvertStoredValue(const QVariant& raw, const StoredColumn& column) {
    if (!raw.isValid() || raw.isNull())
        return TypedNull(column.kind);
    switch (column.kind) {
        case ColumnKind::Money: {
            if (raw.metaType() == QMetaType::fromType<Money>())
                return raw;
            if (raw.typeId() == QMetaType::QString) {
                if (const auto m = Money::parse(raw.toString()))
                    return QVariant::fromValue(*m);
                return raw;
            }
            if (const auto m = Money::fromVariant(raw))
                return QVariant::fromValue(*m);
            return raw;
        }
        case ColumnKind::DateTime: {
            if (raw.typeId() == QMetaType::QDateTime) {
                // The driver may attach a zone; the program works in plain local time.
                const QDateTime dt = raw.toDateTime();
                return QDateTime(dt.date(), dt.time());
            }
            if (raw.typeId() == QMetaType::QString) {
                const QDateTime dt = ParseStoredDate(raw.toString());
                return dt.isValid() ? QVariant(dt) : raw;
            }
            return raw;
        }
        case ColumnKind::Bool: {
            if (raw.typeId() == QMetaType::QString) {
                if (const std::optional<int> flag = FlagWord(raw.toString()))
                    return *flag;
            }
            bool ok = false;
            const qlonglong v = raw.toLongLong(&ok);
            return ok ? QVariant(v != 0 ? 1 : 0) : QVariant(raw.toBool() ? 1 : 0);
        }
        case ColumnKind::Id:
        case ColumnKind::Int16:
        case ColumnKind::Int32: {
            if (raw.typeId() == QMetaType::Int)
                return raw;
            bool ok = false;
            const int v = raw.toInt(&ok);
            return ok ? QVariant(v) : raw;
        }
        case ColumnKind::Text:
        case ColumnKind::Memo:
            return raw.typeId() == QMetaType::QString ? raw : QVariant(raw.toString());
        case ColumnKind::Other:
            break;
    }
    // A computed decimal (a sum of money) reads as money: PostgreSQL hands it over as text, SQLite as
    // its 8-byte number, rounded to four decimals through the shortest text that gives it back.
    if (column.adoType == adotype::adNumeric) {
        if (const auto m = Money::fromVariant(raw))
            return QVariant::fromValue(*m);
    }
    return raw;
}

QVariant StorageValue(const QVariant& value, ColumnKind kind, const Dialect& dialect) {
    if (!value.isValid() || value.isNull())
        return QVariant();
    const bool isMoney = value.metaType() == QMetaType::fromType<Money>();
    switch (kind) {
        case ColumnKind::DateTime: {
            const QDateTime dt = AsDateTime(value);
            if (dt.isValid())
                return dialect.DateStorageText(dt);
            // Text that is no date goes as it stands; the engine or a later read decides.
            return value.typeId() == QMetaType::QString ? value : QVariant();
        }
        case ColumnKind::Money: {
            if (isMoney)
                return value.value<Money>().toString(4);
            if (const auto m = Money::fromVariant(value))
                return m->toString(4);
            return value;
        }
        case ColumnKind::Bool: {
            if (value.typeId() == QMetaType::Bool || HoldsNumber(value) || isMoney) {
                const auto m = Money::fromVariant(value);
                return (m && m->units != 0) || value.toBool() ? 1 : 0;
            }
            const QString t = value.toString().trimmed();
            if (const std::optional<int> flag = FlagWord(t))
                return *flag;
            bool ok = false;
            const double d = t.toDouble(&ok);
            return ok ? QVariant(d != 0 ? 1 : 0) : value;
        }
        case ColumnKind::Id:
        case ColumnKind::Int16:
        case ColumnKind::Int32:
            if (value.typeId() == QMetaType::Bool)
                return value.toBool() ? 1 : 0;
            if (isMoney)
                return value.value<Money>().toPlainString();
            return value;
        case ColumnKind::Text:
        case ColumnKind::Memo:
            if (isMoney)
                return value.value<Money>().toPlainString();
            if (value.typeId() == QMetaType::QDateTime || value.typeId() == QMetaType::QDate)
                return dialect.DateStorageText(AsDateTime(value));
            if (value.typeId() == QMetaType::Bool)
                return FlagText(value);
            return NonNullText(value.toString());
        case ColumnKind::Other:
            break;
    }
    if (isMoney)
        return value.value<Money>().toString(4);
    if (value.typeId() == QMetaType::QDateTime || value.typeId() == QMetaType::QDate)
        return dialect.DateStorageText(AsDateTime(value));
    if (value.typeId() == QMetaType::Bool)
        return value.toBool() ? 1 : 0;
    if (value.typeId() == QMetaType::QString)
        return NonNullText(value.toString());
    return value;
}

QVariant DB::NullSafeValue(const QVariant& value, qint32 fieldType) {
    using namespace adotype;
    const bool null = !value.isValid() || value.isNull();
    switch (fieldType) {
        case adInteger:
        case adSingle:
        case adDouble:
        case adCurrency:
        case adDecimal:
        case adBigInt: {
            if (null)
                return 0;
            if (HoldsNumber(value) || value.metaType() == QMetaType::fromType<Money>())
                return value;
            if (value.typeId() == QMetaType::QString && IsNumericText(value.toString()))
                return value;
            return 0;
        }
        case adDate:
        case adDBTime: {
            if (!null) {
                const QDateTime dt = AsDateTime(value);
                if (dt.isValid())
                    return dt;
            }
            return ZeroDate();
        }
        case adChar:
        case adWChar:
        case adVarChar:
        case adLongVarChar:
        case adVarWChar:
        case adLongVarWChar: {
            if (null)
                return QStringLiteral("");
            if (value.metaType() == QMetaType::fromType<Money>())
                return value.value<Money>().toPlainString();
            if (value.typeId() == QMetaType::QDateTime)
                return value.toDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
            return NonNullText(value.toString());
        }
        default:
            return QVariant();
    }
}

}  // namespace tlm
