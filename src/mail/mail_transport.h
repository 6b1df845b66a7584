#pragma once

#include <QString>
#include <functional>

#include "core/error_report.h"
#include "mail/mail_message.h"
#include "mail/mail_profile.h"
#include "mail/outbox.h"

namespace tlm {

// How a lower layer sends mail without knowing SMTP. Never shows a dialog.
class MailTransport {
  public:
    virtual ~MailTransport() = default;
    virtual MailSendResult send(const MailMessage& message) = 0;
};

// SMTP through libcurl at once, one mail per connection: for a mail the user is waiting on (the
// account's test mail) and for measuring.
class SmtpTransport : public MailTransport {
  public:
    explicit SmtpTransport(MailProfile profile, QString outboxFolder = QString());
    // Composes, delivers, and keeps the mail in the outbox when delivery fails. Refused
    // recipients do not stop the others; the mail is kept for them (KeepForRefused).
    MailSendResult send(const MailMessage& message) override;
    // One SMTP transaction; false with a masked reason when the server did not take the mail.
    // refused gets the recipients the server refused while it took the mail for the others.
    bool deliver(const ComposedMail& mail, QString* reason, QList<RefusedRecipient>* refused = nullptr);

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
    // Keep: the mail is in the outbox when send returns. HandOver: send returns once the worker has
    // the mail (OutboxSender::hand); a mail it cannot keep is told through TakeUnkeptMails.
    enum class Mode { Keep, HandOver };
    explicit ProfileMailTransport(Mode mode = Mode::Keep) : mode_(mode) {}
    MailSendResult send(const MailMessage& message) override;

  private:
    Mode mode_;
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
    // True when the mail went out or was kept in the outbox; false only when it could not be kept.
    bool send(const QString& subject, const QString& body, bool sendDirectly) override;
    // The last send kept the mail in the outbox (no server set, or the server is down).
    bool lastKeptForLater() const override { return keptForLater_; }
    const MailSendResult& lastResult() const { return last_; }
    static constexpr int kReportWaitMs = 5000;

    // The mail as it goes out: the report masked, in a <pre> block.
    static MailMessage BuildReportMail(const QString& mailbox, const QString& subject, const QString& body);

  private:
    MailTransport* transport_;
    DisplayHook display_;
    MailSendResult last_;
    bool keptForLater_ = false;
};

}  // namespace tlm
