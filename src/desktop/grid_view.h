#pragma once

#include <QColor>
#include <QHash>
#include <QIcon>
#include <QTableWidget>
#include <QVector>
#include <functional>

#include "desktop/grid_model.h"

namespace tlm {

class GridDelegate;

// The shared spreadsheet grid. Rows and columns are 0-based everywhere in this interface; a
// screen whose logic counts from 1 subtracts one at its own edge. Values go in and out as the
// column's type: QString (text, combo, button, static), tlm::Money (currency), QDate (date),
// qlonglong (integer, colour), int 0/1 (check). An empty typed cell reads as an invalid QVariant.
//
// Loads through the API are programmatic: they neither mark the cells changed nor emit
// valueEdited. Edits by the user (typing, combo, check, Delete, paste) do both.
class GridWidget : public QTableWidget {
    Q_OBJECT
  public:
    enum class DeleteKey { ClearCells, DeleteRows, Nothing };
    struct SortKey {
        int column = 0;
        Qt::SortOrder order = Qt::AscendingOrder;
    };
    struct PasteResult {
        int accepted = 0;
        int refused = 0;  // bad values in typed columns and locked cells, left as they were
        int rowsAdded = 0;
    };

    explicit GridWidget(QWidget* parent = nullptr);
    ~GridWidget() override;

    // Columns: count and captions in one go; types set once per column.
    void setColumns(const QStringList& captions);
    void setColumnCaption(int col, const QString& caption);
    QString columnCaption(int col) const;
    void setColumn(int col, const GridColumn& desc);
    const GridColumn& column(int col) const;
    void setTextColumn(int col, int maxLength = 0);
    void setComboColumn(int col, const QString& tabList, bool editable = false);
    void setCurrencyColumn(int col, int decimals = 2);
    void setDateColumn(int col, const QString& format = QStringLiteral("yyyy-MM-dd"));
    void setIntegerColumn(int col);
    void setCheckColumn(int col);
    void setButtonColumn(int col);
    void setStaticColumn(int col);
    // A colour cell paints a block; the mappers turn its integer code into a colour and a name.
    void setColourColumn(int col, std::function<QColor(qint64)> toColour = {},
                         std::function<QString(qint64)> toName = {});
    // A cell whose text has an icon here shows the icon instead of the text.
    void setValueIcons(int col, const QHash<QString, QIcon>& icons);
    // One row's own choices in a combo column (replaces the column's list for that cell).
    void setCellComboList(int row, int col, const QString& tabList);
    // The same from a split list; rows handed one list share it.
    void setCellComboItems(int row, int col, const QStringList& items);
    QStringList comboItems(int row, int col) const;
    // Widths from the captions and the contents, filling the viewport: every caption whole, the
    // first visible text column taking the room that is left (FitColumnWidths in desktop/look.h).
    void fitColumnsToWidth();
    // Keeps the columns fitted whenever the grid changes size (the grid knows its final width
    // only after its window's layout ran, which is later than the window's own resize).
    void setFitColumnsOnResize(bool on);

    // Values.
    QVariant value(int row, int col) const;
    bool setValue(int row, int col, const QVariant& value);  // false: not a value of the column
    QString text(int row, int col) const;                    // as shown
    QVector<QVariant> rowValues(int row) const;
    void setRowValues(int row, const QVector<QVariant>& values, int firstCol = 0);
    // Bulk read of a block (rows/cols -1: up to the data row count / last column).
    QVector<QVector<QVariant>> matrix(int firstRow = 0, int firstCol = 0, int rows = -1, int cols = -1) const;
    // Bulk write at a starting cell, adding rows as needed; signals and repaints held until done.
    void setMatrix(const QVector<QVector<QVariant>>& values, int firstRow = 0, int firstCol = 0);
    void clearValues();        // every cell empty, rows and columns kept
    int dataRowCount() const;  // 1 + the last row holding any value (buttons do not count)
    int findRow(int col, const QString& text, int fromRow = 0,
                Qt::CaseSensitivity cs = Qt::CaseInsensitive) const;  // -1 when none
    // Visible columns as tab-separated display text, captions first when asked.
    QString toTabText(bool withCaptions = true) const;

    // Buttons, colours.
    void setButton(int row, int col, const QString& text, const QColor& face = QColor());
    QColor buttonFace(int row, int col) const;  // white until set
    // A button on every row of a column that has none of its own, with no cell per row (a long
    // list stays light); an empty caption takes it away.
    void setColumnButton(int col, const QString& text, const QColor& face = QColor());
    void setBackColor(int col1, int col2, int row1, int row2, const QColor& color);  // invalid: clear
    QColor backColor(int row, int col) const;

    // Rows.
    void insertRows(int at, int count = 1);
    void deleteRows(int at, int count = 1);
    int appendRow(const QVector<QVariant>& values = {});
    void setAllowAddRows(bool allow) { allowAddRows_ = allow; }
    // Keeps one empty row after the last row with data, where the user types a new entry.
    void setKeepBlankRow(bool keep);
    bool allowAddRows() const { return allowAddRows_; }

    // Locks: a locked cell refuses edits and is painted in the lock colour.
    void setLocked(bool locked);
    bool isLocked() const { return gridLocked_; }
    void setColumnLocked(int col, bool locked);
    void setRowLocked(int row, bool locked);
    void lockCells(int col1, int col2, int row1, int row2, bool locked);
    bool isCellLocked(int row, int col) const;
    void setLockColor(const QColor& color);
    QColor lockColor() const { return lockColor_; }

    // Sorting: stable, by several keys; empty cells go last in either order.
    void sortRows(const QVector<SortKey>& keys);
    void setUserSortEnabled(bool enabled) { userSort_ = enabled; }
    int lastSortedColumn() const { return lastSortColumn_; }

    // Selection and the active cell.
    void setActiveCell(int row, int col);
    int activeRow() const;
    int activeColumn() const;
    void selectBlock(int row1, int col1, int row2, int col2);
    int firstSelectedRow() const;  // -1 with nothing selected
    int lastSelectedRow() const;

    // Change tracking.
    bool isChanged() const { return changed_; }
    bool isRowChanged(int row) const;
    bool isCellChanged(int row, int col) const;
    void clearChanged();

    // Keyboard behaviour and the clipboard.
    void setDeleteKeyAction(DeleteKey action) { deleteKey_ = action; }
    QString selectionText() const;  // what Ctrl+C puts on the clipboard
    void copySelection() const;
    PasteResult pasteText(const QString& tabText);  // from the active cell, as the user
    void clearSelectedCells();                      // the Delete key, as the user
    // Takes in what an open cell editor holds, as leaving the cell does (before a toolbar save).
    void commitOpenEditor();

  signals:
    void valueEdited(int row, int col);
    void editRefused(int row, int col, const QString& text);
    void buttonClicked(int row, int col);
    void colourClicked(int row, int col);
    void rowsAdded(int first, int count);
    void rowsRemoved(int first, int count);
    void beforeUserSort(int col);
    void afterUserSort(int col);

  protected:
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    bool edit(const QModelIndex& index, EditTrigger trigger, QEvent* event) override;

  private:
    friend class GridDelegate;
    enum Role { ChangedRole = Qt::UserRole + 1, LockedRole, FaceRole, ComboRole };

    QTableWidgetItem* cell(int row, int col);  // created on demand
    const QTableWidgetItem* cellIfAny(int row, int col) const;
    QVariant storedValue(int row, int col) const;
    void storeValue(int row, int col, const QVariant& normalised);
    GridColumn effectiveColumn(int row, int col) const;
    bool applyUserText(int row, int col, const QString& text);
    void applyUserValue(int row, int col, const QVariant& normalised);
    void activateSpecialCell(int row, int col);
    void moveAfterEdit(int key);
    void moveNext(bool backwards);
    void moveDown();
    void userDeleteRows();
    void headerClicked(int col);
    void ensureColumns();

    QVector<GridColumn> columns_;
    QHash<int, std::function<QColor(qint64)>> colourOf_;
    QHash<int, std::function<QString(qint64)>> colourName_;
    QHash<int, QHash<QString, QIcon>> icons_;
    QHash<int, std::pair<QString, QColor>> columnButtons_;
    QVector<bool> lockedColumns_;
    QColor lockColor_{235, 235, 235};
    GridDelegate* delegate_ = nullptr;
    DeleteKey deleteKey_ = DeleteKey::ClearCells;
    bool fitOnResize_ = false;
    bool keepBlankRow_ = false;
    void ensureBlankRow();
    QModelIndex pressed_;
    int lastSortColumn_ = -1;
    Qt::SortOrder lastSortOrder_ = Qt::AscendingOrder;
    bool gridLocked_ = false;
    bool allowAddRows_ = true;
    bool userSort_ = false;
    bool changed_ = false;
};

}  // namespace tlm
