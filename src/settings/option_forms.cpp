#include "settings/option_forms.h"

namespace tlm {

SettingsPanel* CreateOptionPanel(const QString& name, QWidget* parent) {
    if (name == QLatin1String("ucAccessControl"))
        return new ucAccessControl(parent);
    if (name == QLatin1String("ucNotificationOptions"))
        return new ucNotificationOptions(parent);
    if (name == QLatin1String("ucFieldsOption"))
        return new ucFieldsOption(parent);
    if (name == QLatin1String("ucAdvancedOptions"))
        return new ucAdvancedOptions(parent);
    if (name == QLatin1String("ucAutomaticUpgrade"))
        return new ucAutomaticUpgrade(parent);
    if (name == QLatin1String("ucAuditOptions"))
        return new ucAuditOptions(parent);
    if (name == QLatin1String("ucReportingOptions"))
        return new ucReportingOptions(parent);
    return nullptr;
}

}  // namespace tlm
