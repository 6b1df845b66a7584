#pragma once

#include <QHash>
#include <QList>
#include <QPalette>
#include <QString>
#include <QVector>
#include <functional>

class QAbstractItemView;
class QColor;
class QDialogButtonBox;
class QHeaderView;
class QTableView;
class QWidget;

namespace tlm {

// The one look of every screen: the style, the palette, margins and spacing, column widths. Set
// here once; a screen calls ApplyLook on itself and FitColumns on its lists, nothing more.

// The desktop's palette, or a light or dark one asked for (TLM_PALETTE=light|dark, so that
// screenshots of both can be taken on any desktop).
enum class PaletteChoice { Desktop, Light, Dark };
PaletteChoice PaletteChoiceFrom(const QString& text);  // anything else than light/dark: Desktop
QPalette DarkPalette();
QPalette LightPalette();
// Fusion on every desktop, with the palette chosen; called once, before the first window.
void SetUpApplicationLook(PaletteChoice choice);

// Margins around a window's content and the gap between its controls, in pixels.
inline constexpr int kWindowMargin = 9;
inline constexpr int kControlSpacing = 6;
// The window's own layout gets the standard margins, every layout inside it the standard spacing;
// toolbars show their actions as text and stay in place.
void ApplyLook(QWidget* window);
// Rows as high as a line of text with a little air, row buttons included (the style's default
// row is a third higher, which shows a third fewer rows).
void CompactRows(QTableView* view);
// OK/Cancel and the like in the desktop's order; the caller connects accepted/rejected.
QDialogButtonBox* NewDialogButtons(int standardButtons, QWidget* parent);
// A page of a document (a report, a mail's preview) in any palette: white with black text, as it
// prints, since its HTML brings colours of its own.
QPalette PaperPalette(QPalette from);
// Black or white, whichever reads on the given cell colour.
QColor TextColourOn(const QColor& background);

// What a column asks for: `floor` shows its header text whole, `wish` its contents (capped).
// A fixed column is given exactly its wish; a whole one (numbers, dates, IDs) is never cut below it.
struct ColumnNeed {
    int floor = 0;
    int wish = 0;
    bool fixed = false;
    bool whole = false;
    bool hidden = false;
};
// Widths filling `available`: every column gets its wish while there is room and the stretch column
// takes what is left; short of room the widest columns are cut first, down to their floors. Floors
// beyond the room are kept (the list scrolls rather than cut a header).
QVector<int> FitColumnWidths(const QVector<ColumnNeed>& needs, int stretch, int available);

// A header's text whole, with the style's margins on both sides.
int HeaderTextNeed(const QHeaderView* header, const QString& text);
// A cell's text whole, with the item margins and an icon when it has one.
int CellTextNeed(const QAbstractItemView* view, const QString& text, bool withIcon = false);
// The rows measured for a column's wish: the first ones are enough for a good guess, and a long
// list stays as quick to lay out as a short one.
inline constexpr int kMeasuredRows = 300;
// The narrowest a fitted column may be (a picture column).
inline constexpr int kLeastColumn = 16;
// The widest a column's contents make it before its text is cut with an ellipsis, in characters.
inline constexpr int kWishChars = 30;

// Sizes the columns of a table or tree view to its viewport (see FitColumnWidths) and keeps them
// so when the viewport or the rows change. Columns listed in `fixed` get that width; the others
// are measured from the model's display text. A column the user drags keeps its width until the
// window or the rows change.
// Columns listed in `whole` keep their contents whole.
void FitColumns(QAbstractItemView* view, int stretchColumn, const QHash<int, int>& fixed = {},
                const QList<int>& whole = {});
// The same at once, without keeping (the view's header and model as they are now).
void FitColumnsNow(QAbstractItemView* view, int stretchColumn, const QHash<int, int>& fixed = {},
                   const QList<int>& whole = {});

}  // namespace tlm
