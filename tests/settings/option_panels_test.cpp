#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>

#include "core/process_state.h"
#include "desktop/gui_dialogs.h"
#include "domain/domain_test_fixture.h"
#include "settings/manager_settings_form.h"
#include "settings/option_panels.h"

namespace tlm::test {
namespace {

// Key strokes as the keyboard sends them.
void Type(QWidget* w, const QString& text) {
    for (const QChar c : text) {
        QKeyEvent press(QEvent::KeyPress, int(c.toUpper().unicode()), Qt::NoModifier, QString(c));
        QApplication::sendEvent(w, &press);
    }
}
void Backspace(QWidget* w) {
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Backspace, Qt::NoModifier, QStringLiteral("\b"));
    QApplication::sendEvent(w, &press);
}

// Each panel in its shell, on every engine: what the store holds is shown, a save writes it to
// tGeneralSettings, and a refused save writes nothing.
class OptionPanelTest : public DomainDbTest {
  protected:
    void SetUp() override {
        DomainDbTest::SetUp();
        if (IsSkipped())
            return;
        DialogScript::clear();
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
    void Choose(const QString& group, int index) {
        Child<QRadioButton>(group + QString::number(index))->click();
    }
    bool Chosen(const QString& group, int index) {
        return Child<QRadioButton>(group + QString::number(index))->isChecked();
    }
    bool Save() { return form_->Save(); }

    // The value of a key as the table holds it, trimmed; empty when there is no row.
    QString Row(const QString& key) {
        const QStringList v =
            Column(QStringLiteral("SELECT KeyVal FROM tGeneralSettings WHERE KeyID = '") + key + u'\'');
        return v.isEmpty() ? QString() : v.first().trimmed();
    }
    int RowCount() { return Count(QStringLiteral("tGeneralSettings")); }
    QString Store(const QString& key) {
        return global->GeneralSettings.GetValue(key, cGeneralSettings::kText).toString().trimmed();
    }
    void Put(const QString& key, const QString& value) {
        global->GeneralSettings.SetValue(key, value);
        global->SaveGlobalSettings(5);
    }
    // A fresh store from the database, as the next process would see it.
    void Restart() {
        form_.reset();
        Reload();
    }
    QStringList Shown() const {
        QStringList out;
        for (const auto& s : prompter.shown())
            out.append(s.text);
        return out;
    }

    std::unique_ptr<frmManagerSettings> form_;
};

TEST_P(OptionPanelTest, FieldsOptionLoadsSavesAndRefusesDuplicateTitles) {
    Put(QStringLiteral("tpoActivityTitle"), QString());
    Put(QStringLiteral("tpoActiveCustomField3"), QStringLiteral("1"));
    Put(QStringLiteral("tpoTitleCustomField9"), QStringLiteral(" "));
    OpenSection(9);
    EXPECT_EQ(Edit(QStringLiteral("txtProjectTitle"))->text(), QStringLiteral("Project"));
    EXPECT_EQ(Edit(QStringLiteral("txtTaskTitle"))->text(),
              QStringLiteral("Task"));  // not the store's "Activity"
    EXPECT_EQ(Edit(QStringLiteral("txtCustomFields9"))->text(), QStringLiteral("Custom Field 9"));
    EXPECT_TRUE(Box(QStringLiteral("chkAvailable3"))->isChecked());
    EXPECT_TRUE(Box(QStringLiteral("chkAllowMemberToChooseProjectsTasks"))->isChecked());

    // A duplicate title is refused with the reason; the rules themselves are the engine check's.
    const int rows = RowCount();
    Edit(QStringLiteral("txtCustomFields1"))->setText(QStringLiteral("Rate"));
    Edit(QStringLiteral("txtCustomFields2"))->setText(QStringLiteral("Rate"));
    EXPECT_FALSE(Save());
    ASSERT_EQ(Shown().size(), 1);
    EXPECT_EQ(Shown()[0],
              QStringLiteral("'Rate' is already been used for other field!\nPlease specify a unique "
                             "title name, or leave it empty to use the default title."));
    EXPECT_EQ(prompter.shown()[0].icon, PromptIcon::Critical);
    EXPECT_TRUE(form_->isVisible());
    EXPECT_EQ(Row(QStringLiteral("tpoTitleCustomField1")), QStringLiteral("Custom Field 1"));
    EXPECT_EQ(RowCount(), rows);

    Edit(QStringLiteral("txtCustomFields2"))->setText(QStringLiteral("rate"));
    Edit(QStringLiteral("txtProjectTitle"))->setText(QString());
    Edit(QStringLiteral("txtTaskTitle"))->setText(QStringLiteral("Phase"));
    Edit(QStringLiteral("txtCustomFields3"))->setText(QString());
    Edit(QStringLiteral("txtCustomFields4"))->setText(QString());
    Box(QStringLiteral("chkAvailable3"))->setChecked(false);
    Box(QStringLiteral("chkCustomFields10"))->setChecked(true);
    Box(QStringLiteral("chkCustomizable4"))->setChecked(true);
    Box(QStringLiteral("chkMandatoryTask"))->setChecked(true);
    Box(QStringLiteral("chkAllowMemberToChooseProjectsTasks"))->setChecked(false);
    prompter.clear();
    EXPECT_TRUE(Save()) << Shown().join(u'\n').toStdString();
    EXPECT_TRUE(form_->saved());
    EXPECT_EQ(Row(QStringLiteral("tpoActivityTitle")), QStringLiteral("Phase"));
    EXPECT_EQ(Row(QStringLiteral("tpoTitleCustomField2")), QStringLiteral("rate"));
    EXPECT_EQ(Row(QStringLiteral("tpoActiveCustomField3")), QStringLiteral("0"));
    EXPECT_EQ(Row(QStringLiteral("tpoMandatoryCustomField10")), QStringLiteral("1"));
    EXPECT_EQ(Row(QStringLiteral("tpoCustomizableCustomField4")), QStringLiteral("1"));
    EXPECT_EQ(Row(QStringLiteral("tpoMandatoryActivity")), QStringLiteral("1"));
    EXPECT_EQ(Row(QStringLiteral("tpoProjectActivityCustomizable")), QStringLiteral("0"));
    // The titles reach the local settings the client reads.
    cMySettings local;
    local.ReadSettings();
    EXPECT_EQ(local.ActivityTitle, QStringLiteral("Phase"));
    EXPECT_EQ(local.CustomFieldName[1], QStringLiteral("rate"));

    Restart();
    OpenSection(9);
    EXPECT_EQ(Edit(QStringLiteral("txtTaskTitle"))->text(), QStringLiteral("Phase"));
    EXPECT_EQ(Edit(QStringLiteral("txtCustomFields1"))->text(), QStringLiteral("Rate"));
    EXPECT_FALSE(Box(QStringLiteral("chkAvailable3"))->isChecked());
    EXPECT_TRUE(Box(QStringLiteral("chkCustomizable4"))->isChecked());
}

TEST_P(OptionPanelTest, AdvancedOptionsFollowTheRateRuleAndRefuseBadHours) {
    OpenSection(18);
    EXPECT_TRUE(Chosen(QStringLiteral("optRateFrom"), 0));
    EXPECT_TRUE(Box(QStringLiteral("chkReportEditable"))->isChecked());  // built in
    EXPECT_FALSE(Box(QStringLiteral("chkAllowMemberToChangeRate"))->isEnabled());
    EXPECT_FALSE(Child<QWidget>(QStringLiteral("optWhichEndDate"))->isEnabled());
    Box(QStringLiteral("chkUpdateAppointmentEndDateWith"))->setChecked(true);
    EXPECT_TRUE(Child<QWidget>(QStringLiteral("optWhichEndDate"))->isEnabled());

    // A ticked rate box counts only when the rate comes from the member.
    Choose(QStringLiteral("optRateFrom"), 2);
    Box(QStringLiteral("chkAllowMemberToChangeRate"))->setChecked(true);
    Choose(QStringLiteral("optRateFrom"), 0);
    Choose(QStringLiteral("optRateInterval"), 1);
    const int rows = RowCount();
    Edit(QStringLiteral("txtHours"))->setText(QStringLiteral("eight"));
    EXPECT_FALSE(Save());
    ASSERT_EQ(Shown().size(), 1);
    EXPECT_TRUE(Shown()[0].contains(QStringLiteral("is not a whole number of hours from 1 to 32767")));
    EXPECT_TRUE(form_->isVisible());
    EXPECT_EQ(RowCount(), rows);
    EXPECT_EQ(Row(QStringLiteral("tpoRateIntervalMode")), QString());

    Edit(QStringLiteral("txtHours"))->setText(QStringLiteral(" 8 "));
    Choose(QStringLiteral("optTaskWork"), 1);
    Choose(QStringLiteral("optWhichEndDate"), 1);
    Box(QStringLiteral("chkPromptMeOnClickingNotifyButton"))->setChecked(true);
    EXPECT_TRUE(Save());
    EXPECT_EQ(Row(QStringLiteral("tpoUseRateFrom")), QStringLiteral("0"));
    EXPECT_EQ(Row(QStringLiteral("tpoAllowMemberToChangeRate")), QStringLiteral("0"));
    EXPECT_EQ(Row(QStringLiteral("tpoRateIntervalMode")), QStringLiteral("1"));
    EXPECT_EQ(Row(QStringLiteral("tpoRateIntervalCustomValue")), QStringLiteral("8"));
    EXPECT_EQ(Row(QStringLiteral("tpoWorkFieldToUseForTaskItem")), QStringLiteral("1"));
    EXPECT_EQ(Row(QStringLiteral("tpoUpdateAppointmentEndDateWith")), QStringLiteral("1"));
    EXPECT_EQ(Row(QStringLiteral("tpoAppointmentWhichEndDate")), QStringLiteral("1"));
    EXPECT_EQ(Row(QStringLiteral("tpoAllowSelectionOfMembersToReport")), QStringLiteral("1"));

    Restart();
    OpenSection(18);
    EXPECT_TRUE(Chosen(QStringLiteral("optRateInterval"), 1));
    EXPECT_EQ(Edit(QStringLiteral("txtHours"))->text(), QStringLiteral("8"));
    EXPECT_TRUE(Chosen(QStringLiteral("optWhichEndDate"), 1));
    EXPECT_TRUE(Child<QWidget>(QStringLiteral("optWhichEndDate"))->isEnabled());
    Choose(QStringLiteral("optRateFrom"), 2);
    Box(QStringLiteral("chkAllowMemberToChangeRate"))->setChecked(true);
    EXPECT_TRUE(Save());
    EXPECT_EQ(Row(QStringLiteral("tpoAllowMemberToChangeRate")), QStringLiteral("1"));
}

TEST_P(OptionPanelTest, ReportingOptionsFilterKeysAndCheckNumbersAndFolders) {
    Put(QStringLiteral("tpoMinimumWorkTimeRequired"), QString());  // reads back as one blank
    OpenSection(25);
    QLineEdit* minutes = Edit(QStringLiteral("txtMinimumPostingWorkTime"));
    EXPECT_EQ(minutes->text(), QString());
    EXPECT_FALSE(minutes->isEnabled());
    EXPECT_FALSE(Edit(QStringLiteral("txtRepositoryTaskPublicFolder"))->isEnabled());
    Box(QStringLiteral("chkPreventPostingItemLessThan"))->setChecked(true);
    ASSERT_TRUE(minutes->isEnabled());

    // Typed keys: only digits and backspace get through; pasted text stays and is judged at the save.
    Type(minutes, QStringLiteral("1a-5 "));
    EXPECT_EQ(minutes->text(), QStringLiteral("15"));
    Backspace(minutes);
    EXPECT_EQ(minutes->text(), QStringLiteral("1"));
    minutes->insert(QStringLiteral("x"));
    EXPECT_EQ(minutes->text(), QStringLiteral("1x"));

    const int rows = RowCount();
    const struct {
        QString minutes, hours, folder;
        QString says;
    } cases[] = {
        {QStringLiteral("1x"), QString(), QString(), QStringLiteral("The minimum work time '1x'")},
        {QStringLiteral("15"), QStringLiteral("800"), QString(), QStringLiteral("per month '800'")},
    };
    Box(QStringLiteral("chkCopyReportedTaskItemTo"))->setChecked(true);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.says.toStdString());
        minutes->setText(c.minutes);
        Edit(QStringLiteral("txtWorkingHoursMonth"))->setText(c.hours);
        Edit(QStringLiteral("txtRepositoryTaskPublicFolder"))->setText(c.folder);
        prompter.clear();
        EXPECT_FALSE(Save());
        ASSERT_EQ(Shown().size(), 1);
        EXPECT_TRUE(Shown()[0].contains(c.says)) << Shown()[0].toStdString();
    }
    EXPECT_TRUE(form_->isVisible());
    EXPECT_EQ(RowCount(), rows);

    minutes->setText(QStringLiteral("15"));
    Edit(QStringLiteral("txtWorkingHoursMonth"))->setText(QStringLiteral("160"));
    DialogScript::queueFolder(dir);
    Child<QPushButton>(QStringLiteral("cmdRepositoryTaskPublicFolder"))->click();
    EXPECT_EQ(Edit(QStringLiteral("txtRepositoryTaskPublicFolder"))->text(), dir);
    Box(QStringLiteral("chkAllowMembersToWithdrawReportedData"))->setChecked(true);
    Box(QStringLiteral("chkPreventPostingItemWithExpiredTask"))->setChecked(true);
    EXPECT_TRUE(Save());
    EXPECT_EQ(Row(QStringLiteral("tpoPreventWorkTimeLessThan")), QStringLiteral("1"));
    EXPECT_EQ(Row(QStringLiteral("tpoMinimumWorkTimeRequired")), QStringLiteral("15"));
    EXPECT_EQ(Row(QStringLiteral("tpoTotalWorkHoursMonth")), QStringLiteral("160"));
    EXPECT_EQ(Row(QStringLiteral("tpoCopyReportedTaskToRepository")), QStringLiteral("1"));
    EXPECT_EQ(Row(QStringLiteral("tpoTaskRepositoryFolder")), dir);
    EXPECT_EQ(Row(QStringLiteral("tpoAllowWithdrawalOfReport")), QStringLiteral("1"));
    EXPECT_EQ(Row(QStringLiteral("tpoPreventPostingWithExpiredActivities")), QStringLiteral("1"));
    EXPECT_EQ(Row(QStringLiteral("tpoAllowUpdatedToReportedData")), QStringLiteral("0"));

    Restart();
    OpenSection(25);
    EXPECT_EQ(Edit(QStringLiteral("txtMinimumPostingWorkTime"))->text(), QStringLiteral("15"));
    EXPECT_TRUE(Edit(QStringLiteral("txtRepositoryTaskPublicFolder"))->isEnabled());
    EXPECT_TRUE(Box(QStringLiteral("chkAllowMembersToWithdrawReportedData"))->isChecked());
}

// The copy folders are paths of the members' clients: one that does not exist here is kept.
TEST_P(OptionPanelTest, ReportingOptionsKeepTheClientsFolderAsTyped) {
    OpenSection(25);
    Edit(QStringLiteral("txtMinimumPostingWorkTime"))->setText(QStringLiteral("15"));
    Box(QStringLiteral("chkCopyReportedAppointmentItemTo"))->setChecked(true);
    const QString folder = QStringLiteral("smb://server/share/reported");
    Edit(QStringLiteral("txtRepositoryAppointmentPublicFolder"))->setText(folder);
    EXPECT_TRUE(Save());
    EXPECT_TRUE(Shown().isEmpty());
    EXPECT_EQ(Row(QStringLiteral("tpoCopyReportedAppointmentToRepository")), QStringLiteral("1"));
    EXPECT_EQ(Row(QStringLiteral("tpoAppointmentRepositoryFolder")), folder);
}

TEST_P(OptionPanelTest, AccessControlNeedsOneAdministratorAndSavesMembersAndKeys) {
    Exec(QStringLiteral(
        "INSERT INTO tMembers (Name, Email, Department, Rate, AdminAccess) VALUES ('Kim', '', '', 0, 1)"));
    Restart();
    OpenSection(0);
    auto* allowed = Child<QListWidget>(QStringLiteral("lstAllowed"));
    auto* notAllowed = Child<QListWidget>(QStringLiteral("lstNotAllowed"));
    ASSERT_EQ(allowed->count(), 1);
    EXPECT_EQ(allowed->item(0)->text(), QStringLiteral("Kim"));
    ASSERT_EQ(notAllowed->count(), 1);
    EXPECT_EQ(notAllowed->item(0)->text(), QStringLiteral("Robin"));
    EXPECT_TRUE(Box(QStringLiteral("chkTaskItem"))->isChecked());

    // Everyone moved out: refused, and nothing written.
    allowed->setCurrentRow(0);
    Child<QPushButton>(QStringLiteral("cmdRemoveTechnician"))->click();
    EXPECT_EQ(allowed->count(), 0);
    Box(QStringLiteral("chkTaskItem"))->setChecked(false);
    EXPECT_FALSE(Save());
    EXPECT_EQ(
        Shown(),
        QStringList{QStringLiteral("You need to add at least one member to the allowed list to continue!")});
    EXPECT_TRUE(form_->isVisible());
    EXPECT_EQ(Row(QStringLiteral("tpoAllowTaskItem")), QStringLiteral("1"));
    EXPECT_EQ(Column(QStringLiteral("SELECT Name FROM tMembers WHERE AdminAccess <> 0")), QStringList{"Kim"});

    const auto robin = notAllowed->findItems(QStringLiteral("Robin"), Qt::MatchExactly);
    ASSERT_EQ(robin.size(), 1);
    notAllowed->setCurrentItem(robin[0]);
    Child<QPushButton>(QStringLiteral("cmdAddTechnician"))->click();
    Box(QStringLiteral("chkAllowMemberToAddProject"))->setChecked(true);
    EXPECT_TRUE(Save());
    EXPECT_EQ(Column(QStringLiteral("SELECT Name FROM tMembers WHERE AdminAccess <> 0")),
              QStringList{"Robin"});
    EXPECT_EQ(Row(QStringLiteral("tpoAllowTaskItem")), QStringLiteral("0"));
    EXPECT_EQ(Row(QStringLiteral("tpoAllowMemberAddProject")), QStringLiteral("1"));
    cMySettings local;
    local.ReadSettings();
    EXPECT_EQ(local.flag(QStringLiteral("AllowTaskItems")), 0);
    EXPECT_EQ(local.flag(QStringLiteral("AllowAppointmentItems")), 1);

    Restart();
    OpenSection(0);
    EXPECT_EQ(Child<QListWidget>(QStringLiteral("lstAllowed"))->item(0)->text(), QStringLiteral("Robin"));
    EXPECT_FALSE(Box(QStringLiteral("chkTaskItem"))->isChecked());
}

TEST_P(OptionPanelTest, ApprovalSwitchesStandOnTwoPanelsAndTheLastSaveWins) {
    OpenSection(24);
    EXPECT_EQ(Box(QStringLiteral("chkEnableEditingProjectTask"))->text(),
              QStringLiteral("Enable editing values of Project/Activity"));
    EXPECT_FALSE(Box(QStringLiteral("chkEnableEditingOfCost"))->isEnabled());
    Box(QStringLiteral("chkRequiresManagerialApproval"))->setChecked(true);
    EXPECT_TRUE(Box(QStringLiteral("chkEnableEditingOfCost"))->isEnabled());
    EXPECT_FALSE(Box(QStringLiteral("chkDisplayApprovedEmail"))->isEnabled());
    Box(QStringLiteral("chkSendAutoNotificationToMemberWhenApproved"))->setChecked(true);
    EXPECT_TRUE(Box(QStringLiteral("chkDisplayApprovedEmail"))->isEnabled());
    Box(QStringLiteral("chkDisplayApprovedEmail"))->setChecked(true);
    Box(QStringLiteral("chkRemoveDeclinedDataFromDB"))->setChecked(true);
    EXPECT_TRUE(Save());
    EXPECT_EQ(Row(QStringLiteral("tpoRequiresManagerApproval")), QStringLiteral("1"));
    EXPECT_EQ(Row(QStringLiteral("tpoAuditDisplayApprovedEmail")), QStringLiteral("1"));
    EXPECT_EQ(Row(QStringLiteral("tpoAuditRemoveDeclinedDataFromDB")), QStringLiteral("1"));
    EXPECT_EQ(Column(QStringLiteral("SELECT Enabled FROM tNotificationTemplates WHERE NotificationName = "
                                    "'tpoNotifyMemberWhenApproved'"))
                  .value(0)
                  .toInt(),
              1);
    cMySettings local;
    local.ReadSettings();
    EXPECT_EQ(local.flag(QStringLiteral("AllowManagerReview")), 1);

    // The notification panel shows the switch, and its save turns it off again.
    Restart();
    OpenSection(8);
    QCheckBox* approved = Box(QStringLiteral("chkSendAutoNotificationToMemberWhenApproved"));
    EXPECT_TRUE(approved->isChecked());
    EXPECT_EQ(approved->text(), QStringLiteral("Email Member when timesheet is approved"));
    approved->setChecked(false);
    Box(QStringLiteral("chkNotifyCoordinatorWhenNewTaskAssigned"))->setChecked(true);
    EXPECT_TRUE(Save());

    Restart();
    EXPECT_FALSE(global->MessageTemplates.IsChecked(QStringLiteral("tpoNotifyMemberWhenApproved")));
    EXPECT_TRUE(
        global->MessageTemplates.IsChecked(QStringLiteral("tpoNotifyCoordintorWhenAssignedActivity")));
    OpenSection(24);
    EXPECT_FALSE(Box(QStringLiteral("chkSendAutoNotificationToMemberWhenApproved"))->isChecked());
    EXPECT_TRUE(Box(QStringLiteral("chkRequiresManagerialApproval"))->isChecked());
    EXPECT_FALSE(Box(QStringLiteral("chkDisplayApprovedEmail"))->isEnabled());
}

TEST_P(OptionPanelTest, UpgradeOptionsEnableTheirControlsAndKeepTheNetworkPathAsTyped) {
    OpenSection(19);
    EXPECT_FALSE(Edit(QStringLiteral("txtUNCPath"))->isEnabled());
    Box(QStringLiteral("chkAllowUpgradeFromNetworkPath"))->setChecked(true);
    EXPECT_TRUE(Edit(QStringLiteral("txtUNCPath"))->isEnabled());
    EXPECT_FALSE(Child<QWidget>(QStringLiteral("optInstallMode"))->isEnabled());
    Box(QStringLiteral("chkAutomaticCheckForUpgradeAtStartup"))->setChecked(true);
    EXPECT_TRUE(Child<QWidget>(QStringLiteral("optInstallMode"))->isEnabled());

    // A share the clients read, unreachable from here: saved as typed, nothing asked.
    const QString share = QStringLiteral("\\\\server\\tally share\\upgrade");
    Edit(QStringLiteral("txtUNCPath"))->setText(share);
    Choose(QStringLiteral("optInstallMode"), 1);
    EXPECT_TRUE(Save());
    EXPECT_TRUE(Shown().isEmpty());
    EXPECT_EQ(Row(QStringLiteral("tpoAllowAutoUpgrade")), QStringLiteral("1"));
    EXPECT_EQ(Row(QStringLiteral("tpoUpgradeFoderPath")), share);
    EXPECT_EQ(Row(QStringLiteral("tpoInstallModeOfUpgrade")), QStringLiteral("1"));
    EXPECT_EQ(Row(QStringLiteral("tpoAutoCheckForNewVersionAtStartup")), QStringLiteral("1"));

    Restart();
    OpenSection(19);
    EXPECT_EQ(Edit(QStringLiteral("txtUNCPath"))->text(), share);
    EXPECT_TRUE(Chosen(QStringLiteral("optInstallMode"), 1));
    EXPECT_TRUE(Child<QWidget>(QStringLiteral("optInstallMode"))->isEnabled());
}

INSTANTIATE_TEST_SUITE_P(Engines, OptionPanelTest, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace tlm::test
