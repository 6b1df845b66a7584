#include "reports/report_fields.h"

#include "domain/option_keys.h"
#include "settings/global_settings.h"

namespace tlm {

namespace {

struct FixedField {
    const char* column;
    const char* display;
};

// The fixed rows of each list, in list order.
const FixedField kTaskOrder[] = {
    {"ID", "ID"},
    {"ActualWork", "Actual Work"},
    {"BillingInformation", "Billing Information"},
    {"Categories", "Categories"},
    {"Companies", "Companies"},
    {"Complete", "Complete"},
    {"ContactNames", "Contact Names"},
    {"CreationTime", "Creation Time"},
    {"DateCompleted", "Date Completed"},
    {"DelegationState", "Delegation State"},
    {"Delegator", "Delegator"},
    {"DueDate", "Due Date"},
    {"Importance", "Importance"},
    {"IsRecurring", "Is Recurring"},
    {"LastModificationTime", "Last Modification Time"},
    {"Mileage", "Mileage"},
    {"NoAging", "No Aging"},
    {"Ordinal", "Ordinal"},
    {"Owner", "Owner"},
    {"Ownership", "Ownership"},
    {"Role", "Role"},
    {"Sensitivity", "Sensitivity"},
    {"StartDate", "Start Date"},
    {"Status", "Status"},
    {"Subject", "Subject"},
    {"TeamTask", "Team Task"},
    {"TotalWork", "Total Work"},
    {"Body", "Body"},
    {"ReportedBy", "Reported By"},
    {"ReportedDate", "Reported Date"},
};

const FixedField kAppointmentOrder[] = {
    {"ID", "ID"},
    {"AllDayEvent", "All Day Event"},
    {"BillingInformation", "Billing Information"},
    {"Categories", "Categories"},
    {"Companies", "Companies"},
    {"CreationTime", "Creation Time"},
    {"Duration", "Duration"},
    {"EndDate", "End Date"},
    {"DelegationState", "Delegation State"},
    {"Delegator", "Delegator"},
    {"Importance", "Importance"},
    {"IsRecurring", "Is Recurring"},
    {"LastModificationTime", "Last Modification Time"},
    {"Mileage", "Mileage"},
    {"NoAging", "No Aging"},
    {"Location", "Location"},
    {"RecurrenceState", "Recurrence State"},
    {"MeetingStatus", "Meeting Status"},
    {"ResponseStatus", "Response Status"},
    {"Sensitivity", "Sensitivity"},
    {"StartDate", "Start Date"},
    {"Subject", "Subject"},
    {"Body", "Body"},
    {"OptionalAttendees", "Optional Attendees"},
    {"Organizer", "Organizer"},
    {"Resources", "Resources"},
    {"ReportedBy", "Reported By"},
    {"ReportedDate", "Reported Date"},
};

// The common list keeps Due Date after No Aging and Sensitivity, Start Date.
const FixedField kCommonOrder[] = {
    {"ID", "ID"},
    {"BillingInformation", "Billing Information"},
    {"Categories", "Categories"},
    {"Companies", "Companies"},
    {"CreationTime", "Creation Time"},
    {"Importance", "Importance"},
    {"IsRecurring", "Is Recurring"},
    {"LastModificationTime", "Last Modification Time"},
    {"Mileage", "Mileage"},
    {"NoAging", "No Aging"},
    {"Sensitivity", "Sensitivity"},
    {"StartDate", "Start Date"},
    {"DueDate", "Due Date"},
    {"Subject", "Subject"},
    {"Body", "Body"},
    {"ReportedBy", "Reported By"},
    {"ReportedDate", "Reported Date"},
};

}  // namespace

void cReportFields::LoadFieldsToDictionaries(const cGeneralSettings& settings, const QString& projectTitle,
                                             const QString& activityTitle) {
    storedProjectTitle_ = settings.GetValue(tpo::kProjectTitle, cGeneralSettings::kText).toString();
    storedActivityTitle_ = settings.GetValue(tpo::kActivityTitle, cGeneralSettings::kText).toString();
    for (int n = 1; n <= 10; ++n) {
        const QString title =
            settings.GetValue(tpo::CustomFieldKey(tpo::kTitleCustomField, n), cGeneralSettings::kText)
                .toString();
        storedCustomTitles_[n - 1] = title;
        strCustomTitle[n - 1].clear();
        if (settings.GetValue(tpo::CustomFieldKey(tpo::kActiveCustomField, n), cGeneralSettings::kInteger)
                .toInt() != 0)
            strCustomTitle[n - 1] =
                title.trimmed().isEmpty() ? QStringLiteral("Custom Field %1").arg(n) : title;
    }
    QString project = projectTitle.trimmed();
    QString activity = activityTitle.trimmed();
    if (project.isEmpty())
        project = QStringLiteral("Project");
    if (activity.isEmpty())
        activity = QStringLiteral("Activity");

    auto fill = [&](Dictionary<QString>& dic, const auto& rows) {
        dic = Dictionary<QString>(CompareMode::Binary);
        for (const FixedField& f : rows)
            dic.Add(QString::fromLatin1(f.column), QString::fromLatin1(f.display));
        dic.Add(QStringLiteral("ProjectValue"), project);
        dic.Add(QStringLiteral("ActivityValue"), activity);
        for (int n = 1; n <= 10; ++n)
            if (!strCustomTitle[n - 1].isEmpty())
                dic.Add(QStringLiteral("Field%1Value").arg(n), strCustomTitle[n - 1]);
        dic.Add(QStringLiteral("TotalCost"), QStringLiteral("Total Cost"));
    };
    fill(dicTaskFields, kTaskOrder);
    fill(dicAppointmentFields, kAppointmentOrder);
    fill(dicCommonFields, kCommonOrder);
}

QString cReportFields::GetKeyName(const QString& strDisplayName, bool blnAppointmentItem) const {
    QString result;
    if (!strDisplayName.contains(QStringLiteral("Custom Field"), Qt::CaseInsensitive)) {
        // The stored titles, untrimmed: a title saved with an outer blank finds no match.
        if (strDisplayName == storedProjectTitle_)
            result = QStringLiteral("ProjectValue");
        else if (strDisplayName == storedActivityTitle_)
            result = QStringLiteral("ActivityValue");
        else
            for (int n = 1; n <= 10 && result.isEmpty(); ++n)
                if (strDisplayName == storedCustomTitles_[n - 1])
                    result = QStringLiteral("Field%1Value").arg(n);
    } else {
        for (int n = 1; n <= 10 && result.isEmpty(); ++n)
            if (strDisplayName == QStringLiteral("Custom Field %1").arg(n))
                result = QStringLiteral("Field%1Value").arg(n);
    }
    if (result.isEmpty() && strDisplayName == u"Due Date" && blnAppointmentItem)
        result = QStringLiteral("EndDate");
    if (result.isEmpty())
        result = strDisplayName;
    return GetSQLName(result);
}

QString cReportFields::GetSQLName(const QString& text) {
    QString out = text;
    out.remove(u' ');
    return out;
}

}  // namespace tlm
