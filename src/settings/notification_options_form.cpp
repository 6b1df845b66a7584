#include "settings/notification_options_form.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QVBoxLayout>

#include "settings/global_settings.h"
#include "settings/option_form_kit.h"
#include "settings/option_settings.h"

namespace tlm {

using namespace panel_kit;

ucNotificationOptions::ucNotificationOptions(QWidget* parent) : SettingsPanel(parent) {
    setObjectName(QStringLiteral("ucNotificationOptions"));
    auto* layout = new QVBoxLayout(this);
    auto* frame = new QGroupBox(QStringLiteral("Send these e-mail notifications"), this);
    auto* inner = new QVBoxLayout(frame);
    for (int i = 0; i < NotificationSwitchValues::kSwitches; ++i)
        checks_.append(Check(frame, inner, NotificationSwitchValues::ControlName(i),
                             NotificationSwitchValues::Caption(DBSettings(), i)));
    layout->addWidget(frame);
    layout->addStretch(1);
}

void ucNotificationOptions::subGetSettings() {
    NotificationSwitchValues v;
    v.Load(DBSettings());
    for (int i = 0; i < checks_.size(); ++i)
        checks_[i]->setChecked(v.on[size_t(i)]);
}

bool ucNotificationOptions::SaveGlobalSettings() {
    if (StoreMissing())
        return false;
    NotificationSwitchValues v;
    for (int i = 0; i < checks_.size(); ++i)
        v.on[size_t(i)] = checks_[i]->isChecked();
    v.Save(*DBSettings());
    return true;
}

}  // namespace tlm
