#pragma once

#include <QDialog>
#include <QHash>
#include <QList>
#include <QStringList>
#include <functional>
#include <memory>

#include "review/review_queue.h"

class QCheckBox;
class QComboBox;
class QDateEdit;
class QGroupBox;
class QLabel;
class QProgressBar;
class QPushButton;

namespace tlm {

class GridWidget;
class cUISettings;

// Grid columns, 0-based (the review's own numbering counts from 1).
namespace review_col {
inline constexpr int kType = 0;
inline constexpr int kID = 1;
inline constexpr int kSubject = 2;
inline constexpr int kProject = 3;
inline constexpr int kActivity = 4;
inline constexpr int kCost = 5;
inline constexpr int kReported = 6;
inline constexpr int kReportedBy = 7;
inline constexpr int kApprove = 8;
inline constexpr int kDecline = 9;
inline constexpr int kCount = 10;
}  // namespace review_col

// A row's button, as the grid reports it.
enum class ReviewButton { Approve, Decline };
// Asks the user, runs the review's step (ApproveDBItem or DeleteDBItem), shows what came of it, and
// answers whether the row leaves the grid. Decline asks nothing and does nothing while
// tpoAuditRemoveDeclinedDataFromDB is 0.
bool ReviewButtonClicked(ReviewButton button, const ReviewRowTexts& row, const ReviewOptions& options);
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

    void LoadNotifyButtons(int col, const QString& caption);
    void LockCells(int col1, int col2, int row1, int row2, bool locked);
    void SortCol(int col);

    const ReviewOptions& options() const { return options_; }
    bool filling() const { return filling_; }
    // For tests and the window's own layout.
    GridWidget* grid() const { return fps_; }
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
    void AddRows(const QVector<ReviewItem>& items, int from, int to);
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
    GridWidget* fps_ = nullptr;
    QList<int> marks_;
    QHash<QString, QStringList> activityLists_;  // per project, shared by its rows
    bool filling_ = false;
    bool closing_ = false;
};

// The section loader's opener: shows the window modal.
void OpenReviewReports(qint32 section);

// Widget tests drive the window instead of a modal loop; an empty driver restores exec().
void SetReviewReportsDriver(std::function<void(frmReviewReports&)> driver);

}  // namespace tlm
