#pragma once

#include <QString>

// The names of the tpo* keys of the key store (cGeneralSettings) and of the notification templates.
// A key keeps the spelling the databases hold; the constant's name is spelled right where the key
// is not.
namespace tlm::tpo {

// ---- what members may do -------------------------------------------------------------------
inline constexpr QLatin1StringView kAllowTaskItem{"tpoAllowTaskItem"};
inline constexpr QLatin1StringView kAllowAppointmentItem{"tpoAllowAppointmentItem"};
inline constexpr QLatin1StringView kAllowMemberViewAllSummaryReports{"tpoAllowMemberViewAllSummaryReports"};
inline constexpr QLatin1StringView kAllowMemberAddActivity{"tpoAllowMemberAddActivity"};
inline constexpr QLatin1StringView kAllowMemberAddProject{"tpoAllowMemberAddProject"};
inline constexpr QLatin1StringView kAllowMemberAddCustomList{"tpoAllowMemberAddCustomList"};
inline constexpr QLatin1StringView kAllowMemberViewAllOLAP{"tpoAllowMemberViewAllOLAP"};

// ---- the project and activity words and the custom fields ----------------------------------
inline constexpr QLatin1StringView kProjectTitle{"tpoProjectTitle"};
inline constexpr QLatin1StringView kActivityTitle{"tpoActivityTitle"};
inline constexpr QLatin1StringView kMandatoryProject{"tpoMandatoryProject"};
inline constexpr QLatin1StringView kMandatoryActivity{"tpoMandatoryActivity"};
inline constexpr QLatin1StringView kCustomFieldsTitle{"tpoCustomFieldsTitle"};
inline constexpr QLatin1StringView kProjectActivityCustomizable{"tpoProjectActivityCustomizable"};
// Numbered per custom field, 1 to 10 (CustomFieldKey).
inline constexpr QLatin1StringView kActiveCustomField{"tpoActiveCustomField"};
inline constexpr QLatin1StringView kMandatoryCustomField{"tpoMandatoryCustomField"};
inline constexpr QLatin1StringView kTitleCustomField{"tpoTitleCustomField"};
inline constexpr QLatin1StringView kCustomizableCustomField{"tpoCustomizableCustomField"};  // 1 to 4

// The key of custom field n (from 1) of a numbered key.
inline QString CustomFieldKey(QLatin1StringView numbered, int n) {
    return QString(numbered) + QString::number(n);
}

// ---- cost calculation and the date updates of reported items -------------------------------
inline constexpr QLatin1StringView kUseRateFrom{"tpoUseRateFrom"};
inline constexpr QLatin1StringView kAllowMemberToChangeRate{"tpoAllowMemberToChangeRate"};
inline constexpr QLatin1StringView kWorkFieldToUseForTaskItem{"tpoWorkFieldToUseForTaskItem"};
inline constexpr QLatin1StringView kRateIntervalMode{"tpoRateIntervalMode"};
inline constexpr QLatin1StringView kRateIntervalCustomValue{"tpoRateIntervalCustomValue"};
inline constexpr QLatin1StringView kAllowEditOfEmailToReport{"tpoAllowEditOfEmailToReport"};
inline constexpr QLatin1StringView kAllowSelectionOfMembersToReport{"tpoAllowSelectionOfMembersToReport"};
inline constexpr QLatin1StringView kReportEditable{"tpoReportEditable"};
inline constexpr QLatin1StringView kUpdateItemStartDateWithProjectStartDate{
    "tpoUpdateItemStartDateWithProjectStartDate"};
inline constexpr QLatin1StringView kUpdateAppointmentEndDateWith{"tpoUpdateAppointmentEndDateWith"};
inline constexpr QLatin1StringView kAppointmentWhichEndDate{"tpoAppointmentWhichEndDate"};
inline constexpr QLatin1StringView kUpdateTaskEndDateWith{"tpoUpdateTaskEndDateWith"};
inline constexpr QLatin1StringView kTaskWhichDueDate{"tpoTaskWhichDueDate"};

// ---- client upgrades -----------------------------------------------------------------------
inline constexpr QLatin1StringView kAllowAutoUpgrade{"tpoAllowAutoUpgrade"};
inline constexpr QLatin1StringView kUpgradeFolderPath{"tpoUpgradeFoderPath"};
inline constexpr QLatin1StringView kAutoCheckForNewVersionAtStartup{"tpoAutoCheckForNewVersionAtStartup"};
inline constexpr QLatin1StringView kInstallModeOfUpgrade{"tpoInstallModeOfUpgrade"};
inline constexpr QLatin1StringView kDisplayMessageToMemberOnNewVersionAvailability{
    "tpoDisplayMessageToMemberOnNewVersionAvailiability"};

// ---- approval of reported items ------------------------------------------------------------
inline constexpr QLatin1StringView kRequiresManagerApproval{"tpoRequiresManagerApproval"};
inline constexpr QLatin1StringView kAuditEnableProjectActivityEdit{"tpoAuditEnableProjectActivityEdit"};
inline constexpr QLatin1StringView kAuditEnableCostEdit{"tpoAuditEnableCostEdit"};
inline constexpr QLatin1StringView kAuditDisplayApprovedEmail{"tpoAuditDisplayApprovedEmail"};
inline constexpr QLatin1StringView kAuditDisplayDeclinedEmail{"tpoAuditDisplayDeclinedEmail"};
inline constexpr QLatin1StringView kAuditRemoveDeclinedDataFromDB{"tpoAuditRemoveDeclinedDataFromDB"};

// ---- what members may do with reported items, and where copies go -------------------------
inline constexpr QLatin1StringView kHideExpiredProjectsFromMembers{"tpoHideExpiredProjectsFromMembers"};
inline constexpr QLatin1StringView kHideExpiredTasksFromMembers{"tpoHideExpiredTasksFromMembers"};
inline constexpr QLatin1StringView kPreventPostingWithExpiredProjects{"tpoPreventPostingWithExpiredProjects"};
inline constexpr QLatin1StringView kPreventPostingWithExpiredActivities{
    "tpoPreventPostingWithExpiredActivities"};
inline constexpr QLatin1StringView kAllowUpdateToReportedData{"tpoAllowUpdatedToReportedData"};
inline constexpr QLatin1StringView kAllowWithdrawalOfReport{"tpoAllowWithdrawalOfReport"};
inline constexpr QLatin1StringView kReportAppointmentFromDefaultFolderOnly{
    "tpoReportAppointmentFromDefaultFolderOnly"};
inline constexpr QLatin1StringView kReportTaskFromDefaultFolderOnly{"tpoReportTaskFromDefaultFolderOnly"};
inline constexpr QLatin1StringView kPreventWorkTimeLessThan{"tpoPreventWorkTimeLessThan"};
inline constexpr QLatin1StringView kMinimumWorkTimeRequired{"tpoMinimumWorkTimeRequired"};
inline constexpr QLatin1StringView kTotalWorkHoursMonth{"tpoTotalWorkHoursMonth"};
inline constexpr QLatin1StringView kCopyReportedTaskToRepository{"tpoCopyReportedTaskToRepository"};
inline constexpr QLatin1StringView kTaskRepositoryFolder{"tpoTaskRepositoryFolder"};
inline constexpr QLatin1StringView kCopyReportedAppointmentToRepository{
    "tpoCopyReportedAppointmentToRepository"};
inline constexpr QLatin1StringView kAppointmentRepositoryFolder{"tpoAppointmentRepositoryFolder"};

// ---- notification templates: the switch of each, and the key of its subject ----------------
inline constexpr QLatin1StringView kNotifyManagerWhenMemberReports{"tpoNotifyManagerWhenMemberReports"};
inline constexpr QLatin1StringView kNotifyManagerWhenMemberReportsSubject{
    "tpoNotifyManagerWhenMemberReportsSubject"};
inline constexpr QLatin1StringView kNotifyCoordinatorWhenMemberReports{
    "tpoNotifyCoordinatorWhenMemberReports"};
inline constexpr QLatin1StringView kNotifyCoordinatorWhenMemberReportsSubject{
    "tpoNotifyCoordinatorWhenMemberReportsSubject"};
inline constexpr QLatin1StringView kNotifyMembersWhenNewProjectsAdded{"tpoNotifyMembersWhenNewProjectsAdded"};
inline constexpr QLatin1StringView kNotifyMembersWhenNewProjectsAddedSubject{
    "tpoNotifyMembersWhenNewProjectsAddedSubject"};
inline constexpr QLatin1StringView kNotifyMembersWhenNewActivitiesAdded{
    "tpoNotifyMembersWhenNewActivitiesAdded"};
inline constexpr QLatin1StringView kNotifyMembersWhenNewTasksAddedSubject{
    "tpoNotifyMembersWhenNewTasksAddedSubject"};
inline constexpr QLatin1StringView kNotifyManagerWhenAssignedProject{"tpoNotifyManagerWhenAssignedProject"};
inline constexpr QLatin1StringView kNotifyManagerWhenAssignedProjectSubject{
    "tpoNotifyManagerWhenAssignedProjectSubject"};
inline constexpr QLatin1StringView kNotifyCoordinatorWhenAssignedActivity{
    "tpoNotifyCoordintorWhenAssignedActivity"};
inline constexpr QLatin1StringView kNotifyCoordinatorWhenAssignedTaskSubject{
    "tpoNotifyCoordintorWhenAssignedTaskSubject"};
inline constexpr QLatin1StringView kNotifyManagerWhenReportIsWithdrawn{
    "tpoNotifyManagerWhenReportIsWithdrawn"};
inline constexpr QLatin1StringView kNotifyManagerWhenReportDeletedSubject{
    "tpoNotifyManagerWhenReportDeletedSubject"};
inline constexpr QLatin1StringView kNotifyCoordinatorWhenReportIsWithdrawn{
    "tpoNotifyCoordinatorWhenReportIsWithdrawn"};
inline constexpr QLatin1StringView kNotifyCoordinatorWhenReportDeletedSubject{
    "tpoNotifyCoordinatorWhenReportDeletedSubject"};
inline constexpr QLatin1StringView kNotifyMembersToReportOnProject{"tpoNotifyMembersToReportOnProject"};
inline constexpr QLatin1StringView kNotifyMembersToReportOnProjectSubject{
    "tpoNotifyMembersToReportOnProjectSubject"};
inline constexpr QLatin1StringView kNotifyMembersToReportOnActivity{"tpoNotifyMembersToReportOnActivity"};
inline constexpr QLatin1StringView kNotifyMembersToReportOnTaskSubject{
    "tpoNotifyMembersToReportOnTaskSubject"};
inline constexpr QLatin1StringView kNotifyMemberToReport{"tpoNotifyMemberToReport"};
inline constexpr QLatin1StringView kNotifyMemberToReportSubject{"tpoNotifyMemberToReportSubject"};
inline constexpr QLatin1StringView kNotifyMemberWhenApproved{"tpoNotifyMemberWhenApproved"};
inline constexpr QLatin1StringView kNotifyMemberWhenApprovedSubject{"tpoNotifyMemberWhenApprovedSubject"};
inline constexpr QLatin1StringView kNotifyMemberWhenDeclined{"tpoNotifyMemberWhenDecline"};
inline constexpr QLatin1StringView kNotifyMemberWhenDeclinedSubject{"tpoNotifyMemberWhenDeclineSubject"};
inline constexpr QLatin1StringView kNotifyManagerWhenMemberUpdates{"tpoNotifyManagerWhenMemberUpdates"};
inline constexpr QLatin1StringView kNotifyManagerWhenMemberUpdatesSubject{
    "tpoNotifyManagerWhenMemberUpdatesSubject"};
inline constexpr QLatin1StringView kNotifyCoordinatorWhenMemberUpdates{
    "tpoNotifyCoordinatorWhenMemberUpdates"};
inline constexpr QLatin1StringView kNotifyCoordinatorWhenMemberUpdatesSubject{
    "tpoNotifyCoordinatorWhenMemberUpdatesSubject"};
// The print template of reported items, kept with the notification templates.
inline constexpr QLatin1StringView kPrintTemplate{"tpoPrintTemplate"};

}  // namespace tlm::tpo
