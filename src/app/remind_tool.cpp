#include "app/remind_tool.h"

#include <QCoreApplication>
#include <cmath>
#include <cstdio>

#include "app/tool_output.h"
#include "core/codecs.h"
#include "core/error_report.h"
#include "core/startup.h"
#include "mail/outbox.h"
#include "reports/reminders.h"
#include "settings/global_settings.h"
#include "settings/session.h"

namespace tlm {

namespace {

// How long the tool waits for the server to take the reminders before it says how many wait.
constexpr int kDeliveryWaitMs = 60000;

QString Hours(double hours) {
    return QString::number(hours, 'f', 2);
}

QString Found(const MemberWork& work) {
    if (work.items == 0)
        return QStringLiteral("nothing reported");
    return Hours(work.hours()) +
           QStringLiteral(" h in %1 item%2").arg(work.items).arg(work.items == 1 ? "" : "s");
}

QString Threshold(const RemindOptions& o) {
    return o.belowHours ? QStringLiteral("below ") + Hours(*o.belowHours) + QStringLiteral(" h")
                        : QStringLiteral("nothing reported");
}

int FailOpen(const SessionOutcome& opened) {
    QString why = opened.where;
    if (opened.failure.isSet())
        why += (why.isEmpty() ? QString() : QStringLiteral(": ")) + opened.failure.description;
    if (opened.kind == SessionOutcome::Kind::NotConfigured)
        why = QStringLiteral("not configured (run \"tlm-manager 14\" once to choose one)");
    return Fail(kExitNoDatabase, QStringLiteral("the database could not be opened: ") + MaskSecrets(why));
}

int Remind(const RemindOptions& o) {
    Session session;
    const SessionOutcome opened = session.OpenDatabase(DatabaseAccess::ExistingOnly);
    if (!opened.opened())
        return FailOpen(opened);
    const QDateTime now = QDateTime::currentDateTime();
    const ReminderPlan plan =
        PlanReminders(session.global(), ReminderRules{o.period, o.belowHours}, session.local().DBChoice, now);
    switch (plan.kind) {
        case ReminderPlan::Kind::Planned:
            break;
        case ReminderPlan::Kind::UnknownPeriod:
            return Fail(kExitUsage, QStringLiteral("unknown period \"%1\"; the periods are: %2")
                                        .arg(plan.period, ReminderPeriodNames().join(QStringLiteral(", "))));
        case ReminderPlan::Kind::ReadFailed:
            return Fail(kExitStatementFailed, QStringLiteral("the reported items could not be read: ") +
                                                  MaskSecrets(plan.failure.description));
    }
    const QString span =
        QStringLiteral("%1 (%2 to %3)")
            .arg(plan.period, plan.dates.start.toString(Qt::ISODate), plan.dates.end.toString(Qt::ISODate));
    // Below the threshold but without an address: said, never silently dropped.
    for (const MemberWork& w : plan.noAddress)
        Print(stderr, QStringLiteral("tlm-manager: %1 has no e-mail address and is not reminded (%2, %3).\n")
                          .arg(w.name, Found(w), Threshold(o)));
    if (plan.due.isEmpty()) {
        Print(stdout, QStringLiteral("Nobody to remind for %1.\n").arg(span));
        return kExitNormal;
    }
    if (o.dryRun) {
        QString text;
        for (const MemberWork& w : plan.due)
            text += QStringList{w.name, w.email, Found(w), Threshold(o)}.join(u'\t') + u'\n';
        Print(stdout, text);
        Print(stderr, QStringLiteral("%1 member(s) would be reminded for %2; nothing was sent.\n")
                          .arg(plan.due.size())
                          .arg(span));
        return kExitNormal;
    }

    const QList<SentReminder> sent = SendReminders(session.global(), plan);
    int handed = 0;
    for (const SentReminder& s : sent) {
        using Status = NotificationOutcome::Status;
        if (s.outcome.status == Status::Sent || s.outcome.status == Status::KeptInOutbox)
            ++handed;
        else
            Print(stderr, QStringLiteral("tlm-manager: the reminder to %1 <%2> was not kept: %3\n")
                              .arg(s.member.name, s.member.email, MaskSecrets(s.outcome.reason)));
    }
    session.delivery().waitIdle(kDeliveryWaitMs);
    const OutboxStatus status = session.delivery().status();
    // A mail handed over that the outbox could not keep is told here, once.
    const UnkeptMails unkept = TakeUnkeptMails();
    if (unkept.count > 0)
        Print(stderr, QStringLiteral("tlm-manager: %1 reminder(s) could not be kept in the outbox: %2\n")
                          .arg(unkept.count)
                          .arg(unkept.reason));
    Print(stdout, QStringLiteral("Reminded %1 of %2 member(s) for %3; %4 mail(s) wait in the outbox.\n")
                      .arg(handed - unkept.count)
                      .arg(plan.due.size())
                      .arg(span)
                      .arg(status.waiting));
    if (!status.lastError.isEmpty() && status.waiting > 0)
        Print(stderr, QStringLiteral("tlm-manager: ") + status.lastError + u'\n');
    return handed - unkept.count == plan.due.size() ? kExitNormal : kExitWriteFailed;
}

}  // namespace

bool ParseRemindOptions(const QStringList& args, RemindOptions* o, QString* error) {
    *o = RemindOptions{};
    const auto fail = [&](const QString& why) {
        *error = why;
        return false;
    };
    for (int i = 0; i < args.size(); ++i) {
        const QString& a = args[i];
        const auto value = [&](const QString& name, QString* v) {
            if (a.startsWith(name + u'=')) {
                *v = a.mid(name.size() + 1);
                return true;
            }
            if (a != name || i + 1 >= args.size())
                return false;
            *v = args[++i];
            return true;
        };
        QString v;
        if (a == u"--help" || a == u"-h") {
            o->help = true;
        } else if (a == u"--dry-run") {
            o->dryRun = true;
        } else if (a == u"--period" || a.startsWith(QStringLiteral("--period="))) {
            if (!value(QStringLiteral("--period"), &o->period))
                return fail(QStringLiteral("--period needs a value"));
        } else if (a == u"--below-hours" || a.startsWith(QStringLiteral("--below-hours="))) {
            if (!value(QStringLiteral("--below-hours"), &v))
                return fail(QStringLiteral("--below-hours needs a value"));
            bool ok = false;
            const double hours = v.trimmed().toDouble(&ok);
            if (!ok || !std::isfinite(hours) || hours < 0 || hours > 10000)
                return fail(
                    QStringLiteral("--below-hours takes a number of hours from 0 to 10000, not \"%1\"")
                        .arg(v));
            o->belowHours = hours;
        } else {
            return fail(QStringLiteral("unknown option \"%1\"").arg(a));
        }
    }
    if (!o->help && o->period.trimmed().isEmpty())
        return fail(QStringLiteral("--period is required"));
    return true;
}

QString RemindUsageText() {
    return QStringLiteral(
        "Usage: tlm-manager remind --period NAME [--below-hours N] [--dry-run]\n"
        "Mails the \"Email Member to report\" template to every member who reported less than N\n"
        "hours of work in the period (without --below-hours: nothing at all), through the outbox.\n"
        "Work is a task's Actual Work (or Total Work, as the cost option says) and an appointment's\n"
        "Duration; the period is read as the reports read it.\n\n"
        "  --period NAME      Today, Yesterday, This Week, Last Week, This Month, Last Month,\n"
        "                     This Year, Last Year (any letter case)\n"
        "  --below-hours N    the threshold in hours (0 reminds nobody)\n"
        "  --dry-run          list who would be reminded and why, one tab-separated line each\n"
        "                     (name, address, hours found, threshold); nothing is sent\n\n"
        "A member without an e-mail address is named on standard error and not reminded.\n\n"
        "Exit codes: 0 done (or nobody to remind), 5 bad arguments or an unknown period,\n"
        "6 database not configured or not reachable, 8 a reminder could not be kept in the outbox,\n"
        "9 the database refused the query.\n");
}

int RunRemindTool(const QStringList& args, int& argc, char** argv) {
    RemindOptions o;
    QString error;
    if (!ParseRemindOptions(args, &o, &error))
        return Fail(kExitUsage, error + QStringLiteral(" (see tlm-manager remind --help)"));
    if (o.help)
        return Print(stdout, RemindUsageText()), kExitNormal;
    PinLocalTimeZone();
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("TLM"));
    QCoreApplication::setOrganizationName(QStringLiteral("Orrinwell"));
    return Remind(o);
}

}  // namespace tlm
