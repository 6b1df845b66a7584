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
#include <QTemporaryFile>
#include <QVBoxLayout>

#include "core/error_report.h"
#include "core/local_settings.h"
#include "core/process_state.h"
#include "core/prompt.h"
#include "desktop/gui_dialogs.h"
#include "settings/global_settings.h"

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

cGeneralSettings* Store() {
    cDBSettings* g = DBSettings();
    return g ? &g->GeneralSettings : nullptr;
}

qint16 IntKey(const QString& key) {
    const cGeneralSettings* s = Store();
    return s ? qint16(s->GetValue(key, cGeneralSettings::kInteger).toInt()) : 0;
}

QString TextKey(const QString& key) {
    const cGeneralSettings* s = Store();
    return s ? s->GetValue(key, cGeneralSettings::kText).toString() : QString();
}

void SetKey(const QString& key, const QString& value) {
    if (cGeneralSettings* s = Store())
        s->SetValue(key, value);
}

QString Flag(const QCheckBox* box) {
    return box->isChecked() ? QStringLiteral("1") : QStringLiteral("0");
}

void Warn(const QString& text) {
    MsgBox(text, PromptIcon::Exclamation);
}

// A whole number within the range, or -1.
int WholeNumber(const QString& text, int low, int high) {
    const QString t = text.trimmed();
    if (t.isEmpty())
        return -1;
    for (const QChar c : t)
        if (!c.isDigit())
            return -1;
    bool ok = false;
    const int value = t.toInt(&ok);
    return ok && value >= low && value <= high ? value : -1;
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

namespace {
const char* const kAccessKeys[] = {
    "tpoAllowTaskItem",          "tpoAllowAppointmentItem",  "tpoAllowMemberViewAllSummaryReports",
    "tpoAllowMemberAddActivity", "tpoAllowMemberAddProject", "tpoAllowMemberAddCustomList",
    "tpoAllowMemberViewAllOLAP",
};
}  // namespace

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
    for (int i = 0; i < checks_.size(); ++i)
        checks_[i]->setChecked(IntKey(QString::fromLatin1(kAccessKeys[i])) != 0);
    lstAllowed_->clear();
    lstNotAllowed_->clear();
    if (const cDBSettings* g = DBSettings())
        for (const auto& entry : g->Members.Items)
            (entry.item.AdminAccess ? lstAllowed_ : lstNotAllowed_)->addItem(entry.item.Name);
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
    if (lstAllowed_->count() == 0) {
        Warn(QStringLiteral("You need to add at least one member to the allowed list to continue!"));
        return false;
    }
    if (StoreMissing())
        return false;
    cDBSettings* g = DBSettings();
    const auto setAccess = [g](QListWidget* list, bool access) {
        for (int i = 0; i < list->count(); ++i)
            if (cMember* m = g->Members.Items.Find(list->item(i)->text().toLower()))
                m->AdminAccess = access;
    };
    setAccess(lstNotAllowed_, false);
    setAccess(lstAllowed_, true);
    for (int i = 0; i < checks_.size(); ++i)
        SetKey(QString::fromLatin1(kAccessKeys[i]), Flag(checks_[i]));
    if (cMySettings* my = Process().mySettings) {
        my->setFlag(QStringLiteral("AllowTaskItems"), checks_[0]->isChecked() ? 1 : 0);
        my->setFlag(QStringLiteral("AllowAppointmentItems"), checks_[1]->isChecked() ? 1 : 0);
        my->SaveAdminSettingsOnly();
    }
    g->SaveGlobalSettings(5);
    g->SaveGlobalSettings(3);
    return true;
}

// ---------------------------------------------------------------------------------------------------

namespace {
struct SwitchRow {
    const char* control;
    const char* key;
    int name;  // index into the display names of the notification events
};
const SwitchRow kSwitches[] = {
    {"chkNotifyManagerWhenMemberReports", "tpoNotifyManagerWhenMemberReports", 0},
    {"chkNotifyCoordinatorWhenMemberReports", "tpoNotifyCoordinatorWhenMemberReports", 1},
    {"chkNotifyMembersWhenNewProjectAdded", "tpoNotifyMembersWhenNewProjectsAdded", 2},
    {"chkNotifyMembersWhenNewTaskAdded", "tpoNotifyMembersWhenNewActivitiesAdded", 3},
    {"chkNotifyManagerWhenNewProjectAssigned", "tpoNotifyManagerWhenAssignedProject", 4},
    {"chkNotifyCoordinatorWhenNewTaskAssigned", "tpoNotifyCoordintorWhenAssignedActivity", 5},
    {"chkNotifyManagerOnTaskWithdrawal", "tpoNotifyManagerWhenReportIsWithdrawn", 6},
    {"chkNotifyCoordinatorOnTaskWithdrawal", "tpoNotifyCoordinatorWhenReportIsWithdrawn", 7},
    {"chkSendAutoNotificationToMemberWhenApproved", "tpoNotifyMemberWhenApproved", 11},
    {"chkSendAutoNotificationToMemberWhenDecline", "tpoNotifyMemberWhenDecline", 12},
    {"chkNotifyManagerWhenMemberUpdates", "tpoNotifyManagerWhenMemberUpdates", 13},
    {"chkNotifyCoordinatorWhenMemberUpdates", "tpoNotifyCoordinatorWhenMemberUpdates", 14},
};
}  // namespace

ucNotificationOptions::ucNotificationOptions(QWidget* parent) : SettingsPanel(parent) {
    setObjectName(QStringLiteral("ucNotificationOptions"));
    auto* layout = new QVBoxLayout(this);
    auto* frame = new QGroupBox(QStringLiteral("Send these e-mail notifications"), this);
    auto* inner = new QVBoxLayout(frame);
    const cDBSettings* g = DBSettings();
    for (const SwitchRow& row : kSwitches) {
        const QString caption = g ? g->NotificationNames.value(row.name) : QString::fromLatin1(row.key);
        checks_.append(Check(frame, inner, QString::fromLatin1(row.control), caption));
    }
    layout->addWidget(frame);
    layout->addStretch(1);
}

void ucNotificationOptions::subGetSettings() {
    const cDBSettings* g = DBSettings();
    for (int i = 0; i < checks_.size(); ++i)
        checks_[i]->setChecked(g && g->MessageTemplates.IsChecked(QString::fromLatin1(kSwitches[i].key)));
}

bool ucNotificationOptions::SaveGlobalSettings() {
    if (StoreMissing())
        return false;
    cDBSettings* g = DBSettings();
    for (int i = 0; i < checks_.size(); ++i)
        g->MessageTemplates.SetNotificaionEnabledValue(QString::fromLatin1(kSwitches[i].key),
                                                       checks_[i]->isChecked());
    g->SaveGlobalSettings(4);
    return true;
}

// ---------------------------------------------------------------------------------------------------

namespace {
QString CustomDefault(int i) {
    return QStringLiteral("Custom Field ") + QString::number(i + 1);
}
QString OrDefault(const QString& text, const QString& fallback) {
    return text.trimmed().isEmpty() ? fallback : text;
}
}  // namespace

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
    txtProjectTitle_->setText(
        OrDefault(TextKey(QStringLiteral("tpoProjectTitle")), QStringLiteral("Project")));
    txtTaskTitle_->setText(OrDefault(TextKey(QStringLiteral("tpoActivityTitle")), QStringLiteral("Task")));
    chkMandatoryProject_->setChecked(IntKey(QStringLiteral("tpoMandatoryProject")) != 0);
    chkMandatoryTask_->setChecked(IntKey(QStringLiteral("tpoMandatoryActivity")) != 0);
    txtCustomFieldsTitle_->setText(
        OrDefault(TextKey(QStringLiteral("tpoCustomFieldsTitle")), QStringLiteral("Custom Fields")));
    for (int i = 0; i < 10; ++i) {
        const QString n = QString::number(i + 1);
        chkAvailable_[i]->setChecked(IntKey(QStringLiteral("tpoActiveCustomField") + n) != 0);
        chkCustomFields_[i]->setChecked(IntKey(QStringLiteral("tpoMandatoryCustomField") + n) != 0);
        txtCustomFields_[i]->setText(
            OrDefault(TextKey(QStringLiteral("tpoTitleCustomField") + n), CustomDefault(i)));
        if (i < 4)
            chkCustomizable_[i]->setChecked(IntKey(QStringLiteral("tpoCustomizableCustomField") + n) != 0);
    }
    chkAllowMemberToChooseProjectsTasks_->setChecked(
        IntKey(QStringLiteral("tpoProjectActivityCustomizable")) != 0);
}

bool ucFieldsOption::IsDuplicateTitle(const QString& title, QStringList& seen) const {
    if (title.trimmed().isEmpty())
        return false;
    if (!seen.contains(title)) {
        seen.append(title);
        return false;
    }
    MsgBox(
        QStringLiteral("'") + title +
            QStringLiteral("' is already been used for other field!\nPlease specify a unique title name, or "
                           "leave it empty to use the default title."),
        PromptIcon::Critical);
    return true;
}

bool ucFieldsOption::SaveGlobalSettings() {
    // Titles as typed: two empty fields never collide, even where their defaults would.
    QStringList seen;
    if (IsDuplicateTitle(txtProjectTitle_->text(), seen) || IsDuplicateTitle(txtTaskTitle_->text(), seen))
        return false;
    for (QLineEdit* edit : txtCustomFields_)
        if (IsDuplicateTitle(edit->text(), seen))
            return false;
    if (StoreMissing())
        return false;
    if (txtProjectTitle_->text().trimmed().isEmpty())
        txtProjectTitle_->setText(QStringLiteral("Project"));
    if (txtTaskTitle_->text().trimmed().isEmpty())
        txtTaskTitle_->setText(QStringLiteral("Task"));
    SetKey(QStringLiteral("tpoProjectTitle"), txtProjectTitle_->text());
    SetKey(QStringLiteral("tpoActivityTitle"), txtTaskTitle_->text());
    SetKey(QStringLiteral("tpoMandatoryProject"), Flag(chkMandatoryProject_));
    SetKey(QStringLiteral("tpoMandatoryActivity"), Flag(chkMandatoryTask_));
    for (int i = 0; i < 10; ++i) {
        const QString n = QString::number(i + 1);
        SetKey(QStringLiteral("tpoMandatoryCustomField") + n, Flag(chkCustomFields_[i]));
        SetKey(QStringLiteral("tpoActiveCustomField") + n, Flag(chkAvailable_[i]));
    }
    SetKey(QStringLiteral("tpoCustomFieldsTitle"), txtCustomFieldsTitle_->text());
    QStringList titles;
    for (int i = 0; i < 10; ++i) {
        titles.append(OrDefault(txtCustomFields_[i]->text(), CustomDefault(i)));
        SetKey(QStringLiteral("tpoTitleCustomField") + QString::number(i + 1), titles.last());
    }
    SetKey(QStringLiteral("tpoProjectActivityCustomizable"), Flag(chkAllowMemberToChooseProjectsTasks_));
    for (int i = 0; i < 4; ++i)
        SetKey(QStringLiteral("tpoCustomizableCustomField") + QString::number(i + 1),
               Flag(chkCustomizable_[i]));
    DBSettings()->SaveGlobalSettings(5);
    if (cMySettings* my = Process().mySettings) {
        my->ProjectTitle = txtProjectTitle_->text();
        my->ActivityTitle = txtTaskTitle_->text();
        my->CustomFieldsTitle = txtCustomFieldsTitle_->text();
        for (int i = 0; i < 10; ++i)
            my->CustomFieldName[i] = titles[i];
        my->SaveAdminSettingsOnly();
    }
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
    // Only the member's rate can be a member's to change.
    chkAllowMemberToChangeRate_->setEnabled(optRateFrom_->index() == 2);
    txtHours_->setEnabled(optRateInterval_->index() == 1);
    optWhichEndDate_->setEnabled(chkUpdateAppointmentEndDateWith_->isChecked());
    optWhichDueDate_->setEnabled(chkUpdateTaskDueDateWith_->isChecked());
}

void ucAdvancedOptions::subGetSettings() {
    optRateFrom_->setIndex(IntKey(QStringLiteral("tpoUseRateFrom")));
    chkAllowMemberToChangeRate_->setChecked(IntKey(QStringLiteral("tpoAllowMemberToChangeRate")) != 0);
    optTaskWork_->setIndex(IntKey(QStringLiteral("tpoWorkFieldToUseForTaskItem")));
    optRateInterval_->setIndex(IntKey(QStringLiteral("tpoRateIntervalMode")));
    txtHours_->setText(QString::number(IntKey(QStringLiteral("tpoRateIntervalCustomValue"))));
    chkAllowEditOfEmailToReport_->setChecked(IntKey(QStringLiteral("tpoAllowEditOfEmailToReport")) != 0);
    chkPromptMeOnClickingNotifyButton_->setChecked(
        IntKey(QStringLiteral("tpoAllowSelectionOfMembersToReport")) != 0);
    chkReportEditable_->setChecked(IntKey(QStringLiteral("tpoReportEditable")) != 0);
    chkUpdateItemStartDateWithProjectStartDate_->setChecked(
        IntKey(QStringLiteral("tpoUpdateItemStartDateWithProjectStartDate")) != 0);
    chkUpdateAppointmentEndDateWith_->setChecked(IntKey(QStringLiteral("tpoUpdateAppointmentEndDateWith")) !=
                                                 0);
    optWhichEndDate_->setIndex(IntKey(QStringLiteral("tpoAppointmentWhichEndDate")));
    chkUpdateTaskDueDateWith_->setChecked(IntKey(QStringLiteral("tpoUpdateTaskEndDateWith")) != 0);
    optWhichDueDate_->setIndex(IntKey(QStringLiteral("tpoTaskWhichDueDate")));
    updateDependents();
}

bool ucAdvancedOptions::SaveGlobalSettings() {
    // The interval is a 16-bit number of hours; a custom one of 0 hours would divide by nothing.
    const int hours =
        WholeNumber(txtHours_->text().trimmed().isEmpty() ? QStringLiteral("0") : txtHours_->text(),
                    optRateInterval_->index() == 1 ? 1 : 0, 32767);
    if (hours < 0) {
        Warn(QStringLiteral("The custom interval '") + txtHours_->text() +
             QStringLiteral("' is not a whole number of hours from 1 to 32767."));
        return false;
    }
    if (StoreMissing())
        return false;
    const int rateFrom = optRateFrom_->index();
    SetKey(QStringLiteral("tpoUseRateFrom"), QString::number(rateFrom));
    SetKey(QStringLiteral("tpoAllowMemberToChangeRate"),
           rateFrom == 2 ? Flag(chkAllowMemberToChangeRate_) : QStringLiteral("0"));
    SetKey(QStringLiteral("tpoWorkFieldToUseForTaskItem"), QString::number(optTaskWork_->index()));
    SetKey(QStringLiteral("tpoRateIntervalMode"), QString::number(optRateInterval_->index()));
    SetKey(QStringLiteral("tpoRateIntervalCustomValue"), QString::number(hours));
    SetKey(QStringLiteral("tpoAllowEditOfEmailToReport"), Flag(chkAllowEditOfEmailToReport_));
    SetKey(QStringLiteral("tpoAllowSelectionOfMembersToReport"), Flag(chkPromptMeOnClickingNotifyButton_));
    SetKey(QStringLiteral("tpoReportEditable"), Flag(chkReportEditable_));
    SetKey(QStringLiteral("tpoUpdateItemStartDateWithProjectStartDate"),
           Flag(chkUpdateItemStartDateWithProjectStartDate_));
    SetKey(QStringLiteral("tpoUpdateAppointmentEndDateWith"), Flag(chkUpdateAppointmentEndDateWith_));
    SetKey(QStringLiteral("tpoAppointmentWhichEndDate"), QString::number(optWhichEndDate_->index()));
    SetKey(QStringLiteral("tpoUpdateTaskEndDateWith"), Flag(chkUpdateTaskDueDateWith_));
    SetKey(QStringLiteral("tpoTaskWhichDueDate"), QString::number(optWhichDueDate_->index()));
    DBSettings()->SaveGlobalSettings(5);
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
    chkAllowUpgradeFromNetworkPath_->setChecked(IntKey(QStringLiteral("tpoAllowAutoUpgrade")) != 0);
    txtUNCPath_->setText(TextKey(QStringLiteral("tpoUpgradeFoderPath")).trimmed());
    chkAutomaticCheckForUpgradeAtStartup_->setChecked(
        IntKey(QStringLiteral("tpoAutoCheckForNewVersionAtStartup")) != 0);
    optInstallMode_->setIndex(IntKey(QStringLiteral("tpoInstallModeOfUpgrade")));
    chkDisplayMessageToMemberOnNewVersionAvailiability_->setChecked(
        IntKey(QStringLiteral("tpoDisplayMessageToMemberOnNewVersionAvailiability")) != 0);
    EnableAll();
}

bool ucAutomaticUpgrade::SaveGlobalSettings() {
    // A path the members' clients read (a share such as \\server\share), not a folder of this
    // machine: it is kept as typed, whether or not it can be reached from here.
    if (StoreMissing())
        return false;
    SetKey(QStringLiteral("tpoAllowAutoUpgrade"), Flag(chkAllowUpgradeFromNetworkPath_));
    SetKey(QStringLiteral("tpoUpgradeFoderPath"), txtUNCPath_->text());
    SetKey(QStringLiteral("tpoAutoCheckForNewVersionAtStartup"), Flag(chkAutomaticCheckForUpgradeAtStartup_));
    SetKey(QStringLiteral("tpoInstallModeOfUpgrade"), QString::number(optInstallMode_->index()));
    SetKey(QStringLiteral("tpoDisplayMessageToMemberOnNewVersionAvailiability"),
           Flag(chkDisplayMessageToMemberOnNewVersionAvailiability_));
    DBSettings()->SaveGlobalSettings(5);
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
    const cDBSettings* g = DBSettings();
    chkRequiresManagerialApproval_->setChecked(IntKey(QStringLiteral("tpoRequiresManagerApproval")) != 0);
    chkEnableEditingProjectTask_->setChecked(IntKey(QStringLiteral("tpoAuditEnableProjectActivityEdit")) !=
                                             0);
    chkEnableEditingOfCost_->setChecked(IntKey(QStringLiteral("tpoAuditEnableCostEdit")) != 0);
    chkSendAutoNotificationToMemberWhenApproved_->setChecked(
        g && g->MessageTemplates.IsChecked(QStringLiteral("tpoNotifyMemberWhenApproved")));
    chkDisplayApprovedEmail_->setChecked(IntKey(QStringLiteral("tpoAuditDisplayApprovedEmail")) != 0);
    chkSendAutoNotificationToMemberWhenDecline_->setChecked(
        g && g->MessageTemplates.IsChecked(QStringLiteral("tpoNotifyMemberWhenDecline")));
    chkDisplayDeclinedEmail_->setChecked(IntKey(QStringLiteral("tpoAuditDisplayDeclinedEmail")) != 0);
    chkRemoveDeclinedDataFromDB_->setChecked(IntKey(QStringLiteral("tpoAuditRemoveDeclinedDataFromDB")) != 0);
    updateDependents();
}

bool ucAuditOptions::SaveGlobalSettings() {
    if (StoreMissing())
        return false;
    cDBSettings* g = DBSettings();
    SetKey(QStringLiteral("tpoRequiresManagerApproval"), Flag(chkRequiresManagerialApproval_));
    SetKey(QStringLiteral("tpoAuditEnableProjectActivityEdit"), Flag(chkEnableEditingProjectTask_));
    SetKey(QStringLiteral("tpoAuditEnableCostEdit"), Flag(chkEnableEditingOfCost_));
    SetKey(QStringLiteral("tpoAuditDisplayApprovedEmail"), Flag(chkDisplayApprovedEmail_));
    SetKey(QStringLiteral("tpoAuditDisplayDeclinedEmail"), Flag(chkDisplayDeclinedEmail_));
    SetKey(QStringLiteral("tpoAuditRemoveDeclinedDataFromDB"), Flag(chkRemoveDeclinedDataFromDB_));
    g->SaveGlobalSettings(5);
    g->MessageTemplates.SetNotificaionEnabledValue(QStringLiteral("tpoNotifyMemberWhenApproved"),
                                                   chkSendAutoNotificationToMemberWhenApproved_->isChecked());
    g->MessageTemplates.SetNotificaionEnabledValue(QStringLiteral("tpoNotifyMemberWhenDecline"),
                                                   chkSendAutoNotificationToMemberWhenDecline_->isChecked());
    g->SaveGlobalSettings(4);
    if (cMySettings* my = Process().mySettings) {
        my->setFlag(QStringLiteral("AllowManagerReview"),
                    chkRequiresManagerialApproval_->isChecked() ? 1 : 0);
        my->SaveAdminSettingsOnly();
    }
    return true;
}

// ---------------------------------------------------------------------------------------------------

namespace {
const char* const kReportingFlags[][2] = {
    {"chkHideExpiredProjectsFromMembers", "tpoHideExpiredProjectsFromMembers"},
    {"chkHideExpiredTasksFromMembers", "tpoHideExpiredTasksFromMembers"},
    {"chkPreventPostingItemWithExpiredProjects", "tpoPreventPostingWithExpiredProjects"},
    {"chkPreventPostingItemWithExpiredTask", "tpoPreventPostingWithExpiredActivities"},
    {"chkAllowUpdateToReportedData", "tpoAllowUpdatedToReportedData"},
    {"chkAllowMembersToWithdrawReportedData", "tpoAllowWithdrawalOfReport"},
    {"chkReportFromDefaultCalendarOnly", "tpoReportAppointmentFromDefaultFolderOnly"},
    {"chkReportFromDefaultTaskFolderOnly", "tpoReportTaskFromDefaultFolderOnly"},
};
const char* const kReportingCaptions[] = {
    "Hide expired projects from members",
    "Hide expired activities from members",
    "Don't allow posting of items with expired projects",
    "Don't allow posting of items with expired activities",
    "Allow members to update published timesheet",
    "Allow members to withdraw published timesheet",
    "Report appointments from the default calendar only",
    "Report tasks from the default task folder only",
};
// Most hours a month can hold.
constexpr int kHoursInAMonth = 744;
}  // namespace

ucReportingOptions::ucReportingOptions(QWidget* parent) : SettingsPanel(parent) {
    setObjectName(QStringLiteral("ucReportingOptions"));
    auto* layout = new QVBoxLayout(this);
    for (int i = 0; i < 4; ++i)
        flags_.append(Check(this, layout, QString::fromLatin1(kReportingFlags[i][0]),
                            QString::fromLatin1(kReportingCaptions[i])));
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
    for (int i = 4; i < 8; ++i)
        flags_.append(Check(this, layout, QString::fromLatin1(kReportingFlags[i][0]),
                            QString::fromLatin1(kReportingCaptions[i])));
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
    for (int i = 0; i < flags_.size(); ++i)
        flags_[i]->setChecked(IntKey(QString::fromLatin1(kReportingFlags[i][1])) != 0);
    chkPreventPostingItemLessThan_->setChecked(IntKey(QStringLiteral("tpoPreventWorkTimeLessThan")) != 0);
    // A value saved empty reads back as one blank.
    txtMinimumPostingWorkTime_->setText(TextKey(QStringLiteral("tpoMinimumWorkTimeRequired")).trimmed());
    txtWorkingHoursMonth_->setText(TextKey(QStringLiteral("tpoTotalWorkHoursMonth")).trimmed());
    chkCopyReportedTaskItemTo_->setChecked(IntKey(QStringLiteral("tpoCopyReportedTaskToRepository")) != 0);
    txtRepositoryTaskPublicFolder_->setText(TextKey(QStringLiteral("tpoTaskRepositoryFolder")).trimmed());
    chkCopyReportedAppointmentItemTo_->setChecked(
        IntKey(QStringLiteral("tpoCopyReportedAppointmentToRepository")) != 0);
    txtRepositoryAppointmentPublicFolder_->setText(
        TextKey(QStringLiteral("tpoAppointmentRepositoryFolder")).trimmed());
    updateDependents();
}

bool ucReportingOptions::SaveGlobalSettings() {
    const QString minutes = txtMinimumPostingWorkTime_->text().trimmed();
    if (chkPreventPostingItemLessThan_->isChecked()
            ? WholeNumber(minutes, 1, 32767) < 0
            : !minutes.isEmpty() && WholeNumber(minutes, 0, 32767) < 0) {
        Warn(QStringLiteral("The minimum work time '") + minutes +
             QStringLiteral("' is not a whole number of minutes from 1 to 32767."));
        return false;
    }
    const QString hours = txtWorkingHoursMonth_->text().trimmed();
    if (!hours.isEmpty() && WholeNumber(hours, 1, kHoursInAMonth) < 0) {
        Warn(QStringLiteral("The total working hours per month '") + hours +
             QStringLiteral("' is not a whole number from 1 to ") + QString::number(kHoursInAMonth) + u'.');
        return false;
    }
    // The copy folders are the members' clients' folder paths: kept as typed, not checked here.
    if (StoreMissing())
        return false;
    for (int i = 0; i < 4; ++i)
        SetKey(QString::fromLatin1(kReportingFlags[i][1]), Flag(flags_[i]));
    SetKey(QStringLiteral("tpoPreventWorkTimeLessThan"), Flag(chkPreventPostingItemLessThan_));
    SetKey(QStringLiteral("tpoMinimumWorkTimeRequired"), minutes);
    SetKey(QStringLiteral("tpoTotalWorkHoursMonth"), hours);
    for (int i = 4; i < 8; ++i)
        SetKey(QString::fromLatin1(kReportingFlags[i][1]), Flag(flags_[i]));
    SetKey(QStringLiteral("tpoCopyReportedTaskToRepository"), Flag(chkCopyReportedTaskItemTo_));
    SetKey(QStringLiteral("tpoTaskRepositoryFolder"), txtRepositoryTaskPublicFolder_->text());
    SetKey(QStringLiteral("tpoCopyReportedAppointmentToRepository"), Flag(chkCopyReportedAppointmentItemTo_));
    SetKey(QStringLiteral("tpoAppointmentRepositoryFolder"), txtRepositoryAppointmentPublicFolder_->text());
    DBSettings()->SaveGlobalSettings(5);
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
