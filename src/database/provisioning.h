#pragma once

#include <QString>
#include <QStringList>
#include <QVariantList>
#include <vector>

#include "core/failure.h"

namespace tlm {

class Connection;

// Column types of the shared schema, in the neutral terms of the file form.
enum class ColumnKind { Id, Text, Memo, Int16, Int32, Money, DateTime, Bool, Other };

// Type numbers a field reports, by the numbering the callers pass to DB::NullSafeValue.
namespace adotype {
inline constexpr qint32 adSmallInt = 2;
inline constexpr qint32 adInteger = 3;
inline constexpr qint32 adSingle = 4;
inline constexpr qint32 adDouble = 5;
inline constexpr qint32 adCurrency = 6;
inline constexpr qint32 adDate = 7;
inline constexpr qint32 adBoolean = 11;
inline constexpr qint32 adDecimal = 14;
inline constexpr qint32 adBigInt = 20;
inline constexpr qint32 adChar = 129;
inline constexpr qint32 adWChar = 130;
inline constexpr qint32 adNumeric = 131;
inline constexpr qint32 adDBTime = 134;
inline constexpr qint32 adVarChar = 200;
inline constexpr qint32 adLongVarChar = 201;
inline constexpr qint32 adVarWChar = 202;
inline constexpr qint32 adLongVarWChar = 203;
}  // namespace adotype

struct ColumnDef {
    QString name;
    ColumnKind kind;
};
struct TableDef {
    QString name;
    std::vector<ColumnDef> columns;
};

// The eleven tables in creation order, columns in the file form's order and types. The server
// scripts (resources "MSSQL.SQL", "POSTGRESQL.SQL") hold the same columns with server types.
const std::vector<TableDef>& Schema();
// How a column of that name reads in any table: money, date, flag (0/1) or plain. A name that is a
// date anywhere (tReportedTasks keeps ReportedDate as text in the file form) reads as a date.
ColumnKind KindOfColumn(const QString& name);
qint32 AdoTypeOf(ColumnKind kind);
// The schema's spelling of a column name ("projectname" -> "ProjectName"), or the name itself.
QString CanonicalColumnName(const QString& name);

// Databases made by earlier builds compared text with regard to case. This brings the text columns
// of the shared tables to the case-blind form once (SQLite: NOCASE, rebuilt table by table;
// PostgreSQL: citext), keeping every row, column and identity counter. Nothing to do answers true.
bool UpgradeTextComparison(Connection& connection, Failure* failure);

// The SQLite form of the schema: one CREATE TABLE per table, ID INTEGER PRIMARY KEY AUTOINCREMENT.
QStringList SqliteSchemaStatements();

namespace DB {
// Writes a new database file with the eleven tables and the rows of a blank database
// (15 settings, 31 templates, one sample member), built beside the path and renamed into place, so
// a half-written file never appears. An existing file is never replaced. True when the file exists
// afterwards.
bool fncCopyNewMDBToFile(const QString& path);
// The fallback: the same tables without rows. A folder that cannot take the file shows the stop box
// "The database file could not be created in the specified path '<path>'" and answers false.
bool CreateDB(const QString& path);
}  // namespace DB

// The creation script of a server kind: DBChoice 1 reads "MSSQL.SQL", or "POSTGRESQL.SQL" when the
// connection string names the PostgreSQL provider; 2 "ORACLE.SQL" and 3 "MYSQL.SQL", which do not
// exist. Any other value gives empty text.
QString GetSQLScript(qint32 dbChoice, const QString& connectionString = QString());
// Opens a connection with the string; any failure (unreachable, wrong password) reads as false.
bool SQLDBExists(const QString& connectionString);
// True when a read of the table raises no error on that database.
bool CheckIfTableExists(const QString& connectionString, const QString& tableName);
// Creates the configured server database from the script, or accepts an existing compatible one.
// Answers the connection string of the new database, or empty text (the user has been told).
QString fncCreateSQLDB(bool& blnCreated);
// The connection string without its "Initial Catalog" part: the server alone.
QString fncGetServerConnectionString(const QString& connectionString);

}  // namespace tlm
