#include "database/link.h"

#include <QAtomicInteger>
#include <QFileInfo>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>

#include "core/codecs.h"
#include "core/error_report.h"
#include "database/value_conversion.h"

namespace tlm {

namespace {

void SetFailure(Failure* out, qint32 number, const QString& description) {
    if (out)
        *out = Failure{number, MaskSecrets(description), 0, QString()};
}

std::shared_ptr<Connection> g_connection;

}  // namespace

// ---- Connection ------------------------------------------------------------------------------

Connection::Connection() {
    static QAtomicInteger<quint64> counter;
    name_ = QStringLiteral("tlm-db-%1").arg(counter.fetchAndAddRelaxed(1) + 1);
}

Connection::~Connection() {
    Close();
    db_ = QSqlDatabase();
    if (QSqlDatabase::contains(name_))
        QSqlDatabase::removeDatabase(name_);
}

void Connection::Close() {
    if (db_.isValid() && db_.isOpen())
        db_.close();
    inTransaction_ = false;
    ++epoch_;
}

bool Connection::IsOpen() const {
    return db_.isValid() && db_.isOpen();
}

bool Connection::Open(const QString& connectionString, Failure* failure) {
    const ConnectionTarget target = ParseConnectionString(connectionString);
    if (!target.password.isEmpty())
        RegisterSecret(target.password);
    if (!target.known) {
        Close();
        SetFailure(failure, dberr::kProviderNotFound,
                   QStringLiteral("Provider cannot be found. It may not be properly installed."));
        return false;
    }
    const Dialect targetDialect(target.engine);
    if (targetDialect.OpensFile()) {
        const QFileInfo fi(target.path);
        if (target.path.isEmpty() || !fi.isFile()) {
            Close();
            SetFailure(failure, dberr::kUnspecified,
                       QStringLiteral("Could not find file '%1'.").arg(target.path));
            return false;
        }
    }
    if (!OpenTarget(target, failure))
        return false;
    if (const QString probe = targetDialect.SharedSchemaProbe(); !probe.isEmpty()) {
        // Only the shared schema is opened: a foreign file is refused here and never written to.
        QSqlQuery q(db_);
        if (!q.exec(probe) || !q.next()) {
            const QString why = q.lastError().isValid() && q.lastError().type() != QSqlError::NoError
                                    ? q.lastError().text()
                                    : QStringLiteral("The file is not a compatible Tally Loom database.");
            q = QSqlQuery();
            Close();
            SetFailure(failure, dberr::kUnspecified, why + QStringLiteral(" (") + target.path + u')');
            return false;
        }
    }
    // A database that cannot be upgraded (a read-only file, no right to add citext) still opens:
    // it works as before, only comparing text with regard to case.
    Failure upgrade;
    if (!UpgradeTextComparison(*this, &upgrade))
        subTraceAction(QStringLiteral("Text comparison upgrade not done: ") + upgrade.description);
    return true;
}

bool Connection::OpenNewSqliteFile(const QString& filePath, Failure* failure) {
    ConnectionTarget t;
    t.known = true;
    t.engine = Engine::SQLite;  // the one engine whose database is a file this program builds
    t.path = filePath;
    return OpenTarget(t, failure);
}

bool Connection::OpenTarget(const ConnectionTarget& target, Failure* failure) {
    inTransaction_ = false;
    if (db_.isValid()) {
        if (db_.isOpen())
            db_.close();
        db_ = QSqlDatabase();
        QSqlDatabase::removeDatabase(name_);
    }
    ++epoch_;
    const Dialect targetDialect(target.engine);
    const QString driver = targetDialect.DriverName();
    if (!QSqlDatabase::isDriverAvailable(driver)) {
        SetFailure(
            failure, dberr::kProviderNotFound,
            QStringLiteral("Provider cannot be found. It may not be properly installed. (%1)").arg(driver));
        return false;
    }
    db_ = QSqlDatabase::addDatabase(driver, name_);
    db_.setNumericalPrecisionPolicy(QSql::HighPrecision);
    targetDialect.ConfigureDatabase(db_, target);
    if (!db_.open()) {
        const QString why = db_.lastError().text();
        db_ = QSqlDatabase();
        QSqlDatabase::removeDatabase(name_);
        SetFailure(failure, dberr::kUnspecified, why);
        return false;
    }
    target_ = target;
    dialect_ = Dialect(target.engine);
    for (const QString& s : dialect_.SessionSetup()) {
        QSqlQuery q(db_);
        if (!q.exec(s)) {
            const Failure f = FailureFrom(q.lastError());
            q = QSqlQuery();
            Close();
            // Whatever stops the setup (a file that is no database, a locked one) means no database.
            SetFailure(failure, dberr::kUnspecified, f.description);
            return false;
        }
    }
    return true;
}

QSqlQuery Connection::NewQuery() const {
    return QSqlQuery(db_);
}

QVariant Connection::NativeHandle() const {
    return IsOpen() && db_.driver() ? db_.driver()->handle() : QVariant();
}

bool Connection::CheckStatement(const QString& finalSql, Failure* failure) const {
    if (!IsOpen()) {
        SetFailure(failure, dberr::kObjectClosed,
                   QStringLiteral("Operation is not allowed when the object is closed."));
        return false;
    }
    if (dialect_.HoldsMoreThanOneStatement(finalSql)) {
        SetFailure(
            failure, dberr::kCommandError,
            QStringLiteral("The statement text holds more than one statement and was refused: ") + finalSql);
        return false;
    }
    return true;
}

bool Connection::PrepareQuery(QSqlQuery& query, const QString& finalSql, bool hasValues, bool* direct,
                              Failure* failure) const {
    if (!CheckStatement(finalSql, failure))
        return false;
    *direct = dialect_.RunsUnboundTextDirectly() && !hasValues;
    if (*direct)
        return true;
    if (!query.prepare(finalSql)) {
        if (failure)
            *failure = FailureFrom(query.lastError());
        return false;
    }
    return true;
}

bool Connection::RunQuery(QSqlQuery& query, const QString& finalSql, bool direct, const QVariantList& values,
                          Failure* failure) const {
    bool ok = false;
    if (direct) {
        ok = query.exec(finalSql);
    } else {
        for (int i = 0; i < values.size(); ++i)
            query.bindValue(i, ToStorage(values[i], ColumnKind::Other));
        ok = query.exec();
    }
    if (!ok && failure)
        *failure = FailureFrom(query.lastError());
    return ok;
}

bool Connection::BeginTransaction(Failure* failure) {
    if (!IsOpen()) {
        SetFailure(failure, dberr::kObjectClosed,
                   QStringLiteral("Operation is not allowed when the object is closed."));
        return false;
    }
    if (!db_.transaction()) {
        if (failure)
            *failure = FailureFrom(db_.lastError());
        return false;
    }
    inTransaction_ = true;
    return true;
}

bool Connection::CommitTransaction(Failure* failure) {
    if (!inTransaction_) {
        SetFailure(failure, dberr::kCommandError, QStringLiteral("No transaction is open."));
        return false;
    }
    inTransaction_ = false;
    if (db_.commit())
        return true;
    if (failure)
        *failure = FailureFrom(db_.lastError());
    db_.rollback();
    return false;
}

void Connection::RollbackTransaction() {
    if (inTransaction_ && IsOpen())
        db_.rollback();
    inTransaction_ = false;
}

qint64 Connection::Execute(const QString& sql, const QVariantList& values, bool translate, Failure* failure) {
    if (IsOpen()) {
        // The scripts switch databases with "use"; where the engine cannot, it connects anew.
        if (const std::optional<QString> database = dialect_.DatabaseOfUse(sql)) {
            ConnectionTarget t = target_;
            t.database = *database;
            return OpenTarget(t, failure) ? 0 : -1;
        }
    }
    const QString finalSql = translate ? dialect_.Translate(sql) : sql;
    QSqlQuery q(db_);
    bool direct = false;
    if (!PrepareQuery(q, finalSql, !values.isEmpty(), &direct, failure))
        return -1;
    if (!RunQuery(q, finalSql, direct, values, failure))
        return -1;
    return q.numRowsAffected();
}

QVariant Connection::ToStorage(const QVariant& value, ColumnKind kind) const {
    return StorageValue(value, kind, dialect_);
}

Failure Connection::FailureFrom(const QSqlError& error) const {
    Failure f;
    f.description = MaskSecrets(error.databaseText().isEmpty() ? error.text() : error.databaseText());
    if (f.description.trimmed().isEmpty())
        f.description = QStringLiteral("Unspecified error");
    const bool lost = error.type() == QSqlError::ConnectionError || !IsOpen() ||
                      dialect_.MeansLostConnection(error.nativeErrorCode());
    f.number = lost ? dberr::kUnspecified : dberr::kCommandError;
    if (dialect_.MeansBusy(error.nativeErrorCode()))
        f.description = MaskSecrets(dialect_.BusyText(db_.databaseName()));
    return f;
}

// ---- the process's one connection ------------------------------------------------------------

std::shared_ptr<Connection> CurrentConnection() {
    return g_connection;
}

void SetCurrentConnection(std::shared_ptr<Connection> connection) {
    g_connection = std::move(connection);
}

// ---- text comparison without regard to case --------------------------------------------------

namespace {

bool IsTextType(const QString& declared) {
    const QString t = declared.toUpper();
    return t.contains(QLatin1String("CHAR")) || t.contains(QLatin1String("TEXT")) ||
           t.contains(QLatin1String("CLOB")) || t.contains(QLatin1String("MEMO"));
}

bool Run(Connection& c, const QString& sql, Failure* failure) {
    return c.Execute(sql, {}, false, failure) >= 0;
}

// Reads every row of one statement, all columns as text; empty on failure.
QList<QStringList> Rows(Connection& c, const QString& sql, const QVariantList& values = {}) {
    QList<QStringList> out;
    QSqlQuery q = c.NewQuery();
    q.setForwardOnly(true);
    if (!q.prepare(sql))
        return out;
    for (const QVariant& v : values)
        q.addBindValue(v);
    if (!q.exec())
        return out;
    while (q.next()) {
        QStringList row;
        for (int i = 0; i < q.record().count(); ++i)
            row.append(q.value(i).toString());
        out.append(row);
    }
    return out;
}

// One table rebuilt with the same columns, types, defaults and key; its text columns case-blind.
bool RebuildSqliteTable(Connection& c, const QString& table, const QString& createSql, Failure* failure) {
    const QList<QStringList> info = Rows(c, QStringLiteral("PRAGMA table_info(\"%1\")").arg(table));
    if (info.isEmpty())
        return true;
    const bool autoIncrement = createSql.contains(QLatin1String("AUTOINCREMENT"), Qt::CaseInsensitive);
    QStringList defs;
    QStringList names;
    for (const QStringList& col : info) {  // cid, name, type, notnull, dflt_value, pk
        const QString quoted = u'"' + col[1] + u'"';
        QString def = quoted + u' ' + col[2];
        if (col[5].toInt() > 0)
            def +=
                autoIncrement ? QStringLiteral(" PRIMARY KEY AUTOINCREMENT") : QStringLiteral(" PRIMARY KEY");
        if (col[3].toInt() != 0)
            def += QStringLiteral(" NOT NULL");
        if (!col[4].isEmpty())
            def += QStringLiteral(" DEFAULT ") + col[4];
        if (IsTextType(col[2]))
            def += QStringLiteral(" COLLATE NOCASE");
        defs.append(def);
        names.append(quoted);
    }
    const QString old = table + QStringLiteral("_before_nocase");
    const QList<QStringList> seq =
        Rows(c, QStringLiteral("SELECT seq FROM sqlite_sequence WHERE name = ?"), {table});
    const QString columns = names.join(QStringLiteral(", "));
    if (!Run(c, QStringLiteral("ALTER TABLE \"%1\" RENAME TO \"%2\"").arg(table, old), failure) ||
        !Run(c, QStringLiteral("CREATE TABLE \"%1\" (%2)").arg(table, defs.join(QStringLiteral(", "))),
             failure) ||
        !Run(c, QStringLiteral("INSERT INTO \"%1\" (%2) SELECT %2 FROM \"%3\"").arg(table, columns, old),
             failure) ||
        !Run(c, QStringLiteral("DROP TABLE \"%1\"").arg(old), failure))
        return false;
    // Identities are never handed out twice, even those of rows deleted before the upgrade.
    if (!seq.isEmpty() &&
        c.Execute(QStringLiteral("UPDATE sqlite_sequence SET seq = MAX(seq, ?) WHERE name = ?"),
                  {seq.first().first().toLongLong(), table}, false, failure) < 0)
        return false;
    return true;
}

bool UpgradeSqlite(Connection& c, Failure* failure) {
    QList<std::pair<QString, QString>> pending;
    for (const TableDef& t : Schema()) {
        const QList<QStringList> row =
            Rows(c,
                 QStringLiteral(
                     "SELECT name, sql FROM sqlite_master WHERE type = 'table' AND name = ? COLLATE NOCASE"),
                 {t.name});
        if (row.isEmpty())
            continue;
        const QString sql = row.first().value(1);
        if (sql.contains(QLatin1String("COLLATE NOCASE"), Qt::CaseInsensitive))
            continue;
        bool hasText = false;
        for (const QStringList& col :
             Rows(c, QStringLiteral("PRAGMA table_info(\"%1\")").arg(row.first().first())))
            hasText = hasText || IsTextType(col.value(2));
        if (hasText)
            pending.append({row.first().first(), sql});
    }
    if (pending.isEmpty())
        return true;
    // All tables or none: a half-upgraded file would compare one table one way and the next another.
    if (!Run(c, QStringLiteral("BEGIN IMMEDIATE"), failure))
        return false;
    for (const auto& [table, sql] : pending) {
        if (!RebuildSqliteTable(c, table, sql, failure)) {
            Run(c, QStringLiteral("ROLLBACK"), nullptr);
            return false;
        }
    }
    if (Run(c, QStringLiteral("COMMIT"), failure))
        return true;
    Run(c, QStringLiteral("ROLLBACK"), nullptr);
    return false;
}

bool UpgradePostgres(Connection& c, Failure* failure) {
    QStringList tables;
    for (const TableDef& t : Schema())
        tables.append(u'\'' + t.name.toLower() + u'\'');
    const QList<QStringList> columns =
        Rows(c, QStringLiteral("SELECT table_name, column_name FROM information_schema.columns "
                               "WHERE table_schema = current_schema() AND table_name IN (%1) "
                               "AND data_type IN ('character varying', 'text', 'character') "
                               "ORDER BY table_name, ordinal_position")
                    .arg(tables.join(QStringLiteral(", "))));
    if (columns.isEmpty())
        return true;
    if (!Run(c, QStringLiteral("BEGIN"), failure))
        return false;
    bool ok = Run(c, QStringLiteral("CREATE EXTENSION IF NOT EXISTS citext"), failure);
    for (int i = 0; ok && i < columns.size(); ++i)
        ok = Run(c,
                 QStringLiteral("ALTER TABLE \"%1\" ALTER COLUMN \"%2\" TYPE citext")
                     .arg(columns[i][0], columns[i][1]),
                 failure);
    if (ok && Run(c, QStringLiteral("COMMIT"), failure))
        return true;
    Run(c, QStringLiteral("ROLLBACK"), nullptr);
    return false;
}

}  // namespace

bool UpgradeTextComparison(Connection& connection, Failure* failure) {
    switch (connection.dialect().CaseBlindTextBy()) {
        case CaseBlindText::NocaseCollation:
            return UpgradeSqlite(connection, failure);
        case CaseBlindText::CitextType:
            return UpgradePostgres(connection, failure);
        case CaseBlindText::ByDefault:
            break;
    }
    return true;
}

}  // namespace tlm
