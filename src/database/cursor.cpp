#include "database/cursor.h"

#include <QSqlError>
#include <QSqlField>
#include <QSqlRecord>

#include "core/codecs.h"
#include "database/link.h"

namespace tlm {

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
        columns_.push_back(DescribeColumn(record.fieldName(i), record.field(i).metaType()));
        const QString key = columns_.back().name.toCaseFolded();
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
    return ConvertStoredValue(query_->value(index), columns_[size_t(index)]);
}

}  // namespace tlm
