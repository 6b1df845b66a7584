#include <gtest/gtest.h>

#include <QComboBox>
#include <QPushButton>

#include "desktop/grid_widget.h"
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

INSTANTIATE_TEST_SUITE_P(Engines, ReviewFormTest, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace tlm::test
