#pragma once

#include <QAbstractTableModel>
#include <QDialog>
#include <array>
#include <functional>
#include <memory>
#include <vector>

#include "search/search_results.h"

class QAction;
class QComboBox;
class QDateEdit;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPrinter;
class QPushButton;
class QToolBar;
class QTreeView;

namespace tlm {

class cDBSettings;
class cUISettings;

// The rows of the result list: the seven column values and the record's key, built from the
// results in their order and sorted by a column on request. Printing and deleting go by the row's
// key, never by its position in the results.
class SearchListModel : public QAbstractTableModel {
    Q_OBJECT
  public:
    explicit SearchListModel(QObject* parent = nullptr);
    void SetHeaders(const QStringList& headers);
    // Replaces every row with the results, in the column order last asked for (load order at first).
    // The results must outlive the rows.
    void Fill(const SearchResults& results);
    void Clear();
    QString Key(int row) const;
    QString Text(int row, int column) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    // A header click; a column outside the seven goes back to load order.
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

  private:
    struct Row {
        QString key;
        std::array<QString, 7> values;
    };
    void Arrange();
    QStringList headers_;
    std::vector<Row> rows_;
    const SearchResults* results_ = nullptr;
    int sortColumn_ = -1;
    Qt::SortOrder sortOrder_ = Qt::AscendingOrder;
};

// Finds reported items by one criterion, lists them, previews, prints and deletes them.
class frmSearch : public QDialog {
    Q_OBJECT
  public:
    frmSearch(cDBSettings& global, cUISettings& ui, QWidget* parent = nullptr);
    ~frmSearch() override;

    // At load: stored state, the list columns, every combo, the captions, the dates.
    void Initialize();
    // What pressing Search does.
    void cmdSearch();
    void cmdReset();
    // The toolbar: "delete", "print", "pdf".
    void tbButtonClick(const QString& key);
    int TotalSelectedItems() const;
    void CheckAllItems(bool blnState);
    void ShowPreview(int row);
    void Exit();

    // A test answers the print dialog instead of the user: it may set the printer up and answers
    // whether to print. nullptr restores the real dialog.
    static void SetPrintDialogHook(std::function<bool(QPrinter&)> hook);

    QComboBox* searchFields() const { return cmbSearchFields_; }
    QComboBox* types() const { return cmbTypes_; }
    QComboBox* members() const { return cmbMembers_; }
    QComboBox* projects() const { return cmbProject_; }
    QComboBox* activities() const { return cmbTask_; }
    QComboBox* costFunctions() const { return cboCostFunctions_; }
    QComboBox* customField(int n) const { return cboCustomField_[size_t(n - 1)]; }
    QGroupBox* customFrame(int n) const { return frameCustom_[size_t(n - 1)]; }
    QLineEdit* keyword() const { return txtKeyword_; }
    QLineEdit* costValue() const { return txtCostValue_; }
    QDateEdit* onDate() const { return dtOn_; }
    QDateEdit* startDate() const { return dtStart_; }
    QDateEdit* endDate() const { return dtEnd_; }
    QGroupBox* frame(const QString& name) const;  // by its object name, "FrameKeyword" etc.
    QTreeView* resultList() const { return lvResult_; }
    const SearchListModel& resultModel() const { return *model_; }
    const SearchResults& results() const { return colResults_; }
    QLabel* resultLabel() const { return lblResult_; }
    QPlainTextEdit* preview() const { return txtPreview_; }
    QAction* toolbarButton(const QString& key) const;
    // The criteria as the panel holds them now.
    SearchCriteria Criteria() const;

  protected:
    void done(int result) override;

  private:
    void ShowFrameFor(int index);
    void FillTasks();
    void SaveUISettings();
    QList<bool> SelectedFlags() const;
    QStringList SelectedKeys() const;
    void subPrintSelectedItems(bool toPdf);
    bool OutputPages(const QStringList& pages, bool toPdf);

    cDBSettings& global_;
    cUISettings& ui_;
    SearchResults colResults_;
    std::array<QString, 4> strCustomTitle_;
    bool saved_ = false;

    QToolBar* tb_ = nullptr;
    QAction* delete_ = nullptr;
    QAction* print_ = nullptr;
    QAction* pdf_ = nullptr;
    QComboBox* cmbSearchFields_ = nullptr;
    QComboBox* cmbTypes_ = nullptr;
    QLabel* lblTypes_ = nullptr;
    QGroupBox* FrameKeyword_ = nullptr;
    QLineEdit* txtKeyword_ = nullptr;
    QGroupBox* frameMembers_ = nullptr;
    QComboBox* cmbMembers_ = nullptr;
    QGroupBox* FrameProject_ = nullptr;
    QLabel* lblProject_ = nullptr;
    QLabel* lblTask_ = nullptr;
    QComboBox* cmbProject_ = nullptr;
    QComboBox* cmbTask_ = nullptr;
    QGroupBox* frameCost_ = nullptr;
    QComboBox* cboCostFunctions_ = nullptr;
    QLineEdit* txtCostValue_ = nullptr;
    QGroupBox* frameOn_ = nullptr;
    QDateEdit* dtOn_ = nullptr;
    QGroupBox* FrameDateRange_ = nullptr;
    QDateEdit* dtStart_ = nullptr;
    QDateEdit* dtEnd_ = nullptr;
    std::array<QGroupBox*, 4> frameCustom_{};
    std::array<QComboBox*, 4> cboCustomField_{};
    QPushButton* cmdSearch_ = nullptr;
    QPushButton* cmdReset_ = nullptr;
    QLabel* lblResult_ = nullptr;
    QTreeView* lvResult_ = nullptr;
    SearchListModel* model_ = nullptr;
    QPlainTextEdit* txtPreview_ = nullptr;
};

// Renders each page as a page of its own (a long one runs onto more), through one painter.
bool PrintHtmlPages(QPrinter& printer, const QStringList& pages);

// Section 20: shows the search modal and returns when it closes.
void OpenSearch(qint32 section);
// Tests drive the shown form through this instead of a blocking exec(); the form is closed after.
void SetSearchDriver(std::function<void(frmSearch&)> driver);

}  // namespace tlm
