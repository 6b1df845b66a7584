#include <gtest/gtest.h>

#include <QAction>
#include <QComboBox>
#include <QDateEdit>
#include <QFile>
#include <QGroupBox>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPrinter>
#include <QProcess>
#include <QRegularExpression>
#include <QTreeView>

#include "app/section_loader.h"
#include "core/local_settings.h"
#include "desktop/gui_dialogs.h"
#include "domain/domain_test_fixture.h"
#include "search/search_form.h"
#include "search/search_test_rows.h"
#include "support/test_env.h"

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
        global->CustomLists[1].FromArray({QStringLiteral("Blue"), QStringLiteral("Green")});
        global->Projects.FromArray(Rows({{"Apollo", "Kim"}, {"Hermes", "Lee"}}));
        global->Tasks.FromArray(Rows({{"Design", "Apollo", "", "Lee", "2026-6-1"}, {"Build", "Hermes"}}));
        global->LoadTasksProjectsCollection();
        DialogScript::clear();
    }
    void TearDown() override {
        SetSearchDriver(nullptr);
        DialogScript::clear();
        DomainDbTest::TearDown();
    }
    void Open(const std::function<void(frmSearch&)>& steps) {
        bool ran = false;
        SetSearchDriver([&](frmSearch& form) {
            ran = true;
            steps(form);
        });
        subLoadSection(20);
        EXPECT_TRUE(ran) << "section 20 did not open the search";
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

TEST_P(SearchFormTest, PanelShowsTheFrameOfEachEntryWithStoredState) {
    SaveSetting(kSettingsApplication, QStringLiteral("SearchUI"), QStringLiteral("SubjectWidth"),
                QStringLiteral("222"));
    SaveSetting(kSettingsApplication, QStringLiteral("SearchUI"), QStringLiteral("ItemsTypeIndex"),
                QStringLiteral("1"));
    SaveSetting(kSettingsApplication, QStringLiteral("SearchUI"), QStringLiteral("SearchByIndex"),
                QStringLiteral("3"));
    Open([this](frmSearch& form) {
        EXPECT_EQ(form.windowTitle(), QStringLiteral("Search reports"));
        QStringList entries;
        for (int i = 0; i < form.searchFields()->count(); ++i)
            entries.append(form.searchFields()->itemText(i));
        EXPECT_EQ(entries, QStringList({"Keyword", "Reported By", "Project/Activity", "By Cost",
                                        "Reported On", "Reported Between", "Due On", "Due Between", "Team"}));
        EXPECT_EQ(form.types()->currentText(), QStringLiteral("Appointment Items"));
        EXPECT_EQ(form.searchFields()->currentText(), QStringLiteral("By Cost"));
        EXPECT_TRUE(form.frame(QStringLiteral("frameCost"))->isVisible());
        EXPECT_FALSE(form.frame(QStringLiteral("FrameKeyword"))->isVisible());
        EXPECT_EQ(form.resultList()->header()->sectionSize(0), 222);
        EXPECT_EQ(form.resultList()->header()->sectionSize(1), 50);
        EXPECT_EQ(form.resultModel().headerData(3, Qt::Horizontal, Qt::DisplayRole).toString(),
                  QStringLiteral("Project"));
        EXPECT_EQ(form.resultModel().headerData(6, Qt::Horizontal, Qt::DisplayRole).toString(),
                  QStringLiteral("Last Reported"));
        EXPECT_EQ(form.startDate()->date(), QDate::currentDate().addDays(-7));
        EXPECT_EQ(form.endDate()->date(), QDate::currentDate());
        EXPECT_EQ(form.onDate()->date(), QDate::currentDate());

        const struct {
            int index;
            const char* frame;
            const char* caption;
        } shown[] = {{0, "FrameKeyword", "Enter Keyword"},
                     {1, "frameMembers", "Filter by Member"},
                     {2, "FrameProject", "Filter by Project/Activity"},
                     {4, "frameOn", nullptr},
                     {7, "FrameDateRange", "Between"},
                     {8, "FrameCustomField2", "Filter by Team"}};
        for (const auto& s : shown) {
            form.searchFields()->setCurrentIndex(s.index);
            QGroupBox* frame = form.frame(QString::fromLatin1(s.frame));
            ASSERT_TRUE(frame) << s.frame;
            EXPECT_TRUE(frame->isVisible()) << s.frame;
            if (s.caption) {
                EXPECT_EQ(frame->title(), QString::fromLatin1(s.caption));
            }
            int visible = 0;
            for (QGroupBox* g : form.findChildren<QGroupBox*>())
                visible += g->isVisible() ? 1 : 0;
            EXPECT_EQ(visible, 1) << s.frame;
            EXPECT_TRUE(form.types()->isVisible());
        }
        EXPECT_EQ(form.customField(2)->count(), 2);
        EXPECT_EQ(form.customField(1)->count(), 0);
        ASSERT_GT(global->Members.Items.Count(), 0);
        EXPECT_EQ(form.members()->count(), global->Members.Items.Count());
        EXPECT_EQ(form.members()->itemText(0), global->Members.Items.begin()->item.Name);
        EXPECT_EQ(form.projects()->currentText(), QStringLiteral("Apollo"));
        EXPECT_EQ(form.activities()->itemText(0), QStringLiteral("Design"));
        form.projects()->setCurrentText(QStringLiteral("Hermes"));
        EXPECT_EQ(form.activities()->itemText(0), QStringLiteral("Build"));

        form.searchFields()->setCurrentIndex(8);
        form.resultList()->header()->resizeSection(2, 133);
    });
    // Leaving the form stores its state.
    EXPECT_EQ(GetSetting(kSettingsApplication, QStringLiteral("SearchUI"), QStringLiteral("SearchByIndex"),
                         QString()),
              QStringLiteral("8"));
    EXPECT_EQ(GetSetting(kSettingsApplication, QStringLiteral("SearchUI"), QStringLiteral("MemberWidth"),
                         QString()),
              QStringLiteral("133"));
    EXPECT_EQ(GetSetting(kSettingsApplication, QStringLiteral("SearchUI"), QStringLiteral("ItemsTypeIndex"),
                         QString()),
              QStringLiteral("1"));
}

TEST_P(SearchFormTest, SearchPreviewPrintToPdfDeleteAndReset) {
    const QString pdf = NewTempDir(QStringLiteral("pdf")) + QStringLiteral("/items.pdf");
    Open([&](frmSearch& form) {
        KeywordSearch(form, QStringLiteral("audit"));
        ASSERT_EQ(form.resultModel().rowCount(), 2);
        EXPECT_EQ(form.resultLabel()->text(), QStringLiteral("Search Result: 2"));
        EXPECT_EQ(form.resultModel().Key(0), QStringLiteral("T7"));
        EXPECT_EQ(form.resultModel().Key(1), QStringLiteral("A7"));
        EXPECT_EQ(form.resultModel().Text(1, 0), QStringLiteral("Audit meeting"));

        form.resultList()->setCurrentIndex(form.resultModel().index(0, 0));
        EXPECT_EQ(form.preview()->toPlainText(), QStringLiteral("Checked the ledgers\nand the receipts"));

        // Two items: one question, then one page each in the file.
        SelectRows(form, {0, 1});
        EXPECT_EQ(form.TotalSelectedItems(), 2);
        prompter.queue(PromptAnswer::Yes);
        DialogScript::queueFileName(pdf);
        form.toolbarButton(QStringLiteral("pdf"))->trigger();
        ASSERT_EQ(PromptTexts(), QStringList({"Are you sure you want to print 2 reported item(s)?"}));
        prompter.clear();

        // A keyword of "*" clears the list and runs nothing; the label stays.
        KeywordSearch(form, QStringLiteral("*"));
        EXPECT_EQ(form.resultModel().rowCount(), 0);
        EXPECT_EQ(form.resultLabel()->text(), QStringLiteral("Search Result: 2"));

        KeywordSearch(form, QStringLiteral("audit"));
        form.resultList()->clearSelection();
        form.toolbarButton(QStringLiteral("delete"))->trigger();  // nothing selected: no question
        EXPECT_TRUE(PromptTexts().isEmpty());

        SelectRows(form, {0});
        prompter.queue(PromptAnswer::No);
        form.toolbarButton(QStringLiteral("delete"))->trigger();
        EXPECT_EQ(PromptTexts(),
                  QStringList({"Are you sure you want to remove 1 reported item(s) from the database "
                               "permanently?\r\n\r\nNote: This action cannot be rolled back!"}));
        EXPECT_EQ(form.resultModel().rowCount(), 2);
        prompter.clear();

        // The task 7 goes; the appointment 7 stays, and the same search runs again on the table
        // (which rows the delete leaves is the search tests').
        SelectRows(form, {0});
        prompter.queue(PromptAnswer::Yes);
        form.toolbarButton(QStringLiteral("delete"))->trigger();
        ASSERT_EQ(form.resultModel().rowCount(), 1);
        EXPECT_EQ(form.resultModel().Key(0), QStringLiteral("A7"));
        EXPECT_EQ(form.resultLabel()->text(), QStringLiteral("Search Result: 1"));

        form.cmdReset();
        EXPECT_EQ(form.resultModel().rowCount(), 0);
        EXPECT_EQ(form.resultLabel()->text(), QStringLiteral("Search Result: "));
        EXPECT_TRUE(form.keyword()->text().isEmpty());
        EXPECT_TRUE(form.preview()->toPlainText().isEmpty());
        EXPECT_TRUE(presenter.reports.isEmpty()) << AllShownText().toStdString();
    });
    ASSERT_TRUE(QFile::exists(pdf));
    QProcess text;
    text.start(QStringLiteral("pdftotext"), {QStringLiteral("-layout"), pdf, QStringLiteral("-")});
    ASSERT_TRUE(text.waitForFinished(30000));
    const QString out = QString::fromUtf8(text.readAllStandardOutput());
    QStringList pages = out.split(u'\f');
    if (!pages.isEmpty() && pages.last().trimmed().isEmpty())
        pages.removeLast();
    ASSERT_EQ(pages.size(), 2) << out.toStdString();
    // What goes into a page is the print template's (tested with the results); here the pages follow
    // the selected rows in the list's order.
    EXPECT_TRUE(pages[0].contains(QRegularExpression(QStringLiteral("Subject\\s+Quarterly audit"))))
        << pages[0].toStdString();
    EXPECT_TRUE(pages[1].contains(QRegularExpression(QStringLiteral("Subject\\s+Audit meeting"))))
        << pages[1].toStdString();
    EXPECT_FALSE(pages[1].contains(QStringLiteral("Quarterly audit")));
}

TEST_P(SearchFormTest, PrintingOneItemAsksNothingAndSendsOneJob) {
    const QString pdf = NewTempDir(QStringLiteral("print")) + QStringLiteral("/job.pdf");
    int dialogs = 0;
    frmSearch::SetPrintDialogHook([&](QPrinter& printer) {
        ++dialogs;
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(pdf);
        return true;
    });
    Open([&](frmSearch& form) {
        KeywordSearch(form, QStringLiteral("budget"));
        ASSERT_EQ(form.resultModel().rowCount(), 1);
        form.toolbarButton(QStringLiteral("print"))->trigger();  // nothing selected: nothing printed
        EXPECT_EQ(dialogs, 0);
        SelectRows(form, {0});
        form.toolbarButton(QStringLiteral("print"))->trigger();
    });
    frmSearch::SetPrintDialogHook(nullptr);
    EXPECT_TRUE(PromptTexts().isEmpty());
    EXPECT_EQ(dialogs, 1);
    EXPECT_TRUE(QFile::exists(pdf));
}

INSTANTIATE_TEST_SUITE_P(Engines, SearchFormTest, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace tlm::test
