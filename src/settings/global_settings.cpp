#include "settings/global_settings.h"

#include "core/codecs.h"
#include "core/error_report.h"
#include "core/local_settings.h"
#include "core/process_state.h"
#include "database/connection.h"
#include "database/recordset.h"
#include "domain/domain_services.h"
#include "domain/option_keys.h"
#include "notifications/notification_engine.h"

namespace tlm {

namespace {

cDBSettings* g_settings = nullptr;

// The built-in defaults of Class_Initialize; a blank database holds the same rows.
void PutBuiltInDefaults(cGeneralSettings& s) {
    for (int i = 1; i <= 8; ++i)
        s.SetValue(tpo::CustomFieldKey(tpo::kTitleCustomField, i), QStringLiteral("Custom Field %1").arg(i));
    s.SetValue(tpo::kCustomFieldsTitle, QStringLiteral("Custom Fields"));
    s.SetValue(tpo::kProjectTitle, QStringLiteral("Project"));
    s.SetValue(tpo::kActivityTitle, QStringLiteral("Activity"));
    for (const QLatin1StringView key : {tpo::kAllowTaskItem, tpo::kAllowAppointmentItem,
                                        tpo::kProjectActivityCustomizable, tpo::kReportEditable})
        s.SetValue(key, QStringLiteral("1"));
}

}  // namespace

cDBSettings* DBSettings() {
    return g_settings;
}
void SetDBSettings(cDBSettings* settings) {
    g_settings = settings;
    SetSharedLists(settings);
    SetNotificationStore(settings);
}

// ---- cDBSettings -------------------------------------------------------------------------------

cDBSettings::cDBSettings() {
    PutBuiltInDefaults(GeneralSettings);
}

void cDBSettings::LoadGlobalSettings(bool blnShowDialog, bool& ok) {
    const QString label = QStringLiteral("Global.LoadGlobalSettings");
    ok = false;
    auto open = [&](const QString& sql) { return GetDBRecordset(sql, true, blnShowDialog, false); };
    // The first read is what connects, with the first-run flow behind it.
    auto rs = open(QStringLiteral("SELECT * FROM tProjects ORDER BY ProjectName"));
    if (!rs)
        return;
    if (Process().blnNewDatabase)
        SaveInitialSettings();
    const auto missing = [&] {
        detail::ReportFailure(91, QStringLiteral("Object variable or With block variable not set"), label);
    };
    Projects.FromRecordset(rs.get());
    if (!(rs = open(QStringLiteral("SELECT * FROM tActivities ORDER BY Project"))))
        return missing();
    Tasks.FromRecordset(rs.get());
    if (!(rs = open(QStringLiteral("SELECT * FROM tMembers ORDER BY Name"))))
        return missing();
    Members.FromRecordset(rs.get());
    if (!(rs = open(QStringLiteral("SELECT * FROM tGeneralSettings"))))
        return missing();
    GeneralSettings.FromRecordset(rs.get());
    if (!(rs = open(QStringLiteral("SELECT * FROM tNotificationTemplates"))))
        return missing();
    MessageTemplates.FromRecordset(rs.get());

    ProjectTitle = GeneralSettings.GetValue(tpo::kProjectTitle, cGeneralSettings::kText).toString().trimmed();
    if (ProjectTitle.isEmpty())
        ProjectTitle = QStringLiteral("Project");
    ActivityTitle =
        GeneralSettings.GetValue(tpo::kActivityTitle, cGeneralSettings::kText).toString().trimmed();
    if (ActivityTitle.isEmpty())
        ActivityTitle = QStringLiteral("Activity");

    for (int i = 0; i < 4; ++i) {
        if (!(rs = open(QStringLiteral("SELECT * FROM tCustomList%1").arg(i + 1))))
            return missing();
        CustomLists[i].FromRecordset(rs.get());
    }
    rs.reset();
    LoadTasksProjectsCollection();
    LoadDefaultTemplates(MessageTemplates);
    GetCurrentUser();
    if (cMySettings* local = Process().mySettings)
        local->CurrentUser = UserName;
    // Only a changed name is written: rewriting the settings file syncs the disk twice, at every start.
    const QString stored =
        GetSetting(kSettingsApplication, QString(), QStringLiteral("CurrentUser"), QString());
    if (stored.isNull() || stored != UserName)
        SaveSetting(kSettingsApplication, QString(), QStringLiteral("CurrentUser"), UserName);
    ok = true;
}

void cDBSettings::SaveInitialSettings() {
    subTraceAction(QStringLiteral("cGlobalSettings.SaveInitialSettings"));
    SaveGlobalSettings(5);
    SaveGlobalSettings(4);
}

bool cDBSettings::SaveGlobalSettings(qint32 code) {
    auto save = [](const QString& table, auto&& write) {
        auto rs = GetDBRecordset(table, false, true, false);
        if (rs)
            write(*rs);
    };
    const auto projects = [&] {
        save(QStringLiteral("tProjects"), [&](Recordset& rs) { Projects.ToRecordSet(rs); });
    };
    const auto tasks = [&] {
        save(QStringLiteral("tActivities"), [&](Recordset& rs) { Tasks.ToRecordSet(rs); });
    };
    const auto members = [&] {
        save(QStringLiteral("tMembers"), [&](Recordset& rs) { Members.ToRecordSet(rs); });
    };
    const auto templates = [&] {
        save(QStringLiteral("tNotificationTemplates"),
             [&](Recordset& rs) { MessageTemplates.ToRecordSet(rs); });
    };
    const auto general = [&] {
        save(QStringLiteral("tGeneralSettings"), [&](Recordset& rs) { GeneralSettings.ToRecordSet(rs); });
    };
    const auto custom = [&](int i) {
        save(QStringLiteral("tCustomList%1").arg(i + 1), [&](Recordset& rs) { CustomLists[i].ToRS(rs); });
    };
    switch (code) {
        case 1:
            projects();
            break;
        case 2:
            tasks();
            break;
        case 3:
            members();
            break;
        case 4:
            templates();
            break;
        case 5:
        case 9:
            general();
            break;
        case 10:
        case 11:
        case 12:
        case 13:
            custom(code - 10);
            break;
        case 16:
            projects();
            tasks();
            members();
            general();
            templates();
            for (int i = 0; i < 4; ++i)
                custom(i);
            break;
        default:
            break;
    }
    TellUnkeptMails();  // the save's mails that could not be kept, told once
    return false;
}

void cDBSettings::AddCurrentUserToGlobalMembersList() {
    if (UserName.isEmpty() || Members.Items.Exists(UserName) || Members.Items.Exists(UserName.toLower()))
        return;
    cMember m;
    m.Name = UserName.trimmed();
    Members.Items.Add(UserName.toLower(), m);
    SaveGlobalSettings(3);
}

void cDBSettings::GetCurrentUser() {
    subTraceAction(QStringLiteral("Global.GetCurrentUser"));
    UserName = GetCurrentMemberName();
    if (const cMember* m = Members.Items.Find(UserName.toLower())) {
        CurrentMember = *m;
    } else {
        CurrentMember = cMember();
        CurrentMember.Name = UserName;
    }
}

}  // namespace tlm
