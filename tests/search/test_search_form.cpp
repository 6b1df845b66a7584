#include <gtest/gtest.h>

#include <QAction>
#include <QComboBox>
#include <QFile>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPrinter>
#include <QProcess>
#include <QRegularExpression>
#include <QTreeView>

#include "app/section_loader.h"
#include "desktop/dialogs.h"
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

INSTANTIATE_TEST_SUITE_P(Engines, SearchFormTest, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace tlm::test
