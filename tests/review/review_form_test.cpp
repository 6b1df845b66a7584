#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>

#include "core/local_settings.h"
#include "desktop/grid_widget.h"
#include "desktop/ui_settings.h"
#include "review/review_fixture.h"
#include "review/review_form.h"

namespace tlm::test {
namespace {

using namespace review_col;

class ReviewFormTest : public ReviewDbTest {
  protected:
    void TearDown() override {
        SetReviewReportsDriver({});
        ReviewDbTest::TearDown();
    }
    // The row of an ID and kind, or -1.
    static int RowOf(const GridWidget& g, const QString& type, const QString& id) {
        for (int r = 0; r < g.rowCount(); ++r)
            if (g.text(r, kType) == type && g.text(r, kID) == id)
                return r;
        return -1;
    }
    // Presses a row's button the way the keyboard does.
    static void Press(GridWidget& g, int row, int col) {
        g.setActiveCell(row, col);
        QKeyEvent space(QEvent::KeyPress, Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));
        QApplication::sendEvent(&g, &space);
    }
    QString Setting(const QString& key) {
        return GetSetting(kSettingsApplication, QStringLiteral("AuditUI"), key, QStringLiteral("absent"));
    }
};

TEST_P(ReviewFormTest, FilterOkThenApproveAndDeclineRowsThroughTheWindow) {
    global->GeneralSettings.SetValue(QStringLiteral("tpoAuditEnableProjectActivityEdit"), 1);
    global->GeneralSettings.SetValue(QStringLiteral("tpoAuditEnableCostEdit"), 1);
    global->GeneralSettings.SetValue(QStringLiteral("tpoAuditRemoveDeclinedDataFromDB"), 1);
    const QString shared = SharedUnapprovedId();
    ASSERT_FALSE(shared.isEmpty());
    const int unapproved =
        CountWhere(QStringLiteral("tReportedTasks"), QStringLiteral("Approved = 0")) +
        CountWhere(QStringLiteral("tReportedAppointments"), QStringLiteral("Approved = 0"));
    bool drove = false;
    SetReviewReportsDriver([&](frmReviewReports& form) {
        drove = true;
        GridWidget& g = *form.grid();
        form.cboFilter()->setCurrentIndex(0);
        form.cboTypes()->setCurrentIndex(2);
        form.okButton()->click();
        ASSERT_EQ(g.rowCount(), unapproved);
        EXPECT_EQ(form.progressMarks(), (QList<int>{20, 50, 90, 99}));
        EXPECT_TRUE(form.pWait()->isHidden());

        const int apptRow = RowOf(g, QStringLiteral("appointment"), shared);
        const int taskRow = RowOf(g, QStringLiteral("task"), shared);
        ASSERT_GE(apptRow, 0);
        ASSERT_GE(taskRow, 0);
        EXPECT_LT(taskRow, apptRow);  // tasks first
        EXPECT_EQ(g.text(apptRow, kApprove), QStringLiteral("Approve"));
        EXPECT_EQ(g.text(apptRow, kDecline), QStringLiteral("Decline"));
        // Locked blocks in their colour; project, activity and cost open by the audit switches.
        for (int c : {kID, kSubject, kReported, kReportedBy})
            EXPECT_TRUE(g.isCellLocked(apptRow, c)) << c;
        for (int c : {kProject, kActivity, kCost, kApprove, kDecline})
            EXPECT_FALSE(g.isCellLocked(apptRow, c)) << c;
        EXPECT_EQ(g.lockColor(), QColor(255, 224, 192));
        EXPECT_EQ(g.column(kProject).type, GridCellType::Combo);
        const QString project = g.text(apptRow, kProject);
        const cSingleList* own = global->AllTasksProjects.Find(project);
        ASSERT_NE(own, nullptr) << project.toStdString();
        EXPECT_EQ(g.comboItems(apptRow, kActivity), own->PopulateComboList(true));

        // A new project gives the row that project's activities and keeps the activity's text.
        const QString activity = g.text(apptRow, kActivity);
        QString other;
        for (const QString& p : global->AllTasksProjects.Keys())
            if (p != project)
                other = p;
        g.setActiveCell(apptRow, kProject);
        g.pasteText(other);
        EXPECT_EQ(g.text(apptRow, kProject), other);
        EXPECT_EQ(g.text(apptRow, kActivity), activity);
        EXPECT_EQ(g.comboItems(apptRow, kActivity),
                  global->AllTasksProjects.Find(other)->PopulateComboList(true));

        // Approve the appointment: its row goes, the task of the same ID stays.
        prompter.queue(PromptAnswer::Yes);
        Press(g, apptRow, kApprove);
        EXPECT_EQ(g.rowCount(), unapproved - 1);
        EXPECT_EQ(RowOf(g, QStringLiteral("appointment"), shared), -1);
        ASSERT_EQ(RowOf(g, QStringLiteral("task"), shared), taskRow);

        // No leaves the task where it is; Yes on Decline removes it.
        prompter.queue(PromptAnswer::No);
        Press(g, taskRow, kDecline);
        EXPECT_EQ(g.rowCount(), unapproved - 1);
        prompter.queue(PromptAnswer::Yes);
        Press(g, taskRow, kDecline);
        EXPECT_EQ(g.rowCount(), unapproved - 2);
        EXPECT_EQ(RowOf(g, QStringLiteral("task"), shared), -1);
    });
    OpenReviewReports(22);
    ASSERT_TRUE(drove);
    EXPECT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
    EXPECT_EQ(PromptTexts().size(), 3);
    auto appt = Open(QStringLiteral("SELECT * FROM tReportedAppointments WHERE ID = ") + shared);
    ASSERT_FALSE(appt->Eof());
    EXPECT_EQ(appt->Fields(QStringLiteral("Approved")).Value().toInt(), 1);
    EXPECT_EQ(CountWhere(QStringLiteral("tReportedTasks"), QStringLiteral("ID = ") + shared), 0);
    // Neither action mailed anybody.
    EXPECT_TRUE(transport->mails.isEmpty());
}

TEST_P(ReviewFormTest, LockedProjectAndCostWithTheAuditSwitchesOff) {
    frmReviewReports form;
    form.subSetUp();
    form.cboTypes()->setCurrentIndex(0);
    form.cmdOK();
    GridWidget& g = *form.grid();
    ASSERT_GT(g.rowCount(), 0);
    EXPECT_EQ(form.progressMarks(), (QList<int>{20, 50, 99}));
    for (int c : {kProject, kActivity, kCost})
        EXPECT_TRUE(g.isCellLocked(0, c)) << c;
    EXPECT_EQ(g.column(kActivity).type, GridCellType::Text);
    for (int r = 0; r < g.rowCount(); ++r)
        ASSERT_EQ(g.text(r, kType), QStringLiteral("task"));
    // Decline with the switch off: no question, the row stays.
    global->GeneralSettings.SetValue(QStringLiteral("tpoAuditRemoveDeclinedDataFromDB"), 0);
    const int rows = g.rowCount();
    form.ButtonClicked(0, kDecline);
    EXPECT_EQ(g.rowCount(), rows);
    EXPECT_TRUE(PromptTexts().isEmpty());
    form.cmdReset();
    EXPECT_EQ(g.rowCount(), 0);
    EXPECT_FALSE(form.pWait()->isHidden());
}

TEST_P(ReviewFormTest, WindowStateIsRestoredAtOpenAndSavedAtClose) {
    {
        cUISettings ui;
        frmReviewReports form(&ui);
        form.subSetUp();
        EXPECT_EQ(form.cboFilter()->currentIndex(), 0);
        EXPECT_EQ(form.cboTypes()->currentIndex(), 2);
        EXPECT_TRUE(form.picValue()->isHidden());
        EXPECT_TRUE(form.frameDateRange()->isHidden());
        EXPECT_EQ(form.size(), QSize(800, 533));  // 12000 by 8000 twips
        EXPECT_EQ(form.dtEnd()->date(), QDate::currentDate());
        EXPECT_EQ(form.dtStart()->date(), QDate::currentDate().addDays(-1));

        form.cboFilter()->setCurrentIndex(3);
        EXPECT_FALSE(form.picValue()->isHidden());
        EXPECT_EQ(form.cboValue()->count(), global->Members.Items.Count());
        form.cboTypes()->setCurrentIndex(1);
        form.chkQueryDate()->setChecked(true);
        EXPECT_FALSE(form.frameDateRange()->isHidden());
        EXPECT_EQ(form.frameDateRange()->title(), QStringLiteral("Reported on"));
        EXPECT_TRUE(form.dtEnd()->isHidden());
        EXPECT_TRUE(form.lblTo()->isHidden());
        form.cboBetweenOn()->setCurrentIndex(1);
        EXPECT_EQ(form.frameDateRange()->title(), QStringLiteral("Reported between"));
        EXPECT_FALSE(form.dtEnd()->isHidden());
        form.resize(900, 600);
        form.Exit();
    }
    // The keys themselves are the settings class's; the reopened window shows what was kept.
    EXPECT_EQ(Setting(QStringLiteral("Width")), QStringLiteral("13500"));
    EXPECT_EQ(Setting(QStringLiteral("Height")), QStringLiteral("9000"));

    cUISettings ui;
    frmReviewReports form(&ui);
    form.subSetUp();
    EXPECT_EQ(form.cboFilter()->currentIndex(), 3);
    EXPECT_FALSE(form.picValue()->isHidden());
    EXPECT_EQ(form.cboTypes()->currentIndex(), 1);
    EXPECT_EQ(form.cboBetweenOn()->currentIndex(), 1);
    // The date switch is written under one key and read from another: it comes back off.
    EXPECT_FALSE(form.chkQueryDate()->isChecked());
    EXPECT_TRUE(form.frameDateRange()->isHidden());
    EXPECT_EQ(form.size(), QSize(900, 600));
}

INSTANTIATE_TEST_SUITE_P(Engines, ReviewFormTest, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace tlm::test
