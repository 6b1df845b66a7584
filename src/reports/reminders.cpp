#include "reports/reminders.h"

#include <QHash>

#include "database/cursor.h"
#include "database/link.h"
#include "domain/option_keys.h"
#include "notifications/notification_store.h"
#include "notifications/senders.h"

namespace tlm {

namespace {

constexpr qint32 kMemberToReport = 11;

// Adds each row's work in the period to its reporter's total (keyed by the lower-case name).
bool AddWork(const SqlText& statement, const QString& minutesColumn, QHash<QString, MemberWork>* totals,
             Failure* failure) {
    Cursor cursor(CurrentConnection());
    if (!cursor.Open(statement)) {
        *failure = cursor.LastError();
        return false;
    }
    const int by = cursor.FieldIndex(QStringLiteral("ReportedBy"));
    const int work = cursor.FieldIndex(minutesColumn);
    while (cursor.Next()) {
        auto it = totals->find(cursor.Value(by).toString().toLower());
        if (it == totals->end())
            continue;
        it->minutes += cursor.Value(work).toLongLong();  // NULL reads as 0
        ++it->items;
    }
    if (cursor.LastError().isSet()) {
        *failure = cursor.LastError();
        return false;
    }
    return true;
}

}  // namespace

QStringList ReminderPeriodNames() {
    QStringList names = ReportPeriodNames();
    names.removeAll(kDateRangePeriod);
    return names;
}

bool IsUnderThreshold(const MemberWork& work, const ReminderRules& rules) {
    if (!rules.belowHours)
        return work.items == 0;
    // Whole minutes against the threshold, so 7.5 h and 450 minutes compare as equal.
    return double(work.minutes) < *rules.belowHours * 60.0;
}

ReminderPlan PlanReminders(const cNotificationStore& global, const ReminderRules& rules, qint32 dbChoice,
                           const QDateTime& now) {
    ReminderPlan plan;
    for (const QString& name : ReminderPeriodNames())
        if (name.compare(rules.period.trimmed(), Qt::CaseInsensitive) == 0)
            plan.period = name;
    if (plan.period.isEmpty()) {
        plan.kind = ReminderPlan::Kind::UnknownPeriod;
        plan.period = rules.period;
        return plan;
    }
    ReportQueryInput in;
    in.dbChoice = dbChoice;
    in.period = plan.period;
    in.now = now;
    plan.dates = PeriodDates(in);

    QHash<QString, MemberWork> totals;
    for (const auto& e : global.Members.Items)
        totals.insert(e.item.Name.toLower(), MemberWork{e.item.Name, e.item.Email.trimmed(), 0, 0});

    // The reports' own period test, so a reminder and a report of the period count the same rows.
    const bool totalWork =
        global.GeneralSettings.GetValue(tpo::kWorkFieldToUseForTaskItem, cGeneralSettings::kInteger)
            .toInt() != 0;
    const struct {
        const char* table;
        QString columns;
        QString minutes;
    } tables[] = {
        {"tReportedTasks", QStringLiteral("ReportedBy, ") + (totalWork ? "TotalWork" : "ActualWork"),
         totalWork ? QStringLiteral("TotalWork") : QStringLiteral("ActualWork")},
        {"tReportedAppointments", QStringLiteral("ReportedBy, Duration"), QStringLiteral("Duration")},
    };
    for (const auto& t : tables) {
        SqlText sql = GetReportSQL(in);
        sql.Replace(u"Select * from TABLENAME", QStringLiteral("Select ") + t.columns +
                                                    QStringLiteral(" from ") + QLatin1String(t.table));
        if (!AddWork(sql, t.minutes, &totals, &plan.failure)) {
            plan.kind = ReminderPlan::Kind::ReadFailed;
            return plan;
        }
    }
    for (const auto& e : global.Members.Items) {
        const MemberWork& work = totals[e.item.Name.toLower()];
        if (work.name.trimmed().isEmpty() || !IsUnderThreshold(work, rules))
            continue;
        (work.email.isEmpty() ? plan.noAddress : plan.due).append(work);
    }
    return plan;
}

QList<SentReminder> SendReminders(const cNotificationStore& global, const ReminderPlan& plan) {
    QList<SentReminder> sent;
    for (const MemberWork& work : plan.due) {
        const cMember* member = global.Members.Items.Find(work.name.toLower());
        if (!member)
            continue;
        const NotificationTags tags = MemberToReportTags(*member);
        sent.append({work, EmailNotificationManager(kMemberToReport, work.email, ReportedItemRef(), &tags,
                                                    QString(), true)});
    }
    return sent;
}

}  // namespace tlm
