#include "database/connection.h"

#include <QFileInfo>

#include "core/codecs.h"
#include "core/error_report.h"
#include "core/file_services.h"
#include "core/local_settings.h"
#include "core/process_state.h"
#include "core/prompt.h"
#include "core/startup.h"
#include "database/provisioning.h"
#include "database/recordset.h"

namespace tlm {

// ---- the connection flow ---------------------------------------------------------------------

namespace {

class SilentHost : public DatabaseDialogHost {
  public:
    bool ShowFirstRunDialog() override { return false; }
    void ShowDBDialog() override {}
};

SilentHost g_silentHost;
DatabaseDialogHost* g_host = &g_silentHost;
// Set when the first-run dialog was refused: the process is ending, nothing more may run.
bool g_exitRequested = false;

cMySettings* Settings() {
    return Process().mySettings;
}

QString DatabaseNameForMessage(const cMySettings& s) {
    QString name = s.Database.trimmed();
    if (name.isEmpty())
        name = ParseConnectionString(s.DBConnectionString).database;
    return name.isEmpty() ? kDefaultDatabaseName : name;
}

}  // namespace

void SetDatabaseDialogHost(DatabaseDialogHost* host) {
    g_host = host ? host : &g_silentHost;
}

QString DB::GetCONN(bool& blnShowDialog) {
    ProcessState& ps = Process();
    cMySettings* s = Settings();
    g_exitRequested = false;
    if (!s) {
        subReportError(Failure{dberr::kUnspecified, QStringLiteral("The local settings are not loaded."), 0,
                               QStringLiteral("DB.GetCONN")});
        return QString();
    }
    // A failed creation clears the configuration and runs the whole decision again.
    for (;;) {
        ps.blnNewDatabase = true;
        if (s->DBChoice != 0 && !s->DBConnectionString.trimmed().isEmpty())
            ps.blnNewDatabase = false;
        if (s->DBChoice == 0) {
            ps.strMDBPath = s->DBConnectionString;
            if (!ps.strMDBPath.isEmpty()) {
                ps.strMDBPath = fncStripTrailingSlash(ps.strMDBPath) + u'/' + kDatabaseFileName;
                if (QFileInfo::exists(ps.strMDBPath))
                    ps.blnNewDatabase = false;
            }
        }
        if (blnShowDialog && ps.blnNewDatabase) {
            ps.lngCurrentSection = 14;
            if (!g_host->ShowFirstRunDialog()) {
                // The user refused to name a database.
                g_exitRequested = true;
                subExitProgram(kExitNormal);
                return QString();
            }
        }
        if (s->DBChoice == 0) {
            if (QFileInfo::exists(ps.strMDBPath))
                return SqliteConnectionString(ps.strMDBPath);
            // No folder configured: there is nowhere to write a file, and nothing worth saving.
            if (ps.blnNewDatabase && !ps.strMDBPath.isEmpty()) {
                if (!DB::fncCopyNewMDBToFile(ps.strMDBPath))
                    DB::CreateDB(ps.strMDBPath);
                s->SaveSettings();
                return SqliteConnectionString(ps.strMDBPath);
            }
            return QString();
        }
        if (s->DBChoice < 0 || s->DBChoice > 3)
            return QString();
        if (!ps.blnNewDatabase && !SQLDBExists(s->DBConnectionString)) {
            const PromptAnswer answer =
                MsgBox(QStringLiteral("The specified database '") + DatabaseNameForMessage(*s) +
                           QStringLiteral("' does not exist!\nDo you want to continue with a new database?"),
                       PromptIcon::Question, PromptButtons::YesNo, kMessageTitle);
            if (answer != PromptAnswer::Yes)
                return QString();
            ps.blnNewDatabase = true;
        }
        if (ps.blnNewDatabase) {
            bool created = false;
            const QString connection = fncCreateSQLDB(created);
            if (!connection.isEmpty()) {
                s->SaveSettings();
                return connection;
            }
            s->DBConnectionString.clear();
            s->DBChoice = 0;
            s->Database.clear();
            s->UserName.clear();
            s->Password.clear();
            continue;
        }
        QString result = s->DBConnectionString;
        if (s->DBChoice == 3) {
            const QString name =
                s->Database.trimmed().isEmpty() ? kDefaultDatabaseName : s->Database.trimmed();
            result.replace(QStringLiteral("DATABASE="), QStringLiteral("DATABASE=") + name);
        }
        return result;
    }
}

void DB::Initialize(bool& blnShowDialog) {
    subTraceAction(QStringLiteral("Checking if the ADO connection is up or not"));
    if (CurrentConnection())
        return;
    const QString connectionString = DB::GetCONN(blnShowDialog);
    if (g_exitRequested)
        return;
    if (connectionString.isEmpty()) {
        SetCurrentConnection(nullptr);
        DB::ShowDBDialog();
        return;
    }
    auto connection = std::make_shared<Connection>();
    Failure failure;
    if (connection->Open(connectionString, &failure)) {
        SetCurrentConnection(connection);
        return;
    }
    SetCurrentConnection(nullptr);
    if (failure.number == dberr::kUnspecified) {
        MsgBox(QStringLiteral(
                   "Cannot open the project database!\nMake sure the database exists and that you are "
                   "connected to the network."),
               PromptIcon::Critical, PromptButtons::Ok, kMessageTitle);
        DB::ShowDBDialog();
        return;
    }
    if (blnShowDialog) {
        failure.label = QStringLiteral("DB.Initialize");
        failure.description += QStringLiteral("\n\nstrConn=") + MaskSecrets(connectionString);
        subReportError(failure);
    }
}

void DB::ShowDBDialog() {
    ProcessState& ps = Process();
    ps.lngCurrentSection = 14;
    ps.blnDatabaseSetup = true;
    g_host->ShowDBDialog();
}

std::unique_ptr<Recordset> GetDBRecordset(const QString& strSQL, bool blnReadOnly, bool blnShowDialog,
                                          bool blnBatch) {
    bool showDialog = blnShowDialog;
    DB::Initialize(showDialog);
    subTraceAction(
        QStringLiteral("Creating a new ADOB.Recordset. If this fails, please try re-installing MDAC"));
    subTraceAction(QStringLiteral("Attempting to open a recordset from ") + strSQL);
    const std::shared_ptr<Connection> connection = CurrentConnection();
    if (!connection || !connection->IsOpen())
        return nullptr;
    const LockMode lock = blnReadOnly ? LockMode::ReadOnly
                          : blnBatch  ? LockMode::BatchOptimistic
                                      : LockMode::Optimistic;
    auto rs = std::make_unique<Recordset>(connection, lock);
    Failure failure;
    if (rs->Open(strSQL, &failure))
        return rs;
    if (blnShowDialog) {
        if (failure.number == dberr::kUnspecified) {
            failure.label = QStringLiteral("DB.GetDBRecordset");
            QString text = QStringLiteral(
                "Connection to the database 'TLM_DATABASE' cannot be established! Make sure you are "
                "connected to the "
                "network and have access to the database.");
            text.replace(QStringLiteral("TLM_DATABASE"), fncGetDatabaseDisplayName());
            subShowFriendlyError(text + QStringLiteral("\n\nSQL=") + strSQL, failure);
        } else {
            failure.label = QStringLiteral("DB.GetRecordset");
            subReportError(failure);
        }
    }
    return nullptr;
}

std::unique_ptr<Recordset> GetDBRecordset(const SqlText& statement, bool blnReadOnly, bool blnShowDialog,
                                          bool blnBatch) {
    if (statement.ok())
        return GetDBRecordset(statement.sql(), blnReadOnly, blnShowDialog, blnBatch);
    if (blnShowDialog) {
        Failure failure = *statement.refusal();
        failure.label = QStringLiteral("DB.GetRecordset");
        subReportError(failure);
    }
    return nullptr;
}

std::unique_ptr<Command> GetCommand() {
    subTraceAction(QStringLiteral("Creating a new ADODB.Command object"));
    bool showDialog = true;
    DB::Initialize(showDialog);
    std::shared_ptr<Connection> connection = CurrentConnection();
    if (!connection)
        return nullptr;
    return std::make_unique<Command>(std::move(connection));
}

void subCloseConnection() {
    if (const std::shared_ptr<Connection> connection = CurrentConnection())
        connection->Close();
    SetCurrentConnection(nullptr);
}

QString fncGetDatabaseDisplayName() {
    const cMySettings* s = Settings();
    if (!s)
        return QString();
    if (s->DBChoice == 0)
        return fncStripTrailingSlash(s->DBConnectionString) + u'/' + kDatabaseFileName;
    return s->Server;
}

}  // namespace tlm
