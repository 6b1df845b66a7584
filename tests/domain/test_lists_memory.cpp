#include <gtest/gtest.h>

#include "domain/activity_selection.h"
#include "domain/domain_services.h"
#include "domain/domain_test_fixture.h"
#include "domain/members.h"
#include "domain/single_list.h"

namespace tlm::test {
namespace {

using ListMemoryTest = DomainMemoryTest;

TEST_F(ListMemoryTest, ProjectDateCheckStopsAtTheOffendingRow) {
    cProjects p;
    EXPECT_EQ(p.FromArray(Rows({{"A", "", "1", "2024-05-01", "2024-05-01"},
                                {"B", "", "1", "2024-05-02", ""},
                                {"C", "", "1", "2024-05-02", "2024-05-01"},
                                {"D"}})),
              3);
    EXPECT_EQ(p.Items.Keys(), (QStringList{"A", "B"}));  // equal dates and a missing finish pass
    EXPECT_EQ(p.FromArray(Rows({{" X ", "  Robin "}, {""}, {"x"}})), 0);
    EXPECT_EQ(p.Items.Keys(), QStringList{"X"});
    EXPECT_EQ(p.Items.Find(QStringLiteral("x"))->ProjectManager, QStringLiteral("  Robin "));
}

TEST_F(ListMemoryTest, TabTextsAndEmptyMatrices) {
    cProjects p;
    cTasks t;
    cMembers m;
    cSingleList s;
    for (const QString& tab : {p.ToStringTab(), t.ToStringTab(), m.ToStringTab(), s.ToStringTab()})
        EXPECT_EQ(tab, QStringLiteral("\t "));
    EXPECT_FALSE(p.ToArray().has_value());
    EXPECT_TRUE(presenter.reports.value(0).contains(QStringLiteral("cProjects.GetArray")));
    p.FromArray(Rows({{"B"}, {"A"}}));
    EXPECT_EQ(p.ToStringTab(), QStringLiteral("B\tA\t "));
    const auto matrix = p.ToArray();
    ASSERT_TRUE(matrix.has_value());
    EXPECT_EQ(matrix->Rows(), 2);
    EXPECT_EQ(matrix->Cols(), 8);
    EXPECT_EQ((*matrix)(1, 0).toString(), QStringLiteral("A"));
    EXPECT_EQ(p.GetProject(2), QStringLiteral("A"));
    EXPECT_EQ(p.GetProject(3), QString());
}

TEST_F(ListMemoryTest, TaskRowsWithoutProjectOrNameStillCount) {
    cTasks t;
    t.FromArray(Rows({{"Solo", ""}, {"", "Apollo"}, {"", ""}, {"Solo", "", "9"}}));
    EXPECT_EQ(t.Items.Keys(), (QStringList{"Solo", "Apollo"}));
    EXPECT_EQ(t.GetProjectsList().Items.Keys(), (QStringList{"", "Apollo"}));
}

TEST_F(ListMemoryTest, MemberRateThatIsNoNumberEndsTheReadWithTheRowsSoFar) {
    cMembers m;
    m.FromArray(Rows({{"Ann", "", "", "5", "1"}, {"Bob", "", "", "five"}, {"Cy"}}));
    EXPECT_EQ(m.Items.Keys(), QStringList{"ann"});
    EXPECT_TRUE(presenter.reports.value(0).contains(QStringLiteral("cMembers.FromArray")));
}

// The row counter stops at 32767: the rows up to it are taken and the overflow is reported.
TEST_F(ListMemoryTest, RowsPastTheCounterLimitAreReportedAsOverflow) {
    const auto names = [](int rows) {
        Matrix out(rows, 5);
        for (int r = 0; r < rows; ++r)
            out(r, 0) = QStringLiteral("Member %1").arg(r);
        return out;
    };
    cMembers m;
    m.FromArray(names(32770));
    EXPECT_EQ(m.Items.Count(), 32768);
    ASSERT_EQ(presenter.reports.size(), 1);
    EXPECT_TRUE(presenter.reports[0].contains(QStringLiteral("Overflow")));
    EXPECT_TRUE(presenter.reports[0].contains(QStringLiteral("cMembers.FromArray")));

    ResetErrorReportingForTests();  // a second report would otherwise be held back
    m.FromArray(names(32768));
    EXPECT_EQ(m.Items.Count(), 32768);
    EXPECT_EQ(presenter.reports.size(), 1);
}

TEST_F(ListMemoryTest, MemberMatchingAndMailLists) {
    global->Members.FromArray(Rows({{"Robin Hart", "robin@x.org"},
                                    {"Al", "al@x.org "},  // the grid trims it
                                    {"Kim Hart", ""},
                                    {"Sam Hartley", "sam@x.org"}}));
    global->CurrentMember.Name = QStringLiteral("robin hart");
    const cMembers& m = global->Members;
    EXPECT_EQ(m.GetMatchingMemberFullName(QStringLiteral("Al")), QString());  // two letters never match
    EXPECT_EQ(m.GetMatchingMemberFullName(QStringLiteral("hart")), QStringLiteral("Robin Hart"));
    EXPECT_EQ(m.GetMemberFullNameFromEmail(QStringLiteral("AL@X.ORG")), QStringLiteral("Al"));
    EXPECT_EQ(m.GetMemberFullNameFromEmail(QStringLiteral("al@x.org ")), QString());
    EXPECT_EQ(m.AllEmails(false), QStringLiteral("robin@x.org;al@x.org;sam@x.org;"));
    EXPECT_EQ(m.AllEmails(true), QStringLiteral("al@x.org;sam@x.org;;"));
    EXPECT_EQ(GetMatchingMemberNameFromRawName(QStringLiteral("ROBIN HART")), QStringLiteral("Robin Hart"));
    EXPECT_EQ(GetMatchingMemberNameFromRawName(QStringLiteral("sam@x.org")), QStringLiteral("Sam Hartley"));
    EXPECT_EQ(GetMatchingMemberNameFromRawName(QStringLiteral("Hartl")), QStringLiteral("Sam Hartley"));
}

TEST_F(ListMemoryTest, SingleListTexts) {
    cSingleList s;
    s.FromString(QStringLiteral("pear\r\nApple\r\n\r\napple"), QStringLiteral("\r\n"));
    EXPECT_EQ(s.Items.Keys(), (QStringList{"Apple", "pear"}));
    EXPECT_EQ(s.getItemIndex(QStringLiteral("pear")), 1);
    EXPECT_EQ(s.getItemIndex(QStringLiteral("PEAR")), 2);
    EXPECT_EQ(s.GetItem(5), QString());
    s.FromArray({"z", " ", "a", "Z"});
    EXPECT_EQ(s.ToString(QStringLiteral(","), false), QStringLiteral("z,a"));
    EXPECT_EQ(s.ToString(QStringLiteral(","), true), QStringLiteral("a,z"));
    EXPECT_EQ(s.Items.Keys(), (QStringList{"a", "z"}));  // sorting changed the list
}

TEST_F(ListMemoryTest, ActivitySelectionRoundTripsThroughItsText) {
    cTasksPerProjectList list;
    // A line without a colon ends the read, reported; the lines before it stay.
    list.FromString(
        QStringLiteral("Apollo,3,2024-5-1,:Design_COLON_1,2024-6-1;Build,\r\nEmpty,x,,:\r\nbroken"));
    ASSERT_EQ(list.Items.Count(), 2);
    EXPECT_TRUE(presenter.reports.value(0).contains(QStringLiteral("cTasksPerProjectList.FromString")));
    const auto& apollo = *list.Items.Find(QStringLiteral("apollo"));
    EXPECT_EQ(apollo->Project.ColorCode, 3);
    EXPECT_EQ(apollo->Project.StartDate, Day(2024, 5, 1));
    EXPECT_TRUE(IsEmptyDate(apollo->Project.FinishDate));
    EXPECT_EQ(apollo->Items.Keys(), (QStringList{"Design:1", "Build"}));
    const auto& empty = *list.Items.Find(QStringLiteral("Empty"));
    EXPECT_EQ(empty->Project.ColorCode, 3);  // not a number: the previous line's colour
    EXPECT_EQ(empty->Items.Count(), 0);

    cTasksPerProjectList tricky;
    auto entry = std::make_shared<cTasksPerProject>();
    entry->Project.Name = QStringLiteral("P:1;2,3");
    cTasksClient task;
    task.Name = QStringLiteral("a:b;c,d");
    task.DueDate = Day(2026, 3, 7);
    entry->Items.Add(task.Name, task);
    tricky.Items.Add(entry->Project.Name, entry);
    const QString text = tricky.ToString();
    EXPECT_EQ(text, QStringLiteral("P_COLON_1_SCOLON_2_COMMA_3,0,,:a_COLON_b_SCOLON_c_COMMA_d,2026-3-7"));
    cTasksPerProjectList back;
    back.FromString(text);
    back.FromString(text);  // a second read adds nothing
    ASSERT_EQ(back.Items.Count(), 1);
    EXPECT_EQ(back.ToString(), text);
    EXPECT_EQ(back.GetProjectsList().Items.Keys(), QStringList{"P:1;2,3"});
}

TEST_F(ListMemoryTest, ProjectAndActivityTextsForTheClient) {
    global->Projects.FromArray(Rows({{"Apollo", "", "90", "2024-5-1", "", "", "", 4}}));
    global->Tasks.FromArray(
        Rows({{"Design", "Apollo", "5", "", "2024-6-1"}, {"Build", "Apollo", "6"}, {"X", "apollo"}}));
    EXPECT_EQ(global->Projects.ToStringValuesClient(),
              QStringLiteral("Apollo,4,2024-5-1,,90:Build,,6;Design,2024-6-1,5"));
    global->Tasks.FromArray(Rows({{"Design", "Apollo"}, {"Lone", "Ghost"}}));
    const QStringList lines = global->Tasks.ToString().split(QStringLiteral("\r\n"));
    ASSERT_EQ(lines.size(), 2);
    EXPECT_TRUE(lines[0].startsWith(QStringLiteral("Apollo,4,"))) << lines[0].toStdString();
    EXPECT_TRUE(lines[1].startsWith(QStringLiteral("Ghost,4,"))) << lines[1].toStdString();  // carried over
}

}  // namespace
}  // namespace tlm::test
