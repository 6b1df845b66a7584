#include "notifications/templates.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>

#include "core/codecs.h"
#include "core/error_report.h"
#include "database/connection.h"
#include "database/recordset.h"
#include "domain/list_common.h"
#include "domain/option_keys.h"

namespace tlm {

const std::vector<TemplateInfo>& TemplateVocabulary() {
    static const std::vector<TemplateInfo> rows = {
        {0, 1, QStringLiteral("Email Manager when new timesheet is reported"),
         tpo::kNotifyManagerWhenMemberReports, tpo::kNotifyManagerWhenMemberReportsSubject,
         QStringLiteral("NOTIFY_MANAGER_WHEN_MEMBER_REPORTS.TXT"), 1},
        {1, 2, QStringLiteral("Email Coordinator when new timesheet is reported"),
         tpo::kNotifyCoordinatorWhenMemberReports, tpo::kNotifyCoordinatorWhenMemberReportsSubject,
         QStringLiteral("NOTIFY_COORDINATOR_WHEN_MEMBER_REPORTS.TXT"), 1},
        {2, 3, QStringLiteral("Email Members when new projects are added"),
         tpo::kNotifyMembersWhenNewProjectsAdded, tpo::kNotifyMembersWhenNewProjectsAddedSubject,
         QStringLiteral("NOTIFY_MEMBERS_WHEN_NEW_PROJECTS_ARE_ADDED.TXT"), 2},
        {3, 4, QStringLiteral("Email Members when new activities are added"),
         tpo::kNotifyMembersWhenNewActivitiesAdded, tpo::kNotifyMembersWhenNewTasksAddedSubject,
         QStringLiteral("NOTIFY_MEMBERS_WHEN_NEW_ACTIVITIES_ARE_ADDED.TXT"), 3},
        {4, 5, QStringLiteral("Email Manager when assigned a project"),
         tpo::kNotifyManagerWhenAssignedProject, tpo::kNotifyManagerWhenAssignedProjectSubject,
         QStringLiteral("NOTIFY_MANAGER_WHEN_ASSIGNED_PROJECT.TXT"), 4},
        {5, 6, QStringLiteral("Email Coordintator when assigned an activity"),
         tpo::kNotifyCoordinatorWhenAssignedActivity, tpo::kNotifyCoordinatorWhenAssignedTaskSubject,
         QStringLiteral("NOTIFY_COORDINATOR_WHEN_ASSIGNED_ACTIVITY.TXT"), 5},
        {6, 7, QStringLiteral("Email Manager when timesheet is withdrawn"),
         tpo::kNotifyManagerWhenReportIsWithdrawn, tpo::kNotifyManagerWhenReportDeletedSubject,
         QStringLiteral("NOTIFY_MANAGER_WHEN_REPORT_DELETED.TXT"), 1},
        {7, 8, QStringLiteral("Email Coordinator when timesheet is withdrawn"),
         tpo::kNotifyCoordinatorWhenReportIsWithdrawn, tpo::kNotifyCoordinatorWhenReportDeletedSubject,
         QStringLiteral("NOTIFY_COORDINATOR_WHEN_REPORT_DELETED.TXT"), 1},
        {8, 9, QStringLiteral("Email Members to report timesheets on a project"),
         tpo::kNotifyMembersToReportOnProject, tpo::kNotifyMembersToReportOnProjectSubject,
         QStringLiteral("NOTIFY_MEMBERS_TO_REPORT_ON_A_PROJECT.TXT"), 6},
        {9, 10, QStringLiteral("Email Members to report timesheets on an activity"),
         tpo::kNotifyMembersToReportOnActivity, tpo::kNotifyMembersToReportOnTaskSubject,
         QStringLiteral("NOTIFY_MEMBERS_TO_REPORT_ON_A_ACTIVITY.TXT"), 7},
        {10, 11, QStringLiteral("Email Member to report"), tpo::kNotifyMemberToReport,
         tpo::kNotifyMemberToReportSubject, QStringLiteral("NOTIFY_MEMBER_TO_REPORT.TXT"), 8},
        {11, 12, QStringLiteral("Email Member when timesheet is approved"), tpo::kNotifyMemberWhenApproved,
         tpo::kNotifyMemberWhenApprovedSubject, QStringLiteral("NOTIFY_TO_MEMBER_WHEN_APPROVED.TXT"), 1},
        {12, 13, QStringLiteral("Email Member when timesheet is declined"), tpo::kNotifyMemberWhenDeclined,
         tpo::kNotifyMemberWhenDeclinedSubject, QStringLiteral("NOTIFY_TO_MEMBER_WHEN_DECLINE.TXT"), 9},
        {13, 15, QStringLiteral("Email Manager when timesheet is revised"),
         tpo::kNotifyManagerWhenMemberUpdates, tpo::kNotifyManagerWhenMemberUpdatesSubject,
         QStringLiteral("NOTIFY_MANAGER_WHEN_MEMBER_UPDATES.TXT"), 1},
        {14, 16, QStringLiteral("Email Coordinator when timesheet is revised"),
         tpo::kNotifyCoordinatorWhenMemberUpdates, tpo::kNotifyCoordinatorWhenMemberUpdatesSubject,
         QStringLiteral("NOTIFY_COORDINATOR_WHEN_MEMBER_UPDATES.TXT"), 1},
        {15, 0, QStringLiteral("Print"), tpo::kPrintTemplate, QString(), QStringLiteral("PRINT_TEMPLATE.TXT"),
         1},
    };
    return rows;
}

QStringList NotificationDisplayNames() {
    QStringList names;
    for (const TemplateInfo& t : TemplateVocabulary())
        names.append(t.displayName);
    return names;
}

const TemplateInfo* TemplateOfKind(int kind) {
    if (kind <= 0)
        return nullptr;
    for (const TemplateInfo& t : TemplateVocabulary())
        if (t.kind == kind)
            return &t;
    return nullptr;
}

namespace {

// The subjects a blank database holds are the defaults; both come from the same resource.
const QHash<QString, QString>& BlankSubjects() {
    static const QHash<QString, QString> subjects = [] {
        QHash<QString, QString> out;
        const QJsonDocument doc = QJsonDocument::fromJson(
            ExtractResourceTextContent(QStringLiteral("BLANK_ROWS.json"), QStringLiteral("db")).toUtf8());
        for (const QJsonValue& table : doc.object().value(QStringLiteral("tables")).toArray()) {
            if (table.toObject().value(QStringLiteral("name")).toString() != u"tNotificationTemplates")
                continue;
            for (const QJsonValue& row : table.toObject().value(QStringLiteral("rows")).toArray()) {
                const QJsonObject o = row.toObject();
                if (o.contains(QStringLiteral("NotificationValue")))
                    out.insert(o.value(QStringLiteral("NotificationName")).toString(),
                               o.value(QStringLiteral("NotificationValue")).toString());
            }
        }
        return out;
    }();
    return subjects;
}

}  // namespace

QString DefaultTemplateSubject(const QString& subjectKey) {
    return BlankSubjects().value(subjectKey);
}

QString DefaultTemplateBody(const QString& templateKey) {
    for (const TemplateInfo& t : TemplateVocabulary())
        if (t.key == templateKey)
            return ExtractResourceTextContent(t.resource, QStringLiteral("templates"));
    return QString();
}

namespace {

struct TemplateColumns {
    explicit TemplateColumns(Recordset& rs)
        : id(rs.Fields(QStringLiteral("ID"))),
          name(rs.Fields(QStringLiteral("NotificationName"))),
          value(rs.Fields(QStringLiteral("NotificationValue"))),
          enabled(rs.Fields(QStringLiteral("Enabled"))) {}
    Recordset::Field id, name, value, enabled;
};

bool ReadTemplate(cMessageTemplate& t, TemplateColumns& c, Recordset& rs) {
    if (!c.id.IsValid() || !c.name.IsValid() || !c.value.IsValid() || !c.enabled.IsValid())
        return detail::ReportRecordset(rs, QStringLiteral("MessageTemplate.FromRecordset"));
    t.ID = c.id.Value().toInt();
    t.NotificationName = DB::NullSafeValue(c.name.Value(), adotype::adVarChar).toString();
    t.NotificationValue = DB::NullSafeValue(c.value.Value(), adotype::adVarChar).toString();
    const QVariant enabled = c.enabled.Value();
    t.Enabled = !enabled.isNull() && std::abs(enabled.toInt()) != 0;
    return true;
}

Dictionary<cMessageTemplate> LoadTemplates(Recordset& rs, detail::RowSeeker* seeker) {
    return detail::LoadRows<cMessageTemplate, TemplateColumns>(
        rs, seeker, ReadTemplate, [](const cMessageTemplate& t) { return t.NotificationName; });
}

}  // namespace

void cMessageTemplate::FromRecordset(Recordset& rs) {
    TemplateColumns c(rs);
    ReadTemplate(*this, c, rs);
}

QString cMessageTemplates::ConvertDisplayNameToDBName(const QString& name) {
    for (const TemplateInfo& t : TemplateVocabulary())
        if (t.displayName == name)
            return t.key;
    return name;
}

bool cMessageTemplates::IsChecked(const QString& name) const {
    const cMessageTemplate* t = Items.Find(ConvertDisplayNameToDBName(name));
    return t && t->Enabled;
}

QVariant cMessageTemplates::GetValue(const QString& name) const {
    const cMessageTemplate* t = Items.Find(ConvertDisplayNameToDBName(name));
    return t ? t->NotificationValue : QVariant(QStringLiteral(" "));
}

void cMessageTemplates::SetNotificaionEnabledValue(const QString& name, bool enabled) {
    if (cMessageTemplate* t = Items.Find(ConvertDisplayNameToDBName(name)))
        t->Enabled = enabled;
}

void cMessageTemplates::SetValue(const QString& name, const QVariant& text) {
    const QString key = ConvertDisplayNameToDBName(name);
    if (cMessageTemplate* t = Items.Find(key)) {
        t->NotificationValue = text;
        return;
    }
    cMessageTemplate t;
    t.NotificationName = key;
    t.NotificationValue = text;
    Items.Add(key, t);
}

void cMessageTemplates::FromRecordset(Recordset* rs) {
    Items = Dictionary<cMessageTemplate>(CompareMode::Text);
    if (rs)
        Items = LoadTemplates(*rs, nullptr);
}

void cMessageTemplates::ToRecordSet(Recordset& rs) {
    const QString label = QStringLiteral("MessageTemplates.ToRecordSet");
    detail::RowSeeker seeker(rs);
    const Dictionary<cMessageTemplate> old = LoadTemplates(rs, &seeker);
    TemplateColumns c(rs);
    for (const auto& e : Items) {
        const cMessageTemplate& t = e.item;
        const cMessageTemplate* was = old.Find(e.key);
        if (!detail::SeekOrAddRow(rs, seeker, was ? std::optional(was->ID) : std::nullopt, c.name,
                                  t.NotificationName, label))
            return;
        // A template table without a column is written as far as it goes, as it always was.
        if (!detail::WriteRow(rs, {{&c.value, t.NotificationValue}, {&c.enabled, t.Enabled}}, !was, label, {},
                              true))
            return;
    }
    if (rs.RecordCount() > Items.Count())
        detail::DeleteRowsGoneFromList(rs, seeker, old, Items, label);
}

void LoadDefaultTemplates(cMessageTemplates& templates) {
    // Kinds 1, 2, 15, 16 first, then 3 to 13, then the print template.
    static const int order[] = {1, 2, 15, 16, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 0};
    for (int kind : order) {
        const TemplateInfo* t = nullptr;
        for (const TemplateInfo& info : TemplateVocabulary())
            if (info.kind == kind)
                t = &info;
        if (!t)
            continue;
        if (templates.GetValue(t->key).toString().trimmed().isEmpty())
            templates.SetValue(t->key, ExtractResourceTextContent(t->resource, QStringLiteral("templates")));
        if (!t->subjectKey.isEmpty() && templates.GetValue(t->subjectKey).toString().trimmed().isEmpty())
            templates.SetValue(t->subjectKey, DefaultTemplateSubject(t->subjectKey));
    }
}

}  // namespace tlm
