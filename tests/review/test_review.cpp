#include <gtest/gtest.h>

#include <QJsonObject>
#include <QSet>
#include <algorithm>
#include <functional>

#include "core/process_state.h"
#include "database/connection.h"
#include "database/link.h"
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

class ReviewEngineTest : public ReviewRowsTest {
  protected:
    // The rows as the window reads them.
    QVector<ReviewItem> Load(const ReviewFilter& f) {
        QVector<ReviewItem> items;
        const qint32 choice = IsSqlite() ? 0 : 1;
        for (const bool appointments : {false, true}) {
            if (appointments ? !WantsAppointments(f.typesIndex) : !WantsTasks(f.typesIndex))
                continue;
            const QString table =
                appointments ? QStringLiteral("tReportedAppointments") : QStringLiteral("tReportedTasks");
            Failure failure;
            EXPECT_EQ(int(ReadReviewRows(ReviewQueryFor(f, choice, table), appointments, items, &failure)),
                      int(ReviewReadEnd::Done))
                << failure.description.toStdString();
        }
        return items;
    }
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

// The window reads only the columns it shows, one row at a time; every value comes out as the full
// record reads it, for every kind of filter, with NULLs, text beyond ASCII and four-decimal costs.
TEST_P(ReviewEngineTest, TheNarrowReadGivesTheRecordsValuesForEveryFilter) {
    const QString who = QStringLiteral("Zo\u00eb \u00dcnal");
    const QString project = global->Projects.Items.Keys().value(0);
    const QString insert = QStringLiteral(
        "INSERT INTO %1 (Subject, ProjectValue, ActivityValue, ReportedBy, ReportedDate, "
        "TotalCost, Approved) VALUES (?, ?, ?, ?, ?, ?, 0)");
    const QVariant nullText(QMetaType::fromType<QString>());
    const QVariant nullDate(QMetaType::fromType<QDateTime>());
    const QVariant nullNumber(QMetaType::fromType<double>());
    for (const char* table : {"tReportedTasks", "tReportedAppointments"}) {
        const QString sql = insert.arg(QLatin1String(table));
        ASSERT_EQ(Exec(sql, {nullText, nullText, QString(), who, nullDate, nullNumber}), 1);
        ASSERT_EQ(
            Exec(sql, {QStringLiteral("Caf\u00e9 \u2013 review"), project, QStringLiteral("R\u00e9vision"),
                       who, QDateTime(QDate(2026, 3, 29), QTime(2, 30)), 12.3456}),
            1);
        ASSERT_EQ(Exec(sql, {QStringLiteral("plain"), project, QStringLiteral("Design"), who,
                             QDateTime(QDate(2026, 11, 23), QTime(23, 59, 59)), -0.5}),
                  1);
    }
    if (IsSqlite()) {
        // A file written by another program may hold any text where a date belongs.
        ASSERT_EQ(Exec(insert.arg(QStringLiteral("tReportedTasks")),
                       {QStringLiteral("odd date"), project, QStringLiteral("Design"), who,
                        QStringLiteral("next Tuesday"), QStringLiteral("7.25")}),
                  1);
    }
    const QString manager = global->Projects.Items.Find(project)->ProjectManager;
    const struct {
        const char* what;
        int filterIndex;
        QString value;
        int types;
        bool byDate;
        int expectedAtLeast;
    } cases[] = {
        {"all, both kinds", 0, QString(), 2, false, 200},
        {"by project, tasks", 1, project, 0, false, 2},
        {"by manager, appointments", 2, manager, 1, false, 2},
        {"by a member beyond ASCII, both kinds", 3, who, 2, false, IsSqlite() ? 7 : 6},
        {"all, both kinds, reported between", 0, QString(), 2, true, 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        ReviewFilter f;
        f.filterIndex = c.filterIndex;
        f.value = c.value;
        f.typesIndex = c.types;
        f.queryByDate = c.byDate;
        f.between = true;
        f.start = QDate(2026, 3, 1);
        f.end = QDate(2026, 11, 23);
        const QVector<ReviewItem> records = RecordRows(f);
        EXPECT_GE(int(records.size()), c.expectedAtLeast);
        ExpectSameRows(Load(f), records);
    }
    EXPECT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
}

// A database of an older build may lack a column the grid shows: the narrowed statement fails, the
// whole row is read instead and the missing cell stays empty.
TEST_P(ReviewEngineTest, ATableWithoutAShownColumnStillLoadsEveryRow) {
    ReviewFilter f;
    f.typesIndex = 1;
    const QVector<ReviewItem> before = Load(f);
    ASSERT_FALSE(before.isEmpty());
    ASSERT_GE(
        Exec(QStringLiteral("ALTER TABLE tReportedAppointments RENAME COLUMN ActivityValue TO Activity0")),
        0);
    const QVector<ReviewItem> after = Load(f);
    QVector<ReviewItem> expected = before;
    for (ReviewItem& it : expected)
        it.ActivityValue.clear();
    ExpectSameRows(after, expected);
    const ReviewQueueRead queue = ReadReviewQueue(f, IsSqlite() ? 0 : 1);
    EXPECT_TRUE(queue.outcome.done());
    EXPECT_EQ(queue.items.size(), before.size());
    EXPECT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
}

// A statement the engine refuses reads nothing and says why, under the label the user has always
// seen; so does a read without a connection.
TEST_P(ReviewEngineTest, AFailedReadSaysWhyAndKeepsNothing) {
    ReviewFilter bad;
    bad.filterIndex = 1;
    bad.value = QStringLiteral("it's");
    const qint32 choice = IsSqlite() ? 0 : 1;
    QVector<ReviewItem> items;
    Failure failure;
    EXPECT_EQ(int(ReadReviewRows(ReviewQueryFor(bad, choice, QStringLiteral("tReportedTasks")), false, items,
                                 &failure)),
              int(ReviewReadEnd::NotOpened));
    EXPECT_TRUE(items.isEmpty());
    EXPECT_EQ(failure.label, QStringLiteral("DB.GetRecordset"));
    EXPECT_TRUE(failure.description.contains(IsSqlite() ? QStringLiteral("unrecognized token")
                                                        : QStringLiteral("unterminated quoted string")))
        << failure.description.toStdString();

    const std::shared_ptr<Connection> open = CurrentConnection();
    SetCurrentConnection(nullptr);
    failure = Failure();
    EXPECT_EQ(int(ReadReviewRows(ReviewQueryFor(ReviewFilter(), choice, QStringLiteral("tReportedTasks")),
                                 false, items, &failure)),
              int(ReviewReadEnd::NotOpened));
    SetCurrentConnection(open);
    EXPECT_TRUE(items.isEmpty());
    EXPECT_EQ(failure.label, QStringLiteral("Search.LoadRecordsetToCollection"));
    EXPECT_EQ(failure.number, 91);
    EXPECT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
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

// The steps the screen and the command line share answer what came of them and neither ask nor tell
// anybody: the screen shows the outcome, the tool prints it.
TEST_P(ReviewEngineTest, StepsAnswerTheirOutcomeAndAskOrTellNobody) {
    using Kind = ReviewOutcome::Kind;
    const QString tasks = QStringLiteral("tReportedTasks"), appts = QStringLiteral("tReportedAppointments");
    const ApproveCells quoted{QStringLiteral("O'Brien's Kitchen"), QStringLiteral("Design"),
                              QStringLiteral("1")};
    const QString unknown = QStringLiteral("999999999");
    const struct {
        const char* what;
        std::function<ReviewOutcome()> step;
        Kind kind;
        const char* label;         // of the failure the outcome carries, if any
        int tasksLeft, apptsLeft;  // unapproved rows of the shared ID afterwards
    } cases[] = {
        {"an apostrophe in the project",
         [&] {
             return ApproveDBItem(id, QStringLiteral("appointment"), quoted, {true, false});
         },
         Kind::Refused, "AuditManager.ApproveDBItem", 1, 1},
        {"a decline of an ID that is no number",
         [&] { return DeleteDBItem(QStringLiteral("1 OR 1=1"), QStringLiteral("task")); }, Kind::Refused,
         "AuditManager.DeleteDBItem", 1, 1},
        {"an ID the queue does not hold",
         [&] { return ApproveQueuedItem(unknown, QStringLiteral("task"), IsSqlite() ? 0 : 1, {}).outcome; },
         Kind::NotQueued, nullptr, 1, 1},
        {"the queued appointment",
         [&] { return ApproveQueuedItem(id, QStringLiteral("appointment"), IsSqlite() ? 0 : 1, {}).outcome; },
         Kind::Done, nullptr, 1, 0},
        {"the same appointment again: no longer queued",
         [&] { return ApproveQueuedItem(id, QStringLiteral("appointment"), IsSqlite() ? 0 : 1, {}).outcome; },
         Kind::NotQueued, nullptr, 1, 0},
        {"a decline of the task", [&] { return DeleteDBItem(id, QStringLiteral("task")); }, Kind::Done,
         nullptr, 0, 0},
        {"the same decline again: nothing left to delete, nothing failed",
         [&] { return DeleteDBItem(id, QStringLiteral("task")); }, Kind::Done, nullptr, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const ReviewOutcome out = c.step();
        EXPECT_EQ(int(out.kind), int(c.kind));
        EXPECT_EQ(out.done(), c.kind == Kind::Done);
        if (c.label) {
            EXPECT_EQ(out.failure.label, QString::fromLatin1(c.label));
            EXPECT_TRUE(out.failure.description.contains(IsSqlite()
                                                             ? QStringLiteral("unrecognized token")
                                                             : QStringLiteral("unterminated quoted string")))
                << out.failure.description.toStdString();
        } else {
            EXPECT_FALSE(out.failure.isSet()) << out.failure.description.toStdString();
        }
        EXPECT_EQ(Rows(tasks, QStringLiteral("Approved = 0")), c.tasksLeft);
        EXPECT_EQ(Rows(appts, QStringLiteral("Approved = 0")), c.apptsLeft);
        EXPECT_TRUE(PromptTexts().isEmpty()) << PromptTexts().join(u'|').toStdString();
        EXPECT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
    }
    // The approval kept the appointment's own values; the senders mailed nobody.
    EXPECT_EQ(Rows(appts, QStringLiteral("Approved = 1")), 1);
    EXPECT_TRUE(transport->mails.isEmpty());
}

// The queue the command line lists and approves from is the screen's, row for row.
TEST_P(ReviewEngineTest, TheQueueReadIsTheScreensRows) {
    const qint32 choice = IsSqlite() ? 0 : 1;
    for (int types : {0, 1, 2}) {
        ReviewFilter f;
        f.typesIndex = types;
        const ReviewQueueRead read = ReadReviewQueue(f, choice);
        ASSERT_TRUE(read.outcome.done()) << types;
        const QVector<ReviewItem> screen = Load(f);
        ASSERT_EQ(read.items.size(), screen.size()) << types;
        for (int i = 0; i < screen.size(); ++i) {
            EXPECT_EQ(read.items[i].Key(), screen[i].Key()) << types << ' ' << i;
            EXPECT_EQ(read.items[i].TotalCost, screen[i].TotalCost) << types << ' ' << i;
        }
        EXPECT_FALSE(read.items.isEmpty()) << types;
    }
    // A table that cannot be read is a failed read, with nothing half-listed and nothing shown.
    ReviewFilter bad;
    bad.filterIndex = 1;
    bad.value = QStringLiteral("it's");
    const ReviewQueueRead refused = ReadReviewQueue(bad, choice);
    EXPECT_EQ(int(refused.outcome.kind), int(ReviewOutcome::Kind::ReadFailed));
    EXPECT_TRUE(refused.items.isEmpty());
    EXPECT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
}

// Several rows go through the one row's step in order; a refusal stops the batch there and a
// cancel leaves the rest as they were.
TEST_P(ReviewEngineTest, BatchOfFiftyGoesRowByRowStopsAtARefusalAndCancels) {
    using Kind = ReviewBatchOutcome::Kind;
    const qint32 choice = IsSqlite() ? 0 : 1;
    const ReviewQueueRead queue = ReadReviewQueue(ReviewFilter(), choice);
    ASSERT_TRUE(queue.outcome.done());
    ASSERT_GE(queue.items.size(), 200);
    const int before = int(queue.items.size());
    const struct {
        const char* what;
        ReviewAction action;
        int cancelAt;  // the progress answers false when this many are done; -1 never
        int refuseAt;  // this row's project holds an apostrophe; -1 none
        Kind kind;
        int done;
    } cases[] = {
        {"fifty approved", ReviewAction::Approve, -1, -1, Kind::Done, 50},
        {"cancelled halfway", ReviewAction::Approve, 25, -1, Kind::Cancelled, 25},
        {"refused at the thirtieth", ReviewAction::Approve, -1, 30, Kind::Refused, 30},
        {"fifty declined", ReviewAction::Decline, -1, -1, Kind::Done, 50},
    };
    int slice = 0;
    int approved = 0, declined = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        QVector<ReviewRowTexts> rows;
        for (int i = slice; i < slice + 50; ++i) {
            const ReviewItem& it = queue.items[i];
            rows.append({it.TypeText(), it.ID, it.Subject, UneditedCells(it)});
        }
        slice += 50;
        if (c.refuseAt >= 0)
            rows[c.refuseAt].cells.project = QStringLiteral("O'Brien's Kitchen");
        QVector<int> calls;
        const ReviewBatchOutcome out =
            ReviewRows(c.action, rows, {c.refuseAt >= 0, false}, QString(), [&](int done, int total) {
                EXPECT_EQ(total, 50);
                calls.append(done);
                return done != c.cancelAt;
            });
        EXPECT_EQ(int(out.kind), int(c.kind));
        EXPECT_EQ(out.done, c.done);
        // Asked once before each row it came to, with the count done so far.
        for (int i = 0; i < std::min(int(calls.size()), c.done + 1); ++i)
            EXPECT_EQ(calls[i], i);
        if (c.kind == Kind::Refused) {
            EXPECT_EQ(out.refusedRow.id, rows[c.refuseAt].id);
            EXPECT_EQ(out.refusal.failure.label, QStringLiteral("AuditManager.ApproveDBItem"));
        } else {
            EXPECT_FALSE(out.refusal.failure.isSet());
        }
        // Exactly the first `done` rows changed, each in its own table only.
        for (int i = 0; i < rows.size(); ++i) {
            const QString where = QStringLiteral("ID = ") + rows[i].id;
            const int unapproved =
                CountWhere(ReviewTableFor(rows[i].type), where + QStringLiteral(" AND Approved = 0"));
            const int present = CountWhere(ReviewTableFor(rows[i].type), where);
            const bool touched = i < c.done;
            if (c.action == ReviewAction::Approve) {
                EXPECT_EQ(unapproved, touched ? 0 : 1) << i;
                EXPECT_EQ(present, 1) << i;
            } else {
                EXPECT_EQ(present, touched ? 0 : 1) << i;
            }
        }
        (c.action == ReviewAction::Approve ? approved : declined) += c.done;
    }
    EXPECT_EQ(int(ReadReviewQueue(ReviewFilter(), choice).items.size()), before - approved - declined);
    // As for one row: the senders get the open recordset and mail nobody; nothing is shown.
    EXPECT_TRUE(transport->mails.isEmpty());
    EXPECT_TRUE(PromptTexts().isEmpty()) << PromptTexts().join(u'|').toStdString();
    EXPECT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
}

// The decline notice carries the manager's reason where its template has the tag, escaped for the
// mail's HTML; the review's own decline hands it on the same way.
TEST_P(ReviewEngineTest, DeclineReasonReachesTheMemberMail) {
    global->MessageTemplates.SetValue(
        QStringLiteral("tpoNotifyMemberWhenDecline"),
        QStringLiteral("<p>Declined because: [TLM_DECLINE_REASON] TLM_SUBJECT</p>"));
    auto rs = Open(QStringLiteral("SELECT * FROM tReportedTasks WHERE ID = ") + id);
    cTaskData task;
    task.FromRecordset(*rs);
    const struct {
        const char* reason;
        const char* shown;
    } cases[] = {
        {"Wrong project & <date>", "[Wrong project &amp; &lt;date&gt;]"},
        {"", "[]"},
        {"first line\nsecond TLM_SUBJECT", "[first line<BR>second TLM_SUBJECT]"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.reason);
        const int sent = int(transport->mails.size());
        SendEmailNotificationToMemberWhenDeclined(task, QStringLiteral("task"), QString::fromUtf8(c.reason));
        ASSERT_EQ(int(transport->mails.size()), sent + 1);
        const QString html = transport->mails.last().html;
        EXPECT_TRUE(html.contains(QString::fromUtf8(c.shown) + u' ' + task.Subject)) << html.toStdString();
        if (!SinkProfile())
            continue;
        ASSERT_EQ(transport->results.last().status, MailSendResult::Status::Sent)
            << transport->results.last().reason.toStdString();
        const QJsonObject arrived = SinkMail(transport->results.last().messageId);
        ASSERT_FALSE(arrived.isEmpty());
        EXPECT_TRUE(arrived.value(QStringLiteral("body")).toString().contains(QString::fromUtf8(c.shown)))
            << arrived.value(QStringLiteral("body")).toString().toStdString();
    }
    // Through the review's decline the reason goes to the same sender, which stops at the open
    // recordset as always: the row goes, no mail.
    const int sent = int(transport->mails.size());
    EXPECT_TRUE(DeleteDBItem(id, QStringLiteral("task"), QStringLiteral("duplicate")).done());
    EXPECT_EQ(Rows(QStringLiteral("tReportedTasks"), QStringLiteral("1 = 1")), 0);
    EXPECT_EQ(int(transport->mails.size()), sent);
}

INSTANTIATE_TEST_SUITE_P(Engines, ReviewEngineTest, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace tlm::test
