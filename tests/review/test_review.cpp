#include <gtest/gtest.h>

#include <QSet>

#include "core/process_state.h"
#include "database/connection.h"
#include "reported/task_data.h"
#include "review/review_fixture.h"
#include "review/review_queue.h"

namespace tlm::test {
namespace {

// ---- the query text, typed from the documented forms ------------------------------------------

TEST(ReviewQuery, FilterKindsItemTypesAndDateModesInBothForms) {
    ReviewFilter f;
    f.start = QDate(2026, 3, 7);
    f.end = QDate(2026, 11, 23);
    // With the date filter off the dates change nothing, and "All" adds no clause.
    EXPECT_EQ(GetSQL(f, 1).sql(), QStringLiteral("Select * from TABLENAME where Approved = 0"));
    f.filterIndex = 1;
    f.value = QStringLiteral("Apollo");
    EXPECT_EQ(GetSQL(f, 0).sql(),
              QStringLiteral("Select * from TABLENAME where ProjectValue = 'Apollo' and Approved = 0"));
    f.filterIndex = 2;
    f.value = QStringLiteral("kim lee");
    EXPECT_EQ(
        GetSQL(f, 1).sql(),
        QStringLiteral("Select * from TABLENAME where ProjectValue in (Select ProjectName from tProjects "
                       "where ProjectManager='kim lee') and Approved = 0"));
    f.filterIndex = 3;
    f.value = QStringLiteral("ann");
    const QString ann = QStringLiteral("Select * from TABLENAME where ReportedBy = 'ann' and Approved = 0");
    EXPECT_EQ(GetSQL(f, 0).sql(), ann);

    f.queryByDate = true;
    f.between = false;
    EXPECT_EQ(GetSQL(f, 0).sql(), ann + QStringLiteral(" and (ReportedDate between #2026-3-7 00:00:00# and  "
                                                       "#2026-3-7 23:59:00#)"));
    EXPECT_EQ(
        GetSQL(f, 1).sql(),
        ann + QStringLiteral(" and cast(CONVERT(varchar(8), ReportedDate, 112) AS datetime) = '2026-3-7'"));
    f.between = true;
    EXPECT_EQ(GetSQL(f, 0).sql(), ann + QStringLiteral(" and (ReportedDate between #2026-3-7 00:00:00# and  "
                                                       "#2026-11-23 23:59:00#)"));
    EXPECT_EQ(GetSQL(f, 3).sql(),
              ann + QStringLiteral(" and (cast(CONVERT(varchar(8), ReportedDate, 112) AS datetime) >= "
                                   "'2026-3-7' and cast(CONVERT(varchar(8), ReportedDate, 112) AS datetime) "
                                   "<= '2026-11-23')"));
}

TEST(ReviewActions, StatementsQuestionsAndTables) {
    const ApproveCells cells{QStringLiteral("Apollo"), QStringLiteral("Design"), QStringLiteral("12.5")};
    EXPECT_EQ(
        ApproveStatement(QStringLiteral("tReportedTasks"), QStringLiteral("7"), cells, {false, false}).sql(),
        QStringLiteral("UPDATE tReportedTasks SET Approved = 1 WHERE ID = 7"));
    EXPECT_EQ(
        ApproveStatement(QStringLiteral("tReportedAppointments"), QStringLiteral("7"), cells, {true, true})
            .sql(),
        QStringLiteral("UPDATE tReportedAppointments SET Approved = 1, ProjectValue = 'Apollo', "
                       "ActivityValue = 'Design', TotalCost = 12.5 WHERE ID = 7"));
    EXPECT_EQ(
        ApproveStatement(QStringLiteral("tReportedTasks"), QStringLiteral("9"), cells, {false, true}).sql(),
        QStringLiteral("UPDATE tReportedTasks SET Approved = 1, TotalCost = 12.5 WHERE ID = 9"));
    EXPECT_EQ(ApproveQuestion(QStringLiteral("41"), QStringLiteral("  Draft review  ")),
              QStringLiteral("Continue approval for timesheet #41 'Draft review'?"));
    EXPECT_EQ(
        DeclineQuestion(QStringLiteral("41"), QStringLiteral("Draft review ")),
        QStringLiteral("Continue decline of timesheet #41 'Draft review'?\nNOTE: If yes, this timesheet "
                       "will be deleted from the database"));
    // Only the exact "task" is a task.
    EXPECT_EQ(ReviewTableFor(QStringLiteral("task")), QStringLiteral("tReportedTasks"));
    EXPECT_EQ(ReviewTableFor(QStringLiteral("Task")), QStringLiteral("tReportedAppointments"));
}

// ---- against the engines, on generated rows --------------------------------------------------

class ReviewEngineTest : public ReviewDbTest {
  protected:
    void SetUp() override {
        ReviewDbTest::SetUp();
        id = SharedUnapprovedId();
        ASSERT_FALSE(id.isEmpty());
    }
    QVector<ReviewItem> Load(const ReviewFilter& f) {
        QVector<ReviewItem> items;
        const qint32 choice = IsSqlite() ? 0 : 1;
        if (WantsTasks(f.typesIndex)) {
            auto rs = GetDBRecordset(ReviewQueryFor(f, choice, QStringLiteral("tReportedTasks")));
            LoadRecordsetToCollection(rs.get(), false, items);
        }
        if (WantsAppointments(f.typesIndex)) {
            auto rs = GetDBRecordset(ReviewQueryFor(f, choice, QStringLiteral("tReportedAppointments")));
            LoadRecordsetToCollection(rs.get(), true, items);
        }
        return items;
    }
    ReviewRowTexts Row(const QString& type) {
        auto rs = Open(QStringLiteral("SELECT Subject, ProjectValue, ActivityValue FROM ") +
                       ReviewTableFor(type) + QStringLiteral(" WHERE ID = ") + id);
        return {type,
                id,
                rs->Fields(QStringLiteral("Subject")).Value().toString(),
                {rs->Fields(QStringLiteral("ProjectValue")).Value().toString(),
                 rs->Fields(QStringLiteral("ActivityValue")).Value().toString(), QStringLiteral("12.5")}};
    }
    int Rows(const QString& table, const QString& where) {
        return CountWhere(table, where + QStringLiteral(" AND ID = ") + id);
    }
    QString id;  // a row in both tables, unapproved in both
};

TEST_P(ReviewEngineTest, FiltersLoadTheUnapprovedRowsTasksFirst) {
    ReviewFilter f;  // all, both kinds
    QVector<ReviewItem> all = Load(f);
    const int tasks = CountWhere(QStringLiteral("tReportedTasks"), QStringLiteral("Approved = 0"));
    ASSERT_EQ(all.size(),
              tasks + CountWhere(QStringLiteral("tReportedAppointments"), QStringLiteral("Approved = 0")));
    // Tasks first, then appointments, each in the database's own order.
    QStringList taskIds, apptIds;
    for (int i = 0; i < all.size(); ++i) {
        EXPECT_EQ(all[i].appointment, i >= tasks) << i;
        (all[i].appointment ? apptIds : taskIds).append(all[i].ID);
    }
    EXPECT_EQ(taskIds, Column(QStringLiteral("SELECT ID FROM tReportedTasks WHERE Approved = 0")));
    EXPECT_EQ(apptIds, Column(QStringLiteral("SELECT ID FROM tReportedAppointments WHERE Approved = 0")));
    // The tables number their rows independently; each row keeps a key of its own.
    QSet<QString> keys;
    for (const ReviewItem& it : all)
        keys.insert(it.Key());
    EXPECT_EQ(keys.size(), all.size());

    // By project on tasks only (the count holds no appointment), by its manager on appointments.
    const QString project = all.first().ProjectValue;
    f.filterIndex = 1;
    f.value = project;
    f.typesIndex = 0;
    EXPECT_EQ(Load(f).size(),
              CountWhere(QStringLiteral("tReportedTasks"),
                         QStringLiteral("Approved = 0 AND ProjectValue = '") + project + u'\''));

    // The value lists offer the names as the rows store them.
    const QString manager = global->Projects.Items.Find(project)->ProjectManager;
    const QStringList names = ReviewValueEntries(*global, 2);
    EXPECT_EQ(names, ReviewValueEntries(*global, 3));
    EXPECT_TRUE(names.contains(manager));
    f.filterIndex = 2;
    f.value = manager;
    f.typesIndex = 1;
    QStringList managed;
    for (const auto& e : global->Projects.Items)
        if (e.item.ProjectManager.compare(manager, Qt::CaseInsensitive) == 0)
            managed.append(e.key);
    int expected = 0;
    for (const ReviewItem& it : all)
        expected += it.appointment && managed.contains(it.ProjectValue) ? 1 : 0;
    EXPECT_GT(expected, 0);
    EXPECT_EQ(Load(f).size(), expected);
}

TEST_P(ReviewEngineTest, OneDayEndsAtTheLastMinuteOnlyInTheFileForm) {
    const QString who = QStringLiteral("Date Tester");
    const QStringList times{"2026-03-07 00:00:00", "2026-03-07 12:00:00", "2026-03-07 23:59:30",
                            "2026-03-08 10:00:00", "2026-03-08 23:59:30", "2026-03-09 00:00:00"};
    for (const QString& when : times)
        Exec(QStringLiteral("INSERT INTO tReportedTasks (Subject, ReportedBy, ReportedDate, Approved) "
                            "VALUES (?, ?, ?, 0)"),
             {when, who, QDateTime::fromString(when, Qt::ISODate)});
    ReviewFilter f;
    f.filterIndex = 3;
    f.value = who;
    f.typesIndex = 0;
    f.queryByDate = true;
    f.start = QDate(2026, 3, 7);
    f.end = QDate(2026, 3, 8);
    const auto subjects = [&] {
        QStringList out;
        for (const ReviewItem& it : Load(f))
            out.append(it.Subject);
        out.sort();
        return out;
    };
    // The server compares whole days; the file form stops at 23:59:00.
    EXPECT_EQ(subjects(), times.mid(0, IsSqlite() ? 2 : 3));
    f.between = true;
    EXPECT_EQ(subjects(), times.mid(0, IsSqlite() ? 4 : 5));
}

TEST_P(ReviewEngineTest, ApprovalWritesTheRowAndTheSendersMailNobody) {
    ReviewRowTexts row = Row(QStringLiteral("task"));
    row.cells.project = global->Projects.Items.Keys().value(1);
    row.cells.activity = QStringLiteral("Changed in review");
    prompter.queue(PromptAnswer::Yes);
    EXPECT_TRUE(ReviewButtonClicked(ReviewButton::Approve, row, {true, true}));
    EXPECT_EQ(PromptTexts(), QStringList{ApproveQuestion(id, row.subject)});
    auto rs = Open(QStringLiteral("SELECT * FROM tReportedTasks WHERE ID = ") + id);
    EXPECT_EQ(rs->Fields(QStringLiteral("Approved")).Value().toInt(), 1);
    EXPECT_EQ(rs->Fields(QStringLiteral("ProjectValue")).Value().toString(), row.cells.project);
    EXPECT_EQ(rs->Fields(QStringLiteral("ActivityValue")).Value().toString(), row.cells.activity);
    EXPECT_EQ(rs->Fields(QStringLiteral("TotalCost")).Value().value<Money>(), Money::fromUnits(125000));
    EXPECT_EQ(Rows(QStringLiteral("tReportedAppointments"), QStringLiteral("Approved = 0")), 1);
    // The sender got the open recordset, not a record: no mail, nothing at the server.
    EXPECT_TRUE(transport->mails.isEmpty());
    EXPECT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();

    // The same sender with a record of that row would have written to the reporter.
    cTaskData task;
    task.FromRecordset(*rs);
    SendEmailNotificationToMemberWhenApproved(task, QStringLiteral("task"));
    ASSERT_EQ(transport->mails.size(), 1);
}

TEST_P(ReviewEngineTest, DeclineDeletesOnlyWithTheAuditSwitchAndAfterYes) {
    const QString tasks = QStringLiteral("tReportedTasks"), appts = QStringLiteral("tReportedAppointments");
    const ReviewRowTexts task = Row(QStringLiteral("task"));
    // Switch off: no question, no statement.
    global->GeneralSettings.SetValue(QStringLiteral("tpoAuditRemoveDeclinedDataFromDB"), 0);
    prompter.queue(PromptAnswer::Yes);
    EXPECT_FALSE(ReviewButtonClicked(ReviewButton::Decline, task, {}));
    EXPECT_TRUE(PromptTexts().isEmpty());
    EXPECT_EQ(Rows(tasks, QStringLiteral("1 = 1")), 1);

    prompter.clear();
    // No, on either button, changes nothing in either table.
    global->GeneralSettings.SetValue(QStringLiteral("tpoAuditRemoveDeclinedDataFromDB"), 1);
    const QString snapshot =
        QStringLiteral("SELECT ID, Approved, ProjectValue, TotalCost FROM %1 ORDER BY ID");
    const QStringList before = Column(snapshot.arg(tasks)) + Column(snapshot.arg(appts));
    prompter.queue(PromptAnswer::No);
    EXPECT_FALSE(
        ReviewButtonClicked(ReviewButton::Approve, Row(QStringLiteral("appointment")), {true, true}));
    prompter.queue(PromptAnswer::No);
    EXPECT_FALSE(ReviewButtonClicked(ReviewButton::Decline, task, {}));
    EXPECT_EQ(Column(snapshot.arg(tasks)) + Column(snapshot.arg(appts)), before);

    prompter.clear();
    prompter.queue(PromptAnswer::Yes);
    EXPECT_TRUE(ReviewButtonClicked(ReviewButton::Decline, task, {}));
    EXPECT_EQ(PromptTexts(), QStringList{DeclineQuestion(id, task.subject)});
    // Gone from its own table only: the appointment of the same ID stays.
    EXPECT_EQ(Rows(tasks, QStringLiteral("1 = 1")), 0);
    EXPECT_EQ(Rows(appts, QStringLiteral("Approved = 0")), 1);
    EXPECT_TRUE(transport->mails.isEmpty());
    EXPECT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();

    // A second decline of the same row deletes nothing and fails nothing.
    bool ok = false;
    DeleteDBItem(id, QStringLiteral("task"), ok);
    EXPECT_TRUE(ok);
    EXPECT_EQ(Rows(appts, QStringLiteral("1 = 1")), 1);
}

TEST_P(ReviewEngineTest, AnApostropheIsTheReportedDatabaseErrorAndTheRowStays) {
    ReviewRowTexts row = Row(QStringLiteral("appointment"));
    row.cells.project = QStringLiteral("O'Brien's Kitchen");
    prompter.queue(PromptAnswer::Yes);
    EXPECT_FALSE(ReviewButtonClicked(ReviewButton::Approve, row, {true, false}));
    ASSERT_EQ(presenter.reports.size(), 1);
    EXPECT_TRUE(presenter.reports[0].contains(QStringLiteral("In Function: AuditManager.ApproveDBItem")))
        << FirstReport().toStdString();
    EXPECT_EQ(Rows(QStringLiteral("tReportedAppointments"), QStringLiteral("Approved = 0")), 1);
}

INSTANTIATE_TEST_SUITE_P(Engines, ReviewEngineTest, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace tlm::test
