#include "settings/automatic_upgrade_form.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "desktop/dialogs.h"
#include "settings/global_settings.h"
#include "settings/option_form_kit.h"
#include "settings/option_settings.h"

namespace tlm {

using namespace panel_kit;

ucAutomaticUpgrade::ucAutomaticUpgrade(QWidget* parent) : SettingsPanel(parent) {
    setObjectName(QStringLiteral("ucAutomaticUpgrade"));
    auto* layout = new QVBoxLayout(this);
    chkAllowUpgradeFromNetworkPath_ = Check(this, layout, QStringLiteral("chkAllowUpgradeFromNetworkPath"),
                                            QStringLiteral("Allow client upgrade from a network path"));
    auto* label = new QLabel(
        QStringLiteral("Specify the UNC network path where the VersionInfo.txt file is located"), this);
    label->setWordWrap(true);
    layout->addWidget(label);
    txtUNCPath_ = PathField(this, layout, QStringLiteral("txtUNCPath"), &cmdBrowseUNCPath_,
                            QStringLiteral("cmdBrowseUNCPath"));
    chkAutomaticCheckForUpgradeAtStartup_ =
        Check(this, layout, QStringLiteral("chkAutomaticCheckForUpgradeAtStartup"),
              QStringLiteral("Automatically check for new version at startup"));
    optInstallMode_ =
        new OptionGroup(QStringLiteral("optInstallMode"), QString(),
                        {QStringLiteral("Install in full GUI mode"),
                         QStringLiteral("Install in silent mode (without the knowlege of the member)")},
                        this);
    layout->addWidget(optInstallMode_);
    chkDisplayMessageToMemberOnNewVersionAvailiability_ =
        Check(this, layout, QStringLiteral("chkDisplayMessageToMemberOnNewVersionAvailiability"),
              QStringLiteral("Display a message to the member on new version availiability"));
    layout->addStretch(1);
    connect(chkAllowUpgradeFromNetworkPath_, &QCheckBox::toggled, this, &ucAutomaticUpgrade::EnableAll);
    connect(chkAutomaticCheckForUpgradeAtStartup_, &QCheckBox::toggled, this, &ucAutomaticUpgrade::EnableAll);
    connect(cmdBrowseUNCPath_, &QPushButton::clicked, this, [this] {
        const QString folder = fncBrowseForFolder(this, QStringLiteral("Select a destination folder"));
        if (!folder.isEmpty())
            txtUNCPath_->setText(folder);
    });
}

void ucAutomaticUpgrade::EnableAll() {
    const bool on = chkAllowUpgradeFromNetworkPath_->isChecked();
    txtUNCPath_->setEnabled(on);
    cmdBrowseUNCPath_->setEnabled(on);
    chkAutomaticCheckForUpgradeAtStartup_->setEnabled(on);
    const bool check = on && chkAutomaticCheckForUpgradeAtStartup_->isChecked();
    optInstallMode_->setEnabled(check);
    chkDisplayMessageToMemberOnNewVersionAvailiability_->setEnabled(check);
}

void ucAutomaticUpgrade::subGetSettings() {
    UpgradeValues v;
    v.Load(DBSettings());
    chkAllowUpgradeFromNetworkPath_->setChecked(v.allowUpgrade);
    txtUNCPath_->setText(v.path);
    chkAutomaticCheckForUpgradeAtStartup_->setChecked(v.checkAtStartup);
    optInstallMode_->setIndex(v.installMode);
    chkDisplayMessageToMemberOnNewVersionAvailiability_->setChecked(v.tellMember);
    EnableAll();
}

bool ucAutomaticUpgrade::SaveGlobalSettings() {
    if (StoreMissing())
        return false;
    UpgradeValues v;
    v.allowUpgrade = chkAllowUpgradeFromNetworkPath_->isChecked();
    v.path = txtUNCPath_->text();
    v.checkAtStartup = chkAutomaticCheckForUpgradeAtStartup_->isChecked();
    v.installMode = optInstallMode_->index();
    v.tellMember = chkDisplayMessageToMemberOnNewVersionAvailiability_->isChecked();
    v.Save(*DBSettings());
    return true;
}

}  // namespace tlm
