#pragma once

#include <QDialog>
#include <QHash>
#include <QList>
#include <QStringList>
#include <functional>
#include <memory>
#include <optional>

#include "review/review_grid_form.h"
#include "review/review_queue.h"

class QCheckBox;
class QComboBox;
class QDateEdit;
class QGroupBox;
class QLabel;
class QProgressBar;
class QProgressDialog;
class QPushButton;

namespace tlm {

class cUISettings;

// A row's button, as the grid reports it.
enum class ReviewButton { Approve, Decline };
// The reason a decline is given: nullopt when the user cancelled (nothing is declined), an empty
// text when none was given.
using DeclineReasonAsker = std::function<std::optional<QString>()>;
// Asks the user, runs the review's step (ApproveDBItem or DeleteDBItem), shows what came of it, and
// answers whether the row leaves the grid. Decline asks nothing and does nothing while
// tpoAuditRemoveDeclinedDataFromDB is 0; after Yes it asks the reason when askReason is given.
bool ReviewButtonClicked(ReviewButton button, const ReviewRowTexts& row, const ReviewOptions& options,
                         const DeclineReasonAsker& askReason = {});
// The confirmation of several rows at once.
QString ApproveManyQuestion(int count);
QString DeclineManyQuestion(int count);
// What the user is told when a batch stopped before its end; empty when every row went through.
QString BatchEndText(ReviewAction action, const ReviewBatchOutcome& outcome, int total);
// Shows a failed outcome: the connection message in a box, a refused statement as the error report.
void ShowReviewOutcome(const ReviewOutcome& outcome);

// The queue of unapproved timesheets: filters above, one grid row per task or appointment, each
// with its Approve and Decline button.
class frmReviewReports : public QDialog {
    Q_OBJECT
  public:
    // ui: the window state store; nullptr keeps a private one for this window.
    explicit frmReviewReports(cUISettings* ui = nullptr, QWidget* parent = nullptr);
    ~frmReviewReports() override;

    // Fills the lists, reads the audit switches, restores the saved state, clears the grid.
    void subSetUp();
    ReviewFilter filter() const;
    SqlText GetSQL() const;
    void cmdOK();
    void cmdReset();
    void Exit();

    // The grid's events (0-based row and column).
    void ButtonClicked(int row, int col);
    void ComboSelChange(int row, int col);
    // The selected rows, approved or declined with one question and a progress window.
    void ApproveSelected();
    void DeclineSelected();

    void LoadNotifyButtons(int col, const QString& caption);
    void LockCells(int col1, int col2, int row1, int row2, bool locked);
    void SortCol(int col);

    const ReviewOptions& options() const { return options_; }
    bool filling() const { return filling_; }
    // For tests and the window's own layout.
    ReviewGrid* grid() const { return fps_; }
    QLabel* rowCountLabel() const { return lblCount_; }
    QPushButton* approveSelectedButton() const { return cmdApproveSelected_; }
    QPushButton* declineSelectedButton() const { return cmdDeclineSelected_; }
    // Tests answer the reason's question and drive the batch's progress window (cancel it).
    void setDeclineReasonAsker(DeclineReasonAsker asker) { askReason_ = std::move(asker); }
    void setBatchProgressHook(std::function<void(QProgressDialog&, int done)> hook) {
        batchHook_ = std::move(hook);
    }
    QComboBox* cboFilter() const { return cboFilter_; }
    QComboBox* cboValue() const { return cboValue_; }
    QComboBox* cboTypes() const { return cboTypes_; }
    QComboBox* cboBetweenOn() const { return cboBetweenOn_; }
    QCheckBox* chkQueryDate() const { return chkQueryDate_; }
    QDateEdit* dtStart() const { return dtStart_; }
    QDateEdit* dtEnd() const { return dtEnd_; }
    QGroupBox* frameDateRange() const { return frameDateRange_; }
    QWidget* picValue() const { return picValue_; }
    QLabel* lblTo() const { return lblTo_; }
    QLabel* pWait() const { return pWait_; }
    QProgressBar* progressBar() const { return pb_; }
    QPushButton* okButton() const { return cmdOK_; }
    // The progress values set by the last query, in order.
    const QList<int>& progressMarks() const { return marks_; }

  protected:
    void done(int result) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void cboFilterClick();
    void cboBetweenOnClick();
    void chkQueryDateClick();
    void SaveUISettings();
    void SetUpGrid();
    void FillGrid(QVector<ReviewItem> items);
    void ShowRowCount();
    void RunBatch(ReviewAction action);
    std::optional<QString> AskDeclineReason();
    void subResizeSpreadSheets();
    void SetProgress(int value);
    void LetWindowRepaint();

    cUISettings* ui_ = nullptr;
    std::unique_ptr<cUISettings> ownUi_;
    ReviewOptions options_;
    QComboBox* cboFilter_ = nullptr;
    QWidget* picValue_ = nullptr;
    QComboBox* cboValue_ = nullptr;
    QComboBox* cboTypes_ = nullptr;
    QCheckBox* chkQueryDate_ = nullptr;
    QGroupBox* frameDateRange_ = nullptr;
    QComboBox* cboBetweenOn_ = nullptr;
    QDateEdit* dtStart_ = nullptr;
    QLabel* lblTo_ = nullptr;
    QDateEdit* dtEnd_ = nullptr;
    QWidget* picOK_ = nullptr;
    QPushButton* cmdOK_ = nullptr;
    QPushButton* cmdReset_ = nullptr;
    QProgressBar* pb_ = nullptr;
    QLabel* pWait_ = nullptr;
    ReviewGrid* fps_ = nullptr;
    QLabel* lblCount_ = nullptr;
    QPushButton* cmdApproveSelected_ = nullptr;
    QPushButton* cmdDeclineSelected_ = nullptr;
    DeclineReasonAsker askReason_;
    std::function<void(QProgressDialog&, int)> batchHook_;
    QList<int> marks_;
    QHash<QString, int> activityLists_;  // per project, the model's list
    bool filling_ = false;
    bool closing_ = false;
};

// The section loader's opener: shows the window modal.
void OpenReviewReports(qint32 section);

// Widget tests drive the window instead of a modal loop; an empty driver restores exec().
void SetReviewReportsDriver(std::function<void(frmReviewReports&)> driver);

}  // namespace tlm
