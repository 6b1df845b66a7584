#include <gtest/gtest.h>

#include "core/money.h"
#include "domain/domain_services.h"
#include "domain/domain_test_fixture.h"
#include "domain/item.h"
#include "mail/mail_profile.h"

namespace tlm::test {
namespace {

class CostTest : public DomainMemoryTest {
  protected:
    void SetUp() override {
        DomainMemoryTest::SetUp();
        global->Projects.FromArray(Rows({{"Apollo", "", "90"}}));
        global->Tasks.FromArray(Rows({{"Design", "Apollo", "30"}}));
        global->Members.FromArray(Rows({{"Robin", "", "", "12"}}));
        global->CurrentMember.Name = QStringLiteral("Robin");
    }
    TlmItem Item(const char* messageClass, const char* minutesProperty, int minutes) {
        TlmItem item;
        item.MessageClass = QString::fromLatin1(messageClass);
        item.setProperty(QString::fromLatin1(minutesProperty), minutes);
        item.setUserProperty(QStringLiteral("ProjectValue"), QStringLiteral("apollo"));
        item.setUserProperty(QStringLiteral("ActivityValue"), QStringLiteral("design"));
        return item;
    }
    void Set(const char* key, const char* value) {
        global->GeneralSettings.SetValue(QString::fromLatin1(key), QString::fromLatin1(value));
    }
};

TEST_F(CostTest, WorkedExamplesComeOutExactlyAndAnIntervalOfZeroHoursIsReported) {
    const TlmItem meeting = Item("IPM.Appointment", "Duration", 45);
    EXPECT_EQ(GetTotalCost(meeting), M("67.50"));
    Set("tpoRateIntervalMode", "1");
    Set("tpoRateIntervalCustomValue", "8");
    EXPECT_EQ(GetTotalCost(meeting), M("8.4375"));
    EXPECT_TRUE(presenter.reports.isEmpty());
    Set("tpoRateIntervalCustomValue", "");
    EXPECT_EQ(GetTotalCost(meeting), Money{});
    ASSERT_EQ(presenter.reports.size(), 1);
    EXPECT_TRUE(presenter.reports[0].contains(QStringLiteral("In Function: Settings.GetTotalCost")));
}

TEST_F(CostTest, RoundsHalfToEvenAtTheFourthDecimal) {
    global->Projects.Items.Find(QStringLiteral("Apollo"))->Rate = M("0.0001");
    // 0.0001 * 30/60 = 0.00005 -> 0.0000; * 90/60 = 0.00015 -> 0.0002
    EXPECT_EQ(GetTotalCost(Item("IPM.Appointment", "Duration", 30)), Money{});
    EXPECT_EQ(GetTotalCost(Item("IPM.Appointment", "Duration", 90)), M("0.0002"));
}

TEST_F(CostTest, RateSourcesAndWorkFields) {
    const TlmItem task = Item("IPM.Task.Custom", "ActualWork", 60);
    EXPECT_EQ(GetTotalCost(task), M("90"));
    Set("tpoUseRateFrom", "1");
    EXPECT_EQ(GetTotalCost(task), M("30"));
    Set("tpoUseRateFrom", "2");
    EXPECT_EQ(GetTotalCost(task), M("12"));  // the member running the program
    Set("tpoUseRateFrom", "1");
    TlmItem other = task;
    other.setUserProperty(QStringLiteral("ActivityValue"), QStringLiteral("Unknown"));
    EXPECT_EQ(GetTotalCost(other), Money{});  // no fallback to the project's rate

    Set("tpoUseRateFrom", "0");
    TlmItem both = Item("IPM.Task", "TotalWork", 120);
    EXPECT_EQ(GetTotalCost(both), Money{});  // ActualWork is the field in use and is 0
    Set("tpoWorkFieldToUseForTaskItem", "1");
    EXPECT_EQ(GetTotalCost(both), M("180"));
    EXPECT_EQ(GetTotalCost(Item("IPM.Note", "Duration", 60)), Money{});
}

TEST_F(CostTest, DefaultProjectAppliesWhenTheItemHasNone) {
    TlmItem item = Item("IPM.Appointment", "Duration", 60);
    item.removeUserProperty(QStringLiteral("ProjectValue"));
    EXPECT_EQ(GetTotalCost(item), Money{});
    settings.setFlag(QStringLiteral("EnableDefaultValueForProjectTask"), 1);
    settings.DefaultValueForProject = QStringLiteral("Apollo");
    EXPECT_EQ(GetTotalCost(item), M("90"));
    EXPECT_EQ(GetDefaultField1Value(), QString());
    settings.setFlag(QStringLiteral("EnableDefaultValueForCustomField1"), 1);
    settings.DefaultValueCustomField[0] = QStringLiteral("F1");
    EXPECT_EQ(GetDefaultField1Value(), QString());  // the list flag is off
    settings.setFlag(QStringLiteral("CustomList1Active"), 1);
    EXPECT_EQ(GetDefaultField1Value(), QStringLiteral("F1"));
}

TEST_F(CostTest, ExpiryLooksAtWholeDays) {
    const QDateTime today = QDateTime(QDate::currentDate(), QTime(0, 0));
    global->Projects.FromArray(
        Rows({{"Today", "", "", "", today}, {"Yesterday", "", "", "", today.addDays(-1)}, {"Open"}}));
    global->Tasks.FromArray(
        Rows({{"T", "Yesterday", "", "", today.addDays(-1)},
              {"Never", "Yesterday", "", "", QDateTime(QDate(4501, 1, 1), QTime(0, 0))}}));
    EXPECT_FALSE(HideExpiredProject(QStringLiteral("Yesterday")));  // the option is off
    Set("tpoHideExpiredProjectsFromMembers", "1");
    Set("tpoHideExpiredTasksFromMembers", "1");
    EXPECT_TRUE(HideExpiredProject(QStringLiteral("yesterday")));
    EXPECT_FALSE(HideExpiredProject(QStringLiteral("Today")));
    EXPECT_FALSE(HideExpiredProject(QStringLiteral("Open")));
    EXPECT_FALSE(HideExpiredProject(QStringLiteral("Missing")));
    EXPECT_TRUE(HideExpiredTask(QStringLiteral("Yesterday"), QStringLiteral("t")));
    EXPECT_FALSE(HideExpiredTask(QStringLiteral("Yesterday"), QStringLiteral("Never")));
    EXPECT_EQ(GetTaskObjectFromName(QStringLiteral("YESTERDAY"), QStringLiteral("t"))->ActivityName,
              QStringLiteral("T"));
    EXPECT_EQ(GetProjectObjectFromName(QStringLiteral("nope")), nullptr);
}

// The login name stands in for a member name; the sender name counts only in the mailbox forms, so a
// bare word must not pick "Robin".
TEST_F(CostTest, CurrentMemberNameComesFromTheLoginOrTheMailboxName) {
    qputenv("USER", "robin");
    EXPECT_EQ(GetCurrentMemberName(), QStringLiteral("Robin"));
    qputenv("USER", "stranger");
    EXPECT_EQ(GetCurrentMemberName(), QStringLiteral("stranger"));
    MailProfile p;
    p.senderName = QStringLiteral("Rob");
    ASSERT_TRUE(SaveMailProfile(p));
    EXPECT_EQ(GetCurrentMemberName(), QStringLiteral("stranger"));
    p.senderName = QStringLiteral("Team - ROBIN");
    ASSERT_TRUE(SaveMailProfile(p));
    EXPECT_EQ(GetCurrentMemberName(), QStringLiteral("Robin"));
}

}  // namespace
}  // namespace tlm::test
