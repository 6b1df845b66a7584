#include "settings/database_setup.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStandardPaths>

#include "core/error_report.h"
#include "core/file_services.h"
#include "core/local_settings.h"
#include "core/process_state.h"
#include "database/connection.h"
#include "database/provisioning.h"

namespace tlm {

namespace {

DatabaseReloadHook g_reloadHook;

const QString kConnectionFailed =
    QStringLiteral("Connection Failed! Make sure you have entered a valid instance name of your SQL Server.");
const QString kCompatibilityTable = QStringLiteral("tReportedAppointments");

StatusLine Green(const QString& text) {
    return {text, StatusColour::Green};
}
StatusLine Red(const QString& text) {
    return {text, StatusColour::Red};
}

QString IncompatibleText(const QString& name) {
    return QStringLiteral("It appears the specified database '") + name +
           QStringLiteral(
               "' is not a compatible Tally Loom database! Either leave the database name empty or "
               "specify a correct existing database and try again!");
}

QString Credentials(const DatabaseFields& f) {
    if (f.integratedSecurity)
        return QStringLiteral(";Integrated Security=SSPI");
    return QStringLiteral(";Password=") + f.password + QStringLiteral(";User ID=") + f.userName;
}

QString DatabaseFilePath(const QString& folder) {
    return fncStripTrailingSlash(folder.trimmed()) + u'/' + kDatabaseFileName;
}

void RememberSecret(const DatabaseFields& f) {
    if (!f.password.isEmpty())
        RegisterSecret(f.password);
}

}  // namespace

DatabaseFields FieldsFromSettings(const cMySettings& s) {
    DatabaseFields f;
    f.dbChoice = s.DBChoice;
    f.serverKind = ParseConnectionString(s.DBConnectionString).engine == Engine::PostgreSQL
                       ? ServerKind::PostgreSQL
                       : ServerKind::SqlServer;
    f.server = s.Server;
    f.database = s.Database;
    f.integratedSecurity = s.IntegratedSecurity != 0;
    f.userName = s.UserName;
    f.password = s.Password;
    if (s.DBChoice == 0)
        f.folder = s.DBConnectionString;
    RememberSecret(f);
    return f;
}

QString DefaultDataFolder() {
    const QString fromEnvironment = qEnvironmentVariable("TLM_DEFAULT_DATA_DIR").trimmed();
    if (!fromEnvironment.isEmpty())
        return QDir::cleanPath(fromEnvironment);
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
}

QString DatabaseNameOrDefault(const DatabaseFields& fields) {
    const QString name = fields.database.trimmed();
    return name.isEmpty() ? kDefaultDatabaseName : name;
}

QString BuildSQLConnection(const DatabaseFields& f, bool blnServerOnly) {
    const QString server = f.server.trimmed();
    switch (f.dbChoice) {
        case 1: {
            const QString provider =
                f.serverKind == ServerKind::PostgreSQL ? kProviderPostgreSQL : kProviderSqlServer;
            QString s = QStringLiteral("Provider=") + provider +
                        QStringLiteral(";Persist Security Info=True") + Credentials(f) +
                        QStringLiteral(";Data Source=") + server;
            if (!blnServerOnly)
                s += QStringLiteral(";Initial Catalog=") + DatabaseNameOrDefault(f);
            return s;
        }
        case 2:
            return QStringLiteral("Provider=MSDAORA.1;Persist Security Info=True") + Credentials(f) +
                   QStringLiteral(";Data Source=") + server;
        case 3:
            return QStringLiteral("DRIVER={MySQL ODBC 3.51 Driver};SERVER=") + server +
                   QStringLiteral(";DATABASE=;UID=") + f.userName + QStringLiteral(";PWD=") + f.password +
                   QStringLiteral(";OPTION=3");
        default:
            return QString();
    }
}

QString ValidateServerFields(const DatabaseFields& f) {
    const QString server = f.server.trimmed();
    if (!server.isEmpty()) {
        // These characters would split the connection string or the stored DatabaseInfo.
        static const QRegularExpression kBadServer(QStringLiteral("[\\s'\"`;=|{}]"));
        if (server.contains(kBadServer))
            return QStringLiteral("The server name '") + server +
                   QStringLiteral(
                       "' cannot be used: it may not hold blanks, quotes or any of ; = | { }. Enter a host "
                       "name or address, followed by a comma and the port when it is not the default.");
        const QStringList parts = server.split(u',');
        const QString host = parts.first();
        if (host.isEmpty())
            return QStringLiteral("Enter the host name or address of the server before the comma.");
        if (parts.size() > 1) {
            bool numeric = false;
            const int port = parts.mid(1).join(u',').toInt(&numeric);
            if (parts.size() > 2 || !numeric || port < 1 || port > 65535)
                return QStringLiteral("The port '") + parts.mid(1).join(u',') +
                       QStringLiteral("' after the server name is not a number from 1 to 65535.");
        }
        if (host.contains(u'\\') && f.serverKind == ServerKind::PostgreSQL)
            return QStringLiteral(
                "A PostgreSQL server has no instance name: enter the host, or the host, a comma and the "
                "port.");
    }
    // The name goes into the creation script as a name, so it holds name characters only.
    const QString database = f.database.trimmed();
    if (!database.isEmpty() && !sqlcompose::IsIdentifier(database))
        return QStringLiteral("The database name '") + database +
               QStringLiteral("' cannot be used: it may hold only letters, digits and the underscore.");
    if (!f.integratedSecurity) {
        if (f.userName.contains(u';') || f.userName.contains(u'|') || f.userName.trimmed() != f.userName)
            return QStringLiteral(
                "The user name may not hold the characters ; or | and may not begin or end with a blank.");
        if (f.password.contains(u';') || f.password.contains(u'|') || f.password.trimmed() != f.password)
            return QStringLiteral(
                "The password may not hold the characters ; or | and may not begin or end with a blank.");
    }
    return QString();
}

ConnectionCheck fncCheckDatabaseConnection(const DatabaseFields& f) {
    RememberSecret(f);
    ConnectionCheck check;
    if (f.server.trimmed().isEmpty())
        return check;
    const QString invalid = ValidateServerFields(f);
    if (!invalid.isEmpty()) {
        check.server = Red(invalid);
        return check;
    }
    {
        Connection server;
        if (!server.Open(BuildSQLConnection(f, true))) {
            check.server = Red(kConnectionFailed);
            return check;
        }
        check.server = Green(QStringLiteral("Connection to SQL Server '") + f.server.trimmed() +
                             QStringLiteral("' succeeded!"));
    }
    const QString name = f.database.trimmed();
    if (name.isEmpty()) {
        check.ok = true;
        return check;
    }
    const QString full = BuildSQLConnection(f, false);
    if (SQLDBExists(full)) {
        if (!CheckIfTableExists(full, kCompatibilityTable)) {
            check.database = Red(IncompatibleText(name));
            return check;
        }
        check.database =
            Green(QStringLiteral("Connection to database '") + name + QStringLiteral("' succeeded!"));
    } else {
        // Not an error: the connection flow creates it after the save.
        check.database = Red(QStringLiteral("Database '") + name + QStringLiteral("' does not exist!"));
    }
    check.ok = true;
    return check;
}

ConnectionCheck CheckDatabaseFolder(const DatabaseFields& f) {
    ConnectionCheck check;
    const QString folder = f.folder.trimmed();
    if (folder.isEmpty()) {
        check.server = Red(QStringLiteral(
            "Please select a network folder path where the database will be created or located!"));
        return check;
    }
    const QFileInfo info(folder);
    if (!info.exists() && f.createFolderIfMissing) {
        check.server = Green(QStringLiteral("The folder '") + folder + QStringLiteral("' will be created."));
        check.ok = true;
        return check;
    }
    if (!info.isDir()) {
        check.server = Red(QStringLiteral(
            "Please specify a valid a network folder path where the database will be created or located!"));
        return check;
    }
    if (!IsFolderWritable(folder)) {
        check.server =
            Red(QStringLiteral("The folder '") + folder +
                QStringLiteral("' does not allow new files. Choose a folder in which you may create "
                               "and change files."));
        return check;
    }
    const QString file = DatabaseFilePath(folder);
    if (QFileInfo::exists(file)) {
        if (!CheckIfTableExists(SqliteConnectionString(file), kCompatibilityTable)) {
            check.database = Red(IncompatibleText(file));
            return check;
        }
        check.database =
            Green(QStringLiteral("Connection to database '") + file + QStringLiteral("' succeeded!"));
    } else {
        check.database = Green(QStringLiteral("Database '") + file +
                               QStringLiteral("' does not exist yet: it will be created."));
    }
    check.ok = true;
    return check;
}

bool ApplyDatabaseSettings(const DatabaseFields& f, cMySettings& settings, ConnectionCheck* out) {
    ConnectionCheck local;
    ConnectionCheck& check = out ? *out : local;
    RememberSecret(f);
    if (f.dbChoice != 0) {
        check = fncCheckDatabaseConnection(f);
        if (!check.ok) {
            if (check.server.text.isEmpty())
                check.server = Red(QStringLiteral("Server name is mandatory!"));
            return false;
        }
        // Written only now, all together, so a refused save leaves the settings as they were.
        settings.DBChoice = f.dbChoice;
        settings.DBConnectionString = BuildSQLConnection(f, false);
        settings.Server = f.server.trimmed();
        settings.Database = DatabaseNameOrDefault(f);
        settings.UserName = f.userName;
        settings.Password = f.password;
        settings.IntegratedSecurity = f.integratedSecurity ? 1 : 0;
        Process().strMDBPath.clear();
        return true;
    }
    const QString folder = f.folder.trimmed();
    DatabaseFields made = f;
    made.createFolderIfMissing = false;
    // The proposed default folder is made only when the rest of the check holds.
    check = CheckDatabaseFolder(f);
    if (!check.ok)
        return false;
    if (f.createFolderIfMissing && !QFileInfo::exists(folder)) {
        if (!QDir().mkpath(folder)) {
            check.server = Red(QStringLiteral("The folder '") + folder +
                               QStringLiteral("' could not be created. Choose a folder in which you may "
                                              "create and change files."));
            check.ok = false;
            return false;
        }
        check = CheckDatabaseFolder(made);
        if (!check.ok)
            return false;
    }
    settings.DBChoice = 0;
    settings.DBConnectionString = folder;
    Process().strMDBPath = DatabaseFilePath(folder);
    return true;
}

void SetDatabaseReloadHook(DatabaseReloadHook hook) {
    g_reloadHook = std::move(hook);
}

bool ReloadAfterDatabaseSetup(const cMySettings& previous, QString* why) {
    cMySettings* settings = Process().mySettings;
    subCloseConnection();
    Process().blnDatabaseSetup = false;
    if (!settings)
        return false;
    const bool hadSettingsFile = QFileInfo::exists(LocalSettingsFilePath());
    bool flowMayHaveSaved = false;
    const auto restore = [&](const QString& text) {
        // Nothing of the failed attempt stays, in memory or on disk.
        *settings = previous;
        if (flowMayHaveSaved) {
            if (hadSettingsFile)
                settings->SaveSettings();
            else
                QFile::remove(LocalSettingsFilePath());
        }
        Process().strMDBPath.clear();
        if (why)
            *why = text;
        return false;
    };
    // Without dialogs: a missing file is written and a missing server database created (after the
    // flow's question); a failure here must not open a second settings window over this one.
    bool noDialog = false;
    const QString connection = DB::GetCONN(noDialog);
    const bool isNew = Process().blnNewDatabase;
    // A connection found or made has been saved by the flow.
    flowMayHaveSaved = !connection.isEmpty();
    if (connection.isEmpty())
        return restore(
            QStringLiteral("The database could not be opened or created. The settings were not "
                           "changed."));
    {
        Connection probe;
        Failure failure;
        if (!probe.Open(connection, &failure))
            return restore(QStringLiteral("The database could not be opened: ") +
                           MaskSecrets(failure.description) +
                           QStringLiteral(" The settings were not changed."));
    }
    DB::Initialize(noDialog);
    if (!CurrentConnection())
        return restore(QStringLiteral("The database could not be opened. The settings were not changed."));
    settings->SaveSettings();
    // As on a first start, the load that follows writes the settings held in memory into a new database.
    Process().blnNewDatabase = isNew;
    if (g_reloadHook)
        g_reloadHook();
    return true;
}

}  // namespace tlm
