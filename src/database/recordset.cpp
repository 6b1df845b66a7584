#include "database/recordset.h"

#include <QDateTime>
#include <QRegularExpression>
#include <QSqlError>
#include <QSqlField>
#include <QSqlQuery>
#include <QSqlRecord>

#include "core/money.h"
#include "database/dialect.h"
#include "database/link.h"

namespace tlm {

namespace {

const QString kNoCurrent = QStringLiteral(
    "Either BOF or EOF is True, or the current record has been deleted. Requested operation requires a "
    "current "
    "record.");

}  // namespace

// ---- Field -----------------------------------------------------------------------------------

QString Recordset::Field::Name() const {
    return index_ >= 0 ? rs_->columns_[size_t(index_)].name : QString();
}

qint32 Recordset::Field::Type() const {
    return index_ >= 0 ? rs_->columns_[size_t(index_)].adoType : 0;
}

QVariant Recordset::Field::Value() const {
    if (index_ < 0)
        return QVariant();
    if (!rs_->CheckCurrent())
        return QVariant();
    return ConvertStoredValue(rs_->rows_[size_t(rs_->pos_)].values[index_], rs_->columns_[size_t(index_)]);
}

bool Recordset::Field::SetValue(const QVariant& value) {
    if (index_ < 0)
        return false;
    if (!rs_->CheckWritable() || !rs_->CheckCurrent())
        return false;
    Row& row = rs_->rows_[size_t(rs_->pos_)];
    row.values[index_] = rs_->connection_->ToStorage(value, rs_->columns_[size_t(index_)].kind);
    if (row.dirty.isEmpty())
        row.dirty.resize(row.values.size());  // only rows that change pay for flags
    row.dirty[index_] = true;
    if (row.state == RowState::Unchanged)
        row.state = RowState::Modified;
    return true;
}

// ---- Recordset -------------------------------------------------------------------------------

Recordset::Recordset(std::shared_ptr<Connection> connection, LockMode lock)
    : connection_(std::move(connection)), lock_(lock) {}

Recordset::~Recordset() = default;

bool Recordset::Fail(qint32 number, const QString& description) {
    error_ = Failure{number, description, 0, QString()};
    return false;
}

bool Recordset::Open(const SqlText& statement, Failure* failure) {
    if (statement.ok())
        return Open(statement.sql(), failure);
    // Left as a failed open leaves it: no rows, no table.
    source_.clear();
    table_.clear();
    columns_.clear();
    index_.clear();
    literalIndex_.clear();
    rows_.clear();
    pendingDeletes_.clear();
    error_ = *statement.refusal();
    if (failure)
        *failure = error_;
    return false;
}

bool Recordset::Open(const QString& source, Failure* failure) {
    source_ = source;
    const QString statement = Dialect::ExpandBareTableName(source);
    table_ = Dialect::SourceTable(statement);
    columns_.clear();
    index_.clear();
    literalIndex_.clear();
    rows_.clear();
    pendingDeletes_.clear();
    auto fail = [&](const Failure& f) {
        error_ = f;
        if (failure)
            *failure = f;
        return false;
    };
    if (!connection_)
        return fail(Failure{dberr::kObjectClosed, QStringLiteral("No connection."), 0, QString()});
    const QString finalSql = connection_->dialect().Translate(statement);
    QSqlQuery q = connection_->NewQuery();
    // Where the driver hands over the whole result at once, its row-by-row mode costs more than it
    // saves: every row is held here anyway.
    q.setForwardOnly(!connection_->dialect().HandsOverWholeResult());
    Failure f;
    bool direct = false;
    if (!connection_->PrepareQuery(q, finalSql, false, &direct, &f) ||
        !connection_->RunQuery(q, finalSql, direct, {}, &f))
        return fail(f);

    const QSqlRecord record = q.record();
    const int n = record.count();
    columns_.reserve(size_t(n));
    for (int i = 0; i < n; ++i) {
        columns_.push_back(DescribeColumn(record.fieldName(i), record.field(i).metaType()));
        const QString key = columns_.back().name.toCaseFolded();
        if (!index_.contains(key))
            index_.insert(key, i);
    }
    if (q.size() > 0)
        rows_.reserve(size_t(q.size()));
    while (q.next()) {
        Row row;
        row.values.resize(n);
        for (int i = 0; i < n; ++i)
            row.values[i] = q.value(i);
        rows_.push_back(std::move(row));
    }
    if (q.lastError().type() != QSqlError::NoError)
        return fail(connection_->FailureFrom(q.lastError()));
    // Done with the statement before any row is used, so no read lock outlives Open.
    q.finish();
    pos_ = 0;
    bof_ = rows_.empty();
    currentDeleted_ = false;
    return true;
}

Recordset::Field Recordset::Fields(const QString& name) {
    const auto it = index_.constFind(name.toCaseFolded());
    if (it == index_.cend()) {
        Fail(dberr::kItemNotFound,
             QStringLiteral(
                 "Item cannot be found in the collection corresponding to the requested name or ordinal. (") +
                 name + u')');
        return Field(this, -1);
    }
    return Field(this, it.value());
}

Recordset::Field Recordset::Fields(const char* name) {
    // Keyed by the text's address; the name is compared again, so a reused buffer never misleads.
    const auto hit = literalIndex_.constFind(name);
    if (hit != literalIndex_.cend() &&
        columns_[size_t(hit.value())].name.compare(QLatin1StringView(name), Qt::CaseInsensitive) == 0)
        return Field(this, hit.value());
    Field f = Fields(QString::fromLatin1(name));
    if (f.IsValid())
        literalIndex_.insert(name, f.index_);
    return f;
}

Recordset::Field Recordset::Fields(int index) {
    if (index < 0 || index >= FieldCount()) {
        Fail(dberr::kItemNotFound,
             QStringLiteral(
                 "Item cannot be found in the collection corresponding to the requested name or ordinal."));
        return Field(this, -1);
    }
    return Field(this, index);
}

bool Recordset::Eof() const {
    return pos_ >= qsizetype(rows_.size());
}
bool Recordset::Bof() const {
    return bof_;
}

bool Recordset::CheckCurrent() {
    if (bof_ || Eof() || currentDeleted_)
        return Fail(dberr::kNoCurrentRecord, kNoCurrent);
    return true;
}

bool Recordset::CheckWritable() {
    if (lock_ == LockMode::ReadOnly)
        return Fail(
            dberr::kNotUpdatable,
            QStringLiteral("Current Recordset does not support updating. This may be a limitation of the "
                           "provider, or of the selected locktype."));
    return true;
}

bool Recordset::FlushPending() {
    if (lock_ != LockMode::Optimistic || currentDeleted_ || bof_ || Eof())
        return true;
    Row& row = rows_[size_t(pos_)];
    return row.state == RowState::Unchanged || WriteRow(row);
}

bool Recordset::MoveFirst() {
    const bool flushed = FlushPending();
    pos_ = 0;
    bof_ = rows_.empty();
    currentDeleted_ = false;
    return flushed;
}

bool Recordset::MoveLast() {
    const bool flushed = FlushPending();
    pos_ = rows_.empty() ? 0 : qsizetype(rows_.size()) - 1;
    bof_ = rows_.empty();
    currentDeleted_ = false;
    return flushed;
}

bool Recordset::MoveNext() {
    if (currentDeleted_) {
        // The rows after a deleted one have moved up: the next row is already under the cursor.
        currentDeleted_ = false;
        bof_ = false;
        return true;
    }
    if (Eof())
        return Fail(dberr::kNoCurrentRecord, kNoCurrent);
    const bool flushed = FlushPending();
    if (bof_)
        bof_ = false;
    else
        ++pos_;
    return flushed;
}

bool Recordset::MovePrevious() {
    if (bof_)
        return Fail(dberr::kNoCurrentRecord, kNoCurrent);
    const bool flushed = FlushPending();
    currentDeleted_ = false;
    if (pos_ == 0)
        bof_ = true;
    else
        --pos_;
    return flushed;
}

bool Recordset::Find(const QString& criteria) {
    static const QRegularExpression re(
        QStringLiteral("^\\s*\\[?([A-Za-z_][\\w ]*?)\\]?\\s*(<=|>=|<>|=|<|>|\\blike\\b)\\s*(.*?)\\s*$"),
        QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression quoted(QStringLiteral("^'([^']*)'$"));
    static const QRegularExpression number(QStringLiteral("^[-+]?(\\d+\\.?\\d*|\\.\\d+)$"));
    static const QRegularExpression dated(QStringLiteral("^#([^#]+)#$"));
    const auto bad = [&] {
        return Fail(
            dberr::kBadArguments,
            QStringLiteral("Arguments are of the wrong type, are out of acceptable range, or are in conflict "
                           "with one another. (") +
                criteria + u')');
    };
    const auto m = re.match(criteria);
    if (!m.hasMatch())
        return bad();
    const auto col = index_.constFind(m.captured(1).trimmed().toCaseFolded());
    if (col == index_.cend())
        return bad();
    const QString op = m.captured(2).toUpper();
    const QString valueText = m.captured(3);

    enum class As { Text, Number, Date } as = As::Text;
    QString text;
    std::optional<Money> num;
    QDateTime date;
    if (const auto q = quoted.match(valueText); q.hasMatch()) {
        text = q.captured(1);
    } else if (number.match(valueText).hasMatch()) {
        as = As::Number;
        num = Money::parse(valueText);
        text = valueText;
    } else if (const auto d = dated.match(valueText); d.hasMatch()) {
        as = As::Date;
        date = ParseStoredDate(d.captured(1).trimmed());
        if (!date.isValid())
            date = QDateTime::fromString(d.captured(1).trimmed(), QStringLiteral("yyyy-M-d H:mm:ss"));
        if (!date.isValid())
            date = QDateTime(QDate::fromString(d.captured(1).trimmed(), QStringLiteral("yyyy-M-d")),
                             QTime(0, 0));
        if (!date.isValid())
            return bad();
    } else {
        return bad();
    }
    if (!FlushPending())
        return false;
    QRegularExpression like;
    if (op == u"LIKE") {
        QString pattern = QRegularExpression::escape(text);
        pattern.replace(QStringLiteral("\\*"), QStringLiteral(".*"))
            .replace(QStringLiteral("%"), QStringLiteral(".*"));
        pattern.replace(QStringLiteral("_"), QStringLiteral("."));
        like = QRegularExpression(
            QRegularExpression::anchoredPattern(pattern),
            QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption);
    }
    const auto holds = [&](int cmp) {
        if (op == u"=")
            return cmp == 0;
        if (op == u"<>")
            return cmp != 0;
        if (op == u"<")
            return cmp < 0;
        if (op == u">")
            return cmp > 0;
        if (op == u"<=")
            return cmp <= 0;
        return cmp >= 0;
    };
    const Column& c = columns_[size_t(col.value())];
    if (bof_) {
        bof_ = false;
        pos_ = 0;
    }
    if (currentDeleted_)
        currentDeleted_ = false;
    for (; pos_ < qsizetype(rows_.size()); ++pos_) {
        const QVariant v = ConvertStoredValue(rows_[size_t(pos_)].values[col.value()], c);
        if (!v.isValid() || v.isNull())
            continue;
        if (op == u"LIKE") {
            if (like.match(v.toString()).hasMatch())
                return true;
            continue;
        }
        int cmp = 0;
        if (as == As::Date || v.typeId() == QMetaType::QDateTime) {
            const QDateTime left = v.toDateTime();
            const QDateTime right = as == As::Date ? date : ParseStoredDate(text);
            if (!left.isValid() || !right.isValid())
                continue;
            cmp = left < right ? -1 : left > right ? 1 : 0;
        } else if (const auto left = Money::fromVariant(v); as == As::Number && left && num) {
            cmp = *left < *num ? -1 : *left > *num ? 1 : 0;
        } else {
            cmp = QString::compare(v.typeId() == QMetaType::QString ? v.toString()
                                   : v.metaType() == QMetaType::fromType<Money>()
                                       ? v.value<Money>().toPlainString()
                                       : v.toString(),
                                   text, Qt::CaseInsensitive);
        }
        if (holds(cmp))
            return true;
    }
    return false;
}

int Recordset::IdColumn() const {
    const auto it = index_.constFind(QStringLiteral("id"));
    return it == index_.cend() ? -1 : it.value();
}

bool Recordset::AddNew() {
    if (!CheckWritable())
        return false;
    if (!FlushPending())
        return false;
    Row row;
    row.values.resize(FieldCount());
    row.dirty.resize(FieldCount());
    row.state = RowState::New;
    rows_.push_back(std::move(row));
    pos_ = qsizetype(rows_.size()) - 1;
    bof_ = false;
    currentDeleted_ = false;
    return true;
}

bool Recordset::Update() {
    if (!CheckWritable() || !CheckCurrent())
        return false;
    Row& row = rows_[size_t(pos_)];
    if (lock_ == LockMode::BatchOptimistic || row.state == RowState::Unchanged)
        return true;
    return WriteRow(row);
}

bool Recordset::Delete() {
    if (!CheckWritable() || !CheckCurrent())
        return false;
    Row& row = rows_[size_t(pos_)];
    if (row.state != RowState::New) {
        const int id = IdColumn();
        if (id < 0 || table_.isEmpty())
            return Fail(dberr::kNotUpdatable,
                        QStringLiteral("Insufficient key column information for updating or refreshing."));
        if (lock_ == LockMode::BatchOptimistic)
            pendingDeletes_.append(row.values[id]);
        else if (!DeleteById(row.values[id]))
            return false;
    }
    rows_.erase(rows_.begin() + pos_);
    currentDeleted_ = true;
    return true;
}

bool Recordset::UpdateBatch() {
    if (!CheckWritable())
        return false;
    bool ok = true;
    for (Row& row : rows_) {
        if (row.state != RowState::Unchanged && !WriteRow(row))
            ok = false;
    }
    QVector<QVariant> left;
    for (const QVariant& id : std::as_const(pendingDeletes_)) {
        if (!DeleteById(id)) {
            ok = false;
            left.append(id);
        }
    }
    pendingDeletes_ = left;
    return ok;
}

bool Recordset::DeleteById(const QVariant& id) {
    Failure f;
    const qint64 n = connection_->Execute(
        QStringLiteral("DELETE FROM ") + table_ + QStringLiteral(" WHERE ID = ?"), {id}, false, &f);
    if (n < 0) {
        error_ = f;
        return false;
    }
    return true;
}

bool Recordset::WriteRow(Row& row) {
    const int id = IdColumn();
    if (id < 0 || table_.isEmpty())
        return Fail(dberr::kNotUpdatable,
                    QStringLiteral("Insufficient key column information for updating or refreshing."));
    const Dialect& dialect = connection_->dialect();
    QStringList names;
    QVariantList values;
    for (int i = 0; i < FieldCount(); ++i) {
        if (row.dirty.isEmpty() || !row.dirty[i])
            continue;
        if (i == id && (row.state != RowState::New || row.values[i].isNull()))
            continue;
        names.append(dialect.QuoteName(columns_[size_t(i)].name));
        values.append(row.values[i]);
    }
    Failure f;
    if (row.state == RowState::New) {
        const QString sql = dialect.InsertStatement(table_, names);
        QSqlQuery q = connection_->NewQuery();
        bool direct = false;
        if (!connection_->PrepareQuery(q, sql, true, &direct, &f) ||
            !connection_->RunQuery(q, sql, direct, values, &f)) {
            error_ = f;
            return false;
        }
        const QVariant newId = dialect.InsertedId(q);
        if (newId.isValid() && !newId.isNull())
            row.values[id] = newId;
    } else {
        if (!names.isEmpty()) {
            QString sql = QStringLiteral("UPDATE ") + table_ + QStringLiteral(" SET ");
            for (int i = 0; i < names.size(); ++i)
                sql += (i ? QStringLiteral(", ") : QString()) + names[i] + QStringLiteral(" = ?");
            sql += QStringLiteral(" WHERE ID = ?");
            values.append(row.values[id]);
            const qint64 n = connection_->Execute(sql, values, false, &f);
            if (n < 0) {
                error_ = f;
                return false;
            }
            if (n == 0)
                return Fail(dberr::kRowNotFound,
                            QStringLiteral("Row cannot be located for updating. Some values may "
                                           "have been changed since it was last read."));
        }
    }
    row.state = RowState::Unchanged;
    row.dirty.clear();
    return true;
}

// ---- Command ---------------------------------------------------------------------------------

struct Command::Prepared {
    QString text;
    bool withValues = false;
    quint64 epoch = 0;
    QString finalSql;
    bool direct = false;
    QSqlQuery query;
};

Command::Command(std::shared_ptr<Connection> connection) : connection_(std::move(connection)) {}
Command::~Command() = default;

void Command::SetStatement(const SqlText& statement) {
    CommandText = statement.sql();
    refusal_ = statement.refusal();
}

qint64 Command::Execute(const QVariantList& values) {
    error_ = Failure();
    if (refusal_) {
        error_ = *refusal_;
        return -1;
    }
    if (!connection_ || !connection_->IsOpen()) {
        error_ = Failure{dberr::kObjectClosed,
                         QStringLiteral("Operation is not allowed when the object is closed."), 0, QString()};
        return -1;
    }
    if (connection_->dialect().DatabaseOfUse(CommandText)) {
        prepared_.reset();
        return connection_->Execute(CommandText, values, true, &error_);
    }
    const bool withValues = !values.isEmpty();
    if (!prepared_ || prepared_->text != CommandText || prepared_->withValues != withValues ||
        prepared_->epoch != connection_->epoch()) {
        prepared_.reset();
        auto p = std::make_unique<Prepared>();
        p->text = CommandText;
        p->withValues = withValues;
        p->epoch = connection_->epoch();
        p->finalSql = connection_->dialect().Translate(CommandText);
        p->query = connection_->NewQuery();
        if (!connection_->PrepareQuery(p->query, p->finalSql, withValues, &p->direct, &error_))
            return -1;
        prepared_ = std::move(p);
    }
    if (!connection_->RunQuery(prepared_->query, prepared_->finalSql, prepared_->direct, values, &error_))
        return -1;
    const qint64 n = prepared_->query.numRowsAffected();
    prepared_->query.finish();
    return n;
}

}  // namespace tlm
