#include <gtest/gtest.h>

#include <QAction>
#include <QCheckBox>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QTest>

#include "admin/list_form_fixture.h"
#include "admin/list_pickers_dialog.h"
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
    void DeleteRowsWithKey(int first, int last) {
        G().selectBlock(first, 0, last, 0);
        QTest::keyClick(&G(), Qt::Key_Delete);
    }
    void Press(const QString& key) { form->toolbarButton(key)->trigger(); }
};

TEST_P(ManagerListFormTest, ProjectsShowTheirColumnsAndSaveEditsAddsAndDeletions) {
    Open(1);
    // The captions and kinds are the layout's (tested there); the form builds its grid from it.
    ASSERT_EQ(G().columnCount(), form->layout().columns.size());
    EXPECT_EQ(form->windowTitle(), form->layout().caption);
    EXPECT_EQ(G().column(2).type, GridCellType::Currency);
    EXPECT_TRUE(G().isColumnHidden(7));
    EXPECT_FALSE(form->toolbarButton(QStringLiteral("Import"))->isVisible());
    EXPECT_EQ(G().column(1).comboItems, (QStringList{"Kim", "Lee", "Robin", ""}));

    ASSERT_EQ(G().dataRowCount(), 3);
    EXPECT_EQ(G().rowCount(), 4);  // an empty row to type a new project into
    EXPECT_EQ(G().text(3, 9), QString());
    // The cell values are the list rows' (tested there); the colour cell is filled by the form.
    EXPECT_EQ(G().text(0, 0), QStringLiteral("Apollo"));
    EXPECT_EQ(G().text(0, 8), QStringLiteral("Black"));
    EXPECT_EQ(G().buttonFace(0, 8), QColor(0, 0, 0));
    EXPECT_EQ(G().text(1, 8), QStringLiteral("No color assigned."));
    EXPECT_EQ(G().text(2, 9), QStringLiteral("Notify All Members"));
    EXPECT_FALSE(form->hasUnsavedChanges());

    Type(0, 1, QStringLiteral("Kim"));  // Apollo's manager
    DeleteRowsWithKey(1, 1);            // Borealis
    Type(2, 0, QStringLiteral("Dawn\tRobin\t7.5\t2025-01-01\t2025-02-01\tNew one\tDW"));
    // A new row has a white button without text until the list is loaded again.
    EXPECT_EQ(G().text(2, 9), QString());
    EXPECT_EQ(G().buttonFace(2, 9), QColor(Qt::white));
    EXPECT_TRUE(form->hasUnsavedChanges());

    Press(QStringLiteral("Save"));
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(form->saved());
    EXPECT_EQ(Table(QStringLiteral(
                  "SELECT ProjectName, ProjectManager, Rate, FinishDate, Description, ProjectCode, "
                  "ColorCode FROM tProjects ORDER BY ProjectName")),
              (QStringList{"Apollo|Kim|90.00|1899-12-30|||15", "Comet||2.00|1899-12-30|||0",
                           "Dawn|Robin|7.50|2025-02-01|New one|DW|0"}));
    EXPECT_EQ(sink.calls,
              (QStringList{"Manager|Apollo|Kim", "Manager|Dawn|Robin", "NewProjects|Dawn (Manager: Robin)"}));
    EXPECT_TRUE(PromptTexts().isEmpty());
}

TEST_P(ManagerListFormTest, ActivitiesAndMembersOpenEditAndApply) {
    Open(2);
    EXPECT_EQ(G().dataRowCount(), 0);
    EXPECT_EQ(G().column(1).comboItems, (QStringList{"Apollo", "Borealis", "Comet", ""}));
    EXPECT_EQ(G().column(3).comboItems, (QStringList{"Kim", "Lee", "Robin", ""}));
    Type(0, 0, QStringLiteral("Design\tApollo\t5\tKim\t2024-07-01"));
    Press(QStringLiteral("Apply"));
    EXPECT_TRUE(form->isVisible());
    EXPECT_FALSE(form->hasUnsavedChanges());
    EXPECT_EQ(G().text(0, 5), QStringLiteral("Notify All Members"));  // buttons come with the reload
    EXPECT_EQ(
        Table(QStringLiteral("SELECT ActivityName, Project, Rate, Coordinator, DueDate FROM tActivities")),
        QStringList{"Design|Apollo|5.00|Kim|2024-07-01"});
    ASSERT_EQ(sink.calls.size(), 2);
    EXPECT_EQ(sink.calls[0], QStringLiteral("Coordinator|ApolloDesign|Kim"));
    EXPECT_TRUE(sink.calls[1].startsWith(QStringLiteral("NewTasks|")));
    form->Exit();

    sink.calls.clear();
    Open(3);
    EXPECT_EQ(form->heading()->text(), QStringLiteral("Members list"));
    ASSERT_EQ(G().dataRowCount(), 3);
    EXPECT_EQ(G().text(0, 0), QStringLiteral("Kim"));  // loaded sorted by name
    EXPECT_EQ(G().value(2, 4), QVariant(1));           // Robin has admin access
    EXPECT_EQ(G().text(0, 5), QStringLiteral("Notify"));
    Type(1, 2, QStringLiteral("Sales"));  // Lee's department
    DeleteRowsWithKey(2, 2);              // Robin
    Press(QStringLiteral("Save"));
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(Table(QStringLiteral(
                  "SELECT Name, Email, Department, Rate, AdminAccess FROM tMembers ORDER BY Name")),
              (QStringList{"Kim|kim@x.org|Ops|2.00|0", "Lee||Sales|3.00|0"}));
    EXPECT_TRUE(sink.calls.isEmpty());
}

// A toolbar button takes no focus: what is still being typed in a cell must be saved too.
TEST_P(ManagerListFormTest, TextStillInACellEditorIsSaved) {
    Open(3);
    G().setActiveCell(1, 2);
    QTest::keyClick(&G(), 'S');
    QWidget* editor = G().indexWidget(G().currentIndex());
    ASSERT_NE(editor, nullptr);
    QTest::keyClicks(editor, QStringLiteral("ales"));
    Press(QStringLiteral("Save"));
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(Table(QStringLiteral("SELECT Department FROM tMembers WHERE Name = 'Lee'")),
              QStringList{"Sales"});
}

TEST_P(ManagerListFormTest, StartAfterFinishKeepsTheWindowOpenMarksTheRowAndWritesNothing) {
    Open(1);
    const QStringList before =
        Table(QStringLiteral("SELECT ProjectName, StartDate FROM tProjects ORDER BY ID"));
    Type(1, 3, QStringLiteral("2024-05-02\t2024-05-01"));
    Type(2, 3, QStringLiteral("2024-09-02\t2024-01-01"));
    Press(QStringLiteral("Save"));
    EXPECT_TRUE(form->isVisible());
    EXPECT_EQ(PromptTexts(), QStringList{"The Start date cannot be greater than the Finish date!\r\nRow: 2"});
    EXPECT_EQ(G().backColor(1, 3), QColor(255, 0, 0));

    // After the correction the next row is named, and the first mark is gone.
    Type(1, 3, QStringLiteral("2024-04-01"));
    Press(QStringLiteral("Apply"));
    EXPECT_EQ(PromptTexts().last(),
              QStringLiteral("The Start date cannot be greater than the Finish date!\r\nRow: 3"));
    EXPECT_NE(G().backColor(1, 3), QColor(255, 0, 0));
    EXPECT_EQ(G().backColor(2, 3), QColor(255, 0, 0));
    EXPECT_EQ(Table(QStringLiteral("SELECT ProjectName, StartDate FROM tProjects ORDER BY ID")), before);
}

TEST_P(ManagerListFormTest, ClosingWithUnsavedEditsAsksAndExitDoesNot) {
    Open(3);
    form->reject();  // nothing edited: closes without a question
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(PromptTexts().isEmpty());

    Open(3);
    Type(0, 1, QStringLiteral("kim@new.org"));
    prompter.queue(PromptAnswer::Cancel);
    form->close();
    EXPECT_TRUE(form->isVisible());
    ASSERT_EQ(prompter.shown().size(), 1);
    EXPECT_EQ(prompter.shown()[0].buttons, PromptButtons::YesNoCancel);
    prompter.queue(PromptAnswer::No);
    form->reject();
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(Table(QStringLiteral("SELECT Email FROM tMembers WHERE Name = 'Kim'")),
              QStringList{"kim@x.org"});

    Open(3);
    Type(0, 1, QStringLiteral("kim@new.org"));
    prompter.queue(PromptAnswer::Yes);
    form->reject();
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(Table(QStringLiteral("SELECT Email FROM tMembers WHERE Name = 'Kim'")),
              QStringList{"kim@new.org"});

    prompter.clear();
    Open(3);
    Type(0, 1, QStringLiteral("dropped@x.org"));
    Press(QStringLiteral("Exit"));
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(prompter.shown().isEmpty());
    EXPECT_EQ(Table(QStringLiteral("SELECT Email FROM tMembers WHERE Name = 'Kim'")),
              QStringList{"kim@new.org"});
}

TEST_P(ManagerListFormTest, ColourButtonPicksAColourThatTheNextSaveStores) {
    int shown = 0;
    SetColorPickerDriver([&](fCategoriesColors& picker) {
        ++shown;
        EXPECT_EQ(picker.windowTitle(), QStringLiteral("Colors"));
        EXPECT_EQ(picker.cmdColor(0)->text(), QStringLiteral("None"));
        EXPECT_EQ(picker.chosenIndex, -1);  // the caller's index is not shown
        if (shown == 1)
            picker.cmdColor(2)->click();  // Orange; the second time the picker is closed
    });
    Open(1);
    G().setActiveCell(1, 8);
    form->ButtonClicked(1, 8);
    EXPECT_EQ(G().text(1, 8), QStringLiteral("Orange"));
    EXPECT_EQ(G().buttonFace(1, 8), QColor(244, 148, 84));
    EXPECT_EQ(G().text(1, 7), QStringLiteral("2"));
    EXPECT_TRUE(form->hasUnsavedChanges());

    form->ButtonClicked(0, 8);  // closed without a choice: Black stays
    EXPECT_EQ(shown, 2);
    EXPECT_EQ(G().text(0, 8), QStringLiteral("Black"));
    EXPECT_EQ(G().text(0, 7), QStringLiteral("15"));

    G().appendRow();
    form->ButtonClicked(3, 8);  // a row without a name opens nothing
    EXPECT_EQ(shown, 2);

    Press(QStringLiteral("Save"));
    EXPECT_EQ(Table(QStringLiteral("SELECT ProjectName, ColorCode FROM tProjects ORDER BY ProjectName")),
              (QStringList{"Apollo|15", "Borealis|2", "Comet|0"}));
}

TEST_P(ManagerListFormTest, NotifyButtonsAskOrLetTheUserPickRecipients) {
    Open(3);
    prompter.queue(PromptAnswer::Yes);
    form->ButtonClicked(1, 5);
    EXPECT_EQ(PromptTexts(), QStringList{"Continue with notification email to member 'Lee' to report ?"});
    EXPECT_EQ(requests.calls, QStringList{"Member|Lee"});
    form->Exit();

    requests.calls.clear();
    global->GeneralSettings.SetValue(QStringLiteral("tpoAllowSelectionOfMembersToReport"), 1);
    int pickers = 0;
    SetSelectMembersDriver([&](fSelectMembers& p) {
        ++pickers;
        EXPECT_EQ(p.windowTitle(), QStringLiteral("Select recipients"));
        EXPECT_EQ(p.lblSelectMembers->text(), QStringLiteral("Select members for notification"));
        ASSERT_EQ(p.lstMembers->count(), 3);
        EXPECT_EQ(p.lstMembers->selectedItems().size(), 3);  // all selected at first
        p.chkAll->click();                                   // ticked: everything stays selected
        p.chkAll->click();                                   // cleared: nothing selected
        EXPECT_TRUE(p.lstMembers->selectedItems().isEmpty());
        if (pickers == 1) {
            p.lstMembers->item(0)->setSelected(true);  // Kim
            p.lstMembers->item(1)->setSelected(true);  // Lee, without an address
            p.cmdOK->click();
        } else {
            p.cmdOK->click();  // nothing selected: nothing is sent
        }
    });
    Open(1);
    form->ButtonClicked(0, 9);
    form->ButtonClicked(0, 9);
    EXPECT_EQ(pickers, 2);
    EXPECT_EQ(requests.calls, QStringList{"Project|Apollo|kim@x.org"});
}

TEST_P(ManagerListFormTest, SortingMarksOnlyTheLastSortedColumn) {
    Open(1);
    emit G().horizontalHeader()->sectionClicked(2);
    EXPECT_EQ(G().text(0, 0), QStringLiteral("Borealis"));  // rate 1 first
    EXPECT_EQ(G().backColor(0, 2), QColor(255, 255, 0));
    emit G().horizontalHeader()->sectionClicked(4);
    EXPECT_EQ(G().backColor(0, 2), QColor(Qt::white));
    EXPECT_EQ(G().backColor(2, 4), QColor(255, 255, 0));
    EXPECT_EQ(form->sortedColumn(), 4);

    // A form made very small springs back to its least size.
    form->resize(50, 50);
    EXPECT_GE(form->width(), 633);
    EXPECT_GE(form->height(), 400);
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
    EXPECT_TRUE(PromptTexts().isEmpty());
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
    EXPECT_EQ(G().text(n - 1, 5), QStringLiteral("Notify"));
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
