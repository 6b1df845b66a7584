#include "settings/option_panels.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QDir>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include "core/error_report.h"
#include "core/local_settings.h"
#include "core/process_state.h"
#include "core/prompt.h"
#include "desktop/gui_dialogs.h"
#include "settings/global_settings.h"
#include "settings/option_settings.h"

namespace tlm {

namespace {

template <typename W>
W* Named(W* widget, const QString& name) {
    widget->setObjectName(name);
    return widget;
}

QCheckBox* Check(QWidget* parent, QLayout* layout, const QString& name, const QString& caption) {
    auto* box = Named(new QCheckBox(caption, parent), name);
    layout->addWidget(box);
    return box;
}

QLineEdit* PathField(QWidget* parent, QLayout* layout, const QString& name, QPushButton** browse,
                     const QString& browseName) {
    auto* row = new QHBoxLayout;
    auto* edit = Named(new QLineEdit(parent), name);
    *browse = Named(new QPushButton(QStringLiteral("Browse..."), parent), browseName);
    row->addWidget(edit, 1);
    row->addWidget(*browse);
    if (auto* box = qobject_cast<QBoxLayout*>(layout))
        box->addLayout(row);
    return edit;
}

// The message of a refused save, when there is one: true when the save may go on.
bool Accepted(const QString& problem, PromptIcon icon = PromptIcon::Exclamation) {
    if (problem.isEmpty())
        return true;
    MsgBox(problem, icon);
    return false;
}

QString ProjectWord() {
    const cDBSettings* g = DBSettings();
    return g ? g->ProjectTitle : QStringLiteral("Project");
}
QString ActivityWord() {
    const cDBSettings* g = DBSettings();
    return g ? g->ActivityTitle : QStringLiteral("Activity");
}

// Saving with the store missing is a program fault, not a user's: say so rather than lose the change.
bool StoreMissing() {
    if (DBSettings())
        return false;
    subReportError(Failure{0, QStringLiteral("The global settings are not loaded."), 0,
                           QStringLiteral("fManagerSettings.Save")});
    return true;
}

}  // namespace

// ---------------------------------------------------------------------------------------------------

OptionGroup::OptionGroup(const QString& name, const QString& caption, const QStringList& options,
                         QWidget* parent)
    : QWidget(parent) {
    setObjectName(name);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    if (!caption.isEmpty()) {
        auto* label = new QLabel(caption, this);
        label->setWordWrap(true);
        layout->addWidget(label);
    }
    auto* row = new QHBoxLayout;
    group_ = new QButtonGroup(this);
    for (int i = 0; i < options.size(); ++i) {
        auto* button = Named(new QRadioButton(options[i], this), name + QString::number(i));
        group_->addButton(button, i);
        row->addWidget(button);
        options_.append(button);
    }
    row->addStretch(1);
    layout->addLayout(row);
    if (!options_.isEmpty())
        options_.first()->setChecked(true);
    connect(group_, &QButtonGroup::idToggled, this, [this](int id, bool on) {
        if (on)
            emit changed(id);
    });
}

int OptionGroup::index() const {
    return group_->checkedId() < 0 ? 0 : group_->checkedId();
}

void OptionGroup::setIndex(int index) {
    // A stored value out of range shows the first option, as an unset one would.
    QRadioButton* button = option(index >= 0 && index < options_.size() ? index : 0);
    if (button)
        button->setChecked(true);
}

QRadioButton* OptionGroup::option(int index) const {
    return options_.value(index);
}

// ---------------------------------------------------------------------------------------------------

ucAccessControl::ucAccessControl(QWidget* parent) : SettingsPanel(parent) {
    setObjectName(QStringLiteral("ucAccessControl"));
    auto* layout = new QVBoxLayout(this);
    auto* items = new QGroupBox(QStringLiteral("Members may report"), this);
    auto* itemsLayout = new QVBoxLayout(items);
    checks_.append(Check(items, itemsLayout, QStringLiteral("chkTaskItem"), QStringLiteral("Task Item")));
    checks_.append(
        Check(items, itemsLayout, QStringLiteral("chkAppointmentItem"), QStringLiteral("Appointment Item")));
    layout->addWidget(items);

    auto* rights = new QGroupBox(QStringLiteral("Members may"), this);
    auto* rightsLayout = new QVBoxLayout(rights);
    checks_.append(
        Check(rights, rightsLayout, QStringLiteral("chkAllowMemberSummaryReportsAll"),
              QStringLiteral("View Summary Reports on all published timesheets (for all members)")));
    checks_.append(Check(rights, rightsLayout, QStringLiteral("chkAllowMemberToAddTask"),
                         QStringLiteral("Add their own Activities")));
    checks_.append(Check(rights, rightsLayout, QStringLiteral("chkAllowMemberToAddProject"),
                         QStringLiteral("Add their own Projects")));
    checks_.append(Check(rights, rightsLayout, QStringLiteral("chkAllowMemberToAddCustomList"),
                         QStringLiteral("Add their value for the Custom List fields")));
    checks_.append(Check(rights, rightsLayout, QStringLiteral("chkAllowMemberOLAPAll"),
                         QStringLiteral("View analysis of all published timesheets (for all members)")));
    layout->addWidget(rights);

    auto* admins = new QGroupBox(QStringLiteral("Members with administration rights"), this);
    auto* grid = new QGridLayout(admins);
    lstAllowed_ = Named(new QListWidget(admins), QStringLiteral("lstAllowed"));
    lstNotAllowed_ = Named(new QListWidget(admins), QStringLiteral("lstNotAllowed"));
    auto* add = Named(new QPushButton(QStringLiteral("<< Add"), admins), QStringLiteral("cmdAddTechnician"));
    auto* remove =
        Named(new QPushButton(QStringLiteral("Remove >>"), admins), QStringLiteral("cmdRemoveTechnician"));
    auto* buttons = new QVBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(add);
    buttons->addWidget(remove);
    buttons->addStretch(1);
    grid->addWidget(new QLabel(QStringLiteral("Allowed"), admins), 0, 0);
    grid->addWidget(new QLabel(QStringLiteral("Not allowed"), admins), 0, 2);
    grid->addWidget(lstAllowed_, 1, 0);
    grid->addLayout(buttons, 1, 1);
    grid->addWidget(lstNotAllowed_, 1, 2);
    layout->addWidget(admins, 1);
    connect(add, &QPushButton::clicked, this, &ucAccessControl::cmdAddTechnician);
    connect(remove, &QPushButton::clicked, this, &ucAccessControl::cmdRemoveTechnician);
}

void ucAccessControl::subGetSettings() {
    AccessControlValues v;
    v.Load(DBSettings());
    for (int i = 0; i < checks_.size(); ++i)
        checks_[i]->setChecked(v.flags[size_t(i)]);
    lstAllowed_->clear();
    lstNotAllowed_->clear();
    lstAllowed_->addItems(v.allowed);
    lstNotAllowed_->addItems(v.notAllowed);
}

namespace {
void MoveSelected(QListWidget* from, QListWidget* to) {
    const int row = from->currentRow();
    if (row < 0)
        return;
    QListWidgetItem* item = from->takeItem(row);
    to->addItem(item);
    to->setCurrentItem(item);
}
}  // namespace

void ucAccessControl::cmdAddTechnician() {
    MoveSelected(lstNotAllowed_, lstAllowed_);
}

void ucAccessControl::cmdRemoveTechnician() {
    MoveSelected(lstAllowed_, lstNotAllowed_);
}

bool ucAccessControl::SaveGlobalSettings() {
    AccessControlValues v;
    for (int i = 0; i < checks_.size(); ++i)
        v.flags[size_t(i)] = checks_[i]->isChecked();
    for (int i = 0; i < lstAllowed_->count(); ++i)
        v.allowed.append(lstAllowed_->item(i)->text());
    for (int i = 0; i < lstNotAllowed_->count(); ++i)
        v.notAllowed.append(lstNotAllowed_->item(i)->text());
    if (!Accepted(v.Check()) || StoreMissing())
        return false;
    v.Save(*DBSettings(), Process().mySettings);
    return true;
}

// ---------------------------------------------------------------------------------------------------

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

// ---------------------------------------------------------------------------------------------------

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

// ---------------------------------------------------------------------------------------------------

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

// ---------------------------------------------------------------------------------------------------

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

// ---------------------------------------------------------------------------------------------------

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

// ---------------------------------------------------------------------------------------------------

ucReportingOptions::ucReportingOptions(QWidget* parent) : SettingsPanel(parent) {
    setObjectName(QStringLiteral("ucReportingOptions"));
    auto* layout = new QVBoxLayout(this);
    const auto flag = [this, layout](int i) {
        flags_.append(Check(this, layout, ReportingValues::ControlName(i), ReportingValues::Caption(i)));
    };
    for (int i = 0; i < 4; ++i)
        flag(i);
    auto* minRow = new QHBoxLayout;
    chkPreventPostingItemLessThan_ =
        Named(new QCheckBox(QStringLiteral("Don't allow posting of items with work less than"), this),
              QStringLiteral("chkPreventPostingItemLessThan"));
    txtMinimumPostingWorkTime_ = Named(new QLineEdit(this), QStringLiteral("txtMinimumPostingWorkTime"));
    txtMinimumPostingWorkTime_->setMaximumWidth(80);
    minRow->addWidget(chkPreventPostingItemLessThan_);
    minRow->addWidget(txtMinimumPostingWorkTime_);
    minRow->addWidget(new QLabel(QStringLiteral("mins"), this));
    minRow->addStretch(1);
    layout->addLayout(minRow);
    auto* hoursRow = new QHBoxLayout;
    txtWorkingHoursMonth_ = Named(new QLineEdit(this), QStringLiteral("txtWorkingHoursMonth"));
    txtWorkingHoursMonth_->setMaximumWidth(80);
    hoursRow->addWidget(new QLabel(QStringLiteral("Total Working Hours per month (approx.)"), this));
    hoursRow->addWidget(txtWorkingHoursMonth_);
    hoursRow->addStretch(1);
    layout->addLayout(hoursRow);
    for (int i = 4; i < ReportingValues::kFlags; ++i)
        flag(i);
    chkCopyReportedTaskItemTo_ = Check(this, layout, QStringLiteral("chkCopyReportedTaskItemTo"),
                                       QStringLiteral("Copy reported task items to this folder"));
    txtRepositoryTaskPublicFolder_ =
        PathField(this, layout, QStringLiteral("txtRepositoryTaskPublicFolder"),
                  &cmdRepositoryTaskPublicFolder_, QStringLiteral("cmdRepositoryTaskPublicFolder"));
    chkCopyReportedAppointmentItemTo_ =
        Check(this, layout, QStringLiteral("chkCopyReportedAppointmentItemTo"),
              QStringLiteral("Copy reported appointment items to this folder"));
    txtRepositoryAppointmentPublicFolder_ = PathField(
        this, layout, QStringLiteral("txtRepositoryAppointmentPublicFolder"),
        &cmdRepositoryAppointmentPublicFolder_, QStringLiteral("cmdRepositoryAppointmentPublicFolder"));
    layout->addStretch(1);

    txtMinimumPostingWorkTime_->installEventFilter(this);
    txtWorkingHoursMonth_->installEventFilter(this);
    for (QCheckBox* box :
         {chkPreventPostingItemLessThan_, chkCopyReportedTaskItemTo_, chkCopyReportedAppointmentItemTo_})
        connect(box, &QCheckBox::toggled, this, &ucReportingOptions::updateDependents);
    const auto browse = [this](QLineEdit* edit, const QString& title) {
        const QString folder = fncBrowseForFolder(this, title);
        if (!folder.isEmpty())
            edit->setText(folder);
    };
    connect(cmdRepositoryTaskPublicFolder_, &QPushButton::clicked, this, [this, browse] {
        browse(txtRepositoryTaskPublicFolder_, QStringLiteral("Select the folder for reported task items"));
    });
    connect(cmdRepositoryAppointmentPublicFolder_, &QPushButton::clicked, this, [this, browse] {
        browse(txtRepositoryAppointmentPublicFolder_,
               QStringLiteral("Select the folder for reported appointment items"));
    });
}

bool ucReportingOptions::eventFilter(QObject* watched, QEvent* event) {
    // Key strokes only: digits, backspace and editing keys pass; pasted text is checked at the save.
    if (event->type() == QEvent::KeyPress &&
        (watched == txtMinimumPostingWorkTime_ || watched == txtWorkingHoursMonth_)) {
        const auto* key = static_cast<QKeyEvent*>(event);
        const QString text = key->text();
        const bool shortcut = key->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
        if (!shortcut && !text.isEmpty() && key->key() != Qt::Key_Backspace && !text.at(0).isDigit() &&
            text.at(0).isPrint())
            return true;
    }
    return SettingsPanel::eventFilter(watched, event);
}

void ucReportingOptions::updateDependents() {
    txtMinimumPostingWorkTime_->setEnabled(chkPreventPostingItemLessThan_->isChecked());
    const bool task = chkCopyReportedTaskItemTo_->isChecked();
    txtRepositoryTaskPublicFolder_->setEnabled(task);
    cmdRepositoryTaskPublicFolder_->setEnabled(task);
    const bool appointment = chkCopyReportedAppointmentItemTo_->isChecked();
    txtRepositoryAppointmentPublicFolder_->setEnabled(appointment);
    cmdRepositoryAppointmentPublicFolder_->setEnabled(appointment);
}

void ucReportingOptions::subGetSettings() {
    ReportingValues v;
    v.Load(DBSettings());
    for (int i = 0; i < flags_.size(); ++i)
        flags_[i]->setChecked(v.flags[size_t(i)]);
    chkPreventPostingItemLessThan_->setChecked(v.preventShortItems);
    txtMinimumPostingWorkTime_->setText(v.minimumMinutes);
    txtWorkingHoursMonth_->setText(v.hoursPerMonth);
    chkCopyReportedTaskItemTo_->setChecked(v.copyTasks);
    txtRepositoryTaskPublicFolder_->setText(v.taskFolder);
    chkCopyReportedAppointmentItemTo_->setChecked(v.copyAppointments);
    txtRepositoryAppointmentPublicFolder_->setText(v.appointmentFolder);
    updateDependents();
}

bool ucReportingOptions::SaveGlobalSettings() {
    ReportingValues v;
    for (int i = 0; i < flags_.size(); ++i)
        v.flags[size_t(i)] = flags_[i]->isChecked();
    v.preventShortItems = chkPreventPostingItemLessThan_->isChecked();
    v.minimumMinutes = txtMinimumPostingWorkTime_->text();
    v.hoursPerMonth = txtWorkingHoursMonth_->text();
    v.copyTasks = chkCopyReportedTaskItemTo_->isChecked();
    v.taskFolder = txtRepositoryTaskPublicFolder_->text();
    v.copyAppointments = chkCopyReportedAppointmentItemTo_->isChecked();
    v.appointmentFolder = txtRepositoryAppointmentPublicFolder_->text();
    if (!Accepted(v.Check()) || StoreMissing())
        return false;
    v.Save(*DBSettings());
    return true;
}

// ---------------------------------------------------------------------------------------------------

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
