#include "notifications/senders.h"

#include <QDateTime>

#include "core/error_report.h"
#include "domain/list_common.h"
#include "domain/members.h"
#include "domain/option_keys.h"
#include "domain/projects.h"
#include "domain/single_list.h"
#include "domain/tasks.h"
#include "notifications/notification_store.h"

namespace tlm {

namespace {

constexpr qint32 kNewProjects = 3;
constexpr qint32 kNewActivities = 4;
constexpr qint32 kAssignedProject = 5;
constexpr qint32 kAssignedActivity = 6;
constexpr qint32 kReportOnProject = 9;
constexpr qint32 kReportOnActivity = 10;
constexpr qint32 kMemberToReport = 11;
constexpr qint32 kApproved = 12;
constexpr qint32 kDeclined = 13;

QVariant Now() {
    return QDateTime::currentDateTime();
}

bool FlagSet(const cNotificationStore& global, const QString& key) {
    return global.MessageTemplates.IsChecked(key);
}

// A setting that asks for the mail to be shown first: anything but 0.
bool ShowFirst(const cNotificationStore& global, const QString& key) {
    return global.GeneralSettings.GetValue(key, cGeneralSettings::kInteger).toInt() != 0;
}

const cMember* MemberByName(const cNotificationStore& global, const QString& name) {
    if (name.isEmpty())
        return nullptr;
    return global.Members.Items.Find(name.toLower());
}

QString ActivityList(const cNotificationStore& global, const QString& project) {
    const cSingleList* list = global.AllTasksProjects.Find(project);
    if (!list)
        return QString();
    cSingleList copy = *list;
    return copy.ToString(QStringLiteral(","), false);
}

void AddProjectPart(NotificationTags& tags, const QString& manager, const QString& name,
                    const QVariant& rate) {
    tags.Add(QStringLiteral("TLM_MANAGER"), manager);
    tags.Add(QStringLiteral("TLM_PROJECT"), name);
    tags.Add(QStringLiteral("TLM_PROJECT_RATE"), rate);
}

void Send(qint32 kind, const QString& recipients, const NotificationTags& tags, bool sendDirectly) {
    EmailNotificationManager(kind, recipients, ReportedItemRef(), &tags, QString(), sendDirectly);
}

void TellMembersOfNew(qint32 kind, const QString& flagKey, const QString& tag, const QString& text) {
    const cNotificationStore* global = NotificationStore();
    if (!global || text.isEmpty() || !FlagSet(*global, flagKey))
        return;
    const QString recipients = global->Members.AllEmails(true);
    // AllEmails leaves a ";" for each member it skips: only ";" means nobody to tell.
    if (QString(recipients).remove(QLatin1Char(';')).trimmed().isEmpty())
        return;
    NotificationTags tags(CompareMode::Text);
    tags.Add(QStringLiteral("TLM_ADMIN"), sCurrentUser());
    tags.Add(tag, QString(text).replace(QStringLiteral("\r\n"), QStringLiteral("<BR>")));
    tags.Add(QStringLiteral("TLM_NOW"), Now());
    Send(kind, recipients, tags, true);
}

void TellMemberOfItem(qint32 kind, const QString& flagKey, const QString& displayKey,
                      const ReportedItemRef& item, const QString& sType,
                      const NotificationTags* tags = nullptr) {
    const cNotificationStore* global = NotificationStore();
    if (!global || item.isNull() || !FlagSet(*global, flagKey))
        return;
    const cMember* member = MemberByName(*global, item.ReportedBy());
    if (!member || member->Email.isEmpty())
        return;
    EmailNotificationManager(kind, member->Email, item, tags, sType, !ShowFirst(*global, displayKey));
}

// What a list save calls; each event goes to its sender.
class SenderSink : public NotificationSink {
  public:
    void SendEmailNotificationToMembersWhenNewProjectsAdded(const QString& newProjects) override {
        tlm::SendEmailNotificationToMembersWhenNewProjectsAdded(newProjects);
    }
    void SendEmailNotificationToMembersWhenNewTasksAdded(const QString& newActivities) override {
        tlm::SendEmailNotificationToMembersWhenNewTasksAdded(newActivities);
    }
    void SendEmailNotificationToManagerWhenAssignedProject(const cProject& project) override {
        tlm::SendEmailNotificationToManagerWhenAssignedProject(project);
    }
    void SendEmailNotificationToCoordinatorWhenAssignedTask(const cTask& task) override {
        tlm::SendEmailNotificationToCoordinatorWhenAssignedTask(task);
    }
};

}  // namespace

NotificationTags ProjectTags(const cProject& project) {
    NotificationTags tags(CompareMode::Text);
    const cNotificationStore* global = NotificationStore();
    if (!global)
        return tags;
    AddProjectPart(tags, project.ProjectManager, project.ProjectName, QVariant::fromValue(project.Rate));
    tags.Add(QStringLiteral("TLM_ADMIN"), sCurrentUser());
    tags.Add(QStringLiteral("TLM_ALL_ACTIVITIES"), ActivityList(*global, project.ProjectName));
    tags.Add(QStringLiteral("TLM_NOW"), Now());
    return tags;
}

NotificationTags TaskTags(const cTask& task, bool withProjectRate) {
    NotificationTags tags(CompareMode::Text);
    const cNotificationStore* global = NotificationStore();
    if (!global)
        return tags;
    // An activity whose project is gone still names itself; the project's part stays empty.
    const cProject* project = global->Projects.Items.Find(task.Project);
    const QString manager = project ? project->ProjectManager : QString();
    const QString name = project ? project->ProjectName : QString();
    if (withProjectRate) {
        AddProjectPart(tags, manager, name,
                       project ? QVariant::fromValue(project->Rate) : QVariant(QString()));
    } else {
        tags.Add(QStringLiteral("TLM_MANAGER"), manager);
        tags.Add(QStringLiteral("TLM_PROJECT"), name);
    }
    tags.Add(QStringLiteral("TLM_ACTIVITY"), task.ActivityName);
    tags.Add(QStringLiteral("TLM_ACTIVITY_RATE"), QVariant::fromValue(task.Rate));
    tags.Add(QStringLiteral("TLM_COORDINATOR"), task.Coordinator);
    tags.Add(QStringLiteral("TLM_ADMIN"), sCurrentUser());
    tags.Add(QStringLiteral("TLM_ACTIVITY_DUE_DATE"), task.DueDate);
    tags.Add(QStringLiteral("TLM_NOW"), Now());
    return tags;
}

NotificationTags MemberToReportTags(const cMember& member) {
    NotificationTags tags(CompareMode::Text);
    tags.Add(QStringLiteral("TLM_ADMIN"), sCurrentUser());
    tags.Add(QStringLiteral("TLM_MEMBER"), member.Name);
    tags.Add(QStringLiteral("TLM_NOW"), Now());
    return tags;
}

void SendEmailNotificationToMembersWhenNewProjectsAdded(const QString& sNewProjects) {
    TellMembersOfNew(kNewProjects, tpo::kNotifyMembersWhenNewProjectsAdded,
                     QStringLiteral("TLM_NEW_PROJECTS"), sNewProjects);
}

void SendEmailNotificationToMembersWhenNewTasksAdded(const QString& sNewActivities) {
    TellMembersOfNew(kNewActivities, tpo::kNotifyMembersWhenNewActivitiesAdded,
                     QStringLiteral("TLM_NEW_ACTIVITIES"), sNewActivities);
}

void SendEmailNotificationToManagerWhenAssignedProject(const cProject& project) {
    const cNotificationStore* global = NotificationStore();
    if (!global || project.ProjectName.isEmpty() || !FlagSet(*global, tpo::kNotifyManagerWhenAssignedProject))
        return;
    const cMember* manager = MemberByName(*global, project.ProjectManager);
    if (!manager || manager->Email.isEmpty())
        return;
    Send(kAssignedProject, manager->Email, ProjectTags(project), true);
}

void SendEmailNotificationToCoordinatorWhenAssignedTask(const cTask& task) {
    const cNotificationStore* global = NotificationStore();
    if (!global || task.ActivityName.isEmpty() ||
        !FlagSet(*global, tpo::kNotifyCoordinatorWhenAssignedActivity))
        return;
    const cMember* coordinator = MemberByName(*global, task.Coordinator);
    if (!coordinator || coordinator->Email.isEmpty())
        return;
    Send(kAssignedActivity, coordinator->Email, TaskTags(task, false), true);
}

void SendEmailToMembersToRequestReportOnAProject(const cProject& project, const QString& recipients) {
    const cNotificationStore* global = NotificationStore();
    if (!global || project.ProjectName.isEmpty() || recipients.isEmpty())
        return;
    Send(kReportOnProject, recipients, ProjectTags(project),
         !ShowFirst(*global, tpo::kAllowEditOfEmailToReport));
}

void SendEmailToMembersToRequestReportOnATask(const cTask& task, const QString& recipients) {
    const cNotificationStore* global = NotificationStore();
    if (!global || task.ActivityName.isEmpty() || recipients.isEmpty())
        return;
    Send(kReportOnActivity, recipients, TaskTags(task, true),
         !ShowFirst(*global, tpo::kAllowEditOfEmailToReport));
}

void SendEmailToMemberToReport(const QString& memberName) {
    const cNotificationStore* global = NotificationStore();
    if (!global)
        return;
    const cMember* member = MemberByName(*global, memberName);
    if (!member || member->Email.isEmpty())
        return;
    Send(kMemberToReport, member->Email, MemberToReportTags(*member),
         !ShowFirst(*global, tpo::kAllowEditOfEmailToReport));
}

void SendEmailNotificationToMemberWhenApproved(const ReportedItemRef& item, const QString& sType) {
    TellMemberOfItem(kApproved, tpo::kNotifyMemberWhenApproved, tpo::kAuditDisplayApprovedEmail, item, sType);
}

void SendEmailNotificationToMemberWhenDeclined(const ReportedItemRef& item, const QString& sType,
                                               const QString& reason) {
    NotificationTags tags(CompareMode::Text);
    // Typed by the manager and placed into an HTML body: escaped, its lines kept.
    tags.Add(QStringLiteral("TLM_DECLINE_REASON"),
             reason.toHtmlEscaped()
                 .replace(QStringLiteral("\r\n"), QStringLiteral("<BR>"))
                 .replace(u'\n', QStringLiteral("<BR>")));
    TellMemberOfItem(kDeclined, tpo::kNotifyMemberWhenDeclined, tpo::kAuditDisplayDeclinedEmail, item, sType,
                     &tags);
}

void InstallNotificationSenders(NotificationDisplay* display) {
    static SenderSink sink;
    SetNotificationSink(&sink);
    SetNotificationDisplay(display);
}

}  // namespace tlm
