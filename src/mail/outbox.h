#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "mail/mail_message.h"
#include "mail/mail_profile.h"

// The outbox: composing a mail for a profile, keeping it as a file, and delivering the kept files
// over SMTP. The ways of sending that callers use (mail_transport.h) sit on top of it.
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

// <data folder>/outbox, or the folder set for tests.
QString OutboxFolder();
void SetOutboxFolder(const QString& folder);  // empty restores the default

// Writes the mail as <outbox>/<time>-<id>.eml: the wire bytes, headed by X-Tlm-Recipients (Bcc is
// no header) and X-Tlm-Failure. Returns the file, or empty with error set.
QString KeepInOutbox(const ComposedMail& mail, const QString& reason, const QString& folder,
                     QString* error = nullptr);

// The mail as it goes out from this profile; a profile without a usable sender gives a local
// sender, and profileProblem says why (the mail is then to be kept, not sent). result gets the
// Message-ID, or is marked Refused with the masked reason when the input cannot be composed.
ComposedMail ComposeForProfile(const MailProfile& profile, const MailMessage& message,
                               QString* profileProblem, MailSendResult* result);

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

// A mail read back from the outbox: the envelope from its X-Tlm- lines and the wire bytes after them.
struct OutboxMail {
    QList<QByteArray> envelopeTo;
    QByteArray bytes;
    QString messageId;  // without the angle brackets; empty when the mail has none
};
bool ReadOutboxMail(const QString& path, OutboxMail* out, QString* error = nullptr);
// The kept mails in the order they were written (their names sort so).
QStringList OutboxFiles(const QString& folder);

// What the delivery worker has done and what is left.
struct OutboxStatus {
    int waiting = 0;          // mails in the outbox
    int delivered = 0;        // taken by the server since the worker started
    int connections = 0;      // SMTP connections opened since the worker started
    bool busy = false;        // a batch is being delivered, or one is asked for
    bool noServer = false;    // the last profile named no SMTP server
    bool serverDown = false;  // the last batch stopped at a server that could not be used
    QString lastError;        // masked
};

// Delivers the outbox on a thread of its own, so no screen waits on the mail server. Every mail is
// written to the outbox first; a batch goes out in file order over one SMTP connection, and a file
// is removed only once the server took it, so a crash resends at most that one mail and never loses
// one. After a connection failure the rest wait until the next attempt (kick(), or the next start).
// Several processes may share the outbox: a lock file lets one of them deliver at a time.
class OutboxSender {
  public:
    // An empty folder means OutboxFolder() at each call.
    explicit OutboxSender(QString folder = QString());
    ~OutboxSender();  // shutdown()
    OutboxSender(const OutboxSender&) = delete;
    OutboxSender& operator=(const OutboxSender&) = delete;

    // Composes the mail from the profile and writes it to the outbox. Refused input is refused;
    // otherwise the result is KeptInOutbox, with queued set when a server is configured and the
    // worker was told (Lost only when the outbox itself cannot be written).
    MailSendResult queue(const MailMessage& message, const MailProfile& profile);
    // Tries the whole outbox again with this profile, also after a connection failure.
    void kick(const MailProfile& profile);
    // Waits until no batch is running or asked for; false when ms ran out first.
    bool waitIdle(int ms);
    OutboxStatus status() const;
    QString folder() const;
    // Ends the worker: a transfer in progress is aborted (its mail stays in the outbox), the rest
    // wait for the next start. Returns at once when the worker is idle.
    void shutdown();

  private:
    struct Run {
        QString folder;
        MailProfile profile;
    };
    void start();
    void work();
    void deliverBatch(const Run& run);
    void deliverFiles(const Run& run, SmtpSession& session, const QByteArray& from);

    QString folder_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::thread thread_;
    bool wanted_ = false;   // a batch is asked for
    bool running_ = false;  // a batch is running
    bool retry_ = false;    // kick() since the batch began
    bool stopping_ = false;
    bool serverDown_ = false;
    bool noServer_ = false;
    int delivered_ = 0;
    int connections_ = 0;
    QString lastError_;
    Run next_;
    std::atomic<bool> abort_{false};
};

// The process's delivery worker: the one the program installed, else one made on first use.
OutboxSender& MailDelivery();
void SetMailDelivery(OutboxSender* sender);  // nullptr: back to the one made on first use

}  // namespace tlm
