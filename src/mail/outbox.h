#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

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
// <outbox>/failed: mails the server refused for good, or files that could not be read. Nothing
// there goes out by itself; the outbox window and `tlm-manager outbox` retry or discard them.
QString FailedFolder(const QString& outbox);

// Mails that could not even be kept (a full disk, an outbox that cannot be written), counted
// until someone takes them to tell the user once.
struct UnkeptMails {
    int count = 0;
    QString reason;  // the last one, masked
};
void RecordUnkeptMail(const QString& reason);
UnkeptMails TakeUnkeptMails();

// Writes the mail as <outbox>/<time>-<id>.eml: the wire bytes, headed by X-Tlm-Recipients (Bcc is
// no header) and X-Tlm-Failure. Returns the file, or empty with error set.
QString KeepInOutbox(const ComposedMail& mail, const QString& reason, const QString& folder,
                     QString* error = nullptr);

// A recipient the server refused while it took the mail for the others.
struct RefusedRecipient {
    QByteArray address;
    int code = 0;    // the reply code, 4xx (try again) or 5xx (for good)
    QString answer;  // the server's reply line
};
// After a mail went to the others: it is kept for its refused recipients only, those refused for
// good in the failed folder, those refused for now in the outbox. Answers the refusals as one
// line, empty when there were none.
QString KeepForRefused(const QByteArray& bytes, const QList<RefusedRecipient>& refused,
                       const QString& folder);

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
    // Refused recipients do not stop the others: the mail counts as taken when one recipient was
    // accepted, and refused lists the rest with the server's answers.
    bool deliver(const QByteArray& envelopeFrom, const QList<QByteArray>& envelopeTo, const QByteArray& bytes,
                 QString* reason, QList<RefusedRecipient>* refused = nullptr);
    // After a failed deliver: the server refused this mail for good (a 5xx reply), so trying it
    // again would fail the same way.
    bool lastWasPermanent() const { return lastReply_ >= 500 && !lastWasConnectionFailure_; }
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
    int lastReply_ = 0;
    int connections_ = 0;
};

// A mail read back from the outbox: the envelope from its X-Tlm- lines and the wire bytes after them.
struct OutboxMail {
    QList<QByteArray> envelopeTo;
    QByteArray bytes;
    QString messageId;  // without the angle brackets; empty when the mail has none
    QString reason;     // X-Tlm-Failure: why it waits or failed
    QString subject;
    QDateTime date;
};
bool ReadOutboxMail(const QString& path, OutboxMail* out, QString* error = nullptr);
// The kept mails in the order they were written (their names sort so).
QStringList OutboxFiles(const QString& folder);
// Removes what interrupted writes of dead processes left in the folder (".<name>.<pid>.<n>.tmp").
// Answers how many went.
int ClearInterruptedWrites(const QString& folder);

// The outbox as the window and `tlm-manager outbox` show it.
struct OutboxEntry {
    enum class State { Waiting, Failed };
    State state = State::Waiting;
    QString id;  // the file name without ".eml"; unique across waiting and failed
    QString path;
    QDateTime date;  // the mail's Date, else the file's time
    QString subject;
    QStringList recipients;
    QString reason;         // why it waits or failed, masked
    bool readable = false;  // false: a damaged file; subject and recipients are unknown
};
// Waiting mails in delivery order, then failed ones.
QList<OutboxEntry> ListOutbox(const QString& folder);

struct OutboxOutcome {
    enum class Kind {
        Done,
        NotFound,     // no mail with that ID
        NotReadable,  // the file is there but cannot be read
        WriteFailed,  // it could not be moved or removed
    };
    Kind kind = Kind::Done;
    QString message;  // masked
    OutboxEntry entry;
    QByteArray text;  // ShowOutboxMail: the mail as it goes out
    int count = 0;    // RetryAllFailed: how many went back
};
OutboxOutcome FindOutboxMail(const QString& folder, const QString& id);
OutboxOutcome ShowOutboxMail(const QString& folder, const QString& id);
// A failed mail goes back to the waiting ones (a waiting one stays); the next delivery takes it.
OutboxOutcome RetryOutboxMail(const QString& folder, const QString& id);
OutboxOutcome RetryAllFailed(const QString& folder);
// Removes a waiting or failed mail for good.
OutboxOutcome DiscardOutboxMail(const QString& folder, const QString& id);

// What the delivery worker has done and what is left.
struct OutboxStatus {
    int waiting = 0;          // mails in the outbox
    int failed = 0;           // mails in its failed folder
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
    // Hands the mail over and returns at once; a thread of the outbox composes and keeps it as
    // queue() would, in the order handed, so a save does not wait on composing and writing. A mail
    // it cannot compose or keep is recorded as unkept (RecordUnkeptMail) for the save to tell. The
    // result is KeptInOutbox with no file yet; after shutdown() the mail is kept at once.
    MailSendResult hand(const MailMessage& message, const MailProfile& profile);
    // Waits until every mail handed over is kept or recorded as unkept; false when ms ran out first.
    bool waitKept(int ms);
    // Tries the whole outbox again with this profile, also after a connection failure. The first
    // call also clears what interrupted writes left (ClearInterruptedWrites).
    void kick(const MailProfile& profile);
    // Waits until no mail waits to be kept and no batch is running or asked for; false when ms ran
    // out first.
    bool waitIdle(int ms);
    OutboxStatus status() const;
    QString folder() const;
    // Ends the worker: the mails handed over are kept first, a transfer in progress is aborted (its
    // mail stays in the outbox), the rest wait for the next start. Returns at once when idle.
    void shutdown();

  private:
    struct Run {
        QString folder;
        MailProfile profile;
    };
    struct Handed {
        MailMessage message;
        MailProfile profile;
        QString folder;
    };
    // Composes, writes and asks for delivery; what queue() does, on whichever thread.
    MailSendResult keep(const MailMessage& message, const MailProfile& profile, const QString& dir);
    void start();
    void work();
    void keepHanded();
    void deliverBatch(const Run& run);
    void deliverFiles(const Run& run, SmtpSession& session, const QByteArray& from);
    void noteFailed(const QString& why);

    QString folder_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::thread thread_;
    std::thread keeper_;          // keeps the handed mails; never waits on the server
    std::vector<Handed> handed_;  // in the order handed
    bool keeping_ = false;        // the keeper holds mails taken from handed_
    bool wanted_ = false;         // a batch is asked for
    bool running_ = false;        // a batch is running
    bool retry_ = false;          // kick() since the batch began
    bool stopping_ = false;
    bool serverDown_ = false;
    bool noServer_ = false;
    int delivered_ = 0;
    int connections_ = 0;
    bool cleared_ = false;  // kick() cleared the leftovers of interrupted writes
    QString lastError_;
    Run next_;
    std::atomic<bool> abort_{false};
};

// The process's delivery worker: the one the program installed, else one made on first use.
OutboxSender& MailDelivery();
void SetMailDelivery(OutboxSender* sender);  // nullptr: back to the one made on first use

}  // namespace tlm
