#include <gtest/gtest.h>

#include <QComboBox>
#include <QPushButton>

#include "desktop/grid_view.h"
#include "reported/task_data.h"
#include "review/review_fixture.h"
#include "review/review_form.h"

namespace tlm::test {
namespace {

using namespace review_col;

// The row of an ID and kind, or -1.
int RowOf(const GridWidget& g, const QString& type, const QString& id) {
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
        GridWidget& g = *form.grid();
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
        g.setActiveCell(apptRow, kProject);
        g.pasteText(other);
        EXPECT_EQ(g.comboItems(apptRow, kActivity),
                  global->AllTasksProjects.Find(other)->PopulateComboList(true));

        // Approve the appointment: its row goes, the task of the same ID stays until declined.
        prompter.queue(PromptAnswer::Yes);
        emit g.buttonClicked(apptRow, kApprove);
        EXPECT_EQ(g.rowCount(), unapproved - 1);
        ASSERT_EQ(RowOf(g, QStringLiteral("task"), shared), taskRow);
        prompter.queue(PromptAnswer::Yes);
        emit g.buttonClicked(taskRow, kDecline);
        EXPECT_EQ(RowOf(g, QStringLiteral("task"), shared), -1);
        EXPECT_EQ(g.rowCount(), unapproved - 2);
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

INSTANTIATE_TEST_SUITE_P(Engines, ReviewButtonTest, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         EngineName);

INSTANTIATE_TEST_SUITE_P(Engines, ReviewFormTest, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace tlm::test
