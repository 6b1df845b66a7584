#pragma once

#include <QSqlDatabase>
#include <QString>
#include <QVariantList>
#include <memory>

#include "core/failure.h"
#include "database/dialect.h"
#include "database/provisioning.h"
#include "database/sql_compose.h"

class QSqlQuery;
class QSqlError;

namespace tlm {

class Recordset;
class Command;

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

// What a connection string names. Forms read:
//   "Provider=SQLite;Data Source=<file>"                               (DBChoice 0)
//   "Provider=SQLOLEDB.1;Persist Security Info=True;Password=p;User ID=u;Data Source=host[,port|\inst];
//    Initial Catalog=db"  or ";Integrated Security=SSPI" instead of the credentials
//   "Provider=PostgreSQL;Data Source=host[,port];Initial Catalog=db;User ID=u;Password=p"
// Keys are read without regard to case or order.
struct ConnectionTarget {
    bool known = false;  // a provider this program can open
    Engine engine = Engine::SQLite;
    QString provider;
    QString path;  // SQLite
    QString host;
    int port = 0;
    QString instance;
    QString database;
    QString user;
    QString password;
    bool integratedSecurity = false;
};
ConnectionTarget ParseConnectionString(const QString& connectionString);
QString SqliteConnectionString(const QString& filePath);
// The ODBC text for a SQL Server target through the FreeTDS driver.
QString OdbcConnectionString(const ConnectionTarget& target);

// One open database: owns one named QSqlDatabase, removed again when the object goes. Recordsets and
// commands hold it shared, so a closed connection makes them fail rather than dangle.
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
    // One transaction at a time, for writers of many rows; a failure leaves no transaction open.
    bool BeginTransaction(Failure* failure = nullptr);
    bool CommitTransaction(Failure* failure = nullptr);
    void RollbackTransaction();
    bool InTransaction() const { return inTransaction_; }
    // The value as this engine stores it for a column of that kind: dates as text, flags 0/1, money
    // as decimal text, a null text as empty text. An invalid or null value is NULL.
    QVariant ToStorage(const QVariant& value, ColumnKind kind) const;
    // A failure from a driver error, numbered as the callers expect.
    Failure FailureFrom(const QSqlError& error) const;
    // The value of the newest identity on this connection after an INSERT, where the engine has one.
    QVariant LastInsertId(const QSqlQuery& query) const;

  private:
    bool OpenTarget(const ConnectionTarget& target, Failure* failure);

    QString name_;
    QSqlDatabase db_;
    ConnectionTarget target_;
    Dialect dialect_{Engine::SQLite};
    quint64 epoch_ = 0;
    bool inTransaction_ = false;
};

// The first-run dialog and the settings panel; the settings layer installs the real panel.
class DatabaseDialogHost {
  public:
    virtual ~DatabaseDialogHost() = default;
    // The settings window in section 14, modal, as the first-run dialog. Answers its saved flag.
    virtual bool ShowFirstRunDialog() = 0;
    // The settings window in setup mode; its save reconnects through DB::Initialize.
    virtual void ShowDBDialog() = 0;
};
// nullptr restores the built-in host, which saves nothing and shows nothing.
void SetDatabaseDialogHost(DatabaseDialogHost* host);

// The connection flow. The DB.* routines live in tlm::DB, the others in tlm, as the callers name them.
namespace DB {
// Finds the configured database, asks for one on first run, creates one when there is none.
// Answers the connection string, or empty text.
QString GetCONN(bool& blnShowDialog);
// Opens the process's one connection unless it is open already.
void Initialize(bool& blnShowDialog);
// Makes a field value safe by the caller's type number: numbers 0, dates ZeroDate(), texts "",
// any other type (flags among them) an empty (invalid) value. A date text that parses counts as a date.
QVariant NullSafeValue(const QVariant& value, qint32 fieldType);
// Shows the settings panel in setup mode.
void ShowDBDialog();
}  // namespace DB

// Opens a recordset on a statement or a bare table name; the whole result is read into memory.
// Read-only for loading, optimistic row by row, or batch (blnBatch, written by UpdateBatch).
// Answers nullptr on failure; the user has been told when blnShowDialog is true.
std::unique_ptr<Recordset> GetDBRecordset(const QString& strSQL, bool blnReadOnly = true,
                                          bool blnShowDialog = true, bool blnBatch = false);
// The same for a composed statement: a refused one is reported as the engine's error would be
// (when blnShowDialog is true) and nothing runs.
std::unique_ptr<Recordset> GetDBRecordset(const SqlText& statement, bool blnReadOnly = true,
                                          bool blnShowDialog = true, bool blnBatch = false);
// A command bound to the connection, or nullptr.
std::unique_ptr<Command> GetCommand();
// Closes and releases the connection; errors ignored.
void subCloseConnection();
// The configured folder and file name for DBChoice 0, else the server name.
QString fncGetDatabaseDisplayName();
// The open connection, or nullptr.
std::shared_ptr<Connection> CurrentConnection();

}  // namespace tlm
