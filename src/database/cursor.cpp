#include "database/cursor.h"

#include <sqlite3.h>

#include <QRegularExpression>
#include <QSqlError>
#include <QSqlField>
#include <QSqlRecord>
#include <charconv>
#include <cmath>

#include "core/codecs.h"
#include "core/money.h"
#include "database/link.h"

namespace tlm {

namespace {

// The field type the SQLite driver reports for a column: by its declared type, else by the
// storage class of the first row.
QMetaType SqliteDriverType(sqlite3_stmt* stmt, int i, bool hasRow) {
    if (const char* declared = sqlite3_column_decltype(stmt, i); declared && *declared) {
        const QString t = QString::fromUtf8(declared).toLower();
        if (t == u"integer" || t == u"int")
            return QMetaType::fromType<int>();
        if (t == u"double" || t == u"float" || t == u"real" || t.startsWith(u"numeric"))
            return QMetaType::fromType<double>();
        if (t == u"blob")
            return QMetaType::fromType<QByteArray>();
        if (t == u"boolean" || t == u"bool")
            return QMetaType::fromType<bool>();
        return QMetaType::fromType<QString>();
    }
    switch (hasRow ? sqlite3_column_type(stmt, i) : -1) {
        case SQLITE_INTEGER:
            return QMetaType::fromType<int>();
        case SQLITE_FLOAT:
            return QMetaType::fromType<double>();
        case SQLITE_BLOB:
            return QMetaType::fromType<QByteArray>();
        case SQLITE_TEXT:
            return QMetaType::fromType<QString>();
        default:
            return QMetaType();
    }
}

// The value exactly as the SQLite driver hands it over (QVariant per cell), for the cells the
// direct forms below do not cover.
QVariant SqliteDriverValue(sqlite3_stmt* stmt, int i) {
    switch (sqlite3_column_type(stmt, i)) {
        case SQLITE_BLOB:
            return QByteArray(static_cast<const char*>(sqlite3_column_blob(stmt, i)),
                              sqlite3_column_bytes(stmt, i));
        case SQLITE_INTEGER:
            return qint64(sqlite3_column_int64(stmt, i));
        case SQLITE_FLOAT:
            return sqlite3_column_double(stmt, i);
        case SQLITE_NULL:
            return QVariant(QMetaType::fromType<QString>());
        default:
            return QString(reinterpret_cast<const QChar*>(sqlite3_column_text16(stmt, i)),
                           sqlite3_column_bytes16(stmt, i) / qsizetype(sizeof(QChar)));
    }
}

// Money::fromDouble without a QString on the way: the value with ten decimals, correctly rounded
// (as QString::number(v, 'f', 10) writes it), then rounded half to even to four as Money::parse does.
// Out of range it is Money::fromDouble itself, which reports the overflow.
qint64 MoneyUnitsOfDouble(double value) {
    if (!std::isfinite(value) || std::fabs(value) >= double(INT64_MAX / Money::kScale))
        return Money::fromDouble(value).units;
    char text[64];
    const auto [end, ec] = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, 10);
    if (ec != std::errc())
        return Money::fromDouble(value).units;
    const char* p = text;
    const bool negative = *p == '-';
    if (negative)
        ++p;
    qint64 units = 0;
    for (; p < end && *p != '.'; ++p)
        units = units * 10 + (*p - '0');
    int fifth = 0;
    bool beyondNonZero = false;
    int place = 0;
    for (++p; p < end; ++p, ++place) {
        const int d = *p - '0';
        if (place < 4)
            units = units * 10 + d;
        else if (place == 4)
            fifth = d;
        else if (d != 0)
            beyondNonZero = true;
    }
    if (fifth > 5 || (fifth == 5 && (beyondNonZero || units % 2 != 0)))
        units += 1;
    return negative ? -units : units;
}

bool IsAscii(const char* s, qsizetype n) {
    for (qsizetype i = 0; i < n; ++i)
        if (static_cast<unsigned char>(s[i]) >= 0x80)
            return false;
    return true;
}

// ConvertStoredValue of the driver's value, read straight from the statement: the forms that make
// up nearly every cell are built here, every other cell goes the driver's way.
StoredCell SqliteCell(sqlite3_stmt* stmt, int i, const StoredColumn& column) {
    StoredCell cell;
    const int type = sqlite3_column_type(stmt, i);
    if (type == SQLITE_NULL)
        return cell;
    switch (column.kind) {
        case ColumnKind::Text:
        case ColumnKind::Memo:
            if (type == SQLITE_TEXT) {
                const char* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, i));
                const qsizetype size = sqlite3_column_bytes(stmt, i);
                // Other text goes through the engine's own UTF-16, as the driver reads it.
                if (text && IsAscii(text, size)) {
                    cell.form = StoredCell::Form::Utf8;
                    cell.utf8 = text;
                    cell.size = size;
                    return cell;
                }
            }
            break;
        case ColumnKind::Id:
        case ColumnKind::Int16:
        case ColumnKind::Int32:
            if (type == SQLITE_INTEGER) {
                const sqlite3_int64 v = sqlite3_column_int64(stmt, i);
                if (v >= INT_MIN && v <= INT_MAX) {
                    cell.form = StoredCell::Form::Int;
                    cell.number = v;
                    return cell;
                }
            }
            break;
        case ColumnKind::Bool:
            if (type == SQLITE_INTEGER) {
                cell.form = StoredCell::Form::Int;
                cell.number = sqlite3_column_int64(stmt, i) != 0 ? 1 : 0;
                return cell;
            }
            break;
        case ColumnKind::Money:
            if (type == SQLITE_INTEGER) {
                cell.form = StoredCell::Form::Money;
                cell.number = Money::fromInt(sqlite3_column_int64(stmt, i)).units;
                return cell;
            }
            if (type == SQLITE_FLOAT) {
                cell.form = StoredCell::Form::Money;
                cell.number = MoneyUnitsOfDouble(sqlite3_column_double(stmt, i));
                return cell;
            }
            break;
        case ColumnKind::DateTime:
            if (type == SQLITE_TEXT) {
                const char* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, i));
                const qsizetype size = sqlite3_column_bytes(stmt, i);
                if (text && IsAscii(text, size) && ParseStoredDateKey(text, size, &cell.number)) {
                    cell.form = StoredCell::Form::DateTime;
                    return cell;
                }
            }
            break;
        case ColumnKind::Other:
            break;
    }
    cell.form = StoredCell::Form::Variant;
    cell.variant = ConvertStoredValue(SqliteDriverValue(stmt, i), column);
    return cell;
}

// "SELECT * FROM t ..." with the star replaced by those of the names that are columns of t, as the
// schema spells them; the text as it stands for any other statement.
QString NarrowedSelect(const QString& sql, const QStringList& names) {
    static const QRegularExpression star(QStringLiteral("^(\\s*select\\s+)\\*(\\s+from\\s)"),
                                         QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch m = star.match(sql);
    if (names.isEmpty() || !m.hasMatch())
        return sql;
    const QString table = Dialect::SourceTable(sql);
    for (const TableDef& def : Schema()) {
        if (table.isEmpty() || def.name.compare(table, Qt::CaseInsensitive) != 0)
            continue;
        QStringList read;
        for (const QString& name : names)
            for (const ColumnDef& column : def.columns)
                if (column.name.compare(name, Qt::CaseInsensitive) == 0 && !read.contains(column.name))
                    read.append(column.name);
        if (read.isEmpty())
            return sql;
        return m.captured(1) + read.join(QStringLiteral(", ")) + m.captured(2) + sql.mid(m.capturedEnd());
    }
    return sql;
}

}  // namespace

// A statement stepped through the SQLite library itself, on the driver's own connection handle.
struct Cursor::SqliteRows {
    sqlite3* db = nullptr;
    sqlite3_stmt* stmt = nullptr;
    bool pending = false;  // the first row, stepped by Open, is still to be handed out
    quint64 epoch = 0;     // the connection's, so a reopened connection ends the read
    ~SqliteRows() {
        if (stmt)
            sqlite3_finalize(stmt);
    }
    // The driver's error for a failed call, as the driver words and types it.
    QSqlError Error(const char* what, QSqlError::ErrorType type, int rc) const {
        return QSqlError(QString::fromLatin1(what),
                         QString(reinterpret_cast<const QChar*>(sqlite3_errmsg16(db))), type,
                         QString::number(rc));
    }
    // One step; false at the end or on a failure (error set then).
    bool Step(QSqlError* error) {
        int rc = sqlite3_step(stmt);
        if (rc == SQLITE_ROW)
            return true;
        if (rc == SQLITE_DONE) {
            sqlite3_reset(stmt);
            return false;
        }
        if (rc == SQLITE_ERROR || rc == SQLITE_CONSTRAINT) {
            rc = sqlite3_reset(stmt);  // the specific error comes with the reset
            *error = Error("Unable to fetch row", QSqlError::ConnectionError, rc);
        } else {
            *error = Error("Unable to fetch row", QSqlError::ConnectionError, rc);
            sqlite3_reset(stmt);
        }
        return false;
    }
};

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
    return OpenText(statement.sql());
}

bool Cursor::Open(const SqlText& statement, const QStringList& readColumns) {
    if (!statement.ok())
        return Open(statement);
    const QString sql = Dialect::ExpandBareTableName(statement.sql());
    const QString narrowed = NarrowedSelect(sql, readColumns);
    // A database of an older build may lack a column the schema names: then every column is read.
    return (narrowed != sql && OpenText(narrowed)) || OpenText(sql);
}

bool Cursor::Open(const QString& sql) {
    return OpenText(sql);
}

void Cursor::Describe(int index, const QString& name, const QMetaType& driverType) {
    columns_.push_back(DescribeColumn(name, driverType));
    const QString key = columns_.back().name.toCaseFolded();
    if (!index_.contains(key))
        index_.insert(key, index);
}

bool Cursor::OpenText(const QString& sql) {
    PinLocalTimeZone();
    Close();
    error_ = Failure();
    if (!connection_) {
        error_ = Failure{dberr::kObjectClosed, QStringLiteral("No connection."), 0, QString()};
        return false;
    }
    const QString finalSql = connection_->dialect().Translate(Dialect::ExpandBareTableName(sql));
    if (connection_->dialect().NativeReader() == Dialect::NativeRows::Sqlite &&
        qstrcmp(connection_->NativeHandle().typeName(), "sqlite3*") == 0)
        return OpenNative(finalSql);
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
    for (int i = 0; i < record.count(); ++i)
        Describe(i, record.fieldName(i), record.field(i).metaType());
    open_ = true;
    return true;
}

bool Cursor::OpenNative(const QString& finalSql) {
    if (!connection_->CheckStatement(finalSql, &error_))
        return false;
    const QVariant handle = connection_->NativeHandle();
    auto rows = std::make_unique<SqliteRows>();
    rows->db = *static_cast<sqlite3* const*>(handle.constData());
    rows->epoch = connection_->epoch();
    const QByteArray text = finalSql.toUtf8();
    const char* tail = nullptr;
    const int rc = sqlite3_prepare_v2(rows->db, text.constData(), int(text.size()), &rows->stmt, &tail);
    if (rc != SQLITE_OK) {
        error_ = connection_->FailureFrom(
            rows->Error("Unable to execute statement", QSqlError::StatementError, rc));
        return false;
    }
    if (tail && !QByteArrayView(tail).trimmed().isEmpty()) {
        error_ = connection_->FailureFrom(rows->Error("Unable to execute multiple statements at a time",
                                                      QSqlError::StatementError, SQLITE_MISUSE));
        return false;
    }
    // Like the driver, the first row is fetched at once: a statement that fails there fails here.
    QSqlError stepError;
    rows->pending = rows->Step(&stepError);
    if (stepError.type() != QSqlError::NoError) {
        error_ = connection_->FailureFrom(stepError);
        return false;
    }
    const int count = sqlite3_column_count(rows->stmt);
    for (int i = 0; i < count; ++i) {
        const char* name = sqlite3_column_name(rows->stmt, i);
        Describe(i, QString::fromUtf8(name ? name : "").remove(u'"'),
                 SqliteDriverType(rows->stmt, i, rows->pending));
    }
    native_ = std::move(rows);
    open_ = true;
    return true;
}

bool Cursor::Next() {
    if (!open_)
        return false;
    if (native_) {
        if (native_->pending) {
            native_->pending = false;
            return true;
        }
        if (native_->epoch != connection_->epoch() || !connection_->IsOpen()) {
            error_ =
                Failure{dberr::kObjectClosed,
                        QStringLiteral("Operation is not allowed when the object is closed."), 0, QString()};
            Close();
            return false;
        }
        QSqlError stepError;
        if (native_->Step(&stepError))
            return true;
        if (stepError.type() != QSqlError::NoError)
            error_ = connection_->FailureFrom(stepError);
        native_.reset();
        open_ = false;
        return false;
    }
    if (query_->next())
        return true;
    if (query_->lastError().type() != QSqlError::NoError)
        error_ = connection_->FailureFrom(query_->lastError());
    query_->finish();
    open_ = false;
    return false;
}

void Cursor::Close() {
    // A statement left open would keep the connection from closing.
    native_.reset();
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
    if (native_)
        return StoredCellValue(SqliteCell(native_->stmt, index, columns_[size_t(index)]),
                               columns_[size_t(index)]);
    return ConvertStoredValue(query_->value(index), columns_[size_t(index)]);
}

StoredCell Cursor::Cell(int index) const {
    if (!open_ || index < 0 || index >= FieldCount()) {
        StoredCell invalid;
        invalid.form = StoredCell::Form::Variant;
        return invalid;
    }
    if (native_)
        return SqliteCell(native_->stmt, index, columns_[size_t(index)]);
    StoredCell cell;
    cell.form = StoredCell::Form::Variant;
    cell.variant = ConvertStoredValue(query_->value(index), columns_[size_t(index)]);
    return cell;
}

}  // namespace tlm
