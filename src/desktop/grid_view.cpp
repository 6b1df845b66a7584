#include "desktop/grid_view.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QSignalBlocker>
#include <QStyle>
#include <QStyledItemDelegate>
#include <algorithm>
#include <limits>
#include <numeric>

#include "desktop/look.h"

namespace tlm {

namespace {

bool IsActionType(GridCellType t) {
    return t == GridCellType::Check || t == GridCellType::Button || t == GridCellType::Colour;
}

bool TakesInput(GridCellType t) {
    return t != GridCellType::Button && t != GridCellType::Static;
}

}  // namespace

// Paints the typed cells (no per-cell widgets, so 100k rows stay cheap) and makes the editors.
class GridDelegate : public QStyledItemDelegate {
  public:
    explicit GridDelegate(GridWidget* grid) : QStyledItemDelegate(grid), grid_(grid) {}

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem&,
                          const QModelIndex& index) const override {
        const GridColumn desc = grid_->effectiveColumn(index.row(), index.column());
        switch (desc.type) {
            case GridCellType::Combo: {
                auto* box = new QComboBox(parent);
                box->setEditable(desc.comboEditable);
                box->addItems(desc.comboItems);
                box->setFrame(false);
                return box;
            }
            case GridCellType::Check:
            case GridCellType::Button:
            case GridCellType::Colour:
            case GridCellType::Static:
                return nullptr;
            default: {
                auto* line = new QLineEdit(parent);
                line->setFrame(false);
                if (desc.type == GridCellType::Text && desc.maxLength > 0)
                    line->setMaxLength(desc.maxLength);
                if (desc.type == GridCellType::Currency || desc.type == GridCellType::Integer)
                    line->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
                if (desc.type == GridCellType::Date)
                    line->setPlaceholderText(desc.dateFormat);
                return line;
            }
        }
    }

    void setEditorData(QWidget* editor, const QModelIndex& index) const override {
        const QString current = grid_->text(index.row(), index.column());
        if (auto* box = qobject_cast<QComboBox*>(editor)) {
            const int at = box->findText(current, Qt::MatchFixedString);
            if (at >= 0) {
                box->setCurrentIndex(at);
            } else if (box->isEditable()) {
                box->setEditText(current);
            } else {
                box->setCurrentIndex(-1);
            }
        } else if (auto* line = qobject_cast<QLineEdit*>(editor)) {
            line->setText(current);
        }
    }

    void setModelData(QWidget* editor, QAbstractItemModel*, const QModelIndex& index) const override {
        QString input;
        if (auto* box = qobject_cast<QComboBox*>(editor)) {
            input = box->currentText();
        } else if (auto* line = qobject_cast<QLineEdit*>(editor)) {
            input = line->text();
        } else {
            return;
        }
        grid_->applyUserText(index.row(), index.column(), input);
    }

    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override {
        QStyledItemDelegate::initStyleOption(option, index);
        const int row = index.row();
        const int col = index.column();
        const GridColumn& desc = grid_->column(col);
        option->text = grid_->text(row, col);
        if (option->text.isEmpty()) {
            option->features &= ~QStyleOptionViewItem::HasDisplay;
        } else {
            option->features |= QStyleOptionViewItem::HasDisplay;
        }
        if (desc.type == GridCellType::Currency || desc.type == GridCellType::Integer)
            option->displayAlignment = Qt::AlignRight | Qt::AlignVCenter;
        const auto icons = grid_->icons_.constFind(col);
        if (icons != grid_->icons_.cend()) {
            const auto icon = icons->constFind(option->text);
            if (icon != icons->cend()) {
                option->icon = *icon;
                option->features |= QStyleOptionViewItem::HasDecoration;
                option->features &= ~QStyleOptionViewItem::HasDisplay;
                option->text.clear();
                option->decorationAlignment = Qt::AlignCenter;
            }
        }
        if (!index.data(Qt::BackgroundRole).isValid() && grid_->isCellLocked(row, col))
            option->backgroundBrush = grid_->lockColor_;
        // A cell of its own colour keeps its text readable under a dark palette too.
        if (option->backgroundBrush.style() != Qt::NoBrush)
            option->palette.setColor(QPalette::Text, TextColourOn(option->backgroundBrush.color()));
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        const int row = index.row();
        const int col = index.column();
        const GridColumn& desc = grid_->column(col);
        if (!IsActionType(desc.type)) {
            QStyledItemDelegate::paint(painter, option, index);
            return;
        }
        QStyleOptionViewItem opt = option;
        initStyleOption(&opt, index);
        opt.text.clear();
        opt.features &= ~QStyleOptionViewItem::HasDisplay;
        QStyle* style = grid_->style();
        style->drawPrimitive(QStyle::PE_PanelItemViewItem, &opt, painter, grid_);
        const bool enabled = !grid_->isCellLocked(row, col);
        const QVariant value = grid_->storedValue(row, col);
        if (desc.type == GridCellType::Check) {
            QStyleOptionButton box;
            const QSize size(style->pixelMetric(QStyle::PM_IndicatorWidth),
                             style->pixelMetric(QStyle::PM_IndicatorHeight));
            box.rect = QStyle::alignedRect(opt.direction, Qt::AlignCenter, size, opt.rect);
            box.state = (value.toLongLong() != 0 ? QStyle::State_On : QStyle::State_Off) |
                        (enabled ? QStyle::State_Enabled : QStyle::State_None);
            style->drawPrimitive(QStyle::PE_IndicatorCheckBox, &box, painter, grid_);
        } else if (desc.type == GridCellType::Button) {
            QStyleOptionButton button;
            button.rect = opt.rect.adjusted(1, 1, -1, -1);
            button.text = value.toString();
            button.palette = opt.palette;
            const QColor face = grid_->buttonFace(row, col);
            button.palette.setColor(QPalette::Button, face);
            // A dark face (a colour button showing "Black") keeps its caption readable.
            button.palette.setColor(QPalette::ButtonText, face.lightness() < 110 ? Qt::white : Qt::black);
            button.state = QStyle::State_Raised | (enabled ? QStyle::State_Enabled : QStyle::State_None);
            style->drawControl(QStyle::CE_PushButton, &button, painter, grid_);
        } else if (value.isValid() && !value.isNull()) {
            const qint64 code = value.toLongLong();
            const auto toColour = grid_->colourOf_.value(col);
            const QColor colour = toColour ? toColour(code) : QColor::fromRgb(QRgb(code));
            const int side = std::max(4, opt.rect.height() - 6);
            const QRect block(opt.rect.left() + 3, opt.rect.top() + 3, side * 2, side);
            painter->save();
            painter->setPen(opt.palette.color(QPalette::Mid));
            painter->setBrush(colour);
            painter->drawRect(block);
            painter->restore();
            if (const auto toName = grid_->colourName_.value(col)) {
                const QRect textRect = opt.rect.adjusted(block.width() + 8, 0, -2, 0);
                painter->drawText(textRect, Qt::AlignVCenter | Qt::AlignLeft, toName(code));
            }
        }
    }

  protected:
    // Enter, Tab and Shift+Tab commit and move as in a spreadsheet, without opening the next editor.
    bool eventFilter(QObject* object, QEvent* event) override {
        if (event->type() == QEvent::KeyPress) {
            const int key = static_cast<QKeyEvent*>(event)->key();
            auto* editor = qobject_cast<QWidget*>(object);
            auto* box = qobject_cast<QComboBox*>(object);
            const bool popupOpen = box && box->view()->isVisible();
            if (editor && !popupOpen &&
                (key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Tab ||
                 key == Qt::Key_Backtab)) {
                emit commitData(editor);
                emit closeEditor(editor, QAbstractItemDelegate::NoHint);
                grid_->moveAfterEdit(key);
                return true;
            }
        }
        return QStyledItemDelegate::eventFilter(object, event);
    }

  private:
    GridWidget* grid_;
};

GridWidget::GridWidget(QWidget* parent) : QTableWidget(parent), delegate_(new GridDelegate(this)) {
    setItemDelegate(delegate_);
    setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed |
                    QAbstractItemView::AnyKeyPressed);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setSelectionBehavior(QAbstractItemView::SelectItems);
    setTabKeyNavigation(true);
    setWordWrap(false);
    setSortingEnabled(false);  // sorting is ours: typed, stable, several keys
    CompactRows(this);
    connect(horizontalHeader(), &QHeaderView::sectionClicked, this, &GridWidget::headerClicked);
}

GridWidget::~GridWidget() = default;

// ---- columns ----

void GridWidget::setColumns(const QStringList& captions) {
    setColumnCount(int(captions.size()));
    setHorizontalHeaderLabels(captions);
    ensureColumns();
}

void GridWidget::ensureColumns() {
    const int n = columnCount();
    if (columns_.size() < n)
        columns_.resize(n);
    if (lockedColumns_.size() < n)
        lockedColumns_.resize(n, false);
}

void GridWidget::setColumnCaption(int col, const QString& caption) {
    if (col < 0 || col >= columnCount())
        return;
    auto* header = horizontalHeaderItem(col);
    if (!header) {
        header = new QTableWidgetItem;
        setHorizontalHeaderItem(col, header);
    }
    header->setText(caption);
}

QString GridWidget::columnCaption(int col) const {
    const auto* header = horizontalHeaderItem(col);
    return header ? header->text() : QString();
}

void GridWidget::setColumn(int col, const GridColumn& desc) {
    if (col < 0)
        return;
    if (col >= columnCount())
        setColumnCount(col + 1);
    ensureColumns();
    columns_[col] = desc;
    viewport()->update();
}

const GridColumn& GridWidget::column(int col) const {
    static const GridColumn plain;
    return col >= 0 && col < columns_.size() ? columns_[col] : plain;
}

void GridWidget::setTextColumn(int col, int maxLength) {
    GridColumn desc;
    desc.maxLength = maxLength;
    setColumn(col, desc);
}

void GridWidget::setComboColumn(int col, const QString& tabList, bool editable) {
    GridColumn desc;
    desc.type = GridCellType::Combo;
    desc.comboItems = SplitTabList(tabList);
    desc.comboEditable = editable;
    setColumn(col, desc);
}

void GridWidget::setCurrencyColumn(int col, int decimals) {
    GridColumn desc;
    desc.type = GridCellType::Currency;
    desc.decimals = decimals;
    setColumn(col, desc);
}

void GridWidget::setDateColumn(int col, const QString& format) {
    GridColumn desc;
    desc.type = GridCellType::Date;
    desc.dateFormat = format;
    setColumn(col, desc);
}

void GridWidget::setIntegerColumn(int col) {
    GridColumn desc;
    desc.type = GridCellType::Integer;
    setColumn(col, desc);
}

void GridWidget::setCheckColumn(int col) {
    GridColumn desc;
    desc.type = GridCellType::Check;
    setColumn(col, desc);
}

void GridWidget::setButtonColumn(int col) {
    GridColumn desc;
    desc.type = GridCellType::Button;
    setColumn(col, desc);
}

void GridWidget::setStaticColumn(int col) {
    GridColumn desc;
    desc.type = GridCellType::Static;
    setColumn(col, desc);
}

void GridWidget::setColourColumn(int col, std::function<QColor(qint64)> toColour,
                                 std::function<QString(qint64)> toName) {
    GridColumn desc;
    desc.type = GridCellType::Colour;
    setColumn(col, desc);
    colourOf_[col] = std::move(toColour);
    colourName_[col] = std::move(toName);
}

void GridWidget::setValueIcons(int col, const QHash<QString, QIcon>& icons) {
    icons_[col] = icons;
    viewport()->update();
}

void GridWidget::setCellComboList(int row, int col, const QString& tabList) {
    setCellComboItems(row, col, SplitTabList(tabList));
}

void GridWidget::setCellComboItems(int row, int col, const QStringList& items) {
    if (row < 0 || row >= rowCount() || col < 0 || col >= columnCount())
        return;
    cell(row, col)->setData(ComboRole, items);
}

QStringList GridWidget::comboItems(int row, int col) const {
    return effectiveColumn(row, col).comboItems;
}

GridColumn GridWidget::effectiveColumn(int row, int col) const {
    GridColumn desc = column(col);
    if (desc.type == GridCellType::Combo) {
        if (const auto* it = cellIfAny(row, col)) {
            const QVariant own = it->data(ComboRole);
            if (own.isValid())
                desc.comboItems = own.toStringList();
        }
    }
    return desc;
}

void GridWidget::setFitColumnsOnResize(bool on) {
    fitOnResize_ = on;
    if (on)
        fitColumnsToWidth();
}

void GridWidget::resizeEvent(QResizeEvent* event) {
    QTableWidget::resizeEvent(event);
    if (fitOnResize_)
        fitColumnsToWidth();
}

void GridWidget::fitColumnsToWidth() {
    const int cols = columnCount();
    if (cols == 0)
        return;
    const int rows = std::min(kMeasuredRows, rowCount());
    const int cap = fontMetrics().averageCharWidth() * kWishChars;
    const QStyle* st = style();
    QVector<ColumnNeed> needs(cols);
    int stretch = -1;
    for (int c = 0; c < cols; ++c) {
        ColumnNeed& need = needs[c];
        need.hidden = isColumnHidden(c);
        need.floor = HeaderTextNeed(horizontalHeader(), columnCaption(c));
        const GridCellType type = column(c).type;
        // Amounts, dates, numbers and buttons are no use cut short.
        need.whole = type != GridCellType::Text && type != GridCellType::Combo;
        if (stretch < 0 && !need.hidden && type == GridCellType::Text)
            stretch = c;
        if (type == GridCellType::Check) {
            need.wish = st->pixelMetric(QStyle::PM_IndicatorWidth, nullptr, this) + 12;
            continue;
        }
        if (type == GridCellType::Colour) {
            need.wish = 4 * fontMetrics().averageCharWidth() + 12;
            continue;
        }
        // A button's face needs its own margins around the caption.
        const int extra = type == GridCellType::Button
                              ? 2 * st->pixelMetric(QStyle::PM_ButtonMargin, nullptr, this) + 4
                              : 0;
        int wish = 0;
        for (int r = 0; r < rows; ++r)
            wish = std::max(wish, CellTextNeed(this, text(r, c)) + extra);
        need.wish = std::min(wish, std::max(cap, need.floor));
    }
    horizontalHeader()->setMinimumSectionSize(kLeastColumn);
    const QVector<int> widths = FitColumnWidths(needs, stretch, viewport()->width());
    for (int c = 0; c < cols; ++c) {
        if (!needs[c].hidden && columnWidth(c) != widths[c])
            setColumnWidth(c, widths[c]);
    }
}

// ---- values ----

QTableWidgetItem* GridWidget::cell(int row, int col) {
    QTableWidgetItem* it = item(row, col);
    if (!it) {
        it = new QTableWidgetItem;
        setItem(row, col, it);
    }
    return it;
}

const QTableWidgetItem* GridWidget::cellIfAny(int row, int col) const {
    return item(row, col);
}

QVariant GridWidget::storedValue(int row, int col) const {
    const auto* it = cellIfAny(row, col);
    QVariant v = it ? it->data(Qt::EditRole) : QVariant();
    if (!v.isValid() && !columnButtons_.isEmpty() && column(col).type == GridCellType::Button) {
        const auto b = columnButtons_.constFind(col);
        if (b != columnButtons_.cend())
            v = b->first;
    }
    return v;
}

void GridWidget::storeValue(int row, int col, const QVariant& normalised) {
    QTableWidgetItem* it = item(row, col);
    if (!it && !normalised.isValid())
        return;
    if (!it)
        it = cell(row, col);
    it->setData(Qt::EditRole, normalised);
}

QVariant GridWidget::value(int row, int col) const {
    if (row < 0 || row >= rowCount() || col < 0 || col >= columnCount())
        return {};
    return NormaliseCellValue(column(col), storedValue(row, col)).value_or(QVariant());
}

bool GridWidget::setValue(int row, int col, const QVariant& value) {
    if (row < 0 || row >= rowCount() || col < 0 || col >= columnCount())
        return false;
    const auto normalised = NormaliseCellValue(column(col), value);
    if (!normalised)
        return false;
    storeValue(row, col, *normalised);
    return true;
}

QString GridWidget::text(int row, int col) const {
    if (row < 0 || row >= rowCount() || col < 0 || col >= columnCount())
        return {};
    return FormatCellValue(column(col), storedValue(row, col));
}

QVector<QVariant> GridWidget::rowValues(int row) const {
    QVector<QVariant> out;
    out.reserve(columnCount());
    for (int c = 0; c < columnCount(); ++c)
        out.append(value(row, c));
    return out;
}

void GridWidget::setRowValues(int row, const QVector<QVariant>& values, int firstCol) {
    for (int i = 0; i < values.size(); ++i)
        setValue(row, firstCol + i, values[i]);
}

QVector<QVector<QVariant>> GridWidget::matrix(int firstRow, int firstCol, int rows, int cols) const {
    if (rows < 0)
        rows = std::max(0, dataRowCount() - firstRow);
    if (cols < 0)
        cols = std::max(0, columnCount() - firstCol);
    QVector<QVector<QVariant>> out;
    out.reserve(rows);
    for (int r = firstRow; r < firstRow + rows; ++r) {
        QVector<QVariant> line;
        line.reserve(cols);
        for (int c = firstCol; c < firstCol + cols; ++c)
            line.append(value(r, c));
        out.append(line);
    }
    return out;
}

void GridWidget::setMatrix(const QVector<QVector<QVariant>>& values, int firstRow, int firstCol) {
    if (firstRow < 0 || firstCol < 0)
        return;
    commitOpenEditor();
    const int needed = firstRow + int(values.size());
    if (needed > rowCount())
        setRowCount(needed);
    const bool updates = updatesEnabled();
    setUpdatesEnabled(false);
    {
        // The view reads cells when it paints; per-cell change signals would only cost time here.
        const QSignalBlocker blockModel(model());
        const QSignalBlocker blockSelf(this);
        const int cols = columnCount();
        for (int i = 0; i < values.size(); ++i) {
            const QVector<QVariant>& line = values[i];
            const int r = firstRow + i;
            for (int j = 0; j < line.size() && firstCol + j < cols; ++j) {
                const int c = firstCol + j;
                storeValue(r, c, NormaliseCellValue(column(c), line[j]).value_or(QVariant()));
            }
        }
    }
    setUpdatesEnabled(updates);
    ensureBlankRow();
    viewport()->update();
}

void GridWidget::clearValues() {
    commitOpenEditor();
    const int rows = rowCount();
    QTableWidget::clearContents();
    setRowCount(rows);
    changed_ = false;
}

void GridWidget::setKeepBlankRow(bool keep) {
    keepBlankRow_ = keep;
    ensureBlankRow();
}

void GridWidget::ensureBlankRow() {
    if (!keepBlankRow_ || !allowAddRows_ || gridLocked_)
        return;
    // The scan stops at the last row with data, so with the blank row in place it is short.
    const int used = dataRowCount();
    if (rowCount() <= used)
        setRowCount(used + 1);
}

int GridWidget::dataRowCount() const {
    const int cols = columnCount();
    for (int r = rowCount() - 1; r >= 0; --r) {
        for (int c = 0; c < cols; ++c) {
            const GridColumn& desc = column(c);
            if (desc.type == GridCellType::Button)
                continue;
            const auto* it = cellIfAny(r, c);
            if (it && !IsEmptyCellValue(desc, it->data(Qt::EditRole)))
                return r + 1;
        }
    }
    return 0;
}

int GridWidget::findRow(int col, const QString& wanted, int fromRow, Qt::CaseSensitivity cs) const {
    for (int r = std::max(0, fromRow); r < rowCount(); ++r) {
        if (text(r, col).compare(wanted, cs) == 0)
            return r;
    }
    return -1;
}

QString GridWidget::toTabText(bool withCaptions) const {
    QVector<QStringList> rows;
    QVector<int> visible;
    for (int c = 0; c < columnCount(); ++c) {
        if (!isColumnHidden(c))
            visible.append(c);
    }
    if (withCaptions) {
        QStringList line;
        for (int c : visible)
            line.append(columnCaption(c));
        rows.append(line);
    }
    for (int r = 0; r < rowCount(); ++r) {
        QStringList line;
        for (int c : visible)
            line.append(text(r, c));
        rows.append(line);
    }
    return EncodeTabText(rows);
}

// ---- buttons and colours ----

void GridWidget::setButton(int row, int col, const QString& caption, const QColor& face) {
    if (row < 0 || row >= rowCount() || col < 0 || col >= columnCount())
        return;
    QTableWidgetItem* it = cell(row, col);
    it->setData(Qt::EditRole, caption);
    it->setData(FaceRole, face.isValid() ? QVariant(face) : QVariant());
}

QColor GridWidget::buttonFace(int row, int col) const {
    const auto* it = cellIfAny(row, col);
    const QVariant face = it ? it->data(FaceRole) : QVariant();
    if (face.isValid())
        return face.value<QColor>();
    const auto b = columnButtons_.constFind(col);
    if (b != columnButtons_.cend() && b->second.isValid() && !(it && it->data(Qt::EditRole).isValid()))
        return b->second;
    return QColor(Qt::white);
}

void GridWidget::setColumnButton(int col, const QString& caption, const QColor& face) {
    if (caption.isEmpty())
        columnButtons_.remove(col);
    else
        columnButtons_.insert(col, {caption, face});
    viewport()->update();
}

void GridWidget::setBackColor(int col1, int col2, int row1, int row2, const QColor& color) {
    // -1 as the first row or column means all of them.
    if (row1 < 0) {
        row1 = 0;
        row2 = rowCount() - 1;
    }
    if (col1 < 0) {
        col1 = 0;
        col2 = columnCount() - 1;
    }
    row2 = std::min(row2, rowCount() - 1);
    col2 = std::min(col2, columnCount() - 1);
    for (int r = row1; r <= row2; ++r) {
        for (int c = col1; c <= col2; ++c) {
            if (color.isValid()) {
                cell(r, c)->setData(Qt::BackgroundRole, color);
            } else if (QTableWidgetItem* it = item(r, c)) {
                it->setData(Qt::BackgroundRole, QVariant());
            }
        }
    }
}

QColor GridWidget::backColor(int row, int col) const {
    const auto* it = cellIfAny(row, col);
    const QVariant v = it ? it->data(Qt::BackgroundRole) : QVariant();
    return v.isValid() ? v.value<QColor>() : QColor();
}

// ---- rows ----

void GridWidget::insertRows(int at, int count) {
    if (count < 1)
        return;
    commitOpenEditor();
    at = std::clamp(at, 0, rowCount());
    model()->insertRows(at, count);
    emit rowsAdded(at, count);
}

void GridWidget::deleteRows(int at, int count) {
    if (at < 0 || at >= rowCount())
        return;
    count = std::min(count, rowCount() - at);
    if (count < 1)
        return;
    commitOpenEditor();
    model()->removeRows(at, count);
    emit rowsRemoved(at, count);
    ensureBlankRow();
}

int GridWidget::appendRow(const QVector<QVariant>& values) {
    const int row = rowCount();
    insertRows(row, 1);
    setRowValues(row, values);
    return row;
}

// ---- locks ----

void GridWidget::setLocked(bool locked) {
    if (locked)
        commitOpenEditor();
    gridLocked_ = locked;
    viewport()->update();
}

void GridWidget::setColumnLocked(int col, bool locked) {
    if (col < 0 || col >= columnCount())
        return;
    ensureColumns();
    lockedColumns_[col] = locked;
    viewport()->update();
}

void GridWidget::setRowLocked(int row, bool locked) {
    lockCells(0, columnCount() - 1, row, row, locked);
}

void GridWidget::lockCells(int col1, int col2, int row1, int row2, bool locked) {
    if (row1 < 0) {
        row1 = 0;
        row2 = rowCount() - 1;
    }
    if (col1 < 0) {
        col1 = 0;
        col2 = columnCount() - 1;
    }
    row2 = std::min(row2, rowCount() - 1);
    col2 = std::min(col2, columnCount() - 1);
    for (int r = row1; r <= row2; ++r) {
        for (int c = col1; c <= col2; ++c) {
            if (locked) {
                cell(r, c)->setData(LockedRole, true);
            } else if (QTableWidgetItem* it = item(r, c)) {
                it->setData(LockedRole, QVariant());
            }
        }
    }
    viewport()->update();
}

bool GridWidget::isCellLocked(int row, int col) const {
    if (gridLocked_)
        return true;
    if (col >= 0 && col < lockedColumns_.size() && lockedColumns_[col])
        return true;
    const auto* it = cellIfAny(row, col);
    return it && it->data(LockedRole).toBool();
}

void GridWidget::setLockColor(const QColor& color) {
    lockColor_ = color;
    viewport()->update();
}

// ---- sorting ----

void GridWidget::sortRows(const QVector<SortKey>& keys) {
    const int rows = rowCount();
    const int cols = columnCount();
    if (rows < 2 || keys.isEmpty())
        return;
    commitOpenEditor();
    QVector<QVector<QVariant>> keyValues;
    QVector<QVector<bool>> keyEmpty;
    for (const SortKey& key : keys) {
        QVector<QVariant> values(rows);
        QVector<bool> empty(rows);
        const GridColumn& desc = column(key.column);
        for (int r = 0; r < rows; ++r) {
            values[r] = value(r, key.column);
            empty[r] = IsEmptyCellValue(desc, values[r]) && desc.type != GridCellType::Check;
        }
        keyValues.append(values);
        keyEmpty.append(empty);
    }
    QVector<int> order(rows);
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
        for (int k = 0; k < keys.size(); ++k) {
            const bool ea = keyEmpty[k][a];
            const bool eb = keyEmpty[k][b];
            if (ea || eb) {
                if (ea && eb)
                    continue;
                return eb;  // empty cells last, whichever the order
            }
            const int c = CompareCellValues(column(keys[k].column), keyValues[k][a], keyValues[k][b]);
            if (c != 0)
                return keys[k].order == Qt::AscendingOrder ? c < 0 : c > 0;
        }
        return false;
    });
    // Whole items move, so locks, colours, buttons and change marks stay with their row.
    const int current = currentRow();
    const int currentCol = currentColumn();
    const bool updates = updatesEnabled();
    setUpdatesEnabled(false);
    {
        const QSignalBlocker blockModel(model());
        QVector<QTableWidgetItem*> taken(qsizetype(rows) * cols, nullptr);
        for (int r = 0; r < rows; ++r) {
            for (int c = 0; c < cols; ++c)
                taken[qsizetype(r) * cols + c] = takeItem(r, c);
        }
        for (int r = 0; r < rows; ++r) {
            for (int c = 0; c < cols; ++c) {
                if (QTableWidgetItem* it = taken[qsizetype(order[r]) * cols + c])
                    setItem(r, c, it);
            }
        }
    }
    setUpdatesEnabled(updates);
    if (current >= 0) {
        const int moved = int(std::find(order.begin(), order.end(), current) - order.begin());
        setCurrentCell(moved, currentCol);
    }
    viewport()->update();
}

void GridWidget::headerClicked(int col) {
    if (!userSort_)
        return;
    emit beforeUserSort(col);
    const Qt::SortOrder order = col == lastSortColumn_ && lastSortOrder_ == Qt::AscendingOrder
                                    ? Qt::DescendingOrder
                                    : Qt::AscendingOrder;
    sortRows({SortKey{col, order}});
    lastSortColumn_ = col;
    lastSortOrder_ = order;
    horizontalHeader()->setSortIndicatorShown(true);
    horizontalHeader()->setSortIndicator(col, order);
    emit afterUserSort(col);
}

// ---- selection ----

void GridWidget::setActiveCell(int row, int col) {
    setCurrentCell(row, col);
}
int GridWidget::activeRow() const {
    return currentRow();
}
int GridWidget::activeColumn() const {
    return currentColumn();
}

void GridWidget::selectBlock(int row1, int col1, int row2, int col2) {
    clearSelection();
    setRangeSelected(QTableWidgetSelectionRange(row1, col1, row2, col2), true);
    selectionModel()->setCurrentIndex(model()->index(row1, col1), QItemSelectionModel::NoUpdate);
}

int GridWidget::firstSelectedRow() const {
    int first = -1;
    for (const auto& range : selectedRanges()) {
        if (first < 0 || range.topRow() < first)
            first = range.topRow();
    }
    return first;
}

int GridWidget::lastSelectedRow() const {
    int last = -1;
    for (const auto& range : selectedRanges())
        last = std::max(last, range.bottomRow());
    return last;
}

// ---- change tracking ----

bool GridWidget::isCellChanged(int row, int col) const {
    const auto* it = cellIfAny(row, col);
    return it && it->data(ChangedRole).toBool();
}

bool GridWidget::isRowChanged(int row) const {
    for (int c = 0; c < columnCount(); ++c) {
        if (isCellChanged(row, c))
            return true;
    }
    return false;
}

void GridWidget::clearChanged() {
    changed_ = false;
    const QSignalBlocker blockModel(model());
    for (int r = 0; r < rowCount(); ++r) {
        for (int c = 0; c < columnCount(); ++c) {
            if (QTableWidgetItem* it = item(r, c))
                it->setData(ChangedRole, QVariant());
        }
    }
}

// ---- user edits ----

bool GridWidget::applyUserText(int row, int col, const QString& input) {
    if (isCellLocked(row, col) || !TakesInput(column(col).type))
        return false;
    const auto parsed = ParseCellInput(effectiveColumn(row, col), input);
    if (!parsed) {
        emit editRefused(row, col, input);
        return false;
    }
    applyUserValue(row, col, *parsed);
    return true;
}

void GridWidget::applyUserValue(int row, int col, const QVariant& normalised) {
    if (value(row, col) == normalised)
        return;
    storeValue(row, col, normalised);
    cell(row, col)->setData(ChangedRole, true);
    changed_ = true;
    emit valueEdited(row, col);
    ensureBlankRow();
}

void GridWidget::activateSpecialCell(int row, int col) {
    if (row < 0 || col < 0 || isCellLocked(row, col))
        return;
    switch (column(col).type) {
        case GridCellType::Check:
            applyUserValue(row, col, QVariant(value(row, col).toInt() != 0 ? 0 : 1));
            break;
        case GridCellType::Button:
            emit buttonClicked(row, col);
            break;
        case GridCellType::Colour:
            emit colourClicked(row, col);
            break;
        default:
            break;
    }
}

void GridWidget::clearSelectedCells() {
    for (const QModelIndex& index : selectedIndexes()) {
        const int r = index.row();
        const int c = index.column();
        if (isCellLocked(r, c) || !TakesInput(column(c).type))
            continue;
        applyUserValue(r, c, NormaliseCellValue(column(c), QVariant()).value_or(QVariant()));
    }
}

void GridWidget::userDeleteRows() {
    if (gridLocked_)
        return;
    const int first = firstSelectedRow();
    const int count = lastSelectedRow() - first + 1;
    if (first < 0 || count < 1)
        return;
    deleteRows(first, count);
    changed_ = true;
}

QString GridWidget::selectionText() const {
    const QModelIndexList indexes = selectedIndexes();
    int top = currentRow(), bottom = currentRow(), left = currentColumn(), right = currentColumn();
    if (!indexes.isEmpty()) {
        top = left = std::numeric_limits<int>::max();
        bottom = right = -1;
        for (const QModelIndex& i : indexes) {
            top = std::min(top, i.row());
            bottom = std::max(bottom, i.row());
            left = std::min(left, i.column());
            right = std::max(right, i.column());
        }
    }
    if (top < 0 || left < 0)
        return {};
    QVector<QStringList> rows;
    for (int r = top; r <= bottom; ++r) {
        QStringList line;
        for (int c = left; c <= right; ++c) {
            if (isColumnHidden(c))
                continue;
            const bool inside = indexes.isEmpty() || selectionModel()->isSelected(model()->index(r, c));
            line.append(inside ? text(r, c) : QString());
        }
        rows.append(line);
    }
    return EncodeTabText(rows);
}

void GridWidget::copySelection() const {
    const QString copied = selectionText();
    if (!copied.isEmpty())
        QApplication::clipboard()->setText(copied);
}

GridWidget::PasteResult GridWidget::pasteText(const QString& tabText) {
    PasteResult result;
    const QVector<QStringList> rows = DecodeTabText(tabText);
    if (rows.isEmpty() || columnCount() == 0)
        return result;
    commitOpenEditor();
    const int row0 = std::max(0, currentRow());
    const int col0 = std::max(0, currentColumn());
    const bool updates = updatesEnabled();
    setUpdatesEnabled(false);
    for (int i = 0; i < rows.size(); ++i) {
        const int r = row0 + i;
        if (r >= rowCount()) {
            if (!allowAddRows_ || gridLocked_)
                break;
            insertRows(rowCount(), 1);
            ++result.rowsAdded;
        }
        int c = col0;
        for (const QString& input : rows[i]) {
            while (c < columnCount() && isColumnHidden(c))
                ++c;  // the user never saw them
            if (c >= columnCount())
                break;
            if (applyUserText(r, c, input)) {
                ++result.accepted;
            } else {
                ++result.refused;
            }
            ++c;
        }
    }
    setUpdatesEnabled(updates);
    if (result.rowsAdded > 0)
        changed_ = true;
    ensureBlankRow();
    return result;
}

void GridWidget::commitOpenEditor() {
    if (state() != QAbstractItemView::EditingState)
        return;
    if (QWidget* editor = indexWidget(currentIndex())) {
        commitData(editor);
        closeEditor(editor, QAbstractItemDelegate::NoHint);
    }
}

// ---- keyboard and mouse ----

bool GridWidget::edit(const QModelIndex& index, EditTrigger trigger, QEvent* event) {
    if (index.isValid() &&
        (isCellLocked(index.row(), index.column()) || IsActionType(column(index.column()).type) ||
         column(index.column()).type == GridCellType::Static))
        return false;
    return QTableWidget::edit(index, trigger, event);
}

void GridWidget::moveAfterEdit(int key) {
    if (key == Qt::Key_Tab) {
        moveNext(false);
    } else if (key == Qt::Key_Backtab) {
        moveNext(true);
    } else {
        moveDown();
    }
}

void GridWidget::moveDown() {
    const int r = currentRow();
    const int c = currentColumn();
    if (r < 0 || c < 0)
        return;
    if (r + 1 < rowCount()) {
        setCurrentCell(r + 1, c);
        return;
    }
    // Past the last row a spreadsheet has another one; only after a row that holds something.
    bool hasData = false;
    for (int col = 0; col < columnCount() && !hasData; ++col) {
        hasData =
            column(col).type != GridCellType::Button && !IsEmptyCellValue(column(col), storedValue(r, col));
    }
    if (allowAddRows_ && !gridLocked_ && hasData) {
        appendRow();
        setCurrentCell(r + 1, c);
    }
}

void GridWidget::moveNext(bool backwards) {
    int r = std::max(0, currentRow());
    int c = currentColumn();
    const int cols = columnCount();
    if (cols == 0 || rowCount() == 0)
        return;
    for (int step = 0; step < cols * 2 + 2; ++step) {
        c += backwards ? -1 : 1;
        if (c >= cols) {
            if (r + 1 >= rowCount())
                return;
            ++r;
            c = 0;
        } else if (c < 0) {
            if (r == 0)
                return;
            --r;
            c = cols - 1;
        }
        if (!isColumnHidden(c)) {
            setCurrentCell(r, c);
            return;
        }
    }
}

void GridWidget::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::Copy)) {
        copySelection();
        event->accept();
        return;
    }
    if (event->matches(QKeySequence::Paste)) {
        if (!gridLocked_)
            pasteText(QApplication::clipboard()->text());
        event->accept();
        return;
    }
    if (state() != QAbstractItemView::EditingState) {
        switch (event->key()) {
            case Qt::Key_Delete:
                if (deleteKey_ == DeleteKey::ClearCells) {
                    clearSelectedCells();
                } else if (deleteKey_ == DeleteKey::DeleteRows) {
                    userDeleteRows();
                }
                event->accept();
                return;
            case Qt::Key_Return:
            case Qt::Key_Enter:
                moveDown();
                event->accept();
                return;
            case Qt::Key_Tab:
            case Qt::Key_Backtab:
                moveNext(event->key() == Qt::Key_Backtab);
                event->accept();
                return;
            case Qt::Key_Space:
                if (IsActionType(column(currentColumn()).type)) {
                    activateSpecialCell(currentRow(), currentColumn());
                    event->accept();
                    return;
                }
                break;
            default:
                break;
        }
    }
    QTableWidget::keyPressEvent(event);
}

void GridWidget::mousePressEvent(QMouseEvent* event) {
    pressed_ = indexAt(event->position().toPoint());
    QTableWidget::mousePressEvent(event);
}

void GridWidget::mouseReleaseEvent(QMouseEvent* event) {
    const QModelIndex index = indexAt(event->position().toPoint());
    const bool click = event->button() == Qt::LeftButton && index.isValid() && index == pressed_;
    pressed_ = QModelIndex();
    QTableWidget::mouseReleaseEvent(event);
    if (click && IsActionType(column(index.column()).type))
        activateSpecialCell(index.row(), index.column());
}

}  // namespace tlm
