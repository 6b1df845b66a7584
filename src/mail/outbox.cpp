#include "mail/outbox.h"

#include <curl/curl.h>

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QLockFile>
#include <QStandardPaths>
#include <QUuid>
#include <chrono>
#include <cstring>
#include <mutex>

#include "core/error_report.h"
#include "core/file_services.h"

namespace tlm {

namespace {

QString g_outboxOverride;

void InitCurlOnce() {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

struct UploadState {
    const QByteArray* bytes;
    qsizetype pos = 0;
};

size_t ReadBody(char* buffer, size_t size, size_t count, void* user) {
    auto* s = static_cast<UploadState*>(user);
    const size_t room = size * count;
    const size_t left = size_t(s->bytes->size() - s->pos);
    const size_t n = qMin(room, left);
    std::memcpy(buffer, s->bytes->constData() + s->pos, n);
    s->pos += qsizetype(n);
    return n;
}

QString OneLine(const QString& text) {
    return text.simplified();
}

static_assert(CURL_ERROR_SIZE <= 256, "SmtpSession::errbuf_ is too small");

int AbortCheck(void* user, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
    const auto* abort = static_cast<const std::atomic<bool>*>(user);
    return abort && abort->load() ? 1 : 0;
}

QString FallbackSender() {
    const QString login = fncGetUserNameFromEnvironment();
    return (login.isEmpty() ? QStringLiteral("tlm") : login) + QStringLiteral("@localhost");
}

}  // namespace

QString OutboxFolder() {
    if (!g_outboxOverride.isEmpty())
        return g_outboxOverride;
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) + QStringLiteral("/outbox");
}

void SetOutboxFolder(const QString& folder) {
    g_outboxOverride = folder;
}

QString KeepInOutbox(const ComposedMail& mail, const QString& reason, const QString& folder, QString* error) {
    QStringList rcpts;
    for (const QByteArray& r : mail.envelopeTo)
        rcpts.append(QString::fromLatin1(r));
    // Recipients were checked when composing; the reason is made one masked line, so neither
    // can add a header.
    QByteArray head = "X-Tlm-Recipients: " + rcpts.join(QStringLiteral(", ")).toLatin1() + "\r\n";
    head += "X-Tlm-Failure: " + EncodeHeaderText(OneLine(MaskSecrets(reason))) + "\r\n";
    // Names sort in the order the mails were kept: time, then this process's own count.
    static std::atomic<quint32> sequence{0};
    const QString name =
        QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss-zzz")) +
        QStringLiteral("-%1-").arg(sequence.fetch_add(1) % 1000000u, 6, 10, QLatin1Char('0')) +
        QUuid::createUuid().toString(QUuid::Id128).left(8) + QStringLiteral(".eml");
    const QString path = QDir(folder).absoluteFilePath(name);
    if (!QDir().mkpath(folder)) {
        if (error)
            *error = QStringLiteral("The outbox folder %1 cannot be created.").arg(folder);
        return QString();
    }
    QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    // Whole or not at all, under a name that does not end in ".eml" until then, so the delivery
    // worker never reads half a mail.
    if (!WriteFileAtomically(path, head + mail.bytes, true, error))
        return QString();
    return path;
}

ComposedMail ComposeForProfile(const MailProfile& profile, const MailMessage& message,
                               QString* profileProblem, MailSendResult* result) {
    MailAddress sender{profile.senderName, profile.senderAddress};
    if (!IsValidMailAddress(sender.address) || sender.name.contains(QLatin1Char('\r')) ||
        sender.name.contains(QLatin1Char('\n'))) {
        // A broken profile must not lose the mail: compose it with a local sender and keep it.
        if (profileProblem)
            *profileProblem =
                sender.address.isEmpty()
                    ? QStringLiteral("The mail profile has no sender address.")
                    : QStringLiteral("The sender address \"%1\" of the mail profile is not valid.")
                          .arg(sender.address.simplified());
        sender = MailAddress{QString(), FallbackSender()};
    }
    ComposedMail mail = ComposeMail(sender, message);
    if (mail.ok()) {
        result->messageId = mail.messageId;
    } else {
        result->status = MailSendResult::Status::Refused;
        result->reason = MaskSecrets(mail.error);
        subTraceAction(QStringLiteral("Mail refused: ") + result->reason);
    }
    return mail;
}

SmtpSession::SmtpSession(MailProfile profile, const std::atomic<bool>* abort)
    : profile_(std::move(profile)), abort_(abort) {}

SmtpSession::~SmtpSession() {
    if (curl_)
        curl_easy_cleanup(curl_);
}

bool SmtpSession::deliver(const QByteArray& envelopeFrom, const QList<QByteArray>& envelopeTo,
                          const QByteArray& bytes, QString* reason) {
    lastWasConnectionFailure_ = true;
    const auto fail = [&](const QString& why) {
        if (reason)
            *reason = why;
        return false;
    };
    const QString host = profile_.host.trimmed();
    if (host.isEmpty())
        return fail(QStringLiteral("The mail profile names no SMTP server."));
    if (host.contains(QLatin1Char('/')) || host.contains(QLatin1Char('@')) || host.contains(QLatin1Char(' ')))
        return fail(QStringLiteral("The SMTP server \"%1\" is not a host name.").arg(host));

    InitCurlOnce();
    if (!curl_) {
        // One handle for the whole batch: libcurl keeps its connection open between mails.
        curl_ = curl_easy_init();  // CURL is void: the header keeps a void*
        if (!curl_)
            return fail(QStringLiteral("The mail library could not start."));
        const bool ipv6 = host.contains(QLatin1Char(':')) && !host.startsWith(QLatin1Char('['));
        const QString scheme =
            profile_.tls == MailTlsMode::Implicit ? QStringLiteral("smtps") : QStringLiteral("smtp");
        url_ = QStringLiteral("%1://%2:%3")
                   .arg(scheme, ipv6 ? QLatin1Char('[') + host + QLatin1Char(']') : host)
                   .arg(profile_.effectivePort())
                   .toUtf8();
        user_ = profile_.user.toUtf8();
        password_ = profile_.password.toUtf8();
        curl_easy_setopt(curl_, CURLOPT_URL, url_.constData());
        curl_easy_setopt(curl_, CURLOPT_ERRORBUFFER, errbuf_);
        curl_easy_setopt(curl_, CURLOPT_NOSIGNAL, 1L);
        curl_easy_setopt(curl_, CURLOPT_CONNECTTIMEOUT, long(profile_.connectTimeoutSeconds));
        curl_easy_setopt(curl_, CURLOPT_SERVER_RESPONSE_TIMEOUT, 60L);
        // A stalled upload ends instead of holding the mail forever.
        curl_easy_setopt(curl_, CURLOPT_LOW_SPEED_LIMIT, 1L);
        curl_easy_setopt(curl_, CURLOPT_LOW_SPEED_TIME, 60L);
        curl_easy_setopt(
            curl_, CURLOPT_USE_SSL,
            profile_.tls == MailTlsMode::StartTls ? long(CURLUSESSL_ALL) : long(CURLUSESSL_NONE));
        curl_easy_setopt(curl_, CURLOPT_SSL_VERIFYPEER, profile_.verifyCertificate ? 1L : 0L);
        curl_easy_setopt(curl_, CURLOPT_SSL_VERIFYHOST, profile_.verifyCertificate ? 2L : 0L);
        if (!user_.isEmpty()) {
            curl_easy_setopt(curl_, CURLOPT_USERNAME, user_.constData());
            curl_easy_setopt(curl_, CURLOPT_PASSWORD, password_.constData());
        }
        curl_easy_setopt(curl_, CURLOPT_READFUNCTION, ReadBody);
        curl_easy_setopt(curl_, CURLOPT_UPLOAD, 1L);
        if (abort_) {
            // Lets a closing program end a transfer that waits on a slow server.
            curl_easy_setopt(curl_, CURLOPT_XFERINFOFUNCTION, &AbortCheck);
            curl_easy_setopt(curl_, CURLOPT_XFERINFODATA, abort_);
            curl_easy_setopt(curl_, CURLOPT_NOPROGRESS, 0L);
        }
    }

    const QByteArray from = '<' + envelopeFrom + '>';
    curl_slist* rcpts = nullptr;
    for (const QByteArray& r : envelopeTo)
        rcpts = curl_slist_append(rcpts, ('<' + r + '>').constData());
    UploadState upload{&bytes};
    errbuf_[0] = 0;
    curl_easy_setopt(curl_, CURLOPT_MAIL_FROM, from.constData());
    curl_easy_setopt(curl_, CURLOPT_MAIL_RCPT, rcpts);
    curl_easy_setopt(curl_, CURLOPT_READDATA, &upload);
    curl_easy_setopt(curl_, CURLOPT_INFILESIZE_LARGE, curl_off_t(bytes.size()));

    const CURLcode rc = curl_easy_perform(curl_);
    long response = 0;
    curl_easy_getinfo(curl_, CURLINFO_RESPONSE_CODE, &response);
    long connects = 0;
    curl_easy_getinfo(curl_, CURLINFO_NUM_CONNECTS, &connects);
    connections_ += int(connects);
    curl_easy_setopt(curl_, CURLOPT_MAIL_RCPT, nullptr);
    curl_slist_free_all(rcpts);
    if (rc == CURLE_OK) {
        lastWasConnectionFailure_ = false;
        return true;
    }
    // A reply that refuses this one mail (a recipient, its size) leaves the server usable for the
    // next; no reply, a closing server or a refused login does not.
    lastWasConnectionFailure_ =
        response < 400 || response == 421 || rc == CURLE_LOGIN_DENIED || rc == CURLE_ABORTED_BY_CALLBACK;
    QString why = QStringLiteral("The SMTP server %1:%2 did not take the mail: %3")
                      .arg(host)
                      .arg(profile_.effectivePort())
                      .arg(QString::fromUtf8(errbuf_[0] ? errbuf_ : curl_easy_strerror(rc)));
    if (response > 0)
        why += QStringLiteral(" (reply %1)").arg(response);
    return fail(why);
}

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
