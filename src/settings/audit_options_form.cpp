#include "settings/audit_options_form.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QVBoxLayout>

#include "core/local_settings.h"
#include "core/process_state.h"
#include "settings/global_settings.h"
#include "settings/option_form_kit.h"
#include "settings/option_settings.h"

namespace tlm {

using namespace panel_kit;

ucAuditOptions::ucAuditOptions(QWidget* parent) : SettingsPanel(parent) {
    setObjectName(QStringLiteral("ucAuditOptions"));
    auto* layout = new QVBoxLayout(this);
    chkRequiresManagerialApproval_ =
        Check(this, layout, QStringLiteral("chkRequiresManagerialApproval"),
              QStringLiteral("Requires Manager to approve/decline reported timesheets"));
    frameApprovers_ = Named(new QGroupBox(QStringLiteral("Approved or declined by"), this),
                            QStringLiteral("frameApprovers"));
    auto* approvers = new QVBoxLayout(frameApprovers_);
    // Captions only: no setting stands behind them.
    for (const QString& caption :
         {QStringLiteral("any members with admin-access rights"),
          QStringLiteral("both Project Manager && Activity Coordinator"),
          QStringLiteral("Activity Coordinator only"), QStringLiteral(" Project Manager only")})
        approvers->addWidget(new QLabel(caption, frameApprovers_));
    layout->addWidget(frameApprovers_);
    chkEnableEditingProjectTask_ =
        Check(this, layout, QStringLiteral("chkEnableEditingProjectTask"),
              QStringLiteral("Enable editing values of ") + ProjectWord() + u'/' + ActivityWord());
    chkEnableEditingOfCost_ = Check(this, layout, QStringLiteral("chkEnableEditingOfCost"),
                                    QStringLiteral("Enable editing of Cost"));
    chkSendAutoNotificationToMemberWhenApproved_ =
        Check(this, layout, QStringLiteral("chkSendAutoNotificationToMemberWhenApproved"),
              QStringLiteral("Notify member when reported timesheet is approved"));
    chkDisplayApprovedEmail_ = Check(this, layout, QStringLiteral("chkDisplayApprovedEmail"),
                                     QStringLiteral("Display the email before sending to the member"));
    chkSendAutoNotificationToMemberWhenDecline_ =
        Check(this, layout, QStringLiteral("chkSendAutoNotificationToMemberWhenDecline"),
              QStringLiteral("Notify member when reported timesheet is declined"));
    chkDisplayDeclinedEmail_ = Check(this, layout, QStringLiteral("chkDisplayDeclinedEmail"),
                                     QStringLiteral("Display the email before sending to the member"));
    chkRemoveDeclinedDataFromDB_ =
        Check(this, layout, QStringLiteral("chkRemoveDeclinedDataFromDB"),
              QStringLiteral("Permanently remove declined timesheet from the database"));
    chkDisplayApprovedEmail_->setContentsMargins(20, 0, 0, 0);
    chkDisplayDeclinedEmail_->setContentsMargins(20, 0, 0, 0);
    layout->addStretch(1);
    for (QCheckBox* box : {chkRequiresManagerialApproval_, chkSendAutoNotificationToMemberWhenApproved_,
                           chkSendAutoNotificationToMemberWhenDecline_})
        connect(box, &QCheckBox::toggled, this, &ucAuditOptions::updateDependents);
}

void ucAuditOptions::updateDependents() {
    const bool on = chkRequiresManagerialApproval_->isChecked();
    for (QWidget* w : std::initializer_list<QWidget*>{
             frameApprovers_, chkEnableEditingProjectTask_, chkEnableEditingOfCost_,
             chkSendAutoNotificationToMemberWhenApproved_, chkSendAutoNotificationToMemberWhenDecline_,
             chkRemoveDeclinedDataFromDB_})
        w->setEnabled(on);
    chkDisplayApprovedEmail_->setEnabled(on && chkSendAutoNotificationToMemberWhenApproved_->isChecked());
    chkDisplayDeclinedEmail_->setEnabled(on && chkSendAutoNotificationToMemberWhenDecline_->isChecked());
}

void ucAuditOptions::subGetSettings() {
    AuditValues v;
    v.Load(DBSettings());
    chkRequiresManagerialApproval_->setChecked(v.requiresApproval);
    chkEnableEditingProjectTask_->setChecked(v.editProjectActivity);
    chkEnableEditingOfCost_->setChecked(v.editCost);
    chkSendAutoNotificationToMemberWhenApproved_->setChecked(v.notifyApproved);
    chkDisplayApprovedEmail_->setChecked(v.showApprovedMail);
    chkSendAutoNotificationToMemberWhenDecline_->setChecked(v.notifyDeclined);
    chkDisplayDeclinedEmail_->setChecked(v.showDeclinedMail);
    chkRemoveDeclinedDataFromDB_->setChecked(v.removeDeclined);
    updateDependents();
}

bool ucAuditOptions::SaveGlobalSettings() {
    if (StoreMissing())
        return false;
    AuditValues v;
    v.requiresApproval = chkRequiresManagerialApproval_->isChecked();
    v.editProjectActivity = chkEnableEditingProjectTask_->isChecked();
    v.editCost = chkEnableEditingOfCost_->isChecked();
    v.notifyApproved = chkSendAutoNotificationToMemberWhenApproved_->isChecked();
    v.showApprovedMail = chkDisplayApprovedEmail_->isChecked();
    v.notifyDeclined = chkSendAutoNotificationToMemberWhenDecline_->isChecked();
    v.showDeclinedMail = chkDisplayDeclinedEmail_->isChecked();
    v.removeDeclined = chkRemoveDeclinedDataFromDB_->isChecked();
    v.Save(*DBSettings(), Process().mySettings);
    return true;
}

}  // namespace tlm
