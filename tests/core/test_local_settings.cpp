#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include "core/error_report.h"
#include "core/local_settings.h"
#include "support/test_env.h"

using namespace tlm;

namespace {

class LocalSettings : public ::testing::Test {
  protected:
    void SetUp() override {
        file = test::FreshLocalSettings();
        ResetErrorReportingForTests();
        SetErrorPresenter(&presenter);
    }
    void TearDown() override {
        SetErrorPresenter(nullptr);
        ResetErrorReportingForTests();
    }
    void writeRaw(const QByteArray& content) {
        QFileInfo(file).dir().mkpath(QStringLiteral("."));
        QFile f(file);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(content);
    }
    QString file;
    test::RecordingPresenter presenter;
};

}  // namespace

TEST_F(LocalSettings, NoFileGivesEveryDefaultAndTheFirstRunState) {
    cMySettings s;
    s.ReadSettings();
    EXPECT_EQ(s.DBChoice, 0);
    EXPECT_EQ(s.ProjectTitle, QStringLiteral("Project"));
    EXPECT_EQ(s.CustomFieldName[9], QStringLiteral("Custom Field 10"));
    EXPECT_EQ(s.flag(QStringLiteral("AllowPrivate")), 1);
    EXPECT_FALSE(QFile::exists(file));  // reading creates nothing
    EXPECT_TRUE(presenter.reports.isEmpty());
}

TEST_F(LocalSettings, SaveThenReadRoundTripsAndKeepsTheFilePrivate) {
    cMySettings s;
    s.DBChoice = 1;
    s.DBConnectionString = QStringLiteral("Provider=PostgreSQL;Data Source=h;Initial Catalog=d");
    s.Server = QStringLiteral("h");
    s.Database = QStringLiteral("d");
    s.UserName = QStringLiteral("u");
    s.Password = QStringLiteral("p@ss");
    s.ProjectTitle = QStringLiteral("Job");
    s.CustomFieldList[2] = QStringLiteral("a\r\nb");
    s.setFlag(QStringLiteral("AllowTaskItems"), 1);
    s.setFlag(QStringLiteral("AllowManagerReview"), 1);  // never written
    s.SaveSettings();
    ASSERT_TRUE(QFile::exists(file));
    struct stat st {};
    ASSERT_EQ(::stat(QFile::encodeName(file).constData(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600u);

    cMySettings r;
    r.ReadSettings();
    EXPECT_EQ(r.DBChoice, 1);
    EXPECT_EQ(r.DBConnectionString, s.DBConnectionString);
    EXPECT_EQ(r.Password, QStringLiteral("p@ss"));
    EXPECT_EQ(r.ProjectTitle, QStringLiteral("Job"));
    EXPECT_EQ(r.CustomFieldList[2], QStringLiteral("a\r\nb"));
    EXPECT_EQ(r.flag(QStringLiteral("AllowTaskItems")), 1);
    EXPECT_EQ(r.flag(QStringLiteral("AllowManagerReview")), 0);
    EXPECT_EQ(GetSetting(kSettingsApplication, QString(), QStringLiteral("DatabaseInfo"), QString()),
              QStringLiteral("h|d|0|u|p@ss"));
}

// The stored "server|database|integrated|user|password" line in its odd forms.
TEST_F(LocalSettings, DatabaseInfoFormsAsStored) {
    SaveSetting(kSettingsApplication, QString(), QStringLiteral("DatabaseInfo"),
                QStringLiteral("srv|db|0|usr|pa|ss"));
    cMySettings s;
    s.ReadSettings();
    EXPECT_EQ(s.Server, QStringLiteral("srv"));
    EXPECT_EQ(s.Password, QStringLiteral("pa"));  // cut off at the bar, no escape
    EXPECT_TRUE(presenter.reports.isEmpty());

    // Three fields: taken, the missing ones keep their values, and the short line is reported.
    SaveSetting(kSettingsApplication, QString(), QStringLiteral("DatabaseInfo"), QStringLiteral("srv|db|1"));
    s.UserName = QStringLiteral("kept-user");
    s.Password = QStringLiteral("kept-pass");
    s.ReadSettings();
    EXPECT_EQ(s.Server, QStringLiteral("srv"));
    EXPECT_EQ(s.IntegratedSecurity, 1);
    EXPECT_EQ(s.UserName, QStringLiteral("kept-user"));
    EXPECT_EQ(s.Password, QStringLiteral("kept-pass"));
    ASSERT_EQ(presenter.reports.size(), 1);
    EXPECT_TRUE(presenter.reports.first().contains(QStringLiteral("MySettings.ReadDatabaseInfo")));
}

// The members' client reads the date in the system's form; values of earlier builds still read.
TEST_F(LocalSettings, LastReportedInTheSystemDateForm) {
    cMySettings s;
    s.LastReported = QDateTime(QDate(2026, 3, 7), QTime(14, 5, 9));
    s.SaveSettings();
    const QString stored =
        GetSetting(kSettingsApplication, QString(), QStringLiteral("LastReported"), QString());
    EXPECT_FALSE(stored.startsWith(QStringLiteral("2026-03-07"))) << stored.toStdString();
    cMySettings r;
    r.ReadSettings();
    EXPECT_EQ(r.LastReported, s.LastReported) << stored.toStdString();
    SaveSetting(kSettingsApplication, QString(), QStringLiteral("LastReported"),
                QStringLiteral("2025-12-31 23:59:58"));
    r.ReadSettings();
    EXPECT_EQ(r.LastReported, QDateTime(QDate(2025, 12, 31), QTime(23, 59, 58)));
}

TEST_F(LocalSettings, DamagedFileYieldsDefaultsAndADamagedFlagStopsTheRead) {
    writeRaw(QByteArray("\x01\x02[General\nDBChoice=abc\nDBConnectionString\n=\n\xff\xfe garbage"));
    cMySettings s;
    s.ReadSettings();
    EXPECT_EQ(s.DBChoice, 0);
    EXPECT_EQ(s.ProjectTitle, QStringLiteral("Project"));

    SaveSetting(kSettingsApplication, QString(), QStringLiteral("DBChoice"), QStringLiteral("1"));
    SaveSetting(kSettingsApplication, QString(), QStringLiteral("AllowTaskItems"), QStringLiteral("yes"));
    s.ReadSettings();
    ASSERT_EQ(presenter.reports.size(), 1);
    EXPECT_TRUE(presenter.reports[0].contains(QStringLiteral("In Function: MySettings.ReadSettings")));
    EXPECT_EQ(s.DBChoice, 0);  // the read stopped before the database values
}

TEST_F(LocalSettings, SectionsAreGroups) {
    ASSERT_TRUE(SaveSetting(kSettingsApplication, QStringLiteral("ReportsUI"), QStringLiteral("Width"),
                            QStringLiteral("9000")));
    EXPECT_EQ(
        GetSetting(kSettingsApplication, QStringLiteral("ReportsUI"), QStringLiteral("Width"), QString()),
        QStringLiteral("9000"));
    EXPECT_EQ(GetSetting(kSettingsApplication, QString(), QStringLiteral("Width"), QStringLiteral("none")),
              QStringLiteral("none"));
}

TEST_F(LocalSettings, AGroupIsWrittenWholeOrNotAtAll) {
    const QString app = kSettingsApplication, sec = QStringLiteral("MailProfile");
    ASSERT_TRUE(SaveSettingsGroup(app, sec,
                                  {{QStringLiteral("SmtpHost"), QStringLiteral("old.example")},
                                   {QStringLiteral("SmtpPort"), QStringLiteral("25")}}));
    {
        SettingsSection read(app, sec);
        EXPECT_EQ(read.get(QStringLiteral("SmtpHost"), QString()), QStringLiteral("old.example"));
        EXPECT_EQ(read.get(QStringLiteral("SmtpPort"), QString()), QStringLiteral("25"));
        EXPECT_EQ(read.get(QStringLiteral("Missing"), QStringLiteral("def")), QStringLiteral("def"));
    }

    // One bad key refuses the group before anything is written.
    Failure failure;
    EXPECT_FALSE(SaveSettingsGroup(
        app, sec,
        {{QStringLiteral("SmtpHost"), QStringLiteral("new.example")}, {QString(), QStringLiteral("x")}},
        &failure));
    EXPECT_EQ(failure.description, QStringLiteral("Key may not be empty"));
    EXPECT_EQ(GetSetting(app, sec, QStringLiteral("SmtpHost"), QString()), QStringLiteral("old.example"));

    // A write cut short (here by a file-size limit, which holds for every user) fails the save and
    // keeps the old group whole.
    Failure writeFailure;
    bool saved = true;
    {
        const auto oldHandler = ::signal(SIGXFSZ, SIG_IGN);
        rlimit old{};
        ::getrlimit(RLIMIT_FSIZE, &old);
        rlimit tight = old;
        tight.rlim_cur = 16;
        ::setrlimit(RLIMIT_FSIZE, &tight);
        saved = SaveSettingsGroup(app, sec,
                                  {{QStringLiteral("SmtpHost"), QStringLiteral("new.example")},
                                   {QStringLiteral("SmtpPort"), QStringLiteral("587")}},
                                  &writeFailure);
        ::setrlimit(RLIMIT_FSIZE, &old);
        ::signal(SIGXFSZ, oldHandler);
    }
    EXPECT_FALSE(saved);
    EXPECT_EQ(writeFailure.description, QStringLiteral("Could not set key value"));
    // Neither the file nor a later read in this process holds any part of the refused group.
    QFile onDisk(file);
    ASSERT_TRUE(onDisk.open(QIODevice::ReadOnly));
    const QByteArray text = onDisk.readAll();
    EXPECT_TRUE(text.contains("old.example")) << text.constData();
    EXPECT_FALSE(text.contains("new.example")) << text.constData();
    SettingsSection after(app, sec);
    EXPECT_EQ(after.get(QStringLiteral("SmtpHost"), QString()), QStringLiteral("old.example"));
    EXPECT_EQ(after.get(QStringLiteral("SmtpPort"), QString()), QStringLiteral("25"));
    // The next good save writes what it was given, and nothing of the refused one.
    ASSERT_TRUE(SaveSetting(app, sec, QStringLiteral("SenderName"), QStringLiteral("Desk")));
    EXPECT_EQ(GetSetting(app, sec, QStringLiteral("SmtpHost"), QString()), QStringLiteral("old.example"));
}

TEST_F(LocalSettings, AdminSaveWritesOnlyItsValues) {
    cMySettings s;
    s.ProjectTitle = QStringLiteral("Engagement");
    s.DBConnectionString = QStringLiteral("/not/saved");
    s.setFlag(QStringLiteral("AllowManagerReview"), 1);
    s.SaveAdminSettingsOnly();
    cMySettings r;
    r.ReadSettings();
    EXPECT_EQ(r.ProjectTitle, QStringLiteral("Engagement"));
    EXPECT_TRUE(r.DBConnectionString.isEmpty());
    EXPECT_EQ(r.flag(QStringLiteral("AllowManagerReview")), 1);
}
