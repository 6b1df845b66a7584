// GMime first: its GLib headers use the word Qt makes a macro.
#include <gmime/gmime.h>

#include "mail/outbox.h"

#include <curl/curl.h>
#include <signal.h>
#include <unistd.h>

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QStandardPaths>
#include <QUuid>
#include <cctype>
#include <chrono>
#include <cstring>
#include <memory>
#include <mutex>
#include <utility>

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

template <typename T>
struct GUnref {
    void operator()(T* p) const {
        if (p)
            g_object_unref(p);
    }
};
template <typename T>
using GRef = std::unique_ptr<T, GUnref<T>>;

// What the server answered while libcurl spoke: which recipients it refused and its last reply.
struct Dialogue {
    QByteArray pendingRcpt;
    QList<RefusedRecipient> refused;
    QByteArray lastReply;
};

int OnDialogue(CURL*, curl_infotype type, char* data, size_t size, void* user) {
    auto* d = static_cast<Dialogue*>(user);
    if (!d || (type != CURLINFO_HEADER_IN && type != CURLINFO_HEADER_OUT))
        return 0;
    for (const QByteArray& raw : QByteArray(data, qsizetype(size)).split('\n')) {
        const QByteArray line = raw.trimmed();
        if (line.isEmpty())
            continue;
        if (type == CURLINFO_HEADER_OUT) {
            // Only the recipient is kept of what goes out; a login line is never looked at further.
            d->pendingRcpt.clear();
            if (line.left(8).compare("RCPT TO:", Qt::CaseInsensitive) == 0) {
                const qsizetype lt = line.indexOf('<'), gt = line.indexOf('>');
                if (lt >= 0 && gt > lt)
                    d->pendingRcpt = line.mid(lt + 1, gt - lt - 1);
            }
            continue;
        }
        // The last line of a reply: three digits and a blank (or nothing).
        const bool final = line.size() >= 3 && std::isdigit(uchar(line[0])) && std::isdigit(uchar(line[1])) &&
                           std::isdigit(uchar(line[2])) && (line.size() == 3 || line[3] == ' ');
        if (!final)
            continue;
        d->lastReply = line;
        const int code = line.left(3).toInt();
        if (!d->pendingRcpt.isEmpty() && code >= 400)
            d->refused.append(RefusedRecipient{d->pendingRcpt, code, QString::fromUtf8(line)});
        d->pendingRcpt.clear();
    }
    return 0;
}

std::mutex g_unkeptMutex;
UnkeptMails g_unkept;

QString ReasonLine(const QString& reason) {
    return OneLine(MaskSecrets(reason));
}

bool WriteOutboxFile(const QString& path, const QList<QByteArray>& envelopeTo, const QString& reason,
                     const QByteArray& bytes, QString* error) {
    QStringList rcpts;
    for (const QByteArray& r : envelopeTo)
        rcpts.append(QString::fromLatin1(r));
    // Recipients were checked when composing; the reason is made one masked line, so neither
    // can add a header.
    QByteArray head = "X-Tlm-Recipients: " + rcpts.join(QStringLiteral(", ")).toLatin1() + "\r\n";
    head += "X-Tlm-Failure: " + EncodeHeaderText(ReasonLine(reason)) + "\r\n";
    const QString folder = QFileInfo(path).absolutePath();
    if (!QDir().mkpath(folder)) {
        if (error)
            *error = QStringLiteral("The outbox folder %1 cannot be created.").arg(folder);
        return false;
    }
    QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    // Whole or not at all, under a name that does not end in ".eml" until then, so the delivery
    // worker never reads half a mail.
    return WriteFileAtomically(path, head + bytes, true, error);
}

// A damaged file keeps its bytes; why it failed is written beside it.
QString CompanionOf(const QString& failedPath) {
    return failedPath.chopped(4) + QStringLiteral(".reason");
}

QString ReadCompanion(const QString& failedPath) {
    QFile f(CompanionOf(failedPath));
    return f.open(QIODevice::ReadOnly) ? QString::fromUtf8(f.readAll()).trimmed() : QString();
}

// Moves a mail to the failed folder with the server's answer; false when it could not.
bool MoveToFailed(const QString& path, const OutboxMail* mail, const QString& why, QString* error) {
    const QString failed = FailedFolder(QFileInfo(path).absolutePath());
    const QString target = QDir(failed).absoluteFilePath(QFileInfo(path).fileName());
    if (mail && WriteOutboxFile(target, mail->envelopeTo, why, mail->bytes, error)) {
        QFile::remove(CompanionOf(target));
        return QFile::remove(path);
    }
    QDir().mkpath(failed);
    if (!WriteFileAtomically(CompanionOf(target), ReasonLine(why).toUtf8() + '\n', true, error))
        return false;
    QFile::remove(target);
    if (!QFile::rename(path, target)) {
        if (error)
            *error = QStringLiteral("%1 could not be moved to %2.").arg(path, failed);
        QFile::remove(CompanionOf(target));
        return false;
    }
    return true;
}

QString RefusalText(const QList<RefusedRecipient>& list) {
    QStringList parts;
    for (const RefusedRecipient& r : list)
        parts << QString::fromLatin1(r.address) + QStringLiteral(": ") + r.answer;
    return QStringLiteral("Refused by the server: ") + parts.join(QStringLiteral("; "));
}

QList<QByteArray> AddressesOf(const QList<RefusedRecipient>& list) {
    QList<QByteArray> out;
    for (const RefusedRecipient& r : list)
        out << r.address;
    return out;
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

QString FailedFolder(const QString& outbox) {
    return QDir(outbox).absoluteFilePath(QStringLiteral("failed"));
}

void RecordUnkeptMail(const QString& reason) {
    std::lock_guard<std::mutex> lock(g_unkeptMutex);
    ++g_unkept.count;
    g_unkept.reason = ReasonLine(reason);
}

UnkeptMails TakeUnkeptMails() {
    std::lock_guard<std::mutex> lock(g_unkeptMutex);
    return std::exchange(g_unkept, UnkeptMails{});
}

namespace {

QString NewOutboxName() {
    // Names sort in the order the mails were kept: time, then this process's own count.
    static std::atomic<quint32> sequence{0};
    return QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss-zzz")) +
           QStringLiteral("-%1-").arg(sequence.fetch_add(1) % 1000000u, 6, 10, QLatin1Char('0')) +
           QUuid::createUuid().toString(QUuid::Id128).left(8) + QStringLiteral(".eml");
}

}  // namespace

QString KeepInOutbox(const ComposedMail& mail, const QString& reason, const QString& folder, QString* error) {
    const QString path = QDir(folder).absoluteFilePath(NewOutboxName());
    if (!WriteOutboxFile(path, mail.envelopeTo, reason, mail.bytes, error))
        return QString();
    return path;
}

QString KeepForRefused(const QByteArray& bytes, const QList<RefusedRecipient>& refused,
                       const QString& folder) {
    QList<RefusedRecipient> lasting, passing;
    for (const RefusedRecipient& r : refused)
        (r.code >= 500 ? lasting : passing).append(r);
    QString error;
    const QString name = NewOutboxName();
    if (!lasting.isEmpty() && !WriteOutboxFile(QDir(FailedFolder(folder)).absoluteFilePath(name),
                                               AddressesOf(lasting), RefusalText(lasting), bytes, &error))
        RecordUnkeptMail(error);
    if (!passing.isEmpty() && !WriteOutboxFile(QDir(folder).absoluteFilePath(name), AddressesOf(passing),
                                               RefusalText(passing), bytes, &error))
        RecordUnkeptMail(error);
    return refused.isEmpty() ? QString() : RefusalText(refused);
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
                          const QByteArray& bytes, QString* reason, QList<RefusedRecipient>* refused) {
    lastWasConnectionFailure_ = true;
    lastReply_ = 0;
    if (refused)
        refused->clear();
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
        // A refused recipient does not stop the others; the dialogue tells which were refused.
#if LIBCURL_VERSION_NUM >= 0x080200
        curl_easy_setopt(curl_, CURLOPT_MAIL_RCPT_ALLOWFAILS, 1L);
#else
        curl_easy_setopt(curl_, CURLOPT_MAIL_RCPT_ALLLOWFAILS, 1L);
#endif
        curl_easy_setopt(curl_, CURLOPT_DEBUGFUNCTION, &OnDialogue);
        curl_easy_setopt(curl_, CURLOPT_DEBUGDATA, nullptr);
        curl_easy_setopt(curl_, CURLOPT_VERBOSE, 1L);
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
    Dialogue dialogue;
    errbuf_[0] = 0;
    curl_easy_setopt(curl_, CURLOPT_DEBUGDATA, &dialogue);
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
    // The handle outlives this call and says QUIT at its end: nothing may point here then.
    curl_easy_setopt(curl_, CURLOPT_DEBUGDATA, nullptr);
    curl_easy_setopt(curl_, CURLOPT_MAIL_RCPT, nullptr);
    curl_slist_free_all(rcpts);
    lastReply_ = int(response);
    if (refused)
        *refused = dialogue.refused;
    if (rc == CURLE_OK) {
        lastWasConnectionFailure_ = false;
        return true;
    }
    if (!dialogue.refused.isEmpty() && dialogue.refused.size() >= envelopeTo.size()) {
        // Every recipient refused: the server itself is fine. Permanent only if every refusal is.
        lastWasConnectionFailure_ = false;
        lastReply_ = 999;
        for (const RefusedRecipient& r : dialogue.refused)
            lastReply_ = qMin(lastReply_, r.code);
        return fail(RefusalText(dialogue.refused));
    }
    // A reply that refuses this one mail (a recipient, its size) leaves the server usable for the
    // next; no reply, a closing server or a refused login does not.
    lastWasConnectionFailure_ =
        response < 400 || response == 421 || rc == CURLE_LOGIN_DENIED || rc == CURLE_ABORTED_BY_CALLBACK;
    QString why = QStringLiteral("The SMTP server %1:%2 did not take the mail: %3")
                      .arg(host)
                      .arg(profile_.effectivePort())
                      .arg(QString::fromUtf8(errbuf_[0] ? errbuf_ : curl_easy_strerror(rc)));
    if (!dialogue.lastReply.isEmpty() && response >= 400)
        why += QStringLiteral(" (reply %1)").arg(QString::fromUtf8(dialogue.lastReply));
    else if (response > 0)
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
    InitMimeLibrary();
    GRef<GMimeStream> stream(g_mime_stream_mem_new_with_buffer(all.constData(), size_t(all.size())));
    GRef<GMimeParser> parser(g_mime_parser_new_with_stream(stream.get()));
    GRef<GMimeMessage> message(g_mime_parser_construct_message(parser.get(), nullptr));
    if (!message)
        return fail(QStringLiteral("%1 is not a mail.").arg(path));
    OutboxMail mail;
    // The envelope is the run of X-Tlm- headers the file starts with; the mail is what follows,
    // byte for byte as it was written.
    GMimeHeaderList* headers = g_mime_object_get_header_list(GMIME_OBJECT(message.get()));
    qint64 cut = -1;
    const int count = g_mime_header_list_get_count(headers);
    for (int i = 0; i < count && cut < 0; ++i) {
        GMimeHeader* h = g_mime_header_list_get_header_at(headers, i);
        const QByteArray name(g_mime_header_get_name(h));
        const QByteArray raw(g_mime_header_get_raw_value(h));
        if (name.left(6).compare("X-Tlm-", Qt::CaseInsensitive) != 0) {
            cut = g_mime_header_get_offset(h);
        } else if (name.compare("X-Tlm-Recipients", Qt::CaseInsensitive) == 0) {
            for (const QByteArray& r : raw.split(',')) {
                const QByteArray address = r.trimmed();
                if (!address.isEmpty())
                    mail.envelopeTo.append(address);
            }
        } else if (name.compare("X-Tlm-Failure", Qt::CaseInsensitive) == 0) {
            mail.reason = DecodeHeaderText(raw);
        }
    }
    if (cut > 0 && cut < all.size())
        mail.bytes = all.mid(cut);
    if (mail.envelopeTo.isEmpty() || mail.bytes.isEmpty())
        return fail(QStringLiteral("%1 names no recipient or holds no mail.").arg(path));
    // Read from the mail itself, not from what came before it.
    GRef<GMimeStream> own(
        g_mime_stream_mem_new_with_buffer(mail.bytes.constData(), size_t(mail.bytes.size())));
    GRef<GMimeParser> ownParser(g_mime_parser_new_with_stream(own.get()));
    GRef<GMimeMessage> wire(g_mime_parser_construct_message(ownParser.get(), nullptr));
    if (wire) {
        if (const char* id = g_mime_message_get_message_id(wire.get()))
            mail.messageId = QString::fromLatin1(id);
        if (const char* subject = g_mime_message_get_subject(wire.get()))
            mail.subject = QString::fromUtf8(subject);
        if (GDateTime* date = g_mime_message_get_date(wire.get()))
            mail.date = QDateTime::fromSecsSinceEpoch(g_date_time_to_unix(date));
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

int ClearInterruptedWrites(const QString& folder) {
    int removed = 0;
    for (const QString& where : {folder, FailedFolder(folder)}) {
        const QDir dir(where);
        for (const QString& name :
             dir.entryList({QStringLiteral(".*.tmp")}, QDir::Files | QDir::Hidden | QDir::System)) {
            // ".<target>.<pid>.<random>.tmp", as the atomic writer names it.
            const QStringList parts = name.split(QLatin1Char('.'));
            bool isPid = false;
            const qint64 pid = parts.size() >= 4 ? parts.at(parts.size() - 3).toLongLong(&isPid) : 0;
            if (!isPid || pid <= 0)
                continue;
            // A living writer is still at work, unless the file is older than any write takes.
            const bool alive = pid == ::getpid() || ::kill(pid_t(pid), 0) == 0 || errno == EPERM;
            const QFileInfo info(dir.absoluteFilePath(name));
            if (alive && info.lastModified().secsTo(QDateTime::currentDateTime()) < 24 * 3600)
                continue;
            if (QFile::remove(info.absoluteFilePath()))
                ++removed;
        }
    }
    return removed;
}

namespace {

OutboxEntry EntryOf(const QString& path, OutboxEntry::State state) {
    OutboxEntry e;
    e.state = state;
    e.path = path;
    e.id = QFileInfo(path).completeBaseName();
    OutboxMail mail;
    QString why;
    e.readable = ReadOutboxMail(path, &mail, &why);
    if (e.readable) {
        e.subject = mail.subject;
        for (const QByteArray& r : mail.envelopeTo)
            e.recipients << QString::fromLatin1(r);
        e.reason = mail.reason;
        e.date = mail.date;
    } else {
        e.reason = why;
    }
    if (state == OutboxEntry::State::Failed) {
        const QString companion = ReadCompanion(path);
        if (!companion.isEmpty())
            e.reason = companion;
    }
    if (!e.date.isValid())
        e.date = QFileInfo(path).lastModified();
    e.reason = ReasonLine(e.reason);
    return e;
}

bool IsPlainId(const QString& id) {
    return !id.isEmpty() && !id.contains(QLatin1Char('/')) && !id.startsWith(QLatin1Char('.'));
}

}  // namespace

QList<OutboxEntry> ListOutbox(const QString& folder) {
    QList<OutboxEntry> out;
    for (const QString& f : OutboxFiles(folder))
        out << EntryOf(f, OutboxEntry::State::Waiting);
    for (const QString& f : OutboxFiles(FailedFolder(folder)))
        out << EntryOf(f, OutboxEntry::State::Failed);
    return out;
}

OutboxOutcome FindOutboxMail(const QString& folder, const QString& id) {
    OutboxOutcome o;
    if (IsPlainId(id)) {
        const QString name = id + QStringLiteral(".eml");
        const QString waiting = QDir(folder).absoluteFilePath(name);
        const QString failed = QDir(FailedFolder(folder)).absoluteFilePath(name);
        if (QFileInfo(waiting).isFile()) {
            o.entry = EntryOf(waiting, OutboxEntry::State::Waiting);
            return o;
        }
        if (QFileInfo(failed).isFile()) {
            o.entry = EntryOf(failed, OutboxEntry::State::Failed);
            return o;
        }
    }
    o.kind = OutboxOutcome::Kind::NotFound;
    o.message = QStringLiteral("No mail \"%1\" waits or failed in %2.").arg(id, folder);
    return o;
}

OutboxOutcome ShowOutboxMail(const QString& folder, const QString& id) {
    OutboxOutcome o = FindOutboxMail(folder, id);
    if (o.kind != OutboxOutcome::Kind::Done)
        return o;
    OutboxMail mail;
    QString why;
    if (!ReadOutboxMail(o.entry.path, &mail, &why)) {
        o.kind = OutboxOutcome::Kind::NotReadable;
        o.message = ReasonLine(why);
        return o;
    }
    o.text = mail.bytes;
    return o;
}

OutboxOutcome RetryOutboxMail(const QString& folder, const QString& id) {
    OutboxOutcome o = FindOutboxMail(folder, id);
    if (o.kind != OutboxOutcome::Kind::Done || o.entry.state == OutboxEntry::State::Waiting)
        return o;
    const QString target = QDir(folder).absoluteFilePath(QFileInfo(o.entry.path).fileName());
    if (!QFile::rename(o.entry.path, target)) {
        o.kind = OutboxOutcome::Kind::WriteFailed;
        o.message = QStringLiteral("%1 could not be moved back to %2.").arg(o.entry.path, folder);
        return o;
    }
    QFile::remove(CompanionOf(o.entry.path));
    o.entry.path = target;
    o.entry.state = OutboxEntry::State::Waiting;
    o.count = 1;
    return o;
}

OutboxOutcome RetryAllFailed(const QString& folder) {
    OutboxOutcome all;
    for (const QString& f : OutboxFiles(FailedFolder(folder))) {
        const OutboxOutcome one = RetryOutboxMail(folder, QFileInfo(f).completeBaseName());
        if (one.kind != OutboxOutcome::Kind::Done) {
            all.kind = one.kind;
            all.message = one.message;
            continue;
        }
        all.count += one.count;
    }
    return all;
}

OutboxOutcome DiscardOutboxMail(const QString& folder, const QString& id) {
    OutboxOutcome o = FindOutboxMail(folder, id);
    if (o.kind != OutboxOutcome::Kind::Done)
        return o;
    if (!QFile::remove(o.entry.path)) {
        o.kind = OutboxOutcome::Kind::WriteFailed;
        o.message = QStringLiteral("%1 could not be removed.").arg(o.entry.path);
        return o;
    }
    QFile::remove(CompanionOf(o.entry.path));
    o.count = 1;
    return o;
}

OutboxSender::OutboxSender(QString folder) : folder_(std::move(folder)) {}

OutboxSender::~OutboxSender() {
    shutdown();
}

QString OutboxSender::folder() const {
    return folder_.isEmpty() ? OutboxFolder() : folder_;
}

MailSendResult OutboxSender::queue(const MailMessage& message, const MailProfile& profile) {
    return keep(message, profile, folder());
}

MailSendResult OutboxSender::hand(const MailMessage& message, const MailProfile& profile) {
    const QString dir = folder();
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!stopping_) {
            handed_.push_back(Handed{message, profile, dir});
            if (!keeper_.joinable())
                keeper_ = std::thread(&OutboxSender::keepHanded, this);
            changed_.notify_all();
            MailSendResult result;
            result.status = MailSendResult::Status::KeptInOutbox;
            result.queued = true;
            result.reason = QStringLiteral("Handed to the outbox.");
            return result;
        }
    }
    // No keeper after the end: kept here, so nothing is dropped.
    return keep(message, profile, dir);
}

void OutboxSender::keepHanded() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return !handed_.empty() || stopping_; });
        if (handed_.empty())
            break;  // stopping, and every handed mail is kept
        std::vector<Handed> batch;
        batch.swap(handed_);
        keeping_ = true;
        lock.unlock();
        for (const Handed& h : batch) {
            const MailSendResult r = keep(h.message, h.profile, h.folder);
            // Lost is recorded by keep(); a refused one is not kept either and must be told too.
            if (r.status == MailSendResult::Status::Refused)
                RecordUnkeptMail(r.reason);
        }
        lock.lock();
        keeping_ = false;
        changed_.notify_all();
    }
}

bool OutboxSender::waitKept(int ms) {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, std::chrono::milliseconds(qMax(0, ms)),
                             [this] { return handed_.empty() && !keeping_; });
}

MailSendResult OutboxSender::keep(const MailMessage& message, const MailProfile& profile,
                                  const QString& dir) {
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
    result.outboxFile = KeepInOutbox(mail, result.reason, dir, &writeError);
    if (result.outboxFile.isEmpty()) {
        result.status = MailSendResult::Status::Lost;
        result.reason += QStringLiteral(" The outbox could not keep it: ") + writeError;
        subTraceAction(QStringLiteral("Mail not kept: ") + MaskSecrets(result.reason));
        RecordUnkeptMail(writeError);
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
    if (!cleared_) {
        cleared_ = true;  // the first try of a run: what an interrupted write left goes once
        ClearInterruptedWrites(dir);
    }
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
                             [this] { return !wanted_ && !running_ && handed_.empty() && !keeping_; });
}

OutboxStatus OutboxSender::status() const {
    OutboxStatus s;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        s.delivered = delivered_;
        s.connections = connections_;
        s.busy = wanted_ || running_ || !handed_.empty() || keeping_;
        s.noServer = noServer_;
        s.serverDown = serverDown_;
        s.lastError = lastError_;
    }
    s.lastError = MaskSecrets(s.lastError);
    s.waiting = int(OutboxFiles(folder()).size());
    s.failed = int(OutboxFiles(FailedFolder(folder())).size());
    return s;
}

void OutboxSender::shutdown() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
        abort_ = true;
        changed_.notify_all();
    }
    // Every mail handed over is kept before the end; the deliveries it asks for are not started.
    if (keeper_.joinable())
        keeper_.join();
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

void OutboxSender::noteFailed(const QString& why) {
    subTraceAction(QStringLiteral("Mail moved to the failed folder: ") + ReasonLine(why));
    std::lock_guard<std::mutex> lock(mutex_);
    lastError_ = why;
}

void OutboxSender::deliverFiles(const Run& run, SmtpSession& session, const QByteArray& from) {
    for (const QString& path : OutboxFiles(run.folder)) {
        if (abort_)
            break;
        if (!QFile::exists(path))
            continue;  // delivered by another process meanwhile
        OutboxMail mail;
        QString why, moveError;
        if (!ReadOutboxMail(path, &mail, &why)) {
            // Reading it again would fail the same way.
            if (!MoveToFailed(path, nullptr, why, &moveError))
                why += QLatin1Char(' ') + moveError;
            noteFailed(why);
            continue;
        }
        QList<RefusedRecipient> refused;
        const bool took = session.deliver(from, mail.envelopeTo, mail.bytes, &why, &refused);
        if (took || (!session.lastWasConnectionFailure() && refused.size() >= mail.envelopeTo.size())) {
            // Sent to the others (if any): refused for good goes to the failed folder for those
            // recipients only, refused for now waits for them only.
            QList<RefusedRecipient> lasting, passing;
            for (const RefusedRecipient& r : refused)
                (r.code >= 500 ? lasting : passing).append(r);
            if (!lasting.isEmpty()) {
                const QString copy =
                    QDir(FailedFolder(run.folder)).absoluteFilePath(QFileInfo(path).fileName());
                if (!WriteOutboxFile(copy, AddressesOf(lasting), RefusalText(lasting), mail.bytes,
                                     &moveError))
                    RecordUnkeptMail(moveError);
                noteFailed(RefusalText(lasting));
            }
            if (!passing.isEmpty()) {
                if (!WriteOutboxFile(path, AddressesOf(passing), RefusalText(passing), mail.bytes,
                                     &moveError))
                    RecordUnkeptMail(moveError);
            } else {
                // Only now: a crash before this line resends this one mail, with its Message-ID.
                QFile::remove(path);
            }
            std::lock_guard<std::mutex> lock(mutex_);
            if (took)
                ++delivered_;
            if (!passing.isEmpty())
                lastError_ = RefusalText(passing);
            continue;
        }
        if (session.lastWasConnectionFailure()) {
            std::lock_guard<std::mutex> lock(mutex_);
            lastError_ = why;
            serverDown_ = true;
            break;
        }
        if (session.lastWasPermanent()) {
            if (!MoveToFailed(path, &mail, why, &moveError))
                why += QLatin1Char(' ') + moveError;
            noteFailed(why);
            continue;
        }
        std::lock_guard<std::mutex> lock(mutex_);
        lastError_ = why;
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
