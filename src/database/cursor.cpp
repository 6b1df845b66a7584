#include "database/cursor.h"

#include <QDateTime>
#include <QSqlError>
#include <QSqlField>
#include <QSqlRecord>

#include "core/codecs.h"
#include "core/money.h"
#include "database/connection.h"

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

int Digits(const QString& s, int from, int count) {
    int v = 0;
    for (int i = from; i < from + count; ++i) {
        const char16_t c = s[i].unicode();
        if (c < u'0' || c > u'9')
            return -1;
        v = v * 10 + (c - u'0');
    }
    return v;
}

// The stored date text "YYYY-MM-DD HH:MM:SS" (or the date alone), read without a format parser
// since every row of a large read passes here.
QDateTime ParseStoredDate(const QString& s) {
    if (s.size() != 19 && s.size() != 10 && !(s.size() > 19 && s[19] == u'.'))
        return QDateTime();
    if (s[4] != u'-' || s[7] != u'-')
        return QDateTime();
    const int y = Digits(s, 0, 4), mo = Digits(s, 5, 2), d = Digits(s, 8, 2);
    int h = 0, mi = 0, sec = 0;
    if (s.size() >= 19) {
        if ((s[10] != u' ' && s[10] != u'T') || s[13] != u':' || s[16] != u':')
            return QDateTime();
        h = Digits(s, 11, 2);
        mi = Digits(s, 14, 2);
        sec = Digits(s, 17, 2);
    }
    if (y < 0 || mo < 0 || d < 0 || h < 0 || mi < 0 || sec < 0)
        return QDateTime();
    const QDate date(y, mo, d);
    const QTime time(h, mi, sec);
    if (!date.isValid() || !time.isValid())
        return QDateTime();
    return QDateTime(date, time);
}

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

}  // namespace

QVariant ConvertStoredValue(const QVariant& raw, ColumnKind kind, qint32 adoType) {
    if (!raw.isValid() || raw.isNull())
        return TypedNull(kind);
    switch (kind) {
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
                const QString t = raw.toString().trimmed();
                if (t.compare(u"True", Qt::CaseInsensitive) == 0)
                    return 1;
                if (t.compare(u"False", Qt::CaseInsensitive) == 0)
                    return 0;
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
    if (adoType == adotype::adNumeric) {
        if (const auto m = Money::fromVariant(raw))
            return QVariant::fromValue(*m);
    }
    return raw;
}

Cursor::Cursor(std::shared_ptr<Connection> connection) : connection_(std::move(connection)) {}

Cursor::~Cursor() {
    Close();
}

bool Cursor::Open(const SqlText& statement) {
    if (!statement.ok()) {
        Close();
        error_ = *statement.refusal();
        return false;
    }
    return Open(statement.sql());
}

bool Cursor::Open(const QString& sql) {
    PinLocalTimeZone();
    Close();
    error_ = Failure();
    if (!connection_) {
        error_ = Failure{dberr::kObjectClosed, QStringLiteral("No connection."), 0, QString()};
        return false;
    }
    const QString finalSql = connection_->dialect().Translate(Dialect::ExpandBareTableName(sql));
    query_ = std::make_unique<QSqlQuery>(connection_->NewQuery());
    // Forward-only is what keeps memory flat: SQLite steps the statement, PostgreSQL sends row by row.
    query_->setForwardOnly(true);
    bool direct = false;
    if (!connection_->PrepareQuery(*query_, finalSql, false, &direct, &error_) ||
        !connection_->RunQuery(*query_, finalSql, direct, {}, &error_)) {
        query_.reset();
        return false;
    }
    const QSqlRecord record = query_->record();
    for (int i = 0; i < record.count(); ++i) {
        const QString name = CanonicalColumnName(record.fieldName(i));
        ColumnKind kind = KindOfColumn(name);
        const QMetaType driverType = record.field(i).metaType();
        qint32 ado = AdoTypeOf(kind);
        if (kind == ColumnKind::Other) {
            kind = KindFromDriver(driverType);
            ado = kind == ColumnKind::Other ? AdoTypeFromDriver(driverType) : AdoTypeOf(kind);
        }
        columns_.push_back(Column{name, kind, ado});
        const QString key = name.toCaseFolded();
        if (!index_.contains(key))
            index_.insert(key, i);
    }
    open_ = true;
    return true;
}

bool Cursor::Next() {
    if (!open_)
        return false;
    if (query_->next())
        return true;
    if (query_->lastError().type() != QSqlError::NoError)
        error_ = connection_->FailureFrom(query_->lastError());
    query_->finish();
    open_ = false;
    return false;
}

void Cursor::Close() {
    if (query_)
        query_->finish();
    query_.reset();
    columns_.clear();
    index_.clear();
    open_ = false;
}

QString Cursor::FieldName(int index) const {
    return index >= 0 && index < FieldCount() ? columns_[size_t(index)].name : QString();
}

int Cursor::FieldIndex(const QString& name) const {
    return index_.value(name.toCaseFolded(), -1);
}

QVariant Cursor::Value(int index) const {
    if (!open_ || index < 0 || index >= FieldCount())
        return QVariant();
    const Column& c = columns_[size_t(index)];
    return ConvertStoredValue(query_->value(index), c.kind, c.adoType);
}

}  // namespace tlm
