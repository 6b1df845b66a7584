#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QDate>
#include <QHeaderView>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>

#include "core/money.h"
#include "desktop/grid_widget.h"
#include "support/test_env.h"

using namespace tlm;

namespace {

using tlm::test::M;

enum Col { Name, Person, Rate, Due, Admin, Colour, Notify, Count, Note, Columns };

class Grid : public ::testing::Test {
  protected:
    void SetUp() override {
        grid.setColumns({"Name", "Person", "Rate", "Due", "Admin", "Colour", "Notify", "Count", "Note"});
        grid.setTextColumn(Name, 10);
        grid.setComboColumn(Person, QStringLiteral("Ann\tBob\tCy\t "));
        grid.setCurrencyColumn(Rate);
        grid.setDateColumn(Due);
        grid.setCheckColumn(Admin);
        grid.setColourColumn(Colour);
        grid.setButtonColumn(Notify);
        grid.setIntegerColumn(Count);
        grid.setStaticColumn(Note);
        grid.setRowCount(3);
        grid.resize(1100, 300);
        grid.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&grid));
    }

    // Types into the active cell as a user does: the first key opens the editor, Enter commits.
    void typeAndEnter(const QString& text) {
        QTest::keyClick(&grid, text.at(0).toLatin1());
        QWidget* editor = grid.indexWidget(grid.currentIndex());
        ASSERT_NE(editor, nullptr) << "no editor opened";
        if (auto* box = qobject_cast<QComboBox*>(editor); box && box->isEditable())
            editor = box->lineEdit();
        QTest::keyClicks(editor, text.mid(1));
        QTest::keyClick(editor, Qt::Key_Return);
        QCoreApplication::processEvents();
    }

    void clickCell(int row, int col) {
        const QRect rect = grid.visualRect(grid.model()->index(row, col));
        QTest::mouseClick(grid.viewport(), Qt::LeftButton, {}, rect.center());
    }

    QVector<QVariant> column(int col) const {
        QVector<QVariant> out;
        for (int r = 0; r < grid.rowCount(); ++r)
            out.append(grid.value(r, col));
        return out;
    }

    GridWidget grid;
};

}  // namespace

TEST_F(Grid, ProgrammaticValuesRoundTripPerTypeWithoutMarkingChanges) {
    QSignalSpy edited(&grid, &GridWidget::valueEdited);
    EXPECT_TRUE(grid.setValue(0, Name, QStringLiteral("Alpha")));
    EXPECT_TRUE(grid.setValue(0, Person, QStringLiteral("Bob")));
    EXPECT_TRUE(grid.setValue(0, Rate, QStringLiteral("67.5")));
    EXPECT_TRUE(grid.setValue(0, Due, QDate(2026, 3, 7)));
    EXPECT_TRUE(grid.setValue(0, Admin, true));
    EXPECT_TRUE(grid.setValue(0, Colour, 0x00FF00));
    EXPECT_TRUE(grid.setValue(0, Count, QStringLiteral("12")));
    grid.setButton(0, Notify, QStringLiteral("Notify"), Qt::yellow);

    // Each column keeps its own type (the texts and conversions themselves are the model's).
    EXPECT_EQ(grid.value(0, Person).toString(), QStringLiteral("Bob"));
    EXPECT_EQ(grid.value(0, Rate).value<Money>(), M("67.5"));
    EXPECT_EQ(grid.value(0, Due).toDate(), QDate(2026, 3, 7));
    EXPECT_EQ(grid.value(0, Admin).toInt(), 1);
    EXPECT_EQ(grid.value(0, Colour).toLongLong(), 0x00FF00);
    EXPECT_EQ(grid.value(0, Count).toLongLong(), 12);
    EXPECT_EQ(grid.text(0, Notify), QStringLiteral("Notify"));
    EXPECT_EQ(grid.buttonFace(0, Notify), QColor(Qt::yellow));

    // A bad value is refused and changes nothing; a "no date" reads as empty.
    EXPECT_FALSE(grid.setValue(0, Rate, QStringLiteral("lots")));
    EXPECT_EQ(grid.value(0, Rate).value<Money>(), M("67.5"));
    EXPECT_TRUE(grid.setValue(1, Due, QDate(1899, 12, 30)));
    EXPECT_FALSE(grid.value(1, Due).isValid());
    EXPECT_FALSE(grid.value(1, Rate).isValid());

    EXPECT_FALSE(grid.isChanged());
    EXPECT_EQ(edited.count(), 0);
}

TEST_F(Grid, TypingThenEnterCommitsMovesDownAndMarksTheChange) {
    QSignalSpy edited(&grid, &GridWidget::valueEdited);
    grid.setActiveCell(0, Name);
    typeAndEnter(QStringLiteral("Hello"));
    EXPECT_EQ(grid.value(0, Name).toString(), QStringLiteral("Hello"));
    EXPECT_EQ(grid.activeRow(), 1);
    EXPECT_EQ(grid.activeColumn(), int(Name));
    EXPECT_TRUE(grid.isChanged());
    EXPECT_TRUE(grid.isCellChanged(0, Name));
    EXPECT_FALSE(grid.isRowChanged(1));
    ASSERT_EQ(edited.count(), 1);
    EXPECT_EQ(edited.at(0), (QVariantList{0, int(Name)}));

    grid.setActiveCell(0, Rate);
    typeAndEnter(QStringLiteral("12.5"));
    EXPECT_EQ(grid.value(0, Rate).value<Money>(), M("12.5"));
    EXPECT_EQ(grid.text(0, Rate), QStringLiteral("12.50"));

    grid.setActiveCell(0, Due);
    typeAndEnter(QStringLiteral("2026-3-7"));
    EXPECT_EQ(grid.value(0, Due).toDate(), QDate(2026, 3, 7));

    grid.setActiveCell(0, Person);
    typeAndEnter(QStringLiteral("c"));  // a list-only combo picks by first letter
    EXPECT_EQ(grid.value(0, Person).toString(), QStringLiteral("Cy"));

    // A text over the column's limit is cut; a bad number is refused and the old value kept.
    grid.setActiveCell(1, Name);
    typeAndEnter(QStringLiteral("abcdefghijklmno"));
    EXPECT_EQ(grid.value(1, Name).toString(), QStringLiteral("abcdefghij"));
    QSignalSpy refused(&grid, &GridWidget::editRefused);
    grid.setActiveCell(0, Rate);
    typeAndEnter(QStringLiteral("abc"));
    EXPECT_EQ(grid.value(0, Rate).value<Money>(), M("12.5"));
    ASSERT_EQ(refused.count(), 1);
    EXPECT_EQ(refused.at(0).at(2).toString(), QStringLiteral("abc"));

    grid.clearChanged();
    EXPECT_FALSE(grid.isChanged());
    EXPECT_FALSE(grid.isCellChanged(0, Name));
}

TEST_F(Grid, TabMovesAcrossVisibleColumnsAndWrapsRows) {
    grid.setColumnHidden(Note, true);
    grid.setActiveCell(0, Count);
    QTest::keyClick(&grid, Qt::Key_Tab);
    EXPECT_EQ(grid.activeRow(), 1);
    EXPECT_EQ(grid.activeColumn(), int(Name));
    QTest::keyClick(&grid, Qt::Key_Backtab);
    EXPECT_EQ(grid.activeRow(), 0);
    EXPECT_EQ(grid.activeColumn(), int(Count));

    // Tab inside an editor commits and moves right.
    grid.setActiveCell(2, Name);
    QTest::keyClick(&grid, 'x');
    QWidget* editor = grid.indexWidget(grid.currentIndex());
    ASSERT_NE(editor, nullptr);
    QTest::keyClick(editor, Qt::Key_Tab);
    EXPECT_EQ(grid.value(2, Name).toString(), QStringLiteral("x"));
    EXPECT_EQ(grid.activeColumn(), int(Person));
    EXPECT_EQ(grid.activeRow(), 2);
}

TEST_F(Grid, EnterOnTheLastFilledRowAddsOneOnlyWhenAllowed) {
    QSignalSpy added(&grid, &GridWidget::rowsAdded);
    grid.setActiveCell(2, Name);
    QTest::keyClick(&grid, Qt::Key_Return);  // empty last row: nothing to add after
    EXPECT_EQ(grid.rowCount(), 3);
    typeAndEnter(QStringLiteral("New"));
    EXPECT_EQ(grid.rowCount(), 4);
    EXPECT_EQ(grid.activeRow(), 3);
    EXPECT_EQ(added.count(), 1);

    grid.setAllowAddRows(false);
    grid.setValue(3, Name, QStringLiteral("Last"));
    QTest::keyClick(&grid, Qt::Key_Return);
    EXPECT_EQ(grid.rowCount(), 4);
}

TEST_F(Grid, LockedCellsColumnsAndGridRefuseEdits) {
    grid.setValue(0, Name, QStringLiteral("Keep"));
    grid.lockCells(Name, Name, 0, 0, true);
    grid.setActiveCell(0, Name);
    QTest::keyClick(&grid, 'z');
    EXPECT_EQ(grid.indexWidget(grid.currentIndex()), nullptr);
    EXPECT_EQ(grid.value(0, Name).toString(), QStringLiteral("Keep"));
    EXPECT_TRUE(grid.isCellLocked(0, Name));
    EXPECT_FALSE(grid.isCellLocked(1, Name));

    grid.setColumnLocked(Admin, true);
    clickCell(1, Admin);
    EXPECT_EQ(grid.value(1, Admin).toInt(), 0);
    grid.setRowCount(4);  // a column lock also holds for rows added later
    EXPECT_TRUE(grid.isCellLocked(3, Admin));

    grid.setLocked(true);
    grid.setActiveCell(2, Rate);
    QTest::keyClick(&grid, '5');
    EXPECT_EQ(grid.indexWidget(grid.currentIndex()), nullptr);
    EXPECT_EQ(grid.pasteText(QStringLiteral("7")).accepted, 0);
    EXPECT_FALSE(grid.value(2, Rate).isValid());
    grid.setLocked(false);
    EXPECT_EQ(grid.pasteText(QStringLiteral("7")).accepted, 1);
    EXPECT_TRUE(grid.isChanged());

    // Unlocking a cell makes it editable again.
    grid.lockCells(Name, Name, 0, 0, false);
    grid.setActiveCell(0, Name);
    typeAndEnter(QStringLiteral("Edited"));
    EXPECT_EQ(grid.value(0, Name).toString(), QStringLiteral("Edited"));
}

TEST_F(Grid, DeleteKeyClearsOnlyUnlockedCellsOrDeletesRowsWhenAsked) {
    for (int r = 0; r < 3; ++r) {
        grid.setRowValues(r, {QStringLiteral("n%1").arg(r), QStringLiteral("Ann"), QStringLiteral("5"),
                              QDate(2026, 1, r + 1), 1});
    }
    grid.lockCells(Rate, Rate, 1, 1, true);
    grid.selectBlock(0, Name, 1, Admin);
    QTest::keyClick(&grid, Qt::Key_Delete);
    EXPECT_EQ(grid.value(0, Name).toString(), QString());
    EXPECT_EQ(grid.value(1, Person).toString(), QString());
    EXPECT_FALSE(grid.value(0, Rate).isValid());
    EXPECT_EQ(grid.value(1, Rate).value<Money>(), M("5"));  // locked
    EXPECT_FALSE(grid.value(1, Due).isValid());
    EXPECT_EQ(grid.value(1, Admin).toInt(), 0);
    EXPECT_EQ(grid.value(2, Name).toString(), QStringLiteral("n2"));  // not selected
    EXPECT_TRUE(grid.isRowChanged(0));

    QSignalSpy removed(&grid, &GridWidget::rowsRemoved);
    grid.setDeleteKeyAction(GridWidget::DeleteKey::DeleteRows);
    grid.selectBlock(0, Name, 1, Name);
    QTest::keyClick(&grid, Qt::Key_Delete);
    EXPECT_EQ(grid.rowCount(), 1);
    EXPECT_EQ(grid.value(0, Name).toString(), QStringLiteral("n2"));
    ASSERT_EQ(removed.count(), 1);
    EXPECT_EQ(removed.at(0), (QVariantList{0, 2}));
}

TEST_F(Grid, CopyThenPasteRoundTripsAMixedBlock) {
    grid.setRowValues(0, {QStringLiteral("Alpha\tTab"), QStringLiteral("Bob"),
                          QVariant::fromValue(M("1234.5")), QDate(2026, 12, 31), 1, 0xFF0000, QString(), 42});
    grid.setRowValues(
        1, {QStringLiteral("Two\nlines"), QString(), QVariant(), QVariant(), 0, QVariant(), QString(), -7});
    grid.selectBlock(0, Name, 1, Count);
    QTest::keyClick(&grid, Qt::Key_C, Qt::ControlModifier);
    const QString copied = QApplication::clipboard()->text();
    EXPECT_EQ(copied, grid.selectionText());
    EXPECT_TRUE(copied.startsWith(QStringLiteral("\"Alpha\tTab\"\tBob\t1234.50\t2026-12-31\t1\t")));

    grid.setRowCount(4);
    grid.setActiveCell(2, Name);
    QTest::keyClick(&grid, Qt::Key_V, Qt::ControlModifier);
    for (int col : {Name, Person, Rate, Due, Admin, Colour, Count}) {
        EXPECT_EQ(grid.value(2, col), grid.value(0, col)) << col;
        EXPECT_EQ(grid.value(3, col), grid.value(1, col)) << col;
    }
    EXPECT_TRUE(grid.isCellChanged(2, Rate));
    EXPECT_FALSE(grid.isRowChanged(0));
}

TEST_F(Grid, PasteRefusesBadValuesCellByCell) {
    grid.setValue(0, Rate, QStringLiteral("9"));
    grid.setValue(0, Due, QDate(2026, 1, 1));
    QSignalSpy refusedSpy(&grid, &GridWidget::editRefused);
    grid.setActiveCell(0, Name);
    const auto result =
        grid.pasteText(QStringLiteral("x\tZed\tabc\t2026-13-45\t1\tred\tface\t3\tnote\textra"));
    // Which texts a type refuses is the model's; here every cell is judged on its own.
    EXPECT_EQ(grid.value(0, Name).toString(), QStringLiteral("x"));
    EXPECT_EQ(grid.value(0, Rate).value<Money>(), M("9"));      // kept
    EXPECT_EQ(grid.value(0, Due).toDate(), QDate(2026, 1, 1));  // kept
    EXPECT_EQ(grid.value(0, Count).toLongLong(), 3);
    EXPECT_EQ(grid.text(0, Notify), QString());  // buttons take no input
    EXPECT_EQ(result.accepted, 3);
    EXPECT_EQ(result.refused, 6);  // "extra" runs past the last column and is dropped
    EXPECT_EQ(refusedSpy.count(), 4);

    // A row's own combo list decides for that row.
    grid.setCellComboList(1, Person, QStringLiteral("Zed\t "));
    grid.setActiveCell(1, Person);
    EXPECT_EQ(grid.pasteText(QStringLiteral("zed")).accepted, 1);
    EXPECT_EQ(grid.value(1, Person).toString(), QStringLiteral("Zed"));
    EXPECT_EQ(grid.comboItems(1, Person), (QStringList{"Zed", ""}));
    grid.setActiveCell(2, Person);
    EXPECT_EQ(grid.pasteText(QStringLiteral("zed")).refused, 1);
}

TEST_F(Grid, PastePastTheEndAddsRowsOnlyWhenAllowed) {
    QSignalSpy added(&grid, &GridWidget::rowsAdded);
    grid.setActiveCell(1, Name);
    auto result = grid.pasteText(QStringLiteral("a\r\nb\r\nc\r\nd\r\n"));
    EXPECT_EQ(result.rowsAdded, 2);
    EXPECT_EQ(grid.rowCount(), 5);
    EXPECT_EQ(grid.value(4, Name).toString(), QStringLiteral("d"));
    EXPECT_EQ(added.count(), 2);

    grid.setAllowAddRows(false);
    grid.setActiveCell(3, Name);
    result = grid.pasteText(QStringLiteral("p\nq\nr"));
    EXPECT_EQ(result.rowsAdded, 0);
    EXPECT_EQ(result.accepted, 2);
    EXPECT_EQ(grid.rowCount(), 5);
    EXPECT_EQ(grid.value(4, Name).toString(), QStringLiteral("q"));
}

TEST_F(Grid, SortsByTypedValuesWithEmptiesLastAndRowsKeptTogether) {
    grid.setRowCount(5);
    grid.setMatrix({
        {QStringLiteral("cherry"), QStringLiteral("Bob"), QStringLiteral("10"), QDate(2026, 5, 1)},
        {QStringLiteral("apple"), QStringLiteral("Ann"), QVariant(), QDate(2025, 12, 31)},
        {QStringLiteral("Banana"), QStringLiteral("Bob"), QStringLiteral("9"), QVariant()},
        {QString(), QStringLiteral("Ann"), QStringLiteral("2.5"), QDate(2026, 1, 15)},
        {QStringLiteral("date"), QStringLiteral("Cy"), QStringLiteral("-1"), QDate(2024, 2, 29)},
    });
    grid.lockCells(Name, Name, 2, 2, true);  // follows "Banana"

    grid.sortRows({{Rate, Qt::AscendingOrder}});
    EXPECT_EQ(column(Name), (QVector<QVariant>{"date", "", "Banana", "cherry", "apple"}));
    EXPECT_TRUE(grid.isCellLocked(2, Name));
    grid.sortRows({{Rate, Qt::DescendingOrder}});
    EXPECT_EQ(column(Name), (QVector<QVariant>{"cherry", "Banana", "", "date", "apple"}));

    grid.sortRows({{Due, Qt::AscendingOrder}});
    EXPECT_EQ(column(Name), (QVector<QVariant>{"date", "apple", "", "cherry", "Banana"}));

    grid.sortRows({{Name, Qt::AscendingOrder}});
    EXPECT_EQ(column(Name), (QVector<QVariant>{"apple", "Banana", "cherry", "date", ""}));
    EXPECT_TRUE(grid.isCellLocked(1, Name));

    // Several keys: person, then rate descending.
    grid.sortRows({{Person, Qt::AscendingOrder}, {Rate, Qt::DescendingOrder}});
    EXPECT_EQ(column(Name), (QVector<QVariant>{"", "apple", "cherry", "Banana", "date"}));
}

TEST_F(Grid, HeaderClickSortsWhenEnabledAndToggles) {
    grid.setMatrix({{QStringLiteral("b")}, {QStringLiteral("c")}, {QStringLiteral("a")}});
    QSignalSpy before(&grid, &GridWidget::beforeUserSort);
    QSignalSpy after(&grid, &GridWidget::afterUserSort);
    const auto clickHeader = [&] {
        const int x = grid.horizontalHeader()->sectionViewportPosition(Name) + 5;
        QTest::mouseClick(grid.horizontalHeader()->viewport(), Qt::LeftButton, {}, QPoint(x, 5));
    };
    clickHeader();
    EXPECT_EQ(column(Name), (QVector<QVariant>{"b", "c", "a"}));  // off by default
    grid.setUserSortEnabled(true);
    clickHeader();
    EXPECT_EQ(column(Name), (QVector<QVariant>{"a", "b", "c"}));
    clickHeader();
    EXPECT_EQ(column(Name), (QVector<QVariant>{"c", "b", "a"}));
    EXPECT_EQ(before.count(), 2);
    EXPECT_EQ(after.count(), 2);
    EXPECT_EQ(after.at(0).at(0).toInt(), int(Name));
    EXPECT_EQ(grid.lastSortedColumn(), int(Name));
    EXPECT_FALSE(grid.isChanged());
}

TEST_F(Grid, HiddenColumnsKeepValuesButStayOutOfCopyAndExport) {
    grid.setColumnHidden(Colour, true);
    grid.setMatrix({{QStringLiteral("A"), QString(), QVariant(), QVariant(), 0, 5},
                    {QStringLiteral("B"), QString(), QVariant(), QVariant(), 0, 6}});
    EXPECT_EQ(grid.matrix().size(), 2);
    EXPECT_EQ(grid.matrix()[1][Colour].toLongLong(), 6);
    EXPECT_EQ(grid.matrix(1, Colour, 1, 1), (QVector<QVector<QVariant>>{{qlonglong(6)}}));
    EXPECT_EQ(grid.dataRowCount(), 2);

    const QStringList lines = grid.toTabText().split(QLatin1Char('\n'));
    EXPECT_EQ(lines[0], QStringLiteral("Name\tPerson\tRate\tDue\tAdmin\tNotify\tCount\tNote"));
    EXPECT_EQ(lines[2], QStringLiteral("B\t\t\t\t0\t\t\t"));

    grid.selectBlock(0, Admin, 0, Notify);
    EXPECT_EQ(grid.selectionText(), QStringLiteral("0\t\n"));
    EXPECT_FALSE(grid.isChanged());
}

TEST_F(Grid, DataRowCountIgnoresButtonsAndCountsGapsInside) {
    grid.setRowCount(6);
    EXPECT_EQ(grid.dataRowCount(), 0);
    EXPECT_TRUE(grid.matrix().isEmpty());
    grid.setValue(0, Name, QStringLiteral("first"));
    grid.setValue(3, Rate, QStringLiteral("1"));
    grid.setButton(5, Notify, QStringLiteral("Notify"));
    EXPECT_EQ(grid.dataRowCount(), 4);
    EXPECT_EQ(grid.findRow(Name, QStringLiteral("FIRST")), 0);
    EXPECT_EQ(grid.findRow(Name, QStringLiteral("FIRST"), 0, Qt::CaseSensitive), -1);
    EXPECT_EQ(grid.findRow(Name, QStringLiteral("first"), 1), -1);
}

TEST_F(Grid, InsertAndDeleteRowsShiftValuesAndSignal) {
    grid.setMatrix({{QStringLiteral("r0")}, {QStringLiteral("r1")}, {QStringLiteral("r2")}});
    QSignalSpy added(&grid, &GridWidget::rowsAdded);
    QSignalSpy removed(&grid, &GridWidget::rowsRemoved);
    grid.insertRows(1, 2);
    EXPECT_EQ(column(Name), (QVector<QVariant>{"r0", "", "", "r1", "r2"}));
    grid.deleteRows(0, 2);
    EXPECT_EQ(column(Name), (QVector<QVariant>{"", "r1", "r2"}));
    grid.deleteRows(2, 10);  // clipped at the end
    EXPECT_EQ(column(Name), (QVector<QVariant>{"", "r1"}));
    EXPECT_EQ(grid.appendRow({QStringLiteral("r3")}), 2);
    EXPECT_EQ(grid.value(2, Name).toString(), QStringLiteral("r3"));
    EXPECT_EQ(added.count(), 2);
    EXPECT_EQ(added.at(0), (QVariantList{1, 2}));
    ASSERT_EQ(removed.count(), 2);
    EXPECT_EQ(removed.at(1), (QVariantList{2, 1}));
}

TEST_F(Grid, ButtonColourAndCheckCellsAnswerClicksAndSpace) {
    QSignalSpy buttons(&grid, &GridWidget::buttonClicked);
    QSignalSpy colours(&grid, &GridWidget::colourClicked);
    clickCell(1, Notify);
    clickCell(2, Colour);
    ASSERT_EQ(buttons.count(), 1);
    EXPECT_EQ(buttons.at(0), (QVariantList{1, int(Notify)}));
    ASSERT_EQ(colours.count(), 1);
    EXPECT_EQ(colours.at(0), (QVariantList{2, int(Colour)}));
    EXPECT_FALSE(grid.isChanged());

    clickCell(0, Admin);
    EXPECT_EQ(grid.value(0, Admin).toInt(), 1);
    EXPECT_TRUE(grid.isCellChanged(0, Admin));
    grid.setActiveCell(0, Admin);
    QTest::keyClick(&grid, Qt::Key_Space);
    EXPECT_EQ(grid.value(0, Admin).toInt(), 0);

    grid.setActiveCell(2, Notify);
    QTest::keyClick(&grid, Qt::Key_Space);
    EXPECT_EQ(buttons.count(), 2);

    // A locked button does nothing.
    grid.lockCells(Notify, Notify, 1, 1, true);
    clickCell(1, Notify);
    EXPECT_EQ(buttons.count(), 2);
}

// A column-wide button shows on every row without a button of its own, rows added later included,
// and is no data.
TEST_F(Grid, ColumnButtonCoversRowsWithoutTheirOwn) {
    grid.setColumnButton(Notify, QStringLiteral("Approve"), Qt::yellow);
    grid.setButton(1, Notify, QStringLiteral("Own"), Qt::red);
    grid.appendRow({QStringLiteral("late")});
    EXPECT_EQ(grid.text(0, Notify), QStringLiteral("Approve"));
    EXPECT_EQ(grid.text(1, Notify), QStringLiteral("Own"));
    EXPECT_EQ(grid.text(3, Notify), QStringLiteral("Approve"));
    EXPECT_EQ(grid.buttonFace(0, Notify), QColor(Qt::yellow));
    EXPECT_EQ(grid.buttonFace(1, Notify), QColor(Qt::red));
    EXPECT_EQ(grid.text(0, Name), QString());  // other columns untouched
    EXPECT_EQ(grid.dataRowCount(), 4);
    QSignalSpy buttons(&grid, &GridWidget::buttonClicked);
    clickCell(3, Notify);
    ASSERT_EQ(buttons.count(), 1);
    EXPECT_EQ(buttons.at(0), (QVariantList{3, int(Notify)}));
    grid.setColumnButton(Notify, QString());
    EXPECT_EQ(grid.text(0, Notify), QString());
    EXPECT_EQ(grid.buttonFace(0, Notify), QColor(Qt::white));
}

TEST_F(Grid, BulkLoadGrowsRowsAndLeavesNoChangeMarks) {
    QSignalSpy edited(&grid, &GridWidget::valueEdited);
    QVector<QVector<QVariant>> rows;
    for (int i = 0; i < 500; ++i) {
        rows.append({QStringLiteral("n%1").arg(i), QStringLiteral("Ann"), QString::number(i),
                     QDate(2026, 1, 1).addDays(i)});
    }
    grid.setMatrix(rows, 2, 0);
    EXPECT_EQ(grid.rowCount(), 502);
    EXPECT_EQ(grid.value(501, Rate).value<Money>(), Money::fromInt(499));
    EXPECT_EQ(grid.text(2, Name), QStringLiteral("n0"));
    EXPECT_EQ(grid.dataRowCount(), 502);
    EXPECT_EQ(grid.matrix(2).size(), 500);
    EXPECT_FALSE(grid.isChanged());
    EXPECT_EQ(edited.count(), 0);
    grid.clearValues();
    EXPECT_EQ(grid.rowCount(), 502);
    EXPECT_EQ(grid.dataRowCount(), 0);
}

// Fitted columns share the viewport equally, and stay fitted when the window gives the grid its
// final size later (a fit done once at the window's first resize left them 20 pixels wide).
TEST_F(Grid, FittedColumnsFollowTheGridsSize) {
    grid.setColumnHidden(Colour, true);
    grid.setFitColumnsOnResize(true);
    const auto check = [&] {
        const int expected = grid.viewport()->width() / 8;
        for (int c = 0; c < grid.columnCount(); ++c) {
            if (c != Colour) {
                EXPECT_EQ(grid.columnWidth(c), expected) << "column " << c;
            }
        }
    };
    check();
    grid.resize(1500, 300);
    QCoreApplication::processEvents();
    EXPECT_GT(grid.viewport()->width() / 8, 1100 / 8);
    check();
}

// A list grid always offers one empty row below its data: typing into it, pasting past it or
// deleting rows leaves exactly one, and the empty row never counts as data.
TEST_F(Grid, KeptBlankRowFollowsTheDataAndIsNoData) {
    grid.setRowCount(0);
    grid.setKeepBlankRow(true);
    EXPECT_EQ(grid.rowCount(), 1);
    EXPECT_EQ(grid.dataRowCount(), 0);
    EXPECT_FALSE(grid.isChanged());

    grid.setCurrentCell(0, Name);
    typeAndEnter(QStringLiteral("Ann"));
    EXPECT_EQ(grid.value(0, Name).toString(), QStringLiteral("Ann"));
    EXPECT_EQ(grid.dataRowCount(), 1);
    EXPECT_EQ(grid.rowCount(), 2);

    grid.setCurrentCell(1, Name);
    grid.pasteText(QStringLiteral("Bob\nCy\n"));
    EXPECT_EQ(grid.dataRowCount(), 3);
    EXPECT_EQ(grid.rowCount(), 4);

    grid.deleteRows(0, 3);
    EXPECT_EQ(grid.rowCount(), 1);
    EXPECT_EQ(grid.dataRowCount(), 0);

    grid.setMatrix({{QStringLiteral("D")}, {QStringLiteral("E")}});
    EXPECT_EQ(grid.rowCount(), 3);
}
