#include "mail/mail_transport.h"

#include <curl/curl.h>

#include <sys/stat.h>
#include <QDateTime>
#include <QDir>
#include <QStandardPaths>
#include <QUuid>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <mutex>

#include "core/local_settings.h"
#include "mail/outbox.h"

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

}  // namespace

namespace {

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

namespace {

// Written beside its final name and renamed, so a reader never sees half a mail; a name that does
// not end in ".eml" until then keeps the delivery worker away. No sync to disk: the list rows that
// raise the mail are committed without one too, and a sync per mail would make every save wait on
// the disk as it once waited on the server.
bool WriteOutboxFile(const QString& path, const QByteArray& bytes, QString* error) {
    const QString part = path + QStringLiteral(".part");
    QFile f(part);
    const auto fail = [&](const QString& why) {
        if (error)
            *error = why;
        f.remove();
        return false;
    };
    if (!f.open(QIODevice::WriteOnly | QIODevice::NewOnly, QFileDevice::ReadOwner | QFileDevice::WriteOwner))
        return fail(f.errorString());
    if (f.write(bytes) != bytes.size() || !f.flush()) {
        const QString why = f.errorString();
        f.close();
        return fail(why);
    }
    f.close();
    if (::rename(QFile::encodeName(part).constData(), QFile::encodeName(path).constData()) != 0)
        return fail(QString::fromLocal8Bit(std::strerror(errno)));
    return true;
}

}  // namespace

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
    if (!WriteOutboxFile(path, head + mail.bytes, error))
        return QString();
    return path;
}

SmtpTransport::SmtpTransport(MailProfile profile, QString outboxFolder)
    : profile_(std::move(profile)), outbox_(std::move(outboxFolder)) {
    if (!profile_.password.isEmpty())
        RegisterSecret(profile_.password);
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

bool SmtpTransport::deliver(const ComposedMail& mail, QString* reason) {
    SmtpSession session(profile_);
    QString why;
    if (session.deliver(mail.envelopeFrom, mail.envelopeTo, mail.bytes, &why))
        return true;
    if (reason)
        *reason = MaskSecrets(why);
    return false;
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

MailSendResult SmtpTransport::send(const MailMessage& message) {
    MailSendResult result;
    QString profileProblem;
    const ComposedMail mail = ComposeForProfile(profile_, message, &profileProblem, &result);
    if (!mail.ok())
        return result;
    QString reason = profileProblem;
    if (reason.isEmpty() && deliver(mail, &reason)) {
        result.status = MailSendResult::Status::Sent;
        subTraceAction(QStringLiteral("Mail sent to %1 recipient(s): %2")
                           .arg(mail.envelopeTo.size())
                           .arg(mail.messageId));
        return result;
    }
    result.reason = MaskSecrets(reason);
    QString writeError;
    const QString folder = outbox_.isEmpty() ? OutboxFolder() : outbox_;
    result.outboxFile = KeepInOutbox(mail, result.reason, folder, &writeError);
    if (result.outboxFile.isEmpty()) {
        result.status = MailSendResult::Status::Lost;
        result.reason += QStringLiteral(" The outbox could not keep it either: ") + writeError;
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
    return MailDelivery().queue(message, profile_);
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
    if (profile.errorReportMailbox.isEmpty()) {
        last_.status = MailSendResult::Status::Refused;
        last_.reason = QStringLiteral("No error report mailbox is set in the mail profile.");
        return false;
    }
    const MailMessage mail = BuildReportMail(profile.errorReportMailbox, subject, body);
    if (!sendDirectly && display_)
        return display_(mail);
    if (transport_) {
        last_ = transport_->send(mail);
    } else {
        last_ = MailDelivery().queue(mail, profile);
    }
    return last_.sent() || last_.queued;
}

}  // namespace tlm
