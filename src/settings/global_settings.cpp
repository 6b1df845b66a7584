#include "settings/global_settings.h"

#include <QLocale>

#include "core/codecs.h"
#include "core/error_report.h"
#include "core/local_settings.h"
#include "core/process_state.h"
#include "database/connection.h"
#include "database/recordset.h"
#include "domain/domain_services.h"

namespace tlm {

namespace {

cDBSettings* g_settings = nullptr;

// The built-in defaults of Class_Initialize; a blank database holds the same rows.
void PutBuiltInDefaults(cGeneralSettings& s) {
    for (int i = 1; i <= 8; ++i)
        s.SetValue(QStringLiteral("tpoTitleCustomField%1").arg(i), QStringLiteral("Custom Field %1").arg(i));
    s.SetValue(QStringLiteral("tpoCustomFieldsTitle"), QStringLiteral("Custom Fields"));
    s.SetValue(QStringLiteral("tpoProjectTitle"), QStringLiteral("Project"));
    s.SetValue(QStringLiteral("tpoActivityTitle"), QStringLiteral("Activity"));
    for (const char* key : {"tpoAllowTaskItem", "tpoAllowAppointmentItem", "tpoProjectActivityCustomizable",
                            "tpoReportEditable"})
        s.SetValue(QString::fromLatin1(key), QStringLiteral("1"));
}

// Windows-style AM/PM markers of the fallback formats, in Qt's spelling.
QString QtFormat(QString format) {
    format.replace(QStringLiteral("tt"), QStringLiteral("AP"));
    return format;
}

}  // namespace

cDBSettings* DBSettings() {
    return g_settings;
}
void SetDBSettings(cDBSettings* settings) {
    g_settings = settings;
}
QString sCurrentUser() {
    return g_settings ? g_settings->UserName : QString();
}

QString DateTimeToText(const QDateTime& value) {
    const QString dateFormat = g_settings && !g_settings->ShortDateFormat.isEmpty()
                                   ? g_settings->ShortDateFormat
                                   : QLocale::system().dateFormat(QLocale::ShortFormat);
    const QString timeFormat = g_settings && !g_settings->TimeFormat.isEmpty()
                                   ? g_settings->TimeFormat
                                   : QLocale::system().timeFormat(QLocale::LongFormat);
    const bool zeroDay = value.date() == ZeroDate().date();
    const bool midnight = value.time() == QTime(0, 0);
    if (zeroDay && !midnight)
        return QLocale::system().toString(value.time(), QtFormat(timeFormat));
    if (midnight)
        return QLocale::system().toString(value.date(), QtFormat(dateFormat));
    return QLocale::system().toString(value.date(), QtFormat(dateFormat)) + u' ' +
           QLocale::system().toString(value.time(), QtFormat(timeFormat));
}

// ---- cGeneralSettings --------------------------------------------------------------------------

void cGeneralSettings::FromRecordset(Recordset* rs) {
    Items = Dictionary<QVariant>(CompareMode::Binary);
    if (!rs)
        return;
    Recordset::Field key = rs->Fields(1), value = rs->Fields(2);
    if (!key.IsValid() || !value.IsValid())
        return void(detail::ReportRecordset(*rs, QStringLiteral("cGeneralSettings.FromRecordSet")));
    while (!rs->Eof()) {
        const QString k = key.Value().toString();
        if (QVariant* existing = Items.Find(k))
            *existing = value.Value();
        else
            Items.Add(k, value.Value());
        if (!rs->MoveNext())
            break;
    }
}

void cGeneralSettings::SetValue(const QString& key, const QVariant& value) {
    if (QVariant* existing = Items.Find(key))
        *existing = value;
    else
        Items.Add(key, value);
}

QVariant cGeneralSettings::GetValue(const QString& key, qint16 type) const {
    const QVariant* v = Items.Find(key);
    const bool present = v && v->isValid() && !v->isNull();
    switch (type) {
        case kInteger: {
            if (!present)
                return qint16(0);
            bool ok = false;
            const qint16 n = ToInt16(v->toString(), &ok);
            return ok ? n : qint16(0);
        }
        case kDate: {
            if (!present)
                return ZeroDate();
            const auto d = detail::VariantToDate(*v);
            return d ? *d : ZeroDate();
        }
        case kText:
            return present ? v->toString() : QString();
        case kBoolean: {
            if (!present)
                return false;
            const QString t = v->toString().trimmed();
            if (t.compare(u"True", Qt::CaseInsensitive) == 0)
                return true;
            if (t.compare(u"False", Qt::CaseInsensitive) == 0)
                return false;
            return IsNumericText(t) && t.toDouble() != 0;
        }
        default:
            return QVariant();
    }
}

void cGeneralSettings::ToRecordSet(Recordset& rs) {
    const QString label = QStringLiteral("cGeneralSettings.ToRecordSet");
    cSingleList stored;
    stored.FromRecordset(&rs);
    Recordset::Field key = rs.Fields(1), value = rs.Fields(2);
    if (!key.IsValid() || !value.IsValid())
        return void(detail::ReportRecordset(rs, label));
    for (const auto& e : Items) {
        if (stored.Items.Exists(e.key)) {
            if (rs.RecordCount() > 0 && !rs.MoveFirst())
                return void(detail::ReportRecordset(rs, label));
            rs.ClearError();
            // The key stands between quotes as it is: an apostrophe spoils the criterion.
            if (!rs.Find(QStringLiteral("KeyID = '") + e.key + u'\'') && rs.LastError().isSet())
                return void(detail::ReportRecordset(rs, label));
        } else {
            if (!rs.AddNew() || !key.SetValue(e.key))
                return void(detail::ReportRecordset(rs, label));
        }
        QString text = e.item.isValid() && !e.item.isNull() ? e.item.toString() : QString();
        if (text.isEmpty())
            text = QStringLiteral(" ");
        if (!value.SetValue(text) || !rs.Update())
            return void(detail::ReportRecordset(rs, label));
    }
}

// ---- cDBSettings -------------------------------------------------------------------------------

cDBSettings::cDBSettings() {
    GetDateTimeFormat();
    NotificationNames = NotificationDisplayNames();
    PutBuiltInDefaults(GeneralSettings);
    LoadDefaultTemplates(MessageTemplates);
}

void cDBSettings::GetDateTimeFormat() {
    const QLocale locale = QLocale::system();
    ShortDateFormat = locale.dateFormat(QLocale::ShortFormat);
    TimeFormat = locale.timeFormat(QLocale::LongFormat);
    // The zone is no part of a time the program shows.
    TimeFormat.remove(QStringLiteral(" t")).remove(QStringLiteral("t "));
    if (ShortDateFormat.isEmpty())
        ShortDateFormat = QStringLiteral("M/d/yyyy");
    if (TimeFormat.trimmed().isEmpty())
        TimeFormat = QStringLiteral("h:mm:ss tt");
    DateTimeFormat = ShortDateFormat + u' ' + TimeFormat;
}

void cDBSettings::LoadTasksProjectsCollection() {
    AllTasksProjects = Dictionary<cSingleList>(CompareMode::Text);
    if (Projects.Items.isEmpty() || Tasks.Items.isEmpty())
        return;
    for (int i = 1; i <= Projects.Items.Count() && i <= 32767; ++i) {
        const QString name = Projects.GetProject(qint16(i));
        cSingleList list;
        list.FromString(GetTasksForAProject(Tasks, name), QStringLiteral("\r\n"));
        list.Name = name;
        AllTasksProjects.Add(name, std::move(list));
    }
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

    ProjectTitle = GeneralSettings.GetValue(QStringLiteral("tpoProjectTitle"), cGeneralSettings::kText)
                       .toString()
                       .trimmed();
    if (ProjectTitle.isEmpty())
        ProjectTitle = QStringLiteral("Project");
    ActivityTitle = GeneralSettings.GetValue(QStringLiteral("tpoActivityTitle"), cGeneralSettings::kText)
                        .toString()
                        .trimmed();
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
