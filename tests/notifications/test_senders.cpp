#include <gtest/gtest.h>

#include "core/error_report.h"
#include "domain/domain_test_fixture.h"
#include "domain/members.h"
#include "mail/mail_profile.h"
#include "notifications/notification_doubles.h"
#include "notifications/senders.h"
#include "reported/appointment_data.h"
#include "reported/task_data.h"
#include "support/test_env.h"

namespace tlm::test {
namespace {

const QString kNewProjectsFlag = QStringLiteral("tpoNotifyMembersWhenNewProjectsAdded");
const QString kNewActivitiesFlag = QStringLiteral("tpoNotifyMembersWhenNewActivitiesAdded");

// The real senders behind list saves, over a fresh database; mails are recorded.
class SenderTest : public DomainDbTest {
  protected:
    void SetUp() override {
        DomainDbTest::SetUp();
        if (IsSkipped())
            return;
        InstallNotificationSenders(&display);
        SetNotificationTransport(&transport);
    }
    void TearDown() override {
        SetNotificationTransport(nullptr);
        SetNotificationDisplay(nullptr);
        DomainDbTest::TearDown();
    }
    // Robin runs the program; the others are members with addresses.
    void SaveMembers(const std::vector<QVariantList>& rows) {
        global->Members.FromArray(Rows(rows));
        global->SaveGlobalSettings(3);
        ASSERT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
    }
    void SaveTeam() {
        SaveMembers(
            {{"Robin", "robin@example.org"}, {"Kim Lee", "kim@example.org"}, {"Ann", "ann@example.org"}});
    }
    void SetFlags(bool on) {
        for (const auto& info : TemplateVocabulary())
            global->MessageTemplates.SetNotificaionEnabledValue(info.key, on);
    }
    static QStringList Recipients(const MailMessage& m) {
        QStringList all{m.to};
        if (!m.bcc.isEmpty())
            all += m.bcc.split(QLatin1Char(';'));
        return all;
    }

    RecordingTransport transport;
    RecordingDisplay display;
};

TEST_P(SenderTest, SavesTellManagersCoordinatorsAndMembersButNotTheCurrentUser) {
    SaveTeam();
    SetFlags(true);
    // A project without a manager tells no manager but is among the new ones, one line each.
    global->Projects.FromArray(Rows({{"Apollo", "kim lee", "90"}, {"Borealis", "", "2"}}));
    global->SaveGlobalSettings(1);
    global->Tasks.FromArray(Rows({{"Design", "Apollo", "5", "Ann"}}));
    global->SaveGlobalSettings(2);
    ASSERT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();

    ASSERT_EQ(transport.mails.size(), 4);
    const MailMessage& assigned = transport.mails[0];
    EXPECT_EQ(Recipients(assigned), QStringList{"kim@example.org"});
    EXPECT_EQ(assigned.subject, QStringLiteral("Notification: Project 'Apollo' Assignment"));
    EXPECT_TRUE(assigned.html.contains(QStringLiteral("<p>Robin</p>")));

    const MailMessage& newProjects = transport.mails[1];
    EXPECT_EQ(newProjects.to, QStringLiteral("kim@example.org"));
    EXPECT_EQ(newProjects.bcc, QStringLiteral("ann@example.org"));
    EXPECT_TRUE(
        newProjects.html.contains(QStringLiteral("Borealis (Manager: )<BR>Apollo (Manager: kim lee)")));

    const MailMessage& coordinator = transport.mails[2];
    EXPECT_EQ(Recipients(coordinator), QStringList{"ann@example.org"});
    EXPECT_EQ(coordinator.subject, QStringLiteral("Notification: Activity 'Design' Assignment"));
    // The project's manager comes from the project list.
    EXPECT_TRUE(coordinator.html.contains(QStringLiteral("project manager 'kim lee'")));

    const MailMessage& newActivities = transport.mails[3];
    EXPECT_TRUE(newActivities.html.contains(QStringLiteral("Design (Coordinator: Ann, Project: Apollo)")));
    // Kind 4's default body names TLM_PROJECT, which its sender does not supply.
    EXPECT_TRUE(newActivities.html.contains(QStringLiteral("for TLM_PROJECT are")));
    for (const MailMessage& m : transport.mails)
        EXPECT_FALSE(Recipients(m).contains(QStringLiteral("robin@example.org"))) << m.subject.toStdString();
}

// Flags off, or a manager or coordinator who is no member: no mail, and the rows are saved all the
// same.
TEST_P(SenderTest, ListSavesWithoutAFlagOrAKnownAddressSendNothingAndSave) {
    SaveTeam();
    SetFlags(false);
    global->Projects.FromArray(Rows({{"Apollo", "Kim Lee", "1"}}));
    global->Tasks.FromArray(Rows({{"Design", "Apollo", "5", "Ann"}}));
    global->SaveGlobalSettings(16);
    SetFlags(true);
    global->MessageTemplates.SetNotificaionEnabledValue(kNewProjectsFlag, false);
    global->MessageTemplates.SetNotificaionEnabledValue(kNewActivitiesFlag, false);
    global->Projects.FromArray(Rows({{"Apollo", "Nobody", "1"}}));
    global->Tasks.FromArray(Rows({{"Design", "Apollo", "5", "Nobody Either"}}));
    global->SaveGlobalSettings(16);
    EXPECT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
    EXPECT_EQ(Column(QStringLiteral("SELECT ProjectManager FROM tProjects")), QStringList{"Nobody"});
    EXPECT_EQ(Column(QStringLiteral("SELECT Coordinator FROM tActivities")), QStringList{"Nobody Either"});
    EXPECT_TRUE(transport.mails.isEmpty());
}

TEST_P(SenderTest, RequestsToReportGoOutWithTheirFlagsOff) {
    SaveTeam();
    global->Projects.FromArray(Rows({{"Apollo", "Kim Lee", "90"}}));
    global->Tasks.FromArray(Rows({{"Design", "Apollo", "5", "Ann"}, {"Build", "Apollo", "6", "Ann"}}));
    global->SaveGlobalSettings(16);
    cDBSettings& g = Reload();
    SetFlags(false);
    transport.mails.clear();

    SendEmailToMembersToRequestReportOnAProject(*g.Projects.Items.Find(QStringLiteral("apollo")),
                                                QStringLiteral("kim@example.org;ann@example.org"));
    SendEmailToMembersToRequestReportOnATask(*g.Tasks.Items.Find(QStringLiteral("ApolloDesign")),
                                             QStringLiteral("ann@example.org"));
    SendEmailToMemberToReport(QStringLiteral("ANN"));
    ASSERT_EQ(transport.mails.size(), 3);
    EXPECT_EQ(transport.mails[0].to, QStringLiteral("kim@example.org"));
    EXPECT_EQ(transport.mails[0].bcc, QStringLiteral("ann@example.org"));
    EXPECT_EQ(transport.mails[0].subject,
              QStringLiteral("Notification: Report all Timesheets on project 'Apollo'"));
    const QString activities = g.AllTasksProjects.Find(QStringLiteral("Apollo"))->Items.Keys().join(u',');
    EXPECT_FALSE(activities.isEmpty());
    EXPECT_TRUE(transport.mails[0].html.contains(activities)) << transport.mails[0].html.toStdString();
    EXPECT_EQ(transport.mails[1].subject,
              QStringLiteral("Notification: Report all Timesheets on activity 'Design'"));
    // Kind 10's default body names TLM_TASK, which nothing supplies.
    EXPECT_TRUE(transport.mails[1].html.contains(QStringLiteral("Apollo / Design")));
    EXPECT_TRUE(transport.mails[1].html.contains(QStringLiteral("due date for TLM_TASK")));
    EXPECT_EQ(transport.mails[2].to, QStringLiteral("ann@example.org"));
    EXPECT_TRUE(transport.mails[2].html.contains(QStringLiteral("Dear Ann")));
}

TEST_P(SenderTest, ApprovalAndDeclineReachTheReporterByFlagAndDisplaySetting) {
    SaveTeam();
    cTaskData task;
    task.ID = QStringLiteral("7");
    task.ReportedBy = QStringLiteral("Kim Lee");
    task.Subject = QStringLiteral("Design review");
    cAppointmentData appt;
    appt.ID = QStringLiteral("8");
    appt.ReportedBy = QStringLiteral("Ann");

    SetFlags(false);
    SendEmailNotificationToMemberWhenApproved(task, QStringLiteral("Task"));
    EXPECT_TRUE(transport.mails.isEmpty());
    SetFlags(true);
    SendEmailNotificationToMemberWhenApproved(task, QStringLiteral("Task"));
    ASSERT_EQ(transport.mails.size(), 1);
    EXPECT_EQ(transport.mails[0].to, QStringLiteral("kim@example.org"));
    EXPECT_EQ(transport.mails[0].subject, QStringLiteral("Notification: Your Timesheet (#7) is approved!"));
    EXPECT_TRUE(transport.mails[0].html.contains(QStringLiteral("'Design review' ID# 7")));

    global->GeneralSettings.SetValue(QStringLiteral("tpoAuditDisplayDeclinedEmail"), 1);
    SendEmailNotificationToMemberWhenDeclined(appt, QStringLiteral("Appointment"));
    ASSERT_EQ(display.shown.size(), 1);
    EXPECT_EQ(display.shown[0].to, QStringLiteral("ann@example.org"));
    EXPECT_EQ(display.shown[0].subject, QStringLiteral("Notification: Your Timesheet (#8) is declined!"));
    EXPECT_EQ(transport.mails.size(), 1);
}

INSTANTIATE_TEST_SUITE_P(Engines, SenderTest, ::testing::Values(Engine::SQLite), EngineName);

}  // namespace
}  // namespace tlm::test
