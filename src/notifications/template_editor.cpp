#include "notifications/template_editor.h"

#include <array>
#include <utility>
#include <vector>

#include "core/error_report.h"
#include "database/connection.h"
#include "database/recordset.h"
#include "notifications/notification_store.h"

namespace tlm {

namespace {

using TagRow = std::pair<const char*, const char*>;

std::vector<std::vector<TagRow>> MakeTagGroups() {
    std::vector<std::vector<TagRow>> groups = {
        // 1: the reported item
        {{"TLM_REPORTED_ID", "Unique Identification Number of the reported item"},
         {"TLM_PROJECT", "Project under which the item is reported under"},
         {"TLM_ACTIVITY", "Activity of the Project under which the item is reported under"},
         {"TLM_FIELD1", "Custom field 1"},
         {"TLM_FIELD2", "Custom Field 2"},
         {"TLM_FIELD3", "Custom Field 3"},
         {"TLM_FIELD4", "Custom Field 4"},
         {"TLM_FIELD5", "Custom Field 5"},
         {"TLM_FIELD6", "Custom Field 6"},
         {"TLM_FIELD7", "Custom Field 7"},
         {"TLM_FIELD8", "Custom Field 8"},
         {"TLM_FIELD9", "Custom Field 9"},
         {"TLM_FIELD10", "Custom Field 10"},
         {"TLM_CREATION_TIME", "Creation date/time of the reported item"},
         {"TLM_SUBJECT", "Subject of the reported item"},
         {"TLM_COMPANIES", "Companies value of the reported item"},
         {"TLM_CATEGORIES", "Categories value of the reported item"},
         {"TLM_BILLINGINFORMATION", "Billing Information value of the reported item"},
         {"TLM_DURATION", "Duration or time work on the item"},
         {"TLM_BODY", "The body/note descriptio value of the item"},
         {"TLM_START", "The Start date/time of the item"},
         {"TLM_DUE_OR_END", "The due or end date of the item"},
         {"TLM_REPORTED_DATE", "The reported date/time of the item"},
         {"TLM_MEMBER", "The member (user) who is reporting the item"},
         {"TLM_TOTALCOST", "The Total Cost of the reported item"},
         {"TLM_APPROVED", "Is this reported item approved/audited?"},
         {"TLM_APPROVEDBY", "The name of the manager/staff who approved this reported item"},
         {"TLM_MANAGER", "The user/staff incharge of the project under which the item is reported"},
         {"TLM_COORDINATOR", "The user/staff incharge of the activity under which the item is reported"},
         {"TLM_ACTIVITY_DUE_DATE", "The due date of the Project/Activity under which the item is reported"},
         {"TLM_NOW", "The current date/time"},
         {"TLM_REPORTED_BY", "The member who has reported the item"}},
        // 2: new projects
        {{"TLM_NEW_PROJECTS", "New projects and their managers that are newly added"},
         {"TLM_ADMIN", "The administrator who added that new projects"},
         {"TLM_NOW", "The current date/time"}},
        // 3: new activities
        {{"TLM_NEW_ACTIVITIES", "New Activities of the projects that are newly added"},
         {"TLM_ADMIN", "The administrator who added that new projects"},
         {"TLM_NOW", "The current date/time"}},
        // 4: a project assigned
        {{"TLM_MANAGER", "The manager to which a project is assigned"},
         {"TLM_PROJECT", "The name of the project that is being assigned"},
         {"TLM_NOW", "The current date/time"},
         {"TLM_ALL_ACTIVITIES", "All Activities that come under the assigned project"},
         {"TLM_ADMIN", "The administrator who assigned the project to the manager"},
         {"TLM_PROJECT_RATE", "The rate of the assigned project"}},
        // 5: an activity assigned
        {{"TLM_MANAGER", "The manager of project under which the assigned activity falls under"},
         {"TLM_PROJECT", "The name of the project under which the assigned activity comes under"},
         {"TLM_ACTIVITY", "The name of the assigned activity"},
         {"TLM_NOW", "The current date/time"},
         {"TLM_ADMIN", "The administrator who assigned the activity to the coordinator"},
         {"TLM_ACTIVITY_RATE", "The rate of the assigned activity"},
         {"TLM_COORDINATOR", "The name of the person/staff to whom the the activity is assigned"},
         {"TLM_ACTIVITY_DUE_DATE", "The due date of the activity"}},
        // 6: report on a project
        {{"TLM_MANAGER", "The manager of project"},
         {"TLM_PROJECT", "The name of the project for which request is being sent out to members to report"},
         {"TLM_PROJECT_RATE", "The rate of the project"},
         {"TLM_NOW", "The current date/time"},
         {"TLM_ALL_ACTIVITIES", "All activities that falls under the project"},
         {"TLM_ADMIN", "The administrator who is sending out the requests to the members"}},
        // 7: report on an activity
        {{"TLM_MANAGER", "The manager of project"},
         {"TLM_PROJECT", "The name of the project"},
         {"TLM_ACTIVITY", "The name of the activity for which requests are send out to members to report"},
         {"TLM_PROJECT_RATE", "The rate of the project"},
         {"TLM_ACTIVITY_RATE", "The rate of the activity"},
         {"TLM_NOW", "The current date/time"},
         {"TLM_ADMIN", "The administrator who is sending out the requests to the members"},
         {"TLM_ACTIVITY_DUE_DATE", "The due date of the activity"}},
        // 8: a member to report
        {{"TLM_MEMBER", "The particular member/user to which the request to report is sent"},
         {"TLM_ADMIN", "The administrator who is requesting the member to report"},
         {"TLM_NOW", "The current date/time"}},
    };
    // 9: the declined item, which also carries the manager's reason
    groups.push_back(groups[0]);
    groups.back().emplace_back("TLM_DECLINE_REASON", "The reason the manager gave for declining the item");
    return groups;
}

const std::vector<std::vector<TagRow>>& TagGroups() {
    static const std::vector<std::vector<TagRow>> groups = MakeTagGroups();
    return groups;
}

const std::vector<TagRow>* GroupRows(int group) {
    const auto& groups = TagGroups();
    return group >= 1 && group <= int(groups.size()) ? &groups[size_t(group - 1)] : nullptr;
}

const TemplateInfo* InfoAt(int index) {
    const auto& vocabulary = TemplateVocabulary();
    return TemplateEditor::IsValidIndex(index) && index < int(vocabulary.size()) ? &vocabulary[size_t(index)]
                                                                                 : nullptr;
}

}  // namespace

QString TagGroupTags(int group) {
    QStringList tags;
    if (const auto* rows = GroupRows(group))
        for (const auto& [tag, description] : *rows)
            tags.append(QString::fromLatin1(tag));
    return tags.join(QLatin1Char(';'));
}

QString TagGroupDescriptions(int group) {
    QStringList texts;
    if (const auto* rows = GroupRows(group))
        for (const auto& [tag, description] : *rows)
            texts.append(QString::fromLatin1(description));
    return texts.join(QStringLiteral("\r\n"));
}

bool TemplateEditor::Load() {
    subTraceAction(QStringLiteral("fTemplates.LoadSettings"));
    std::unique_ptr<Recordset> rs = GetDBRecordset(QStringLiteral("SELECT * FROM tNotificationTemplates"));
    cMessageTemplates read;
    read.FromRecordset(rs.get());
    LoadFrom(read);
    return rs != nullptr;
}

void TemplateEditor::LoadFrom(const cMessageTemplates& templates) {
    templates_ = templates;
    LoadDefaultTemplates(templates_);
}

int TemplateEditor::TagGroupOf(int index) {
    const TemplateInfo* info = InfoAt(index);
    return info ? info->tagGroup : 0;
}

QString TemplateEditor::Body(int index) const {
    const TemplateInfo* info = InfoAt(index);
    return info ? templates_.GetValue(info->displayName).toString() : QString();
}

QString TemplateEditor::Subject(int index) const {
    const TemplateInfo* info = InfoAt(index);
    return info && HasSubject(index) ? templates_.GetValue(info->subjectKey).toString() : QString();
}

void TemplateEditor::SaveTemplate(const QString& sIndex, const QString& subject, const QString& html) {
    bool numeric = false;
    const int index = sIndex.trimmed().toInt(&numeric);
    const TemplateInfo* info = numeric ? InfoAt(index) : nullptr;
    if (!info)
        return;
    if (HasSubject(index))
        templates_.SetValue(info->subjectKey, subject);
    templates_.SetValue(info->displayName, html);
}

bool TemplateEditor::SaveGlobalSettings() {
    cNotificationStore* global = NotificationStore();
    if (!global)
        return false;
    global->MessageTemplates = templates_;
    global->SaveMessageTemplates();
    return true;
}

}  // namespace tlm
