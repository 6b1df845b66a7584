#include <gtest/gtest.h>

#include <QAction>
#include <QCheckBox>
#include <QListWidget>
#include <QPushButton>
#include <QTest>

#include "admin/list_form_fixture.h"
#include "admin/list_pickers_form.h"
#include "app/section_loader.h"
#include "settings/global_settings.h"

namespace tlm::test {
namespace {

class ManagerListFormTest : public ListFormTest {
  protected:
    void SetUp() override {
        ListFormTest::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        // Three members and three projects, Apollo in Black, as a start-up would load them.
        ASSERT_TRUE(SaveListFromGrid(3,
                                     {{"Robin", "robin@x.org", "", Cash("1"), 1},
                                      {"Kim", "kim@x.org", "Ops", Cash("2"), 0},
                                      {"Lee", "", "", Cash("3"), 0}},
                                     *global)
                        .saved);
        ASSERT_TRUE(
            SaveListFromGrid(1,
                             {{"Apollo", "Robin", Cash("90"), QDate(2024, 5, 1), QVariant(), "", "", "15"},
                              {"Borealis", "Lee", Cash("1")},
                              {"Comet", "", Cash("2")}},
                             *global)
                .saved);
        Reload();
        sink.calls.clear();
        prompter.clear();
    }
    void TearDown() override {
        SetColorPickerDriver({});
        SetSelectMembersDriver({});
        SetManagerListDriver({});
        ListFormTest::TearDown();
    }
    // Types into the grid from a cell, as the user pastes.
    void Type(int row, int col, const QString& text) {
        while (G().rowCount() <= row)
            G().appendRow();
        G().setActiveCell(row, col);
        const GridWidget::PasteResult r = G().pasteText(text);
        EXPECT_EQ(r.refused, 0) << text.toStdString();
    }
    void Press(const QString& key) { form->toolbarButton(key)->trigger(); }
};

// The section's window loads the list, refuses a bad row without writing, and saves edits, a
// deletion, a new row, a picked colour and a cell still being typed.
TEST_P(ManagerListFormTest, ProjectsLoadRefuseABadRowAndSaveEditsAddsDeletionsAndColours) {
    int pickers = 0;
    SetColorPickerDriver([&](fCategoriesColors& picker) {
        if (++pickers == 1)
            picker.cmdColor(2)->click();  // Orange; the second time the picker is closed
    });
    Open(1);
    // The columns and cells are the layout's and the list rows' (tested there).
    ASSERT_EQ(G().columnCount(), form->layout().columns.size());
    EXPECT_EQ(G().column(1).comboItems, (QStringList{"Kim", "Lee", "Robin", ""}));
    ASSERT_EQ(G().dataRowCount(), 3);
    EXPECT_EQ(G().text(0, 8), QStringLiteral("Black"));  // the colour cell is filled by the form
    EXPECT_FALSE(form->hasUnsavedChanges());

    const QString sql = QStringLiteral(
        "SELECT ProjectName, ProjectManager, Rate, FinishDate, Description, ProjectCode, ColorCode FROM "
        "tProjects ORDER BY ProjectName");
    const QStringList before = Table(sql);
    Type(1, 3, QStringLiteral("2024-05-02\t2024-05-01"));
    Press(QStringLiteral("Save"));
    EXPECT_TRUE(form->isVisible());  // the edits stay to be corrected
    EXPECT_EQ(PromptTexts(), QStringList{"The Start date cannot be greater than the Finish date!\r\nRow: 2"});
    EXPECT_EQ(G().backColor(1, 3), QColor(255, 0, 0));  // the row named is the row marked
    EXPECT_EQ(Table(sql), before);
    prompter.clear();

    Type(0, 1, QStringLiteral("Kim"));  // Apollo's manager
    G().selectBlock(1, 0, 1, 0);        // Borealis, deleted with the key
    QTest::keyClick(&G(), Qt::Key_Delete);
    Type(2, 0, QStringLiteral("Dawn\tRobin\t7.5\t2025-01-01\t2025-02-01\tNew one\tDW"));
    G().setActiveCell(1, 8);
    emit G().buttonClicked(1, 8);  // Comet
    EXPECT_EQ(G().text(1, 8), QStringLiteral("Orange"));
    emit G().buttonClicked(0, 8);  // closed without a choice: Apollo keeps its colour
    EXPECT_EQ(pickers, 2);
    // A toolbar button takes no focus: what is still being typed in a cell must be saved too.
    G().setActiveCell(1, 5);
    QTest::keyClick(&G(), 'N');
    QWidget* editor = G().indexWidget(G().currentIndex());
    ASSERT_NE(editor, nullptr);
    QTest::keyClicks(editor, QStringLiteral("ote"));

    Press(QStringLiteral("Save"));
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(form->saved());
    EXPECT_EQ(Table(sql), (QStringList{"Apollo|Kim|90.00|1899-12-30|||15", "Comet||2.00|1899-12-30|Note||2",
                                       "Dawn|Robin|7.50|2025-02-01|New one|DW|0"}));
    EXPECT_EQ(sink.calls,
              (QStringList{"Manager|Apollo|Kim", "Manager|Dawn|Robin", "NewProjects|Dawn (Manager: Robin)"}));
    EXPECT_TRUE(PromptTexts().isEmpty());
}

// Closing with unsaved edits asks: Cancel stays, No drops the edit, Yes saves it; Exit never asks.
TEST_P(ManagerListFormTest, ClosingWithUnsavedEditsAsksAndExitDoesNot) {
    const auto kimEmail = [this] {
        return Table(QStringLiteral("SELECT Email FROM tMembers WHERE Name = 'Kim'"));
    };
    Open(3);
    Type(0, 1, QStringLiteral("kim@new.org"));
    prompter.queue(PromptAnswer::Cancel);
    form->close();
    EXPECT_TRUE(form->isVisible());
    prompter.queue(PromptAnswer::No);
    form->reject();
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(prompter.shown().size(), 2);
    EXPECT_EQ(kimEmail(), QStringList{"kim@x.org"});

    Open(3);
    Type(0, 1, QStringLiteral("kim@new.org"));
    prompter.queue(PromptAnswer::Yes);
    form->reject();
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(kimEmail(), QStringList{"kim@new.org"});

    prompter.clear();
    Open(3);
    Type(0, 1, QStringLiteral("dropped@x.org"));
    Press(QStringLiteral("Exit"));
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(prompter.shown().isEmpty());
    EXPECT_EQ(kimEmail(), QStringList{"kim@new.org"});
}

TEST_P(ManagerListFormTest, NotifyButtonLetsTheUserPickRecipients) {
    global->GeneralSettings.SetValue(QStringLiteral("tpoAllowSelectionOfMembersToReport"), 1);
    int pickers = 0;
    SetSelectMembersDriver([&](fSelectMembers& p) {
        ++pickers;
        ASSERT_EQ(p.lstMembers->selectedItems().size(), 3);  // all selected at first
        p.chkAll->click();                                   // ticked: everything stays selected
        p.chkAll->click();                                   // cleared: nothing selected
        if (pickers == 1) {
            p.lstMembers->item(0)->setSelected(true);  // Kim
            p.lstMembers->item(1)->setSelected(true);  // Lee, without an address
        }
        p.cmdOK->click();  // the second time nothing is selected: nothing is sent
    });
    Open(1);
    emit G().buttonClicked(0, 9);
    emit G().buttonClicked(0, 9);
    EXPECT_EQ(pickers, 2);
    EXPECT_EQ(requests.calls, QStringList{"Project|Apollo|kim@x.org"});
}

// The loader hands each list section its own window (the titles themselves are the layout's).
TEST_P(ManagerListFormTest, SectionLoaderOpensTheListOfEachSection) {
    QStringList seen;
    SetManagerListDriver([&](frmManagerList& f) {
        seen.append(QString::number(f.section()) + u'|' + QString::number(f.grid()->columnCount()));
    });
    for (qint32 s : {1, 2, 3, 13})
        subLoadSection(s);
    EXPECT_EQ(seen, (QStringList{"1|10", "2|6", "3|6", "13|1"}));
}

// Long lists go in and out in chunks; every row and its button must survive the chunk edges.
TEST_P(ManagerListFormTest, LongListsLoadAndSaveEveryRow) {
    const int n = kListProgressRows + 1234;
    GridRows rows;
    for (int i = 0; i < n; ++i)
        rows.append(
            {QStringLiteral("M%1").arg(i, 5, 10, QLatin1Char('0')), QString(), QString(), Cash("1"), 0});
    ASSERT_TRUE(SaveListFromGrid(3, rows, *global).saved);
    Reload();
    Open(3);
    ASSERT_EQ(G().dataRowCount(), n);
    EXPECT_EQ(G().text(n - 1, 0), QStringLiteral("M%1").arg(n - 1, 5, 10, QLatin1Char('0')));
    EXPECT_EQ(G().text(1000, 0), QStringLiteral("M01000"));
    Type(n - 1, 2, QStringLiteral("Last"));
    Type(999, 2, QStringLiteral("Edge"));
    Press(QStringLiteral("Save"));
    EXPECT_EQ(Count(QStringLiteral("tMembers")), n);
    EXPECT_EQ(Table(QStringLiteral("SELECT Name FROM tMembers WHERE Department <> '' ORDER BY Name")),
              (QStringList{"M00999", QStringLiteral("M%1").arg(n - 1, 5, 10, QLatin1Char('0'))}));
}

INSTANTIATE_TEST_SUITE_P(Engines, ManagerListFormTest, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace tlm::test
