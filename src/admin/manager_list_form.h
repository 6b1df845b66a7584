#pragma once

#include <QColor>
#include <QDialog>
#include <functional>

#include "admin/manager_list.h"

class QAction;
class QLabel;
class QToolBar;
class QWidget;

namespace tlm {

class GridWidget;

// The one window that edits every domain list: projects, activities, members and the custom
// lists, chosen by the current section. The grid is a working copy; nothing reaches the database
// before Save or Apply.
class frmManagerList : public QDialog {
    Q_OBJECT
  public:
    explicit frmManagerList(QWidget* parent = nullptr);
    ~frmManagerList() override;

    // The form's load: on top, captions, cell types and contents, header-click sorting.
    void Load();
    void subSetCaptions();
    void subGetSettings();
    // True when the list was written (or the section has no list); false keeps the window open.
    bool subSaveSettings();

    // The toolbar.
    void Import();  // saves first when the grid's row count differs from the list, then imports
    void Apply();
    void Save();
    void Exit();  // closes at once and drops unsaved edits

    // A row's button (0-based row and column).
    // Members from the address book: known names get their saved row back, new ones become rows
    // below the last; nothing is written before Save or Apply.
    void subImportFromAD();

    void ButtonClicked(int row, int col);
    void SetColorToBlock(int col1, int col2, int row1, int row2, const QColor& color);
    void LoadColorButtons(int indexCol, int buttonCol);
    void LoadNotifyButtons(int col, bool single);

    // Edits since the last load or save (typing, pasting, deleting rows, a picked colour).
    bool hasUnsavedChanges() const;
    bool saved() const { return saved_; }
    qint32 section() const { return section_; }
    const ListLayout& layout() const { return layout_; }
    GridWidget* grid() const { return fps_; }
    QLabel* heading() const { return lblMain_; }
    QAction* toolbarButton(const QString& key) const;  // "Import", "Apply", "Save", "Exit"
    int sortedColumn() const { return sortedColumn_; }

  public slots:
    // The close box and Escape: unsaved edits are offered for saving first.
    void reject() override;

  protected:
    void done(int result) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void subResizeSpreadSheets();
    void WriteRows(const GridRows& rows);
    GridRows ReadRows(int rows) const;

    qint32 section_ = 0;
    ListLayout layout_;
    QToolBar* tb_ = nullptr;
    QWidget* pMain_ = nullptr;
    QLabel* lblMain_ = nullptr;
    GridWidget* fps_ = nullptr;
    QAction* import_ = nullptr;
    QAction* apply_ = nullptr;
    QAction* save_ = nullptr;
    QAction* exit_ = nullptr;
    int sortedColumn_ = -1;
    bool dirty_ = false;
    bool exiting_ = false;
    bool saved_ = false;
};

// The section loader's opener: shows the window modal for the section.
void OpenManagerList(qint32 section);

// Widget tests drive the window instead of a blocking modal loop: the driver gets the loaded,
// shown form; a form it leaves open is closed as by Exit. An empty driver restores exec().
void SetManagerListDriver(std::function<void(frmManagerList&)> driver);

// Lists longer than this load and save with a progress window.
inline constexpr int kListProgressRows = 2000;

}  // namespace tlm
