#include <gtest/gtest.h>

#include <QFile>

#include "core/error_report.h"
#include "core/prompt.h"
#include "core/version.h"
#include "support/test_env.h"

using namespace tlm;
using tlm::test::RecordingPresenter;

namespace {

class RecordingMailer : public ErrorReportMailer {
  public:
    bool up = true, ok = true;
    QStringList subjects, bodies;
    bool available() const override { return up; }
    bool send(const QString& s, const QString& b, bool) override {
        subjects << s;
        bodies << b;
        return ok;
    }
};

class ErrorPath : public ::testing::Test {
  protected:
    void SetUp() override {
        ResetErrorReportingForTests();
        SetErrorPresenter(&presenter);
        SetPrompter(&prompts);
    }
    void TearDown() override {
        SetErrorPresenter(nullptr);
        SetErrorReportMailer(nullptr);
        SetPrompter(nullptr);
        ResetErrorReportingForTests();
    }
    RecordingPresenter presenter;
    ScriptedPrompter prompts;
};

}  // namespace

TEST_F(ErrorPath, OnlyTheFirstReportOfAProcessIsShown) {
    subReportError(Failure{5, QStringLiteral("first"), 1, QStringLiteral("A.b")}, true);
    subReportError(Failure{6, QStringLiteral("second"), 2, QStringLiteral("C.d")});
    ASSERT_EQ(presenter.reports.size(), 1);
    EXPECT_TRUE(presenter.reports[0].contains(QStringLiteral("first")));
    EXPECT_TRUE(presenter.direct[0]);
    // The friendly path still shows after a report.
    subShowFriendlyError(QStringLiteral("Connection lost"),
                         Failure{7, QStringLiteral("x"), 0, QStringLiteral("DB.x")});
    ASSERT_EQ(presenter.friendly.size(), 1);
    EXPECT_TRUE(presenter.friendlyReports[0].contains(QStringLiteral("Function: DB.x")));
}

TEST_F(ErrorPath, PasswordsNeverReachAReport) {
    RegisterSecret(QStringLiteral("s3cr|et"));
    subReportError(
        Failure{1,
                QStringLiteral("Login failed\r\n\r\nstrConn=Provider=SQLOLEDB.1;Password=hunter2;User "
                               "ID=sa;Data Source=db; pwd = other ; also s3cr|et"),
                0, QStringLiteral("DB.Initialize")});
    ASSERT_EQ(presenter.reports.size(), 1);
    const QString r = presenter.reports[0];
    EXPECT_FALSE(r.contains(QStringLiteral("hunter2")));
    EXPECT_FALSE(r.contains(QStringLiteral("other")));
    EXPECT_FALSE(r.contains(QStringLiteral("s3cr|et")));
    EXPECT_TRUE(r.contains(QStringLiteral("User ID=sa")));
    EXPECT_TRUE(MsgBox(QStringLiteral("Password=abc;x")) == PromptAnswer::Ok);
    EXPECT_EQ(prompts.shown().last().text, QStringLiteral("Password=****;x"));
}

TEST_F(ErrorPath, ReportMailGoesThroughTheMailerOrNowhere) {
    RecordingMailer mailer;
    SetErrorReportMailer(&mailer);
    subSendErrorReport(QStringLiteral("r Password=pw1;"), false);
    ASSERT_EQ(mailer.subjects.size(), 1);
    EXPECT_EQ(mailer.subjects[0], QStringLiteral("Exception (") + QString::fromLatin1(kVersionText) +
                                      QStringLiteral(") : Tally Loom Manager Process"));
    EXPECT_FALSE(mailer.bodies[0].contains(QStringLiteral("pw1")));
    mailer.ok = false;
    subSendErrorReport(QStringLiteral("r"), true);
    ASSERT_EQ(prompts.shown().size(), 1);
    EXPECT_EQ(prompts.shown()[0].text, QStringLiteral("Failed to send error email!"));
}

TEST_F(ErrorPath, TraceKeepsTheLastActionAndLogsOnlyWhenEnabled) {
    subTraceAction(QStringLiteral("Attempting to open a recordset from tProjects"));
    EXPECT_EQ(CurrentAction(), QStringLiteral("Attempting to open a recordset from tProjects"));
    const QString log = fncGetLogFile();
    ASSERT_FALSE(log.isEmpty());
    QFile::remove(log);
    subTraceAction(QStringLiteral("not logged"));
    EXPECT_FALSE(QFile::exists(log));
    SetLogEnabledForTests(true);
    subTraceAction(QStringLiteral("logged Password=zzz;"));
    QFile f(log);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    const QString content = QString::fromUtf8(f.readAll());
    EXPECT_TRUE(content.contains(QStringLiteral("logged Password=****;")));
}
