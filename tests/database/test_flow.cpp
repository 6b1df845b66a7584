#include <gtest/gtest.h>

#include <QFile>
#include <QSqlQuery>

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
    EXPECT_TRUE(GetDBRecordset("SELECT * FROM tGeneralSettings", true, true, false));
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

TEST_F(FileFlow, RefusedFirstRunDialogEndsTheProcess) {
    bool show = true;
    DB::Initialize(show);
    EXPECT_EQ(host.firstRunCalls, 1);
    EXPECT_EQ(test::ExitCalls(), 1);
    EXPECT_EQ(host.dbDialogCalls, 0) << "nothing runs after the exit";
    EXPECT_FALSE(CurrentConnection());
    EXPECT_FALSE(QFile::exists(file));
}

// A kind outside the range gives the settings dialog; its save reconnects and the call goes on.
TEST_F(FileFlow, KindOutsideTheRangeGivesTheDialogWhoseSaveReconnects) {
    ASSERT_TRUE(DB::fncCopyNewMDBToFile(file));
    settings.DBChoice = 4;
    host.onDBDialog = [&] {
        EXPECT_TRUE(Process().blnDatabaseSetup);
        EXPECT_EQ(Process().lngCurrentSection, 14);
        settings.DBChoice = 0;
        settings.DBConnectionString = dir;
        subCloseConnection();
        bool show = true;
        DB::Initialize(show);
    };
    auto rs = GetDBRecordset("tMembers", true, true, false);
    ASSERT_TRUE(rs);
    EXPECT_EQ(rs->RecordCount(), 1);
    EXPECT_EQ(host.dbDialogCalls, 1);
}

TEST_F(FileFlow, ForeignDatabaseIsRefusedAndLeftAlone) {
    // A database without the shared schema.
    {
        Connection c;
        ASSERT_TRUE(c.OpenNewSqliteFile(file));
        Failure fail;
        ASSERT_GE(
            c.Execute("CREATE TABLE tProjects (ID INTEGER PRIMARY KEY, ProjectName TEXT)", {}, false, &fail),
            0);
    }
    EXPECT_EQ(GetDBRecordset("tProjects", true, true, false), nullptr);
    EXPECT_EQ(PromptTexts(), QStringList{kCannotOpen});
    EXPECT_EQ(host.dbDialogCalls, 1);
    EXPECT_FALSE(CheckIfTableExists(SqliteConnectionString(file), "tMembers")) << "nothing added to it";
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
    EXPECT_EQ(ms.engine, Engine::SqlServer);
    EXPECT_EQ(OdbcConnectionString(ms),
              "DRIVER={FreeTDS};SERVER=db1\\SQLEXPRESS;PORT=1433;DATABASE=TallyloomDB;UID=sa;PWD=pa;"
              "TDS_Version=7.4;ClientCharset=UTF-8");
    ConnectionTarget sspi = ParseConnectionString(
        "Provider=SQLOLEDB.1;Persist Security Info=True;Integrated Security=SSPI;Data "
        "Source=db2,1500;Initial Catalog=x");
    EXPECT_TRUE(
        OdbcConnectionString(sspi).contains("SERVER=db2;PORT=1500;DATABASE=x;Trusted_Connection=Yes;"));
    sspi.password = "a;b}";
    sspi.integratedSecurity = false;
    EXPECT_TRUE(OdbcConnectionString(sspi).contains("PWD={a;b}}}"));
    EXPECT_FALSE(ParseConnectionString("Provider=MSDAORA.1;Data Source=x").known);
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
    EXPECT_TRUE(settings.Password.isEmpty());
    EXPECT_EQ(host.firstRunCalls, 1);
    EXPECT_EQ(test::ExitCalls(), 1);
    cMySettings stored;
    stored.ReadSettings();
    EXPECT_EQ(stored.DBChoice, 1) << "nothing of the failed attempt is saved";
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

// Compatibility is the appointment table alone: a foreign database is refused, and a database
// holding that table is taken as it stands (the script, which drops first, is not run on it).
TEST_F(ServerFlow, CompatibilityIsTheAppointmentTableAlone) {
    TLM_NEED_SERVER(!test::PostgresConnectionString().isEmpty(), "PostgreSQL case: TLM_TEST_PG");
    const QString foreign = NewPostgresDatabaseName();
    const QString minimal = NewPostgresDatabaseName();
    ASSERT_TRUE(PostgresAdmin("CREATE DATABASE \"" + foreign + "\""));
    ASSERT_TRUE(PostgresAdmin("CREATE DATABASE \"" + minimal + "\""));
    Connection c;
    ASSERT_TRUE(c.Open(PostgresServer() + ";Initial Catalog=" + minimal));
    Failure f;
    ASSERT_GE(c.Execute("CREATE TABLE tReportedAppointments (ID integer)", {}, false, &f), 0);
    ASSERT_EQ(c.Execute("INSERT INTO tReportedAppointments (ID) VALUES (7)", {}, false, &f), 1);
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

    Configure(PostgresServer(), minimal);
    created = true;
    EXPECT_EQ(fncCreateSQLDB(created), PostgresServer() + ";Initial Catalog=" + minimal);
    EXPECT_FALSE(created);
    QSqlQuery kept = c.NewQuery();
    ASSERT_TRUE(kept.exec("SELECT ID FROM tReportedAppointments") && kept.next()) << "its rows are kept";
    EXPECT_EQ(kept.value(0).toInt(), 7);
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
}

}  // namespace
}  // namespace tlm
