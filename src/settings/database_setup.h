#pragma once

#include <QString>
#include <QtGlobal>
#include <functional>

namespace tlm {

class cMySettings;

// The provider words of DBChoice 1: the engine follows the word in the stored connection string.
inline const QString kProviderSqlServer = QStringLiteral("SQLOLEDB.1");
inline const QString kProviderPostgreSQL = QStringLiteral("PostgreSQL");

enum class ServerKind { SqlServer, PostgreSQL };

// What the database panel's fields say, free of widgets.
struct DatabaseFields {
    qint32 dbChoice = 0;  // 0 the local file, 1 a server (2 and 3 only by a hand-edited value)
    ServerKind serverKind = ServerKind::SqlServer;
    QString server;  // host, "host,port", or "host\instance" for SQL Server
    QString database;
    bool integratedSecurity = false;
    QString userName;
    QString password;
    QString folder;                      // DBChoice 0: the folder of the database file
    bool createFolderIfMissing = false;  // the proposed default folder is made on save
};

// The fields as the local settings hold them; the server kind comes from the provider word.
DatabaseFields FieldsFromSettings(const cMySettings& settings);
// The folder proposed on first run: TLM_DEFAULT_DATA_DIR when set, else the application data folder.
QString DefaultDataFolder();

// The trimmed database name, or "TallyloomDB" when empty.
QString DatabaseNameOrDefault(const DatabaseFields& fields);
// The connection string of the fields by DBChoice; with blnServerOnly, without the database.
QString BuildSQLConnection(const DatabaseFields& fields, bool blnServerOnly);

// A result line of the panel, with its colour.
enum class StatusColour { None, Green, Red };
struct StatusLine {
    QString text;
    StatusColour colour = StatusColour::None;
};

// The outcome of a connection test: the server line (lblStatus), the database line (labelDBStatus)
// and whether a save may go on.
struct ConnectionCheck {
    bool ok = false;
    StatusLine server;
    StatusLine database;
};

// Texts a user can act on when a field cannot go into a connection string; empty when it can.
QString ValidateServerFields(const DatabaseFields& fields);

// Tests the server alone, then the database on it. A missing database passes (it is created after the
// save); an existing one without the shared tables does not. An empty server answers false with no line.
ConnectionCheck fncCheckDatabaseConnection(const DatabaseFields& fields);
// The local-file counterpart: the folder must exist and take new files; a database file already there
// must hold the shared tables. With createFolderIfMissing a missing folder is made first.
ConnectionCheck CheckDatabaseFolder(const DatabaseFields& fields);

// Validates and tests the fields, then writes them into the settings in memory. On any failure nothing
// is changed and the check says why.
bool ApplyDatabaseSettings(const DatabaseFields& fields, cMySettings& settings, ConnectionCheck* check);

// After a save in setup mode, with the new fields applied in memory: closes the connection, clears
// blnDatabaseSetup and opens the new database, creating a missing one. Only when that worked are the
// settings saved and the reload hook (the global store's load) run; otherwise the settings go back to
// `previous` and `why` says what failed.
using DatabaseReloadHook = std::function<void()>;
void SetDatabaseReloadHook(DatabaseReloadHook hook);  // an empty hook: reconnect only
bool ReloadAfterDatabaseSetup(const cMySettings& previous, QString* why);

}  // namespace tlm
