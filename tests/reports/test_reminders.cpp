// Reminders to report: the work each member reported in a period, read as the reports read the
// period, decides who is under the threshold; only they get the "Email Member to report" mail.
#include <gtest/gtest.h>

#include "domain/domain_test_fixture.h"
#include "domain/option_keys.h"
#include "notifications/notification_doubles.h"
#include "notifications/senders.h"
#include "reports/reminders.h"

namespace tlm {
namespace {

using test::RecordingTransport;

// Wednesday: "Last Week" runs from Sunday 2026-03-01 to Saturday 2026-03-07.
const QDateTime kNow(QDate(2026, 3, 11), QTime(10, 0));

class Reminders : public test::DomainDbTest {
  protected:
    void SetUp() override {
        DomainDbTest::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        Exec(QStringLiteral("DELETE FROM tMembers"));
        for (const auto& [name, email] :
             std::initializer_list<std::pair<const char*, const char*>>{{"Ann", "ann@example.org"},
                                                                        {"Bo", "bo@example.org"},
                                                                        {"Cy", "cy@example.org"},
                                                                        {"Dee", "dee@example.org"},
                                                                        {"Eve", ""}})
            Exec(QStringLiteral("INSERT INTO tMembers (Name, Email, Department, Rate, AdminAccess) "
                                "VALUES (?, ?, '', 0, 0)"),
                 {QString::fromLatin1(name), QString::fromLatin1(email)});
        // Ann: 10 h of tasks (Total Work says otherwise) on the period's first and last day.
        Task("ann", 360, 0, At(3, 1, 9));
        Task("Ann", 240, 0, At(3, 7, 17));
        // Bo: 1 h task and a 2 h appointment.
        Task("Bo", 60, 900, At(3, 3, 9));
        Appointment("BO", 120, At(3, 4, 14));
        // Cy: 8 h, but the week before and the week after.
        Task("Cy", 480, 480, At(2, 28, 18));
        Appointment("Cy", 480, At(3, 8, 9));
        // Dee: one item of no length.
        Appointment("Dee", 0, At(3, 5, 9));
        // Someone who is not a member counts for nobody.
        Task("Stranger", 600, 600, At(3, 2, 9));
        Reload();
    }
    static QDateTime At(int month, int day, int hour) {
        return QDateTime(QDate(2026, month, day), QTime(hour, 0));
    }
    void Task(const char* by, int actual, int total, const QDateTime& when) {
        ASSERT_EQ(
            Exec(QStringLiteral("INSERT INTO tReportedTasks (Subject, ReportedBy, ActualWork, TotalWork, "
                                "ReportedDate, Approved, TotalCost) VALUES ('t', ?, ?, ?, ?, 0, 0)"),
                 {QString::fromLatin1(by), actual, total, when}),
            1);
    }
    void Appointment(const char* by, int minutes, const QDateTime& when) {
        ASSERT_EQ(Exec(QStringLiteral("INSERT INTO tReportedAppointments (Subject, ReportedBy, Duration, "
                                      "ReportedDate, Approved, TotalCost) VALUES ('a', ?, ?, ?, 0, 0)"),
                       {QString::fromLatin1(by), minutes, when}),
                  1);
    }
    static QStringList Names(const QList<MemberWork>& list) {
        QStringList out;
        for (const MemberWork& w : list)
            out << w.name;
        return out;
    }
    ReminderPlan Plan(const ReminderRules& rules) {
        return PlanReminders(*global, rules, IsSqlite() ? 0 : 1, kNow);
    }
};

TEST_P(Reminders, OnlyMembersUnderTheThresholdAreDue) {
    struct Case {
        const char* period;
        std::optional<double> below;
        QStringList due;
        QStringList noAddress;
    };
    const Case cases[] = {
        // Without a threshold: nothing reported at all; Dee's empty item counts as reported.
        {"Last Week", std::nullopt, {"Cy"}, {"Eve"}},
        {"last week", 0.0, {}, {}},
        {"LAST WEEK", 3.0, {"Cy", "Dee"}, {"Eve"}},
        {"Last Week", 3.01, {"Bo", "Cy", "Dee"}, {"Eve"}},
        {"Last Week", 10.0, {"Bo", "Cy", "Dee"}, {"Eve"}},
        {"Last Week", 10.5, {"Ann", "Bo", "Cy", "Dee"}, {"Eve"}},
        // Nothing is reported on the Wednesday itself.
        {"Today", std::nullopt, {"Ann", "Bo", "Cy", "Dee"}, {"Eve"}},
    };
    for (const Case& c : cases) {
        const ReminderPlan plan = Plan({QString::fromLatin1(c.period), c.below});
        const std::string what =
            std::string(c.period) + " below " + (c.below ? std::to_string(*c.below) : "none");
        ASSERT_EQ(plan.kind, ReminderPlan::Kind::Planned) << what << plan.failure.description.toStdString();
        EXPECT_EQ(Names(plan.due), c.due) << what;
        EXPECT_EQ(Names(plan.noAddress), c.noAddress) << what;
    }
    const ReminderPlan week = Plan({QStringLiteral("Last Week"), 100.0});
    EXPECT_EQ(week.period, QStringLiteral("Last Week"));
    EXPECT_EQ(week.dates.start, QDate(2026, 3, 1));
    EXPECT_EQ(week.dates.end, QDate(2026, 3, 7));
    ASSERT_EQ(week.due.size(), 4);
    const qint64 minutes[] = {600, 180, 0, 0};
    const int items[] = {2, 2, 0, 1};
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(week.due[i].minutes, minutes[i]) << week.due[i].name.toStdString();
        EXPECT_EQ(week.due[i].items, items[i]) << week.due[i].name.toStdString();
    }
    EXPECT_EQ(week.due[0].email, QStringLiteral("ann@example.org"));
}

TEST_P(Reminders, TotalWorkCountsWhenTheCostOptionSaysSo) {
    global->GeneralSettings.SetValue(tpo::kWorkFieldToUseForTaskItem, QStringLiteral("1"));
    const ReminderPlan plan = Plan({QStringLiteral("Last Week"), 5.0});
    ASSERT_EQ(plan.kind, ReminderPlan::Kind::Planned);
    // Ann's tasks have no Total Work; Bo's 15 h task now counts.
    EXPECT_EQ(Names(plan.due), (QStringList{"Ann", "Cy", "Dee"}));
}

TEST_P(Reminders, PeriodsThatNameNoWeekOfWorkAreRefused) {
    for (const char* period : {"Date Range..", "Date Range", "Fortnight", ""}) {
        const ReminderPlan plan = Plan({QString::fromLatin1(period), std::nullopt});
        EXPECT_EQ(plan.kind, ReminderPlan::Kind::UnknownPeriod) << period;
        EXPECT_TRUE(plan.due.isEmpty()) << period;
    }
}

TEST_P(Reminders, EachDueMemberGetsTheMemberToReportMailAndNobodyElse) {
    RecordingTransport transport;
    SetNotificationTransport(&transport);
    // The request is sent even with its template's flag off and shown mails asked for.
    global->MessageTemplates.SetNotificaionEnabledValue(tpo::kNotifyMemberToReport, false);
    global->GeneralSettings.SetValue(tpo::kAllowEditOfEmailToReport, QStringLiteral("1"));
    const ReminderPlan plan = Plan({QStringLiteral("Last Week"), 3.5});
    const QList<SentReminder> sent = SendReminders(*global, plan);
    SetNotificationTransport(nullptr);
    ASSERT_EQ(sent.size(), 3);
    ASSERT_EQ(transport.mails.size(), 3);
    const char* const to[] = {"bo@example.org", "cy@example.org", "dee@example.org"};
    const char* const name[] = {"Bo", "Cy", "Dee"};
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(transport.mails[i].to, QString::fromLatin1(to[i]));
        EXPECT_TRUE(transport.mails[i].bcc.isEmpty());
        EXPECT_TRUE(transport.mails[i].html.contains(QStringLiteral("Dear ") + QString::fromLatin1(name[i])))
            << name[i];
        EXPECT_FALSE(transport.mails[i].html.contains(QStringLiteral("TLM_")));
        EXPECT_EQ(transport.mails[i].subject, QStringLiteral("Notification: Report all Timesheets"));
        EXPECT_EQ(sent[i].outcome.status, NotificationOutcome::Status::Sent);
    }
}

INSTANTIATE_TEST_SUITE_P(Engines, Reminders, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         test::EngineName);

}  // namespace
}  // namespace tlm
