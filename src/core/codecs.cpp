#include "core/codecs.h"

#include <QFile>
#include <QLocale>
#include <QRegularExpression>
#include <cmath>
#include <limits>

#include "core/error_report.h"
#include "core/file_services.h"
#include "core/money.h"

namespace tlm {

QString EncodeValue(const QVariant& value) {
    QString s = value.toString();
    s.replace(QLatin1Char(':'), QStringLiteral("_COLON_"));
    s.replace(QLatin1Char(';'), QStringLiteral("_SCOLON_"));
    s.replace(QLatin1Char(','), QStringLiteral("_COMMA_"));
    return s;
}

QString DecodeValue(const QVariant& value) {
    QString s = value.toString();
    s.replace(QStringLiteral("_COLON_"), QStringLiteral(":"));
    s.replace(QStringLiteral("_SCOLON_"), QStringLiteral(";"));
    s.replace(QStringLiteral("_COMMA_"), QStringLiteral(","));
    return s;
}

void PinLocalTimeZone() {
    if (qEnvironmentVariableIsEmpty("TZ") && QFile::exists(QStringLiteral("/etc/localtime")))
        qputenv("TZ", ":/etc/localtime");
}

QDateTime ZeroDate() {
    return QDateTime(QDate(1899, 12, 30), QTime(0, 0, 0));
}

bool IsEmptyDate(const QDate& date) {
    if (!date.isValid())
        return true;
    const int y = date.year();
    return y == 1899 || y == 4501 || y == 1;
}

bool IsEmptyDate(const QDateTime& date) {
    return IsEmptyDate(date.date());
}

QString ToTallyloomDateFormat(const QDate& date) {
    return QStringLiteral("%1-%2-%3").arg(date.year()).arg(date.month()).arg(date.day());
}

QString ToTallyloomDateFormat(const QDateTime& date) {
    return ToTallyloomDateFormat(date.date());
}

QString fncGetDateTextOrEmpty(const QDateTime& date) {
    return IsEmptyDate(date) ? QString() : ToTallyloomDateFormat(date);
}

QDate DateSerial(int year, int month, int day) {
    if (year >= 0 && year <= 29)
        year += 2000;
    else if (year >= 30 && year <= 99)
        year += 1900;
    // Month overflow carries into years (both ways), then the day is an offset from the 1st.
    const int m0 = month - 1;
    const int carry = m0 >= 0 ? m0 / 12 : -((11 - m0) / 12);
    year += carry;
    const int m = m0 - carry * 12 + 1;
    if (year < 100 || year > 9999)
        return QDate();
    const QDate first(year, m, 1);
    const QDate result = first.addDays(qint64(day) - 1);
    if (!result.isValid() || result.year() < 100 || result.year() > 9999)
        return QDate();
    return result;
}

QDateTime FromTallyloomDateFormat(const QString& text) {
    const QString t = text.trimmed();
    if (t.isEmpty())
        return ZeroDate();
    const QStringList parts = t.split(QLatin1Char('-'));
    if (parts.size() < 3)
        return ZeroDate();
    bool ok1 = false, ok2 = false, ok3 = false;
    const int y = ToInt16(parts[0], &ok1);
    const int m = ToInt16(parts[1], &ok2);
    const int d = ToInt16(parts[2], &ok3);
    if (!ok1 || !ok2 || !ok3)
        return ZeroDate();
    const QDate date = DateSerial(y, m, d);
    if (!date.isValid())
        return ZeroDate();
    return QDateTime(date, QTime(0, 0, 0));
}

namespace {

bool IsNull(const QVariant& v) {
    return v.isValid() && v.isNull();
}

bool IsNumberType(const QVariant& v) {
    return HoldsNumber(v) || v.typeId() == QMetaType::Bool || v.metaType() == QMetaType::fromType<Money>();
}

bool IsDateType(const QVariant& v) {
    return v.typeId() == QMetaType::QDateTime || v.typeId() == QMetaType::QDate;
}

QDateTime AsDateTime(const QVariant& v) {
    if (v.typeId() == QMetaType::QDate)
        return QDateTime(v.toDate(), QTime(0, 0, 0));
    if (v.typeId() == QMetaType::QDateTime)
        return v.toDateTime();
    QDateTime dt = QDateTime::fromString(v.toString().trimmed(), Qt::ISODate);
    if (!dt.isValid())
        dt = QDateTime::fromString(v.toString().trimmed(), QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    if (!dt.isValid()) {
        const QDateTime d = FromTallyloomDateFormat(v.toString());
        if (d != ZeroDate() || v.toString().trimmed() == QStringLiteral("1899-12-30"))
            dt = d;
    }
    return dt;
}

}  // namespace

bool VariantsEqual(const QVariant& a, const QVariant& b) {
    const bool aEmpty = !a.isValid(), bEmpty = !b.isValid();
    if (aEmpty || bEmpty) {
        // Empty equals empty text and zero, as the original's variant comparison has it.
        const QVariant& other = aEmpty ? b : a;
        if (!other.isValid())
            return true;
        if (IsNumberType(other))
            return Money::fromVariant(other).value_or(Money{1}).units == 0;
        return other.toString().isEmpty();
    }
    if (a.typeId() == QMetaType::Bool || b.typeId() == QMetaType::Bool) {
        // A flag against a stored number: older files hold true as -1, newer ones as 1.
        const QVariant& flag = a.typeId() == QMetaType::Bool ? a : b;
        const QVariant& other = a.typeId() == QMetaType::Bool ? b : a;
        if (other.typeId() == QMetaType::Bool || IsNumberType(other)) {
            const auto m = Money::fromVariant(other);
            return other.typeId() == QMetaType::Bool ? flag.toBool() == other.toBool()
                                                     : m && flag.toBool() == (m->units != 0);
        }
    }
    if (IsNumberType(a) || IsNumberType(b)) {
        const auto ma = Money::fromVariant(a);
        const auto mb = Money::fromVariant(b);
        if (ma && mb) {
            // Whole-money precision is enough for rates; fall back to doubles for finer values.
            if (a.typeId() == QMetaType::Double || b.typeId() == QMetaType::Double)
                return a.toDouble() == b.toDouble() || *ma == *mb;
            return *ma == *mb;
        }
        return false;
    }
    if (IsDateType(a) || IsDateType(b)) {
        const QDateTime da = AsDateTime(a), db = AsDateTime(b);
        return da.isValid() && db.isValid() && da == db;
    }
    return a.toString() == b.toString();
}

QString SystemShortDateFormat() {
    const QString f = QLocale::system().dateFormat(QLocale::ShortFormat);
    return f.isEmpty() ? QStringLiteral("M/d/yyyy") : f;
}

QString SystemTimeFormat() {
    QString f = QLocale::system().timeFormat(QLocale::LongFormat);
    // The zone is no part of a time the program shows.
    f.remove(QStringLiteral(" t")).remove(QStringLiteral("t "));
    return f.trimmed().isEmpty() ? QStringLiteral("h:mm:ss AP") : f;
}

QString SystemDateTimeFormat() {
    return SystemShortDateFormat() + u' ' + SystemTimeFormat();
}

bool IsFieldChanged(const QVariant& current, const QVariant& newValue) {
    if (IsNull(newValue))
        return false;
    if (IsNull(current))
        return true;
    return !VariantsEqual(current, newValue);
}

QString ExtractResourceTextContent(const QString& resourceName, const QString& resourceType) {
    QFile f(QStringLiteral(":/%1/%2").arg(resourceType, resourceName));
    if (!f.open(QIODevice::ReadOnly)) {
        subReportError(Failure{errnum::kUnspecified,
                               QStringLiteral("Resource not found: %1/%2").arg(resourceType, resourceName), 0,
                               QStringLiteral("Global.ExtractResourceTextContent")});
        return QString();
    }
    return QString::fromUtf8(f.readAll());
}

void ExtractFileFromRes(const QString& resourceName, const QString& resourceType, const QString& path) {
    QFile f(QStringLiteral(":/%1/%2").arg(resourceType, resourceName));
    if (!f.open(QIODevice::ReadOnly))
        return;
    WriteFileAtomically(path, f.readAll(), false);
}

namespace {

// Parses a decimal number the way a numeric test of the original accepts it: blanks around,
// an optional sign, digits with an optional fraction and exponent. Returns nullopt otherwise.
std::optional<long double> ParseNumber(const QString& text) {
    static const QRegularExpression re(
        QStringLiteral("^\\s*[+-]?(\\d+\\.?\\d*|\\.\\d+)([eE][+-]?\\d+)?\\s*$"));
    if (!re.match(text).hasMatch())
        return std::nullopt;
    bool ok = false;
    const double d = text.trimmed().toDouble(&ok);
    if (!ok || !std::isfinite(d))
        return std::nullopt;
    return static_cast<long double>(d);
}

template <typename Int>
Int ToIntRounded(const QString& text, bool* ok, bool* overflow) {
    if (overflow)
        *overflow = false;
    const auto n = ParseNumber(text);
    if (!n) {
        if (ok)
            *ok = false;
        return 0;
    }
    // Half to even, as the original's integer conversion rounds.
    const long double r = std::nearbyint(*n);
    if (r < static_cast<long double>(std::numeric_limits<Int>::min()) ||
        r > static_cast<long double>(std::numeric_limits<Int>::max())) {
        if (ok)
            *ok = false;
        if (overflow)
            *overflow = true;
        return 0;
    }
    if (ok)
        *ok = true;
    return static_cast<Int>(r);
}

}  // namespace

bool HoldsNumber(const QVariant& v) {
    switch (v.typeId()) {
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
        case QMetaType::Double:
        case QMetaType::Float:
        case QMetaType::Short:
        case QMetaType::UShort:
        case QMetaType::Long:
        case QMetaType::ULong:
            return true;
        default:
            return false;
    }
}

bool IsNumericText(const QString& text) {
    return ParseNumber(text).has_value();
}

qint16 ToInt16(const QString& text, bool* ok, bool* overflow) {
    return ToIntRounded<qint16>(text, ok, overflow);
}

qint32 ToInt32(const QString& text, bool* ok, bool* overflow) {
    return ToIntRounded<qint32>(text, ok, overflow);
}

}  // namespace tlm
