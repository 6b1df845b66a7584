#include "mail/outbox.h"

#include <QDir>
#include <QFile>
#include <QLockFile>
#include <chrono>

#include "core/error_report.h"

namespace tlm {

namespace {

OutboxSender* g_installed = nullptr;

bool UsableSender(const MailProfile& profile) {
    return IsValidMailAddress(profile.senderAddress) && !profile.senderName.contains(QLatin1Char('\r')) &&
           !profile.senderName.contains(QLatin1Char('\n'));
}

bool ReadyToSend(const MailProfile& profile) {
    return !profile.host.trimmed().isEmpty() && UsableSender(profile);
}

}  // namespace

bool ReadOutboxMail(const QString& path, OutboxMail* out, QString* error) {
    const auto fail = [&](const QString& why) {
        if (error)
            *error = why;
        return false;
    };
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return fail(QStringLiteral("%1 cannot be read: %2").arg(path, file.errorString()));
    const QByteArray all = file.readAll();
    OutboxMail mail;
    qsizetype pos = 0;
    while (all.mid(pos, 6).compare("X-Tlm-", Qt::CaseInsensitive) == 0) {
        qsizetype end = all.indexOf("\r\n", pos);
        // A long X-Tlm-Failure reason is folded; its continuation lines belong to it, not to the mail.
        while (end >= 0 && (all.mid(end + 2, 1) == " " || all.mid(end + 2, 1) == "\t"))
            end = all.indexOf("\r\n", end + 2);
        if (end < 0)
            return fail(QStringLiteral("%1 ends inside its first lines.").arg(path));
        const QByteArray line = all.mid(pos, end - pos);
        const QByteArray name = "X-Tlm-Recipients:";
        if (line.left(name.size()).compare(name, Qt::CaseInsensitive) == 0) {
            for (const QByteArray& r : line.mid(name.size()).split(',')) {
                const QByteArray address = r.trimmed();
                if (!address.isEmpty())
                    mail.envelopeTo.append(address);
            }
        }
        pos = end + 2;
    }
    mail.bytes = all.mid(pos);
    if (mail.envelopeTo.isEmpty() || mail.bytes.isEmpty())
        return fail(QStringLiteral("%1 names no recipient or holds no mail.").arg(path));
    const QByteArray head = mail.bytes.left(qMax<qsizetype>(0, mail.bytes.indexOf("\r\n\r\n")));
    const qsizetype at = ("\r\n" + head).indexOf("\r\nMessage-ID: <");
    if (at >= 0) {
        // The prepended CRLF shifts by two what the matched CRLF adds: `at` is where the name
        // starts in head.
        const qsizetype from = at + qsizetype(sizeof("Message-ID: <") - 1);
        const qsizetype close = head.indexOf('>', from);
        if (close > from)
            mail.messageId = QString::fromLatin1(head.mid(from, close - from));
    }
    *out = mail;
    return true;
}

QStringList OutboxFiles(const QString& folder) {
    const QDir dir(folder);
    QStringList files;
    for (const QString& f : dir.entryList({QStringLiteral("*.eml")}, QDir::Files, QDir::Name))
        files << dir.absoluteFilePath(f);
    return files;
}

OutboxSender::OutboxSender(QString folder) : folder_(std::move(folder)) {}

OutboxSender::~OutboxSender() {
    shutdown();
}

QString OutboxSender::folder() const {
    return folder_.isEmpty() ? OutboxFolder() : folder_;
}

MailSendResult OutboxSender::queue(const MailMessage& message, const MailProfile& profile) {
    MailSendResult result;
    QString profileProblem;
    const ComposedMail mail = ComposeForProfile(profile, message, &profileProblem, &result);
    if (!mail.ok())
        return result;
    const bool ready = ReadyToSend(profile);
    if (profile.host.trimmed().isEmpty())
        result.reason = QStringLiteral("The mail profile names no SMTP server.");
    else if (!profileProblem.isEmpty())
        result.reason = profileProblem;
    else
        result.reason = QStringLiteral("Waiting for delivery.");
    QString writeError;
    const QString dir = folder();
    result.outboxFile = KeepInOutbox(mail, result.reason, dir, &writeError);
    if (result.outboxFile.isEmpty()) {
        result.status = MailSendResult::Status::Lost;
        result.reason += QStringLiteral(" The outbox could not keep it: ") + writeError;
        subTraceAction(QStringLiteral("Mail not kept: ") + MaskSecrets(result.reason));
        return result;
    }
    result.status = MailSendResult::Status::KeptInOutbox;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        noServer_ = !ready;
        if (ready && !serverDown_ && !stopping_) {
            next_ = Run{dir, profile};
            wanted_ = true;
            result.queued = true;
            start();
            changed_.notify_all();
        } else if (serverDown_) {
            result.reason = MaskSecrets(lastError_);
        }
    }
    subTraceAction(QStringLiteral("Mail %1 kept in outbox as %2: %3")
                       .arg(result.messageId, result.outboxFile, MaskSecrets(result.reason)));
    return result;
}

void OutboxSender::kick(const MailProfile& profile) {
    const QString dir = folder();
    std::lock_guard<std::mutex> lock(mutex_);
    noServer_ = !ReadyToSend(profile);
    serverDown_ = false;
    // No thread for an empty outbox or a profile that cannot send: most starts have nothing to do.
    if (noServer_ || stopping_ || OutboxFiles(dir).isEmpty())
        return;
    next_ = Run{dir, profile};
    wanted_ = true;
    retry_ = true;
    start();
    changed_.notify_all();
}

void OutboxSender::start() {
    if (!thread_.joinable())
        thread_ = std::thread(&OutboxSender::work, this);
}

bool OutboxSender::waitIdle(int ms) {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, std::chrono::milliseconds(qMax(0, ms)),
                             [this] { return !wanted_ && !running_; });
}

OutboxStatus OutboxSender::status() const {
    OutboxStatus s;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        s.delivered = delivered_;
        s.connections = connections_;
        s.busy = wanted_ || running_;
        s.noServer = noServer_;
        s.serverDown = serverDown_;
        s.lastError = lastError_;
    }
    s.lastError = MaskSecrets(s.lastError);
    s.waiting = int(OutboxFiles(folder()).size());
    return s;
}

void OutboxSender::shutdown() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
        abort_ = true;
        changed_.notify_all();
    }
    if (thread_.joinable())
        thread_.join();
}

void OutboxSender::work() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return wanted_ || stopping_; });
        if (stopping_)
            break;
        wanted_ = false;
        retry_ = false;
        running_ = true;
        const Run run = next_;
        lock.unlock();
        deliverBatch(run);
        lock.lock();
        running_ = false;
        // Mails queued after a connection failure wait for the next attempt, not for the next mail.
        if (serverDown_ && !retry_)
            wanted_ = false;
        changed_.notify_all();
    }
    wanted_ = running_ = false;
    changed_.notify_all();
}

void OutboxSender::deliverBatch(const Run& run) {
    if (!ReadyToSend(run.profile))
        return;
    QDir().mkpath(run.folder);
    // Another process of the program may be delivering the same outbox.
    QLockFile claim(QDir(run.folder).absoluteFilePath(QStringLiteral(".delivery.lock")));
    claim.setStaleLockTime(0);  // only a dead owner makes the lock stale
    while (!claim.tryLock(100)) {
        if (abort_)
            return;
    }
    SmtpSession session(run.profile, &abort_);
    const QByteArray from = run.profile.senderAddress.trimmed().toUtf8();
    deliverFiles(run, session, from);
    std::lock_guard<std::mutex> lock(mutex_);
    connections_ += session.connectionsOpened();
}

void OutboxSender::deliverFiles(const Run& run, SmtpSession& session, const QByteArray& from) {
    for (const QString& path : OutboxFiles(run.folder)) {
        if (abort_)
            break;
        if (!QFile::exists(path))
            continue;  // delivered by another process meanwhile
        OutboxMail mail;
        QString why;
        if (!ReadOutboxMail(path, &mail, &why)) {
            std::lock_guard<std::mutex> lock(mutex_);
            lastError_ = why;
            continue;
        }
        if (session.deliver(from, mail.envelopeTo, mail.bytes, &why)) {
            // Only now: a crash before this line resends this one mail, with its Message-ID.
            QFile::remove(path);
            std::lock_guard<std::mutex> lock(mutex_);
            ++delivered_;
            continue;
        }
        std::lock_guard<std::mutex> lock(mutex_);
        lastError_ = why;
        if (session.lastWasConnectionFailure()) {
            serverDown_ = true;
            break;
        }
    }
}

OutboxSender& MailDelivery() {
    if (g_installed)
        return *g_installed;
    static OutboxSender made;
    return made;
}

void SetMailDelivery(OutboxSender* sender) {
    g_installed = sender;
}

}  // namespace tlm
