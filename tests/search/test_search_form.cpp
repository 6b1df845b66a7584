#include <gtest/gtest.h>

#include <QAction>
#include <QComboBox>
#include <QDateEdit>
#include <QFile>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QMap>
#include <QPlainTextEdit>
#include <QPrinter>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>
#include <QTreeView>

#include "app/section_loader.h"
#include "desktop/dialogs.h"
#include "desktop/item_pictures.h"
#include "domain/domain_test_fixture.h"
#include "search/search_form.h"
#include "search/search_test_rows.h"

namespace tlm::test {
namespace {

class SearchFormTest : public DomainDbTest {
  protected:
    void SetUp() override {
        DomainDbTest::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        InsertSearchRows([this](const QString& sql, const QVariantList& v) { Exec(sql, v); });
        // Custom field 2 is active under a title of its own; 1, 3 and 4 are not.
        global->GeneralSettings.SetValue(QStringLiteral("tpoActiveCustomField2"), 1);
        global->GeneralSettings.SetValue(QStringLiteral("tpoTitleCustomField2"), QStringLiteral("Team"));
        DialogScript::clear();
    }
    void TearDown() override {
        SetSearchDriver(nullptr);
        frmSearch::SetPrintDialogHook(nullptr);
        DialogScript::clear();
        DomainDbTest::TearDown();
    }
    static void SelectRows(frmSearch& form, const QList<int>& rows) {
        form.resultList()->clearSelection();
        for (int r : rows)
            form.resultList()->selectionModel()->select(
                form.resultModel().index(r, 0), QItemSelectionModel::Select | QItemSelectionModel::Rows);
    }
    static void KeywordSearch(frmSearch& form, const QString& keyword) {
        form.searchFields()->setCurrentIndex(0);
        form.types()->setCurrentIndex(2);
        form.keyword()->setText(keyword);
        form.cmdSearch();
    }
};

// The section opens the search; its buttons reach the search, the print and the delete, and the
// results come back to the list.
TEST_P(SearchFormTest, SearchPreviewPrintDeleteAndReset) {
    const QString pdf = NewTempDir(QStringLiteral("pdf")) + QStringLiteral("/items.pdf");
    const QString job = NewTempDir(QStringLiteral("print")) + QStringLiteral("/job.pdf");
    int printDialogs = 0;
    frmSearch::SetPrintDialogHook([&](QPrinter& printer) {
        ++printDialogs;
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(job);
        return true;
    });
    bool ran = false;
    SetSearchDriver([&](frmSearch& form) {
        ran = true;
        ASSERT_EQ(form.searchFields()->count(), 9);
        EXPECT_EQ(form.searchFields()->itemText(8), QStringLiteral("Team"));
        KeywordSearch(form, QStringLiteral("audit"));
        ASSERT_EQ(form.resultModel().rowCount(), 2);
        EXPECT_EQ(form.resultLabel()->text(), QStringLiteral("Search Result: 2"));
        EXPECT_EQ(form.resultModel().Key(0), QStringLiteral("T7"));
        EXPECT_EQ(form.resultModel().Text(1, 0), QStringLiteral("Audit meeting"));
        form.resultList()->setCurrentIndex(form.resultModel().index(0, 0));
        EXPECT_EQ(form.preview()->toPlainText(), QStringLiteral("Checked the ledgers\nand the receipts"));

        // Two items: one question, then one page each in the file.
        SelectRows(form, {0, 1});
        prompter.queue(PromptAnswer::Yes);
        DialogScript::queueFileName(pdf);
        form.toolbarButton(QStringLiteral("pdf"))->trigger();
        ASSERT_EQ(PromptTexts(), QStringList({"Are you sure you want to print 2 reported item(s)?"}));
        prompter.clear();
        // One item is printed without a question.
        SelectRows(form, {1});
        form.toolbarButton(QStringLiteral("print"))->trigger();
        EXPECT_EQ(printDialogs, 1);
        EXPECT_TRUE(PromptTexts().isEmpty());

        SelectRows(form, {0});
        prompter.queue(PromptAnswer::No);
        form.toolbarButton(QStringLiteral("delete"))->trigger();
        EXPECT_EQ(PromptTexts(),
                  QStringList({"Are you sure you want to remove 1 reported item(s) from the database "
                               "permanently?\r\n\r\nNote: This action cannot be rolled back!"}));
        EXPECT_EQ(form.resultModel().rowCount(), 2);

        // The task 7 goes; the appointment 7 stays, and the same search runs again on the table.
        SelectRows(form, {0});
        prompter.queue(PromptAnswer::Yes);
        form.toolbarButton(QStringLiteral("delete"))->trigger();
        ASSERT_EQ(form.resultModel().rowCount(), 1);
        EXPECT_EQ(form.resultModel().Key(0), QStringLiteral("A7"));

        form.cmdReset();
        EXPECT_EQ(form.resultModel().rowCount(), 0);
        EXPECT_TRUE(presenter.reports.isEmpty()) << AllShownText().toStdString();
    });
    subLoadSection(20);
    ASSERT_TRUE(ran) << "section 20 did not open the search";
    EXPECT_TRUE(QFile::exists(job));
    ASSERT_TRUE(QFile::exists(pdf));
    QProcess text;
    text.start(QStringLiteral("pdftotext"), {QStringLiteral("-layout"), pdf, QStringLiteral("-")});
    ASSERT_TRUE(text.waitForFinished(30000));
    const QString out = QString::fromUtf8(text.readAllStandardOutput());
    QStringList pages = out.split(u'\f');
    if (!pages.isEmpty() && pages.last().trimmed().isEmpty())
        pages.removeLast();
    // What goes into a page is the print template's (tested with the results); here the pages follow
    // the selected rows in the list's order.
    ASSERT_EQ(pages.size(), 2) << out.toStdString();
    EXPECT_TRUE(pages[0].contains(QRegularExpression(QStringLiteral("Subject\\s+Quarterly audit"))))
        << pages[0].toStdString();
    EXPECT_TRUE(pages[1].contains(QRegularExpression(QStringLiteral("Subject\\s+Audit meeting"))))
        << pages[1].toStdString();
}

// A header click sorts the list by that column's kind of value, a second click turns it round and a
// third goes back to load order; the selection, the preview, the print and the delete stay with
// their records, and a new search keeps the order asked for.
TEST_P(SearchFormTest, HeaderClicksSortTheListAndRowsKeepTheirRecords) {
    const QString pdf = NewTempDir(QStringLiteral("pdf")) + QStringLiteral("/sorted.pdf");
    bool ran = false;
    SetSearchDriver([&](frmSearch& form) {
        ran = true;
        form.searchFields()->setCurrentText(QStringLiteral("Reported Between"));
        form.types()->setCurrentIndex(2);
        form.startDate()->setDate(QDate(2026, 1, 1));
        form.endDate()->setDate(QDate(2026, 12, 31));
        form.cmdSearch();
        const auto keys = [&] {
            QStringList out;
            for (int r = 0; r < form.resultModel().rowCount(); ++r)
                out << form.resultModel().Key(r);
            return out;
        };
        ASSERT_EQ(keys(), QStringList({"T7", "T8", "A7", "A9"}));
        QHeaderView* header = form.resultList()->header();
        const auto click = [&](int column) {
            QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                              QPoint(header->sectionViewportPosition(column) + 4, header->height() / 2));
        };
        struct Step {
            int column;
            QStringList keys;
        };
        const Step steps[] = {
            {5, {"T8", "A7", "T7", "A9"}},  // Cost as numbers: 40, 80, 125.5, 300
            {5, {"A9", "T7", "A7", "T8"}},  // and down
            {5, {"T7", "T8", "A7", "A9"}},  // back to load order
            {6, {"A9", "T7", "A7", "T8"}},  // Last Reported by date and time
            {1, {"T7", "A7", "T8", "A9"}},  // ID as numbers, equal IDs in load order
            {2, {"A9", "T7", "A7", "T8"}},  // Member
        };
        for (const Step& step : steps) {
            click(step.column);
            EXPECT_EQ(keys(), step.keys) << "column " << step.column;
        }
        // Sorted down by ID: the selected row and the current row follow their records.
        click(1);
        click(1);
        ASSERT_EQ(keys(), QStringList({"A9", "T8", "T7", "A7"}));
        form.resultList()->setCurrentIndex(form.resultModel().index(0, 0));
        EXPECT_EQ(form.preview()->toPlainText(), QStringLiteral("Next year's budget"));
        click(5);  // by cost: A9 goes to the bottom, still current and selected
        ASSERT_EQ(keys(), QStringList({"T8", "A7", "T7", "A9"}));
        EXPECT_EQ(form.resultList()->currentIndex().row(), 3);
        EXPECT_EQ(form.TotalSelectedItems(), 1);
        EXPECT_TRUE(form.resultList()->selectionModel()->isRowSelected(3, {}));

        // The page printed is the selected row's record, not the record at that position in the results.
        SelectRows(form, {0});
        DialogScript::queueFileName(pdf);
        form.toolbarButton(QStringLiteral("pdf"))->trigger();

        // A new search comes in the order asked for; deleting the top row removes that record.
        form.cmdSearch();
        ASSERT_EQ(keys(), QStringList({"T8", "A7", "T7", "A9"}));
        SelectRows(form, {0});
        prompter.queue(PromptAnswer::Yes);
        form.toolbarButton(QStringLiteral("delete"))->trigger();
        EXPECT_EQ(keys(), QStringList({"A7", "T7", "A9"}));
        EXPECT_TRUE(presenter.reports.isEmpty()) << AllShownText().toStdString();
    });
    subLoadSection(20);
    ASSERT_TRUE(ran);
    EXPECT_EQ(Count(QStringLiteral("tReportedTasks")), 1) << "task 8 was deleted, task 7 stays";
    ASSERT_TRUE(QFile::exists(pdf));
    QProcess text;
    text.start(QStringLiteral("pdftotext"), {QStringLiteral("-layout"), pdf, QStringLiteral("-")});
    ASSERT_TRUE(text.waitForFinished(30000));
    const QString out = QString::fromUtf8(text.readAllStandardOutput());
    EXPECT_TRUE(out.contains(QRegularExpression(QStringLiteral("Subject\\s+Invoice run"))))
        << out.toStdString();
    EXPECT_FALSE(out.contains(QStringLiteral("Quarterly audit"))) << out.toStdString();
}

// With the titles "Project" and "Task" the project entry searches by the project alone while the
// activity list stands on its empty first entry, and by both once an activity is picked.
TEST_P(SearchFormTest, ProjectAloneUntilAnActivityIsPicked) {
    for (const char* project : {"Apollo", "Hermes"})
        Exec(QStringLiteral("INSERT INTO tProjects (ProjectName, ProjectManager, Rate) VALUES (?, '', 0)"),
             {QString::fromLatin1(project)});
    for (const auto& [activity, project] : std::initializer_list<std::pair<const char*, const char*>>{
             {"Design", "Apollo"}, {"Build", "Hermes"}, {"Test", "Hermes"}})
        Exec(QStringLiteral("INSERT INTO tActivities (ActivityName, Project, Rate) VALUES (?, ?, 0)"),
             {QString::fromLatin1(activity), QString::fromLatin1(project)});
    Exec(
        QStringLiteral("INSERT INTO tGeneralSettings (KeyID, KeyVal, KeyLocal) VALUES ('tpoActivityTitle', "
                       "'Task', 0)"));
    Reload();
    ASSERT_EQ(global->ActivityTitle, QStringLiteral("Task"));
    bool ran = false;
    SetSearchDriver([&](frmSearch& form) {
        ran = true;
        form.searchFields()->setCurrentText(QStringLiteral("Project/Task"));
        ASSERT_EQ(form.searchFields()->currentText(), QStringLiteral("Project/Task"));
        form.types()->setCurrentIndex(2);
        // The first project is chosen at load; its list starts with the empty entry, which is chosen.
        EXPECT_EQ(form.projects()->currentText(), QStringLiteral("Apollo"));
        const auto entries = [&] {
            QStringList out;
            for (int i = 0; i < form.activities()->count(); ++i)
                out << form.activities()->itemText(i);
            return out;
        };
        EXPECT_EQ(entries(), QStringList({"", "Design"}));
        EXPECT_EQ(form.activities()->currentIndex(), 0);

        form.projects()->setCurrentText(QStringLiteral("Hermes"));
        EXPECT_EQ(entries(), QStringList({"", "Build", "Test"}));
        EXPECT_TRUE(form.activities()->currentText().isEmpty());
        struct Case {
            const char* activity;
            QStringList keys;
        };
        const Case cases[] = {
            {"", {"T8", "A9"}},  // the project alone: the appointment without an activity too
            {"Build", {"T8"}},
            {"Test", {}},
        };
        for (const Case& c : cases) {
            form.activities()->setCurrentText(QString::fromLatin1(c.activity));
            form.cmdSearch();
            QStringList keys;
            for (int r = 0; r < form.resultModel().rowCount(); ++r)
                keys << form.resultModel().Key(r);
            EXPECT_EQ(keys, c.keys) << c.activity;
            EXPECT_EQ(form.resultLabel()->text(), QStringLiteral("Search Result: %1").arg(c.keys.size()));
        }
        // Going back to a project chooses its empty entry again.
        form.projects()->setCurrentText(QStringLiteral("Apollo"));
        EXPECT_TRUE(form.activities()->currentText().isEmpty());
        form.cmdSearch();
        EXPECT_EQ(form.resultModel().rowCount(), 2);
        EXPECT_TRUE(presenter.reports.isEmpty()) << AllShownText().toStdString();
    });
    subLoadSection(20);
    ASSERT_TRUE(ran);
}

// The list shows a task's and an appointment's pictures, the ones the review shows, never a check
// box; costs come with two decimals as the review shows them, to the right so their points line up.
TEST_P(SearchFormTest, PicturesAndCostsAsTheReviewShowsThem) {
    const auto image = [](const QIcon& icon) { return icon.pixmap(16).toImage(); };
    const QImage task = image(TaskPicture()), appointment = image(AppointmentPicture());
    bool ran = false;
    SetSearchDriver([&](frmSearch& form) {
        ran = true;
        form.searchFields()->setCurrentText(QStringLiteral("Reported Between"));
        form.types()->setCurrentIndex(2);
        form.startDate()->setDate(QDate(2026, 1, 1));
        form.endDate()->setDate(QDate(2026, 12, 31));
        form.cmdSearch();
        const SearchListModel& m = form.resultModel();
        ASSERT_EQ(m.rowCount(), 4);
        const QMap<QString, QString> costs{
            {"T7", "125.50"}, {"T8", "40.00"}, {"A7", "80.00"}, {"A9", "300.00"}};
        for (int r = 0; r < m.rowCount(); ++r) {
            const QString key = m.Key(r);
            SCOPED_TRACE(key.toStdString());
            EXPECT_EQ(m.Text(r, 5), costs.value(key));
            EXPECT_EQ(m.index(r, 5).data(Qt::DisplayRole).toString(), costs.value(key));
            EXPECT_TRUE(m.index(r, 5).data(Qt::TextAlignmentRole).toInt() & Qt::AlignRight);
            EXPECT_EQ(image(m.index(r, 0).data(Qt::DecorationRole).value<QIcon>()),
                      key.startsWith(u'T') ? task : appointment);
            for (int col = 0; col < m.columnCount(); ++col) {
                EXPECT_FALSE(m.index(r, col).data(Qt::CheckStateRole).isValid()) << col;
                EXPECT_FALSE(m.flags(m.index(r, col)) & Qt::ItemIsUserCheckable) << col;
            }
        }
        EXPECT_TRUE(presenter.reports.isEmpty()) << AllShownText().toStdString();
    });
    subLoadSection(20);
    ASSERT_TRUE(ran);
}

INSTANTIATE_TEST_SUITE_P(Engines, SearchFormTest, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace tlm::test
