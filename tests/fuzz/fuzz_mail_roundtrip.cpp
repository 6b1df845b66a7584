// A mail composed, kept in the outbox and read back, as the delivery worker reads it: the same
// recipients, the same subject and body once decoded, and no header the program did not write.
//
// Input: fields separated by 0x1F: To, Bcc, Subject, sender name, sender address (empty: a fixed
// one), the reason kept with the mail, and the HTML body (the rest, 0x1F included).
#include <QDir>
#include <QFile>
#include <QSet>
#include <QTimeZone>

#include "fuzz_support.h"
#include "mail/mail_message.h"
#include "mail/mail_transport.h"
#include "mail/outbox.h"

using namespace tlm;

namespace {

QByteArray DecodeQuotedPrintable(const QByteArray& in);

// An independent RFC 2047 reader of an unstructured value, folds already joined: encoded words
// (UTF-8 or US-ASCII, B or Q) decoded and joined without the blanks between them, other words as they are.
QString DecodeHeaderValue(const QByteArray& value) {
    QByteArray out;
    bool lastEncoded = false;
    const QList<QByteArray> words = value.split(' ');
    for (int i = 0; i < words.size(); ++i) {
        const QByteArray& w = words[i];
        const QList<QByteArray> parts =
            w.startsWith("=?") && w.endsWith("?=") ? w.mid(2, w.size() - 4).split('?') : QList<QByteArray>{};
        // UTF-8 for text beyond ASCII, US-ASCII for a word too long to fold.
        const bool encoded =
            parts.size() == 3 && (parts[0].toUpper() == "UTF-8" || parts[0].toUpper() == "US-ASCII");
        if (i > 0 && !(encoded && lastEncoded))
            out += ' ';
        if (!encoded)
            out += w;
        else if (parts[1].toUpper() == "B")
            out += QByteArray::fromBase64(parts[2]);
        else
            out += DecodeQuotedPrintable(QByteArray(parts[2]).replace('_', ' '));
        lastEncoded = encoded;
    }
    return QString::fromUtf8(out);
}

QByteArray DecodeQuotedPrintable(const QByteArray& in) {
    QByteArray out;
    for (qsizetype i = 0; i < in.size(); ++i) {
        if (in[i] != '=') {
            out += in[i];
        } else if (in.mid(i + 1, 2) == "\r\n") {
            i += 2;
        } else {
            bool ok = false;
            out += char(in.mid(i + 1, 2).toInt(&ok, 16));
            if (!ok)
                fuzz::Fail("quoted-printable escape", QString::fromLatin1(in.mid(i, 3)));
            i += 2;
        }
    }
    return out;
}

QByteArray CrLfLines(QByteArray bytes) {
    bytes.replace("\r\n", "\n").replace('\r', '\n');
    return bytes.replace("\n", "\r\n");
}

void CheckWireForm(const QByteArray& bytes, const MailMessage& message) {
    // Every line ends in CR LF: a lone CR or LF would start a line of its own somewhere.
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        if (bytes[i] == '\r')
            FUZZ_CHECK(i + 1 < bytes.size() && bytes[i + 1] == '\n', QString::number(i));
        if (bytes[i] == '\n')
            FUZZ_CHECK(i > 0 && bytes[i - 1] == '\r', QString::number(i));
    }
    const qsizetype split = bytes.indexOf("\r\n\r\n");
    FUZZ_CHECK(split > 0, QString::fromLatin1(bytes.left(200)));
    const QByteArray head = bytes.left(split + 2);
    const QByteArray body = bytes.mid(split + 4);

    // Only the headers the program writes; Bcc above all stays out.
    static const QSet<QByteArray> names = {
        "Date",       "From",         "To",           "Subject",
        "Message-ID", "MIME-Version", "Content-Type", "Content-Transfer-Encoding"};
    QByteArray subject;
    bool inSubject = false;
    for (const QByteArray& line : head.chopped(2).split('\n')) {
        const QByteArray l = line.endsWith('\r') ? line.chopped(1) : line;
        FUZZ_CHECK(l.size() <= 998, QStringLiteral("header line of %1 octets").arg(l.size()));
        if (l.startsWith(' ') || l.startsWith('\t')) {
            if (inSubject)
                subject += l;
            continue;
        }
        const qsizetype colon = l.indexOf(':');
        FUZZ_CHECK(colon > 0 && names.contains(l.left(colon)), QString::fromLatin1(l));
        inSubject = l.startsWith("Subject: ");
        if (inSubject)
            subject = l.mid(9);
    }
    // Plain words and encoded words, as GMime chose them, read back as the subject.
    FUZZ_CHECK(DecodeHeaderValue(subject) == message.subject,
               QString::fromLatin1(subject) + QStringLiteral(" / ") + message.subject);

    for (const QByteArray& line : body.split('\n'))
        FUZZ_CHECK(line.size() <= 77, QStringLiteral("body line of %1 octets").arg(line.size()));
    FUZZ_CHECK(DecodeQuotedPrintable(body) == CrLfLines(message.html.toUtf8()),
               QString::fromLatin1(body.left(300)));
}

QList<QByteArray> ExpectedEnvelope(const MailMessage& message) {
    QList<MailAddress> to, bcc;
    QString error;
    ParseMailAddressList(message.to, &to, &error);
    ParseMailAddressList(message.bcc, &bcc, &error);
    QList<QByteArray> out;
    QSet<QString> seen;
    for (const MailAddress& a : to + bcc) {
        if (!seen.contains(a.address.toLower()))
            out.append(a.address.toLatin1());
        seen.insert(a.address.toLower());
    }
    return out;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    fuzz::Init(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    QList<QByteArray> f = fuzz::Split(data, size, '\x1f', 7);
    while (f.size() < 7)
        f.prepend(QByteArray());
    MailMessage message{fuzz::Utf8(f[0]), fuzz::Utf8(f[1]), fuzz::Utf8(f[2]), fuzz::Utf8(f[6])};
    const MailAddress from{fuzz::Utf8(f[3]),
                           f[4].isEmpty() ? QStringLiteral("tlm@example.org") : fuzz::Utf8(f[4])};
    const QDateTime date(QDate(2026, 3, 7), QTime(10, 15), QTimeZone(3600));
    const ComposedMail mail = ComposeMail(from, message, date);
    if (!mail.ok()) {
        FUZZ_CHECK(mail.bytes.isEmpty() && mail.envelopeTo.isEmpty(), mail.error);
        return 0;
    }
    FUZZ_CHECK(mail.envelopeTo == ExpectedEnvelope(message),
               message.to + QStringLiteral(" / ") + message.bcc);
    CheckWireForm(mail.bytes, message);

    const QString folder = fuzz::Root() + QStringLiteral("/outbox");
    QString error;
    const QString path = KeepInOutbox(mail, fuzz::Utf8(f[5]), folder, &error);
    FUZZ_CHECK(!path.isEmpty(), error);
    OutboxMail back;
    const bool read = ReadOutboxMail(path, &back, &error);
    QFile::remove(path);
    FUZZ_CHECK(read, error);
    FUZZ_CHECK(back.envelopeTo == mail.envelopeTo, message.to);
    FUZZ_CHECK(back.bytes == mail.bytes, QString::fromLatin1(back.bytes.left(200)));
    FUZZ_CHECK(back.messageId == mail.messageId, back.messageId);
    return 0;
}
