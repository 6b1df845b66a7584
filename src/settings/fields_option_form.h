#pragma once

#include <QList>
#include <QString>

#include "settings/settings_panel_form.h"

class QCheckBox;
class QLineEdit;

namespace tlm {

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

}  // namespace tlm
