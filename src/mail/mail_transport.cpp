#include "mail/mail_transport.h"

#include <curl/curl.h>

#include <QDateTime>
#include <QDir>
#include <QStandardPaths>
#include <QUuid>
#include <cstring>
#include <mutex>

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
    const QString name = QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss-zzz")) +
                         QLatin1Char('-') + QUuid::createUuid().toString(QUuid::Id128).left(8) +
                         QStringLiteral(".eml");
    const QString path = QDir(folder).absoluteFilePath(name);
    if (!QDir().mkpath(folder)) {
        if (error)
            *error = QStringLiteral("The outbox folder %1 cannot be created.").arg(folder);
        return QString();
    }
    QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    if (!WriteFileAtomically(path, head + mail.bytes, true, error))
        return QString();
    return path;
}

SmtpTransport::SmtpTransport(MailProfile profile, QString outboxFolder)
    : profile_(std::move(profile)), outbox_(std::move(outboxFolder)) {
    if (!profile_.password.isEmpty())
        RegisterSecret(profile_.password);
}

bool SmtpTransport::deliver(const ComposedMail& mail, QString* reason) {
    const auto fail = [&](const QString& why) {
        if (reason)
            *reason = MaskSecrets(why);
        return false;
    };
    const QString host = profile_.host.trimmed();
    if (host.isEmpty())
        return fail(QStringLiteral("The mail profile names no SMTP server."));
    if (host.contains(QLatin1Char('/')) || host.contains(QLatin1Char('@')) || host.contains(QLatin1Char(' ')))
        return fail(QStringLiteral("The SMTP server \"%1\" is not a host name.").arg(host));

    InitCurlOnce();
    CURL* curl = curl_easy_init();
    if (!curl)
        return fail(QStringLiteral("The mail library could not start."));

    const bool ipv6 = host.contains(QLatin1Char(':')) && !host.startsWith(QLatin1Char('['));
    const QString scheme =
        profile_.tls == MailTlsMode::Implicit ? QStringLiteral("smtps") : QStringLiteral("smtp");
    const QByteArray url = QStringLiteral("%1://%2:%3")
                               .arg(scheme, ipv6 ? QLatin1Char('[') + host + QLatin1Char(']') : host)
                               .arg(profile_.effectivePort())
                               .toUtf8();
    const QByteArray from = '<' + mail.envelopeFrom + '>';
    const QByteArray user = profile_.user.toUtf8();
    const QByteArray password = profile_.password.toUtf8();
    curl_slist* rcpts = nullptr;
    for (const QByteArray& r : mail.envelopeTo)
        rcpts = curl_slist_append(rcpts, ('<' + r + '>').constData());

    UploadState upload{&mail.bytes};
    char errbuf[CURL_ERROR_SIZE] = {0};
    curl_easy_setopt(curl, CURLOPT_URL, url.constData());
    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, errbuf);
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT, long(profile_.connectTimeoutSeconds));
    curl_easy_setopt(curl, CURLOPT_SERVER_RESPONSE_TIMEOUT, 60L);
    // A stalled upload ends instead of hanging the screen that sends.
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_TIME, 60L);
    curl_easy_setopt(curl, CURLOPT_USE_SSL,
                     profile_.tls == MailTlsMode::StartTls ? long(CURLUSESSL_ALL) : long(CURLUSESSL_NONE));
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, profile_.verifyCertificate ? 1L : 0L);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, profile_.verifyCertificate ? 2L : 0L);
    if (!user.isEmpty()) {
        curl_easy_setopt(curl, CURLOPT_USERNAME, user.constData());
        curl_easy_setopt(curl, CURLOPT_PASSWORD, password.constData());
    }
    curl_easy_setopt(curl, CURLOPT_MAIL_FROM, from.constData());
    curl_easy_setopt(curl, CURLOPT_MAIL_RCPT, rcpts);
    curl_easy_setopt(curl, CURLOPT_READFUNCTION, ReadBody);
    curl_easy_setopt(curl, CURLOPT_READDATA, &upload);
    curl_easy_setopt(curl, CURLOPT_UPLOAD, 1L);
    curl_easy_setopt(curl, CURLOPT_INFILESIZE_LARGE, curl_off_t(mail.bytes.size()));

    const CURLcode rc = curl_easy_perform(curl);
    long response = 0;
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &response);
    curl_slist_free_all(rcpts);
    curl_easy_cleanup(curl);
    if (rc == CURLE_OK)
        return true;

    QString why = QStringLiteral("The SMTP server %1:%2 did not take the mail: %3")
                      .arg(host)
                      .arg(profile_.effectivePort())
                      .arg(QString::fromUtf8(errbuf[0] ? errbuf : curl_easy_strerror(rc)));
    if (response > 0)
        why += QStringLiteral(" (reply %1)").arg(response);
    return fail(why);
}

MailSendResult SmtpTransport::send(const MailMessage& message) {
    MailSendResult result;
    MailAddress sender{profile_.senderName, profile_.senderAddress};
    QString profileProblem;
    if (!IsValidMailAddress(sender.address) || sender.name.contains(QLatin1Char('\r')) ||
        sender.name.contains(QLatin1Char('\n'))) {
        // A broken profile must not lose the mail: compose it with a local sender and keep it.
        profileProblem = sender.address.isEmpty()
                             ? QStringLiteral("The mail profile has no sender address.")
                             : QStringLiteral("The sender address \"%1\" of the mail profile is not valid.")
                                   .arg(sender.address.simplified());
        sender = MailAddress{QString(), FallbackSender()};
    }
    const ComposedMail mail = ComposeMail(sender, message);
    if (!mail.ok()) {
        result.status = MailSendResult::Status::Refused;
        result.reason = MaskSecrets(mail.error);
        subTraceAction(QStringLiteral("Mail refused: ") + result.reason);
        return result;
    }
    result.messageId = mail.messageId;
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

namespace {
MissingProfileHook g_missingProfile;
bool g_missingProfileAsked = false;
}  // namespace

void SetMissingProfileHook(MissingProfileHook hook) {
    g_missingProfile = std::move(hook);
    g_missingProfileAsked = false;
}

bool AskForMissingProfile() {
    if (!g_missingProfile || g_missingProfileAsked || !LoadMailProfile().host.trimmed().isEmpty())
        return false;
    g_missingProfileAsked = true;
    return g_missingProfile();
}

MailSendResult ProfileMailTransport::send(const MailMessage& message) {
    MailProfile profile = LoadMailProfile();
    if (profile.host.trimmed().isEmpty() && AskForMissingProfile())
        profile = LoadMailProfile();
    return SmtpTransport(profile).send(message);
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
        last_ = SmtpTransport(profile).send(mail);
    }
    return last_.sent();
}

}  // namespace tlm
