#include <QCheckBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>

#include "core/process_state.h"
#include "desktop/dialogs.h"
#include "domain/domain_test_fixture.h"
#include "settings/manager_settings_form.h"
#include "settings/option_form_group.h"
#include "settings/option_forms.h"

namespace tlm::test {
namespace {

// Each panel in its shell: what the store holds is shown, a save writes it to tGeneralSettings, and a
// refused save writes nothing. The values' rules and both engines are the option settings tests'.
class OptionPanelTest : public DomainDbTest {
  protected:
    void SetUp() override {
        DomainDbTest::SetUp();
        if (IsSkipped())
            return;
        SetManagerSettingsDriver([](frmManagerSettings& form) {
            ADD_FAILURE() << "unexpected settings window: " << form.windowTitle().toStdString();
        });
    }
    void TearDown() override {
        form_.reset();
        SetManagerSettingsDriver({});
        DomainDbTest::TearDown();
    }

    // The section's window, loaded and shown, as the modal runner shows it.
    frmManagerSettings& OpenSection(qint32 section) {
        form_ = std::make_unique<frmManagerSettings>();
        Process().lngCurrentSection = section;
        form_->Load();
        form_->show();
        EXPECT_TRUE(form_->currentItem()) << "no panel for section " << section;
        return *form_;
    }
    template <typename W>
    W* Child(const QString& name) {
        W* w = form_->findChild<W*>(name);
        EXPECT_TRUE(w) << "no control " << name.toStdString();
        return w;
    }
    QCheckBox* Box(const QString& name) { return Child<QCheckBox>(name); }
    QLineEdit* Edit(const QString& name) { return Child<QLineEdit>(name); }
    // A control by the prefix of its name: a tick is "1" or "0", an option group its index, an edit its text.
    void Set(const QString& name, const QString& value) {
        if (name.startsWith(QStringLiteral("chk")))
            Box(name)->setChecked(value == QStringLiteral("1"));
        else if (name.startsWith(QStringLiteral("opt")))
            Child<QRadioButton>(name + value)->click();
        else
            Edit(name)->setText(value);
    }
    QString Value(const QString& name) {
        if (name.startsWith(QStringLiteral("chk")))
            return Box(name)->isChecked() ? QStringLiteral("1") : QStringLiteral("0");
        if (name.startsWith(QStringLiteral("opt")))
            return QString::number(Child<OptionGroup>(name)->index());
        return Edit(name)->text();
    }

    // The value of a key as the table holds it, trimmed; empty when there is no row.
    QString Row(const QString& key) {
        const QStringList v =
            Column(QStringLiteral("SELECT KeyVal FROM tGeneralSettings WHERE KeyID = '") + key + u'\'');
        return v.isEmpty() ? QString() : v.first().trimmed();
    }
    int RowCount() { return Count(QStringLiteral("tGeneralSettings")); }
    // A fresh store from the database, as the next process would see it.
    void Restart() {
        form_.reset();
        Reload();
    }
    bool AdminIs(const QString& name) {
        return Column(QStringLiteral("SELECT Name FROM tMembers WHERE AdminAccess <> 0")) ==
               QStringList{name};
    }

    std::unique_ptr<frmManagerSettings> form_;
};

// One control of a panel: what is put in, the key it saves and what the table then holds (which is also
// what the control shows after a restart). Set in order: a control some tick enables comes after it.
struct Wire {
    qint32 section;
    const char *control, *input, *key, *stored;
};
const Wire kWires[] = {
    {9, "txtTaskTitle", "Phase", "tpoActivityTitle", "Phase"},
    {9, "txtCustomFields1", "Rate", "tpoTitleCustomField1", "Rate"},
    {9, "txtCustomFields2", "rate", "tpoTitleCustomField2", "rate"},  // letter case makes two titles
    {9, "chkAvailable3", "0", "tpoActiveCustomField3", "0"},
    {9, "chkCustomFields10", "1", "tpoMandatoryCustomField10", "1"},
    {9, "chkCustomizable4", "1", "tpoCustomizableCustomField4", "1"},
    {9, "chkMandatoryTask", "1", "tpoMandatoryActivity", "1"},
    {9, "chkAllowMemberToChooseProjectsTasks", "0", "tpoProjectActivityCustomizable", "0"},
    {18, "optRateFrom", "2", "tpoUseRateFrom", "2"},
    {18, "chkAllowMemberToChangeRate", "1", "tpoAllowMemberToChangeRate", "1"},
    {18, "optRateInterval", "1", "tpoRateIntervalMode", "1"},
    {18, "txtHours", " 8 ", "tpoRateIntervalCustomValue", "8"},
    {18, "optTaskWork", "1", "tpoWorkFieldToUseForTaskItem", "1"},
    {18, "chkUpdateAppointmentEndDateWith", "1", "tpoUpdateAppointmentEndDateWith", "1"},
    {18, "optWhichEndDate", "1", "tpoAppointmentWhichEndDate", "1"},
    {18, "chkPromptMeOnClickingNotifyButton", "1", "tpoAllowSelectionOfMembersToReport", "1"},
    {25, "chkPreventPostingItemLessThan", "1", "tpoPreventWorkTimeLessThan", "1"},
    {25, "txtMinimumPostingWorkTime", "15", "tpoMinimumWorkTimeRequired", "15"},
    {25, "txtWorkingHoursMonth", "160", "tpoTotalWorkHoursMonth", "160"},
    {25, "chkCopyReportedTaskItemTo", "1", "tpoCopyReportedTaskToRepository", "1"},
    {25, "chkAllowMembersToWithdrawReportedData", "1", "tpoAllowWithdrawalOfReport", "1"},
    {25, "chkPreventPostingItemWithExpiredTask", "1", "tpoPreventPostingWithExpiredActivities", "1"},
    // The copy folders are paths of the members' clients: one that does not exist here is kept.
    {25, "chkCopyReportedAppointmentItemTo", "1", "tpoCopyReportedAppointmentToRepository", "1"},
    {25, "txtRepositoryAppointmentPublicFolder", "smb://server/share/reported",
     "tpoAppointmentRepositoryFolder", "smb://server/share/reported"},
    {0, "chkTaskItem", "0", "tpoAllowTaskItem", "0"},
    {0, "chkAllowMemberToAddProject", "1", "tpoAllowMemberAddProject", "1"},
    {24, "chkRequiresManagerialApproval", "1", "tpoRequiresManagerApproval", "1"},
    {24, "chkDisplayApprovedEmail", "1", "tpoAuditDisplayApprovedEmail", "1"},
    {24, "chkRemoveDeclinedDataFromDB", "1", "tpoAuditRemoveDeclinedDataFromDB", "1"},
    // A share the clients read, unreachable from here: saved as typed, nothing asked.
    {19, "chkAllowUpgradeFromNetworkPath", "1", "tpoAllowAutoUpgrade", "1"},
    {19, "txtUNCPath", "\\\\server\\tally share\\upgrade", "tpoUpgradeFoderPath",
     "\\\\server\\tally share\\upgrade"},
    {19, "chkAutomaticCheckForUpgradeAtStartup", "1", "tpoAutoCheckForNewVersionAtStartup", "1"},
    {19, "optInstallMode", "1", "tpoInstallModeOfUpgrade", "1"},
};
const qint32 kSections[] = {9, 18, 25, 0, 24, 19};
QList<Wire> WiresOf(qint32 section) {
    QList<Wire> out;
    for (const Wire& w : kWires)
        if (w.section == section)
            out.append(w);
    return out;
}

TEST_P(OptionPanelTest, EachControlSavesItsKeyAndShowsItAfterARestart) {
    Exec(QStringLiteral(
        "INSERT INTO tMembers (Name, Email, Department, Rate, AdminAccess) VALUES ('Kim', '', '', 0, 1)"));
    global->GeneralSettings.SetValue(QStringLiteral("tpoActiveCustomField3"), QStringLiteral("1"));
    global->SaveGlobalSettings(5);
    Restart();
    for (qint32 section : kSections) {
        SCOPED_TRACE(section);
        OpenSection(section);
        for (const Wire& w : WiresOf(section))
            Set(QString::fromLatin1(w.control), QString::fromLatin1(w.input));
        ASSERT_TRUE(form_->Save()) << PromptTexts().join(u'\n').toStdString();
        EXPECT_TRUE(form_->saved());
        EXPECT_FALSE(form_->isVisible());
        for (const Wire& w : WiresOf(section))
            EXPECT_EQ(Row(QString::fromLatin1(w.key)), QString::fromLatin1(w.stored)) << w.control;
    }
    EXPECT_TRUE(PromptTexts().isEmpty()) << PromptTexts().join(u'\n').toStdString();
    // The titles and switches reach the local settings the client reads.
    cMySettings local;
    local.ReadSettings();
    EXPECT_EQ(local.ActivityTitle, QStringLiteral("Phase"));
    EXPECT_EQ(local.CustomFieldName[1], QStringLiteral("rate"));
    EXPECT_EQ(local.flag(QStringLiteral("AllowTaskItems")), 0);
    EXPECT_EQ(local.flag(QStringLiteral("AllowAppointmentItems")), 1);
    EXPECT_EQ(local.flag(QStringLiteral("AllowManagerReview")), 1);

    Restart();
    for (qint32 section : kSections) {
        OpenSection(section);
        for (const Wire& w : WiresOf(section))
            EXPECT_EQ(Value(QString::fromLatin1(w.control)), QString::fromLatin1(w.stored)) << w.control;
    }
}

TEST_P(OptionPanelTest, RefusedSavesSayWhyKeepTheWindowAndWriteNothing) {
    const struct {
        qint32 section;
        const char* set[4];  // two controls and their values
        const char* says;
    } cases[] = {
        {9,
         {"txtCustomFields1", "Rate", "txtCustomFields2", "Rate"},
         "'Rate' is already been used for other field!"},
        {18, {"optRateInterval", "1", "txtHours", "eight"}, "is not a whole number of hours from 1 to 32767"},
        {25,
         {"chkPreventPostingItemLessThan", "1", "txtMinimumPostingWorkTime", "1x"},
         "The minimum work time '1x'"},
        {25, {"txtWorkingHoursMonth", "800", "txtWorkingHoursMonth", "800"}, "per month '800'"},
    };
    const int rows = RowCount();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.says);
        OpenSection(c.section);
        Set(QString::fromLatin1(c.set[0]), QString::fromLatin1(c.set[1]));
        Set(QString::fromLatin1(c.set[2]), QString::fromLatin1(c.set[3]));
        prompter.clear();
        EXPECT_FALSE(form_->Save());
        ASSERT_EQ(PromptTexts().size(), 1);
        EXPECT_TRUE(PromptTexts()[0].contains(QString::fromLatin1(c.says))) << PromptTexts()[0].toStdString();
        EXPECT_TRUE(form_->isVisible());
        EXPECT_FALSE(form_->saved());
    }
    EXPECT_EQ(RowCount(), rows);
    EXPECT_EQ(Row(QStringLiteral("tpoTitleCustomField1")), QStringLiteral("Custom Field 1"));
    EXPECT_EQ(Row(QStringLiteral("tpoRateIntervalMode")), QString());
}

TEST_P(OptionPanelTest, AccessControlNeedsOneAdministratorAndSavesTheMembers) {
    Exec(QStringLiteral(
        "INSERT INTO tMembers (Name, Email, Department, Rate, AdminAccess) VALUES ('Kim', '', '', 0, 1)"));
    Restart();
    OpenSection(0);
    auto* allowed = Child<QListWidget>(QStringLiteral("lstAllowed"));
    auto* notAllowed = Child<QListWidget>(QStringLiteral("lstNotAllowed"));
    ASSERT_EQ(allowed->count(), 1);

    // Everyone moved out: refused, and nothing written.
    allowed->setCurrentRow(0);
    Child<QPushButton>(QStringLiteral("cmdRemoveTechnician"))->click();
    EXPECT_FALSE(form_->Save());
    EXPECT_EQ(
        PromptTexts(),
        QStringList{QStringLiteral("You need to add at least one member to the allowed list to continue!")});
    EXPECT_TRUE(form_->isVisible());
    EXPECT_TRUE(AdminIs(QStringLiteral("Kim")));

    notAllowed->setCurrentItem(notAllowed->findItems(QStringLiteral("Robin"), Qt::MatchExactly).value(0));
    Child<QPushButton>(QStringLiteral("cmdAddTechnician"))->click();
    EXPECT_TRUE(form_->Save());
    EXPECT_TRUE(AdminIs(QStringLiteral("Robin")));
}

TEST_P(OptionPanelTest, ApprovalSwitchStandsOnTwoPanelsAndTheLastSaveWins) {
    const QString approved = QStringLiteral("chkSendAutoNotificationToMemberWhenApproved");
    OpenSection(24);
    Box(QStringLiteral("chkRequiresManagerialApproval"))->setChecked(true);
    Box(approved)->setChecked(true);
    EXPECT_TRUE(form_->Save());

    // The notification panel shows the switch, and its save turns it off again.
    Restart();
    OpenSection(8);
    EXPECT_TRUE(Box(approved)->isChecked());
    Box(approved)->setChecked(false);
    Box(QStringLiteral("chkNotifyCoordinatorWhenNewTaskAssigned"))->setChecked(true);
    EXPECT_TRUE(form_->Save());

    Restart();
    EXPECT_FALSE(global->MessageTemplates.IsChecked(QStringLiteral("tpoNotifyMemberWhenApproved")));
    EXPECT_TRUE(
        global->MessageTemplates.IsChecked(QStringLiteral("tpoNotifyCoordintorWhenAssignedActivity")));
}

// The panels only carry values; the rules and the SQL of both engines are the option settings tests'.
INSTANTIATE_TEST_SUITE_P(Engines, OptionPanelTest, ::testing::Values(Engine::SQLite), EngineName);

}  // namespace
}  // namespace tlm::test
