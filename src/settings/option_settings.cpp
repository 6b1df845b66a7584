#include "settings/option_settings.h"

#include <vector>

#include "core/local_settings.h"
#include "domain/option_keys.h"
#include "settings/global_settings.h"

namespace tlm {

namespace {

qint16 IntKey(const cDBSettings* g, const QString& key) {
    return g ? qint16(g->GeneralSettings.GetValue(key, cGeneralSettings::kInteger).toInt()) : 0;
}
bool FlagKey(const cDBSettings* g, const QString& key) {
    return IntKey(g, key) != 0;
}
QString TextKey(const cDBSettings* g, const QString& key) {
    return g ? g->GeneralSettings.GetValue(key, cGeneralSettings::kText).toString() : QString();
}

void SetKey(cDBSettings& g, const QString& key, const QString& value) {
    g.GeneralSettings.SetValue(key, value);
}

QString OrDefault(const QString& text, const QString& fallback) {
    return text.trimmed().isEmpty() ? fallback : text;
}
QString CustomDefault(int i) {
    return QStringLiteral("Custom Field ") + QString::number(i + 1);
}

// One key of a panel: its name, the field it fills and how the two convert. A panel lists its keys
// once, in the order it saves them, and Load and Save both walk that list.
struct OptionKey {
    enum class Kind {
        Flag,        // a switch, saved as "1" or "0"
        Number,      // a 16-bit whole number
        NumberText,  // a 16-bit whole number in a text field
        Text,        // read trimmed, saved as it is
        Title,       // read as it is, the fallback when blank; saved as it is
        Template,    // the switch of the notification template of that name
    };
    QString name;
    Kind kind;
    bool* flag;
    int* number;
    QString* text;
    QString fallback;
};
using Keys = std::vector<OptionKey>;

OptionKey Flag(const QString& name, bool& field) {
    return {name, OptionKey::Kind::Flag, &field, nullptr, nullptr, QString()};
}
OptionKey Template(const QString& name, bool& field) {
    return {name, OptionKey::Kind::Template, &field, nullptr, nullptr, QString()};
}
OptionKey Number(const QString& name, int& field) {
    return {name, OptionKey::Kind::Number, nullptr, &field, nullptr, QString()};
}
OptionKey NumberText(const QString& name, QString& field) {
    return {name, OptionKey::Kind::NumberText, nullptr, nullptr, &field, QString()};
}
OptionKey Text(const QString& name, QString& field) {
    return {name, OptionKey::Kind::Text, nullptr, nullptr, &field, QString()};
}
OptionKey Title(const QString& name, QString& field, const QString& fallback) {
    return {name, OptionKey::Kind::Title, nullptr, nullptr, &field, fallback};
}

// nullptr reads as an empty store.
void LoadKeys(const cDBSettings* g, const Keys& keys) {
    for (const OptionKey& k : keys) {
        switch (k.kind) {
            case OptionKey::Kind::Flag:
                *k.flag = FlagKey(g, k.name);
                break;
            case OptionKey::Kind::Template:
                *k.flag = g && g->MessageTemplates.IsChecked(k.name);
                break;
            case OptionKey::Kind::Number:
                *k.number = IntKey(g, k.name);
                break;
            case OptionKey::Kind::NumberText:
                *k.text = QString::number(IntKey(g, k.name));
                break;
            case OptionKey::Kind::Text:
                *k.text = TextKey(g, k.name).trimmed();
                break;
            case OptionKey::Kind::Title:
                *k.text = OrDefault(TextKey(g, k.name), k.fallback);
                break;
        }
    }
}

// Sets the keys in the store; the caller saves the tables.
void SaveKeys(cDBSettings& g, const Keys& keys) {
    for (const OptionKey& k : keys) {
        switch (k.kind) {
            case OptionKey::Kind::Flag:
                SetKey(g, k.name, *k.flag ? QStringLiteral("1") : QStringLiteral("0"));
                break;
            case OptionKey::Kind::Template:
                g.MessageTemplates.SetNotificaionEnabledValue(k.name, *k.flag);
                break;
            case OptionKey::Kind::Number:
                SetKey(g, k.name, QString::number(*k.number));
                break;
            case OptionKey::Kind::NumberText:
            case OptionKey::Kind::Text:
            case OptionKey::Kind::Title:
                SetKey(g, k.name, *k.text);
                break;
        }
    }
}

const QLatin1StringView kAccessKeys[AccessControlValues::kFlags] = {
    tpo::kAllowTaskItem,          tpo::kAllowAppointmentItem,  tpo::kAllowMemberViewAllSummaryReports,
    tpo::kAllowMemberAddActivity, tpo::kAllowMemberAddProject, tpo::kAllowMemberAddCustomList,
    tpo::kAllowMemberViewAllOLAP,
};

struct SwitchRow {
    const char* control;
    QLatin1StringView key;
    int name;  // index into the display names of the notification events
};
const SwitchRow kSwitchRows[NotificationSwitchValues::kSwitches] = {
    {"chkNotifyManagerWhenMemberReports", tpo::kNotifyManagerWhenMemberReports, 0},
    {"chkNotifyCoordinatorWhenMemberReports", tpo::kNotifyCoordinatorWhenMemberReports, 1},
    {"chkNotifyMembersWhenNewProjectAdded", tpo::kNotifyMembersWhenNewProjectsAdded, 2},
    {"chkNotifyMembersWhenNewTaskAdded", tpo::kNotifyMembersWhenNewActivitiesAdded, 3},
    {"chkNotifyManagerWhenNewProjectAssigned", tpo::kNotifyManagerWhenAssignedProject, 4},
    {"chkNotifyCoordinatorWhenNewTaskAssigned", tpo::kNotifyCoordinatorWhenAssignedActivity, 5},
    {"chkNotifyManagerOnTaskWithdrawal", tpo::kNotifyManagerWhenReportIsWithdrawn, 6},
    {"chkNotifyCoordinatorOnTaskWithdrawal", tpo::kNotifyCoordinatorWhenReportIsWithdrawn, 7},
    {"chkSendAutoNotificationToMemberWhenApproved", tpo::kNotifyMemberWhenApproved, 11},
    {"chkSendAutoNotificationToMemberWhenDecline", tpo::kNotifyMemberWhenDeclined, 12},
    {"chkNotifyManagerWhenMemberUpdates", tpo::kNotifyManagerWhenMemberUpdates, 13},
    {"chkNotifyCoordinatorWhenMemberUpdates", tpo::kNotifyCoordinatorWhenMemberUpdates, 14},
};

struct ReportingFlagRow {
    const char* control;
    QLatin1StringView key;
    const char* caption;
};
const ReportingFlagRow kReportingFlags[ReportingValues::kFlags] = {
    {"chkHideExpiredProjectsFromMembers", tpo::kHideExpiredProjectsFromMembers,
     "Hide expired projects from members"},
    {"chkHideExpiredTasksFromMembers", tpo::kHideExpiredTasksFromMembers,
     "Hide expired activities from members"},
    {"chkPreventPostingItemWithExpiredProjects", tpo::kPreventPostingWithExpiredProjects,
     "Don't allow posting of items with expired projects"},
    {"chkPreventPostingItemWithExpiredTask", tpo::kPreventPostingWithExpiredActivities,
     "Don't allow posting of items with expired activities"},
    {"chkAllowUpdateToReportedData", tpo::kAllowUpdateToReportedData,
     "Allow members to update published timesheet"},
    {"chkAllowMembersToWithdrawReportedData", tpo::kAllowWithdrawalOfReport,
     "Allow members to withdraw published timesheet"},
    {"chkReportFromDefaultCalendarOnly", tpo::kReportAppointmentFromDefaultFolderOnly,
     "Report appointments from the default calendar only"},
    {"chkReportFromDefaultTaskFolderOnly", tpo::kReportTaskFromDefaultFolderOnly,
     "Report tasks from the default task folder only"},
};
// Most hours a month can hold.
constexpr int kHoursInAMonth = 744;

// ---- the keys of each panel, in the order each saves them ----------------------------------------

Keys KeysOf(AccessControlValues& v) {
    Keys keys;
    for (int i = 0; i < AccessControlValues::kFlags; ++i)
        keys.push_back(Flag(kAccessKeys[i], v.flags[size_t(i)]));
    return keys;
}

Keys KeysOf(NotificationSwitchValues& v) {
    Keys keys;
    for (int i = 0; i < NotificationSwitchValues::kSwitches; ++i)
        keys.push_back(Template(kSwitchRows[i].key, v.on[size_t(i)]));
    return keys;
}

Keys KeysOf(FieldsValues& v) {
    Keys keys = {
        Title(tpo::kProjectTitle, v.projectTitle, QStringLiteral("Project")),
        Title(tpo::kActivityTitle, v.activityTitle, QStringLiteral("Task")),
        Flag(tpo::kMandatoryProject, v.mandatoryProject),
        Flag(tpo::kMandatoryActivity, v.mandatoryActivity),
    };
    for (int i = 0; i < 10; ++i) {
        keys.push_back(Flag(tpo::CustomFieldKey(tpo::kMandatoryCustomField, i + 1), v.mandatory[size_t(i)]));
        keys.push_back(Flag(tpo::CustomFieldKey(tpo::kActiveCustomField, i + 1), v.available[size_t(i)]));
    }
    keys.push_back(Title(tpo::kCustomFieldsTitle, v.customFieldsTitle, QStringLiteral("Custom Fields")));
    for (int i = 0; i < 10; ++i)
        keys.push_back(
            Title(tpo::CustomFieldKey(tpo::kTitleCustomField, i + 1), v.titles[size_t(i)], CustomDefault(i)));
    keys.push_back(Flag(tpo::kProjectActivityCustomizable, v.membersChooseProjects));
    for (int i = 0; i < 4; ++i)
        keys.push_back(
            Flag(tpo::CustomFieldKey(tpo::kCustomizableCustomField, i + 1), v.customizable[size_t(i)]));
    return keys;
}

Keys KeysOf(AdvancedValues& v) {
    return {
        Number(tpo::kUseRateFrom, v.rateFrom),
        Flag(tpo::kAllowMemberToChangeRate, v.memberChangesRate),
        Number(tpo::kWorkFieldToUseForTaskItem, v.taskWork),
        Number(tpo::kRateIntervalMode, v.rateInterval),
        NumberText(tpo::kRateIntervalCustomValue, v.hours),
        Flag(tpo::kAllowEditOfEmailToReport, v.editMailToReport),
        Flag(tpo::kAllowSelectionOfMembersToReport, v.chooseRecipients),
        Flag(tpo::kReportEditable, v.reportEditable),
        Flag(tpo::kUpdateItemStartDateWithProjectStartDate, v.startFromProject),
        Flag(tpo::kUpdateAppointmentEndDateWith, v.updateEndDate),
        Number(tpo::kAppointmentWhichEndDate, v.whichEndDate),
        Flag(tpo::kUpdateTaskEndDateWith, v.updateDueDate),
        Number(tpo::kTaskWhichDueDate, v.whichDueDate),
    };
}

Keys KeysOf(UpgradeValues& v) {
    return {
        Flag(tpo::kAllowAutoUpgrade, v.allowUpgrade),
        Text(tpo::kUpgradeFolderPath, v.path),
        Flag(tpo::kAutoCheckForNewVersionAtStartup, v.checkAtStartup),
        Number(tpo::kInstallModeOfUpgrade, v.installMode),
        Flag(tpo::kDisplayMessageToMemberOnNewVersionAvailability, v.tellMember),
    };
}

// The two switches are the notification templates' own, saved with the templates.
Keys KeysOf(AuditValues& v) {
    return {
        Flag(tpo::kRequiresManagerApproval, v.requiresApproval),
        Flag(tpo::kAuditEnableProjectActivityEdit, v.editProjectActivity),
        Flag(tpo::kAuditEnableCostEdit, v.editCost),
        Flag(tpo::kAuditDisplayApprovedEmail, v.showApprovedMail),
        Flag(tpo::kAuditDisplayDeclinedEmail, v.showDeclinedMail),
        Flag(tpo::kAuditRemoveDeclinedDataFromDB, v.removeDeclined),
        Template(tpo::kNotifyMemberWhenApproved, v.notifyApproved),
        Template(tpo::kNotifyMemberWhenDeclined, v.notifyDeclined),
    };
}

Keys KeysOf(ReportingValues& v) {
    Keys keys;
    for (int i = 0; i < 4; ++i)
        keys.push_back(Flag(kReportingFlags[i].key, v.flags[size_t(i)]));
    keys.push_back(Flag(tpo::kPreventWorkTimeLessThan, v.preventShortItems));
    keys.push_back(Text(tpo::kMinimumWorkTimeRequired, v.minimumMinutes));
    keys.push_back(Text(tpo::kTotalWorkHoursMonth, v.hoursPerMonth));
    for (int i = 4; i < ReportingValues::kFlags; ++i)
        keys.push_back(Flag(kReportingFlags[i].key, v.flags[size_t(i)]));
    keys.push_back(Flag(tpo::kCopyReportedTaskToRepository, v.copyTasks));
    keys.push_back(Text(tpo::kTaskRepositoryFolder, v.taskFolder));
    keys.push_back(Flag(tpo::kCopyReportedAppointmentToRepository, v.copyAppointments));
    keys.push_back(Text(tpo::kAppointmentRepositoryFolder, v.appointmentFolder));
    return keys;
}

}  // namespace

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

// ---- access ------------------------------------------------------------------------------------

void AccessControlValues::Load(const cDBSettings* g) {
    LoadKeys(g, KeysOf(*this));
    allowed.clear();
    notAllowed.clear();
    if (g)
        for (const auto& entry : g->Members.Items)
            (entry.item.AdminAccess ? allowed : notAllowed).append(entry.item.Name);
}

QString AccessControlValues::Check() const {
    if (allowed.isEmpty())
        return QStringLiteral("You need to add at least one member to the allowed list to continue!");
    return QString();
}

void AccessControlValues::Save(cDBSettings& g, cMySettings* my) const {
    const auto setAccess = [&g](const QStringList& names, bool access) {
        for (const QString& name : names)
            if (cMember* m = g.Members.Items.Find(name.toLower()))
                m->AdminAccess = access;
    };
    setAccess(notAllowed, false);
    setAccess(allowed, true);
    AccessControlValues saved = *this;
    SaveKeys(g, KeysOf(saved));
    if (my) {
        my->setFlag(QStringLiteral("AllowTaskItems"), flags[0] ? 1 : 0);
        my->setFlag(QStringLiteral("AllowAppointmentItems"), flags[1] ? 1 : 0);
        my->SaveAdminSettingsOnly();
    }
    g.SaveGlobalSettings(5);
    g.SaveGlobalSettings(3);
}

// ---- notification switches ---------------------------------------------------------------------

QString NotificationSwitchValues::ControlName(int index) {
    return QString::fromLatin1(kSwitchRows[index].control);
}

QString NotificationSwitchValues::Caption(const cDBSettings* g, int index) {
    const SwitchRow& row = kSwitchRows[index];
    return g ? g->NotificationNames.value(row.name) : QString(row.key);
}

void NotificationSwitchValues::Load(const cDBSettings* g) {
    LoadKeys(g, KeysOf(*this));
}

void NotificationSwitchValues::Save(cDBSettings& g) const {
    NotificationSwitchValues saved = *this;
    SaveKeys(g, KeysOf(saved));
    g.SaveGlobalSettings(4);
}

// ---- fields ------------------------------------------------------------------------------------

void FieldsValues::Load(const cDBSettings* g) {
    LoadKeys(g, KeysOf(*this));
}

QString FieldsValues::Check() const {
    QStringList seen;
    QStringList all{projectTitle, activityTitle};
    for (const QString& t : titles)
        all.append(t);
    for (const QString& title : all) {
        if (title.trimmed().isEmpty())
            continue;
        if (seen.contains(title))
            return QStringLiteral("'") + title +
                   QStringLiteral(
                       "' is already been used for other field!\nPlease specify a unique title name, or "
                       "leave it empty to use the default title.");
        seen.append(title);
    }
    return QString();
}

void FieldsValues::Save(cDBSettings& g, cMySettings* my) {
    projectTitle = OrDefault(projectTitle, QStringLiteral("Project"));
    activityTitle = OrDefault(activityTitle, QStringLiteral("Task"));
    // The custom titles are saved with their defaults, but the panel keeps them as typed.
    FieldsValues saved = *this;
    for (int i = 0; i < 10; ++i)
        saved.titles[size_t(i)] = OrDefault(titles[size_t(i)], CustomDefault(i));
    SaveKeys(g, KeysOf(saved));
    g.SaveGlobalSettings(5);
    if (my) {
        my->ProjectTitle = projectTitle;
        my->ActivityTitle = activityTitle;
        my->CustomFieldsTitle = customFieldsTitle;
        for (int i = 0; i < 10; ++i)
            my->CustomFieldName[i] = saved.titles[size_t(i)];
        my->SaveAdminSettingsOnly();
    }
}

// ---- advanced ----------------------------------------------------------------------------------

void AdvancedValues::Load(const cDBSettings* g) {
    LoadKeys(g, KeysOf(*this));
}

namespace {
// The interval is a 16-bit number of hours; a custom one of 0 hours would divide by nothing.
int IntervalHours(const AdvancedValues& v) {
    return WholeNumber(v.hours.trimmed().isEmpty() ? QStringLiteral("0") : v.hours, v.HoursApply() ? 1 : 0,
                       32767);
}
}  // namespace

QString AdvancedValues::Check() const {
    if (IntervalHours(*this) < 0)
        return QStringLiteral("The custom interval '") + hours +
               QStringLiteral("' is not a whole number of hours from 1 to 32767.");
    return QString();
}

void AdvancedValues::Save(cDBSettings& g) const {
    AdvancedValues saved = *this;
    saved.memberChangesRate = MemberRateApplies() && memberChangesRate;
    saved.hours = QString::number(IntervalHours(*this));
    SaveKeys(g, KeysOf(saved));
    g.SaveGlobalSettings(5);
}

// ---- upgrade -----------------------------------------------------------------------------------

void UpgradeValues::Load(const cDBSettings* g) {
    LoadKeys(g, KeysOf(*this));
}

void UpgradeValues::Save(cDBSettings& g) const {
    UpgradeValues saved = *this;
    SaveKeys(g, KeysOf(saved));
    g.SaveGlobalSettings(5);
}

// ---- audit -------------------------------------------------------------------------------------

void AuditValues::Load(const cDBSettings* g) {
    LoadKeys(g, KeysOf(*this));
}

void AuditValues::Save(cDBSettings& g, cMySettings* my) const {
    AuditValues saved = *this;
    SaveKeys(g, KeysOf(saved));
    g.SaveGlobalSettings(5);
    g.SaveGlobalSettings(4);
    if (my) {
        my->setFlag(QStringLiteral("AllowManagerReview"), requiresApproval ? 1 : 0);
        my->SaveAdminSettingsOnly();
    }
}

// ---- reporting ---------------------------------------------------------------------------------

QString ReportingValues::ControlName(int index) {
    return QString::fromLatin1(kReportingFlags[index].control);
}
QString ReportingValues::Caption(int index) {
    return QString::fromLatin1(kReportingFlags[index].caption);
}

void ReportingValues::Load(const cDBSettings* g) {
    // A value saved empty reads back as one blank, hence the trimmed texts.
    LoadKeys(g, KeysOf(*this));
}

QString ReportingValues::Check() const {
    const QString minutes = minimumMinutes.trimmed();
    if (preventShortItems ? WholeNumber(minutes, 1, 32767) < 0
                          : !minutes.isEmpty() && WholeNumber(minutes, 0, 32767) < 0)
        return QStringLiteral("The minimum work time '") + minutes +
               QStringLiteral("' is not a whole number of minutes from 1 to 32767.");
    const QString hours = hoursPerMonth.trimmed();
    if (!hours.isEmpty() && WholeNumber(hours, 1, kHoursInAMonth) < 0)
        return QStringLiteral("The total working hours per month '") + hours +
               QStringLiteral("' is not a whole number from 1 to ") + QString::number(kHoursInAMonth) + u'.';
    // The copy folders are the members' clients' folder paths: kept as typed, not checked here.
    return QString();
}

void ReportingValues::Save(cDBSettings& g) const {
    ReportingValues saved = *this;
    saved.minimumMinutes = minimumMinutes.trimmed();
    saved.hoursPerMonth = hoursPerMonth.trimmed();
    SaveKeys(g, KeysOf(saved));
    g.SaveGlobalSettings(5);
}

}  // namespace tlm
