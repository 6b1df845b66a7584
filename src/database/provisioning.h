#pragma once

#include <QString>
#include <QStringList>

#include "database/schema.h"

namespace tlm {

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
