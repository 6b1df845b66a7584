#pragma once

#include <QList>
#include <QString>

#include "settings/manager_settings_form.h"

class QButtonGroup;
class QCheckBox;
class QGroupBox;
class QLineEdit;
class QListWidget;
class QPushButton;
class QRadioButton;

namespace tlm {

// A row of option buttons whose checked index is the stored value.
class OptionGroup : public QWidget {
    Q_OBJECT
  public:
    OptionGroup(const QString& name, const QString& caption, const QStringList& options, QWidget* parent);
    int index() const;
    void setIndex(int index);
    QRadioButton* option(int index) const;
  signals:
    void changed(int index);

  private:
    QButtonGroup* group_ = nullptr;
    QList<QRadioButton*> options_;
};

// What members may do, and who may administer.
class ucAccessControl : public SettingsPanel {
    Q_OBJECT
  public:
    explicit ucAccessControl(QWidget* parent = nullptr);
    void subGetSettings() override;
    bool SaveGlobalSettings() override;
    // Move the selected member between the lists.
    void cmdAddTechnician();
    void cmdRemoveTechnician();

  private:
    QList<QCheckBox*> checks_;  // in the order of their keys
    QListWidget* lstAllowed_ = nullptr;
    QListWidget* lstNotAllowed_ = nullptr;
};

// Which notification mails go out: one switch per template.
class ucNotificationOptions : public SettingsPanel {
    Q_OBJECT
  public:
    explicit ucNotificationOptions(QWidget* parent = nullptr);
    void subGetSettings() override;
    bool SaveGlobalSettings() override;

  private:
    QList<QCheckBox*> checks_;
};

// The project and activity words and the ten custom fields.
class ucFieldsOption : public SettingsPanel {
    Q_OBJECT
  public:
    explicit ucFieldsOption(QWidget* parent = nullptr);
    void subGetSettings() override;
    bool SaveGlobalSettings() override;

  private:
    QLineEdit* txtProjectTitle_ = nullptr;
    QLineEdit* txtTaskTitle_ = nullptr;
    QCheckBox* chkMandatoryProject_ = nullptr;
    QCheckBox* chkMandatoryTask_ = nullptr;
    QLineEdit* txtCustomFieldsTitle_ = nullptr;
    QCheckBox* chkAvailable_[10] = {};
    QCheckBox* chkCustomFields_[10] = {};
    QLineEdit* txtCustomFields_[10] = {};
    QCheckBox* chkCustomizable_[4] = {};
    QCheckBox* chkAllowMemberToChooseProjectsTasks_ = nullptr;
};

// Cost calculation and the date updates of reported items.
class ucAdvancedOptions : public SettingsPanel {
    Q_OBJECT
  public:
    explicit ucAdvancedOptions(QWidget* parent = nullptr);
    void subGetSettings() override;
    bool SaveGlobalSettings() override;

  private:
    void updateDependents();

    OptionGroup* optRateFrom_ = nullptr;
    QCheckBox* chkAllowMemberToChangeRate_ = nullptr;
    OptionGroup* optTaskWork_ = nullptr;
    OptionGroup* optRateInterval_ = nullptr;
    QLineEdit* txtHours_ = nullptr;
    QCheckBox* chkAllowEditOfEmailToReport_ = nullptr;
    QCheckBox* chkPromptMeOnClickingNotifyButton_ = nullptr;
    QCheckBox* chkReportEditable_ = nullptr;
    QCheckBox* chkUpdateItemStartDateWithProjectStartDate_ = nullptr;
    QCheckBox* chkUpdateAppointmentEndDateWith_ = nullptr;
    OptionGroup* optWhichEndDate_ = nullptr;
    QCheckBox* chkUpdateTaskDueDateWith_ = nullptr;
    OptionGroup* optWhichDueDate_ = nullptr;
};

// Client upgrades from a shared folder.
class ucAutomaticUpgrade : public SettingsPanel {
    Q_OBJECT
  public:
    explicit ucAutomaticUpgrade(QWidget* parent = nullptr);
    void subGetSettings() override;
    bool SaveGlobalSettings() override;
    void EnableAll();

  private:
    QCheckBox* chkAllowUpgradeFromNetworkPath_ = nullptr;
    QLineEdit* txtUNCPath_ = nullptr;
    QPushButton* cmdBrowseUNCPath_ = nullptr;
    QCheckBox* chkAutomaticCheckForUpgradeAtStartup_ = nullptr;
    OptionGroup* optInstallMode_ = nullptr;
    QCheckBox* chkDisplayMessageToMemberOnNewVersionAvailiability_ = nullptr;
};

// How reported timesheets are approved.
class ucAuditOptions : public SettingsPanel {
    Q_OBJECT
  public:
    explicit ucAuditOptions(QWidget* parent = nullptr);
    void subGetSettings() override;
    bool SaveGlobalSettings() override;

  private:
    void updateDependents();

    QCheckBox* chkRequiresManagerialApproval_ = nullptr;
    QCheckBox* chkEnableEditingProjectTask_ = nullptr;
    QCheckBox* chkEnableEditingOfCost_ = nullptr;
    QCheckBox* chkSendAutoNotificationToMemberWhenApproved_ = nullptr;
    QCheckBox* chkDisplayApprovedEmail_ = nullptr;
    QCheckBox* chkSendAutoNotificationToMemberWhenDecline_ = nullptr;
    QCheckBox* chkDisplayDeclinedEmail_ = nullptr;
    QCheckBox* chkRemoveDeclinedDataFromDB_ = nullptr;
    QGroupBox* frameApprovers_ = nullptr;
};

// What members may do with reported items, and where copies go.
class ucReportingOptions : public SettingsPanel {
    Q_OBJECT
  public:
    explicit ucReportingOptions(QWidget* parent = nullptr);
    void subGetSettings() override;
    bool SaveGlobalSettings() override;

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void updateDependents();

    QList<QCheckBox*> flags_;  // the plain flags, in the order of their keys
    QCheckBox* chkPreventPostingItemLessThan_ = nullptr;
    QLineEdit* txtMinimumPostingWorkTime_ = nullptr;
    QLineEdit* txtWorkingHoursMonth_ = nullptr;
    QCheckBox* chkCopyReportedTaskItemTo_ = nullptr;
    QLineEdit* txtRepositoryTaskPublicFolder_ = nullptr;
    QPushButton* cmdRepositoryTaskPublicFolder_ = nullptr;
    QCheckBox* chkCopyReportedAppointmentItemTo_ = nullptr;
    QLineEdit* txtRepositoryAppointmentPublicFolder_ = nullptr;
    QPushButton* cmdRepositoryAppointmentPublicFolder_ = nullptr;
};

// A panel of the section table by its control name, or nullptr when this program has none.
SettingsPanel* CreateOptionPanel(const QString& panelName, QWidget* parent);

}  // namespace tlm
