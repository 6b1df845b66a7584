#include "review/review_grid_form.h"

#include <QApplication>
#include <QComboBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QStyledItemDelegate>
#include <algorithm>
#include <functional>
#include <numeric>

#include "domain/shared_lists.h"

namespace tlm {

using namespace review_col;

namespace {

bool IsButtonColumn(int col) {
    return col == kApprove || col == kDecline;
}

// Negative, zero or positive; both texts non-empty.
int CompareIds(const QString& a, const QString& b) {
    bool okA = false, okB = false;
    const qlonglong na = a.toLongLong(&okA), nb = b.toLongLong(&okB);
    if (okA && okB)
        return na < nb ? -1 : (na > nb ? 1 : 0);
    return a.compare(b, Qt::CaseInsensitive);
}

}  // namespace

// ---- the model ------------------------------------------------------------------------------

ReviewGridModel::ReviewGridModel(QObject* parent) : QAbstractTableModel(parent) {
    currency_.type = GridCellType::Currency;
    currency_.decimals = 2;
    lockedColumns_.fill(false, kCount);
}

int ReviewGridModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(rows_.size());
}

int ReviewGridModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : kCount;
}

QString ReviewGridModel::text(int row, int col) const {
    if (row < 0 || row >= rows_.size())
        return QString();
    const ReviewItem& it = rows_[row].item;
    switch (col) {
        case kType:
            return it.TypeText();
        case kID:
            return it.ID;
        case kSubject:
            return it.Subject;
        case kProject:
            return it.ProjectValue;
        case kActivity:
            return it.ActivityValue;
        case kCost:
            return FormatCellValue(currency_, QVariant::fromValue(it.TotalCost));
        case kReported:
            return DateTimeToText(it.ReportedDate);
        case kReportedBy:
            return it.ReportedBy;
        case kApprove:
        case kDecline:
            return captions_.value(col);
        default:
            return QString();
    }
}

QVariant ReviewGridModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rows_.size())
        return QVariant();
    const int row = index.row(), col = index.column();
    switch (role) {
        case Qt::DisplayRole:
            // The kind shows as its picture; the buttons are painted by the delegate.
            return col == kType || IsButtonColumn(col) ? QVariant() : QVariant(text(row, col));
        case Qt::EditRole:
            return text(row, col);
        case Qt::DecorationRole:
            if (col == kType)
                return QVariant::fromValue(rows_[row].item.appointment ? appointmentIcon_ : taskIcon_);
            return QVariant();
        case Qt::ToolTipRole:
            return col == kType ? QVariant(text(row, col)) : QVariant();
        case Qt::TextAlignmentRole:
            return col == kCost ? QVariant(int(Qt::AlignRight | Qt::AlignVCenter)) : QVariant();
        case Qt::BackgroundRole:
            return isCellLocked(row, col) && lockColour_.isValid() ? QVariant::fromValue(lockColour_)
                                                                   : QVariant();
        default:
            return QVariant();
    }
}

QVariant ReviewGridModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole)
        return headers_.value(section);
    return QAbstractTableModel::headerData(section, orientation, role);
}

bool ReviewGridModel::isEditableColumn(int col) const {
    return col == kProject || col == kActivity || col == kCost;
}

Qt::ItemFlags ReviewGridModel::flags(const QModelIndex& index) const {
    if (!index.isValid())
        return Qt::NoItemFlags;
    Qt::ItemFlags f = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    if (isEditableColumn(index.column()) && !isCellLocked(index.row(), index.column()))
        f |= Qt::ItemIsEditable;
    return f;
}

bool ReviewGridModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!index.isValid() || role != Qt::EditRole)
        return false;
    return applyUserText(index.row(), index.column(), value.toString());
}

bool ReviewGridModel::applyUserText(int row, int col, const QString& text) {
    if (row < 0 || row >= rows_.size() || !isEditableColumn(col) || isCellLocked(row, col))
        return false;
    ReviewItem& it = rows_[row].item;
    if (col == kCost) {
        const std::optional<QVariant> parsed = ParseCellInput(currency_, text);
        if (!parsed || !parsed->isValid())
            return false;
        it.TotalCost = parsed->value<Money>();
    } else {
        // A combo cell takes only its own choices; a plain cell would not be editable at all.
        if (!combos_ || !comboItems(row, col).contains(text))
            return false;
        (col == kProject ? it.ProjectValue : it.ActivityValue) = text;
    }
    const QModelIndex at = index(row, col);
    emit dataChanged(at, at);
    return true;
}

void ReviewGridModel::setCaptions(const QStringList& captions) {
    headers_ = captions;
    emit headerDataChanged(Qt::Horizontal, 0, kCount - 1);
}

void ReviewGridModel::setComboColumns(bool on, const QStringList& projects) {
    combos_ = on;
    projects_ = projects;
}

void ReviewGridModel::setIcons(const QIcon& task, const QIcon& appointment) {
    taskIcon_ = task;
    appointmentIcon_ = appointment;
}

void ReviewGridModel::setItems(QVector<ReviewItem> items, QVector<int> activityLists) {
    beginResetModel();
    rows_.clear();
    rows_.reserve(items.size());
    for (int i = 0; i < items.size(); ++i)
        rows_.append(Row{std::move(items[i]), activityLists.value(i, -1), 0, 0});
    endResetModel();
}

void ReviewGridModel::clear() {
    beginResetModel();
    rows_ = {};
    endResetModel();
}

void ReviewGridModel::dropRows(QVector<int> rows) {
    std::sort(rows.begin(), rows.end(), std::greater<int>());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    // From the bottom up, a run of neighbours at a time.
    for (int i = 0; i < rows.size();) {
        const int last = rows[i];
        int first = last;
        while (++i < rows.size() && rows[i] == first - 1)
            first = rows[i];
        if (first < 0 || last >= rows_.size())
            continue;
        beginRemoveRows(QModelIndex(), first, last);
        rows_.remove(first, last - first + 1);
        endRemoveRows();
    }
}

ReviewRowTexts ReviewGridModel::rowTexts(int row) const {
    const ReviewItem& it = rows_[row].item;
    // The cost goes back as the value the cell holds, not rounded to what it shows.
    return {
        it.TypeText(), it.ID, it.Subject, {it.ProjectValue, it.ActivityValue, it.TotalCost.toPlainString()}};
}

int ReviewGridModel::internList(const QString& tabList) {
    const auto known = listOf_.constFind(tabList);
    if (known != listOf_.cend())
        return *known;
    lists_.append(SplitTabList(tabList));
    return listOf_.insert(tabList, int(lists_.size()) - 1).value();
}

void ReviewGridModel::setRowList(int row, int list) {
    if (row >= 0 && row < rows_.size())
        rows_[row].list = list;
}

QStringList ReviewGridModel::comboItems(int row, int col) const {
    if (!combos_ || row < 0 || row >= rows_.size())
        return {};
    if (col == kProject)
        return projects_;
    if (col == kActivity)
        return lists_.value(rows_[row].list);
    return {};
}

void ReviewGridModel::setButtonCaption(int col, const QString& caption, const QColor& face) {
    captions_[col] = caption;
    faces_[col] = face;
    if (!rows_.isEmpty())
        emit dataChanged(index(0, col), index(int(rows_.size()) - 1, col));
}

void ReviewGridModel::setColumnLocked(int col, bool locked) {
    if (col < 0 || col >= kCount)
        return;
    lockedColumns_[col] = locked;
    // The whole column: what single rows said of it is overruled.
    const quint16 bit = quint16(1u << col);
    for (Row& r : rows_)
        r.lockKnown &= quint16(~bit);
    if (!rows_.isEmpty())
        emit dataChanged(index(0, col), index(int(rows_.size()) - 1, col));
}

void ReviewGridModel::lockCells(int col1, int col2, int row1, int row2, bool locked) {
    col1 = std::max(col1, 0);
    col2 = std::min(col2, kCount - 1);
    row1 = std::max(row1, 0);
    row2 = std::min(row2, int(rows_.size()) - 1);
    if (col1 > col2 || row1 > row2)
        return;
    for (int r = row1; r <= row2; ++r)
        for (int c = col1; c <= col2; ++c) {
            const quint16 bit = quint16(1u << c);
            rows_[r].lockKnown |= bit;
            rows_[r].lockBits = locked ? quint16(rows_[r].lockBits | bit) : quint16(rows_[r].lockBits & ~bit);
        }
    emit dataChanged(index(row1, col1), index(row2, col2));
}

bool ReviewGridModel::isCellLocked(int row, int col) const {
    if (col < 0 || col >= kCount || row < 0 || row >= rows_.size())
        return false;
    const quint16 bit = quint16(1u << col);
    const Row& r = rows_[row];
    return (r.lockKnown & bit) ? (r.lockBits & bit) != 0 : lockedColumns_[col];
}

void ReviewGridModel::sort(int column, Qt::SortOrder order) {
    if (column < 0 || column >= kCount || IsButtonColumn(column) || rows_.size() < 2)
        return;
    const auto textOf = [&](const ReviewItem& it) -> const QString& {
        switch (column) {
            case kID:
                return it.ID;
            case kSubject:
                return it.Subject;
            case kProject:
                return it.ProjectValue;
            case kActivity:
                return it.ActivityValue;
            default:
                return it.ReportedBy;
        }
    };
    // Negative, zero or positive; both cells non-empty.
    const auto compare = [&](const ReviewItem& a, const ReviewItem& b) {
        switch (column) {
            case kType:
                return int(a.appointment) - int(b.appointment);
            case kCost:
                return a.TotalCost < b.TotalCost ? -1 : (b.TotalCost < a.TotalCost ? 1 : 0);
            case kReported:
                return a.ReportedDate < b.ReportedDate ? -1 : (b.ReportedDate < a.ReportedDate ? 1 : 0);
            case kID:
                return CompareIds(a.ID, b.ID);
            default:
                return textOf(a).compare(textOf(b), Qt::CaseInsensitive);
        }
    };
    const auto isEmpty = [&](const ReviewItem& it) {
        if (column == kReported)
            return !it.ReportedDate.isValid();
        if (column == kType || column == kCost)
            return false;
        return textOf(it).isEmpty();
    };
    QVector<int> order_(rows_.size());
    std::iota(order_.begin(), order_.end(), 0);
    std::stable_sort(order_.begin(), order_.end(), [&](int x, int y) {
        const ReviewItem& a = rows_[x].item;
        const ReviewItem& b = rows_[y].item;
        const bool ea = isEmpty(a), eb = isEmpty(b);
        if (ea || eb)
            return !ea && eb;  // empty cells last in either order
        const int c = compare(a, b);
        return order == Qt::AscendingOrder ? c < 0 : c > 0;
    });

    emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    QVector<int> newRowOf(rows_.size());
    QVector<Row> sorted;
    sorted.reserve(rows_.size());
    for (int i = 0; i < order_.size(); ++i) {
        newRowOf[order_[i]] = i;
        sorted.append(std::move(rows_[order_[i]]));
    }
    rows_ = std::move(sorted);
    const QModelIndexList before = persistentIndexList();
    QModelIndexList after;
    after.reserve(before.size());
    for (const QModelIndex& i : before)
        after.append(index(newRowOf[i.row()], i.column()));
    changePersistentIndexList(before, after);
    emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

// ---- the delegate ---------------------------------------------------------------------------

class ReviewGridDelegate : public QStyledItemDelegate {
  public:
    explicit ReviewGridDelegate(ReviewGrid* grid) : QStyledItemDelegate(grid), grid_(grid) {}

    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override {
        QStyledItemDelegate::initStyleOption(option, index);
        if (index.column() == kType)
            option->decorationAlignment = Qt::AlignCenter;
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        if (!IsButtonColumn(index.column())) {
            QStyledItemDelegate::paint(painter, option, index);
            return;
        }
        QStyleOptionViewItem opt = option;
        initStyleOption(&opt, index);
        QStyle* style = grid_->style();
        style->drawPrimitive(QStyle::PE_PanelItemViewItem, &opt, painter, grid_);
        const ReviewGridModel* model = grid_->reviewModel();
        const QString caption = model->buttonCaption(index.column());
        if (caption.isEmpty())
            return;
        QStyleOptionButton button;
        button.rect = opt.rect.adjusted(1, 1, -1, -1);
        button.text = caption;
        button.palette = opt.palette;
        const QColor face = model->buttonFace(index.column());
        if (face.isValid())
            button.palette.setColor(QPalette::Button, face);
        button.state = QStyle::State_Enabled | QStyle::State_Raised;
        if (pressed_ == QPersistentModelIndex(index))
            button.state = QStyle::State_Enabled | QStyle::State_Sunken;
        style->drawControl(QStyle::CE_PushButton, &button, painter, grid_);
    }

    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override {
        if (!IsButtonColumn(index.column()) || grid_->reviewModel()->buttonCaption(index.column()).isEmpty())
            return QStyledItemDelegate::editorEvent(event, model, option, index);
        switch (event->type()) {
            case QEvent::MouseButtonPress:
            case QEvent::MouseButtonDblClick:
                if (static_cast<QMouseEvent*>(event)->button() != Qt::LeftButton)
                    return false;
                pressed_ = index;
                grid_->viewport()->update(option.rect);
                return true;
            case QEvent::MouseButtonRelease: {
                const bool same =
                    pressed_ == QPersistentModelIndex(index) &&
                    option.rect.contains(static_cast<QMouseEvent*>(event)->position().toPoint());
                pressed_ = QPersistentModelIndex();
                grid_->viewport()->update(option.rect);
                // The handler may take the row away: this event is done with it first.
                if (same)
                    emit grid_->buttonClicked(index.row(), index.column());
                return true;
            }
            default:
                return false;
        }
    }

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem&,
                          const QModelIndex& index) const override {
        const ReviewGridModel* model = grid_->reviewModel();
        if (index.column() == kCost) {
            auto* line = new QLineEdit(parent);
            line->setFrame(false);
            line->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
            return line;
        }
        if (index.column() != kProject && index.column() != kActivity)
            return nullptr;
        auto* box = new QComboBox(parent);
        box->setFrame(false);
        box->addItems(model->comboItems(index.row(), index.column()));
        // A pick counts at once, as the combo cell's own event did.
        connect(box, &QComboBox::activated, this, [this, box] {
            auto* self = const_cast<ReviewGridDelegate*>(this);
            emit self->commitData(box);
            emit self->closeEditor(box);
        });
        return box;
    }

    void setEditorData(QWidget* editor, const QModelIndex& index) const override {
        const QString current = grid_->reviewModel()->text(index.row(), index.column());
        if (auto* box = qobject_cast<QComboBox*>(editor))
            box->setCurrentIndex(box->findText(current, Qt::MatchFixedString | Qt::MatchCaseSensitive));
        else if (auto* line = qobject_cast<QLineEdit*>(editor))
            line->setText(current);
    }

    void setModelData(QWidget* editor, QAbstractItemModel*, const QModelIndex& index) const override {
        QString input;
        if (auto* box = qobject_cast<QComboBox*>(editor)) {
            if (box->currentIndex() < 0)
                return;
            input = box->currentText();
        } else if (auto* line = qobject_cast<QLineEdit*>(editor)) {
            input = line->text();
        } else {
            return;
        }
        if (input != grid_->reviewModel()->text(index.row(), index.column()))
            grid_->userEdit(index.row(), index.column(), input);
    }

    void updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                              const QModelIndex&) const override {
        editor->setGeometry(option.rect);
    }

  private:
    ReviewGrid* grid_;
    QPersistentModelIndex pressed_;
};

// ---- the view -------------------------------------------------------------------------------

ReviewGrid::ReviewGrid(QWidget* parent) : QTableView(parent), model_(new ReviewGridModel(this)) {
    setModel(model_);
    setItemDelegate(new ReviewGridDelegate(this));
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::SelectedClicked |
                    QAbstractItemView::EditKeyPressed | QAbstractItemView::AnyKeyPressed);
    setWordWrap(false);
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->hide();
    horizontalHeader()->setSectionsClickable(true);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setSortIndicatorShown(false);
    connect(horizontalHeader(), &QHeaderView::sectionClicked, this, &ReviewGrid::headerClicked);
}

void ReviewGrid::headerClicked(int col) {
    if (IsButtonColumn(col))
        return;
    // A second click on the same column turns the order round.
    lastOrder_ =
        col == lastSorted_ && lastOrder_ == Qt::AscendingOrder ? Qt::DescendingOrder : Qt::AscendingOrder;
    model_->sort(col, lastOrder_);
    lastSorted_ = col;
    horizontalHeader()->setSortIndicatorShown(true);
    horizontalHeader()->setSortIndicator(col, lastOrder_);
    emit afterUserSort(col);
}

bool ReviewGrid::userEdit(int row, int col, const QString& text) {
    if (!model_->applyUserText(row, col, text))
        return false;
    emit valueEdited(row, col);
    return true;
}

QVector<int> ReviewGrid::selectedRowNumbers() const {
    QVector<int> rows;
    for (const QModelIndex& i : selectionModel()->selectedRows())
        rows.append(i.row());
    std::sort(rows.begin(), rows.end());
    return rows;
}

}  // namespace tlm
