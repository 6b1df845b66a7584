#include <gtest/gtest.h>

#include <QSet>

#include "core/process_state.h"
#include "database/connection.h"
#include "notifications/senders.h"
#include "reported/task_data.h"
#include "review/review_fixture.h"
#include "review/review_queue.h"
#include "support/smtp_sink.h"

namespace tlm::test {
namespace {

// ---- the query text, typed from the documented forms ------------------------------------------

TEST(ReviewQuery, FilterKindsItemTypesAndDateModesInBothForms) {
    ReviewFilter f;
    f.start = QDate(2026, 3, 7);
    f.end = QDate(2026, 11, 23);
    // With the date filter off the dates change nothing, and "All" adds no clause.
    EXPECT_EQ(GetSQL(f, 0), QStringLiteral("Select * from TABLENAME where Approved = 0"));
    EXPECT_EQ(GetSQL(f, 1), QStringLiteral("Select * from TABLENAME where Approved = 0"));

    f.filterIndex = 1;
    f.value = QStringLiteral("Apollo");
    EXPECT_EQ(GetSQL(f, 0),
              QStringLiteral("Select * from TABLENAME where ProjectValue = 'Apollo' and Approved = 0"));
    f.filterIndex = 2;
    f.value = QStringLiteral("kim lee");
    EXPECT_EQ(
        GetSQL(f, 1),
        QStringLiteral("Select * from TABLENAME where ProjectValue in (Select ProjectName from tProjects "
                       "where ProjectManager='kim lee') and Approved = 0"));
    f.filterIndex = 3;
    f.value = QStringLiteral("ann");
    EXPECT_EQ(GetSQL(f, 0),
              QStringLiteral("Select * from TABLENAME where ReportedBy = 'ann' and Approved = 0"));

    f.queryByDate = true;
    f.between = false;
    EXPECT_EQ(GetSQL(f, 0),
              QStringLiteral("Select * from TABLENAME where ReportedBy = 'ann' and Approved = 0 and "
                             "(ReportedDate between #2026-3-7 00:00:00# and  #2026-3-7 23:59:00#)"));
    EXPECT_EQ(GetSQL(f, 1),
              QStringLiteral("Select * from TABLENAME where ReportedBy = 'ann' and Approved = 0 and "
                             "cast(CONVERT(varchar(8), ReportedDate, 112) AS datetime) = '2026-3-7'"));
    f.between = true;
    EXPECT_EQ(GetSQL(f, 0),
              QStringLiteral("Select * from TABLENAME where ReportedBy = 'ann' and Approved = 0 and "
                             "(ReportedDate between #2026-3-7 00:00:00# and  #2026-11-23 23:59:00#)"));
    EXPECT_EQ(GetSQL(f, 3),
              QStringLiteral("Select * from TABLENAME where ReportedBy = 'ann' and Approved = 0 and "
                             "(cast(CONVERT(varchar(8), ReportedDate, 112) AS datetime) >= '2026-3-7' and "
                             "cast(CONVERT(varchar(8), ReportedDate, 112) AS datetime) <= '2026-11-23')"));
    // Which tables each item type reads is checked on the loaded rows below.
}

TEST(ReviewActions, StatementsQuestionsAndTables) {
    const ApproveCells cells{QStringLiteral("Apollo"), QStringLiteral("Design"), QStringLiteral("12.5")};
    EXPECT_EQ(ApproveStatement(QStringLiteral("tReportedTasks"), QStringLiteral("7"), cells, {false, false}),
              QStringLiteral("UPDATE tReportedTasks SET Approved = 1 WHERE ID = 7"));
    EXPECT_EQ(
        ApproveStatement(QStringLiteral("tReportedAppointments"), QStringLiteral("7"), cells, {true, true}),
        QStringLiteral("UPDATE tReportedAppointments SET Approved = 1, ProjectValue = 'Apollo', "
                       "ActivityValue = 'Design', TotalCost = 12.5 WHERE ID = 7"));
    EXPECT_EQ(ApproveStatement(QStringLiteral("tReportedTasks"), QStringLiteral("9"), cells, {false, true}),
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
    EXPECT_EQ(ReviewTableFor(QStringLiteral("appointment")), QStringLiteral("tReportedAppointments"));
}

// ---- against the engines, on generated rows --------------------------------------------------

class ReviewEngineTest : public ReviewDbTest {
  protected:
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
    ReviewRowTexts Row(const QString& type, const QString& id) {
        const QString table = ReviewTableFor(type);
        auto rs = Open(QStringLiteral("SELECT Subject, ProjectValue, ActivityValue FROM ") + table +
                       QStringLiteral(" WHERE ID = ") + id);
        ReviewRowTexts r;
        r.type = type;
        r.id = id;
        r.subject = rs->Fields(QStringLiteral("Subject")).Value().toString();
        r.cells.project = rs->Fields(QStringLiteral("ProjectValue")).Value().toString();
        r.cells.activity = rs->Fields(QStringLiteral("ActivityValue")).Value().toString();
        r.cells.cost = QStringLiteral("12.5");
        return r;
    }
    QString Reporter(const QString& table, const QString& id) {
        return Texts(QStringLiteral("SELECT ReportedBy FROM ") + table + QStringLiteral(" WHERE ID = ") + id)
            .value(0);
    }
    QString EmailOf(const QString& member) {
        const cMember* m = global->Members.Items.Find(member.toLower());
        return m ? m->Email : QString();
    }
};

TEST_P(ReviewEngineTest, FiltersLoadTheUnapprovedRowsTasksFirst) {
    ReviewFilter f;  // all, both kinds
    QVector<ReviewItem> all = Load(f);
    const int tasks = CountWhere(QStringLiteral("tReportedTasks"), QStringLiteral("Approved = 0"));
    const int appts = CountWhere(QStringLiteral("tReportedAppointments"), QStringLiteral("Approved = 0"));
    ASSERT_GT(tasks, 0);
    ASSERT_GT(appts, 0);
    ASSERT_EQ(all.size(), tasks + appts);
    // Tasks first, then appointments, each in the database's own order.
    QStringList taskIds, apptIds;
    for (int i = 0; i < all.size(); ++i) {
        EXPECT_EQ(all[i].appointment, i >= tasks) << i;
        (all[i].appointment ? apptIds : taskIds).append(all[i].ID);
    }
    EXPECT_EQ(taskIds, Texts(QStringLiteral("SELECT ID FROM tReportedTasks WHERE Approved = 0")));
    EXPECT_EQ(apptIds, Texts(QStringLiteral("SELECT ID FROM tReportedAppointments WHERE Approved = 0")));
    // The tables number their rows independently; each row keeps a key of its own.
    QSet<QString> keys;
    for (const ReviewItem& it : all)
        keys.insert(it.Key());
    EXPECT_EQ(keys.size(), all.size());
    EXPECT_FALSE(SharedUnapprovedId().isEmpty());

    // By project, by the project's manager, by member; one kind at a time.
    const QString project = all.first().ProjectValue;
    f.filterIndex = 1;
    f.value = project;
    f.typesIndex = 0;
    const QVector<ReviewItem> byProject = Load(f);
    EXPECT_EQ(byProject.size(),
              CountWhere(QStringLiteral("tReportedTasks"),
                         QStringLiteral("Approved = 0 AND ProjectValue = '") + project + u'\''));
    for (const ReviewItem& it : byProject)
        EXPECT_TRUE(!it.appointment && it.ProjectValue == project);

    const QString manager = global->Projects.Items.Find(project)->ProjectManager;
    // The value lists offer the names as the rows store them.
    const QStringList names = ReviewValueEntries(*global, 2);
    EXPECT_EQ(names, ReviewValueEntries(*global, 3));
    EXPECT_EQ(names.size(), global->Members.Items.Count());
    EXPECT_TRUE(names.contains(manager));
    EXPECT_TRUE(names.contains(all.last().ReportedBy));
    f.filterIndex = 2;
    f.value = manager;
    f.typesIndex = 1;
    const QVector<ReviewItem> byManager = Load(f);
    QStringList managed;
    for (const auto& e : global->Projects.Items)
        if (e.item.ProjectManager.compare(manager, Qt::CaseInsensitive) == 0)
            managed.append(e.key);
    int expected = 0;
    for (const ReviewItem& it : all)
        expected += it.appointment && managed.contains(it.ProjectValue) ? 1 : 0;
    EXPECT_EQ(byManager.size(), expected);
    EXPECT_GT(expected, 0);

    const QString member = all.last().ReportedBy;
    f.filterIndex = 3;
    f.value = member;
    f.typesIndex = 2;
    const QVector<ReviewItem> byMember = Load(f);
    expected = 0;
    for (const ReviewItem& it : all)
        expected += it.ReportedBy == member ? 1 : 0;
    EXPECT_EQ(byMember.size(), expected);

    // A manager without projects gets no rows and no message.
    f.filterIndex = 2;
    f.value = QStringLiteral("nobody at all");
    EXPECT_TRUE(Load(f).isEmpty());
    EXPECT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
}

TEST_P(ReviewEngineTest, OneDayEndsAtTheLastMinuteOnlyInTheFileForm) {
    const QString who = QStringLiteral("Date Tester");
    for (const char* when : {"2026-03-07 00:00:00", "2026-03-07 12:00:00", "2026-03-07 23:59:30",
                             "2026-03-08 10:00:00", "2026-03-08 23:59:30", "2026-03-09 00:00:00"})
        Exec(QStringLiteral("INSERT INTO tReportedTasks (Subject, ReportedBy, ReportedDate, Approved) "
                            "VALUES (?, ?, ?, 0)"),
             {QString::fromLatin1(when), who, QDateTime::fromString(QString::fromLatin1(when), Qt::ISODate)});
    ReviewFilter f;
    f.filterIndex = 3;
    f.value = who;
    f.typesIndex = 0;
    f.queryByDate = true;
    f.start = QDate(2026, 3, 7);
    f.end = QDate(2026, 3, 8);
    QStringList subjects;
    for (const ReviewItem& it : Load(f))
        subjects.append(it.Subject);
    subjects.sort();
    // The server compares whole days; the file form stops at 23:59:00.
    if (IsSqlite())
        EXPECT_EQ(subjects, (QStringList{"2026-03-07 00:00:00", "2026-03-07 12:00:00"}));
    else
        EXPECT_EQ(subjects,
                  (QStringList{"2026-03-07 00:00:00", "2026-03-07 12:00:00", "2026-03-07 23:59:30"}));
    f.between = true;
    subjects.clear();
    for (const ReviewItem& it : Load(f))
        subjects.append(it.Subject);
    subjects.sort();
    QStringList expected{"2026-03-07 00:00:00", "2026-03-07 12:00:00", "2026-03-07 23:59:30",
                         "2026-03-08 10:00:00"};
    if (!IsSqlite())
        expected.append(QStringLiteral("2026-03-08 23:59:30"));
    EXPECT_EQ(subjects, expected);
}

TEST_P(ReviewEngineTest, ApprovalWritesTheRowAndTheSendersMailNobody) {
    const QString id = FirstUnapprovedId(QStringLiteral("tReportedTasks"));
    const QString reporter = Reporter(QStringLiteral("tReportedTasks"), id);
    const QString address = EmailOf(reporter);
    ASSERT_FALSE(address.isEmpty()) << reporter.toStdString();
    const int approvedBefore = CountWhere(QStringLiteral("tReportedTasks"), QStringLiteral("Approved = 1"));
    ReviewRowTexts row = Row(QStringLiteral("task"), id);
    row.cells.project = global->Projects.Items.Keys().value(1);
    row.cells.activity = QStringLiteral("Changed in review");

    prompter.queue(PromptAnswer::Yes);
    EXPECT_TRUE(ReviewButtonClicked(ReviewButton::Approve, row, {true, true}));
    ASSERT_EQ(PromptTexts().size(), 1);
    EXPECT_EQ(PromptTexts()[0], QStringLiteral("Continue approval for timesheet #") + id +
                                    QStringLiteral(" '") + row.subject.trimmed() + QStringLiteral("'?"));
    EXPECT_EQ(prompter.shown()[0].title, QStringLiteral("Tally Loom Manager Process"));
    auto rs = Open(QStringLiteral("SELECT * FROM tReportedTasks WHERE ID = ") + id);
    EXPECT_EQ(rs->Fields(QStringLiteral("Approved")).Value().toInt(), 1);
    EXPECT_EQ(rs->Fields(QStringLiteral("ProjectValue")).Value().toString(), row.cells.project);
    EXPECT_EQ(rs->Fields(QStringLiteral("ActivityValue")).Value().toString(),
              QStringLiteral("Changed in review"));
    EXPECT_EQ(rs->Fields(QStringLiteral("TotalCost")).Value().value<Money>(), Money::fromUnits(125000));
    EXPECT_TRUE(rs->Fields(QStringLiteral("ApprovedBy")).Value().toString().isEmpty());
    EXPECT_EQ(CountWhere(QStringLiteral("tReportedTasks"), QStringLiteral("Approved = 1")),
              approvedBefore + 1);
    // The sender got the open recordset, not a record: no mail, nothing at the server.
    EXPECT_TRUE(transport->mails.isEmpty());
    EXPECT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();

    // The same sender with a record of that row would have written to the reporter.
    cTaskData task;
    task.FromRecordset(*rs);
    SendEmailNotificationToMemberWhenApproved(task, QStringLiteral("task"));
    ASSERT_EQ(transport->mails.size(), 1);
    EXPECT_EQ(transport->mails[0].to, address);
    if (HasSink()) {
        ASSERT_TRUE(transport->results[0].sent()) << transport->results[0].reason.toStdString();
        EXPECT_FALSE(SinkMail(transport->results[0].messageId).isEmpty());
    }
}

TEST_P(ReviewEngineTest, DeclineDeletesOnlyWithTheAuditSwitchAndAfterTheNotice) {
    const QString id = SharedUnapprovedId();
    ASSERT_FALSE(id.isEmpty());
    const ReviewRowTexts task = Row(QStringLiteral("task"), id);
    // Switch off: no question, no statement.
    global->GeneralSettings.SetValue(QStringLiteral("tpoAuditRemoveDeclinedDataFromDB"), 0);
    prompter.queue(PromptAnswer::Yes);
    EXPECT_FALSE(ReviewButtonClicked(ReviewButton::Decline, task, {}));
    EXPECT_TRUE(PromptTexts().isEmpty());
    EXPECT_EQ(CountWhere(QStringLiteral("tReportedTasks"), QStringLiteral("ID = ") + id), 1);
    prompter.clear();

    global->GeneralSettings.SetValue(QStringLiteral("tpoAuditRemoveDeclinedDataFromDB"), 1);
    prompter.queue(PromptAnswer::Yes);
    EXPECT_TRUE(ReviewButtonClicked(ReviewButton::Decline, task, {}));
    ASSERT_EQ(PromptTexts().size(), 1);
    EXPECT_EQ(PromptTexts()[0],
              QStringLiteral("Continue decline of timesheet #") + id + QStringLiteral(" '") +
                  task.subject.trimmed() +
                  QStringLiteral("'?\nNOTE: If yes, this timesheet will be deleted from the database"));
    // Gone from its own table only: the appointment of the same ID stays.
    EXPECT_EQ(CountWhere(QStringLiteral("tReportedTasks"), QStringLiteral("ID = ") + id), 0);
    EXPECT_EQ(CountWhere(QStringLiteral("tReportedAppointments"), QStringLiteral("ID = ") + id), 1);
    EXPECT_TRUE(transport->mails.isEmpty());
    EXPECT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();

    // A second decline of the same row deletes nothing and fails nothing.
    bool ok = false;
    DeleteDBItem(id, QStringLiteral("task"), ok);
    EXPECT_TRUE(ok);
    EXPECT_EQ(CountWhere(QStringLiteral("tReportedAppointments"), QStringLiteral("ID = ") + id), 1);
}

TEST_P(ReviewEngineTest, NoChangesNothingAndEachKindActsOnItsOwnTable) {
    const QString id = SharedUnapprovedId();
    ASSERT_FALSE(id.isEmpty());
    global->GeneralSettings.SetValue(QStringLiteral("tpoAuditRemoveDeclinedDataFromDB"), 1);
    const QString snapshot = QStringLiteral(
        "SELECT ID, Approved, ProjectValue, ActivityValue, TotalCost FROM tReportedTasks ORDER BY ID");
    const QString snapshotA =
        QString(snapshot).replace(QStringLiteral("tReportedTasks"), QStringLiteral("tReportedAppointments"));
    const QStringList before = Texts(snapshot) + Texts(snapshotA);
    ReviewRowTexts appt = Row(QStringLiteral("appointment"), id);
    prompter.queue(PromptAnswer::No);
    EXPECT_FALSE(ReviewButtonClicked(ReviewButton::Approve, appt, {true, true}));
    prompter.queue(PromptAnswer::No);
    EXPECT_FALSE(ReviewButtonClicked(ReviewButton::Decline, appt, {}));
    EXPECT_EQ(PromptTexts().size(), 2);
    EXPECT_EQ(Texts(snapshot) + Texts(snapshotA), before);

    // Approving the appointment leaves the task of the same ID unapproved.
    prompter.queue(PromptAnswer::Yes);
    EXPECT_TRUE(ReviewButtonClicked(ReviewButton::Approve, appt, {}));
    EXPECT_EQ(
        CountWhere(QStringLiteral("tReportedAppointments"), QStringLiteral("Approved = 1 AND ID = ") + id),
        1);
    EXPECT_EQ(CountWhere(QStringLiteral("tReportedTasks"), QStringLiteral("Approved = 0 AND ID = ") + id), 1);
}

TEST_P(ReviewEngineTest, AnApostropheIsTheReportedDatabaseErrorAndTheRowStays) {
    const QString id = FirstUnapprovedId(QStringLiteral("tReportedAppointments"));
    ReviewRowTexts row = Row(QStringLiteral("appointment"), id);
    row.cells.project = QStringLiteral("O'Brien's Kitchen");
    prompter.queue(PromptAnswer::Yes);
    EXPECT_FALSE(ReviewButtonClicked(ReviewButton::Approve, row, {true, false}));
    ASSERT_EQ(presenter.reports.size(), 1);
    EXPECT_TRUE(presenter.reports[0].contains(QStringLiteral("In Function: AuditManager.ApproveDBItem")))
        << FirstReport().toStdString();
    EXPECT_EQ(
        CountWhere(QStringLiteral("tReportedAppointments"), QStringLiteral("Approved = 0 AND ID = ") + id),
        1);

    // A filter value with a quote breaks the query the same way: no rows.
    ReviewFilter f;
    f.filterIndex = 3;
    f.value = QStringLiteral("o'brien");
    EXPECT_TRUE(Load(f).isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Engines, ReviewEngineTest, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace tlm::test
