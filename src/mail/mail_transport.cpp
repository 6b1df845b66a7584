#include "mail/mail_transport.h"

#include <sys/stat.h>
#include <QFile>

#include "core/local_settings.h"

namespace tlm {

SmtpTransport::SmtpTransport(MailProfile profile, QString outboxFolder)
    : profile_(std::move(profile)), outbox_(std::move(outboxFolder)) {
    if (!profile_.password.isEmpty())
        RegisterSecret(profile_.password);
}

bool SmtpTransport::deliver(const ComposedMail& mail, QString* reason, QList<RefusedRecipient>* refused) {
    SmtpSession session(profile_);
    QString why;
    if (session.deliver(mail.envelopeFrom, mail.envelopeTo, mail.bytes, &why, refused))
        return true;
    if (reason)
        *reason = MaskSecrets(why);
    return false;
}

MailSendResult SmtpTransport::send(const MailMessage& message) {
    MailSendResult result;
    QString profileProblem;
    const ComposedMail mail = ComposeForProfile(profile_, message, &profileProblem, &result);
    if (!mail.ok())
        return result;
    QString reason = profileProblem;
    QList<RefusedRecipient> refused;
    const QString folder = outbox_.isEmpty() ? OutboxFolder() : outbox_;
    if (reason.isEmpty() && deliver(mail, &reason, &refused)) {
        result.status = MailSendResult::Status::Sent;
        result.reason = KeepForRefused(mail.bytes, refused, folder);
        subTraceAction(QStringLiteral("Mail sent to %1 recipient(s): %2")
                           .arg(mail.envelopeTo.size())
                           .arg(mail.messageId));
        return result;
    }
    result.reason = MaskSecrets(reason);
    QString writeError;
    result.outboxFile = KeepInOutbox(mail, result.reason, folder, &writeError);
    if (result.outboxFile.isEmpty()) {
        result.status = MailSendResult::Status::Lost;
        result.reason += QStringLiteral(" The outbox could not keep it either: ") + writeError;
        RecordUnkeptMail(writeError);
        subTraceAction(QStringLiteral("Mail not sent and not kept: ") + result.reason);
    } else {
        result.status = MailSendResult::Status::KeptInOutbox;
        subTraceAction(QStringLiteral("Mail kept in outbox as %1: %2").arg(result.outboxFile, result.reason));
    }
    return result;
}

MailSendResult ProfileMailTransport::send(const MailMessage& message) {
    // Read again only when the settings file changed (here or in another process): reading it for
    // each mail of a large save cost as much as the save itself. It is replaced by a rename at each
    // write, so a new inode tells a change even within one clock tick.
    const QByteArray path = QFile::encodeName(LocalSettingsFilePath());
    struct stat st {};
    const QString stamp = ::stat(path.constData(), &st) == 0 ? QStringLiteral("%1|%2|%3.%4|%5")
                                                                   .arg(QString::fromLocal8Bit(path))
                                                                   .arg(qulonglong(st.st_ino))
                                                                   .arg(qlonglong(st.st_mtim.tv_sec))
                                                                   .arg(qlonglong(st.st_mtim.tv_nsec))
                                                                   .arg(qlonglong(st.st_size))
                                                             : QString();
    if (stamp.isEmpty() || stamp != profileStamp_) {
        profile_ = LoadMailProfile();
        profileStamp_ = stamp;
    }
    return mode_ == Mode::HandOver ? MailDelivery().hand(message, profile_)
                                   : MailDelivery().queue(message, profile_);
}

MailErrorReportMailer::MailErrorReportMailer(MailTransport* transport) : transport_(transport) {}

bool MailErrorReportMailer::available() const {
    return !LoadMailProfile().errorReportMailbox.isEmpty();
}

MailMessage MailErrorReportMailer::BuildReportMail(const QString& mailbox, const QString& subject,
                                                   const QString& body) {
    const QString html = QStringLiteral("<html><body><pre>") + MaskSecrets(body).toHtmlEscaped() +
                         QStringLiteral("</pre></body></html>");
    return MailMessage{mailbox, QString(), MaskSecrets(subject), html};
}

bool MailErrorReportMailer::send(const QString& subject, const QString& body, bool sendDirectly) {
    const MailProfile profile = LoadMailProfile();
    last_ = MailSendResult{};
    keptForLater_ = false;
    if (profile.errorReportMailbox.isEmpty()) {
        last_.status = MailSendResult::Status::Refused;
        last_.reason = QStringLiteral("No error report mailbox is set in the mail profile.");
        return false;
    }
    const MailMessage mail = BuildReportMail(profile.errorReportMailbox, subject, body);
    if (!sendDirectly && display_)
        return display_(mail);
    keptForLater_ = false;
    if (transport_) {
        last_ = transport_->send(mail);
    } else {
        last_ = MailDelivery().queue(mail, profile);
        // The user waits on the report: a few seconds tell whether it went or waits.
        if (last_.queued)
            MailDelivery().waitIdle(kReportWaitMs);
    }
    if (last_.status == MailSendResult::Status::KeptInOutbox)
        keptForLater_ = !last_.outboxFile.isEmpty() && QFile::exists(last_.outboxFile);
    return last_.sent() || last_.status == MailSendResult::Status::KeptInOutbox;
}

}  // namespace tlm
