#include "notifications/notification_engine.h"

#include <QDateTime>

#include "core/error_report.h"
#include "core/money.h"
#include "core/prompt.h"
#include "mail/mail_profile.h"
#include "mail/mail_transport.h"
#include "notifications/notification_store.h"
#include "notifications/templates.h"
#include "reported/appointment_data.h"
#include "reported/task_data.h"

namespace tlm {

namespace {

bool HasLineBreak(const QString& s) {
    return s.contains(QLatin1Char('\r')) || s.contains(QLatin1Char('\n'));
}

// Without a GUI there is nobody to show a mail to: it waits in the outbox, where the user finds
// it, instead of going out unseen.
class OutboxDisplay : public NotificationDisplay {
  public:
    NotificationOutcome Display(const MailMessage& message) override {
        NotificationOutcome out;
        out.message = message;
        // Nobody can fix an address here: the usable ones are kept, as a sent mail would have them.
        CleanRecipientList(message.to, &out.message.to, nullptr);
        CleanRecipientList(message.bcc, &out.message.bcc, nullptr);
        const MailProfile profile = LoadMailProfile();
        MailAddress sender{profile.senderName, profile.senderAddress};
        if (!IsValidMailAddress(sender.address) || HasLineBreak(sender.name))
            sender = MailAddress{QString(), QStringLiteral("tlm@localhost")};
        const ComposedMail mail = ComposeMail(sender, out.message);
        if (!mail.ok()) {
            out.status = NotificationOutcome::Status::Refused;
            out.reason = MaskSecrets(mail.error);
            return out;
        }
        out.reason = QStringLiteral("No window to show the mail in; kept for editing.");
        QString error;
        out.outboxFile = KeepInOutbox(mail, out.reason, OutboxFolder(), &error);
        if (out.outboxFile.isEmpty()) {
            out.status = NotificationOutcome::Status::Lost;
            out.reason += QLatin1Char(' ') + error;
            RecordUnkeptMail(error);
        } else {
            out.status = NotificationOutcome::Status::KeptInOutbox;
        }
        return out;
    }
};

// How long the end of a save waits for its mails to be kept: writing them never waits on the
// server, so only a stalled disk comes near it.
constexpr int kKeepWaitMs = 60000;

MailTransport* g_transport = nullptr;
NotificationDisplay* g_display = nullptr;

QString StatusWord(NotificationOutcome::Status s) {
    switch (s) {
        case NotificationOutcome::Status::Sent:
            return QStringLiteral("sent");
        case NotificationOutcome::Status::Displayed:
            return QStringLiteral("shown");
        case NotificationOutcome::Status::KeptInOutbox:
            return QStringLiteral("kept in the outbox");
        case NotificationOutcome::Status::Refused:
            return QStringLiteral("refused");
        case NotificationOutcome::Status::Lost:
            break;
    }
    return QStringLiteral("lost");
}

bool IsRecordKind(qint32 kind) {
    switch (kind) {
        case 1:
        case 2:
        case 7:
        case 8:
        case 12:
        case 13:
        case 15:
        case 16:
            return true;
        default:
            return false;
    }
}

bool IsDictionaryKind(qint32 kind) {
    switch (kind) {
        case 3:
        case 4:
        case 5:
        case 6:
        case 9:
        case 10:
        case 11:
            return true;
        default:
            return false;
    }
}

}  // namespace

QString ReportedItemRef::SubstituePlaceHolders(const QString& sContent) const {
    if (task_)
        return task_->SubstituePlaceHolders(sContent);
    if (appt_)
        return appt_->SubstituePlaceHolders(sContent);
    return sContent;
}

QString ReportedItemRef::ReportedBy() const {
    if (task_)
        return task_->ReportedBy;
    if (appt_)
        return appt_->ReportedBy;
    return QString();
}

QString TakeUnkeptMailNotice() {
    // The mails handed over are kept (or known unkept) before the user is told.
    MailDelivery().waitKept(kKeepWaitMs);
    const UnkeptMails unkept = TakeUnkeptMails();
    if (unkept.count == 0)
        return QString();
    const QString what = unkept.count == 1
                             ? QStringLiteral("1 mail could not be kept in the outbox")
                             : QStringLiteral("%1 mails could not be kept in the outbox").arg(unkept.count);
    return what + QStringLiteral(" and will not be sent: ") + unkept.reason;
}

void TellUnkeptMails() {
    const QString notice = TakeUnkeptMailNotice();
    if (!notice.isEmpty())
        MsgBox(notice, PromptIcon::Exclamation);
}

void SetNotificationTransport(MailTransport* transport) {
    g_transport = transport;
}

void SetNotificationDisplay(NotificationDisplay* display) {
    g_display = display;
}

MailTransport& notificationTransport() {
    // A save hands its mails over and goes on; they are composed and kept off its thread.
    static ProfileMailTransport profileTransport(ProfileMailTransport::Mode::HandOver);
    return g_transport ? *g_transport : profileTransport;
}

NotificationDisplay& notificationDisplay() {
    static OutboxDisplay outbox;
    return g_display ? *g_display : outbox;
}

QString GetToEmailPortion(const QString& sRecipients) {
    return SplitNotificationRecipients(sRecipients).to;
}

QString GetBCCEmailsPortion(const QString& sRecipients) {
    return SplitNotificationRecipients(sRecipients).bcc;
}

QString GetEmailTemplate(qint32 kind) {
    const TemplateInfo* info = TemplateOfKind(kind);
    const cNotificationStore* global = NotificationStore();
    if (!info || !global)
        return QString();
    return global->MessageTemplates.GetValue(info->key).toString();
}

QString GetEmailNotificationSubject(qint32 kind) {
    const TemplateInfo* info = TemplateOfKind(kind);
    const cNotificationStore* global = NotificationStore();
    if (!info || !global || info->subjectKey.isEmpty())
        return QString();
    return global->MessageTemplates.GetValue(info->subjectKey).toString();
}

QString TagValueText(const QVariant& value) {
    if (value.metaType() == QMetaType::fromType<QDateTime>())
        return DateTimeToText(value.toDateTime());
    if (value.metaType() == QMetaType::fromType<Money>())
        return value.value<Money>().toPlainString();
    return value.toString();
}

QString ReplaceContentWithDictionary(const QString& sContent, const NotificationTags* dicTags) {
    QString text = sContent;
    if (!dicTags)
        return text;
    for (const auto& e : *dicTags) {
        if (!e.key.isEmpty())
            text.replace(e.key, TagValueText(e.item), Qt::CaseSensitive);
    }
    return text;
}

QString ProcessReportedItem(const QString& sContent, const ReportedItemRef& oReportedItem,
                            const QString& /*sUnusedTag*/) {
    return oReportedItem.SubstituePlaceHolders(sContent);
}

QString ReplacePlaceHolderVariables(qint32 kind, const QString& sContent,
                                    const ReportedItemRef& oReportedItem, const NotificationTags* dicTags,
                                    const QString& sUnusedTag) {
    // A record kind may carry tags of its own (a decline's reason): after the record's, so a value
    // is never substituted again.
    if (IsRecordKind(kind))
        return ReplaceContentWithDictionary(ProcessReportedItem(sContent, oReportedItem, sUnusedTag),
                                            dicTags);
    if (IsDictionaryKind(kind))
        return ReplaceContentWithDictionary(sContent, dicTags);
    MsgBox(QStringLiteral("NOT TRAPPED ") + QString::number(kind));
    return QString();
}

bool CleanRecipientList(const QString& list, QString* cleaned, QStringList* skipped) {
    QStringList good;
    for (const QString& part : list.split(QLatin1Char(';'))) {
        if (HasLineBreak(part))
            return false;
        const QString address = part.trimmed();
        if (address.isEmpty())
            continue;
        MailAddress parsed;
        QString error;
        if (ParseMailAddress(address, &parsed, &error))
            good.append(address);
        else if (skipped)
            skipped->append(address);
    }
    if (cleaned)
        *cleaned = good.join(QLatin1Char(';'));
    return true;
}

NotificationOutcome EmailNotificationManager(qint32 kind, const QString& sRecipients,
                                             const ReportedItemRef& oReportedItem,
                                             const NotificationTags* dicTags, const QString& sUnusedTag,
                                             bool bSendDirectly) {
    const QString body =
        ReplacePlaceHolderVariables(kind, GetEmailTemplate(kind), oReportedItem, dicTags, sUnusedTag);
    const QString subject = ReplacePlaceHolderVariables(kind, GetEmailNotificationSubject(kind),
                                                        oReportedItem, dicTags, sUnusedTag);

    NotificationOutcome out;
    const auto finish = [&](NotificationOutcome result) {
        subTraceAction(
            QStringLiteral("Notification %1 to %2 %3%4")
                .arg(kind)
                .arg(MaskSecrets(result.message.to.isEmpty() ? result.message.bcc : result.message.to),
                     StatusWord(result.status),
                     result.reason.isEmpty() ? QString() : QStringLiteral(": ") + result.reason));
        return result;
    };

    // The split is the one of the address field: what stands before the first ";" is the To, even
    // when it is blank. Each part is then cleaned on its own.
    const RecipientSplit split = SplitNotificationRecipients(sRecipients);
    QStringList skipped;
    out.message.subject = subject;
    out.message.html = body;
    if (!bSendDirectly && !HasLineBreak(subject) && !HasLineBreak(split.to) && !HasLineBreak(split.bcc)) {
        // A mail to be shown opens with the recipients as the sender built them: an address that
        // would not do stays in view for the user to fix, and an empty list still opens the mail.
        out.message.to = split.to.trimmed();
        out.message.bcc = split.bcc.trimmed();
        NotificationOutcome shown = notificationDisplay().Display(out.message);
        shown.message = out.message;
        return finish(shown);
    }
    if (HasLineBreak(subject) || !CleanRecipientList(split.to, &out.message.to, &skipped) ||
        !CleanRecipientList(split.bcc, &out.message.bcc, &skipped)) {
        // A line break would start a header of its own: nothing of this mail goes anywhere.
        out.message.to = out.message.bcc = QString();
        out.status = NotificationOutcome::Status::Refused;
        out.reason = QStringLiteral("a subject or address holds a line break");
        return finish(out);
    }
    if (!skipped.isEmpty())
        subTraceAction(QStringLiteral("Notification %1 leaves out invalid addresses: %2")
                           .arg(kind)
                           .arg(skipped.join(QStringLiteral(", ")).simplified()));
    if (out.message.to.isEmpty() && out.message.bcc.isEmpty()) {
        out.status = NotificationOutcome::Status::Refused;
        out.reason = QStringLiteral("no valid recipient");
        return finish(out);
    }

    if (!bSendDirectly) {
        NotificationOutcome shown = notificationDisplay().Display(out.message);
        shown.message = out.message;
        return finish(shown);
    }
    const MailSendResult sent = notificationTransport().send(out.message);
    out.reason = sent.reason;
    out.outboxFile = sent.outboxFile;
    switch (sent.status) {
        case MailSendResult::Status::Sent:
            out.status = NotificationOutcome::Status::Sent;
            break;
        case MailSendResult::Status::KeptInOutbox:
            out.status = NotificationOutcome::Status::KeptInOutbox;
            break;
        case MailSendResult::Status::Refused:
            out.status = NotificationOutcome::Status::Refused;
            break;
        case MailSendResult::Status::Lost:
            out.status = NotificationOutcome::Status::Lost;
            break;
    }
    return finish(out);
}

}  // namespace tlm
