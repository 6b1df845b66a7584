#pragma once

#include <QDateTime>
#include <QList>
#include <QString>
#include <optional>

#include "core/failure.h"
#include "notifications/notification_engine.h"
#include "reports/report_query.h"

namespace tlm {

class cNotificationStore;

// Who is reminded: members who reported less than `belowHours` of work in the period, or, without
// a threshold, members who reported nothing at all in it.
struct ReminderRules {
    QString period;                    // a period name in any letter case; not the date range
    std::optional<double> belowHours;  // hours; none: nothing reported
};

// One member and what was found for the period. Work is the task's Actual Work or Total Work (as
// the cost setting chooses) and the appointment's Duration, in minutes.
struct MemberWork {
    QString name;
    QString email;
    qint64 minutes = 0;
    int items = 0;

    double hours() const { return double(minutes) / 60.0; }
};

struct ReminderPlan {
    enum class Kind { Planned, UnknownPeriod, ReadFailed };
    Kind kind = Kind::Planned;
    QString period;  // as offered ("Last Week"), or as given when unknown
    ReportPeriod dates;
    Failure failure;              // ReadFailed
    QList<MemberWork> due;        // under the threshold and with an address, in member order
    QList<MemberWork> noAddress;  // under the threshold but nobody to write to
};

// The periods a reminder takes: those of the reports without the date range.
QStringList ReminderPeriodNames();
// Whether the member falls under the rules.
bool IsUnderThreshold(const MemberWork& work, const ReminderRules& rules);
// Reads the work every member reported in the period and picks those to remind. A member without
// an e-mail address cannot be reminded and is kept apart; items of names that are no member count
// for nobody.
ReminderPlan PlanReminders(const cNotificationStore& global, const ReminderRules& rules, qint32 dbChoice,
                           const QDateTime& now);

struct SentReminder {
    MemberWork member;
    NotificationOutcome outcome;
};
// The "Email Member to report" mail to each due member, sent (never shown) through the outbox.
QList<SentReminder> SendReminders(const cNotificationStore& global, const ReminderPlan& plan);

}  // namespace tlm
