#pragma once

#include <QString>

#include "notifications/notification_engine.h"

namespace tlm {

struct cProject;
struct cTask;
struct cMember;
class NotificationDisplay;

// Requests to report, from the buttons of the administration grid. They have no enabled flag:
// they are acts of the user. Each ends silently when its project, activity, member, address
// or recipient list is missing; recipients are ";"-separated, the first is the To.
void SendEmailToMembersToRequestReportOnAProject(const cProject& project, const QString& recipients);
void SendEmailToMembersToRequestReportOnATask(const cTask& task, const QString& recipients);
void SendEmailToMemberToReport(const QString& memberName);

// What list saves tell: each tests its template's enabled flag and is always sent, never shown.
// The current user is not told of new projects and activities.
void SendEmailNotificationToMembersWhenNewProjectsAdded(const QString& sNewProjects);
void SendEmailNotificationToMembersWhenNewTasksAdded(const QString& sNewActivities);
void SendEmailNotificationToManagerWhenAssignedProject(const cProject& project);
void SendEmailNotificationToCoordinatorWhenAssignedTask(const cTask& task);

// The member who reported the item hears of its approval or decline, when the flag is set;
// shown or sent by the audit display settings.
void SendEmailNotificationToMemberWhenApproved(const ReportedItemRef& item, const QString& sType);
// reason fills TLM_DECLINE_REASON, left empty when the manager gave none.
void SendEmailNotificationToMemberWhenDeclined(const ReportedItemRef& item, const QString& sType,
                                               const QString& reason = QString());

// The tags of the project kinds (5, 9) and the activity kinds (6, 10; the project's rate only
// for 10), in the order of adding. Empty without a global store.
NotificationTags ProjectTags(const cProject& project);
NotificationTags TaskTags(const cTask& task, bool withProjectRate);
// The tags of a request to report (kind 11) to this member, in the order of adding.
NotificationTags MemberToReportTags(const cMember& member);

// Makes list saves send their notifications, and shown mails go to the display given (nullptr:
// the outbox). The program calls it once at start.
void InstallNotificationSenders(NotificationDisplay* display = nullptr);

}  // namespace tlm
