#include "desktop/look.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QDialogButtonBox>
#include <QEvent>
#include <QHeaderView>
#include <QLayout>
#include <QStyle>
#include <QStyleFactory>
#include <QTableView>
#include <QTimer>
#include <QToolBar>
#include <QTreeView>
#include <algorithm>

namespace tlm {

PaletteChoice PaletteChoiceFrom(const QString& text) {
    const QString t = text.trimmed().toLower();
    if (t == u"dark")
        return PaletteChoice::Dark;
    if (t == u"light")
        return PaletteChoice::Light;
    return PaletteChoice::Desktop;
}

QPalette DarkPalette() {
    QPalette p;
    const QColor window(53, 53, 53), base(35, 35, 35), text(230, 230, 230), dim(127, 127, 127);
    p.setColor(QPalette::Window, window);
    p.setColor(QPalette::WindowText, text);
    p.setColor(QPalette::Base, base);
    p.setColor(QPalette::AlternateBase, window);
    p.setColor(QPalette::ToolTipBase, base);
    p.setColor(QPalette::ToolTipText, text);
    p.setColor(QPalette::PlaceholderText, dim);
    p.setColor(QPalette::Text, text);
    p.setColor(QPalette::Button, window);
    p.setColor(QPalette::ButtonText, text);
    p.setColor(QPalette::BrightText, Qt::red);
    p.setColor(QPalette::Light, QColor(75, 75, 75));
    p.setColor(QPalette::Midlight, QColor(66, 66, 66));
    p.setColor(QPalette::Mid, QColor(45, 45, 45));
    p.setColor(QPalette::Dark, QColor(25, 25, 25));
    p.setColor(QPalette::Shadow, QColor(15, 15, 15));
    p.setColor(QPalette::Link, QColor(90, 160, 240));
    p.setColor(QPalette::LinkVisited, QColor(170, 130, 230));
    p.setColor(QPalette::Highlight, QColor(42, 110, 190));
    p.setColor(QPalette::HighlightedText, Qt::white);
    for (auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        p.setColor(QPalette::Disabled, role, dim);
    p.setColor(QPalette::Disabled, QPalette::Base, window);
    p.setColor(QPalette::Disabled, QPalette::Highlight, QColor(80, 80, 80));
    return p;
}

QPalette LightPalette() {
    QStyle* fusion = QStyleFactory::create(QStringLiteral("Fusion"));
    const QPalette p = fusion ? fusion->standardPalette() : QPalette();
    delete fusion;
    return p;
}

void SetUpApplicationLook(PaletteChoice choice) {
    // One style on every desktop, so that spacing and sizes are the same everywhere; the colours
    // stay the desktop's unless a palette was asked for.
    if (QStyle* fusion = QStyleFactory::create(QStringLiteral("Fusion")))
        QApplication::setStyle(fusion);
    switch (choice) {
        case PaletteChoice::Dark:
            QApplication::setPalette(DarkPalette());
            break;
        case PaletteChoice::Light:
            QApplication::setPalette(LightPalette());
            break;
        case PaletteChoice::Desktop:
            break;
    }
}

namespace {

void SpaceLayout(QLayout* layout) {
    if (!layout)
        return;
    layout->setSpacing(kControlSpacing);
    for (int i = 0; i < layout->count(); ++i) {
        if (QLayout* inner = layout->itemAt(i)->layout())
            SpaceLayout(inner);
    }
}

}  // namespace

void ApplyLook(QWidget* window) {
    if (!window)
        return;
    if (QLayout* top = window->layout()) {
        top->setContentsMargins(kWindowMargin, kWindowMargin, kWindowMargin, kWindowMargin);
        SpaceLayout(top);
    }
    // Panes inside keep their own margins (most have none); only the gaps are made the same.
    for (QWidget* child : window->findChildren<QWidget*>()) {
        if (child->isWindow())
            continue;
        if (auto* bar = qobject_cast<QToolBar*>(child)) {
            bar->setToolButtonStyle(Qt::ToolButtonTextOnly);
            bar->setMovable(false);
            bar->setFloatable(false);
        }
        if (QLayout* l = child->layout())
            SpaceLayout(l);
    }
}

void CompactRows(QTableView* view) {
    view->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    view->verticalHeader()->setDefaultSectionSize(view->fontMetrics().height() + 8);
}

QDialogButtonBox* NewDialogButtons(int standardButtons, QWidget* parent) {
    return new QDialogButtonBox(QDialogButtonBox::StandardButtons(standardButtons), parent);
}

QPalette PaperPalette(QPalette from) {
    for (const auto group : {QPalette::Active, QPalette::Inactive}) {
        from.setColor(group, QPalette::Base, Qt::white);
        from.setColor(group, QPalette::Text, Qt::black);
        from.setColor(group, QPalette::Link, QColor(0, 0, 238));
    }
    from.setColor(QPalette::Disabled, QPalette::Base, QColor(240, 240, 240));
    from.setColor(QPalette::Disabled, QPalette::Text, QColor(120, 120, 120));
    return from;
}

QColor TextColourOn(const QColor& background) {
    // Relative luminance by the usual weights; above the middle dark text reads better.
    const double y = 0.299 * background.redF() + 0.587 * background.greenF() + 0.114 * background.blueF();
    return y > 0.55 ? QColor(Qt::black) : QColor(Qt::white);
}

QVector<int> FitColumnWidths(const QVector<ColumnNeed>& needs, int stretch, int available) {
    const int n = int(needs.size());
    QVector<int> floors(n, 0), wishes(n, 0);
    int widest = 0;
    for (int c = 0; c < n; ++c) {
        const ColumnNeed& need = needs[c];
        if (need.hidden)
            continue;
        wishes[c] = std::max(need.floor, need.wish);
        floors[c] = need.fixed || need.whole ? wishes[c] : std::max(0, need.floor);
        widest = std::max(widest, wishes[c]);
    }
    // The stretch column is the one most read: it keeps a sixth of the room while the others' floors
    // leave that much.
    const bool stretchShown = stretch >= 0 && stretch < n && !needs[stretch].hidden && !needs[stretch].fixed;
    if (stretchShown) {
        qint64 others = 0;
        for (int c = 0; c < n; ++c)
            others += c == stretch ? 0 : floors[c];
        const qint64 share = std::min<qint64>({wishes[stretch], available / 6, available - others});
        floors[stretch] = int(std::max<qint64>(floors[stretch], share));
    }
    // Short of room the widest columns give way first: every column is cut to a common level (never
    // below its floor), the highest level that fits.
    const auto widthsAt = [&](int level) {
        QVector<int> w(n, 0);
        qint64 sum = 0;
        for (int c = 0; c < n; ++c) {
            w[c] = std::max(floors[c], std::min(wishes[c], level));
            sum += w[c];
        }
        return std::make_pair(w, sum);
    };
    int low = 0, high = widest;
    while (low < high) {
        const int mid = low + (high - low + 1) / 2;
        if (widthsAt(mid).second <= available)
            low = mid;
        else
            high = mid - 1;
    }
    auto [widths, sum] = widthsAt(low);
    // What the level leaves over goes to the stretch column, or to the cut columns when it has none.
    qint64 rest = available - sum;
    if (rest > 0 && stretchShown) {
        widths[stretch] += int(rest);
        return widths;
    }
    for (int c = 0; c < n && rest > 0; ++c) {
        if (widths[c] < wishes[c]) {
            ++widths[c];
            --rest;
        }
    }
    return widths;
}

int HeaderTextNeed(const QHeaderView* header, const QString& text) {
    const int margin = header->style()->pixelMetric(QStyle::PM_HeaderMargin, nullptr, header);
    // The margins on both sides and a pixel of the section's frame on each.
    return header->fontMetrics().horizontalAdvance(text) + 2 * margin + 2;
}

int CellTextNeed(const QAbstractItemView* view, const QString& text, bool withIcon) {
    const QStyle* style = view->style();
    const int textMargin = style->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, view) + 1;
    int need = text.isEmpty() ? 0 : view->fontMetrics().horizontalAdvance(text) + 2 * textMargin;
    if (withIcon) {
        const int icon = view->iconSize().isValid()
                             ? view->iconSize().width()
                             : style->pixelMetric(QStyle::PM_SmallIconSize, nullptr, view);
        need += icon + 2 * textMargin;
    }
    return need + 2;  // the grid line and a pixel of air
}

namespace {

QHeaderView* ColumnHeader(const QAbstractItemView* view) {
    if (const auto* table = qobject_cast<const QTableView*>(view))
        return table->horizontalHeader();
    if (const auto* tree = qobject_cast<const QTreeView*>(view))
        return tree->header();
    return nullptr;
}

// The sort arrow takes room from the label of the sorted column only.
int SortArrowNeed(const QHeaderView* header, int col) {
    if (!header->isSortIndicatorShown() || header->sortIndicatorSection() != col)
        return 0;
    const int margin = header->style()->pixelMetric(QStyle::PM_HeaderMargin, nullptr, header);
    return header->height() / 2 + 2 * margin;
}

QVector<ColumnNeed> MeasureColumns(const QAbstractItemView* view, const QHeaderView* header,
                                   const QHash<int, int>& fixed, const QList<int>& whole) {
    const QAbstractItemModel* model = view->model();
    const int cols = model->columnCount(view->rootIndex());
    const int rows = std::min(kMeasuredRows, model->rowCount(view->rootIndex()));
    const int cap = view->fontMetrics().averageCharWidth() * kWishChars;
    QVector<ColumnNeed> needs(cols);
    for (int c = 0; c < cols; ++c) {
        ColumnNeed& need = needs[c];
        need.hidden = header->isSectionHidden(c);
        const auto own = fixed.constFind(c);
        if (own != fixed.cend()) {
            need.fixed = true;
            need.wish = *own;
            continue;
        }
        need.whole = whole.contains(c);
        need.floor = HeaderTextNeed(header, model->headerData(c, Qt::Horizontal).toString()) +
                     SortArrowNeed(header, c);
        int wish = 0;
        for (int r = 0; r < rows; ++r) {
            const QModelIndex index = model->index(r, c, view->rootIndex());
            const bool icon = model->data(index, Qt::DecorationRole).isValid();
            wish = std::max(wish, CellTextNeed(view, model->data(index, Qt::DisplayRole).toString(), icon));
        }
        need.wish = std::min(wish, std::max(cap, need.floor));
    }
    return needs;
}

// Keeps one view's columns fitted; one per view, replaced by a later FitColumns.
class ColumnFitter : public QObject {
  public:
    ColumnFitter(QAbstractItemView* view, int stretch, QHash<int, int> fixed, QList<int> whole)
        : QObject(view),
          view_(view),
          later_(this),
          stretch_(stretch),
          fixed_(std::move(fixed)),
          whole_(std::move(whole)) {
        setObjectName(QStringLiteral("tlmColumnFitter"));
        view->viewport()->installEventFilter(this);
        // The viewport goes first when the view is destroyed, before a model that still signals as
        // it is cleared: from then on the view is no view any more.
        connect(view->viewport(), &QObject::destroyed, this, [this] {
            view_ = nullptr;
            later_.stop();
            disconnect();
        });
        // Rows going one run at a time (a batch of approvals) are fitted once, when they are done.
        later_.setSingleShot(true);
        later_.setInterval(0);
        connect(&later_, &QTimer::timeout, this, [this] { fit(); });
        QAbstractItemModel* model = view->model();
        const auto refit = [this] { later_.start(); };
        connect(model, &QAbstractItemModel::modelReset, this, [this] { fit(); });
        connect(model, &QAbstractItemModel::layoutChanged, this, refit);
        connect(model, &QAbstractItemModel::rowsInserted, this, refit);
        connect(model, &QAbstractItemModel::rowsRemoved, this, refit);
        connect(model, &QAbstractItemModel::headerDataChanged, this, refit);
        if (QHeaderView* header = ColumnHeader(view))
            connect(header, &QHeaderView::sortIndicatorChanged, this, refit);
    }

    void set(int stretch, QHash<int, int> fixed, QList<int> whole) {
        stretch_ = stretch;
        fixed_ = std::move(fixed);
        whole_ = std::move(whole);
    }

    void fit() {
        if (view_)
            FitColumnsNow(view_, stretch_, fixed_, whole_);
    }

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Resize && view_ && watched == view_->viewport())
            fit();
        return false;
    }

  private:
    QAbstractItemView* view_;
    QTimer later_;
    int stretch_;
    QHash<int, int> fixed_;
    QList<int> whole_;
};

}  // namespace

void FitColumnsNow(QAbstractItemView* view, int stretchColumn, const QHash<int, int>& fixed,
                   const QList<int>& whole) {
    QHeaderView* header = ColumnHeader(view);
    if (!header || !view->model())
        return;
    header->setStretchLastSection(false);
    header->setSectionResizeMode(QHeaderView::Interactive);
    // The style's least section is wider than a picture column; the fitted width is the least here.
    header->setMinimumSectionSize(kLeastColumn);
    const QVector<ColumnNeed> needs = MeasureColumns(view, header, fixed, whole);
    const QVector<int> widths = FitColumnWidths(needs, stretchColumn, view->viewport()->width());
    for (int c = 0; c < widths.size(); ++c) {
        if (!needs[c].hidden && header->sectionSize(c) != widths[c])
            header->resizeSection(c, widths[c]);
    }
}

void FitColumns(QAbstractItemView* view, int stretchColumn, const QHash<int, int>& fixed,
                const QList<int>& whole) {
    if (!view || !view->model())
        return;
    // The fitter has no meta-object of its own: it is known by its name.
    auto* fitter = static_cast<ColumnFitter*>(
        view->findChild<QObject*>(QStringLiteral("tlmColumnFitter"), Qt::FindDirectChildrenOnly));
    if (fitter) {
        fitter->set(stretchColumn, fixed, whole);
    } else {
        fitter = new ColumnFitter(view, stretchColumn, fixed, whole);
    }
    fitter->fit();
}

}  // namespace tlm
