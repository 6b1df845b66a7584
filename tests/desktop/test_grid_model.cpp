#include <gtest/gtest.h>

#include <QDate>

#include "core/money.h"
#include "desktop/grid_model.h"
#include "support/test_env.h"

using namespace tlm;

namespace {

using tlm::test::M;

GridColumn Of(GridCellType type) {
    GridColumn c;
    c.type = type;
    return c;
}

}  // namespace

TEST(GridModel, CurrencyKeepsMoneyExactAndEmptyStaysEmpty) {
    const GridColumn cur = Of(GridCellType::Currency);
    EXPECT_EQ(NormaliseCellValue(cur, QStringLiteral("1,234.5"))->value<Money>(), M("1234.5"));
    EXPECT_EQ(NormaliseCellValue(cur, 0.1)->value<Money>(), M("0.1"));
    EXPECT_EQ(NormaliseCellValue(cur, QVariant::fromValue(M("-3.25")))->value<Money>(), M("-3.25"));
    EXPECT_FALSE(NormaliseCellValue(cur, QStringLiteral("  "))->isValid());
    EXPECT_FALSE(NormaliseCellValue(cur, QStringLiteral("12abc")).has_value());
    EXPECT_EQ(FormatCellValue(cur, QVariant::fromValue(M("12.5"))), QStringLiteral("12.50"));
    EXPECT_EQ(FormatCellValue(cur, QVariant::fromValue(M("0.125"))), QStringLiteral("0.12"));  // half to even
    EXPECT_EQ(FormatCellValue(cur, QVariant()), QString());
}

TEST(GridModel, DatesReadSeveralFormsAndNoDateYearsAreEmpty) {
    const GridColumn date = Of(GridCellType::Date);
    EXPECT_EQ(NormaliseCellValue(date, QStringLiteral("2026-3-7"))->toDate(), QDate(2026, 3, 7));
    EXPECT_EQ(NormaliseCellValue(date, QDateTime(QDate(2026, 3, 7), QTime(13, 5)))->toDate(),
              QDate(2026, 3, 7));
    for (int year : {1899, 1, 4501}) {
        EXPECT_FALSE(NormaliseCellValue(date, QDate(year, 12, 30))->isValid()) << year;
    }
    EXPECT_FALSE(NormaliseCellValue(date, QStringLiteral("2026-13-45")).has_value());
    EXPECT_EQ(FormatCellValue(date, QDate(2026, 3, 7)), QStringLiteral("2026-03-07"));
    EXPECT_EQ(FormatCellValue(date, QDate(1899, 12, 30)), QString());
    GridColumn dotted = date;
    dotted.dateFormat = QStringLiteral("dd.MM.yyyy");
    EXPECT_EQ(NormaliseCellValue(dotted, QStringLiteral("07.03.2026"))->toDate(), QDate(2026, 3, 7));
    EXPECT_EQ(FormatCellValue(dotted, QDate(26, 3, 7)), QStringLiteral("07.03.0026"));
}

TEST(GridModel, UserInputFollowsComboListTextLimitAndNumbers) {
    GridColumn combo = Of(GridCellType::Combo);
    combo.comboItems = {QStringLiteral("Ann"), QStringLiteral("Bob"), QString()};
    EXPECT_EQ(ParseCellInput(combo, QStringLiteral("bob"))->toString(), QStringLiteral("Bob"));
    EXPECT_EQ(ParseCellInput(combo, QString())->toString(), QString());
    EXPECT_FALSE(ParseCellInput(combo, QStringLiteral("Zed")).has_value());
    combo.comboEditable = true;
    EXPECT_EQ(ParseCellInput(combo, QStringLiteral("Zed"))->toString(), QStringLiteral("Zed"));

    GridColumn text = Of(GridCellType::Text);
    text.maxLength = 3;
    EXPECT_EQ(ParseCellInput(text, QStringLiteral("abcdef"))->toString(), QStringLiteral("abc"));
    EXPECT_FALSE(ParseCellInput(Of(GridCellType::Static), QStringLiteral("x")).has_value());
    EXPECT_FALSE(ParseCellInput(Of(GridCellType::Button), QStringLiteral("x")).has_value());

    EXPECT_EQ(ParseCellInput(Of(GridCellType::Integer), QStringLiteral(" 42 "))->toLongLong(), 42);
    EXPECT_FALSE(ParseCellInput(Of(GridCellType::Integer), QStringLiteral("4.2")).has_value());
    EXPECT_EQ(ParseCellInput(Of(GridCellType::Check), QStringLiteral("-1"))->toInt(), 1);
    EXPECT_EQ(ParseCellInput(Of(GridCellType::Check), QStringLiteral("False"))->toInt(), 0);
    EXPECT_FALSE(ParseCellInput(Of(GridCellType::Check), QStringLiteral("maybe")).has_value());
    EXPECT_EQ(FormatCellValue(Of(GridCellType::Check), QVariant()), QStringLiteral("0"));
}

TEST(GridModel, TabTextRoundTripsAwkwardCells) {
    const QVector<QStringList> rows = {
        {QStringLiteral("plain"), QString(), QStringLiteral("tab\there")},
        {QStringLiteral("two\nlines"), QStringLiteral("\"quoted\""), QStringLiteral("in \"middle\"")},
    };
    const QString text = EncodeTabText(rows);
    EXPECT_EQ(text.count(QLatin1Char('\n')), 3);  // two row ends, one inside a quoted cell
    EXPECT_EQ(DecodeTabText(text), rows);
}

TEST(GridModel, TabTextFromSpreadsheetProgramsDecodes) {
    // Windows line ends, no final newline, empty trailing cells.
    EXPECT_EQ(DecodeTabText(QStringLiteral("a\tb\r\nc\t\r\n\td")),
              (QVector<QStringList>{{"a", "b"}, {"c", ""}, {"", "d"}}));
    EXPECT_EQ(DecodeTabText(QStringLiteral("x\n")), (QVector<QStringList>{{"x"}}));
    EXPECT_TRUE(DecodeTabText(QString()).isEmpty());
}
