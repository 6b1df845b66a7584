#include <gtest/gtest.h>

#include "core/money.h"
#include "database/connection.h"
#include "domain/domain_test_fixture.h"
#include "domain/members.h"
#include "domain/single_list.h"

namespace tlm::test {
namespace {

using ListSaveTest = DomainDbTest;

TEST_P(ListSaveTest, ProjectsRoundTripThroughTheTable) {
    global->Projects.FromArray(
        Rows({{"Apollo", "Robin", "90", Day(2024, 5, 1), Day(2024, 6, 30), "Moon", "AP-1", 3},
              {"Borealis", "", "12.5", QVariant(), QVariant(), "", "", 0}}));
    global->SaveGlobalSettings(1);
    ASSERT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();

    const cDBSettings& again = Reload();
    ASSERT_EQ(again.Projects.Items.Keys(), (QStringList{"Apollo", "Borealis"}));
    const cProject& a = *again.Projects.Items.Find(QStringLiteral("apollo"));
    EXPECT_EQ(a.ProjectManager, QStringLiteral("Robin"));
    EXPECT_EQ(a.Rate, M("90"));
    EXPECT_EQ(a.StartDate, Day(2024, 5, 1));
    EXPECT_EQ(a.FinishDate, Day(2024, 6, 30));
    EXPECT_EQ(a.Description, QStringLiteral("Moon"));
    EXPECT_EQ(a.ProjectCode, QStringLiteral("AP-1"));
    EXPECT_EQ(a.ColorCode, 3);
    EXPECT_TRUE(IsEmptyDate(again.Projects.Items.Find(QStringLiteral("Borealis"))->StartDate));
}

TEST_P(ListSaveTest, ProjectSaveAddsChangesAndDeletesOnlyWhatDiffers) {
    global->Projects.FromArray(Rows({{"A", "Robin", "1"}, {"B", "Robin", "2"}, {"C", "Robin", "3"}}));
    global->SaveGlobalSettings(1);
    const QStringList idsBefore = Column(QStringLiteral("SELECT ID FROM tProjects ORDER BY ProjectName"));
    // Each new row tells its manager, then members hear of all new ones, the last first.
    EXPECT_EQ(sink.calls,
              (QStringList{"Manager|A|Robin", "Manager|B|Robin", "Manager|C|Robin",
                           "NewProjects|C (Manager: Robin)\r\nB (Manager: Robin)\r\nA (Manager: Robin)"}));
    sink.calls.clear();

    cDBSettings& g = Reload();
    g.Projects.FromArray(Rows({{"a", "Robin", "1"}, {"B", "Kim", "2.5"}, {"D", "", "4"}}));
    g.SaveGlobalSettings(1);
    ASSERT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();

    // A keeps its row and its name's case; B changes in place; C goes; D is new.
    EXPECT_EQ(Column(QStringLiteral("SELECT ProjectName FROM tProjects ORDER BY ProjectName")),
              (QStringList{"A", "B", "D"}));
    const QStringList idsAfter = Column(QStringLiteral("SELECT ID FROM tProjects ORDER BY ProjectName"));
    EXPECT_FALSE(idsBefore.contains(idsAfter[2])) << "D is a row of its own, not C renamed";
    EXPECT_EQ(Column(QStringLiteral("SELECT ProjectManager FROM tProjects WHERE ProjectName = 'B'")),
              QStringList{"Kim"});
    EXPECT_EQ(sink.calls, (QStringList{"Manager|B|Kim", "Manager|D|", "NewProjects|D (Manager: )"}));
}

TEST_P(ListSaveTest, UnchangedListWritesNothingAndSendsNothing) {
    global->Projects.FromArray(Rows({{"A", "Robin", "1", Day(2024, 1, 1)}}));
    global->Tasks.FromArray(Rows({{"Design", "A", "5", "Robin", Day(2024, 2, 1)}}));
    global->SaveGlobalSettings(16);
    sink.calls.clear();
    cDBSettings& g = Reload();
    g.SaveGlobalSettings(16);
    EXPECT_TRUE(sink.calls.isEmpty()) << sink.calls.join(u',').toStdString();
    EXPECT_EQ(Count(QStringLiteral("tProjects")), 1);
    EXPECT_EQ(Count(QStringLiteral("tActivities")), 1);
    EXPECT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
}

TEST_P(ListSaveTest, ActivityMovedToAnotherProjectIsReAddedAndCaseOfProjectIsRewritten) {
    global->Tasks.FromArray(Rows({{"Design", "Apollo", "5", "Robin"}, {"Build", "Apollo", "6", "Kim"}}));
    global->SaveGlobalSettings(2);
    sink.calls.clear();
    cDBSettings& g = Reload();
    g.Tasks.FromArray(Rows({{"Design", "Borealis", "5", "Robin"}, {"build", "APOLLO", "6", "Kim"}}));
    g.SaveGlobalSettings(2);
    ASSERT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
    // The key still matches for Build: its name keeps the old case, its project takes the new one.
    EXPECT_EQ(Column(QStringLiteral("SELECT ActivityName FROM tActivities ORDER BY ActivityName")),
              (QStringList{"Build", "Design"}));
    EXPECT_EQ(Column(QStringLiteral("SELECT Project FROM tActivities ORDER BY ActivityName")),
              (QStringList{"APOLLO", "Borealis"}));
    EXPECT_EQ(sink.calls, (QStringList{"Coordinator|BorealisDesign|Robin",
                                       "NewTasks|Design (Coordinator: Robin, Project: Borealis)"}));
}

TEST_P(ListSaveTest, MemberAdminFlagReadsBackAndNullIsSavedAsNo) {
    global->Members.FromArray(Rows({{"Robin", "", "", "40", 1}, {"Ann", "", "", "", "x"}}));
    global->SaveGlobalSettings(3);
    ASSERT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
    cDBSettings& g = Reload();
    EXPECT_TRUE(g.Members.Items.Find(QStringLiteral("robin"))->AdminAccess);
    EXPECT_FALSE(g.Members.Items.Find(QStringLiteral("ann"))->AdminAccess);
    // A NULL reads as no and counts as a change, so the next save writes it.
    Exec(QStringLiteral("UPDATE tMembers SET AdminAccess = NULL"));
    Reload().SaveGlobalSettings(3);
    EXPECT_EQ(Column(QStringLiteral("SELECT AdminAccess FROM tMembers")), (QStringList{"0", "0"}));
}

TEST_P(ListSaveTest, ApostropheInARemovedItemIsAReportedDatabaseErrorAndTheRowStays) {
    global->CustomLists[1].FromArray({"O'Brien", "Smith"});
    global->SaveGlobalSettings(11);
    ASSERT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
    cDBSettings& g = Reload();
    g.CustomLists[1].FromArray({"Smith"});
    g.SaveGlobalSettings(11);
    ASSERT_EQ(presenter.reports.size(), 1);
    EXPECT_TRUE(FirstReport().contains(QStringLiteral("In Function: cSingleList.ToRS")))
        << FirstReport().toStdString();
    EXPECT_TRUE(FirstReport().contains(QString::number(dberr::kBadArguments))) << FirstReport().toStdString();
    EXPECT_EQ(Column(QStringLiteral("SELECT CustomFieldName FROM tCustomList2 ORDER BY CustomFieldName")),
              (QStringList{"O'Brien", "Smith"}));
}

TEST_P(ListSaveTest, ApostropheInASettingsKeyIsReportedAndLaterKeysAreNotWritten) {
    Exec(QStringLiteral("INSERT INTO tGeneralSettings (KeyID, KeyVal, KeyLocal) VALUES ('it''s', 'x', 0)"));
    cDBSettings& g = Reload();
    g.GeneralSettings.SetValue(QStringLiteral("tpoReportEditable"), QStringLiteral("0"));
    g.SaveGlobalSettings(5);
    ASSERT_EQ(presenter.reports.size(), 1);
    EXPECT_TRUE(FirstReport().contains(QStringLiteral("In Function: cGeneralSettings.ToRecordSet")));
    EXPECT_EQ(Column(QStringLiteral("SELECT KeyVal FROM tGeneralSettings WHERE KeyID = 'it''s'")),
              QStringList{"x"});
}

TEST_P(ListSaveTest, KeysIgnoreCaseInEveryList) {
    global->Projects.FromArray(Rows({{"Apollo", "A"}, {"APOLLO", "B"}}));
    global->Tasks.FromArray(Rows({{"c", "Ab"}, {"bc", "A"}}));
    global->Members.FromArray(Rows({{"Kim", "1@x"}, {"kim", "2@x"}}));
    EXPECT_EQ(global->Projects.Items.Count(), 1);
    EXPECT_EQ(global->Projects.Items.Find(QStringLiteral("apollo"))->ProjectManager, QStringLiteral("A"));
    ASSERT_EQ(global->Tasks.Items.Count(), 1);  // "Ab"+"c" and "A"+"bc" collide
    EXPECT_EQ(global->Tasks.Items.begin()->item.Project, QStringLiteral("Ab"));
    EXPECT_EQ(global->Members.Items.Find(QStringLiteral("KIM"))->Email, QStringLiteral("1@x"));
    global->SaveGlobalSettings(16);
    EXPECT_EQ(Count(QStringLiteral("tProjects")), 1);
    EXPECT_EQ(Count(QStringLiteral("tActivities")), 1);
    EXPECT_EQ(Count(QStringLiteral("tMembers")), 1);  // Robin left the list, Kim came
}

TEST_P(ListSaveTest, TemplateDuplicateRowIsIgnoredAndKeptUntilTheStoreShrinks) {
    Exec(
        QStringLiteral("INSERT INTO tNotificationTemplates (NotificationName, NotificationValue, Enabled) "
                       "VALUES ('tpoPrintTemplate', 'second', -1)"));
    cDBSettings& g = Reload();
    EXPECT_NE(g.MessageTemplates.GetValue(QStringLiteral("Print")).toString(), QStringLiteral("second"));
    const int rows = Count(QStringLiteral("tNotificationTemplates"));
    g.MessageTemplates.SetValue(QStringLiteral("tpoNotifyMemberToReport"), QStringLiteral("<p>hi</p>"));
    g.MessageTemplates.SetNotificaionEnabledValue(QStringLiteral("Email Member to report"), true);
    // The duplicate is in neither list, so even with more rows than entries it stays.
    g.SaveGlobalSettings(4);
    ASSERT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
    EXPECT_EQ(Count(QStringLiteral("tNotificationTemplates")), rows);
    const cDBSettings& again = Reload();
    EXPECT_EQ(again.MessageTemplates.GetValue(QStringLiteral("tpoNotifyMemberToReport")).toString(),
              QStringLiteral("<p>hi</p>"));
    EXPECT_TRUE(again.MessageTemplates.IsChecked(QStringLiteral("tpoNotifyMemberToReport")));
    EXPECT_FALSE(again.MessageTemplates.IsChecked(QStringLiteral("tpoNotifyMemberWhenApproved")));
}

// Twelve rows saved, then one save that drops rows 2, 5 and 9, edits row 7 and gives row 1 in other
// letter case: every list kind, each engine. Kept rows keep their IDs and their stored names, the edit
// lands on its own row and nothing else moves. Members tell nobody.
TEST_P(ListSaveTest, OneSaveDeletesSeveralRowsAndEditsAnotherInEveryListKind) {
    using NameRates = QList<std::pair<QString, QString>>;
    const auto fill = [](cDBSettings& g, qint32 code, const NameRates& list) {
        std::vector<QVariantList> rows;
        QVariantList names;
        for (const auto& [n, rate] : list) {
            rows.push_back(code == 1   ? QVariantList{n, "Robin", rate}
                           : code == 2 ? QVariantList{n, "Apollo", rate, "Robin"}
                                       : QVariantList{n, "", "", rate, 0});
            names.append(n);
        }
        if (code == 1)
            g.Projects.FromArray(Rows(rows));
        else if (code == 2)
            g.Tasks.FromArray(Rows(rows));
        else if (code == 3)
            g.Members.FromArray(Rows(rows));
        else
            g.CustomLists[3].FromArray(names);
    };
    const struct {
        const char* table;
        const char* nameColumn;
        qint32 code;
    } kinds[] = {{"tProjects", "ProjectName", 1},
                 {"tActivities", "ActivityName", 2},
                 {"tMembers", "Name", 3},
                 {"tCustomList4", "CustomFieldName", 13}};
    const auto name = [](int i) { return QStringLiteral("Item%1").arg(i, 2, 10, QLatin1Char('0')); };
    for (const auto& k : kinds) {
        SCOPED_TRACE(k.table);
        const QString table = QString::fromLatin1(k.table);
        const QString nameColumn = QString::fromLatin1(k.nameColumn);
        // A single list's entry is its name: its edit is a new name in place of the old.
        const bool single = k.code == 13;
        NameRates first;
        NameRates second;
        QStringList kept;
        for (int i = 1; i <= 12; ++i) {
            first.append({name(i), QString::number(i)});
            if (i == 2 || i == 5 || i == 9)
                continue;
            if (i == 7 && single)
                second.append({QStringLiteral("Renamed"), QString()});
            else
                second.append({i == 1 ? name(i).toUpper() : name(i),
                               i == 7 ? QStringLiteral("70") : first.last().second});
            if (i != 7 || !single)
                kept.append(name(i));
        }
        const auto ids = [&] {
            QStringList out;
            for (const QString& n : kept)
                out += Column(QStringLiteral("SELECT ID FROM %1 WHERE %2 = '%3'").arg(table, nameColumn, n));
            return out;
        };
        fill(*global, k.code, first);
        global->SaveGlobalSettings(k.code);
        ASSERT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
        ASSERT_EQ(Count(table), 12);
        const QStringList idsBefore = ids();

        sink.calls.clear();
        fill(Reload(), k.code, second);
        global->SaveGlobalSettings(k.code);
        ASSERT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();

        QStringList names = kept;
        if (single)
            names.append(QStringLiteral("Renamed"));
        names.sort();
        EXPECT_EQ(Column(QStringLiteral("SELECT %1 FROM %2 ORDER BY %1").arg(nameColumn, table)), names);
        EXPECT_EQ(ids(), idsBefore);
        EXPECT_TRUE(k.code != 3 || sink.calls.isEmpty()) << sink.calls.join(u',').toStdString();
        for (const QString& n : single ? QStringList() : kept) {
            auto rs = Open(QStringLiteral("SELECT Rate FROM %1 WHERE %2 = '%3'").arg(table, nameColumn, n),
                           LockMode::ReadOnly);
            EXPECT_EQ(Money::fromVariant(rs->Fields(0).Value()),
                      Money::parse(n == name(7) ? QStringLiteral("70") : QString::number(n.mid(4).toInt())))
                << n.toStdString();
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Engines, ListSaveTest, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace tlm::test
