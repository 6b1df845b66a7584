#include <gtest/gtest.h>

#include "admin/admin_test_support.h"
#include "admin/manager_list.h"
#include "settings/global_settings.h"

namespace tlm::test {
namespace {

// Kind letters per column: text, combo, currency, date, check, button; "h" after a hidden one.
QString Kinds(const ListLayout& l) {
    QString out;
    for (const ListColumn& c : l.columns)
        out += QLatin1Char("TKCDXB"[int(c.kind)]) + QString(c.hidden ? QStringLiteral("h") : QString());
    return out;
}

using AdminLayoutTest = DomainMemoryTest;

// The kinds decide how a typed cell becomes a value and the combos what can be picked.
TEST_F(AdminLayoutTest, EverySectionHasItsColumnKindsAndCombos) {
    const ListLayout p = ListLayoutFor(1, *global);
    EXPECT_EQ(Kinds(p), QStringLiteral("TKCDDTTThBB"));
    EXPECT_EQ(p.columns[1].combo, ListComboSource::Members);
    EXPECT_EQ(p.matrixColumns, 8);

    const ListLayout a = ListLayoutFor(2, *global);
    EXPECT_EQ(Kinds(a), QStringLiteral("TKCKDB"));
    EXPECT_EQ(a.columns[1].combo, ListComboSource::Projects);
    EXPECT_EQ(a.columns[3].combo, ListComboSource::Members);

    const ListLayout m = ListLayoutFor(3, *global);
    EXPECT_EQ(Kinds(m), QStringLiteral("TTTCXB"));
    EXPECT_TRUE(m.notifySingle);

    for (qint32 s : {0, 4, 9, 14, 22})
        EXPECT_TRUE(ListLayoutFor(s, *global).columns.isEmpty()) << s;
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
                           {"E", "", Cash("1"), QDate(2024, 9, 9), QDate(2024, 1, 1)}};
    const ListSaveOutcome first = SaveListFromGrid(1, rows, *global);
    EXPECT_FALSE(first.saved);
    EXPECT_EQ(first.failedRow, 2);
    ASSERT_EQ(PromptTexts().size(), 1);
    EXPECT_EQ(PromptTexts()[0],
              QStringLiteral("The Start date cannot be greater than the Finish date!\r\nRow: 2"));
    EXPECT_EQ(Table(QStringLiteral("SELECT ProjectName FROM tProjects")), before);
    EXPECT_TRUE(sink.calls.isEmpty());
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
    EXPECT_TRUE(sink.calls.last().startsWith(QStringLiteral("NewTasks|")));
    EXPECT_TRUE(sink.calls.last().contains(QStringLiteral("Build")) &&
                sink.calls.last().contains(QStringLiteral("Design")));
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
    ASSERT_EQ(Count(QStringLiteral("tCustomList1")), 3);

    // Dropping the name with an apostrophe fails through the shared path; the row added in the
    // same save stays, and so does the row that could not be found.
    cDBSettings& g = Reload();
    ASSERT_TRUE(SaveListFromGrid(10, {{"North"}, {"East"}}, g).saved);
    ASSERT_FALSE(presenter.reports.isEmpty());
    EXPECT_TRUE(presenter.reports[0].contains(QStringLiteral("cSingleList.ToRS")))
        << FirstReport().toStdString();
    const QStringList after = Table(QStringLiteral("SELECT CustomFieldName FROM tCustomList1"));
    for (const char* kept : {"East", "North", "O'Neil"})
        EXPECT_TRUE(after.contains(QLatin1String(kept))) << kept;
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
    RequestReportFromRow(2, QStringLiteral("Design"), QStringLiteral(""), {});
    prompter.queue(PromptAnswer::Yes);
    RequestReportFromRow(3, QStringLiteral("Kim"), QString(), {});

    EXPECT_EQ(requests.calls, (QStringList{"Project|Apollo|" + everyoneButMe,
                                           "Task|ApolloDesign|" + everyoneButMe, "Member|Kim"}));
    const QStringList asked = PromptTexts();
    ASSERT_EQ(asked.size(), 4);
    EXPECT_EQ(asked[0],
              "Continue with notification email to all members to report to the database relating to "
              "project 'Apollo'?");
    EXPECT_EQ(asked[2],
              "Continue with notification email to all members to report to the database relating to "
              "task 'Design'?");
    EXPECT_EQ(asked[3], QStringLiteral("Continue with notification email to member 'Kim' to report ?"));

    // The picker's result: selected names with an address, the current member included.
    EXPECT_EQ(GetSelectedMemberEmails({"Lee", "Robin", "kim"}, g), QStringLiteral("robin@x.org;kim@x.org"));
}

INSTANTIATE_TEST_SUITE_P(Engines, AdminSaveTest, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace tlm::test
