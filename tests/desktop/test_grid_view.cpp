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
#include "desktop/grid_view.h"
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
    grid.setRowValues(0, {QStringLiteral("Alpha"), QStringLiteral("Bob"), QStringLiteral("67.5"),
                          QDate(2026, 3, 7), true, 0x00FF00, QString(), QStringLiteral("12")});
    grid.setButton(0, Notify, QStringLiteral("Notify"));

    // Each column keeps its own type (the texts and conversions themselves are the model's).
    EXPECT_EQ(grid.value(0, Rate).value<Money>(), M("67.5"));
    EXPECT_EQ(grid.value(0, Due).toDate(), QDate(2026, 3, 7));
    EXPECT_EQ(grid.value(0, Admin).toInt(), 1);
    EXPECT_EQ(grid.value(0, Count).toLongLong(), 12);
    EXPECT_EQ(grid.text(0, Notify), QStringLiteral("Notify"));

    // A bad value is refused and changes nothing.
    EXPECT_FALSE(grid.setValue(0, Rate, QStringLiteral("lots")));
    EXPECT_EQ(grid.value(0, Rate).value<Money>(), M("67.5"));
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
    ASSERT_EQ(edited.count(), 1);
    EXPECT_EQ(edited.at(0), (QVariantList{0, int(Name)}));

    grid.setActiveCell(0, Rate);
    typeAndEnter(QStringLiteral("12.5"));
    EXPECT_EQ(grid.value(0, Rate).value<Money>(), M("12.5"));

    grid.setActiveCell(0, Person);
    typeAndEnter(QStringLiteral("c"));  // a list-only combo picks by first letter
    EXPECT_EQ(grid.value(0, Person).toString(), QStringLiteral("Cy"));

    // A bad number is refused and the old value kept.
    QSignalSpy refused(&grid, &GridWidget::editRefused);
    grid.setActiveCell(0, Rate);
    typeAndEnter(QStringLiteral("abc"));
    EXPECT_EQ(grid.value(0, Rate).value<Money>(), M("12.5"));
    ASSERT_EQ(refused.count(), 1);
    EXPECT_EQ(refused.at(0).at(2).toString(), QStringLiteral("abc"));

    grid.clearChanged();
    EXPECT_FALSE(grid.isCellChanged(0, Name));
}

TEST_F(Grid, TabMovesAcrossVisibleColumnsAndWrapsRows) {
    grid.setColumnHidden(Note, true);
    grid.setActiveCell(0, Count);
    QTest::keyClick(&grid, Qt::Key_Tab);
    EXPECT_EQ(grid.activeRow(), 1);
    EXPECT_EQ(grid.activeColumn(), int(Name));

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

TEST_F(Grid, LockedCellsAndColumnsRefuseEdits) {
    grid.setValue(0, Name, QStringLiteral("Keep"));
    grid.lockCells(Name, Name, 0, 0, true);
    grid.setActiveCell(0, Name);
    QTest::keyClick(&grid, 'z');
    EXPECT_EQ(grid.indexWidget(grid.currentIndex()), nullptr);
    EXPECT_EQ(grid.value(0, Name).toString(), QStringLiteral("Keep"));
    EXPECT_FALSE(grid.isCellLocked(1, Name));

    grid.setColumnLocked(Admin, true);
    clickCell(1, Admin);
    EXPECT_EQ(grid.value(1, Admin).toInt(), 0);
    grid.setRowCount(4);  // a column lock also holds for rows added later
    EXPECT_TRUE(grid.isCellLocked(3, Admin));

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
    EXPECT_FALSE(grid.value(0, Rate).isValid());
    EXPECT_EQ(grid.value(1, Rate).value<Money>(), M("5"));  // locked
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
    ASSERT_EQ(after.count(), 2);
    EXPECT_EQ(after.at(0).at(0).toInt(), int(Name));
    EXPECT_FALSE(grid.isChanged());
}

TEST_F(Grid, HiddenColumnsKeepValuesButStayOutOfCopy) {
    grid.setColumnHidden(Colour, true);
    grid.setMatrix({{QStringLiteral("A"), QString(), QVariant(), QVariant(), 0, 5},
                    {QStringLiteral("B"), QString(), QVariant(), QVariant(), 0, 6}});
    EXPECT_EQ(grid.matrix(1, Colour, 1, 1), (QVector<QVector<QVariant>>{{qlonglong(6)}}));

    grid.selectBlock(0, Admin, 0, Notify);
    EXPECT_EQ(grid.selectionText(), QStringLiteral("0\t\n"));
}

// A column-wide button shows on every row without a button of its own, rows added later included,
// and is no data; a click on it is reported, a locked one does nothing, and a check cell toggles.
TEST_F(Grid, ButtonAndCheckCellsAnswerClicksAndSpace) {
    grid.setColumnButton(Notify, QStringLiteral("Approve"));
    grid.setButton(1, Notify, QStringLiteral("Own"));
    grid.appendRow({QStringLiteral("late")});
    EXPECT_EQ(grid.text(1, Notify), QStringLiteral("Own"));
    EXPECT_EQ(grid.text(3, Notify), QStringLiteral("Approve"));
    EXPECT_EQ(grid.dataRowCount(), 4);  // "late" in row 3; the buttons alone make no row data
    QSignalSpy buttons(&grid, &GridWidget::buttonClicked);
    clickCell(3, Notify);
    ASSERT_EQ(buttons.count(), 1);
    EXPECT_EQ(buttons.at(0), (QVariantList{3, int(Notify)}));
    grid.lockCells(Notify, Notify, 1, 1, true);
    clickCell(1, Notify);
    EXPECT_EQ(buttons.count(), 1);
    EXPECT_FALSE(grid.isChanged());  // a button click is no edit

    clickCell(0, Admin);
    EXPECT_EQ(grid.value(0, Admin).toInt(), 1);
    EXPECT_TRUE(grid.isCellChanged(0, Admin));
    grid.setActiveCell(0, Admin);
    QTest::keyClick(&grid, Qt::Key_Space);
    EXPECT_EQ(grid.value(0, Admin).toInt(), 0);
    grid.setColumnButton(Notify, QString());
    EXPECT_EQ(grid.text(0, Notify), QString());
}

TEST_F(Grid, BulkLoadGrowsRowsAndLeavesNoChangeMarks) {
    QSignalSpy edited(&grid, &GridWidget::valueEdited);
    QVector<QVector<QVariant>> rows;
    for (int i = 0; i < 5; ++i)
        rows.append({QStringLiteral("n%1").arg(i), QStringLiteral("Ann"), QString::number(i)});
    grid.setMatrix(rows, 2, 0);
    EXPECT_EQ(grid.rowCount(), 7);
    EXPECT_EQ(grid.value(6, Rate).value<Money>(), Money::fromInt(4));
    EXPECT_EQ(grid.text(2, Name), QStringLiteral("n0"));
    EXPECT_EQ(grid.matrix(2).size(), 5);
    EXPECT_FALSE(grid.isChanged());
    EXPECT_EQ(edited.count(), 0);
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
}
