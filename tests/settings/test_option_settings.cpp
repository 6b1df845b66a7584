#include <gtest/gtest.h>

#include "core/local_settings.h"
#include "domain/domain_test_fixture.h"
#include "settings/option_settings.h"

namespace tlm::test {
namespace {

// ---- the checks, without a database ------------------------------------------------------------

TEST(OptionChecks, WholeNumbersAreDigitsOnlyWithinTheRange) {
    EXPECT_EQ(WholeNumber(QStringLiteral(" 12 "), 1, 20), 12);
    for (const char* text : {"", "0", "21", "-3", "+3", "1.5", "1e2", "99999999999"})
        EXPECT_EQ(WholeNumber(QString::fromLatin1(text), 1, 20), -1) << text;
}

TEST(OptionChecks, FieldTitlesCollideOnlyWhenTypedTheSame) {
    FieldsValues v;
    v.projectTitle = QStringLiteral("Project");
    v.activityTitle = QStringLiteral("Task");
    EXPECT_TRUE(v.Check().isEmpty());
    // Empty titles never collide, even where their defaults would; case makes two titles.
    v.titles[0] = v.titles[1] = QString();
    v.titles[2] = QStringLiteral("rate");
    v.titles[3] = QStringLiteral("Rate");
    EXPECT_TRUE(v.Check().isEmpty());
    // The project and activity words share the list with the custom fields.
    v.titles[9] = QStringLiteral("Task");
    EXPECT_TRUE(v.Check().startsWith(QStringLiteral("'Task' is already been used for other field!")));
    v.titles[9].clear();
    v.titles[8] = QStringLiteral("rate");
    EXPECT_TRUE(v.Check().startsWith(QStringLiteral("'rate' is already")));
}

TEST(OptionChecks, CustomIntervalNeedsHoursOnlyWhenChosen) {
    AdvancedValues v;
    v.hours = QStringLiteral("0");
    EXPECT_TRUE(v.Check().isEmpty());
    v.rateInterval = 1;
    EXPECT_EQ(v.Check(),
              QStringLiteral("The custom interval '0' is not a whole number of hours from 1 to 32767."));
    for (const char* hours : {"", "32768"}) {
        v.hours = QString::fromLatin1(hours);
        EXPECT_FALSE(v.Check().isEmpty()) << hours;
    }
    v.hours = QStringLiteral("32767");
    EXPECT_TRUE(v.Check().isEmpty());
    EXPECT_FALSE(v.MemberRateApplies());
    v.rateFrom = 2;
    EXPECT_TRUE(v.MemberRateApplies());
}

TEST(OptionChecks, ReportingNumbersFollowTheirSwitches) {
    ReportingValues v;
    v.minimumMinutes = QStringLiteral("0");  // allowed while the switch is off
    EXPECT_TRUE(v.Check().isEmpty());
    v.preventShortItems = true;
    EXPECT_TRUE(v.Check().startsWith(QStringLiteral("The minimum work time '0'")));
    v.minimumMinutes = QStringLiteral(" 15 ");
    EXPECT_TRUE(v.Check().isEmpty());
    v.hoursPerMonth = QStringLiteral("745");
    EXPECT_EQ(v.Check(),
              QStringLiteral("The total working hours per month '745' is not a whole number from 1 to 744."));
    v.hoursPerMonth = QStringLiteral("744");
    EXPECT_TRUE(v.Check().isEmpty());
}

// ---- saves, on each engine ---------------------------------------------------------------------

using OptionSaveTest = DomainDbTest;

TEST_P(OptionSaveTest, AccessRightsAndFlagsReachTheTablesAndTheLocalCopy) {
    Exec(
        QStringLiteral("INSERT INTO tMembers (Name, Email, Department, Rate, AdminAccess) "
                       "VALUES ('Kim', '', '', 0, 1)"));
    cDBSettings& g = Reload();
    AccessControlValues v;
    v.Load(&g);
    EXPECT_EQ(v.allowed, QStringList{"Kim"});
    EXPECT_EQ(v.notAllowed, QStringList{"Robin"});

    v.allowed = {QStringLiteral("robin")};  // names match the list without regard to case
    v.notAllowed = {QStringLiteral("Kim")};
    v.flags[6] = true;
    cMySettings my;
    v.Save(g, &my);
    ASSERT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();

    const cDBSettings& again = Reload();
    AccessControlValues back;
    back.Load(&again);
    EXPECT_EQ(back.allowed, QStringList{"Robin"});
    EXPECT_EQ(back.notAllowed, QStringList{"Kim"});
    EXPECT_TRUE(back.flags[6]);
}

TEST_P(OptionSaveTest, FieldsSaveFillsDefaultsAndAuditSavesItsSwitchesAsTemplates) {
    cDBSettings& g = *global;
    g.GeneralSettings.SetValue(QStringLiteral("tpoActivityTitle"), QString());
    g.GeneralSettings.SetValue(QStringLiteral("tpoTitleCustomField9"), QStringLiteral(" "));
    FieldsValues f;
    f.Load(&g);
    EXPECT_EQ(f.activityTitle, QStringLiteral("Task"));  // not the store's "Activity"
    EXPECT_EQ(f.titles[8], QStringLiteral("Custom Field 9"));
    f.projectTitle = QStringLiteral("  ");
    f.titles[4] = QString();
    cMySettings my;
    f.Save(g, &my);
    EXPECT_EQ(f.projectTitle, QStringLiteral("Project"));
    EXPECT_EQ(my.CustomFieldName[4], QStringLiteral("Custom Field 5"));

    AuditValues a;
    a.Load(&g);
    a.notifyDeclined = true;
    a.Save(g, &my);
    ASSERT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();

    const cDBSettings& again = Reload();
    FieldsValues f2;
    f2.Load(&again);
    EXPECT_EQ(f2.projectTitle, QStringLiteral("Project"));
    EXPECT_EQ(f2.titles[4], QStringLiteral("Custom Field 5"));
    AuditValues a2;
    a2.Load(&again);
    EXPECT_TRUE(a2.notifyDeclined);
    EXPECT_FALSE(a2.notifyApproved);
    NotificationSwitchValues n;
    n.Load(&again);
    EXPECT_TRUE(n.on[9]);  // the same template, seen from the notification panel
}

TEST_P(OptionSaveTest, AdvancedSaveKeepsTheMembersRateSwitchOnlyForMemberRates) {
    cDBSettings& g = *global;
    AdvancedValues v;
    v.memberChangesRate = true;
    v.rateInterval = 1;
    v.hours = QStringLiteral(" 8 ");
    v.Save(g);
    ASSERT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
    AdvancedValues back;
    back.Load(&Reload());
    EXPECT_FALSE(back.memberChangesRate);
    EXPECT_EQ(back.hours, QStringLiteral("8"));
}

// Every field of every panel is saved and loaded back from a newly loaded store, in two passes
// that give each field another value: a key missing from a panel's list, or kept as another kind,
// cannot come back right in both.
TEST_P(OptionSaveTest, EveryOptionOfEveryPanelSurvivesSaveAndLoad) {
    cMySettings my;
    const auto cameBack = [&](auto values) {
        if constexpr (requires { values.Save(*global, &my); })
            values.Save(*global, &my);
        else
            values.Save(*global);
        EXPECT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
        decltype(values) back;
        back.Load(&Reload());
        return back == values;
    };
    for (const int pass : {0, 1}) {
        const bool on = pass == 1;
        const auto text = [pass](const char* what) {
            return QString::fromLatin1(what) + QString::number(pass);
        };
        SCOPED_TRACE(pass);

        AccessControlValues access;
        access.flags.fill(on);
        (on ? access.allowed : access.notAllowed) = QStringList{QStringLiteral("Robin")};
        EXPECT_TRUE(cameBack(access)) << "access";

        NotificationSwitchValues switches;
        switches.on.fill(on);
        EXPECT_TRUE(cameBack(switches)) << "notification switches";

        FieldsValues fields;
        fields.projectTitle = text("Job ");
        fields.activityTitle = text("Step ");
        fields.mandatoryProject = fields.mandatoryActivity = fields.membersChooseProjects = on;
        fields.customFieldsTitle = text("Extras ");
        fields.available.fill(on);
        fields.mandatory.fill(on);
        fields.customizable.fill(on);
        for (size_t i = 0; i < fields.titles.size(); ++i)
            fields.titles[i] = text("Extra ") + u'.' + QString::number(i);
        EXPECT_TRUE(cameBack(fields)) << "fields";

        AdvancedValues advanced;
        advanced.rateFrom = on ? 2 : 1;  // the member's own rate switch is kept for member rates only
        advanced.memberChangesRate = on;
        advanced.taskWork = on ? 1 : 0;
        advanced.rateInterval = on ? 1 : 0;
        advanced.hours = on ? QStringLiteral("8") : QStringLiteral("0");
        advanced.editMailToReport = advanced.chooseRecipients = advanced.reportEditable = on;
        advanced.startFromProject = advanced.updateEndDate = advanced.updateDueDate = on;
        advanced.whichEndDate = pass + 1;
        advanced.whichDueDate = pass + 2;
        EXPECT_TRUE(cameBack(advanced)) << "advanced";

        UpgradeValues upgrade;
        upgrade.allowUpgrade = upgrade.checkAtStartup = upgrade.tellMember = on;
        upgrade.path = text("//server/upgrade/");
        upgrade.installMode = pass + 1;
        EXPECT_TRUE(cameBack(upgrade)) << "upgrade";

        AuditValues audit;
        audit.requiresApproval = audit.editProjectActivity = audit.editCost = on;
        audit.notifyApproved = audit.showApprovedMail = on;
        audit.notifyDeclined = audit.showDeclinedMail = audit.removeDeclined = on;
        EXPECT_TRUE(cameBack(audit)) << "audit";

        ReportingValues reporting;
        reporting.flags.fill(on);
        reporting.preventShortItems = reporting.copyTasks = reporting.copyAppointments = on;
        reporting.minimumMinutes = QString::number(15 + pass);
        reporting.hoursPerMonth = QString::number(160 + pass);
        reporting.taskFolder = text("//server/tasks/");
        reporting.appointmentFolder = text("//server/appointments/");
        EXPECT_TRUE(cameBack(reporting)) << "reporting";
    }
}

INSTANTIATE_TEST_SUITE_P(Engines, OptionSaveTest, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace tlm::test
