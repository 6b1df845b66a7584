#pragma once

#include <QString>
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

// SMTP through libcurl, with the profile's server, TLS mode and login.
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

// Asked once per process when a mail must go out and the stored profile names no server, so
// the first mail is not quietly parked in the outbox; the GUI opens the Mail Account dialog.
// Answers true when the user saved a profile. An empty hook restores "never ask".
using MissingProfileHook = std::function<bool()>;
void SetMissingProfileHook(MissingProfileHook hook);
// Asks through the hook when the stored profile names no server and this process has not asked
// yet. True when the user saved a profile.
bool AskForMissingProfile();

// A transport over the stored mail profile, read at each send so a changed profile applies.
class ProfileMailTransport : public MailTransport {
  public:
    MailSendResult send(const MailMessage& message) override;
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
