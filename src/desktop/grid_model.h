#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVector>
#include <optional>

namespace tlm {

// Widget-free rules of the shared grid: what a column holds, how its values read, show and sort.
enum class GridCellType { Text, Combo, Currency, Date, Integer, Check, Colour, Button, Static };

struct GridColumn {
    GridCellType type = GridCellType::Text;
    int maxLength = 0;                                  // Text: 0 means no limit (user input only)
    QStringList comboItems;                             // Combo: the choices; "" stands for the blank choice
    bool comboEditable = false;                         // Combo: free text allowed besides the choices
    int decimals = 2;                                   // Currency: digits shown
    QString dateFormat = QStringLiteral("yyyy-MM-dd");  // Date: always a four-digit year
};

// "a\tb\tc\t " -> {"a", "b", "c", ""}: the list form ends in a blank entry meaning "none".
QStringList SplitTabList(const QString& tabList);

// A value as the column keeps it, from whatever a caller or a database gives. Empty cells are an
// invalid QVariant in typed columns, "" in text columns, 0 in check columns. nullopt: not a value
// of this column (bad number, bad date).
std::optional<QVariant> NormaliseCellValue(const GridColumn& column, const QVariant& value);
// The same from text a user typed or pasted: stricter, the combo's list and the text limit apply.
std::optional<QVariant> ParseCellInput(const GridColumn& column, const QString& text);
// Text as the grid shows it (and copies it): "12.50", "2026-03-07", "1" for a ticked check.
QString FormatCellValue(const GridColumn& column, const QVariant& value);
bool IsEmptyCellValue(const GridColumn& column, const QVariant& value);
// Typed order: money, numbers and dates by value, text without regard to case. Both non-empty.
int CompareCellValues(const GridColumn& column, const QVariant& a, const QVariant& b);

// Spreadsheet clipboard text: cells by tab, rows by newline; a cell holding a tab, a newline or a
// leading quote is quoted with doubled quotes, as spreadsheet programs do.
QString EncodeTabText(const QVector<QStringList>& rows);
QVector<QStringList> DecodeTabText(const QString& text);

}  // namespace tlm
