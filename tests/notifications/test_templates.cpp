#include <gtest/gtest.h>

#include <QFile>

#include "domain/domain_test_fixture.h"
#include "notifications/templates.h"

namespace tlm::test {
namespace {

QString Resource(const char* name) {
    QFile f(QStringLiteral(":/templates/") + QString::fromLatin1(name));
    return f.open(QIODevice::ReadOnly) ? QString::fromUtf8(f.readAll()) : QString();
}

TEST(TemplateStore, NamesKeysAndBlanks) {
    cMessageTemplates t;
    LoadDefaultTemplates(t);
    EXPECT_EQ(t.Items.Count(), 31);
    EXPECT_EQ(t.GetValue(QStringLiteral("Print")).toString(),
              t.GetValue(QStringLiteral("tpoPrintTemplate")).toString());
    EXPECT_EQ(t.GetValue(QStringLiteral("tpoPrintTemplate")).toString(), Resource("PRINT_TEMPLATE.TXT"));
    EXPECT_FALSE(Resource("PRINT_TEMPLATE.TXT").isEmpty());
    EXPECT_EQ(t.GetValue(QStringLiteral("tpoNotifyCoordintorWhenAssignedTaskSubject")).toString(),
              QStringLiteral("Notification: Activity 'TLM_ACTIVITY' Assignment"));
    EXPECT_EQ(t.GetValue(QStringLiteral("nothing")).toString(), QStringLiteral(" "));
    EXPECT_FALSE(t.IsChecked(QStringLiteral("nothing")));
    t.SetNotificaionEnabledValue(QStringLiteral("nothing"), true);
    EXPECT_EQ(t.Items.Count(), 31);
    t.SetNotificaionEnabledValue(QStringLiteral("Email Coordintator when assigned an activity"), true);
    EXPECT_TRUE(t.IsChecked(QStringLiteral("TPONOTIFYCOORDINTORWHENASSIGNEDACTIVITY")));
    // A display name is matched exactly, case included.
    EXPECT_EQ(t.GetValue(QStringLiteral("print")).toString(), QStringLiteral(" "));
}

TEST(TemplateStore, BlankTextsReturnToTheirDefaultAndOthersStay) {
    cMessageTemplates t;
    t.SetValue(QStringLiteral("tpoNotifyMemberToReport"), QStringLiteral("   "));
    t.SetValue(QStringLiteral("tpoNotifyMemberWhenApproved"), QStringLiteral("x"));
    t.SetValue(QStringLiteral("tpoNotifyMemberWhenApprovedSubject"), QString());
    LoadDefaultTemplates(t);
    EXPECT_EQ(t.GetValue(QStringLiteral("tpoNotifyMemberToReport")).toString(),
              Resource("NOTIFY_MEMBER_TO_REPORT.TXT"));
    EXPECT_EQ(t.GetValue(QStringLiteral("tpoNotifyMemberWhenApproved")).toString(), QStringLiteral("x"));
    EXPECT_EQ(t.GetValue(QStringLiteral("tpoNotifyMemberWhenApprovedSubject")).toString(),
              QStringLiteral("Notification: Your Timesheet (#TLM_REPORTED_ID) is approved!"));
    EXPECT_FALSE(t.IsChecked(QStringLiteral("tpoNotifyMemberToReport")));
    EXPECT_EQ(TemplateOfKind(14), nullptr);
    EXPECT_EQ(TemplateOfKind(16)->key, QStringLiteral("tpoNotifyCoordinatorWhenMemberUpdates"));
}

using TemplateDbTest = DomainDbTest;

TEST_P(TemplateDbTest, StoredMinusOneIsSetAndChangesReachTheirRowsOnly) {
    Exec(QStringLiteral(
        "UPDATE tNotificationTemplates SET Enabled = -1 WHERE NotificationName = 'tpoPrintTemplate'"));
    cDBSettings& g = Reload();
    EXPECT_TRUE(g.MessageTemplates.IsChecked(QStringLiteral("Print")));
    const QStringList before = Column(QStringLiteral("SELECT ID FROM tNotificationTemplates ORDER BY ID"));
    g.MessageTemplates.SetValue(QStringLiteral("tpoNotifyMemberWhenDeclineSubject"), QStringLiteral("No!"));
    g.MessageTemplates.SetValue(QStringLiteral("tpoBrandNew"), QStringLiteral("new"));
    g.SaveGlobalSettings(4);
    ASSERT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
    const QStringList after = Column(QStringLiteral("SELECT ID FROM tNotificationTemplates ORDER BY ID"));
    EXPECT_EQ(after.mid(0, before.size()), before);
    EXPECT_EQ(after.size(), before.size() + 1);
    const cDBSettings& again = Reload();
    EXPECT_EQ(again.MessageTemplates.GetValue(QStringLiteral("tpoNotifyMemberWhenDeclineSubject")).toString(),
              QStringLiteral("No!"));
    EXPECT_FALSE(again.MessageTemplates.IsChecked(QStringLiteral("tpoBrandNew")));
}

INSTANTIATE_TEST_SUITE_P(Engines, TemplateDbTest, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace tlm::test
