#include "settings/fields_option_form.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

#include "core/local_settings.h"
#include "core/process_state.h"
#include "settings/global_settings.h"
#include "settings/option_form_kit.h"
#include "settings/option_settings.h"

namespace tlm {

using namespace panel_kit;

ucFieldsOption::ucFieldsOption(QWidget* parent) : SettingsPanel(parent) {
    setObjectName(QStringLiteral("ucFieldsOption"));
    auto* layout = new QVBoxLayout(this);
    auto* main = new QGroupBox(QStringLiteral("Fields"), this);
    auto* grid = new QGridLayout(main);
    txtProjectTitle_ = Named(new QLineEdit(main), QStringLiteral("txtProjectTitle"));
    txtTaskTitle_ = Named(new QLineEdit(main), QStringLiteral("txtTaskTitle"));
    chkMandatoryProject_ =
        Named(new QCheckBox(QStringLiteral("Mandatory"), main), QStringLiteral("chkMandatoryProject"));
    chkMandatoryTask_ =
        Named(new QCheckBox(QStringLiteral("Mandatory"), main), QStringLiteral("chkMandatoryTask"));
    grid->addWidget(new QLabel(QStringLiteral("Project title"), main), 0, 0);
    grid->addWidget(txtProjectTitle_, 0, 1);
    grid->addWidget(chkMandatoryProject_, 0, 2);
    grid->addWidget(new QLabel(QStringLiteral("Activity title"), main), 1, 0);
    grid->addWidget(txtTaskTitle_, 1, 1);
    grid->addWidget(chkMandatoryTask_, 1, 2);
    chkAllowMemberToChooseProjectsTasks_ = Named(
        new QCheckBox(QStringLiteral("Allow members to choose their own projects and activities"), main),
        QStringLiteral("chkAllowMemberToChooseProjectsTasks"));
    grid->addWidget(chkAllowMemberToChooseProjectsTasks_, 2, 0, 1, 3);
    layout->addWidget(main);

    auto* custom = new QGroupBox(QStringLiteral("Custom fields"), this);
    auto* cg = new QGridLayout(custom);
    txtCustomFieldsTitle_ = Named(new QLineEdit(custom), QStringLiteral("txtCustomFieldsTitle"));
    cg->addWidget(new QLabel(QStringLiteral("Group title"), custom), 0, 0, 1, 2);
    cg->addWidget(txtCustomFieldsTitle_, 0, 2, 1, 3);
    cg->addWidget(new QLabel(QStringLiteral("In use"), custom), 1, 0);
    cg->addWidget(new QLabel(QStringLiteral("Title"), custom), 1, 2);
    cg->addWidget(new QLabel(QStringLiteral("Mandatory"), custom), 1, 3);
    cg->addWidget(new QLabel(QStringLiteral("Members may add"), custom), 1, 4);
    for (int i = 0; i < 10; ++i) {
        const QString n = QString::number(i + 1);
        const QString kind = i < 4   ? QStringLiteral("list")
                             : i < 8 ? QStringLiteral("text")
                                     : QStringLiteral("amount");
        chkAvailable_[i] = Named(new QCheckBox(custom), QStringLiteral("chkAvailable") + n);
        txtCustomFields_[i] = Named(new QLineEdit(custom), QStringLiteral("txtCustomFields") + n);
        chkCustomFields_[i] = Named(new QCheckBox(custom), QStringLiteral("chkCustomFields") + n);
        cg->addWidget(chkAvailable_[i], i + 2, 0);
        cg->addWidget(new QLabel(n + QStringLiteral(" (") + kind + u')', custom), i + 2, 1);
        cg->addWidget(txtCustomFields_[i], i + 2, 2);
        cg->addWidget(chkCustomFields_[i], i + 2, 3);
        if (i < 4) {
            chkCustomizable_[i] = Named(new QCheckBox(custom), QStringLiteral("chkCustomizable") + n);
            cg->addWidget(chkCustomizable_[i], i + 2, 4);
        }
    }
    layout->addWidget(custom);
    layout->addStretch(1);
}

void ucFieldsOption::subGetSettings() {
    FieldsValues v;
    v.Load(DBSettings());
    txtProjectTitle_->setText(v.projectTitle);
    txtTaskTitle_->setText(v.activityTitle);
    chkMandatoryProject_->setChecked(v.mandatoryProject);
    chkMandatoryTask_->setChecked(v.mandatoryActivity);
    txtCustomFieldsTitle_->setText(v.customFieldsTitle);
    for (size_t i = 0; i < 10; ++i) {
        chkAvailable_[i]->setChecked(v.available[i]);
        chkCustomFields_[i]->setChecked(v.mandatory[i]);
        txtCustomFields_[i]->setText(v.titles[i]);
        if (i < 4)
            chkCustomizable_[i]->setChecked(v.customizable[i]);
    }
    chkAllowMemberToChooseProjectsTasks_->setChecked(v.membersChooseProjects);
}

bool ucFieldsOption::SaveGlobalSettings() {
    FieldsValues v;
    v.projectTitle = txtProjectTitle_->text();
    v.activityTitle = txtTaskTitle_->text();
    v.mandatoryProject = chkMandatoryProject_->isChecked();
    v.mandatoryActivity = chkMandatoryTask_->isChecked();
    v.customFieldsTitle = txtCustomFieldsTitle_->text();
    for (size_t i = 0; i < 10; ++i) {
        v.available[i] = chkAvailable_[i]->isChecked();
        v.mandatory[i] = chkCustomFields_[i]->isChecked();
        v.titles[i] = txtCustomFields_[i]->text();
        if (i < 4)
            v.customizable[i] = chkCustomizable_[i]->isChecked();
    }
    v.membersChooseProjects = chkAllowMemberToChooseProjectsTasks_->isChecked();
    if (!Accepted(v.Check(), PromptIcon::Critical) || StoreMissing())
        return false;
    v.Save(*DBSettings(), Process().mySettings);
    txtProjectTitle_->setText(v.projectTitle);
    txtTaskTitle_->setText(v.activityTitle);
    return true;
}

}  // namespace tlm
