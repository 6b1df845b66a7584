#pragma once

#include <QList>
#include <QString>
#include <atomic>
#include <functional>
#include <memory>

#include "core/error_report.h"
#include "mail/mail_message.h"
#include "mail/mail_profile.h"

namespace tlm {

// What became of one mail. A mail is never silently lost: it went out, or it waits in the
// outbox, or the caller's input was refused and the reason says why.
struct MailSendResult {
    enum class Status { Sent, KeptInOutbox, Refused, Lost };
    Status status = Status::Lost;
    QString reason;      // for the user and the trace; secrets masked
    QString outboxFile;  // set when kept in the outbox
    QString messageId;
    bool queued = false;  // KeptInOutbox, and the delivery worker is on it

    bool sent() const { return status == Status::Sent; }
};

// How a lower layer sends mail without knowing SMTP. Never shows a dialog.
class MailTransport {
  public:
    virtual ~MailTransport() = default;
    virtual MailSendResult send(const MailMessage& message) = 0;
};

// <data folder>/outbox, or the folder set for tests.
QString OutboxFolder();
void SetOutboxFolder(const QString& folder);  // empty restores the default

// Writes the mail as <outbox>/<time>-<id>.eml: the wire bytes, headed by X-Tlm-Recipients (Bcc is
// no header) and X-Tlm-Failure. Returns the file, or empty with error set.
QString KeepInOutbox(const ComposedMail& mail, const QString& reason, const QString& folder,
                     QString* error = nullptr);

// One SMTP connection through libcurl, opened by the first mail and kept open for the next ones
// (one handle, so libcurl reuses its connection). Not shared between threads.
class SmtpSession {
  public:
    // A set abort flag ends a transfer in progress; the mail then counts as not delivered.
    explicit SmtpSession(MailProfile profile, const std::atomic<bool>* abort = nullptr);
    ~SmtpSession();
    SmtpSession(const SmtpSession&) = delete;
    SmtpSession& operator=(const SmtpSession&) = delete;

    // One SMTP transaction; false with an unmasked reason when the server did not take the mail.
    bool deliver(const QByteArray& envelopeFrom, const QList<QByteArray>& envelopeTo, const QByteArray& bytes,
                 QString* reason);
    // After a failed deliver: true when the server cannot be reached or used at all (no
    // connection, no reply, refused login, TLS), false when it refused only that mail.
    bool lastWasConnectionFailure() const { return lastWasConnectionFailure_; }
    int connectionsOpened() const { return connections_; }

  private:
    MailProfile profile_;
    const std::atomic<bool>* abort_;
    void* curl_ = nullptr;
    QByteArray url_, user_, password_;
    char errbuf_[256] = {0};
    bool lastWasConnectionFailure_ = false;
    int connections_ = 0;
};

// The mail as it goes out from this profile; a profile without a usable sender gives a local
// sender, and profileProblem says why (the mail is then to be kept, not sent). result gets the
// Message-ID, or is marked Refused with the masked reason when the input cannot be composed.
ComposedMail ComposeForProfile(const MailProfile& profile, const MailMessage& message,
                               QString* profileProblem, MailSendResult* result);

// SMTP through libcurl at once, one mail per connection: for a mail the user is waiting on (the
// account's test mail) and for measuring.
class SmtpTransport : public MailTransport {
  public:
    explicit SmtpTransport(MailProfile profile, QString outboxFolder = QString());
    // Composes, delivers, and keeps the mail in the outbox when delivery fails.
    MailSendResult send(const MailMessage& message) override;
    // One SMTP transaction; false with a masked reason when the server did not take the mail.
    bool deliver(const ComposedMail& mail, QString* reason);

    const MailProfile& profile() const { return profile_; }

  private:
    MailProfile profile_;
    QString outbox_;
};

// The stored mail profile, read at each send so a changed profile applies: the mail is written
// to the outbox and handed to the process's delivery worker (MailDelivery()). Never waits on the
// server and never asks the user.
class ProfileMailTransport : public MailTransport {
  public:
    MailSendResult send(const MailMessage& message) override;

  private:
    MailProfile profile_;
    QString profileStamp_;  // the settings file the profile was read from: path, time, size
};

// The error report by mail, to the profile's "ErrorReportMailbox". Not sending directly hands
// the mail to the compose window when the GUI installed one, otherwise it is sent.
class MailErrorReportMailer : public ErrorReportMailer {
  public:
    using DisplayHook = std::function<bool(const MailMessage&)>;
    // Without a transport, each send builds one from the stored profile.
    explicit MailErrorReportMailer(MailTransport* transport = nullptr);
    void setDisplayHook(DisplayHook hook) { display_ = std::move(hook); }

    bool available() const override;
    bool send(const QString& subject, const QString& body, bool sendDirectly) override;
    const MailSendResult& lastResult() const { return last_; }

    // The mail as it goes out: the report masked, in a <pre> block.
    static MailMessage BuildReportMail(const QString& mailbox, const QString& subject, const QString& body);

  private:
    MailTransport* transport_;
    DisplayHook display_;
    MailSendResult last_;
};

}  // namespace tlm
