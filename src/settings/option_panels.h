#pragma once

#include <QString>

#include "settings/access_control_panel.h"
#include "settings/advanced_options_panel.h"
#include "settings/audit_options_panel.h"
#include "settings/automatic_upgrade_panel.h"
#include "settings/fields_option_panel.h"
#include "settings/notification_options_panel.h"
#include "settings/reporting_options_panel.h"

namespace tlm {

// A panel of the section table by its control name, or nullptr when this program has none.
SettingsPanel* CreateOptionPanel(const QString& panelName, QWidget* parent);

}  // namespace tlm
