#include <gtest/gtest.h>

#include "domain/domain_test_fixture.h"
#include "domain/item.h"
#include "reported/appointment_data.h"
#include "reported/task_data.h"

namespace tlm::test {
namespace {

using ReportedTest = DomainDbTest;

TEST_P(ReportedTest, TaskRowReadsFlagsAsFalseAndBothCurrencyFieldsFromField8) {
    Exec(QStringLiteral(
        "INSERT INTO tReportedTasks (Subject, Approved, ActualWork, TotalWork, Field1Value, Field8Value, "
        "Field9Value, ProjectValue, ActivityValue, ReportedBy, TotalCost) VALUES ('S', 1, 90, 120, "
        "'one', '12.5', 3, 'Ghost', '', 'Robin', 7.25)"));
    auto rs = Open(QStringLiteral("SELECT * FROM tReportedTasks"), LockMode::ReadOnly);
    cTaskData t;
    t.FromRecordset(*rs);
    EXPECT_FALSE(t.Approved);
    EXPECT_EQ(t.ActualWork, 0);
    EXPECT_EQ(t.Field9Value, *Money::parse(QStringLiteral("12.5")));
    EXPECT_EQ(t.Field10Value, *Money::parse(QStringLiteral("12.5")));
    EXPECT_EQ(t.TotalCost, *Money::parse(QStringLiteral("7.25")));
    EXPECT_EQ(t.SubstituePlaceHolders(QStringLiteral("[TLM_APPROVED][TLM_DURATION][TLM_FIELD10][TLM_MANAGER]"
                                                     "[TLM_COORDINATOR][TLM_APPROVEDBY][TLM_TOTALCOST]")),
              QStringLiteral("[False][0][one0][][][FalseBY][7.25]"));
    EXPECT_EQ(t.SubstituePlaceHolders(QStringLiteral("#TLM_REPORTED_ID/TLM_REPORT_ID")),
              QStringLiteral("#") + t.ID + u'/' + t.ID);
    EXPECT_FALSE(t.ID.isEmpty());
}

TEST_P(ReportedTest, AppointmentReadsItsOwnCurrencyColumnsAndItsOwnOrder) {
    Exec(QStringLiteral(
        "INSERT INTO tReportedAppointments (Subject, Duration, Field8Value, Field9Value, ProjectValue, "
        "ActivityValue) VALUES ('Meet', 60, '99', 3, 'Apollo', 'Design')"));
    cDBSettings& g = *global;
    g.Projects.FromArray(Rows({{"Apollo", "Kim"}}));
    g.Tasks.FromArray(Rows({{"Design", "Apollo", "", "Lee", "2024-6-1"}}));
    auto rs = Open(QStringLiteral("SELECT * FROM tReportedAppointments"), LockMode::ReadOnly);
    cAppointmentData a;
    a.FromRecordset(*rs);
    EXPECT_EQ(a.Duration, 0);
    EXPECT_EQ(a.Field9Value, Money::fromInt(3));
    EXPECT_EQ(a.Field10Value, Money{});
    EXPECT_EQ(a.SubstituePlaceHolders(
                  QStringLiteral("TLM_DURATION|TLM_MANAGER|TLM_COORDINATOR|TLM_ACTIVITY_DUE_DATE|"
                                 "TLM_PROJECT_RATE|tlm_subject|TLM_SUBJECT")),
              QStringLiteral("0|Kim|Lee|Design_DUE_DATE|Apollo_RATE|tlm_subject|Meet"));
}

TEST_P(ReportedTest, TaskWrittenToARowReadsBack) {
    cTaskData t;
    t.Subject = QStringLiteral("Fix it");
    t.ProjectValue = QStringLiteral("Apollo");
    t.Field10Value = Money::fromInt(4);
    t.TotalCost = *Money::parse(QStringLiteral("67.5"));
    t.DueDate = QDateTime(QDate(2024, 5, 2), QTime(9, 30));
    t.ApprovedBy = QStringLiteral("Someone");
    auto rs = Open(cTaskData::GetTableName());
    ASSERT_TRUE(rs->AddNew());
    t.ToRecordSet(*rs);
    ASSERT_TRUE(rs->Update()) << rs->LastError().description.toStdString();
    ASSERT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();

    rs = Open(QStringLiteral("SELECT * FROM tReportedTasks"), LockMode::ReadOnly);
    cTaskData back;
    back.FromRecordset(*rs);
    EXPECT_EQ(back.Subject, t.Subject);
    EXPECT_EQ(back.DueDate, t.DueDate);
    EXPECT_EQ(back.TotalCost, t.TotalCost);
    EXPECT_EQ(back.ApprovedBy, QString());  // never written as approved by anybody
    EXPECT_LE(qAbs(back.ReportedDate.secsTo(QDateTime::currentDateTime())), 120);  // no date: now
    EXPECT_EQ(rs->Fields(QStringLiteral("Field10Value")).Value().value<Money>(), Money::fromInt(4));
}

TEST_P(ReportedTest, MissingColumnIsReportedAndLaterFieldsStay) {
    Exec(QStringLiteral("INSERT INTO tReportedTasks (Subject, Body) VALUES ('S', 'B')"));
    auto rs = Open(QStringLiteral("SELECT ID, Subject FROM tReportedTasks"), LockMode::ReadOnly);
    cTaskData t;
    t.Body = QStringLiteral("before");
    t.FromRecordset(*rs);
    EXPECT_EQ(t.Subject, QStringLiteral("S"));
    EXPECT_EQ(t.Body, QStringLiteral("before"));
    EXPECT_TRUE(FirstReport().contains(QStringLiteral("TaskData.FromRecordset")));
}

INSTANTIATE_TEST_SUITE_P(Engines, ReportedTest, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         EngineName);

using ReportedItemTest = DomainMemoryTest;

TEST_F(ReportedItemTest, ReadingATaskItem) {
    global->Projects.FromArray(Rows({{"Apollo", "", "90"}}));
    global->UserName = QStringLiteral("Robin");
    TlmItem item;
    item.MessageClass = QStringLiteral("IPM.Task");
    item.setProperty(QStringLiteral("Subject"), QStringLiteral("Write"));
    item.setProperty(QStringLiteral("ActualWork"), 30);
    item.setUserProperty(QStringLiteral("ProjectValue"), QStringLiteral("Apollo"));
    item.setUserProperty(QStringLiteral("ActivityValue"), QStringLiteral("  Design "));
    item.setUserProperty(QStringLiteral("ReportedDate"), QDateTime(QDate(4501, 1, 1), QTime(0, 0)),
                         FieldType::kDate);
    cTaskData t;
    ASSERT_TRUE(t.ReadDataFromItem(item));
    EXPECT_EQ(t.ID, QStringLiteral("0"));
    EXPECT_EQ(t.ActivityValue, QStringLiteral("Design"));
    EXPECT_EQ(t.ReportedBy, QStringLiteral("Robin"));
    EXPECT_EQ(t.ReportedDate.date(), QDate::currentDate());
    EXPECT_EQ(t.TotalCost, Money::fromInt(45));
    EXPECT_EQ(t.SubstituePlaceHolders(QStringLiteral("TLM_SUBJECT by TLM_MEMBER")),
              QStringLiteral("Write by Robin"));
}

// Each way of reading an item's property: protected texts only for the kind's own fields, value
// names, flags from numbers and text, dates with "no date" when the item holds none.
TEST_F(ReportedItemTest, ReadingAnAppointmentItemConvertsEachKindOfProperty) {
    TlmItem item;
    item.MessageClass = QStringLiteral("IPM.Appointment");
    const QDateTime start(QDate(2026, 3, 2), QTime(9, 30));
    item.setProperty(QStringLiteral("Start"), start);
    item.setProperty(QStringLiteral("End"), QStringLiteral("not a date"));
    item.setProperty(QStringLiteral("Organizer"), QStringLiteral("Kim"));
    item.setProperty(QStringLiteral("Owner"), QStringLiteral("a task field"));
    item.setProperty(QStringLiteral("Body"), QStringLiteral("notes"));
    item.setProperty(QStringLiteral("ResponseStatus"), 3);
    item.setProperty(QStringLiteral("RecurrenceState"), 1);
    item.setProperty(QStringLiteral("AllDayEvent"), QStringLiteral("false"));
    item.setProperty(QStringLiteral("IsRecurring"), -1);
    item.setProperty(QStringLiteral("NoAging"), 0);
    cAppointmentData a;
    ASSERT_TRUE(a.ReadDataFromItem(item));
    EXPECT_EQ(a.StartDate, start);
    EXPECT_EQ(a.EndDate, ZeroDate());
    EXPECT_EQ(a.Organizer, QStringLiteral("Kim"));
    EXPECT_EQ(a.Body, QStringLiteral("notes"));
    EXPECT_EQ(a.ResponseStatus, QStringLiteral("Accepted"));
    EXPECT_EQ(a.RecurrenceState, QStringLiteral("Appointment Master "));
    EXPECT_FALSE(a.AllDayEvent);
    EXPECT_TRUE(a.IsRecurring);
    EXPECT_FALSE(a.NoAging);

    // The same item read as a task: its own protected field and the shared ones come through.
    cTaskData t;
    item.MessageClass = QStringLiteral("IPM.Task");
    ASSERT_TRUE(t.ReadDataFromItem(item));
    EXPECT_EQ(t.Owner, QStringLiteral("a task field"));
    EXPECT_EQ(t.Body, QStringLiteral("notes"));
    EXPECT_TRUE(t.IsRecurring);
}

}  // namespace
}  // namespace tlm::test
