#include "settings/option_settings.h"

#include "core/local_settings.h"
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
void SetFlag(cDBSettings& g, const QString& key, bool on) {
    SetKey(g, key, on ? QStringLiteral("1") : QStringLiteral("0"));
}
void SetNumber(cDBSettings& g, const QString& key, int value) {
    SetKey(g, key, QString::number(value));
}

QString OrDefault(const QString& text, const QString& fallback) {
    return text.trimmed().isEmpty() ? fallback : text;
}
QString CustomDefault(int i) {
    return QStringLiteral("Custom Field ") + QString::number(i + 1);
}

const char* const kAccessKeys[AccessControlValues::kFlags] = {
    "tpoAllowTaskItem",          "tpoAllowAppointmentItem",  "tpoAllowMemberViewAllSummaryReports",
    "tpoAllowMemberAddActivity", "tpoAllowMemberAddProject", "tpoAllowMemberAddCustomList",
    "tpoAllowMemberViewAllOLAP",
};

struct SwitchRow {
    const char* control;
    const char* key;
    int name;  // index into the display names of the notification events
};
const SwitchRow kSwitchRows[NotificationSwitchValues::kSwitches] = {
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

const char* const kReportingFlags[ReportingValues::kFlags][3] = {
    {"chkHideExpiredProjectsFromMembers", "tpoHideExpiredProjectsFromMembers",
     "Hide expired projects from members"},
    {"chkHideExpiredTasksFromMembers", "tpoHideExpiredTasksFromMembers",
     "Hide expired activities from members"},
    {"chkPreventPostingItemWithExpiredProjects", "tpoPreventPostingWithExpiredProjects",
     "Don't allow posting of items with expired projects"},
    {"chkPreventPostingItemWithExpiredTask", "tpoPreventPostingWithExpiredActivities",
     "Don't allow posting of items with expired activities"},
    {"chkAllowUpdateToReportedData", "tpoAllowUpdatedToReportedData",
     "Allow members to update published timesheet"},
    {"chkAllowMembersToWithdrawReportedData", "tpoAllowWithdrawalOfReport",
     "Allow members to withdraw published timesheet"},
    {"chkReportFromDefaultCalendarOnly", "tpoReportAppointmentFromDefaultFolderOnly",
     "Report appointments from the default calendar only"},
    {"chkReportFromDefaultTaskFolderOnly", "tpoReportTaskFromDefaultFolderOnly",
     "Report tasks from the default task folder only"},
};
// Most hours a month can hold.
constexpr int kHoursInAMonth = 744;

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
    for (int i = 0; i < kFlags; ++i)
        flags[size_t(i)] = FlagKey(g, QString::fromLatin1(kAccessKeys[i]));
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
    for (int i = 0; i < kFlags; ++i)
        SetFlag(g, QString::fromLatin1(kAccessKeys[i]), flags[size_t(i)]);
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
    return g ? g->NotificationNames.value(row.name) : QString::fromLatin1(row.key);
}

void NotificationSwitchValues::Load(const cDBSettings* g) {
    for (int i = 0; i < kSwitches; ++i)
        on[size_t(i)] = g && g->MessageTemplates.IsChecked(QString::fromLatin1(kSwitchRows[i].key));
}

void NotificationSwitchValues::Save(cDBSettings& g) const {
    for (int i = 0; i < kSwitches; ++i)
        g.MessageTemplates.SetNotificaionEnabledValue(QString::fromLatin1(kSwitchRows[i].key), on[size_t(i)]);
    g.SaveGlobalSettings(4);
}

// ---- fields ------------------------------------------------------------------------------------

void FieldsValues::Load(const cDBSettings* g) {
    projectTitle = OrDefault(TextKey(g, QStringLiteral("tpoProjectTitle")), QStringLiteral("Project"));
    activityTitle = OrDefault(TextKey(g, QStringLiteral("tpoActivityTitle")), QStringLiteral("Task"));
    mandatoryProject = FlagKey(g, QStringLiteral("tpoMandatoryProject"));
    mandatoryActivity = FlagKey(g, QStringLiteral("tpoMandatoryActivity"));
    customFieldsTitle =
        OrDefault(TextKey(g, QStringLiteral("tpoCustomFieldsTitle")), QStringLiteral("Custom Fields"));
    for (int i = 0; i < 10; ++i) {
        const QString n = QString::number(i + 1);
        available[size_t(i)] = FlagKey(g, QStringLiteral("tpoActiveCustomField") + n);
        mandatory[size_t(i)] = FlagKey(g, QStringLiteral("tpoMandatoryCustomField") + n);
        titles[size_t(i)] =
            OrDefault(TextKey(g, QStringLiteral("tpoTitleCustomField") + n), CustomDefault(i));
        if (i < 4)
            customizable[size_t(i)] = FlagKey(g, QStringLiteral("tpoCustomizableCustomField") + n);
    }
    membersChooseProjects = FlagKey(g, QStringLiteral("tpoProjectActivityCustomizable"));
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
    if (projectTitle.trimmed().isEmpty())
        projectTitle = QStringLiteral("Project");
    if (activityTitle.trimmed().isEmpty())
        activityTitle = QStringLiteral("Task");
    SetKey(g, QStringLiteral("tpoProjectTitle"), projectTitle);
    SetKey(g, QStringLiteral("tpoActivityTitle"), activityTitle);
    SetFlag(g, QStringLiteral("tpoMandatoryProject"), mandatoryProject);
    SetFlag(g, QStringLiteral("tpoMandatoryActivity"), mandatoryActivity);
    for (int i = 0; i < 10; ++i) {
        const QString n = QString::number(i + 1);
        SetFlag(g, QStringLiteral("tpoMandatoryCustomField") + n, mandatory[size_t(i)]);
        SetFlag(g, QStringLiteral("tpoActiveCustomField") + n, available[size_t(i)]);
    }
    SetKey(g, QStringLiteral("tpoCustomFieldsTitle"), customFieldsTitle);
    std::array<QString, 10> saved;
    for (int i = 0; i < 10; ++i) {
        saved[size_t(i)] = OrDefault(titles[size_t(i)], CustomDefault(i));
        SetKey(g, QStringLiteral("tpoTitleCustomField") + QString::number(i + 1), saved[size_t(i)]);
    }
    SetFlag(g, QStringLiteral("tpoProjectActivityCustomizable"), membersChooseProjects);
    for (int i = 0; i < 4; ++i)
        SetFlag(g, QStringLiteral("tpoCustomizableCustomField") + QString::number(i + 1),
                customizable[size_t(i)]);
    g.SaveGlobalSettings(5);
    if (my) {
        my->ProjectTitle = projectTitle;
        my->ActivityTitle = activityTitle;
        my->CustomFieldsTitle = customFieldsTitle;
        for (int i = 0; i < 10; ++i)
            my->CustomFieldName[i] = saved[size_t(i)];
        my->SaveAdminSettingsOnly();
    }
}

// ---- advanced ----------------------------------------------------------------------------------

void AdvancedValues::Load(const cDBSettings* g) {
    rateFrom = IntKey(g, QStringLiteral("tpoUseRateFrom"));
    memberChangesRate = FlagKey(g, QStringLiteral("tpoAllowMemberToChangeRate"));
    taskWork = IntKey(g, QStringLiteral("tpoWorkFieldToUseForTaskItem"));
    rateInterval = IntKey(g, QStringLiteral("tpoRateIntervalMode"));
    hours = QString::number(IntKey(g, QStringLiteral("tpoRateIntervalCustomValue")));
    editMailToReport = FlagKey(g, QStringLiteral("tpoAllowEditOfEmailToReport"));
    chooseRecipients = FlagKey(g, QStringLiteral("tpoAllowSelectionOfMembersToReport"));
    reportEditable = FlagKey(g, QStringLiteral("tpoReportEditable"));
    startFromProject = FlagKey(g, QStringLiteral("tpoUpdateItemStartDateWithProjectStartDate"));
    updateEndDate = FlagKey(g, QStringLiteral("tpoUpdateAppointmentEndDateWith"));
    whichEndDate = IntKey(g, QStringLiteral("tpoAppointmentWhichEndDate"));
    updateDueDate = FlagKey(g, QStringLiteral("tpoUpdateTaskEndDateWith"));
    whichDueDate = IntKey(g, QStringLiteral("tpoTaskWhichDueDate"));
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
    SetNumber(g, QStringLiteral("tpoUseRateFrom"), rateFrom);
    SetFlag(g, QStringLiteral("tpoAllowMemberToChangeRate"), MemberRateApplies() && memberChangesRate);
    SetNumber(g, QStringLiteral("tpoWorkFieldToUseForTaskItem"), taskWork);
    SetNumber(g, QStringLiteral("tpoRateIntervalMode"), rateInterval);
    SetNumber(g, QStringLiteral("tpoRateIntervalCustomValue"), IntervalHours(*this));
    SetFlag(g, QStringLiteral("tpoAllowEditOfEmailToReport"), editMailToReport);
    SetFlag(g, QStringLiteral("tpoAllowSelectionOfMembersToReport"), chooseRecipients);
    SetFlag(g, QStringLiteral("tpoReportEditable"), reportEditable);
    SetFlag(g, QStringLiteral("tpoUpdateItemStartDateWithProjectStartDate"), startFromProject);
    SetFlag(g, QStringLiteral("tpoUpdateAppointmentEndDateWith"), updateEndDate);
    SetNumber(g, QStringLiteral("tpoAppointmentWhichEndDate"), whichEndDate);
    SetFlag(g, QStringLiteral("tpoUpdateTaskEndDateWith"), updateDueDate);
    SetNumber(g, QStringLiteral("tpoTaskWhichDueDate"), whichDueDate);
    g.SaveGlobalSettings(5);
}

// ---- upgrade -----------------------------------------------------------------------------------

void UpgradeValues::Load(const cDBSettings* g) {
    allowUpgrade = FlagKey(g, QStringLiteral("tpoAllowAutoUpgrade"));
    path = TextKey(g, QStringLiteral("tpoUpgradeFoderPath")).trimmed();
    checkAtStartup = FlagKey(g, QStringLiteral("tpoAutoCheckForNewVersionAtStartup"));
    installMode = IntKey(g, QStringLiteral("tpoInstallModeOfUpgrade"));
    tellMember = FlagKey(g, QStringLiteral("tpoDisplayMessageToMemberOnNewVersionAvailiability"));
}

void UpgradeValues::Save(cDBSettings& g) const {
    SetFlag(g, QStringLiteral("tpoAllowAutoUpgrade"), allowUpgrade);
    SetKey(g, QStringLiteral("tpoUpgradeFoderPath"), path);
    SetFlag(g, QStringLiteral("tpoAutoCheckForNewVersionAtStartup"), checkAtStartup);
    SetNumber(g, QStringLiteral("tpoInstallModeOfUpgrade"), installMode);
    SetFlag(g, QStringLiteral("tpoDisplayMessageToMemberOnNewVersionAvailiability"), tellMember);
    g.SaveGlobalSettings(5);
}

// ---- audit -------------------------------------------------------------------------------------

void AuditValues::Load(const cDBSettings* g) {
    requiresApproval = FlagKey(g, QStringLiteral("tpoRequiresManagerApproval"));
    editProjectActivity = FlagKey(g, QStringLiteral("tpoAuditEnableProjectActivityEdit"));
    editCost = FlagKey(g, QStringLiteral("tpoAuditEnableCostEdit"));
    notifyApproved = g && g->MessageTemplates.IsChecked(QStringLiteral("tpoNotifyMemberWhenApproved"));
    showApprovedMail = FlagKey(g, QStringLiteral("tpoAuditDisplayApprovedEmail"));
    notifyDeclined = g && g->MessageTemplates.IsChecked(QStringLiteral("tpoNotifyMemberWhenDecline"));
    showDeclinedMail = FlagKey(g, QStringLiteral("tpoAuditDisplayDeclinedEmail"));
    removeDeclined = FlagKey(g, QStringLiteral("tpoAuditRemoveDeclinedDataFromDB"));
}

void AuditValues::Save(cDBSettings& g, cMySettings* my) const {
    SetFlag(g, QStringLiteral("tpoRequiresManagerApproval"), requiresApproval);
    SetFlag(g, QStringLiteral("tpoAuditEnableProjectActivityEdit"), editProjectActivity);
    SetFlag(g, QStringLiteral("tpoAuditEnableCostEdit"), editCost);
    SetFlag(g, QStringLiteral("tpoAuditDisplayApprovedEmail"), showApprovedMail);
    SetFlag(g, QStringLiteral("tpoAuditDisplayDeclinedEmail"), showDeclinedMail);
    SetFlag(g, QStringLiteral("tpoAuditRemoveDeclinedDataFromDB"), removeDeclined);
    g.SaveGlobalSettings(5);
    g.MessageTemplates.SetNotificaionEnabledValue(QStringLiteral("tpoNotifyMemberWhenApproved"),
                                                  notifyApproved);
    g.MessageTemplates.SetNotificaionEnabledValue(QStringLiteral("tpoNotifyMemberWhenDecline"),
                                                  notifyDeclined);
    g.SaveGlobalSettings(4);
    if (my) {
        my->setFlag(QStringLiteral("AllowManagerReview"), requiresApproval ? 1 : 0);
        my->SaveAdminSettingsOnly();
    }
}

// ---- reporting ---------------------------------------------------------------------------------

QString ReportingValues::ControlName(int index) {
    return QString::fromLatin1(kReportingFlags[index][0]);
}
QString ReportingValues::Caption(int index) {
    return QString::fromLatin1(kReportingFlags[index][2]);
}

void ReportingValues::Load(const cDBSettings* g) {
    for (int i = 0; i < kFlags; ++i)
        flags[size_t(i)] = FlagKey(g, QString::fromLatin1(kReportingFlags[i][1]));
    preventShortItems = FlagKey(g, QStringLiteral("tpoPreventWorkTimeLessThan"));
    // A value saved empty reads back as one blank.
    minimumMinutes = TextKey(g, QStringLiteral("tpoMinimumWorkTimeRequired")).trimmed();
    hoursPerMonth = TextKey(g, QStringLiteral("tpoTotalWorkHoursMonth")).trimmed();
    copyTasks = FlagKey(g, QStringLiteral("tpoCopyReportedTaskToRepository"));
    taskFolder = TextKey(g, QStringLiteral("tpoTaskRepositoryFolder")).trimmed();
    copyAppointments = FlagKey(g, QStringLiteral("tpoCopyReportedAppointmentToRepository"));
    appointmentFolder = TextKey(g, QStringLiteral("tpoAppointmentRepositoryFolder")).trimmed();
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
    for (int i = 0; i < 4; ++i)
        SetFlag(g, QString::fromLatin1(kReportingFlags[i][1]), flags[size_t(i)]);
    SetFlag(g, QStringLiteral("tpoPreventWorkTimeLessThan"), preventShortItems);
    SetKey(g, QStringLiteral("tpoMinimumWorkTimeRequired"), minimumMinutes.trimmed());
    SetKey(g, QStringLiteral("tpoTotalWorkHoursMonth"), hoursPerMonth.trimmed());
    for (int i = 4; i < kFlags; ++i)
        SetFlag(g, QString::fromLatin1(kReportingFlags[i][1]), flags[size_t(i)]);
    SetFlag(g, QStringLiteral("tpoCopyReportedTaskToRepository"), copyTasks);
    SetKey(g, QStringLiteral("tpoTaskRepositoryFolder"), taskFolder);
    SetFlag(g, QStringLiteral("tpoCopyReportedAppointmentToRepository"), copyAppointments);
    SetKey(g, QStringLiteral("tpoAppointmentRepositoryFolder"), appointmentFolder);
    g.SaveGlobalSettings(5);
}

}  // namespace tlm
