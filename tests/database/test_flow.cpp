#include <gtest/gtest.h>

#include <QFile>

#include "core/process_state.h"
#include "database/db_fixture.h"
#include "support/test_env.h"

namespace tlm {
namespace {

using test::DatabaseEnv;

const QString kCannotOpen = QStringLiteral(
    "Cannot open the project database!\nMake sure the database exists and that you are connected to the "
    "network.");

class FileFlow : public ::testing::Test, public DatabaseEnv {
  protected:
    void SetUp() override {
        SetUpEnv();
        settings.DBChoice = 0;
        settings.DBConnectionString = dir;
        file = dir + QStringLiteral("/") + kDatabaseFileName;
    }
    void TearDown() override { TearDownEnv(); }
    QString file;
};

TEST_F(FileFlow, ConfiguredFileIsUsedAsItStands) {
    ASSERT_TRUE(DB::fncCopyNewMDBToFile(file));
    settings.DBConnectionString = dir + QStringLiteral("/");  // a trailing slash is dropped
    bool show = true;
    EXPECT_EQ(DB::GetCONN(show), "Provider=SQLite;Data Source=" + file);
    EXPECT_FALSE(Process().blnNewDatabase);
    EXPECT_EQ(Process().strMDBPath, file);
    EXPECT_EQ(host.firstRunCalls, 0);
    auto rs = GetDBRecordset("SELECT * FROM tGeneralSettings", true, true, false);
    ASSERT_TRUE(rs);
    EXPECT_EQ(rs->RecordCount(), 15);
    EXPECT_EQ(fncGetDatabaseDisplayName(), file);
}

TEST_F(FileFlow, MissingFileIsWrittenWithoutAskingWhenNoDialogIsWanted) {
    bool show = false;
    EXPECT_EQ(DB::GetCONN(show), "Provider=SQLite;Data Source=" + file);
    EXPECT_TRUE(QFile::exists(file));
    EXPECT_TRUE(Process().blnNewDatabase);  // stays set, so the defaults are written next
    EXPECT_EQ(host.firstRunCalls, 0);
    cMySettings stored;
    stored.ReadSettings();
    EXPECT_EQ(stored.DBConnectionString, dir) << "the configuration is saved";
}

TEST_F(FileFlow, MissingFileShowsTheFirstRunDialog) {
    host.onFirstRun = [&] {
        EXPECT_EQ(Process().lngCurrentSection, 14);
        return true;
    };
    bool show = true;
    DB::Initialize(show);
    EXPECT_EQ(host.firstRunCalls, 1);
    EXPECT_TRUE(CurrentConnection());
    EXPECT_TRUE(QFile::exists(file));
}

TEST_F(FileFlow, FirstRunDialogNamingAnotherFolder) {
    const QString other = test::NewTempDir(QStringLiteral("other"));
    settings.DBConnectionString.clear();
    host.onFirstRun = [&] {
        settings.DBConnectionString = other;
        Process().strMDBPath = other + QStringLiteral("/") + kDatabaseFileName;
        return true;
    };
    bool show = true;
    EXPECT_EQ(DB::GetCONN(show), "Provider=SQLite;Data Source=" + other + "/" + kDatabaseFileName);
    EXPECT_TRUE(QFile::exists(other + "/" + kDatabaseFileName));
}

TEST_F(FileFlow, RefusedFirstRunDialogEndsTheProcess) {
    bool show = true;
    DB::Initialize(show);
    EXPECT_EQ(host.firstRunCalls, 1);
    EXPECT_EQ(test::ExitCalls(), 1);
    EXPECT_EQ(host.dbDialogCalls, 0) << "nothing runs after the exit";
    EXPECT_FALSE(CurrentConnection());
    EXPECT_FALSE(QFile::exists(file));
}

TEST_F(FileFlow, KindsOutsideTheRangeGiveTheSettingsDialog) {
    for (const qint32 choice : {4, -1}) {
        host.dbDialogCalls = 0;
        settings.DBChoice = choice;
        settings.DBConnectionString = QStringLiteral("anything");
        bool show = false;
        EXPECT_TRUE(DB::GetCONN(show).isEmpty());
        EXPECT_EQ(GetDBRecordset("tProjects", true, true, false), nullptr);
        EXPECT_EQ(host.dbDialogCalls, 1) << choice;
        EXPECT_TRUE(Process().blnDatabaseSetup);
        EXPECT_EQ(Process().lngCurrentSection, 14);
    }
}

TEST_F(FileFlow, DialogSaveReconnectsSoTheCallGoesOn) {
    ASSERT_TRUE(DB::fncCopyNewMDBToFile(file));
    settings.DBChoice = 7;
    host.onDBDialog = [&] {
        settings.DBChoice = 0;
        settings.DBConnectionString = dir;
        subCloseConnection();
        bool show = true;
        DB::Initialize(show);
    };
    auto rs = GetDBRecordset("tMembers", true, true, false);
    ASSERT_TRUE(rs);
    EXPECT_EQ(rs->RecordCount(), 1);
}

TEST_F(FileFlow, MissingFolderTellsTheUserTwiceAndOpensTheDialog) {
    settings.DBConnectionString = dir + QStringLiteral("/gone");
    EXPECT_EQ(GetDBRecordset("tProjects", true, false, false), nullptr);
    const QStringList texts = PromptTexts();
    ASSERT_EQ(texts.size(), 2);
    EXPECT_EQ(texts[0], "The database file could not be created in the specified path '" + dir + "/gone/" +
                            kDatabaseFileName + "'");
    EXPECT_EQ(texts[1], kCannotOpen);
    EXPECT_EQ(prompter.shown()[1].icon, PromptIcon::Critical);
    EXPECT_EQ(prompter.shown()[1].title, "Tally Loom Manager Process");
    EXPECT_EQ(host.dbDialogCalls, 1);
}

TEST_F(FileFlow, ForeignFilesAreRefusedAndLeftAlone) {
    // A file that is no database, and a database without the shared schema.
    QFile f(file);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write(QByteArray(4096, 'x'));
    f.close();
    EXPECT_EQ(GetDBRecordset("tProjects", true, true, false), nullptr);
    EXPECT_EQ(PromptTexts(), QStringList{kCannotOpen});
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    EXPECT_EQ(f.readAll(), QByteArray(4096, 'x'));
    f.close();
    ASSERT_TRUE(QFile::remove(file));

    {
        Connection c;
        ASSERT_TRUE(c.OpenNewSqliteFile(file));
        Failure fail;
        ASSERT_GE(
            c.Execute("CREATE TABLE tProjects (ID INTEGER PRIMARY KEY, ProjectName TEXT)", {}, false, &fail),
            0);
    }
    prompter.clear();
    EXPECT_EQ(GetDBRecordset("tProjects", true, true, false), nullptr);
    EXPECT_EQ(PromptTexts(), QStringList{kCannotOpen});
    EXPECT_EQ(host.dbDialogCalls, 2);
}

TEST_F(FileFlow, StatementErrorsReportOnlyWhenAsked) {
    ASSERT_TRUE(DB::fncCopyNewMDBToFile(file));
    EXPECT_EQ(GetDBRecordset("SELECT * FROM tNoSuchTable", true, false, false), nullptr);
    EXPECT_TRUE(presenter.reports.isEmpty());
    EXPECT_EQ(GetDBRecordset("SELECT * FROM tNoSuchTable", true, true, false), nullptr);
    ASSERT_EQ(presenter.reports.size(), 1);
    EXPECT_TRUE(presenter.reports[0].contains("In Function: DB.GetRecordset"));
    EXPECT_TRUE(presenter.reports[0].contains(QString::number(dberr::kCommandError)));
}

TEST(ConnectionStrings, ServerTargetsAndTheOdbcText) {
    const ConnectionTarget ms = ParseConnectionString(
        "Provider=SQLOLEDB.1;Persist Security Info=True;Password=pa;ss;User ID=sa;Data "
        "Source=db1\\SQLEXPRESS;"
        "Initial Catalog=TallyloomDB");
    EXPECT_TRUE(ms.known);
    EXPECT_EQ(ms.engine, Engine::SqlServer);
    EXPECT_EQ(ms.host, "db1");
    EXPECT_EQ(ms.instance, "SQLEXPRESS");
    EXPECT_EQ(ms.user, "sa");
    EXPECT_EQ(OdbcConnectionString(ms),
              "DRIVER={FreeTDS};SERVER=db1\\SQLEXPRESS;PORT=1433;DATABASE=TallyloomDB;UID=sa;PWD=pa;"
              "TDS_Version=7.4;ClientCharset=UTF-8");
    ConnectionTarget sspi = ParseConnectionString(
        "Provider=SQLOLEDB.1;Persist Security Info=True;Integrated Security=SSPI;Data "
        "Source=db2,1500;Initial Catalog=x");
    EXPECT_TRUE(sspi.integratedSecurity);
    EXPECT_EQ(OdbcConnectionString(sspi),
              "DRIVER={FreeTDS};SERVER=db2;PORT=1500;DATABASE=x;Trusted_Connection=Yes;TDS_Version=7.4;"
              "ClientCharset=UTF-8");
    sspi.password = "a;b}";
    sspi.integratedSecurity = false;
    EXPECT_TRUE(OdbcConnectionString(sspi).contains("PWD={a;b}}}"));
    const ConnectionTarget pg = ParseConnectionString(
        "provider=postgresql;data source=127.0.0.1,5433;"
        "initial catalog=Db;user id=u;password=p");
    EXPECT_EQ(pg.engine, Engine::PostgreSQL);
    EXPECT_EQ(pg.port, 5433);
    EXPECT_EQ(pg.database, "Db");
    EXPECT_FALSE(ParseConnectionString("Provider=MSDAORA.1;Data Source=x").known);
}

TEST(ConnectionStrings, UnreachableServersDoNotExist) {
    const QString port = QString::number(test::ClosedPort());
    EXPECT_FALSE(SQLDBExists(
        "Provider=SQLOLEDB.1;Persist Security Info=True;Password=p;User ID=u;Data Source=127.0.0.1," + port +
        ";Initial Catalog=x"));
    EXPECT_FALSE(
        SQLDBExists("Provider=PostgreSQL;Data Source=127.0.0.1," + port + ";Initial Catalog=x;User ID=u"));
    EXPECT_FALSE(SQLDBExists("Provider=MSDAORA.1;Data Source=x"));
}

// The server kinds: a database that cannot be reached, the question, creation and its failure.
class ServerFlow : public ::testing::Test, public DatabaseEnv {
  protected:
    void SetUp() override { SetUpEnv(); }
    void TearDown() override { TearDownEnv(); }
    void Configure(const QString& server, const QString& database) {
        settings.DBChoice = 1;
        settings.Server = QStringLiteral("127.0.0.1");
        settings.Database = database;
        settings.UserName = QStringLiteral("u");
        settings.Password = QStringLiteral("pw-secret-1");
        settings.DBConnectionString = server + QStringLiteral(";Initial Catalog=") + database;
        settings.SaveSettings();
    }
};

TEST_F(ServerFlow, UnreachableServerAsksAndNoGivesTheDialog) {
    Configure(
        "Provider=SQLOLEDB.1;Persist Security Info=True;Password=pw-secret-1;User ID=u;Data "
        "Source=127.0.0.1," +
            QString::number(test::ClosedPort()),
        "Sales");
    EXPECT_EQ(GetDBRecordset("tProjects", true, true, false), nullptr);
    ASSERT_EQ(prompter.shown().size(), 1);
    EXPECT_EQ(prompter.shown()[0].text,
              "The specified database 'Sales' does not exist!\nDo you want to continue with a new database?");
    EXPECT_EQ(prompter.shown()[0].buttons, PromptButtons::YesNo);
    EXPECT_EQ(host.dbDialogCalls, 1);
    EXPECT_EQ(settings.DBChoice, 1) << "No keeps the configuration";
}

TEST_F(ServerFlow, FailedCreationResetsTheConfigurationInMemoryOnly) {
    Configure("Provider=PostgreSQL;Data Source=127.0.0.1," + QString::number(test::ClosedPort()) +
                  ";User ID=u;Password=pw-secret-1",
              "Sales");
    prompter.queue(PromptAnswer::Yes);
    bool show = true;
    DB::Initialize(show);
    // The creation could not reach the server: reported, then the configuration is cleared and the
    // first-run dialog comes up again (refused here, which ends the process).
    ASSERT_EQ(presenter.reports.size(), 1);
    EXPECT_TRUE(presenter.reports[0].contains("In Function: fncCreateSQLDB"));
    EXPECT_EQ(settings.DBChoice, 0);
    EXPECT_TRUE(settings.DBConnectionString.isEmpty());
    EXPECT_TRUE(settings.Database.isEmpty());
    EXPECT_TRUE(settings.UserName.isEmpty());
    EXPECT_TRUE(settings.Password.isEmpty());
    EXPECT_EQ(host.firstRunCalls, 1);
    EXPECT_EQ(test::ExitCalls(), 1);
    cMySettings stored;
    stored.ReadSettings();
    EXPECT_EQ(stored.DBChoice, 1) << "nothing of the failed attempt is saved";
    EXPECT_EQ(stored.Database, "Sales");
    EXPECT_FALSE(AllShownText().contains("pw-secret-1")) << AllShownText().toStdString();
}

TEST_F(ServerFlow, WrongPasswordNeverShowsThePassword) {
    TLM_NEED_SERVER(!test::PostgresConnectionString().isEmpty(), "PostgreSQL case: TLM_TEST_PG");
    ConnectionTarget t = ParseConnectionString(test::PostgresConnectionString());
    Configure("Provider=PostgreSQL;Data Source=" + t.host + "," + QString::number(t.port) +
                  ";User ID=" + t.user + ";Password=pw-secret-1",
              t.database);
    EXPECT_EQ(GetDBRecordset("tProjects", true, true, false), nullptr);
    ASSERT_EQ(prompter.shown().size(), 1);
    EXPECT_TRUE(
        prompter.shown()[0].text.startsWith("The specified database '" + t.database + "' does not exist!"));
    EXPECT_FALSE(AllShownText().contains("pw-secret-1"));
    // The driver's own words stay masked in a report too.
    Connection c;
    Failure f;
    EXPECT_FALSE(c.Open(settings.DBConnectionString, &f));
    EXPECT_EQ(f.number, dberr::kUnspecified);
    EXPECT_FALSE(f.description.contains("pw-secret-1"));
}

TEST_F(ServerFlow, CreatesAMissingDatabaseFromTheScript) {
    TLM_NEED_SERVER(!test::PostgresConnectionString().isEmpty(), "PostgreSQL case: TLM_TEST_PG");
    const QString name = NewPostgresDatabaseName();  // mixed case: the script quotes it
    Configure(PostgresServer(), name);
    prompter.queue(PromptAnswer::Yes);
    bool show = false;
    const QString result = DB::GetCONN(show);
    EXPECT_EQ(result, PostgresServer() + ";Initial Catalog=" + name);
    ASSERT_TRUE(presenter.reports.isEmpty()) << AllShownText().toStdString();
    for (const TableDef& t : Schema())
        EXPECT_TRUE(CheckIfTableExists(result, t.name)) << t.name.toStdString();
    cMySettings stored;
    stored.ReadSettings();
    EXPECT_EQ(stored.DBConnectionString, result);
}

TEST_F(ServerFlow, CompatibilityIsTheAppointmentTableAlone) {
    TLM_NEED_SERVER(!test::PostgresConnectionString().isEmpty(), "PostgreSQL case: TLM_TEST_PG");
    const QString foreign = NewPostgresDatabaseName();
    const QString minimal = NewPostgresDatabaseName();
    ASSERT_TRUE(PostgresAdmin("CREATE DATABASE \"" + foreign + "\""));
    ASSERT_TRUE(PostgresAdmin("CREATE DATABASE \"" + minimal + "\""));
    {
        Connection c;
        ASSERT_TRUE(c.Open(PostgresServer() + ";Initial Catalog=" + minimal));
        Failure f;
        ASSERT_GE(c.Execute("CREATE TABLE tReportedAppointments (ID integer)", {}, false, &f), 0);
    }
    Configure(PostgresServer(), foreign);
    Process().blnNewDatabase = true;
    bool created = true;
    EXPECT_TRUE(fncCreateSQLDB(created).isEmpty());
    EXPECT_FALSE(created);
    ASSERT_EQ(prompter.shown().size(), 1);
    EXPECT_EQ(prompter.shown()[0].text, "It appears the specified database '" + foreign +
                                            "' is not a compatible Tally Loom database!\nLeave the database "
                                            "name empty or specify the correct "
                                            "database if it exists and try again!");
    EXPECT_EQ(prompter.shown()[0].icon, PromptIcon::Critical);

    Configure(PostgresServer(), minimal);
    created = true;
    EXPECT_EQ(fncCreateSQLDB(created), PostgresServer() + ";Initial Catalog=" + minimal);
    EXPECT_FALSE(created);
}

TEST_F(ServerFlow, KindsWithoutAScriptStillAnswerAConnectionString) {
    settings.DBChoice = 3;
    settings.Database = "Shop";
    settings.DBConnectionString =
        "DRIVER={MySQL ODBC 3.51 Driver};SERVER=db;DATABASE=;UID=u;PWD=pw-secret-1;OPTION=3";
    bool created = false;
    EXPECT_EQ(fncCreateSQLDB(created),
              "DRIVER={MySQL ODBC 3.51 Driver};SERVER=db;DATABASE=Shop;UID=u;PWD=pw-secret-1;OPTION=3");
    EXPECT_TRUE(created);
    EXPECT_FALSE(AllShownText().contains("pw-secret-1"));
}

TEST_F(ServerFlow, DroppedConnectionTakesTheFriendlyPath) {
    TLM_NEED_SERVER(!test::PostgresConnectionString().isEmpty(), "PostgreSQL case: TLM_TEST_PG");
    const QString name = NewPostgresDatabaseName();
    Configure(PostgresServer(), name);
    prompter.queue(PromptAnswer::Yes);
    settings.Server = "pg-test-server";
    auto first = GetDBRecordset("tProjects", true, true, false);
    ASSERT_TRUE(first);
    ASSERT_TRUE(PostgresAdmin("SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE datname = '" +
                              name + "'"));
    EXPECT_EQ(GetDBRecordset("tProjects", true, true, false), nullptr);
    ASSERT_EQ(presenter.friendly.size(), 1);
    EXPECT_EQ(presenter.friendly[0],
              "Connection to the database 'pg-test-server' cannot be established! Make sure you are "
              "connected to the "
              "network and have access to the database.\n\nSQL=tProjects");
    EXPECT_TRUE(presenter.friendlyReports[0].contains("Function: DB.GetDBRecordset"));
}

}  // namespace
}  // namespace tlm
