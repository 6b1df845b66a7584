#pragma once

#include <QList>
#include <QString>

#include "settings/settings_panel_form.h"

class QCheckBox;
class QListWidget;

namespace tlm {

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

}  // namespace tlm
