#pragma once

#include <QList>
#include <QString>

#include "settings/settings_panel_form.h"

class QCheckBox;

namespace tlm {

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

}  // namespace tlm
