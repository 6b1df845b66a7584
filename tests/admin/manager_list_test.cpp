#include <gtest/gtest.h>

#include "admin/admin_test_support.h"
#include "admin/manager_list.h"
#include "domain/value_names.h"
#include "settings/global_settings.h"

namespace tlm::test {
namespace {

QStringList Captions(const ListLayout& l) {
    QStringList out;
    for (const ListColumn& c : l.columns)
        out.append(c.caption);
    return out;
}

QString Kinds(const ListLayout& l) {
    QString out;
    for (const ListColumn& c : l.columns) {
        static const char kLetters[] = "TKCDXB";  // text, combo, currency, date, check, button
        out += QLatin1Char(kLetters[int(c.kind)]);
        if (c.hidden)
            out += QLatin1Char('h');
    }
    return out;
}

using AdminLayoutTest = DomainMemoryTest;

TEST_F(AdminLayoutTest, EverySectionHasItsColumnsCaptionsAndCombos) {
    global->ProjectTitle = QStringLiteral("Client");
    global->ActivityTitle = QStringLiteral("Job");
    global->GeneralSettings.SetValue(QStringLiteral("tpoTitleCustomField2"), QStringLiteral("Region"));

    const ListLayout p = ListLayoutFor(1, *global);
    // The captions are the layout's own table; the titles put into it are what can go wrong.
    EXPECT_EQ(Captions(p).first(), QStringLiteral("Client"));
    EXPECT_EQ(Kinds(p), QStringLiteral("TKCDDTTThBB"));
    EXPECT_EQ(p.columns[1].combo, ListComboSource::Members);
    EXPECT_EQ(p.matrixColumns, 8);
    EXPECT_EQ(p.caption, QStringLiteral("Administration Panel : Client List"));
    EXPECT_EQ(p.heading, QStringLiteral("Client List"));

    const ListLayout a = ListLayoutFor(2, *global);
    EXPECT_EQ(Captions(a).first(), QStringLiteral("Job"));
    EXPECT_EQ(Kinds(a), QStringLiteral("TKCKDB"));
    EXPECT_EQ(a.columns[1].combo, ListComboSource::Projects);
    EXPECT_EQ(a.columns[3].combo, ListComboSource::Members);
    EXPECT_EQ(a.caption, QStringLiteral("Administration Panel : Job List"));

    const ListLayout m = ListLayoutFor(3, *global);
    EXPECT_EQ(Kinds(m), QStringLiteral("TTTCXB"));
    EXPECT_TRUE(m.notifySingle);
    EXPECT_EQ(m.caption, QStringLiteral("Administration Panel : Members"));
    EXPECT_EQ(m.heading, QStringLiteral("Members list"));

    const ListLayout c = ListLayoutFor(11, *global);
    EXPECT_EQ(Captions(c), QStringList{"Name"});
    EXPECT_EQ(c.notifyColumn, -1);
    EXPECT_EQ(c.caption, QStringLiteral("Administration Panel : Region"));
    EXPECT_EQ(c.heading, QStringLiteral("Region"));

    for (qint32 s : {0, 4, 9, 14, 22})
        EXPECT_TRUE(ListLayoutFor(s, *global).columns.isEmpty()) << s;
}

TEST_F(AdminLayoutTest, ListRowsShowEmptyDatesEmptyAndTypedValues) {
    global->Projects.FromArray(Rows({{"Apollo", "Robin", "90", QDateTime(QDate(2024, 5, 1), QTime(0, 0)),
                                      QVariant(), "Moon", "AP", 15}}));
    const GridRows rows = ListToGridRows(1, *global);
    ASSERT_EQ(rows.size(), 1);
    EXPECT_EQ(rows[0][2].value<Money>(), M("90"));
    EXPECT_EQ(rows[0][3].toDate(), QDate(2024, 5, 1));
    EXPECT_FALSE(rows[0][4].isValid());  // the zero date shows as an empty cell
    EXPECT_EQ(rows[0][7], QVariant(QStringLiteral("15")));

    global->Members.FromArray(Rows({{"Kim", "kim@x.org", "Ops", "1", 1}, {"Lee", "", "", "", 0}}));
    const GridRows members = ListToGridRows(3, *global);
    ASSERT_EQ(members.size(), 2);
    EXPECT_EQ(members[0][4], QVariant(1));
    EXPECT_EQ(members[1][4], QVariant(0));

    // An empty list gives no rows and asks nothing of ToArray (which would report).
    EXPECT_TRUE(ListToGridRows(12, *global).isEmpty());
    EXPECT_TRUE(presenter.reports.isEmpty());
    // The save's matrix has one empty row more than the grid.
    const Matrix m = GridRowsToMatrix(members, 5);
    EXPECT_EQ(m.Rows(), 3);
    EXPECT_FALSE(m(2, 0).isValid());
    EXPECT_EQ(GridRowsToMatrix({}, 1).Rows(), 1);
}

// The picker numbers colours from 1; names and colours come from the category table one further on.
TEST(AdminColours, PickerIndexMatchesItsColourAndName) {
    struct Row {
        int index;
        const char* name;
        int r, g, b;
    };
    // The ends of the table: an off-by-one in either direction shows at one of them.
    const Row table[] = {
        {1, "Red", 228, 99, 106}, {2, "Orange", 244, 148, 84}, {25, "Dark Maroon", 128, 54, 93}};
    for (const Row& row : table) {
        EXPECT_EQ(CategoryColorName(row.index), QString::fromLatin1(row.name)) << row.index;
        EXPECT_EQ(RgbFromOleColor(CategoryOleColor(row.index)), (RgbColor{row.r, row.g, row.b})) << row.index;
    }
    for (int none : {-1, 0}) {
        EXPECT_EQ(CategoryColorName(none), QStringLiteral("No color assigned."));
        EXPECT_EQ(RgbFromOleColor(CategoryOleColor(none)), (RgbColor{255, 255, 255}));
    }
    // A text that is no number keeps the previous row's index.
    EXPECT_EQ(ColorIndexFromCell(QStringLiteral("7"), 3), 7);
    EXPECT_EQ(ColorIndexFromCell(QStringLiteral("x"), 3), 3);
    EXPECT_EQ(ColorIndexFromCell(QVariant(), 0), 0);
}

TEST(AdminPickers, PickerNearTheCornerStaysOnTheScreen) {
    const QRect screen(0, 0, 1920, 1080);
    EXPECT_EQ(PlaceOnScreen(QPoint(100, 200), QSize(200, 150), screen), QPoint(100, 200));
    EXPECT_EQ(PlaceOnScreen(QPoint(1900, 1070), QSize(200, 150), screen), QPoint(1720, 930));
    EXPECT_EQ(PlaceOnScreen(QPoint(1720, 10), QSize(200, 150), screen), QPoint(1720, 10));
    EXPECT_EQ(PlaceOnScreen(QPoint(1721, 10), QSize(200, 150), screen), QPoint(1720, 10));
}

// ---- saves against each engine ----

using AdminSaveTest = AdminDbTest;

TEST_P(AdminSaveTest, ProjectsSaveExactlyTheGridAndTellTheRightPeople) {
    ASSERT_TRUE(SaveListFromGrid(1,
                                 {{"Apollo", "Robin", Cash("90"), QDate(2024, 5, 1), QDate(2024, 6, 30),
                                   "Moon", "AP", "3"},
                                  {"Borealis", "", Cash("12.5"), QVariant(), QVariant(), "", "", "0"}},
                                 *global)
                    .saved);
    EXPECT_EQ(sink.calls, (QStringList{"Manager|Apollo|Robin", "Manager|Borealis|",
                                       "NewProjects|Borealis (Manager: )\r\nApollo (Manager: Robin)"}));
    sink.calls.clear();

    // Edit Apollo's manager, drop Borealis, add Comet, with an empty row in the middle.
    cDBSettings& g = Reload();
    g.Tasks.FromArray(Rows({{"Design", "Comet"}}));
    ASSERT_TRUE(SaveListFromGrid(
                    1,
                    {{"Apollo", "Kim", Cash("90"), QDate(2024, 5, 1), QDate(2024, 6, 30), "Moon", "AP", "3"},
                     {},
                     {"Comet", "Robin", Cash("1"), QVariant(), QDate(2025, 1, 2), "", "", "15"}},
                    g)
                    .saved);
    EXPECT_EQ(
        Table(QStringLiteral("SELECT ProjectName, ProjectManager, Rate, StartDate, FinishDate, Description, "
                             "ProjectCode, ColorCode FROM tProjects ORDER BY ProjectName")),
        (QStringList{"Apollo|Kim|90.00|2024-05-01|2024-06-30|Moon|AP|3",
                     "Comet|Robin|1.00|1899-12-30|2025-01-02|||15"}));
    EXPECT_EQ(sink.calls, (QStringList{"Manager|Apollo|Kim", "Manager|Comet|Robin",
                                       "NewProjects|Comet (Manager: Robin)"}));
    // The activity map follows a project save.
    ASSERT_TRUE(g.AllTasksProjects.Exists(QStringLiteral("Comet")));
    EXPECT_TRUE(g.AllTasksProjects.Find(QStringLiteral("Comet"))->Items.Exists(QStringLiteral("Design")));
}

TEST_P(AdminSaveTest, StartAfterFinishNamesTheFirstBadRowAndWritesNothing) {
    ASSERT_TRUE(SaveListFromGrid(1, {{"Keep", "Robin", Cash("1")}}, *global).saved);
    sink.calls.clear();
    const QStringList before = Table(QStringLiteral("SELECT ProjectName FROM tProjects"));
    const GridRows rows = {{"A", "", Cash("1"), QDate(2024, 1, 1), QDate(2024, 2, 1)},
                           {"B", "", Cash("1"), QDate(2024, 5, 2), QDate(2024, 5, 1)},
                           {"C"},
                           {"D"},
                           {"E", "", Cash("1"), QDate(2024, 9, 9), QDate(2024, 1, 1)}};
    const ListSaveOutcome first = SaveListFromGrid(1, rows, *global);
    EXPECT_FALSE(first.saved);
    EXPECT_EQ(first.failedRow, 2);
    ASSERT_EQ(PromptTexts().size(), 1);
    EXPECT_EQ(PromptTexts()[0],
              QStringLiteral("The Start date cannot be greater than the Finish date!\r\nRow: 2"));
    EXPECT_EQ(prompter.shown()[0].icon, PromptIcon::Critical);
    EXPECT_EQ(prompter.shown()[0].title, QStringLiteral("Tally Loom Manager Process"));
    EXPECT_EQ(Table(QStringLiteral("SELECT ProjectName FROM tProjects")), before);
    EXPECT_TRUE(sink.calls.isEmpty());

    GridRows fixed = rows;
    fixed[1][3] = QDate(2024, 4, 1);
    EXPECT_EQ(SaveListFromGrid(1, fixed, *global).failedRow, 5);
    EXPECT_EQ(Table(QStringLiteral("SELECT ProjectName FROM tProjects")), before);
}

TEST_P(AdminSaveTest, ActivitiesTellCoordinatorsAndMembers) {
    ASSERT_TRUE(SaveListFromGrid(1, {{"Apollo", "Robin", Cash("1")}}, *global).saved);
    sink.calls.clear();
    ASSERT_TRUE(SaveListFromGrid(2,
                                 {{"Design", "Apollo", Cash("5"), "Robin", QDate(2024, 7, 1)},
                                  {"Build", "Apollo", Cash("6"), "", QVariant()},
                                  {"design", "apollo", Cash("9"), "Kim", QVariant()}},  // same key: dropped
                                 *global)
                    .saved);
    EXPECT_EQ(Table(QStringLiteral("SELECT ActivityName, Project, Rate, Coordinator FROM tActivities "
                                   "ORDER BY ActivityName")),
              (QStringList{"Build|Apollo|6.00|", "Design|Apollo|5.00|Robin"}));
    ASSERT_EQ(sink.calls.size(), 3);
    EXPECT_EQ(sink.calls.mid(0, 2),
              (QStringList{"Coordinator|ApolloDesign|Robin", "Coordinator|ApolloBuild|"}));
    ASSERT_EQ(sink.calls.filter(QStringLiteral("NewTasks")).size(), 1);
    EXPECT_TRUE(sink.calls.last().startsWith(QStringLiteral("NewTasks|")));
    EXPECT_TRUE(sink.calls.last().contains(QStringLiteral("Build")));
    EXPECT_TRUE(sink.calls.last().contains(QStringLiteral("Design")));
}

TEST_P(AdminSaveTest, MembersKeepTheFirstOfDuplicatesDropEmptyNamesAndSendNothing) {
    ASSERT_TRUE(SaveListFromGrid(3,
                                 {{"Robin", "robin@x.org", "Ops", Cash("10"), 1},
                                  {"", "ghost@x.org", "", Cash("1"), 0},
                                  {"Kim", "kim@x.org", "", QVariant(), 0},
                                  {"KIM", "other@x.org", "", Cash("3"), 1}},
                                 *global)
                    .saved);
    EXPECT_EQ(Table(QStringLiteral(
                  "SELECT Name, Email, Department, Rate, AdminAccess FROM tMembers ORDER BY Name")),
              (QStringList{"Kim|kim@x.org||0.00|0", "Robin|robin@x.org|Ops|10.00|1"}));
    EXPECT_TRUE(sink.calls.isEmpty());
    EXPECT_TRUE(PromptTexts().isEmpty());

    // Saving what was loaded writes nothing: the IDs and rows stay as they are.
    cDBSettings& g = Reload();
    const QStringList ids = Table(QStringLiteral("SELECT ID, Name FROM tMembers ORDER BY ID"));
    ASSERT_TRUE(SaveListFromGrid(3, ListToGridRows(3, g), g).saved);
    EXPECT_EQ(Table(QStringLiteral("SELECT ID, Name FROM tMembers ORDER BY ID")), ids);

    // A grid with every row deleted empties the table.
    ASSERT_TRUE(SaveListFromGrid(3, {}, g).saved);
    EXPECT_EQ(Count(QStringLiteral("tMembers")), 0);
}

// A grid longer than the row counter would be cut short, and the save would then delete the rest
// of the table: the save is refused with an overflow report and the table is left alone.
TEST_P(AdminSaveTest, GridPastTheRowCounterLimitIsRefusedAndDeletesNothing) {
    ASSERT_TRUE(SaveListFromGrid(3, {{"Robin", "robin@x.org", "Ops", Cash("10"), 1}}, *global).saved);
    GridRows rows;
    rows.reserve(32768);
    for (int r = 0; r < 32768; ++r)
        rows.append({QStringLiteral("Member %1").arg(r), QString(), QString(), Cash("1"), 0});
    EXPECT_FALSE(SaveListFromGrid(3, rows, *global).saved);
    EXPECT_EQ(Count(QStringLiteral("tMembers")), 1);
    EXPECT_TRUE(FirstReport().contains(QStringLiteral("Overflow")));
}

TEST_P(AdminSaveTest, CustomListAddsAndDeletesAndAnApostropheStopsOnlyItsDeletion) {
    ASSERT_TRUE(SaveListFromGrid(10, {{"North"}, {"O'Neil"}, {"South"}}, *global).saved);
    EXPECT_EQ(Table(QStringLiteral("SELECT CustomFieldName FROM tCustomList1 ORDER BY CustomFieldName")),
              (QStringList{"North", "O'Neil", "South"}));
    EXPECT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();

    // Dropping the name with an apostrophe fails through the shared path; the row added in the
    // same save stays, and so does the row that could not be found.
    cDBSettings& g = Reload();
    ASSERT_TRUE(SaveListFromGrid(10, {{"North"}, {"East"}}, g).saved);
    ASSERT_FALSE(presenter.reports.isEmpty());
    EXPECT_TRUE(presenter.reports[0].contains(QStringLiteral("cSingleList.ToRS")))
        << FirstReport().toStdString();
    const QStringList after = Table(QStringLiteral("SELECT CustomFieldName FROM tCustomList1"));
    EXPECT_TRUE(after.contains(QStringLiteral("East")));
    EXPECT_TRUE(after.contains(QStringLiteral("O'Neil")));
    EXPECT_TRUE(after.contains(QStringLiteral("North")));
    EXPECT_TRUE(sink.calls.isEmpty());
}

// ---- the row buttons ----

TEST_P(AdminSaveTest, NotifyAsksThenRequestsFromTheSavedList) {
    ASSERT_TRUE(SaveListFromGrid(3,
                                 {{"Robin", "robin@x.org", "", Cash("1"), 0},
                                  {"Kim", "kim@x.org", "", Cash("1"), 0},
                                  {"Lee", "", "", Cash("1"), 0}},
                                 *global)
                    .saved);
    ASSERT_TRUE(SaveListFromGrid(1, {{"Apollo", "Robin", Cash("1")}}, *global).saved);
    ASSERT_TRUE(SaveListFromGrid(2, {{"Design", "Apollo", Cash("1")}}, *global).saved);
    cDBSettings& g = Reload();
    const QString everyoneButMe = g.Members.AllEmails(true);
    prompter.clear();

    prompter.queue(PromptAnswer::Yes);
    RequestReportFromRow(1, QStringLiteral("Apollo"), QString(), {});
    prompter.queue(PromptAnswer::No);
    RequestReportFromRow(1, QStringLiteral("Apollo"), QString(), {});
    prompter.queue(PromptAnswer::Yes);
    RequestReportFromRow(2, QStringLiteral("Design"), QStringLiteral("Apollo"), {});
    prompter.queue(PromptAnswer::Yes);
    RequestReportFromRow(1, QStringLiteral("Unsaved"), QString(), {});  // asked, then nothing found
    RequestReportFromRow(1, QStringLiteral("  "), QString(), {});       // no name: no question
    RequestReportFromRow(2, QStringLiteral("Design"), QStringLiteral(""), {});
    prompter.queue(PromptAnswer::Yes);
    RequestReportFromRow(3, QStringLiteral("Kim"), QString(), {});

    EXPECT_EQ(requests.calls, (QStringList{"Project|Apollo|" + everyoneButMe,
                                           "Task|ApolloDesign|" + everyoneButMe, "Member|Kim"}));
    EXPECT_EQ(
        PromptTexts(),
        (QStringList{
            "Continue with notification email to all members to report to the database relating to project "
            "'Apollo'?",
            "Continue with notification email to all members to report to the database relating to project "
            "'Apollo'?",
            "Continue with notification email to all members to report to the database relating to task "
            "'Design'?",
            "Continue with notification email to all members to report to the database relating to project "
            "'Unsaved'?",
            "Continue with notification email to member 'Kim' to report ?"}));

    // With the choice of recipients on, the picker replaces the question; an empty pick sends nothing.
    requests.calls.clear();
    prompter.clear();
    g.GeneralSettings.SetValue(QStringLiteral("tpoAllowSelectionOfMembersToReport"), 1);
    RequestReportFromRow(1, QStringLiteral("Apollo"), QString(), [] { return QStringLiteral("kim@x.org"); });
    RequestReportFromRow(1, QStringLiteral("Apollo"), QString(), [] { return QString(); });
    EXPECT_EQ(requests.calls, QStringList{"Project|Apollo|kim@x.org"});
    EXPECT_TRUE(PromptTexts().isEmpty());

    // The picker's result: selected names with an address, the current member included.
    EXPECT_EQ(GetSelectedMemberEmails({"Lee", "Robin", "kim"}, g), QStringLiteral("robin@x.org;kim@x.org"));
    EXPECT_EQ(GetSelectedMemberEmails({}, g), QString());
}

INSTANTIATE_TEST_SUITE_P(Engines, AdminSaveTest, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace tlm::test
