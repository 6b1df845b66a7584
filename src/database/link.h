#pragma once

#include <QSqlDatabase>
#include <QString>
#include <QVariantList>
#include <memory>

#include "core/failure.h"
#include "database/dialect.h"
#include "database/schema.h"

class QSqlQuery;
class QSqlError;

namespace tlm {

// The database file of DBChoice 0, in the configured folder.
inline const QString kDatabaseFileName = QStringLiteral("Tallyloom.db");
// The database name wherever one is needed and none is given; also the placeholder of the scripts.
inline const QString kDefaultDatabaseName = QStringLiteral("TallyloomDB");

// Failure numbers of this layer, as the callers' handlers know them.
namespace dberr {
inline constexpr qint32 kUnspecified = qint32(0x80004005);       // cannot connect, locked, not a database
inline constexpr qint32 kCommandError = qint32(0x80040E14);      // the statement was refused by the engine
inline constexpr qint32 kRowNotFound = qint32(0x80040E38);       // the row to update is gone
inline constexpr qint32 kBadArguments = qint32(0x800A0BB9);      // 3001: a Find criterion it cannot read
inline constexpr qint32 kNoCurrentRecord = qint32(0x800A0BCD);   // 3021: BOF or EOF, or the row was deleted
inline constexpr qint32 kNotUpdatable = qint32(0x800A0CB3);      // 3251: a read-only recordset
inline constexpr qint32 kItemNotFound = qint32(0x800A0CC1);      // 3265: no field of that name
inline constexpr qint32 kObjectClosed = qint32(0x800A0E78);      // 3704: the connection is closed
inline constexpr qint32 kProviderNotFound = qint32(0x800A0E7A);  // 3706: no driver for the provider
}  // namespace dberr

// One open database: owns one named QSqlDatabase, removed again when the object goes. Recordsets and
// commands hold it shared, so a closed connection makes them fail rather than dangle. What differs
// between the engines it asks of its Dialect.
class Connection {
  public:
    Connection();
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // Opens by connection string. An SQLite file must exist and hold the shared schema (it is opened
    // read-write, rollback journal, busy timeout 30 s, foreign keys off); it is never created here.
    // Unreachable servers, refused logins and foreign files fail with dberr::kUnspecified.
    bool Open(const QString& connectionString, Failure* failure = nullptr);
    void Close();
    bool IsOpen() const;
    Engine engine() const { return dialect_.engine(); }
    const Dialect& dialect() const { return dialect_; }
    // Rises on each open and close, so a cached statement knows it is stale.
    quint64 epoch() const { return epoch_; }

    // Creates (or opens) an SQLite file with no schema test, for building a new database.
    bool OpenNewSqliteFile(const QString& filePath, Failure* failure = nullptr);

    // Runs one statement text after the one-statement test. With translate, the dialect is applied
    // first. "use <db>" on PostgreSQL reconnects to that database (the scripts rely on it).
    // Answers the rows affected, or -1 with the failure set.
    qint64 Execute(const QString& sql, const QVariantList& values, bool translate, Failure* failure);

    // For this layer's recordsets and commands. PrepareQuery checks the final text (open, one
    // statement) and prepares it; PostgreSQL runs a text without values directly, since it cannot
    // prepare every statement (CREATE DATABASE). RunQuery binds the values and runs it.
    bool PrepareQuery(QSqlQuery& query, const QString& finalSql, bool hasValues, bool* direct,
                      Failure* failure) const;
    bool RunQuery(QSqlQuery& query, const QString& finalSql, bool direct, const QVariantList& values,
                  Failure* failure) const;
    QSqlQuery NewQuery() const;
    // The open/one-statement test PrepareQuery makes, for a reader that prepares by itself.
    bool CheckStatement(const QString& finalSql, Failure* failure) const;
    // The driver's own connection handle (QSqlDriver::handle()), for readers that step the engine's
    // statements themselves (Dialect::NativeReader); invalid when closed.
    QVariant NativeHandle() const;
    // One transaction at a time, for writers of many rows; a failure leaves no transaction open.
    bool BeginTransaction(Failure* failure = nullptr);
    bool CommitTransaction(Failure* failure = nullptr);
    void RollbackTransaction();
    bool InTransaction() const { return inTransaction_; }
    // The value as this engine stores it for a column of that kind (StorageValue, value_conversion.h).
    QVariant ToStorage(const QVariant& value, ColumnKind kind) const;
    // A failure from a driver error, numbered as the callers expect.
    Failure FailureFrom(const QSqlError& error) const;

  private:
    bool OpenTarget(const ConnectionTarget& target, Failure* failure);

    QString name_;
    QSqlDatabase db_;
    ConnectionTarget target_;
    Dialect dialect_{Engine::SQLite};
    quint64 epoch_ = 0;
    bool inTransaction_ = false;
};

// Databases made by earlier builds compared text with regard to case. This brings the text columns
// of the shared tables to the case-blind form once (SQLite: NOCASE, rebuilt table by table;
// PostgreSQL: citext), keeping every row, column and identity counter. Nothing to do answers true.
// Open runs it on every database it opens.
bool UpgradeTextComparison(Connection& connection, Failure* failure);

// The process's one connection, or nullptr; the connection flow (connection.h) opens and sets it.
std::shared_ptr<Connection> CurrentConnection();
void SetCurrentConnection(std::shared_ptr<Connection> connection);

}  // namespace tlm
