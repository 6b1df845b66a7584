#include <gtest/gtest.h>

#include <initializer_list>
#include <type_traits>
#include <utility>

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

// Gives each text field of the list a value of its own, and checks that each came back.
template <class Record>
void FillTexts(Record& r, std::initializer_list<QString Record::*> fields, const QString& tag) {
    int n = 0;
    for (QString Record::*f : fields)
        r.*f = tag + QString::number(++n);
}
template <class Record>
void ExpectTexts(const Record& back, const Record& r, std::initializer_list<QString Record::*> fields) {
    int n = 0;
    for (QString Record::*f : fields) {
        ++n;
        EXPECT_EQ(back.*f, r.*f) << "text field " << n;
    }
}

const std::initializer_list<QString cReportedRecord::*> kSharedTexts = {
    &cReportedRecord::Subject,      &cReportedRecord::Body,          &cReportedRecord::ReportedBy,
    &cReportedRecord::ProjectValue, &cReportedRecord::ActivityValue, &cReportedRecord::BillingInformation,
    &cReportedRecord::Categories,   &cReportedRecord::Companies,     &cReportedRecord::EntryID,
    &cReportedRecord::Importance,   &cReportedRecord::Mileage,       &cReportedRecord::Sensitivity,
    &cReportedRecord::HTMLBody,     &cReportedRecord::Field1Value,   &cReportedRecord::Field2Value,
    &cReportedRecord::Field3Value,  &cReportedRecord::Field4Value,   &cReportedRecord::Field5Value,
    &cReportedRecord::Field6Value,  &cReportedRecord::Field7Value,
};

// Every shared column and every column of the kind's own gets a value unlike its default, is written
// and read back: a column missing from either list loses its value. Flag and count columns read as
// false and 0, so the row itself is asked for them.
TEST_P(ReportedTest, BothKindsWriteEveryColumnAndReadItBack) {
    const auto fillShared = [](cReportedRecord& r, const QString& tag) {
        FillTexts(r, kSharedTexts, tag);
        r.Field8Value = QStringLiteral("8.25");  // a task reads its two currency fields from here
        r.ReportedDate = QDateTime(QDate(2024, 3, 4), QTime(10, 15));
        r.CreationTime = QDateTime(QDate(2024, 3, 1), QTime(8, 0));
        r.LastModificationTime = QDateTime(QDate(2024, 3, 2), QTime(9, 5, 30));
        r.StartDate = QDateTime(QDate(2024, 3, 3), QTime(13, 45));
        r.Approved = r.IsRecurring = r.NoAging = true;
        r.TotalCost = *Money::parse(QStringLiteral("67.5"));
        r.Field9Value = Money::fromInt(9);
        r.Field10Value = Money::fromInt(10);
        r.ApprovedBy = QStringLiteral("Someone");
    };
    const auto expectShared = [](const cReportedRecord& back, const cReportedRecord& r) {
        ExpectTexts(back, r, kSharedTexts);
        EXPECT_EQ(back.Field8Value, r.Field8Value);
        EXPECT_EQ(back.ReportedDate, r.ReportedDate);
        EXPECT_EQ(back.CreationTime, r.CreationTime);
        EXPECT_EQ(back.LastModificationTime, r.LastModificationTime);
        EXPECT_EQ(back.StartDate, r.StartDate);
        EXPECT_EQ(back.TotalCost, r.TotalCost);
        EXPECT_EQ(back.ApprovedBy, QString());  // never written as approved by anybody
        EXPECT_FALSE(back.ID.isEmpty());
    };
    const auto writeAndRead = [this](const auto& written, auto& back) {
        using Record = std::decay_t<decltype(written)>;
        auto rs = Open(Record::GetTableName());
        EXPECT_TRUE(rs->AddNew());
        written.ToRecordSet(*rs);
        EXPECT_TRUE(rs->Update()) << rs->LastError().description.toStdString();
        rs = Open(QStringLiteral("SELECT * FROM ") + Record::GetTableName(), LockMode::ReadOnly);
        back.FromRecordset(*rs);
        EXPECT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
        return rs;
    };
    // A flag is stored as any number but 0.
    const auto expectFlagsSet = [](Recordset& rs, std::initializer_list<const char*> columns) {
        for (const char* column : columns)
            EXPECT_NE(rs.Fields(column).Value().toInt(), 0) << column;
    };
    const auto expectCounts = [](Recordset& rs, std::initializer_list<std::pair<const char*, int>> columns) {
        for (const auto& [column, value] : columns)
            EXPECT_EQ(rs.Fields(column).Value().toInt(), value) << column;
    };

    const std::initializer_list<QString cTaskData::*> taskTexts = {
        &cTaskData::ContactNames,
        &cTaskData::DelegationState,
        &cTaskData::Delegator,
        &cTaskData::Owner,
        &cTaskData::Ownership,
        &cTaskData::Role,
        &cTaskData::SchedulePlusPriority,
        &cTaskData::Status,
        &cTaskData::StatusOnCompletionRecipients,
        &cTaskData::StatusUpdateRecipients,
    };
    cTaskData task;
    fillShared(task, QStringLiteral("task "));
    FillTexts(task, taskTexts, QStringLiteral("own task "));
    task.DateCompleted = QDateTime(QDate(2024, 4, 1), QTime(17, 0));
    task.DueDate = QDateTime(QDate(2024, 5, 2), QTime(9, 30));
    task.Complete = task.TeamTask = true;
    task.ActualWork = 90;
    task.Ordinal = 3;
    task.TotalWork = 120;
    cTaskData taskBack;
    auto taskRow = writeAndRead(task, taskBack);
    expectShared(taskBack, task);
    ExpectTexts(taskBack, task, taskTexts);
    EXPECT_EQ(taskBack.DateCompleted, task.DateCompleted);
    EXPECT_EQ(taskBack.DueDate, task.DueDate);
    EXPECT_EQ(taskBack.Field9Value, *Money::parse(QStringLiteral("8.25")));
    EXPECT_EQ(taskBack.Field10Value, *Money::parse(QStringLiteral("8.25")));
    EXPECT_EQ(taskRow->Fields("Field9Value").Value().value<Money>(), Money::fromInt(9));
    EXPECT_EQ(taskRow->Fields("Field10Value").Value().value<Money>(), Money::fromInt(10));
    expectFlagsSet(*taskRow, {"Approved", "IsRecurring", "NoAging", "Complete", "TeamTask"});
    expectCounts(*taskRow, {{"ActualWork", 90}, {"Ordinal", 3}, {"TotalWork", 120}});

    const std::initializer_list<QString cAppointmentData::*> appointmentTexts = {
        &cAppointmentData::Location,
        &cAppointmentData::MeetingStatus,
        &cAppointmentData::NetMeetingOrganizerAlias,
        &cAppointmentData::OptionalAttendees,
        &cAppointmentData::Organizer,
        &cAppointmentData::RecurrenceState,
        &cAppointmentData::RequiredAttendees,
        &cAppointmentData::Resources,
        &cAppointmentData::ResponseStatus,
    };
    cAppointmentData appointment;
    fillShared(appointment, QStringLiteral("appointment "));
    FillTexts(appointment, appointmentTexts, QStringLiteral("own appointment "));
    appointment.EndDate = QDateTime(QDate(2024, 3, 3), QTime(15, 0));
    appointment.AllDayEvent = true;
    appointment.Duration = 75;
    cAppointmentData appointmentBack;
    auto appointmentRow = writeAndRead(appointment, appointmentBack);
    expectShared(appointmentBack, appointment);
    ExpectTexts(appointmentBack, appointment, appointmentTexts);
    EXPECT_EQ(appointmentBack.EndDate, appointment.EndDate);
    EXPECT_EQ(appointmentBack.Field9Value, Money::fromInt(9));
    EXPECT_EQ(appointmentBack.Field10Value, Money::fromInt(10));
    expectFlagsSet(*appointmentRow, {"Approved", "IsRecurring", "NoAging", "AllDayEvent"});
    expectCounts(*appointmentRow, {{"Duration", 75}});
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
