#pragma once

#include <QString>

#include "settings/access_control_form.h"
#include "settings/advanced_options_form.h"
#include "settings/audit_options_form.h"
#include "settings/automatic_upgrade_form.h"
#include "settings/fields_option_form.h"
#include "settings/notification_options_form.h"
#include "settings/reporting_options_form.h"

namespace tlm {

// A panel of the section table by its control name, or nullptr when this program has none.
SettingsPanel* CreateOptionPanel(const QString& panelName, QWidget* parent);

}  // namespace tlm
