#pragma once

#include <QList>
#include <QString>

#include "settings/settings_panel_form.h"
#include "settings/option_form_group.h"

class QCheckBox;
class QLineEdit;
class QPushButton;

namespace tlm {

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

}  // namespace tlm
