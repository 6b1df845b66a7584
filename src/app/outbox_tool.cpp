#include "app/outbox_tool.h"

#include <cstdio>

#include "app/tool_output.h"
#include "core/error_report.h"
#include "core/startup.h"
#include "mail/mail_profile.h"
#include "mail/outbox.h"

namespace tlm {

namespace {

// One line per field: a tab or a line break in a subject must not split the list.
QString Cell(const QString& text) {
    return text.simplified();
}

QString StateWord(OutboxEntry::State state) {
    return state == OutboxEntry::State::Failed ? QStringLiteral("failed") : QStringLiteral("waiting");
}

int FailOutcome(const OutboxOutcome& o) {
    switch (o.kind) {
        case OutboxOutcome::Kind::Done:
            return kExitNormal;
        case OutboxOutcome::Kind::NotFound:
        case OutboxOutcome::Kind::NotReadable:
            return Fail(kExitNothingToDo, o.message);
        case OutboxOutcome::Kind::WriteFailed:
            break;
    }
    return Fail(kExitWriteFailed, o.message);
}

int List(const QString& folder) {
    const QList<OutboxEntry> entries = ListOutbox(folder);
    // Said on standard error: a script reading the list sees no line at all.
    if (entries.isEmpty()) {
        Print(stderr, QStringLiteral("The outbox is empty.\n"));
        return kExitNormal;
    }
    QString text;
    for (const OutboxEntry& e : entries) {
        text += QStringList{e.id,
                            StateWord(e.state),
                            e.date.toString(QStringLiteral("yyyy-MM-dd HH:mm")),
                            Cell(e.readable ? e.subject : QStringLiteral("(damaged file)")),
                            Cell(e.recipients.join(QStringLiteral(", "))),
                            Cell(e.reason)}
                    .join(u'\t') +
                u'\n';
    }
    Print(stdout, text);
    return std::ferror(stdout) ? Fail(kExitWriteFailed, QStringLiteral("standard output cannot be written."))
                               : kExitNormal;
}

// A mail moved back goes out now when the profile can send; otherwise at the next delivery.
void DeliverNow(const QString& folder, int moved) {
    const MailProfile profile = LoadMailProfile();
    if (profile.host.trimmed().isEmpty()) {
        Print(stdout,
              QStringLiteral("%1 back in the outbox; no mail server is set up, so it waits.\n")
                  .arg(moved == 1 ? QStringLiteral("1 mail") : QStringLiteral("%1 mails").arg(moved)));
        return;
    }
    OutboxSender sender(folder);
    sender.kick(profile);
    sender.waitIdle(60000);
    sender.shutdown();
    const OutboxStatus s = sender.status();
    Print(stdout, QStringLiteral("%1 back in the outbox; %2 sent, %3 waiting, %4 failed.\n")
                      .arg(moved == 1 ? QStringLiteral("1 mail") : QStringLiteral("%1 mails").arg(moved))
                      .arg(s.delivered)
                      .arg(s.waiting)
                      .arg(s.failed));
    if (!s.lastError.isEmpty() && (s.waiting > 0 || s.failed > 0))
        Print(stderr, QStringLiteral("tlm-manager: ") + s.lastError + u'\n');
}

}  // namespace

bool ParseOutboxOptions(const QStringList& args, OutboxToolOptions* o, QString* error) {
    const auto fail = [&](const QString& why) {
        if (error)
            *error = why;
        return false;
    };
    *o = OutboxToolOptions{};
    const QString verb = args.value(0);
    const QStringList rest = args.mid(1);
    if (args.isEmpty() || verb == u"list") {
        if (!rest.isEmpty())
            return fail(QStringLiteral("list takes no arguments"));
        o->action = OutboxToolOptions::Action::List;
        return true;
    }
    if (verb == u"--help" || verb == u"-h") {
        o->action = OutboxToolOptions::Action::Help;
        return args.size() == 1 || fail(QStringLiteral("--help takes no arguments"));
    }
    if (verb == u"show" || verb == u"discard" || verb == u"retry") {
        o->action = verb == u"show"      ? OutboxToolOptions::Action::Show
                    : verb == u"discard" ? OutboxToolOptions::Action::Discard
                                         : OutboxToolOptions::Action::Retry;
        if (rest.size() != 1 || rest[0].isEmpty())
            return fail(verb + (o->action == OutboxToolOptions::Action::Retry
                                    ? QStringLiteral(" needs one ID or --all")
                                    : QStringLiteral(" needs one ID")));
        if (rest[0] == u"--all" && o->action == OutboxToolOptions::Action::Retry) {
            o->all = true;
            return true;
        }
        if (rest[0].startsWith(u'-'))
            return fail(QStringLiteral("unknown option \"%1\"").arg(rest[0]));
        o->id = rest[0];
        return true;
    }
    return fail(QStringLiteral("unknown outbox command \"%1\"").arg(verb));
}

QString OutboxUsageText() {
    return QStringLiteral(
        "Usage: tlm-manager outbox [list]\n"
        "       tlm-manager outbox show ID\n"
        "       tlm-manager outbox retry ID|--all\n"
        "       tlm-manager outbox discard ID\n"
        "\n"
        "list prints one tab-separated line per mail: ID, waiting or failed, date, subject,\n"
        "recipients, and why it waits or failed. Failed mails (refused by the server for good, or\n"
        "files that could not be read) are never sent by themselves: retry puts them back with the\n"
        "waiting ones and delivers when a mail server is set up; discard removes a mail for good.\n"
        "\n"
        "Exit codes: 0 done, 5 bad arguments, 7 no mail with that ID (or, for show, a file that\n"
        "holds no readable mail), 8 the mail could not be moved or removed.\n");
}

int RunOutboxTool(const OutboxToolOptions& o) {
    const QString folder = OutboxFolder();
    switch (o.action) {
        case OutboxToolOptions::Action::Help:
            Print(stdout, OutboxUsageText());
            return kExitNormal;
        case OutboxToolOptions::Action::List:
            return List(folder);
        case OutboxToolOptions::Action::Show: {
            const OutboxOutcome shown = ShowOutboxMail(folder, o.id);
            if (shown.kind != OutboxOutcome::Kind::Done)
                return FailOutcome(shown);
            Print(stdout, QStringLiteral("State: %1\nRecipients: %2\nReason: %3\n\n")
                              .arg(StateWord(shown.entry.state),
                                   shown.entry.recipients.join(QStringLiteral(", ")), shown.entry.reason));
            QByteArray text = shown.text;
            std::fwrite(text.replace("\r\n", "\n").constData(), 1, size_t(text.size()), stdout);
            return kExitNormal;
        }
        case OutboxToolOptions::Action::Retry: {
            const OutboxOutcome retried = o.all ? RetryAllFailed(folder) : RetryOutboxMail(folder, o.id);
            if (retried.kind != OutboxOutcome::Kind::Done)
                return FailOutcome(retried);
            if (retried.count == 0) {
                Print(stdout, o.all ? QStringLiteral("No failed mail to retry.\n")
                                    : QStringLiteral("%1 already waits in the outbox.\n").arg(o.id));
                return kExitNormal;
            }
            DeliverNow(folder, retried.count);
            return kExitNormal;
        }
        case OutboxToolOptions::Action::Discard: {
            const OutboxOutcome gone = DiscardOutboxMail(folder, o.id);
            if (gone.kind != OutboxOutcome::Kind::Done)
                return FailOutcome(gone);
            Print(stdout, QStringLiteral("Discarded %1.\n").arg(o.id));
            return kExitNormal;
        }
    }
    return kExitUsage;
}

}  // namespace tlm
