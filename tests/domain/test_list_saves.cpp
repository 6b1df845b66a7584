#include <gtest/gtest.h>

#include <functional>

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
    EXPECT_EQ(again.Projects.Items.Find(QStringLiteral("Borealis"))->Rate, M("12.5"));
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
    EXPECT_EQ(idsAfter.mid(0, 2), idsBefore.mid(0, 2));
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

TEST_P(ListSaveTest, MembersSaveByComparisonWithoutNotifications) {
    global->Members.FromArray(Rows({{"Robin", "robin@example.org", "Ops", "40", 1},
                                    {"Kim Lee", "kim@example.org", "Dev", "50", 0},
                                    {"Ann", "", "", "", "x"}}));
    global->SaveGlobalSettings(3);
    ASSERT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
    const QString robinId = Column(QStringLiteral("SELECT ID FROM tMembers WHERE Name = 'Robin'")).value(0);

    cDBSettings& g = Reload();
    const cMember* kim = g.Members.Items.Find(QStringLiteral("KIM LEE"));
    ASSERT_TRUE(kim);
    EXPECT_EQ(kim->Rate, M("50"));
    EXPECT_TRUE(g.Members.Items.Find(QStringLiteral("robin"))->AdminAccess);
    EXPECT_FALSE(g.Members.Items.Find(QStringLiteral("ann"))->AdminAccess);

    g.Members.FromArray(
        Rows({{"ROBIN", "robin@example.org", "Ops", "45", 1}, {"Zoe", "zoe@example.org", "", "1", 0}}));
    g.SaveGlobalSettings(3);
    ASSERT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
    EXPECT_EQ(Column(QStringLiteral("SELECT Name FROM tMembers ORDER BY Name")),
              (QStringList{"Robin", "Zoe"}));
    EXPECT_EQ(Column(QStringLiteral("SELECT ID FROM tMembers WHERE Name = 'Robin'")).value(0), robinId);
    EXPECT_EQ(Reload().Members.Items.Find(QStringLiteral("robin"))->Rate, M("45"));
    EXPECT_TRUE(sink.calls.isEmpty());
}

TEST_P(ListSaveTest, NullAdminAccessCountsAsChangedOnce) {
    Exec(QStringLiteral("UPDATE tMembers SET AdminAccess = NULL"));
    cDBSettings& g = Reload();
    EXPECT_FALSE(g.Members.Items.Find(QStringLiteral("robin"))->AdminAccess);
    g.SaveGlobalSettings(3);
    EXPECT_EQ(Column(QStringLiteral("SELECT AdminAccess FROM tMembers")), QStringList{"0"});
}

TEST_P(ListSaveTest, CustomListReplacesByAddAndDelete) {
    global->CustomLists[0].FromArray({"Red", "Green"});
    global->SaveGlobalSettings(10);
    cDBSettings& g = Reload();
    EXPECT_EQ(g.CustomLists[0].Items.Keys(), (QStringList{"Green", "Red"}));
    g.CustomLists[0].FromArray({"green", "Blue"});
    g.SaveGlobalSettings(10);
    ASSERT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
    // "green" matches the stored "Green" and is not rewritten.
    EXPECT_EQ(Column(QStringLiteral("SELECT CustomFieldName FROM tCustomList1 ORDER BY CustomFieldName")),
              (QStringList{"Blue", "Green"}));
    EXPECT_EQ(Count(QStringLiteral("tCustomList2")), 0);
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

// Twelve rows saved, then one save that drops rows 2, 5 and 9 and edits row 7: every list kind,
// each engine. Kept rows keep their IDs, the edit lands on its own row and nothing else moves.
TEST_P(ListSaveTest, OneSaveDeletesSeveralRowsAndEditsAnotherInEveryListKind) {
    const auto name = [](int i) { return QStringLiteral("Item%1").arg(i, 2, 10, QLatin1Char('0')); };
    const auto kept = [&](bool withSeven) {
        QStringList names;
        for (int i = 1; i <= 12; ++i)
            if (i != 2 && i != 5 && i != 9 && (withSeven || i != 7))
                names.append(name(i));
        return names;
    };
    struct Kind {
        const char* table;
        const char* nameColumn;
        const char* rateColumn;  // empty for a single list
        qint32 code;
        std::function<void(cDBSettings&, bool)> fill;  // false: 12 rows; true: the second list
    };
    const auto rows = [&](bool second, auto&& row) {
        std::vector<QVariantList> out;
        for (int i = 1; i <= 12; ++i)
            if (!second || (i != 2 && i != 5 && i != 9))
                out.push_back(row(i, second && i == 7));
        return Rows(out);
    };
    const Kind kinds[] = {
        {"tProjects", "ProjectName", "Rate", 1,
         [&](cDBSettings& g, bool second) {
             g.Projects.FromArray(rows(second, [&](int i, bool edit) {
                 return QVariantList{name(i), "Robin", edit ? "70" : QString::number(i)};
             }));
         }},
        {"tActivities", "ActivityName", "Rate", 2,
         [&](cDBSettings& g, bool second) {
             g.Tasks.FromArray(rows(second, [&](int i, bool edit) {
                 return QVariantList{name(i), "Apollo", edit ? "70" : QString::number(i), "Robin"};
             }));
         }},
        {"tMembers", "Name", "Rate", 3,
         [&](cDBSettings& g, bool second) {
             g.Members.FromArray(rows(second, [&](int i, bool edit) {
                 return QVariantList{name(i), "", "", edit ? "70" : QString::number(i), 0};
             }));
         }},
        {"tCustomList4", "CustomFieldName", "", 13,
         [&](cDBSettings& g, bool second) {
             QVariantList items;
             for (int i = 1; i <= 12; ++i)
                 if (!second || (i != 2 && i != 5 && i != 9))
                     items.append(second && i == 7 ? QStringLiteral("Renamed") : name(i));
             g.CustomLists[3].FromArray(items);
         }},
    };
    for (const Kind& k : kinds) {
        SCOPED_TRACE(k.table);
        const QString table = QString::fromLatin1(k.table);
        const QString nameColumn = QString::fromLatin1(k.nameColumn);
        const auto idOf = [&](const QString& n) {
            return Column(QStringLiteral("SELECT ID FROM %1 WHERE %2 = '%3'").arg(table, nameColumn, n))
                .value(0);
        };
        k.fill(*global, false);
        global->SaveGlobalSettings(k.code);
        ASSERT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
        ASSERT_EQ(Count(table), 12);
        QStringList idsBefore;
        for (const QString& n : kept(true))
            idsBefore.append(idOf(n));

        cDBSettings& g = Reload();
        k.fill(g, true);
        g.SaveGlobalSettings(k.code);
        ASSERT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();

        const QStringList names =
            Column(QStringLiteral("SELECT %1 FROM %2 ORDER BY %1").arg(nameColumn, table));
        if (QByteArray(k.rateColumn).isEmpty()) {
            // A single list's entry is its name: the edit is a new row in place of the old.
            QStringList expected = kept(false);
            expected.append(QStringLiteral("Renamed"));
            expected.sort();
            EXPECT_EQ(names, expected);
            QStringList idsAfter;
            for (const QString& n : kept(false))
                idsAfter.append(idOf(n));
            idsBefore.removeAt(kept(true).indexOf(name(7)));
            EXPECT_EQ(idsAfter, idsBefore);
            continue;
        }
        EXPECT_EQ(names, kept(true));
        QStringList idsAfter;
        for (const QString& n : kept(true))
            idsAfter.append(idOf(n));
        EXPECT_EQ(idsAfter, idsBefore);
        const cDBSettings& again = Reload();
        for (const QString& n : kept(true)) {
            const int i = n.mid(4).toInt();
            const Money want = i == 7 ? M("70") : *Money::parse(QString::number(i));
            const Money got = table == QLatin1String("tProjects") ? again.Projects.Items.Find(n)->Rate
                              : table == QLatin1String("tActivities")
                                  ? again.Tasks.Items.Find(QStringLiteral("Apollo") + n)->Rate
                                  : again.Members.Items.Find(n.toLower())->Rate;
            EXPECT_EQ(got, want) << n.toStdString();
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Engines, ListSaveTest, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace tlm::test
