#include <gtest/gtest.h>

#include <QApplication>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QMouseEvent>
#include <QProgressDialog>
#include <QPushButton>
#include <QRegularExpression>
#include <QSet>
#include <algorithm>

#include "desktop/item_pictures.h"
#include "reported/task_data.h"
#include "review/review_fixture.h"
#include "review/review_form.h"
#include "review/review_grid_form.h"

namespace tlm::test {
namespace {

using namespace review_col;

// The row of an ID and kind, or -1.
int RowOf(const ReviewGrid& g, const QString& type, const QString& id) {
    for (int r = 0; r < g.rowCount(); ++r)
        if (g.text(r, kType) == type && g.text(r, kID) == id)
            return r;
    return -1;
}

using ReviewFormTest = ReviewDbTest;

// The section's window loads the filtered rows, its row buttons reach the database, and an
// edited project gives the row that project's activities.
TEST_P(ReviewFormTest, FilterOkThenApproveAndDeclineRowsThroughTheWindow) {
    global->GeneralSettings.SetValue(QStringLiteral("tpoAuditEnableProjectActivityEdit"), 1);
    global->GeneralSettings.SetValue(QStringLiteral("tpoAuditRemoveDeclinedDataFromDB"), 1);
    const QString shared = SharedUnapprovedId();
    const int unapproved =
        CountWhere(QStringLiteral("tReportedTasks"), QStringLiteral("Approved = 0")) +
        CountWhere(QStringLiteral("tReportedAppointments"), QStringLiteral("Approved = 0"));
    bool drove = false;
    QString other;
    SetReviewReportsDriver([&](frmReviewReports& form) {
        drove = true;
        ReviewGrid& g = *form.grid();
        form.cboFilter()->setCurrentIndex(0);
        form.cboTypes()->setCurrentIndex(2);
        form.okButton()->click();
        ASSERT_EQ(g.rowCount(), unapproved);
        const int apptRow = RowOf(g, QStringLiteral("appointment"), shared);
        const int taskRow = RowOf(g, QStringLiteral("task"), shared);
        ASSERT_GE(apptRow, 0);
        ASSERT_GE(taskRow, 0);

        for (const QString& p : global->AllTasksProjects.Keys())
            if (p != g.text(apptRow, kProject))
                other = p;
        // Picked in the cell's combo, as the user does: the row takes that project's activities
        // and keeps its activity's text.
        const QString activity = g.text(apptRow, kActivity);
        const QModelIndex cell = g.model()->index(apptRow, kProject);
        g.setCurrentIndex(cell);
        g.edit(cell);
        auto* box = qobject_cast<QComboBox*>(g.indexWidget(cell));
        ASSERT_NE(box, nullptr);
        box->setCurrentIndex(box->findText(other));
        emit box->activated(box->currentIndex());
        EXPECT_EQ(g.text(apptRow, kProject), other);
        EXPECT_EQ(g.text(apptRow, kActivity), activity);
        EXPECT_EQ(g.comboItems(apptRow, kActivity),
                  global->AllTasksProjects.Find(other)->PopulateComboList(true));

        // Approve the appointment: its row goes, the task of the same ID stays until declined.
        prompter.queue(PromptAnswer::Yes);
        emit g.buttonClicked(apptRow, kApprove);
        EXPECT_EQ(g.rowCount(), unapproved - 1);
        ASSERT_EQ(RowOf(g, QStringLiteral("task"), shared), taskRow);
        // A cancelled reason declines nothing; an empty one declines.
        QList<std::optional<QString>> reasons{std::nullopt, QString()};
        form.setDeclineReasonAsker([&] { return reasons.takeFirst(); });
        prompter.queue(PromptAnswer::Yes);
        emit g.buttonClicked(taskRow, kDecline);
        EXPECT_EQ(RowOf(g, QStringLiteral("task"), shared), taskRow);
        prompter.queue(PromptAnswer::Yes);
        emit g.buttonClicked(taskRow, kDecline);
        EXPECT_TRUE(reasons.isEmpty());
        EXPECT_EQ(RowOf(g, QStringLiteral("task"), shared), -1);
        EXPECT_EQ(g.rowCount(), unapproved - 2);
        EXPECT_EQ(form.rowCountLabel()->text(), QStringLiteral("%1 timesheets").arg(unapproved - 2));
    });
    OpenReviewReports(22);
    ASSERT_TRUE(drove);
    EXPECT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
    EXPECT_EQ(
        Column(QStringLiteral("SELECT ProjectValue FROM tReportedAppointments WHERE Approved = 1 AND ID = ") +
               shared),
        QStringList{other});
    EXPECT_EQ(CountWhere(QStringLiteral("tReportedTasks"), QStringLiteral("ID = ") + shared), 0);
}

// After OK the grid holds, row for row, what the full records of the same filter hold; one row
// approved by its button changes that row alone in the database, and the grid keeps the others.
TEST_P(ReviewFormTest, TheGridHoldsTheRecordsRowsAndAnApprovalChangesOnlyItsRow) {
    global->GeneralSettings.SetValue(QStringLiteral("tpoAuditEnableCostEdit"), 1);
    const auto snapshot = [this] {
        QStringList rows;
        for (const char* table : {"tReportedTasks", "tReportedAppointments"})
            for (auto rs = Open(QStringLiteral("SELECT * FROM %1 ORDER BY ID").arg(QLatin1String(table)));
                 !rs->Eof(); rs->MoveNext()) {
                QString row = QLatin1String(table);
                for (int i = 0; i < rs->FieldCount(); ++i) {
                    const QVariant v = rs->Fields(i).Value();
                    row += u'|' + rs->Fields(i).Name() + u'=' +
                           (v.metaType() == QMetaType::fromType<Money>() ? v.value<Money>().toPlainString()
                                                                         : v.toString());
                }
                rows.append(row);
            }
        return rows;
    };
    const QString project = global->Projects.Items.Keys().value(0);
    const struct {
        const char* what;
        int filterIndex;
        QString value;
        int types;
    } cases[] = {
        {"all, both kinds", 0, QString(), 2},
        {"by project, appointments", 1, project, 1},
        {"by manager, tasks", 2, global->Projects.Items.Find(project)->ProjectManager, 0},
    };
    bool drove = false;
    SetReviewReportsDriver([&](frmReviewReports& form) {
        drove = true;
        ReviewGrid& g = *form.grid();
        const ReviewGridModel& m = *g.reviewModel();
        const auto gridRows = [&] {
            QVector<ReviewItem> items;
            for (int r = 0; r < g.rowCount(); ++r)
                items.append(m.item(r));
            return items;
        };
        for (const auto& c : cases) {
            SCOPED_TRACE(c.what);
            form.cboFilter()->setCurrentIndex(c.filterIndex);
            if (c.filterIndex != 0)
                form.cboValue()->setCurrentIndex(form.cboValue()->findText(c.value));
            form.cboTypes()->setCurrentIndex(c.types);
            const ReviewFilter f = form.filter();
            ASSERT_EQ(f.value, c.value);
            form.okButton()->click();
            const QVector<ReviewItem> records = RecordRows(f);
            ASSERT_FALSE(records.isEmpty());
            ExpectSameRows(gridRows(), records);
            EXPECT_EQ(form.rowCountLabel()->text(), QStringLiteral("%1 timesheets").arg(records.size()));
        }

        // The last case's middle row, its cost edited, approved by its button.
        const int row = g.rowCount() / 2;
        const ReviewItem picked = m.item(row);
        ASSERT_TRUE(g.userEdit(row, kCost, QStringLiteral("3.5")));
        const QStringList before = snapshot();
        prompter.queue(PromptAnswer::Yes);
        emit g.buttonClicked(row, kApprove);
        const QStringList after = snapshot();
        ASSERT_EQ(after.size(), before.size());
        const QString table =
            picked.appointment ? QStringLiteral("tReportedAppointments") : QStringLiteral("tReportedTasks");
        const QString key = table + QStringLiteral("|ID=") + picked.ID + u'|';
        int changed = 0;
        for (int i = 0; i < before.size(); ++i) {
            if (before[i] == after[i])
                continue;
            ++changed;
            EXPECT_TRUE(after[i].startsWith(key)) << after[i].toStdString();
            EXPECT_TRUE(after[i].contains(QStringLiteral("|Approved=1"))) << after[i].toStdString();
            EXPECT_TRUE(after[i].contains(QStringLiteral("|TotalCost=3.5"))) << after[i].toStdString();
        }
        EXPECT_EQ(changed, 1);
        // The grid is what a new read of the filter gives: every row but the approved one, in order.
        ExpectSameRows(gridRows(), RecordRows(form.filter()));
    });
    OpenReviewReports(22);
    ASSERT_TRUE(drove);
    EXPECT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
}

// ---- a row's button: the question, the step and what the user is shown ------------------------

using ReviewButtonTest = ReviewRowsTest;

TEST_P(ReviewButtonTest, ApprovalWritesTheRowAndTheSendersMailNobody) {
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

TEST_P(ReviewButtonTest, DeclineDeletesOnlyWithTheAuditSwitchAndAfterYes) {
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
    EXPECT_TRUE(DeleteDBItem(id, QStringLiteral("task")).done());
    EXPECT_EQ(Rows(appts, QStringLiteral("1 = 1")), 1);
}

TEST_P(ReviewButtonTest, AnApostropheIsTheReportedDatabaseErrorAndTheRowStays) {
    ReviewRowTexts row = Row(QStringLiteral("appointment"));
    row.cells.project = QStringLiteral("O'Brien's Kitchen");
    prompter.queue(PromptAnswer::Yes);
    EXPECT_FALSE(ReviewButtonClicked(ReviewButton::Approve, row, {true, false}));
    ASSERT_EQ(presenter.reports.size(), 1);
    EXPECT_TRUE(presenter.reports[0].contains(QStringLiteral("In Function: AuditManager.ApproveDBItem")))
        << FirstReport().toStdString();
    EXPECT_EQ(Rows(QStringLiteral("tReportedAppointments"), QStringLiteral("Approved = 0")), 1);
}

// What the screen shows for each outcome the steps answer, word for word.
TEST(ReviewOutcomeShown, EachKindAsTheScreenAlwaysShowedIt) {
    using Kind = ReviewOutcome::Kind;
    const Failure refused{-1, QStringLiteral("unrecognized token"), 0,
                          QStringLiteral("AuditManager.DeleteDBItem")};
    const struct {
        Kind kind;
        Failure failure;
        QStringList boxes;
        const char* report;  // a line of the error report, or nullptr for none
    } cases[] = {
        {Kind::Done, {}, {}, nullptr},
        {Kind::NoConnection, {}, {QStringLiteral("Connection can't be established!")}, nullptr},
        {Kind::Refused, refused, {}, "In Function: AuditManager.DeleteDBItem"},
    };
    ScriptedPrompter boxes;
    RecordingPresenter reports;
    SetPrompter(&boxes);
    SetErrorPresenter(&reports);
    for (const auto& c : cases) {
        SCOPED_TRACE(int(c.kind));
        boxes.clear();
        reports.reports.clear();
        ResetErrorReportingForTests();
        ReviewOutcome out;
        out.kind = c.kind;
        out.failure = c.failure;
        ShowReviewOutcome(out);
        QStringList shown;
        for (const auto& b : boxes.shown())
            shown.append(b.text);
        EXPECT_EQ(shown, c.boxes);
        ASSERT_EQ(reports.reports.size(), c.report ? 1 : 0);
        if (c.report) {
            EXPECT_TRUE(reports.reports[0].contains(QString::fromLatin1(c.report)))
                << reports.reports[0].toStdString();
        }
    }
    SetErrorPresenter(nullptr);
    SetPrompter(nullptr);
    ResetErrorReportingForTests();
}

// A header click sorts by its column (a second click turns the order round), SortCol sorts
// ascending, and the rows keep their locks; the label counts the rows, or says there is nothing.
TEST_P(ReviewFormTest, SortByColumnsAndCountTheRows) {
    global->GeneralSettings.SetValue(QStringLiteral("tpoAuditEnableProjectActivityEdit"), 1);
    const int unapproved =
        CountWhere(QStringLiteral("tReportedTasks"), QStringLiteral("Approved = 0")) +
        CountWhere(QStringLiteral("tReportedAppointments"), QStringLiteral("Approved = 0"));
    bool drove = false;
    SetReviewReportsDriver([&](frmReviewReports& form) {
        drove = true;
        ReviewGrid& g = *form.grid();
        form.cboFilter()->setCurrentIndex(0);
        form.cboTypes()->setCurrentIndex(2);
        form.okButton()->click();
        ASSERT_EQ(g.rowCount(), unapproved);
        EXPECT_EQ(form.rowCountLabel()->text(), QStringLiteral("%1 timesheets").arg(unapproved));
        EXPECT_EQ(form.progressMarks(), (QList<int>{20, 50, 90, 99}));

        const auto column = [&](int col) {
            QStringList out;
            for (int r = 0; r < g.rowCount(); ++r)
                out.append(g.text(r, col));
            return out;
        };
        const auto caseless = [](const QString& a, const QString& b) {
            return a.compare(b, Qt::CaseInsensitive) < 0;
        };
        const struct {
            const char* what;
            std::function<void()> sort;
            int col;
            std::function<bool(const QString&, const QString&)> less;  // strict order expected
        } cases[] = {
            {"subject by a header click", [&] { emit g.horizontalHeader()->sectionClicked(kSubject); },
             kSubject, caseless},
            {"subject by a second click", [&] { emit g.horizontalHeader()->sectionClicked(kSubject); },
             kSubject, [&](const QString& a, const QString& b) { return caseless(b, a); }},
            {"cost by SortCol", [&] { form.SortCol(kCost); }, kCost,
             [](const QString& a, const QString& b) { return a.toDouble() < b.toDouble(); }},
            {"ID by a header click, as numbers", [&] { emit g.horizontalHeader()->sectionClicked(kID); }, kID,
             [](const QString& a, const QString& b) { return a.toLongLong() < b.toLongLong(); }},
            {"reporter by SortCol", [&] { form.SortCol(kReportedBy); }, kReportedBy, caseless},
        };
        for (const auto& c : cases) {
            SCOPED_TRACE(c.what);
            const QStringList ids = column(kID);
            c.sort();
            const QStringList sorted = column(c.col);
            EXPECT_TRUE(std::is_sorted(sorted.begin(), sorted.end(), c.less));
            EXPECT_EQ(g.rowCount(), unapproved);
            QStringList after = column(kID);
            QStringList before = ids;
            after.sort();
            before.sort();
            EXPECT_EQ(after, before);  // the same rows, only their order changed
            for (int r : {0, g.rowCount() / 2, g.rowCount() - 1}) {
                EXPECT_TRUE(g.isCellLocked(r, kID));
                EXPECT_TRUE(g.isCellLocked(r, kReportedBy));
                EXPECT_FALSE(g.isCellLocked(r, kProject));
                EXPECT_TRUE(g.isCellLocked(r, kCost));
                EXPECT_FALSE(g.isCellLocked(r, kApprove));
            }
        }
        // A row's activities follow the row through a sort.
        emit g.horizontalHeader()->sectionClicked(kProject);
        const QStringList projects = column(kProject);
        EXPECT_TRUE(std::is_sorted(projects.begin(), projects.end(), caseless));
        for (int r = 0; r < g.rowCount(); ++r) {
            if (const cSingleList* list = global->AllTasksProjects.Find(g.text(r, kProject))) {
                ASSERT_EQ(g.comboItems(r, kActivity), list->PopulateComboList(true)) << r;
            }
        }

        // With every row approved the same query finds none.
        Exec(QStringLiteral("UPDATE tReportedTasks SET Approved = 1"));
        Exec(QStringLiteral("UPDATE tReportedAppointments SET Approved = 1"));
        form.okButton()->click();
        EXPECT_EQ(g.rowCount(), 0);
        EXPECT_EQ(form.rowCountLabel()->text(), QStringLiteral("Nothing to review"));
    });
    OpenReviewReports(22);
    ASSERT_TRUE(drove);
    EXPECT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
}

// Several selected rows: one question, a progress window whose Cancel leaves the rest as they
// were, and the decline's reason asked once for all.
TEST_P(ReviewFormTest, ApproveAndDeclineSelectedRowsWithOneQuestion) {
    global->GeneralSettings.SetValue(QStringLiteral("tpoAuditRemoveDeclinedDataFromDB"), 1);
    const QString unapprovedSql = QStringLiteral("Approved = 0");
    const int unapproved = CountWhere(QStringLiteral("tReportedTasks"), unapprovedSql) +
                           CountWhere(QStringLiteral("tReportedAppointments"), unapprovedSql);
    ASSERT_GE(unapproved, 80);
    bool drove = false;
    SetReviewReportsDriver([&](frmReviewReports& form) {
        drove = true;
        ReviewGrid& g = *form.grid();
        form.cboFilter()->setCurrentIndex(0);
        form.cboTypes()->setCurrentIndex(2);
        form.okButton()->click();
        ASSERT_EQ(g.rowCount(), unapproved);
        EXPECT_FALSE(form.approveSelectedButton()->isEnabled());
        const auto selectRows = [&](int first, int count) {
            g.clearSelection();
            for (int r = first; r < first + count; ++r)
                g.selectionModel()->select(g.model()->index(r, 0),
                                           QItemSelectionModel::Select | QItemSelectionModel::Rows);
        };
        const auto keysOf = [&](int first, int count) {
            QStringList keys;
            for (int r = first; r < first + count; ++r)
                keys.append(g.text(r, kType) + u' ' + g.text(r, kID));
            return keys;
        };
        const auto approvedOf = [&](const QStringList& keys) {
            int approved = 0;
            for (const QString& k : keys) {
                const QString type = k.section(u' ', 0, 0), id = k.section(u' ', 1);
                approved += CountWhere(ReviewTableFor(type), QStringLiteral("Approved = 1 AND ID = ") + id);
            }
            return approved;
        };

        // Fifty rows, cancelled when half are done.
        selectRows(0, 50);
        EXPECT_TRUE(form.approveSelectedButton()->isEnabled());
        const QStringList fifty = keysOf(0, 50);
        prompter.queue(PromptAnswer::Yes);
        form.setBatchProgressHook([](QProgressDialog& progress, int done) {
            if (done == 25)
                progress.cancel();
        });
        form.approveSelectedButton()->click();
        EXPECT_EQ(PromptTexts(), (QStringList{ApproveManyQuestion(50),
                                              QStringLiteral("Cancelled: 25 of 50 timesheets approved; the "
                                                             "others are left as they were.")}));
        EXPECT_EQ(approvedOf(fifty.mid(0, 25)), 25);
        EXPECT_EQ(approvedOf(fifty.mid(25)), 0);
        EXPECT_EQ(g.rowCount(), unapproved - 25);
        EXPECT_EQ(keysOf(0, 25), fifty.mid(25));  // the untouched rows stay, in their order
        EXPECT_EQ(form.rowCountLabel()->text(), QStringLiteral("%1 timesheets").arg(unapproved - 25));

        // No asks nothing more and changes nothing.
        prompter.clear();
        form.setBatchProgressHook({});
        selectRows(0, 25);
        prompter.queue(PromptAnswer::No);
        form.approveSelectedButton()->click();
        EXPECT_EQ(PromptTexts(), QStringList{ApproveManyQuestion(25)});
        EXPECT_EQ(approvedOf(fifty.mid(25)), 0);

        // The rest of them, with nothing to tell at the end.
        prompter.clear();
        prompter.queue(PromptAnswer::Yes);
        form.approveSelectedButton()->click();
        EXPECT_EQ(PromptTexts(), QStringList{ApproveManyQuestion(25)});
        EXPECT_EQ(approvedOf(fifty), 50);
        EXPECT_EQ(g.rowCount(), unapproved - 50);

        // Ten declined with one reason.
        prompter.clear();
        selectRows(0, 10);
        const QStringList ten = keysOf(0, 10);
        int asked = 0;
        form.setDeclineReasonAsker([&] {
            ++asked;
            return std::optional<QString>(QStringLiteral("duplicates"));
        });
        prompter.queue(PromptAnswer::Yes);
        form.declineSelectedButton()->click();
        EXPECT_EQ(asked, 1);
        EXPECT_EQ(PromptTexts(), QStringList{DeclineManyQuestion(10)});
        for (const QString& k : ten)
            EXPECT_EQ(CountWhere(ReviewTableFor(k.section(u' ', 0, 0)),
                                 QStringLiteral("ID = ") + k.section(u' ', 1)),
                      0)
                << k.toStdString();
        EXPECT_EQ(g.rowCount(), unapproved - 60);
    });
    OpenReviewReports(22);
    ASSERT_TRUE(drove);
    // As for one row: the senders mail nobody.
    EXPECT_TRUE(transport->mails.isEmpty());
    EXPECT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
}

// ---- the grid's model alone, over many rows ---------------------------------------------------

QVector<ReviewItem> ManyItems(int n) {
    QVector<ReviewItem> items;
    items.reserve(n);
    const QDateTime start(QDate(2026, 1, 1), QTime(8, 0));
    for (int i = 0; i < n; ++i) {
        ReviewItem it;
        it.appointment = i % 3 == 0;
        it.ID = QString::number(n - i);  // descending, so a sort has work to do
        it.Subject = QStringLiteral("Subject %1").arg(i % 97);
        it.ProjectValue = QStringLiteral("Project %1").arg(i % 7);
        it.ActivityValue = QStringLiteral("Activity %1").arg(i % 5);
        it.TotalCost = Money::fromUnits(qint64(i % 1000) * 125);
        // Every tenth row has no date: it goes last whichever the order.
        it.ReportedDate = i % 10 == 9 ? QDateTime() : start.addSecs(qint64((i * 7919) % n) * 60);
        it.ReportedBy = QStringLiteral("member%1").arg(i % 11);
        items.append(it);
    }
    return items;
}

TEST(ReviewGridModel, TwentyThousandRowsKeepTheirTextsLocksListsAndOrder) {
    constexpr int n = 20000;
    ReviewGrid grid;
    ReviewGridModel& m = *grid.reviewModel();
    m.setComboColumns(true, {QStringLiteral("Project 1"), QStringLiteral("Project 2"), QString()});
    const int listA = m.internList(QStringLiteral("Activity 1\tActivity 2\t "));
    EXPECT_EQ(m.internList(QStringLiteral("Activity 1\tActivity 2\t ")), listA);  // kept once
    QVector<int> lists(n, -1);
    for (int i = 0; i < n; i += 2)
        lists[i] = listA;
    m.setItems(ManyItems(n), lists);
    ASSERT_EQ(grid.rowCount(), n);
    EXPECT_EQ(grid.text(3, kType), QStringLiteral("appointment"));
    EXPECT_EQ(grid.text(4, kType), QStringLiteral("task"));
    EXPECT_EQ(grid.text(4, kCost), QStringLiteral("0.05"));
    EXPECT_EQ(m.rowTexts(4).cells.cost, QStringLiteral("0.05"));
    EXPECT_EQ(grid.comboItems(0, kActivity), (QStringList{"Activity 1", "Activity 2", ""}));
    EXPECT_TRUE(grid.comboItems(1, kActivity).isEmpty());

    // Locks: whole columns, then a block over some rows that says otherwise.
    for (int c : {kID, kSubject, kCost})
        m.setColumnLocked(c, true);
    m.lockCells(kCost, kCost, 100, 199, false);
    m.lockCells(kProject, kProject, 150, 150, true);
    const struct {
        int row, col;
        bool locked;
    } locks[] = {{0, kID, true},        {n - 1, kSubject, true}, {99, kCost, true},
                 {100, kCost, false},   {199, kCost, false},     {200, kCost, true},
                 {150, kProject, true}, {151, kProject, false},  {0, kApprove, false}};
    for (const auto& l : locks) {
        EXPECT_EQ(grid.isCellLocked(l.row, l.col), l.locked) << l.row << ',' << l.col;
        EXPECT_EQ(bool(m.flags(m.index(l.row, l.col)) & Qt::ItemIsEditable),
                  !l.locked && (l.col == kProject || l.col == kCost))
            << l.row << ',' << l.col;
    }

    // What a user may put into a cell.
    const struct {
        int row, col;
        const char* text;
        bool taken;
    } edits[] = {
        {0, kActivity, "Activity 2", true},
        {0, kActivity, "Activity 9", false},  // not its project's
        {1, kActivity, "Activity 2", false},  // a row without a list
        {2, kProject, "Project 2", true},
        {2, kProject, "Nowhere", false},
        {150, kProject, "Project 1", false},  // locked
        {100, kCost, "12.5", true},
        {100, kCost, "twelve", false},
        {5, kCost, "3", false},
    };
    for (const auto& e : edits) {
        const QString before = grid.text(e.row, e.col);
        EXPECT_EQ(grid.userEdit(e.row, e.col, QString::fromLatin1(e.text)), e.taken) << e.text;
        EXPECT_EQ(grid.text(e.row, e.col),
                  e.taken ? (e.col == kCost ? QStringLiteral("12.50") : QString::fromLatin1(e.text)) : before)
            << e.text;
    }
    EXPECT_EQ(m.rowTexts(100).cells.cost, QStringLiteral("12.5"));

    // Sorting moves whole rows: each row's list and locks go with it; empty dates go last.
    const auto checkOrder = [&](int col, Qt::SortOrder order) {
        m.sort(col, order);
        int emptyFrom = n;
        for (int r = 1; r < n; ++r) {
            const ReviewItem& a = m.item(r - 1);
            const ReviewItem& b = m.item(r);
            if (col == kReported) {
                if (!b.ReportedDate.isValid()) {
                    emptyFrom = std::min(emptyFrom, r);
                    continue;
                }
                ASSERT_TRUE(a.ReportedDate.isValid()) << r;
                ASSERT_TRUE(order == Qt::AscendingOrder ? a.ReportedDate <= b.ReportedDate
                                                        : a.ReportedDate >= b.ReportedDate)
                    << r;
            } else if (col == kID) {
                ASSERT_TRUE(order == Qt::AscendingOrder ? a.ID.toInt() < b.ID.toInt()
                                                        : a.ID.toInt() > b.ID.toInt())
                    << r;
            } else {
                ASSERT_TRUE(order == Qt::AscendingOrder ? a.TotalCost <= b.TotalCost
                                                        : a.TotalCost >= b.TotalCost)
                    << r;
            }
        }
        if (col == kReported) {
            EXPECT_EQ(emptyFrom, n - n / 10);
        }
        for (int r = 0; r < n; ++r) {
            const int original = n - m.item(r).ID.toInt();
            ASSERT_EQ(grid.comboItems(r, kActivity).isEmpty(), original % 2 == 1) << r;
            ASSERT_EQ(grid.isCellLocked(r, kCost), !(original >= 100 && original <= 199)) << r;
        }
    };
    checkOrder(kID, Qt::AscendingOrder);
    checkOrder(kReported, Qt::DescendingOrder);
    checkOrder(kReported, Qt::AscendingOrder);
    checkOrder(kCost, Qt::DescendingOrder);

    // A sort keeps the selection on its rows.
    m.sort(kID, Qt::AscendingOrder);
    grid.selectionModel()->select(m.index(0, 0), QItemSelectionModel::Select | QItemSelectionModel::Rows);
    m.sort(kID, Qt::DescendingOrder);
    EXPECT_EQ(grid.selectedRowNumbers(), QVector<int>{n - 1});

    // Rows removed in any order take only themselves.
    const QString keep = grid.text(3, kID);
    m.dropRows({5, 0, 2, 2});
    EXPECT_EQ(grid.rowCount(), n - 3);
    EXPECT_EQ(grid.text(1, kID), keep);
}

// The painted button answers a click: press and release on the same cell, with a caption.
TEST(ReviewGridModel, APaintedButtonClicksOnReleaseOverItsCell) {
    ReviewGrid grid;
    ReviewGridModel& m = *grid.reviewModel();
    m.setItems(ManyItems(5));
    grid.resize(900, 300);
    grid.show();
    QApplication::processEvents();
    QVector<std::pair<int, int>> clicks;
    QObject::connect(&grid, &ReviewGrid::buttonClicked, [&](int row, int col) { clicks.append({row, col}); });
    const auto click = [&](int pressRow, int releaseRow, int col) {
        const QPoint press = grid.visualRect(m.index(pressRow, col)).center();
        const QPoint release = grid.visualRect(m.index(releaseRow, col)).center();
        QMouseEvent down(QEvent::MouseButtonPress, press, grid.viewport()->mapToGlobal(press), Qt::LeftButton,
                         Qt::LeftButton, Qt::NoModifier);
        QMouseEvent up(QEvent::MouseButtonRelease, release, grid.viewport()->mapToGlobal(release),
                       Qt::LeftButton, Qt::NoButton, Qt::NoModifier);
        QApplication::sendEvent(grid.viewport(), &down);
        QApplication::sendEvent(grid.viewport(), &up);
    };
    click(1, 1, kApprove);  // no caption yet: no button
    EXPECT_TRUE(clicks.isEmpty());
    m.setButtonCaption(kApprove, QStringLiteral("Approve"));
    m.setButtonCaption(kDecline, QStringLiteral("Decline"));
    click(1, 1, kApprove);
    click(2, 2, kDecline);
    click(3, 4, kDecline);  // released elsewhere
    click(3, 3, kSubject);  // not a button
    EXPECT_EQ(clicks, (QVector<std::pair<int, int>>{{1, kApprove}, {2, kDecline}}));
}

// The kind shows as the picture of a task or an appointment, the pictures every list shows and never a
// check box; the cost has two decimals; the ID alone numbers the rows; and locked cells are shaded
// only where some cell beside them can be edited, from the palette.
TEST_P(ReviewFormTest, PicturesCostsAndShadesMeanWhatTheyShow) {
    const auto image = [](const QIcon& icon) { return icon.pixmap(16).toImage(); };
    const QImage task = image(TaskPicture()), appointment = image(AppointmentPicture());
    ASSERT_NE(task, appointment);
    const QRegularExpression twoDecimals(QStringLiteral("^-?\\d+\\.\\d\\d$"));
    struct Case {
        const char* what;
        int projectActivity, cost;  // the two edit switches
        bool shaded;
        QList<int> editable;
    };
    const Case cases[] = {
        {"nothing editable", 0, 0, false, {}},
        {"cost editable", 0, 1, true, {kCost}},
        {"project and activity editable", 1, 0, true, {kProject, kActivity}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        global->GeneralSettings.SetValue(QStringLiteral("tpoAuditEnableProjectActivityEdit"),
                                         c.projectActivity);
        global->GeneralSettings.SetValue(QStringLiteral("tpoAuditEnableCostEdit"), c.cost);
        bool drove = false;
        SetReviewReportsDriver([&](frmReviewReports& form) {
            drove = true;
            ReviewGrid& g = *form.grid();
            form.cboFilter()->setCurrentIndex(0);
            form.cboTypes()->setCurrentIndex(2);
            form.okButton()->click();
            ASSERT_GT(g.rowCount(), 0);
            EXPECT_FALSE(g.verticalHeader()->isVisible());
            const QColor base = g.palette().color(QPalette::Base);
            const QAbstractItemModel& m = *g.model();
            QSet<QString> kinds;
            for (int r = 0; r < g.rowCount(); ++r) {
                const QString kind = g.text(r, kType);
                kinds.insert(kind);
                ASSERT_EQ(image(m.index(r, kType).data(Qt::DecorationRole).value<QIcon>()),
                          kind == u"task" ? task : appointment)
                    << r;
                ASSERT_TRUE(twoDecimals.match(g.text(r, kCost)).hasMatch()) << g.text(r, kCost).toStdString();
                for (int col = 0; col < kCount; ++col) {
                    const QModelIndex cell = m.index(r, col);
                    ASSERT_FALSE(cell.data(Qt::CheckStateRole).isValid()) << col;
                    ASSERT_FALSE(cell.flags() & Qt::ItemIsUserCheckable) << col;
                    const bool editable = c.editable.contains(col);
                    ASSERT_EQ(bool(cell.flags() & Qt::ItemIsEditable), editable) << r << ' ' << col;
                    const bool locked = !editable && col != kType && col != kApprove && col != kDecline;
                    const QVariant shade = cell.data(Qt::BackgroundRole);
                    ASSERT_EQ(shade.isValid(), locked && c.shaded) << r << ' ' << col;
                    if (shade.isValid()) {
                        ASSERT_NE(shade.value<QColor>(), base);
                    }
                }
            }
            EXPECT_EQ(kinds, (QSet<QString>{QStringLiteral("task"), QStringLiteral("appointment")}));
        });
        OpenReviewReports(22);
        ASSERT_TRUE(drove);
    }
    EXPECT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
}

INSTANTIATE_TEST_SUITE_P(Engines, ReviewButtonTest, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         EngineName);

INSTANTIATE_TEST_SUITE_P(Engines, ReviewFormTest, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace tlm::test
