#include <QAction>
#include <QFile>
#include <QStandardPaths>

#include "database/recordset.h"
#include "domain/domain_test_fixture.h"
#include "settings/global_settings.h"
#include "settings_forms_fixture.h"

using namespace tlm;
using namespace tlm::test;

namespace {

using DatabasePanelTest = SettingsFormsTest;

const QString kConnectionFailed =
    QStringLiteral("Connection Failed! Make sure you have entered a valid instance name of your SQL Server.");

QString DbFile(const QString& folder) {
    return folder + QStringLiteral("/") + kDatabaseFileName;
}

// An SQLite file that is a database, but not one of ours.
void WriteForeignDatabase(const QString& path) {
    Connection c;
    Failure f;
    ASSERT_TRUE(c.OpenNewSqliteFile(path, &f));
    ASSERT_GE(c.Execute(QStringLiteral("CREATE TABLE Other (ID INTEGER)"), {}, false, &f), 0);
}

}  // namespace

TEST_F(DatabasePanelTest, ConnectionStringsFollowTheServerKind) {
    DatabaseFields f;
    f.dbChoice = 1;
    f.server = QStringLiteral(" db1\\inst ");
    f.integratedSecurity = true;
    EXPECT_EQ(BuildSQLConnection(f, false),
              QStringLiteral("Provider=SQLOLEDB.1;Persist Security Info=True;Integrated Security=SSPI;"
                             "Data Source=db1\\inst;Initial Catalog=TallyloomDB"));
    f.database = QStringLiteral(" Team_1 ");
    const QString named = BuildSQLConnection(f, false);
    EXPECT_TRUE(named.endsWith(QStringLiteral(";Initial Catalog=Team_1"))) << named.toStdString();
    EXPECT_EQ(BuildSQLConnection(f, true), fncGetServerConnectionString(named));
    // The panel shows the kind again after a save (PostgreSQL's text: the server setup-save test).
    cMySettings s;
    s.DBChoice = 1;
    s.DBConnectionString = named;
    EXPECT_EQ(FieldsFromSettings(s).serverKind, ServerKind::SqlServer);
}

// ---- the local database file ------------------------------------------------------------------

TEST_F(DatabasePanelTest, FolderTestTellsNewCompatibleAndForeignFiles) {
    frmManagerSettings form;
    QWidget* p = OpenSetupPanel(form);
    ASSERT_TRUE(p);
    auto* test = Child<QPushButton>(p, "cmdTest");
    Child<QLineEdit>(p, "txtMDBPath")->setText(dir);

    test->click();
    EXPECT_EQ(Text(p, "labelDBStatus"), QStringLiteral("Database '") + DbFile(dir) +
                                            QStringLiteral("' does not exist yet: it will be created."));

    ASSERT_TRUE(DB::fncCopyNewMDBToFile(DbFile(dir)));
    test->click();
    EXPECT_EQ(Text(p, "labelDBStatus"),
              QStringLiteral("Connection to database '") + DbFile(dir) + QStringLiteral("' succeeded!"));

    const QString foreignDir = NewTempDir(QStringLiteral("foreign"));
    WriteForeignDatabase(DbFile(foreignDir));
    Child<QLineEdit>(p, "txtMDBPath")->setText(foreignDir);
    test->click();
    EXPECT_TRUE(Text(p, "labelDBStatus")
                    .startsWith(QStringLiteral("It appears the specified database '") + DbFile(foreignDir) +
                                QStringLiteral("' is not a compatible Tally Loom database!")));
    // A foreign file is never taken over.
    EXPECT_FALSE(form.Save());
    EXPECT_TRUE(form.isVisible());
    EXPECT_FALSE(SettingsWritten());
    form.Exit();
}

TEST_F(DatabasePanelTest, BadFoldersAreRefusedWithNothingSaved) {
    QFile plain(dir + QStringLiteral("/plain.txt"));
    ASSERT_TRUE(plain.open(QIODevice::WriteOnly));
    plain.close();
    const QString invalid = QStringLiteral(
        "Please specify a valid a network folder path where the database will be created or located!");
    const struct {
        QString folder;
        QString says;
    } cases[] = {
        {QStringLiteral("   "), QStringLiteral("Please select a network folder path")},
        {dir + QStringLiteral("/missing"), invalid},
        {dir + QStringLiteral("/plain.txt"), invalid},
        // A folder that exists but takes no new file (a kernel folder refuses even root).
        {QStringLiteral("/proc"), QStringLiteral("does not allow new files")},
    };
    frmManagerSettings form;
    QWidget* p = OpenSetupPanel(form);
    ASSERT_TRUE(p);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.folder.toStdString());
        Child<QLineEdit>(p, "txtMDBPath")->setText(c.folder);
        form.toolbarButton(QStringLiteral("Save"))->trigger();
        EXPECT_TRUE(Text(p, "lblStatus").contains(c.says)) << Text(p, "lblStatus").toStdString();
        EXPECT_TRUE(form.isVisible());
    }
    EXPECT_FALSE(form.saved());
    EXPECT_FALSE(SettingsWritten());
    EXPECT_TRUE(settings.DBConnectionString.isEmpty());
    EXPECT_TRUE(Process().strMDBPath.isEmpty());
    EXPECT_TRUE(Process().blnDatabaseSetup);
    form.Exit();
}

// The first run: the panel proposes the default folder, a cancelled browse keeps what is typed, and
// Continue makes the folder and its database.
TEST_F(DatabasePanelTest, FirstRunProposesTheDefaultFolderAndMakesIt) {
    const QString proposed = dir + QStringLiteral("/run/data");
    qputenv("TLM_DEFAULT_DATA_DIR", proposed.toLocal8Bit());
    QString shown;
    SetManagerSettingsDriver([&](frmManagerSettings& form) {
        QWidget* p = form.currentItem();
        shown = Child<QLineEdit>(p, "txtMDBPath")->text();
        DialogScript::queueFolder(QString());
        Child<QPushButton>(p, "cmdBrowseMDBpath")->click();
        EXPECT_EQ(Child<QLineEdit>(p, "txtMDBPath")->text(), shown);
        Child<QPushButton>(p, "cmdContinue")->click();
    });
    bool showDialog = true;
    const QString connection = DB::GetCONN(showDialog);
    qunsetenv("TLM_DEFAULT_DATA_DIR");
    EXPECT_EQ(shown, proposed);
    EXPECT_EQ(connection, SqliteConnectionString(DbFile(proposed)));
    EXPECT_TRUE(QFileInfo::exists(DbFile(proposed)));
    EXPECT_EQ(Stored().DBConnectionString, proposed);
    EXPECT_EQ(ExitCalls(), 0);
    EXPECT_TRUE(PromptTexts().isEmpty());

    // Without the variable, the application data folder is proposed.
    EXPECT_EQ(DefaultDataFolder(), QStandardPaths::writableLocation(QStandardPaths::AppDataLocation));
    EXPECT_FALSE(DefaultDataFolder().isEmpty());
}

// ---- server input -----------------------------------------------------------------------------

TEST_F(DatabasePanelTest, BadServerFieldsAreRefusedBeforeAnyConnection) {
    const struct {
        int kind;  // 0 SQL Server, 1 PostgreSQL
        const char *server, *database, *password, *says;
    } cases[] = {
        {1, "127.0.0.1,abc", "", "pw", "The port 'abc'"},
        {0, "my server", "", "pw", "The server name 'my server'"},
        {1, "srv\"x", "", "pw", "may not hold blanks, quotes"},
        {1, "host;Initial Catalog=x", "", "pw", "The server name"},
        {1, "host\\inst", "", "pw", "no instance name"},
        {1, "localhost", "a;Initial Catalog=b", "pw",
         "The database name 'a;Initial Catalog=b' cannot be used"},
        {1, "localhost", "X] DROP DATABASE [Prod", "pw",
         "it may hold only letters, digits and the underscore"},
        {1, "localhost", "tlm\"forms", "pw", "it may hold only letters, digits and the underscore"},
        {1, "localhost", "", "se;cret|x", "The password may not"},
        {1, "  ", "", "pw", "Server name is mandatory!"},
    };
    frmManagerSettings form;
    QWidget* p = OpenSetupPanel(form);
    ASSERT_TRUE(p);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.says);
        FillServer(p, c.kind, QString::fromUtf8(c.server), QString::fromUtf8(c.database),
                   QStringLiteral("me"), QString::fromUtf8(c.password));
        EXPECT_FALSE(form.Save());
        EXPECT_TRUE(Text(p, "lblStatus").contains(QString::fromUtf8(c.says)))
            << Text(p, "lblStatus").toStdString();
        EXPECT_FALSE(Seen(p).contains(QStringLiteral("se;cret")));
    }
    EXPECT_TRUE(form.isVisible());
    EXPECT_FALSE(SettingsWritten());
    EXPECT_EQ(settings.DBChoice, 0);
    EXPECT_TRUE(settings.Server.isEmpty());
    EXPECT_TRUE(settings.Password.isEmpty());
    EXPECT_TRUE(PromptTexts().isEmpty());
    form.Exit();
}

// The stored server settings are shown with the password masked; an unreachable server then fails the
// test and the save, and the password typed is never shown.
TEST_F(DatabasePanelTest, StoredServerIsShownAndAnUnreachableOneFailsTheTestAndTheSave) {
    settings.DBChoice = 1;
    settings.DBConnectionString = QStringLiteral(
        "Provider=PostgreSQL;Persist Security Info=True;Password=pw;User ID=me;Data Source=h,1;Initial "
        "Catalog=D");
    settings.Server = QStringLiteral("h,1");
    settings.UserName = QStringLiteral("me");
    settings.Password = QStringLiteral("pw");
    frmManagerSettings form;
    QWidget* p = OpenSetupPanel(form);
    ASSERT_TRUE(p);
    EXPECT_EQ(Child<QComboBox>(p, "cboServerKind")->currentText(), QStringLiteral("PostgreSQL"));
    EXPECT_EQ(Child<QLineEdit>(p, "txtServer")->text(), QStringLiteral("h,1"));
    EXPECT_EQ(Child<QLineEdit>(p, "txtUserName")->text(), QStringLiteral("me"));
    EXPECT_EQ(Child<QLineEdit>(p, "txtPassword")->echoMode(), QLineEdit::Password);
    EXPECT_FALSE(Child<QCheckBox>(p, "chkIntegratedSecurity")->isChecked());

    for (int kind : {1, 0}) {
        SCOPED_TRACE(kind);
        FillServer(p, kind, QStringLiteral("127.0.0.1,%1").arg(ClosedPort()), QString(), QStringLiteral("me"),
                   QStringLiteral("unreachable-pw"));
        Child<QPushButton>(p, "cmdTest")->click();
        EXPECT_EQ(Text(p, "lblStatus"), kConnectionFailed);
        EXPECT_FALSE(form.Save());
    }
    EXPECT_FALSE(SettingsWritten());
    EXPECT_FALSE(Seen(p).contains(QStringLiteral("unreachable-pw")));
    form.Exit();
}

// ---- live PostgreSQL --------------------------------------------------------------------------

class PostgresPanelTest : public SettingsFormsTest {
  protected:
    void SetUp() override {
        // Fails instead of skipping when the run insists on its servers.
        TLM_NEED_SERVER(HavePostgres(), "PostgreSQL: TLM_TEST_PG");
        SettingsFormsTest::SetUp();
    }
};

TEST_F(PostgresPanelTest, TestTellsAMissingDatabaseAndNeverShowsAWrongPassword) {
    frmManagerSettings form;
    QWidget* p = OpenSetupPanel(form);
    ASSERT_TRUE(p);
    const QString missing = NewPostgresDatabaseName();
    FillPostgres(p, missing, Pg().password);
    Child<QPushButton>(p, "cmdTest")->click();
    EXPECT_EQ(Text(p, "lblStatus"), QStringLiteral("Connection to SQL Server '") + PgServerField() +
                                        QStringLiteral("' succeeded!"));
    EXPECT_EQ(Text(p, "labelDBStatus"),
              QStringLiteral("Database '") + missing + QStringLiteral("' does not exist!"));

    FillPostgres(p, missing, QStringLiteral("wrong-secret-pw"));
    Child<QPushButton>(p, "cmdTest")->click();
    EXPECT_EQ(Text(p, "lblStatus"), kConnectionFailed);
    EXPECT_FALSE(form.Save());
    EXPECT_FALSE(SettingsWritten());
    EXPECT_FALSE(Seen(p).contains(QStringLiteral("wrong-secret-pw")));
    EXPECT_FALSE(Seen(p).contains(Pg().password));
    form.Exit();
}

// A machine on a database file switches to a new server database: the save creates it, the store
// reloads its lists from it and hands it the settings held in memory, and the panel then finds it ours.
TEST_F(PostgresPanelTest, SetupSaveOfAMissingDatabaseCreatesItAndReloadsTheStore) {
    ASSERT_TRUE(DB::fncCopyNewMDBToFile(DbFile(dir)));
    settings.DBConnectionString = dir;
    cDBSettings store;
    SetDBSettings(&store);
    bool ok = false;
    store.LoadGlobalSettings(false, ok);
    ASSERT_TRUE(ok);
    store.Projects.FromArray(Rows({{"Alpha"}}));
    store.GeneralSettings.SetValue(QStringLiteral("tpoProjectTitle"), QStringLiteral("Job"));
    InstallManagerSettingsDialogHost();  // as the program does: the reload is the store's load

    const QString name = NewPostgresDatabaseName();
    prompter.queue(PromptAnswer::Yes);  // "... does not exist! Do you want to continue ...?"
    {
        frmManagerSettings form;
        QWidget* p = OpenSetupPanel(form);
        ASSERT_TRUE(p);
        FillPostgres(p, name, Pg().password);
        form.toolbarButton(QStringLiteral("Save"))->trigger();
        EXPECT_TRUE(form.saved()) << Text(p, "lblStatus").toStdString();
        EXPECT_FALSE(form.isVisible());
    }
    const QString expected = QStringLiteral("Provider=PostgreSQL;Persist Security Info=True;Password=") +
                             Pg().password + QStringLiteral(";User ID=") + Pg().user +
                             QStringLiteral(";Data Source=") + PgServerField() +
                             QStringLiteral(";Initial Catalog=") + name;
    const cMySettings stored = Stored();
    EXPECT_EQ(stored.DBChoice, 1);
    EXPECT_EQ(stored.DBConnectionString, expected);
    EXPECT_EQ(stored.Server, PgServerField());
    EXPECT_EQ(stored.Database, name);
    EXPECT_EQ(stored.UserName, Pg().user);
    EXPECT_EQ(stored.Password, Pg().password);
    EXPECT_EQ(stored.IntegratedSecurity, 0);
    ASSERT_TRUE(CurrentConnection());
    EXPECT_EQ(CurrentConnection()->engine(), Engine::PostgreSQL);
    EXPECT_FALSE(Process().blnDatabaseSetup);
    ASSERT_EQ(PromptTexts().size(), 1);
    EXPECT_TRUE(PromptTexts()[0].contains(name));
    EXPECT_TRUE(presenter.reports.isEmpty()) << presenter.reports.join(u'\n').toStdString();
    // The lists come from the new database; a new database takes over the settings held in memory.
    EXPECT_EQ(store.Projects.Items.Count(), 0);
    EXPECT_EQ(store.ProjectTitle, QStringLiteral("Job"));
    auto rs =
        GetDBRecordset(QStringLiteral("SELECT KeyVal FROM tGeneralSettings WHERE KeyID = 'tpoProjectTitle'"));
    ASSERT_TRUE(rs);
    ASSERT_FALSE(rs->Eof());
    EXPECT_EQ(rs->Fields(0).Value().toString(), QStringLiteral("Job"));
    rs.reset();

    frmManagerSettings again;
    QWidget* p = OpenSetupPanel(again);
    ASSERT_TRUE(p);
    EXPECT_EQ(Child<QLineEdit>(p, "txtDatabase")->text(), name);
    Child<QPushButton>(p, "cmdTest")->click();
    EXPECT_EQ(Text(p, "labelDBStatus"),
              QStringLiteral("Connection to database '") + name + QStringLiteral("' succeeded!"));
    again.Exit();
    EXPECT_FALSE(Seen().contains(Pg().password));
    SetDBSettings(nullptr);
}

// A name the creation script cannot take as it stands fails at the server, through the report, and
// leaves the local settings as they were (the setup-mode save: the test below).
TEST_F(PostgresPanelTest, ADatabaseTheServerCannotCreateFailsTheFirstRunAndSavesNothing) {
    // The server's template database takes no connections, so it looks missing, and creating it fails.
    const QString name = QStringLiteral("template0");

    // First run: the flow reports, clears the attempt and asks again; closing then ends the process.
    int shown = 0;
    SetManagerSettingsDriver([&](frmManagerSettings& form) {
        if (++shown == 1) {
            FillPostgres(form.currentItem(), name, Pg().password);
            Child<QPushButton>(form.currentItem(), "cmdContinue")->click();
        } else {
            form.Exit();
        }
    });
    bool showDialog = true;
    EXPECT_TRUE(DB::GetCONN(showDialog).isEmpty());
    EXPECT_EQ(shown, 2);
    EXPECT_EQ(ExitCalls(), 1);
    ASSERT_EQ(presenter.reports.size(), 1);
    EXPECT_TRUE(presenter.reports[0].contains(name)) << presenter.reports[0].toStdString();
    EXPECT_FALSE(SettingsWritten());
    EXPECT_FALSE(Seen().contains(Pg().password));
}

TEST_F(PostgresPanelTest, FailedSwitchOnAConfiguredMachineKeepsTheOldConfigurationOnDisk) {
    // A machine in use: its database file and its settings file.
    ASSERT_TRUE(DB::fncCopyNewMDBToFile(DbFile(dir)));
    settings.DBChoice = 0;
    settings.DBConnectionString = dir;
    settings.SaveSettings();
    ASSERT_TRUE(SettingsWritten());
    // Looks missing (it takes no connections) and cannot be created.
    const QString bad = QStringLiteral("template0");

    prompter.queue(PromptAnswer::Yes);  // "... does not exist! Do you want to continue ...?"
    {
        frmManagerSettings form;
        QWidget* p = OpenSetupPanel(form);
        ASSERT_TRUE(p);
        FillPostgres(p, bad, Pg().password);
        EXPECT_FALSE(form.Save());
        EXPECT_TRUE(form.isVisible());
        EXPECT_TRUE(Text(p, "labelDBStatus").contains(QStringLiteral("The settings were not changed")));
        form.Exit();
    }
    ASSERT_EQ(presenter.reports.size(), 1);
    EXPECT_TRUE(presenter.reports[0].contains(bad)) << presenter.reports[0].toStdString();
    EXPECT_FALSE(CurrentConnection());
    // On disk and in memory: the old file database, no server, no credentials.
    const cMySettings stored = Stored();
    EXPECT_EQ(stored.DBChoice, 0);
    EXPECT_EQ(stored.DBConnectionString, dir);
    EXPECT_TRUE(stored.Password.isEmpty());
    EXPECT_EQ(settings.DBChoice, 0);
    EXPECT_EQ(settings.DBConnectionString, dir);
    EXPECT_FALSE(Seen().contains(Pg().password));

    // The old configuration still opens.
    Process().blnDatabaseSetup = false;
    bool showDialog = false;
    EXPECT_FALSE(DB::GetCONN(showDialog).isEmpty());
}
