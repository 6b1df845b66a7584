#pragma once

#include <QAbstractTableModel>
#include <QColor>
#include <QHash>
#include <QIcon>
#include <QStringList>
#include <QTableView>
#include <QVector>

#include "desktop/grid_model.h"
#include "review/review_queue.h"

namespace tlm {

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

// The review's rows as the items themselves: a cell's text is made when it is asked for, and the
// row buttons are a caption per column, so a long queue costs little more than its items.
class ReviewGridModel : public QAbstractTableModel {
  public:
    explicit ReviewGridModel(QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    // Stable, ascending or descending; empty cells last either way; the buttons do not sort.
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

    void setCaptions(const QStringList& captions);
    // Project and activity become combo cells; the project's list is the given one.
    void setComboColumns(bool on, const QStringList& projects);
    void setIcons(const QIcon& task, const QIcon& appointment);
    void setLockColour(const QColor& colour) { lockColour_ = colour; }

    // Replaces every row; each row's activity list is the list at its index (-1: none).
    void setItems(QVector<ReviewItem> items, QVector<int> activityLists = {});
    void clear();
    void dropRows(QVector<int> rows);  // any order
    const ReviewItem& item(int row) const { return rows_[row].item; }
    // The grid's texts of a row, as approving and declining take them.
    ReviewRowTexts rowTexts(int row) const;
    QString text(int row, int col) const;  // as shown; the kind column's text behind its picture

    // Activity lists are kept once each; rows of one project share one.
    int internList(const QString& tabList);
    void setRowList(int row, int list);
    QStringList comboItems(int row, int col) const;

    void setButtonCaption(int col, const QString& caption, const QColor& face = QColor());
    QString buttonCaption(int col) const { return captions_.value(col); }
    QColor buttonFace(int col) const { return faces_.value(col); }

    void setColumnLocked(int col, bool locked);
    void lockCells(int col1, int col2, int row1, int row2, bool locked);
    bool isCellLocked(int row, int col) const;

    // A user's edit of a project, activity or cost cell: false when the text is no choice of the
    // combo or no amount, or the cell is locked.
    bool applyUserText(int row, int col, const QString& text);

  private:
    struct Row {
        ReviewItem item;
        int list = -1;          // activity list
        quint16 lockKnown = 0;  // columns whose lock this row sets itself
        quint16 lockBits = 0;
    };
    bool isEditableColumn(int col) const;

    QVector<Row> rows_;
    QStringList headers_;
    QVector<QStringList> lists_;
    QHash<QString, int> listOf_;
    QStringList projects_;
    bool combos_ = false;
    QIcon taskIcon_, appointmentIcon_;
    QColor lockColour_;
    QHash<int, QString> captions_;
    QHash<int, QColor> faces_;
    QVector<bool> lockedColumns_;
    GridColumn currency_;
};

// The review grid: a view over ReviewGridModel whose delegate paints the row buttons and opens a
// combo or a line editor only on the cell being edited. Rows are selected whole, several at once.
class ReviewGrid : public QTableView {
    Q_OBJECT
  public:
    explicit ReviewGrid(QWidget* parent = nullptr);

    ReviewGridModel* reviewModel() const { return model_; }
    int rowCount() const { return model_->rowCount(); }
    QString text(int row, int col) const { return model_->text(row, col); }
    QStringList comboItems(int row, int col) const { return model_->comboItems(row, col); }
    bool isCellLocked(int row, int col) const { return model_->isCellLocked(row, col); }
    // As the user picking or typing into a cell: the model takes it and valueEdited follows.
    bool userEdit(int row, int col, const QString& text);
    // The selected rows, top to bottom.
    QVector<int> selectedRowNumbers() const;
    int lastSortedColumn() const { return lastSorted_; }

  signals:
    void buttonClicked(int row, int col);
    void valueEdited(int row, int col);
    void afterUserSort(int col);

  private:
    friend class ReviewGridDelegate;
    void headerClicked(int col);

    ReviewGridModel* model_ = nullptr;
    int lastSorted_ = -1;
    Qt::SortOrder lastOrder_ = Qt::AscendingOrder;
};

}  // namespace tlm
