#include "desktop/ui_settings.h"

#include <QList>
#include <utility>

#include "core/codecs.h"
#include "core/local_settings.h"

namespace tlm {

namespace {

struct NumberKey {
    const char* key;
    qint16* value;
    const char* def;
};

void ReadNumbers(const QString& section, const QList<NumberKey>& keys) {
    SettingsSection store(kSettingsApplication, section);
    for (const NumberKey& k : keys) {
        bool ok = false;
        const qint16 v = ToInt16(store.get(QString::fromLatin1(k.key), QString::fromLatin1(k.def)), &ok);
        if (ok)
            *k.value = v;
    }
}

QList<QPair<QString, QString>> Numbers(const QList<std::pair<const char*, qint16>>& keys) {
    QList<QPair<QString, QString>> values;
    for (const auto& [key, value] : keys)
        values.append({QString::fromLatin1(key), QString::number(value)});
    return values;
}

// A window's values are one group, written in one go.
void SaveNumbers(const QString& section, const QList<std::pair<const char*, qint16>>& keys) {
    SaveSettingsGroup(kSettingsApplication, section, Numbers(keys));
}

const QString kAudit = QStringLiteral("AuditUI");
const QString kReports = QStringLiteral("ReportsUI");
const QString kSearch = QStringLiteral("SearchUI");

cUISettings* g_ui = nullptr;

}  // namespace

cUISettings* UISettings() {
    return g_ui;
}

void SetUISettings(cUISettings* settings) {
    g_ui = settings;
}

void cUISettings::ReadAuditUIValues() {
    // "QueryByDate" is read but "TimePeriodIndex" is written, so the value comes back as 0 each start;
    // the client reads the same keys, so the pair stays as it is.
    ReadNumbers(kAudit, {{"ReportTypeIndex", &Audit_ReportTypeIndex, "2"},
                         {"FilterByIndex", &Audit_Filterindex, "0"},
                         {"QueryByDate", &Audit_QueryByDate, "0"},
                         {"ReportedBetween", &Audit_Between, "0"},
                         {"WindowState", &Audit_WindowState, "0"},
                         {"Width", &Audit_Width, "12000"},
                         {"Height", &Audit_Height, "8000"}});
}

void cUISettings::SaveAuditUIValues() {
    SaveNumbers(kAudit, {{"TimePeriodIndex", Audit_QueryByDate},
                         {"ReportTypeIndex", Audit_ReportTypeIndex},
                         {"FilterByIndex", Audit_Filterindex},
                         {"ReportedBetween", Audit_Between},
                         {"WindowState", Audit_WindowState},
                         {"Width", Audit_Width},
                         {"Height", Audit_Height}});
}

void cUISettings::ReadReportsUIValues() {
    ReadNumbers(kReports, {{"TimePeriodIndex", &Reports_TimePeriodIndex, "0"},
                           {"ReportTypeIndex", &Reports_ReportTypeIndex, "2"},
                           {"FilterByIndex", &Reports_FilterByIndex, "0"}});
    SettingsSection store(kSettingsApplication, kReports);
    Reports_SelectedFieldsList_Tasks = store.get(QStringLiteral("SelectedFieldsListTasks"), QString());
    Reports_SelectedFieldsList_Appointments =
        store.get(QStringLiteral("SelectedFieldsListAppointments"), QString());
    Reports_SelectedFieldsList_Common = store.get(QStringLiteral("SelectedFieldsListCommon"), QString());
    ReadNumbers(kReports, {{"WindowState", &Reports_WindowState, "0"},
                           {"Width", &Reports_Width, "12000"},
                           {"Height", &Reports_Height, "8000"}});
}

void cUISettings::SaveReportsUIValues() {
    QList<QPair<QString, QString>> values = Numbers({{"TimePeriodIndex", Reports_TimePeriodIndex},
                                                     {"ReportTypeIndex", Reports_ReportTypeIndex},
                                                     {"FilterByIndex", Reports_FilterByIndex}});
    values.append({QStringLiteral("SelectedFieldsListTasks"), Reports_SelectedFieldsList_Tasks});
    values.append(
        {QStringLiteral("SelectedFieldsListAppointments"), Reports_SelectedFieldsList_Appointments});
    values.append({QStringLiteral("SelectedFieldsListCommon"), Reports_SelectedFieldsList_Common});
    values.append(Numbers(
        {{"WindowState", Reports_WindowState}, {"Width", Reports_Width}, {"Height", Reports_Height}}));
    SaveSettingsGroup(kSettingsApplication, kReports, values);
}

void cUISettings::ReadSearchUIValues() {
    ReadNumbers(kSearch, {{"SubjectWidth", &Search_SubjectWidth, "150"},
                          {"IDWidth", &Search_IDWidth, "50"},
                          {"MemberWidth", &Search_MemberWidth, "100"},
                          {"ProjectWidth", &Search_ProjectWidth, "100"},
                          {"TaskWidth", &Search_TaskWidth, "100"},
                          {"CostWidth", &Search_CostWidth, "100"},
                          {"LastReportedWidth", &Search_LastReportedWidth, "100"},
                          {"SearchByIndex", &Search_SearchByIndex, "0"},
                          {"ItemsTypeIndex", &Search_ItemsTypeIndex, "2"},
                          {"CostFunctionIndex", &Search_CostFunctionIndex, "0"},
                          {"WindowState", &Search_WindowState, "0"},
                          {"Width", &Search_Width, "12000"},
                          {"Height", &Search_Height, "8000"}});
}

void cUISettings::SaveSearchUIValues() {
    SaveNumbers(kSearch, {{"SubjectWidth", Search_SubjectWidth},
                          {"IDWidth", Search_IDWidth},
                          {"MemberWidth", Search_MemberWidth},
                          {"ProjectWidth", Search_ProjectWidth},
                          {"TaskWidth", Search_TaskWidth},
                          {"CostWidth", Search_CostWidth},
                          {"LastReportedWidth", Search_LastReportedWidth},
                          {"SearchByIndex", Search_SearchByIndex},
                          {"ItemsTypeIndex", Search_ItemsTypeIndex},
                          {"CostFunctionIndex", Search_CostFunctionIndex},
                          {"WindowState", Search_WindowState},
                          {"Width", Search_Width},
                          {"Height", Search_Height}});
}

}  // namespace tlm
