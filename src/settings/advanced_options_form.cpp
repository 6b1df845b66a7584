#include "settings/advanced_options_form.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

#include "settings/global_settings.h"
#include "settings/option_form_kit.h"
#include "settings/option_settings.h"

namespace tlm {

using namespace panel_kit;

ucAdvancedOptions::ucAdvancedOptions(QWidget* parent) : SettingsPanel(parent) {
    setObjectName(QStringLiteral("ucAdvancedOptions"));
    auto* layout = new QVBoxLayout(this);
    auto* cost = new QGroupBox(QStringLiteral("Cost"), this);
    auto* c = new QVBoxLayout(cost);
    optRateFrom_ =
        new OptionGroup(QStringLiteral("optRateFrom"),
                        QStringLiteral("For calculating 'Total Cost' for reported items, use the rate of"),
                        {QStringLiteral("Project"), QStringLiteral("Task"), QStringLiteral("Member")}, cost);
    c->addWidget(optRateFrom_);
    chkAllowMemberToChangeRate_ = Check(cost, c, QStringLiteral("chkAllowMemberToChangeRate"),
                                        QStringLiteral("Allow member to change Rate"));
    optTaskWork_ = new OptionGroup(
        QStringLiteral("optTaskWork"),
        QStringLiteral("For calculating 'Total Cost' for reported task item, use work duration of"),
        {QStringLiteral("Actual Work"), QStringLiteral("Total Work")}, cost);
    c->addWidget(optTaskWork_);
    optRateInterval_ = new OptionGroup(QStringLiteral("optRateInterval"),
                                       QStringLiteral("For calculating 'Total Cost', take Rate as"),
                                       {QStringLiteral("Hourly"), QStringLiteral("Custom")}, cost);
    c->addWidget(optRateInterval_);
    auto* hoursRow = new QHBoxLayout;
    txtHours_ = Named(new QLineEdit(cost), QStringLiteral("txtHours"));
    txtHours_->setMaximumWidth(80);
    hoursRow->addWidget(new QLabel(QStringLiteral("Custom interval"), cost));
    hoursRow->addWidget(txtHours_);
    hoursRow->addWidget(new QLabel(QStringLiteral("hours"), cost));
    hoursRow->addStretch(1);
    c->addLayout(hoursRow);
    layout->addWidget(cost);

    auto* lists = new QGroupBox(QStringLiteral("Lists and reports"), this);
    auto* l = new QVBoxLayout(lists);
    chkAllowEditOfEmailToReport_ = Check(
        lists, l, QStringLiteral("chkAllowEditOfEmailToReport"),
        QStringLiteral(
            "In Project/Activity List, allow edit of the email reminder before sending to the recipients"));
    chkPromptMeOnClickingNotifyButton_ =
        Check(lists, l, QStringLiteral("chkPromptMeOnClickingNotifyButton"),
              QStringLiteral("In Project/Activity List, prompt me to select recipients before sending email "
                             "reminder to report"));
    chkReportEditable_ = Check(lists, l, QStringLiteral("chkReportEditable"),
                               QStringLiteral("Make report editable in Reports Manager"));
    layout->addWidget(lists);

    auto* dates = new QGroupBox(QStringLiteral("Dates"), this);
    auto* d = new QVBoxLayout(dates);
    chkUpdateItemStartDateWithProjectStartDate_ =
        Check(dates, d, QStringLiteral("chkUpdateItemStartDateWithProjectStartDate"),
              QStringLiteral("Update Start Date of the item with the Project Start Date"));
    chkUpdateAppointmentEndDateWith_ =
        Check(dates, d, QStringLiteral("chkUpdateAppointmentEndDateWith"),
              QStringLiteral("For appointment item, update End Date of the item with"));
    optWhichEndDate_ =
        new OptionGroup(QStringLiteral("optWhichEndDate"), QString(),
                        {QStringLiteral("Project Finish Date"), QStringLiteral("Activity Due Date")}, dates);
    d->addWidget(optWhichEndDate_);
    chkUpdateTaskDueDateWith_ = Check(dates, d, QStringLiteral("chkUpdateTaskDueDateWith"),
                                      QStringLiteral("For task item, update Due Date of the item with"));
    optWhichDueDate_ =
        new OptionGroup(QStringLiteral("optWhichDueDate"), QString(),
                        {QStringLiteral("Project Finish Date"), QStringLiteral("Activity Due Date")}, dates);
    d->addWidget(optWhichDueDate_);
    layout->addWidget(dates);
    layout->addStretch(1);

    connect(optRateFrom_, &OptionGroup::changed, this, &ucAdvancedOptions::updateDependents);
    connect(optRateInterval_, &OptionGroup::changed, this, &ucAdvancedOptions::updateDependents);
    connect(chkUpdateAppointmentEndDateWith_, &QCheckBox::toggled, this,
            &ucAdvancedOptions::updateDependents);
    connect(chkUpdateTaskDueDateWith_, &QCheckBox::toggled, this, &ucAdvancedOptions::updateDependents);
}

void ucAdvancedOptions::updateDependents() {
    AdvancedValues v;
    v.rateFrom = optRateFrom_->index();
    v.rateInterval = optRateInterval_->index();
    chkAllowMemberToChangeRate_->setEnabled(v.MemberRateApplies());
    txtHours_->setEnabled(v.HoursApply());
    optWhichEndDate_->setEnabled(chkUpdateAppointmentEndDateWith_->isChecked());
    optWhichDueDate_->setEnabled(chkUpdateTaskDueDateWith_->isChecked());
}

void ucAdvancedOptions::subGetSettings() {
    AdvancedValues v;
    v.Load(DBSettings());
    optRateFrom_->setIndex(v.rateFrom);
    chkAllowMemberToChangeRate_->setChecked(v.memberChangesRate);
    optTaskWork_->setIndex(v.taskWork);
    optRateInterval_->setIndex(v.rateInterval);
    txtHours_->setText(v.hours);
    chkAllowEditOfEmailToReport_->setChecked(v.editMailToReport);
    chkPromptMeOnClickingNotifyButton_->setChecked(v.chooseRecipients);
    chkReportEditable_->setChecked(v.reportEditable);
    chkUpdateItemStartDateWithProjectStartDate_->setChecked(v.startFromProject);
    chkUpdateAppointmentEndDateWith_->setChecked(v.updateEndDate);
    optWhichEndDate_->setIndex(v.whichEndDate);
    chkUpdateTaskDueDateWith_->setChecked(v.updateDueDate);
    optWhichDueDate_->setIndex(v.whichDueDate);
    updateDependents();
}

bool ucAdvancedOptions::SaveGlobalSettings() {
    AdvancedValues v;
    v.rateFrom = optRateFrom_->index();
    v.memberChangesRate = chkAllowMemberToChangeRate_->isChecked();
    v.taskWork = optTaskWork_->index();
    v.rateInterval = optRateInterval_->index();
    v.hours = txtHours_->text();
    v.editMailToReport = chkAllowEditOfEmailToReport_->isChecked();
    v.chooseRecipients = chkPromptMeOnClickingNotifyButton_->isChecked();
    v.reportEditable = chkReportEditable_->isChecked();
    v.startFromProject = chkUpdateItemStartDateWithProjectStartDate_->isChecked();
    v.updateEndDate = chkUpdateAppointmentEndDateWith_->isChecked();
    v.whichEndDate = optWhichEndDate_->index();
    v.updateDueDate = chkUpdateTaskDueDateWith_->isChecked();
    v.whichDueDate = optWhichDueDate_->index();
    if (!Accepted(v.Check()) || StoreMissing())
        return false;
    v.Save(*DBSettings());
    return true;
}

}  // namespace tlm
