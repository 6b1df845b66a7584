#include <gtest/gtest.h>

#include "core/local_settings.h"
#include "core/process_state.h"
#include "domain/domain_services.h"
#include "domain/domain_test_fixture.h"

namespace tlm::test {
namespace {

using GlobalSettingsTest = DomainDbTest;

TEST_P(GlobalSettingsTest, LoadFillsEveryCollectionAndTheCurrentMember) {
    Exec(QStringLiteral("INSERT INTO tProjects (ProjectName, ProjectManager) VALUES ('Beta', 'Robin')"));
    Exec(QStringLiteral("INSERT INTO tProjects (ProjectName, ProjectManager) VALUES ('alpha', 'Robin')"));
    Exec(QStringLiteral("INSERT INTO tActivities (ActivityName, Project) VALUES ('Write', 'ALPHA')"));
    Exec(QStringLiteral("INSERT INTO tActivities (ActivityName, Project) VALUES ('Read', 'alpha')"));
    Exec(QStringLiteral("INSERT INTO tCustomList3 (CustomFieldName) VALUES ('zeta')"));
    Exec(QStringLiteral("INSERT INTO tCustomList3 (CustomFieldName) VALUES ('Eta')"));
    const cDBSettings& g = Reload();
    EXPECT_EQ(g.Projects.Items.Keys(), (QStringList{"alpha", "Beta"}));
    EXPECT_EQ(g.CustomLists[2].Items.Keys(), (QStringList{"Eta", "zeta"}));
    ASSERT_TRUE(g.AllTasksProjects.Find(QStringLiteral("Alpha")));
    EXPECT_EQ(g.AllTasksProjects.Find(QStringLiteral("alpha"))->Items.Keys(), (QStringList{"Read", "Write"}));
    EXPECT_EQ(g.AllTasksProjects.Find(QStringLiteral("Beta"))->Items.Count(), 0);
    EXPECT_EQ(g.UserName, QStringLiteral("Robin"));
    EXPECT_EQ(g.CurrentMember.ID, 1);
    EXPECT_EQ(GetSetting(kSettingsApplication, QString(), QStringLiteral("CurrentUser"), QString()),
              QStringLiteral("Robin"));
}

TEST_P(GlobalSettingsTest, SavedValuesReadBackAndBuiltInsGoAfterALoad) {
    cDBSettings& g = *global;
    g.GeneralSettings.SetValue(QStringLiteral("tpoProjectTitle"), QString());
    g.GeneralSettings.SetValue(QStringLiteral("tpoActivityTitle"), QStringLiteral("  Job "));
    g.GeneralSettings.SetValue(QStringLiteral("tpoRateIntervalCustomValue"), QStringLiteral("eight"));
    g.GeneralSettings.SetValue(QStringLiteral("tpoAllowAutoUpgrade"), QStringLiteral("1"));
    g.SaveGlobalSettings(5);
    Exec(QStringLiteral("DELETE FROM tGeneralSettings WHERE KeyID = 'tpoAllowTaskItem'"));
    ASSERT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();

    const cDBSettings& again = Reload();
    const cGeneralSettings& s = again.GeneralSettings;
    EXPECT_EQ(s.GetValue(QStringLiteral("tpoProjectTitle"), cGeneralSettings::kText).toString(),
              QStringLiteral(" "));
    EXPECT_EQ(again.ProjectTitle, QStringLiteral("Project"));
    EXPECT_EQ(again.ActivityTitle, QStringLiteral("Job"));
    EXPECT_EQ(s.GetValue(QStringLiteral("tpoRateIntervalCustomValue"), cGeneralSettings::kInteger).toInt(),
              0);
    EXPECT_EQ(s.GetValue(QStringLiteral("tpoAllowAutoUpgrade"), cGeneralSettings::kInteger).toInt(), 1);
    EXPECT_TRUE(s.GetValue(QStringLiteral("tpoAllowAutoUpgrade"), cGeneralSettings::kBoolean).toBool());
    EXPECT_EQ(s.GetValue(QStringLiteral("tpoAllowTaskItem"), cGeneralSettings::kInteger).toInt(), 0);
    EXPECT_FALSE(s.GetValue(QStringLiteral("tpoProjectTitle"), 3).isValid());
    EXPECT_EQ(Column(QStringLiteral("SELECT KeyVal FROM tGeneralSettings WHERE KeyID = 'tpoActivityTitle'")),
              QStringList{"  Job "});
}

TEST_P(GlobalSettingsTest, KeysDifferingInCaseAreTwoInMemoryAndOneRow) {
    cDBSettings& g = *global;
    g.GeneralSettings.SetValue(QStringLiteral("tpoReportEditable"), QStringLiteral("0"));
    g.GeneralSettings.SetValue(QStringLiteral("TPOREPORTEDITABLE"), QStringLiteral("5"));
    EXPECT_EQ(g.GeneralSettings.GetValue(QStringLiteral("tpoReportEditable"), 2).toInt(), 0);
    const int rows = Count(QStringLiteral("tGeneralSettings"));
    g.SaveGlobalSettings(9);
    EXPECT_EQ(Count(QStringLiteral("tGeneralSettings")), rows);
    EXPECT_EQ(Column(QStringLiteral("SELECT KeyVal FROM tGeneralSettings WHERE KeyID = 'tpoReportEditable'")),
              QStringList{"5"});
}

TEST_P(GlobalSettingsTest, FirstRunAgainstAnExistingDatabaseRestoresDefaults) {
    cDBSettings& g = *global;
    g.GeneralSettings.SetValue(QStringLiteral("tpoProjectTitle"), QStringLiteral("Job"));
    g.GeneralSettings.SetValue(QStringLiteral("tpoUseRateFrom"), QStringLiteral("2"));
    g.MessageTemplates.SetValue(QStringLiteral("Print"), QStringLiteral("mine"));
    g.MessageTemplates.SetNotificaionEnabledValue(QStringLiteral("tpoNotifyMemberWhenApproved"), true);
    g.SaveGlobalSettings(16);
    ASSERT_EQ(Reload().ProjectTitle, QStringLiteral("Job"));

    Process().blnNewDatabase = true;
    const cDBSettings& again = Reload();
    EXPECT_EQ(again.ProjectTitle, QStringLiteral("Project"));
    EXPECT_EQ(again.MessageTemplates.GetValue(QStringLiteral("Print")).toString(),
              DefaultTemplateBody(QStringLiteral("tpoPrintTemplate")));
    EXPECT_FALSE(again.MessageTemplates.IsChecked(QStringLiteral("tpoNotifyMemberWhenApproved")));
    // Keys without a built-in default keep what was saved.
    EXPECT_EQ(again.GeneralSettings.GetValue(QStringLiteral("tpoUseRateFrom"), 2).toInt(), 2);
}

TEST_P(GlobalSettingsTest, UnreachableDatabaseLeavesTheCollectionsAndOkFalse) {
    global->Projects.FromArray(Rows({{"Kept"}}));
    subCloseConnection();
    settings.DBChoice = 0;
    settings.DBConnectionString = dir + QStringLiteral("/missing-folder");
    bool ok = true;
    global->LoadGlobalSettings(false, ok);
    EXPECT_FALSE(ok);
    EXPECT_EQ(global->Projects.Items.Keys(), QStringList{"Kept"});
}

INSTANTIATE_TEST_SUITE_P(Engines, GlobalSettingsTest, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         EngineName);

// The layers below the settings read the owner only through what registering it installs: both go
// with it, so nothing below can read a store that is gone.
TEST(GlobalSettingsDefaults, RegisteringInstallsTheListsAndTheTemplatesAndClearingRemovesThem) {
    cDBSettings store;
    store.UserName = QStringLiteral("Robin");
    store.Projects.FromArray(Rows({{"Apollo", "Robin", "5"}}));
    SetDBSettings(&store);
    EXPECT_EQ(SharedLists(), &store);
    EXPECT_EQ(NotificationStore(), &store);
    EXPECT_EQ(sCurrentUser(), QStringLiteral("Robin"));
    EXPECT_TRUE(GetProjectObjectFromName(QStringLiteral("apollo")));
    SetDBSettings(nullptr);
    EXPECT_EQ(SharedLists(), nullptr);
    EXPECT_EQ(NotificationStore(), nullptr);
    EXPECT_TRUE(sCurrentUser().isEmpty());
    EXPECT_FALSE(GetProjectObjectFromName(QStringLiteral("apollo")));
}

// The date text follows the installed lists' formats, with no settings owner at all.
TEST(GlobalSettingsDefaults, LowerLayersWorkWithListsOfTheirOwn) {
    cSharedLists lists;
    lists.ShortDateFormat = QStringLiteral("yyyy-MM-dd");
    lists.TimeFormat = QStringLiteral("HH:mm");
    SetSharedLists(&lists);
    EXPECT_EQ(DateTimeToText(QDateTime(QDate(2024, 5, 1), QTime(0, 0))), QStringLiteral("2024-05-01"));
    EXPECT_EQ(DateTimeToText(QDateTime(QDate(2024, 5, 1), QTime(9, 30))), QStringLiteral("2024-05-01 09:30"));
    EXPECT_EQ(DateTimeToText(QDateTime(ZeroDate().date(), QTime(9, 30))), QStringLiteral("09:30"));
    SetSharedLists(nullptr);
}

TEST(GlobalSettingsDefaults, ConstructionHoldsTheBuiltInsWithoutADatabase) {
    cDBSettings g;
    const cGeneralSettings& s = g.GeneralSettings;
    EXPECT_EQ(s.Items.Count(), 15);
    EXPECT_EQ(s.GetValue(QStringLiteral("tpoAllowTaskItem"), 2).toInt(), 1);
    EXPECT_EQ(s.GetValue(QStringLiteral("tpoTitleCustomField8"), 8).toString(),
              QStringLiteral("Custom Field 8"));
    EXPECT_EQ(s.GetValue(QStringLiteral("tpoTitleCustomField9"), 8).toString(), QString());
    EXPECT_EQ(s.GetValue(QStringLiteral("tpoMissing"), 7).toDateTime(), ZeroDate());
    EXPECT_FALSE(s.GetValue(QStringLiteral("tpoMissing"), 11).toBool());
    EXPECT_EQ(g.MessageTemplates.Items.Count(), 31);
    EXPECT_EQ(g.NotificationNames.size(), 16);
}

}  // namespace
}  // namespace tlm::test
