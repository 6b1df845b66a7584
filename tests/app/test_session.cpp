// The session the screens and the tools open, on SQLite files: each way a database can be missing
// or unusable ends in its own kind with nothing created, asked or shown, and an opened session
// registers everything the layers read and takes it all away again when closed. This is an engine
// test: the session needs no widget.
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <functional>

#include "core/process_state.h"
#include "database/db_fixture.h"
#include "domain/list_common.h"
#include "notifications/notification_engine.h"
#include "settings/session.h"
#include "support/test_env.h"

namespace tlm::test {
namespace {

class SessionTest : public ::testing::Test, public DatabaseEnv {
  protected:
    void SetUp() override {
        SetUpEnv();
        SetNotificationSink(nullptr);
        silentSink = &notificationSink();
        file = dir + QLatin1Char('/') + kDatabaseFileName;
    }
    void TearDown() override {
        SetNotificationSink(nullptr);
        SetNotificationDisplay(nullptr);
        TearDownEnv();
    }
    // What the local settings file says; the session reads it itself.
    void Configure(qint32 choice, const QString& connection) {
        settings.DBChoice = choice;
        settings.DBConnectionString = connection;
        settings.SaveSettings();
    }
    bool WriteFile(const QString& path, const QByteArray& bytes) {
        QFile f(path);
        return f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size();
    }

    NotificationSink* silentSink = nullptr;
    QString file;  // the database file of the test's folder
};

TEST_F(SessionTest, EachMissingOrUnusableDatabaseHasItsKindAndNothingIsCreatedOrShown) {
    using Kind = SessionOutcome::Kind;
    const QString elsewhere = NewTempDir(QStringLiteral("default"));
    const struct {
        const char* what;
        std::function<void()> arrange;
        DatabaseAccess access;
        QString defaultFolder;
        Kind kind;
        QString where;        // expected, when the kind names a place
        bool failureSet;      // the engine's words come along
        bool fileAfterwards;  // the test folder's database file exists after the attempt
    } cases[] = {
        {"nothing configured", [] {}, DatabaseAccess::ExistingOnly, QString(), Kind::NotConfigured, QString(),
         false, false},
        {"nothing configured, the demo without a default folder", [] {}, DatabaseAccess::CreateFile,
         QString(), Kind::NotConfigured, QString(), false, false},
        {"a server without a connection", [&] { Configure(1, QStringLiteral("  ")); },
         DatabaseAccess::ExistingOnly, QString(), Kind::NoServerConnection, QString(), false, false},
        {"a folder without its file", [&] { Configure(0, dir); }, DatabaseAccess::ExistingOnly, QString(),
         Kind::FileMissing, file, false, false},
        {"a file that is no database",
         [&] {
             Configure(0, dir);
             ASSERT_TRUE(WriteFile(file, QByteArray(4096, 'x')));
         },
         DatabaseAccess::ExistingOnly, QString(), Kind::FileUnreadable, file, true, true},
        {"an SQLite file of someone else's",
         [&] {
             Configure(0, dir + QLatin1Char('/'));
             Connection other;
             ASSERT_TRUE(other.OpenNewSqliteFile(file));
             Failure f;
             ASSERT_GE(other.Execute(QStringLiteral("CREATE TABLE notes (id integer)"), {}, false, &f), 0);
         },
         DatabaseAccess::ExistingOnly, QString(), Kind::FileUnreadable, file, true, true},
        {"a server that does not answer",
         [&] {
             Configure(1, QStringLiteral("Provider=PostgreSQL;Data Source=127.0.0.1,%1;Initial Catalog=tlm;"
                                         "User ID=u;Password=s3cretPW")
                              .arg(ClosedPort()));
         },
         DatabaseAccess::ExistingOnly, QString(), Kind::ServerUnreachable, QString(), true, false},
        {"our database without its projects",
         [&] {
             Configure(0, dir);
             ASSERT_TRUE(DB::fncCopyNewMDBToFile(file));
             Connection db;
             Failure f;
             ASSERT_TRUE(db.Open(SqliteConnectionString(file), &f)) << f.description.toStdString();
             ASSERT_GE(db.Execute(QStringLiteral("DROP TABLE tProjects"), {}, false, &f), 0);
         },
         DatabaseAccess::ExistingOnly, QString(), Kind::NotLoaded, file, false, true},
        {"the demo with a default folder: the database is made there", [] {}, DatabaseAccess::CreateFile,
         elsewhere, Kind::Opened, QString(), false, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        QDir(dir).removeRecursively();
        QDir().mkpath(dir);
        FreshLocalSettings();
        settings = cMySettings();
        c.arrange();
        ASSERT_FALSE(HasFatalFailure());
        prompter.clear();
        presenter.reports.clear();
        host.firstRunCalls = 0;
        host.dbDialogCalls = 0;
        {
            Session session;
            const SessionOutcome out = session.OpenDatabase(c.access, c.defaultFolder);
            EXPECT_EQ(int(out.kind), int(c.kind));
            EXPECT_EQ(out.opened(), c.kind == Kind::Opened);
            if (!c.where.isEmpty()) {
                EXPECT_EQ(QFileInfo(out.where).absoluteFilePath(), QFileInfo(c.where).absoluteFilePath());
            }
            EXPECT_EQ(out.failure.isSet(), c.failureSet) << out.failure.description.toStdString();
            // Only a database that was reached is connected.
            EXPECT_EQ(CurrentConnection() != nullptr, c.kind == Kind::Opened || c.kind == Kind::NotLoaded);
        }
        EXPECT_EQ(QFileInfo::exists(file), c.fileAfterwards);
        // A tool asks nobody and shows nothing; the caller words the kind.
        EXPECT_TRUE(AllShownText().isEmpty()) << AllShownText().toStdString();
        EXPECT_EQ(host.firstRunCalls + host.dbDialogCalls, 0);
        EXPECT_EQ(ExitCalls(), 0);
        EXPECT_FALSE(CurrentConnection()) << "closed with the session";
    }
    // The default folder was taken and kept for the next run.
    EXPECT_TRUE(QFileInfo::exists(elsewhere + QLatin1Char('/') + kDatabaseFileName));
    cMySettings saved;
    saved.ReadSettings();
    EXPECT_EQ(saved.DBConnectionString, elsewhere);
}

TEST_F(SessionTest, TheDemoMakesTheConfiguredFileThatIsMissing) {
    Configure(0, dir);
    {
        Session session;
        ASSERT_TRUE(session.OpenDatabase(DatabaseAccess::CreateFile).opened())
            << AllShownText().toStdString();
    }
    EXPECT_TRUE(QFileInfo::exists(file));
    // Now it is there for a tool that creates nothing.
    Session session;
    EXPECT_TRUE(session.OpenDatabase(DatabaseAccess::ExistingOnly).opened()) << AllShownText().toStdString();
}

// The screens' way: the connection flow asks through the installed host on a first run, and a
// refusal is an open that failed (the user has seen the panel).
TEST_F(SessionTest, InteractiveFirstRunAsksTheHostOnce) {
    Session session;
    EXPECT_TRUE(session.ReadLocalSettings()) << "no folder configured: a first run";
    const SessionOutcome out = session.OpenDatabase(DatabaseAccess::Interactive);
    EXPECT_EQ(int(out.kind), int(SessionOutcome::Kind::NotLoaded));
    EXPECT_EQ(host.firstRunCalls, 1);
    EXPECT_EQ(ExitCalls(), 1) << "the refused panel ends the program";
    EXPECT_FALSE(QFileInfo::exists(file));
}

TEST_F(SessionTest, AnOpenSessionIsWhatTheLayersReadAndCloseTakesItAllAway) {
    ASSERT_TRUE(DB::fncCopyNewMDBToFile(file));
    Configure(0, dir);
    Process().mySettings = nullptr;
    OutboxSender* before = &MailDelivery();
    {
        Session session;
        EXPECT_EQ(&MailDelivery(), &session.delivery());
        EXPECT_NE(&notificationSink(), silentSink) << "list saves would send no notification";
        const SessionOutcome out = session.OpenDatabase(DatabaseAccess::ExistingOnly);
        ASSERT_TRUE(out.opened()) << AllShownText().toStdString();
        EXPECT_EQ(Process().mySettings, &session.local());
        EXPECT_TRUE(Process().blnManagerProcess);
        EXPECT_EQ(DBSettings(), &session.global());
        EXPECT_EQ(UISettings(), session.ui());
        ASSERT_NE(session.ui(), nullptr);
        EXPECT_TRUE(CurrentConnection());
        EXPECT_EQ(session.global().ProjectTitle, QStringLiteral("Project"));

        session.Close();
        EXPECT_FALSE(CurrentConnection());
        EXPECT_EQ(DBSettings(), nullptr);
        EXPECT_EQ(UISettings(), nullptr);
        EXPECT_EQ(Process().mySettings, nullptr);
        EXPECT_EQ(&notificationSink(), silentSink);
        EXPECT_NE(&MailDelivery(), &session.delivery());
        session.Close();  // the exit path may close again
    }
    EXPECT_EQ(&MailDelivery(), before);
    EXPECT_TRUE(AllShownText().isEmpty()) << AllShownText().toStdString();
}

}  // namespace
}  // namespace tlm::test
