#pragma once

#include <QList>
#include <QString>

#include "settings/settings_panel_form.h"

class QCheckBox;
class QGroupBox;

namespace tlm {

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

}  // namespace tlm
