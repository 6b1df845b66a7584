#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QDateEdit>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLayout>
#include <QLineEdit>
#include <QListWidget>
#include <QMap>
#include <QPushButton>
#include <QScrollBar>
#include <QStyle>
#include <QTableView>
#include <QTreeView>

#include "admin/manager_list_form.h"
#include "app/demo_data.h"
#include "app/section_loader.h"
#include "database/link.h"
#include "desktop/grid_view.h"
#include "desktop/look.h"
#include "domain/domain_test_fixture.h"
#include "notifications/template_editor_form.h"
#include "reports/reports_form.h"
#include "review/review_form.h"
#include "search/search_form.h"

namespace tlm::test {
namespace {

// ---- the widths ------------------------------------------------------------------------------

ColumnNeed Need(int floor, int wish, bool whole = false) {
    ColumnNeed n;
    n.floor = floor;
    n.wish = wish;
    n.whole = whole;
    return n;
}

ColumnNeed Fixed(int width) {
    ColumnNeed n;
    n.wish = width;
    n.fixed = true;
    return n;
}

ColumnNeed Hidden() {
    ColumnNeed n;
    n.floor = 50;
    n.wish = 80;
    n.hidden = true;
    return n;
}

TEST(FitColumnWidths, FillTheRoomCutTheWidestFirstAndNeverBelowAFloor) {
    struct Case {
        const char* name;
        QVector<ColumnNeed> needs;
        int stretch;
        int available;
        QVector<int> widths;
    };
    const Case cases[] = {
        {"room to spare goes to the stretch column",
         {Need(30, 40), Need(50, 120), Need(40, 60)},
         1,
         400,
         {40, 300, 60}},
        {"a header wider than its contents is the width", {Need(70, 20), Need(30, 100)}, 1, 300, {70, 230}},
        {"without a stretch column the room stays free", {Need(30, 40), Need(30, 50)}, -1, 300, {40, 50}},
        {"short of room the widest is cut to the level of the next",
         {Need(20, 40), Need(40, 300), Need(40, 100)},
         1,
         240,
         {40, 100, 100}},
        {"whole columns and fixed ones keep their width",
         {Fixed(28), Need(20, 150, true), Need(40, 300), Need(40, 200)},
         2,
         400,
         {28, 150, 111, 111}},
        {"the level never goes below a header",
         {Need(90, 200), Need(20, 200), Need(20, 200)},
         0,
         200,
         {90, 55, 55}},
        {"headers wider than the room are kept whole", {Need(100, 150), Need(120, 300)}, 1, 150, {100, 120}},
        {"the stretch column keeps a sixth of the room when the others are cut",
         {Need(20, 300), Need(20, 200), Need(20, 200), Need(20, 200), Need(20, 200), Need(20, 200)},
         0,
         420,
         {70, 70, 70, 70, 70, 70}},
        {"and what the level leaves over",
         {Need(20, 300), Need(20, 200), Need(20, 200), Need(20, 200), Need(20, 200), Need(20, 200),
          Need(20, 200), Need(20, 200)},
         0,
         600,
         {103, 71, 71, 71, 71, 71, 71, 71}},
        {"but not at the cost of another header",
         {Need(20, 300), Need(90, 200), Need(90, 200)},
         0,
         200,
         {20, 90, 90}},
        {"a hidden column takes nothing", {Need(30, 40), Hidden(), Need(30, 60)}, 2, 200, {40, 0, 160}},
    };
    for (const Case& c : cases) {
        const QVector<int> got = FitColumnWidths(c.needs, c.stretch, c.available);
        EXPECT_EQ(got, c.widths) << c.name;
        // Whenever the floors fit, so do the widths: no horizontal scroll bar.
        int sum = 0, floors = 0;
        for (int i = 0; i < got.size(); ++i) {
            const ColumnNeed& n = c.needs[i];
            sum += got[i];
            floors += n.hidden ? 0 : (n.fixed || n.whole ? n.wish : n.floor);
            if (!n.hidden) {
                EXPECT_GE(got[i], n.fixed || n.whole ? n.wish : n.floor) << c.name << ", column " << i;
            }
        }
        if (floors <= c.available) {
            EXPECT_LE(sum, c.available) << c.name;
        }
    }
}

TEST(PaletteChoice, OnlyLightAndDarkAreChoices) {
    EXPECT_EQ(PaletteChoiceFrom(QStringLiteral("dark")), PaletteChoice::Dark);
    EXPECT_EQ(PaletteChoiceFrom(QStringLiteral(" Light ")), PaletteChoice::Light);
    EXPECT_EQ(PaletteChoiceFrom(QStringLiteral("")), PaletteChoice::Desktop);
    EXPECT_EQ(PaletteChoiceFrom(QStringLiteral("solarized")), PaletteChoice::Desktop);
    // Text on the dark palette's cells and on the light one's reads.
    const QPalette dark = DarkPalette();
    EXPECT_LT(dark.color(QPalette::Base).lightness(), 80);
    EXPECT_GT(dark.color(QPalette::Text).lightness(), 180);
    EXPECT_EQ(TextColourOn(QColor(255, 255, 0)), QColor(Qt::black));
    EXPECT_EQ(TextColourOn(dark.color(QPalette::Base)), QColor(Qt::white));
}

// ---- the screens -----------------------------------------------------------------------------

constexpr QSize kFirstSize(800, 533);
constexpr QSize kLargeSize(1280, 800);

// Lays the window out at a size and lets the views settle, as after the user's resize.
void ShowAt(QWidget& window, QSize size) {
    window.resize(size);
    for (int i = 0; i < 3; ++i)
        QApplication::processEvents();
}

// Every shown column lies inside the viewport and its caption is whole: the check the user makes
// looking at the list at the window's first size.
void ExpectColumnsFit(const QAbstractItemView& view, const QHeaderView& header, const char* what) {
    SCOPED_TRACE(what);
    EXPECT_FALSE(view.horizontalScrollBar()->isVisible()) << "a horizontal scroll bar";
    const int margin = header.style()->pixelMetric(QStyle::PM_HeaderMargin, nullptr, &header);
    const int shown = view.viewport()->width();
    int columns = 0;
    for (int c = 0; c < header.count(); ++c) {
        if (header.isSectionHidden(c))
            continue;
        ++columns;
        const QString caption = view.model()->headerData(c, Qt::Horizontal).toString();
        EXPECT_LE(header.sectionViewportPosition(c) + header.sectionSize(c), shown)
            << "column " << c << " '" << caption.toStdString() << "' lies outside";
        EXPECT_GE(header.sectionSize(c), header.fontMetrics().horizontalAdvance(caption) + 2 * margin)
            << "caption '" << caption.toStdString() << "' is cut";
    }
    EXPECT_GE(columns, 2);
}

// Buttons and fields lie inside the window, not cut off by its edge.
void ExpectControlsInside(const QWidget& window, const char* what) {
    SCOPED_TRACE(what);
    EXPECT_LE(window.minimumSizeHint().width(), kFirstSize.width()) << "the window cannot be that narrow";
    for (const QWidget* w : window.findChildren<QWidget*>()) {
        if (!w->isVisible() ||
            (!qobject_cast<const QAbstractButton*>(w) && !qobject_cast<const QComboBox*>(w)))
            continue;
        const QRect at(w->mapTo(&window, QPoint(0, 0)), w->size());
        EXPECT_TRUE(window.rect().contains(at))
            << w->metaObject()->className() << " '" << w->property("text").toString().toStdString() << "'";
    }
}

// The stretch column takes the room a larger window gives; the others keep what they had.
void ExpectStretchTakesRoom(QWidget& window, const QHeaderView& header, int stretch) {
    ShowAt(window, kFirstSize);
    const int small = header.sectionSize(stretch);
    ShowAt(window, kLargeSize);
    EXPECT_GE(header.sectionSize(stretch), small + 300);
    ShowAt(window, kFirstSize);
    EXPECT_EQ(header.sectionSize(stretch), small);
}

// The demo data set in a fresh database, each daily screen opened through its section.
class ScreenLayoutTest : public DomainDbTest {
  protected:
    void SetUp() override {
        DomainDbTest::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        const DemoOutcome demo = FillDemoData(*CurrentConnection(), DemoSpec(QDate::currentDate()));
        ASSERT_TRUE(demo.ok) << demo.failure.description.toStdString();
        Reload();
    }
    void TearDown() override {
        SetReviewReportsDriver(nullptr);
        SetSearchDriver(nullptr);
        SetReportsDriver(nullptr);
        SetManagerListDriver(nullptr);
        SetTemplatesDriver(nullptr);
        DomainDbTest::TearDown();
    }
};

TEST_P(ScreenLayoutTest, ReviewShowsEveryColumnBeforeAndAfterOk) {
    bool ran = false;
    SetReviewReportsDriver([&](frmReviewReports& form) {
        ran = true;
        EXPECT_EQ(form.size(), kFirstSize) << "the first start's size";
        ShowAt(form, kFirstSize);
        ReviewGrid& grid = *form.grid();
        ExpectColumnsFit(grid, *grid.horizontalHeader(), "before OK");
        // Before OK the captions span the list, not two thirds of it.
        const QHeaderView& h = *grid.horizontalHeader();
        EXPECT_EQ(h.length(), grid.viewport()->width());

        form.okButton()->click();
        ShowAt(form, kFirstSize);
        ASSERT_GT(grid.rowCount(), 100);
        ExpectColumnsFit(grid, h, "after OK");
        // The row buttons show their captions whole.
        const int face = grid.fontMetrics().horizontalAdvance(QStringLiteral("Decline"));
        EXPECT_GT(h.sectionSize(review_col::kDecline), face);
        // Rows stay one line high with their buttons.
        EXPECT_LE(grid.rowHeight(0), grid.fontMetrics().height() + 10);
        ExpectControlsInside(form, "review");
        ExpectStretchTakesRoom(form, h, review_col::kSubject);
    });
    subLoadSection(22);
    EXPECT_TRUE(ran);
}

TEST_P(ScreenLayoutTest, SearchShowsEveryResultColumnAndItsChoicesWhole) {
    bool ran = false;
    SetSearchDriver([&](frmSearch& form) {
        ran = true;
        EXPECT_EQ(form.size(), kFirstSize) << "the first start's size";
        ShowAt(form, kFirstSize);
        // The longest "Search by" choice fits its box.
        QComboBox& by = *form.searchFields();
        int longest = 0;
        for (int i = 0; i < by.count(); ++i)
            longest = std::max(longest, by.fontMetrics().horizontalAdvance(by.itemText(i)));
        EXPECT_GE(by.width(), longest + 20);

        form.searchFields()->setCurrentIndex(0);
        form.types()->setCurrentIndex(2);
        form.keyword()->setText(QStringLiteral("the"));
        form.cmdSearch();
        ShowAt(form, kFirstSize);
        ASSERT_GT(form.resultModel().rowCount(), 50);
        QTreeView& list = *form.resultList();
        ExpectColumnsFit(list, *list.header(), "results");
        ExpectControlsInside(form, "search");
        ExpectStretchTakesRoom(form, *list.header(), 0);
    });
    subLoadSection(20);
    EXPECT_TRUE(ran);
}

TEST_P(ScreenLayoutTest, ReportsFitsTheFirstSizeWithCloseInTheButtonBox) {
    bool ran = false;
    SetReportsDriver([&](frmReports& form) {
        ran = true;
        ShowAt(form, kFirstSize);
        EXPECT_EQ(form.size(), kFirstSize);
        ExpectControlsInside(form, "reports");
        EXPECT_NE(form.findChild<QDialogButtonBox*>(), nullptr);

        // The appointments of the whole demo year are shown a part at a time: the pager comes in and
        // the window keeps its size.
        form.blnFullView = true;  // every member's rows, as the manager sees them
        form.typesCombo()->setCurrentIndex(1);
        form.periodCombo()->setCurrentIndex(form.periodCombo()->count() - 1);  // a date range
        form.startPicker()->setDate(QDate::currentDate().addYears(-2));
        form.endPicker()->setDate(QDate::currentDate());
        for (const QString& field : {QStringLiteral("Subject"), QStringLiteral("Total Cost")}) {
            const auto items = form.fieldList()->findItems(field, Qt::MatchExactly);
            ASSERT_EQ(items.size(), 1) << field.toStdString();
            items.first()->setCheckState(Qt::Checked);
        }
        form.cmdShow_Click();
        ASSERT_GT(form.viewParts(), 1) << form.reportRows() << " rows " << AllShownText().toStdString();
        ShowAt(form, kFirstSize);
        EXPECT_TRUE(form.nextButton()->isVisible());
        EXPECT_EQ(form.size(), kFirstSize) << "the pager widened the window";
        ExpectControlsInside(form, "reports with the pager");
    });
    subLoadSection(21);
    EXPECT_TRUE(ran);
}

TEST_P(ScreenLayoutTest, ListWindowsShowEveryColumnWhole) {
    // Members, projects and activities: the lists with the most columns.
    for (const qint32 section : {3, 1, 2}) {
        SCOPED_TRACE(section);
        bool ran = false;
        SetManagerListDriver([&](frmManagerList& form) {
            ran = true;
            ShowAt(form, kFirstSize);
            GridWidget& grid = *form.grid();
            ASSERT_GT(grid.rowCount(), 5);
            ExpectColumnsFit(grid, *grid.horizontalHeader(), "list");
            ExpectControlsInside(form, "list");
        });
        subLoadSection(section);
        EXPECT_TRUE(ran);
    }
}

TEST_P(ScreenLayoutTest, TemplateEditorShowsTagsWhole) {
    bool ran = false;
    SetTemplatesDriver([&](frmTemplates& form) {
        ran = true;
        ShowAt(form, kFirstSize);
        TagGrid& tags = *form.tagsGrid();
        ASSERT_GT(tags.rowCount(), 3);
        ExpectColumnsFit(tags, *tags.horizontalHeader(), "tags");
        // Every tag shows whole; the descriptions take the rest.
        for (int r = 0; r < tags.rowCount(); ++r)
            EXPECT_GE(tags.columnWidth(0), tags.fontMetrics().horizontalAdvance(tags.item(r, 0)->text()))
                << tags.item(r, 0)->text().toStdString();
        ExpectControlsInside(form, "templates");
    });
    subLoadSection(4);
    EXPECT_TRUE(ran);
}

// Every daily screen has the same margins around its content.
TEST_P(ScreenLayoutTest, EveryScreenHasTheSameMargins) {
    QMap<QString, QMargins> seen;
    const auto take = [&seen](QWidget& form) {
        ASSERT_NE(form.layout(), nullptr);
        seen.insert(QString::fromLatin1(form.metaObject()->className()), form.layout()->contentsMargins());
    };
    SetReviewReportsDriver([&](frmReviewReports& form) { take(form); });
    SetSearchDriver([&](frmSearch& form) { take(form); });
    SetReportsDriver([&](frmReports& form) { take(form); });
    SetManagerListDriver([&](frmManagerList& form) { take(form); });
    SetTemplatesDriver([&](frmTemplates& form) { take(form); });
    for (const qint32 section : {22, 20, 21, 3, 4})
        subLoadSection(section);
    ASSERT_EQ(seen.size(), 5);
    for (auto it = seen.cbegin(); it != seen.cend(); ++it)
        EXPECT_EQ(it.value(), QMargins(kWindowMargin, kWindowMargin, kWindowMargin, kWindowMargin))
            << it.key().toStdString();
}

INSTANTIATE_TEST_SUITE_P(Engines, ScreenLayoutTest, ::testing::Values(Engine::SQLite), EngineName);

}  // namespace
}  // namespace tlm::test
