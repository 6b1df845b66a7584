// GMime first: its GLib headers use the word Qt makes a macro.
#include <gmime/gmime.h>

#include "mail/mail_message.h"

#include <QRegularExpression>
#include <QSet>
#include <QUuid>
#include <memory>
#include <mutex>

namespace tlm {

namespace {

bool HasLineBreak(const QString& s) {
    return s.contains(QLatin1Char('\r')) || s.contains(QLatin1Char('\n'));
}

// GMime writes LF; the wire and the outbox want CRLF.
QByteArray ToCrlf(const QByteArray& lf) {
    QByteArray out = lf;
    out.replace("\r\n", "\n");
    return out.replace("\n", "\r\n");
}

struct GFree {
    void operator()(char* p) const { g_free(p); }
};
using GText = std::unique_ptr<char, GFree>;

template <typename T>
struct GUnref {
    void operator()(T* p) const {
        if (p)
            g_object_unref(p);
    }
};
template <typename T>
using GRef = std::unique_ptr<T, GUnref<T>>;

GMimeFormatOptions* CrlfFormat() {
    // Made once and never changed, so every thread may read it.
    static GMimeFormatOptions* const format = [] {
        GMimeFormatOptions* f = g_mime_format_options_new();
        g_mime_format_options_set_newline_format(f, GMIME_NEWLINE_FORMAT_DOS);
        return f;
    }();
    return format;
}

// GMime leaves an ASCII word that looks like an encoded word as it is, and a reader would decode
// it; it also drops blanks at the ends and readers fold runs of them and tabs. Such a text goes as encoded
// words throughout, which keep every character.
bool LooksEncoded(const QString& text) {
    if (text.contains(QLatin1String("=?")) || text.contains(QLatin1String("  ")))
        return true;
    // GMime takes C strings: a NUL would end the text, and control characters stay unencoded.
    for (const QChar c : text) {
        if (c.unicode() < 0x20 || c.unicode() == 0x7f)
            return true;
    }
    return !text.isEmpty() && (text.front().isSpace() || text.back().isSpace());
}

// Whole-character UTF-8 pieces, each one encoded word, base64 by GMime.
QByteArray AllEncodedWords(const QString& text) {
    constexpr qsizetype kChunk = 45;  // 60 base64 characters: a word stays under 75
    const QByteArray utf8 = text.toUtf8();
    QByteArray out;
    for (qsizetype pos = 0; pos < utf8.size();) {
        qsizetype end = qMin(pos + kChunk, utf8.size());
        while (end < utf8.size() && end > pos && (uchar(utf8[end]) & 0xC0) == 0x80)
            --end;
        QByteArray b64((end - pos) * 4 / 3 + 8, '\0');
        int state = 0;
        guint32 save = 0;
        const size_t n = g_mime_encoding_base64_encode_close(
            reinterpret_cast<const unsigned char*>(utf8.constData() + pos), size_t(end - pos),
            reinterpret_cast<unsigned char*>(b64.data()), &state, &save);
        b64.truncate(qsizetype(n));
        if (!out.isEmpty())
            out += ' ';
        out += "=?UTF-8?B?" + b64.trimmed() + "?=";
        pos = end;
    }
    return out;
}

// The header value GMime would write for this text, before folding.
QByteArray EncodedValue(const QString& text) {
    if (LooksEncoded(text))
        return AllEncodedWords(text);
    const GText encoded(g_mime_utils_header_encode_text(CrlfFormat(), text.toUtf8().constData(), "UTF-8"));
    return QByteArray(encoded.get());
}

}  // namespace

void InitMimeLibrary() {
    static std::once_flag once;
    std::call_once(once, [] { g_mime_init(); });
}

QString DecodeHeaderText(const QByteArray& raw) {
    InitMimeLibrary();
    QByteArray unfolded = raw;
    unfolded.replace("\r\n", "\n").replace("\n ", " ").replace("\n\t", "\t");
    const GText decoded(g_mime_utils_header_decode_text(nullptr, unfolded.trimmed().constData()));
    return QString::fromUtf8(decoded.get());
}

bool IsValidMailAddress(const QString& address) {
    // \z, not $: a '$' also matches before a final line break, which would reach a header.
    static const QRegularExpression re(QStringLiteral(
        "^[A-Za-z0-9!#$%&'*+/=?^_`{|}~-]+(\\.[A-Za-z0-9!#$%&'*+/=?^_`{|}~-]+)*"
        "@[A-Za-z0-9]([A-Za-z0-9-]*[A-Za-z0-9])?(\\.[A-Za-z0-9]([A-Za-z0-9-]*[A-Za-z0-9])?)*\\z"));
    if (address.size() > 254 || address.indexOf(QLatin1Char('@')) > 64)
        return false;
    return re.match(address).hasMatch();
}

bool ParseMailAddress(const QString& text, MailAddress* out, QString* error) {
    const auto fail = [&](const QString& why) {
        if (error)
            *error = why;
        return false;
    };
    if (HasLineBreak(text))
        return fail(QStringLiteral("The address \"%1\" holds a line break.").arg(text.simplified()));
    const QString t = text.trimmed();
    MailAddress a;
    const qsizetype lt = t.lastIndexOf(QLatin1Char('<'));
    if (t.endsWith(QLatin1Char('>')) && lt >= 0) {
        a.address = t.mid(lt + 1, t.size() - lt - 2).trimmed();
        a.name = t.left(lt).trimmed();
        if (a.name.size() >= 2 && a.name.startsWith(QLatin1Char('"')) && a.name.endsWith(QLatin1Char('"')))
            a.name = a.name.mid(1, a.name.size() - 2);
    } else {
        a.address = t;
    }
    if (!IsValidMailAddress(a.address))
        return fail(QStringLiteral("\"%1\" is not a valid e-mail address.").arg(t));
    if (out)
        *out = a;
    return true;
}

bool ParseMailAddressList(const QString& list, QList<MailAddress>* out, QString* error) {
    QList<MailAddress> result;
    for (const QString& part : list.split(QLatin1Char(';'))) {
        if (part.trimmed().isEmpty() && !HasLineBreak(part))
            continue;
        MailAddress a;
        if (!ParseMailAddress(part, &a, error))
            return false;
        result.append(a);
    }
    if (out)
        *out = result;
    return true;
}

RecipientSplit SplitNotificationRecipients(const QString& sRecipients) {
    const qsizetype semi = sRecipients.indexOf(QLatin1Char(';'));
    if (semi < 0)
        return {sRecipients, QString()};
    return {sRecipients.left(semi), sRecipients.mid(semi + 1)};
}

MailMessage MakeNotificationMail(const QString& sRecipients, const QString& subject, const QString& html) {
    const RecipientSplit split = SplitNotificationRecipients(sRecipients);
    return MailMessage{split.to, split.bcc, subject, html};
}

QByteArray EncodeHeaderText(const QString& text) {
    InitMimeLibrary();
    // Folded by GMime as a Subject would be; the caller writes the name.
    const QByteArray line = "Subject: " + EncodedValue(text);
    const GText folded(g_mime_utils_unstructured_header_fold(nullptr, CrlfFormat(), line.constData()));
    QByteArray value(folded.get());
    value = value.mid(9);
    while (value.endsWith('\n') || value.endsWith('\r'))
        value.chop(1);
    return ToCrlf(value);
}

QByteArray EncodeQuotedPrintable(const QByteArray& in) {
    InitMimeLibrary();
    // Every line end of the text becomes one CRLF line end of the wire.
    QByteArray text = in;
    text.replace("\r\n", "\n").replace('\r', '\n');
    GMimeEncoding encoder;
    g_mime_encoding_init_encode(&encoder, GMIME_CONTENT_ENCODING_QUOTEDPRINTABLE);
    QByteArray out(qsizetype(g_mime_encoding_outlen(&encoder, size_t(text.size()))) + 8, '\0');
    const size_t n = g_mime_encoding_flush(&encoder, text.constData(), size_t(text.size()), out.data());
    out.truncate(qsizetype(n));
    // A text without a final line break ends in a soft break: the writer's closing line end then
    // adds nothing to the text.
    if (!text.isEmpty() && !text.endsWith('\n')) {
        if (out.endsWith("=\n"))
            out.chop(2);
        else if (out.endsWith('\n'))
            out.chop(1);
        out += "=\n";
    }
    // GMime lets a line with an escaped blank before its break reach 77 characters; RFC 2045
    // allows 76, so such a line gets one more soft break, never inside an escape.
    QByteArray wrapped;
    wrapped.reserve(out.size() + out.size() / 64);
    for (QByteArray line : out.split('\n')) {
        while (line.size() > 76) {
            qsizetype cut = 75;
            if (line[cut - 1] == '=')
                cut -= 1;
            else if (line[cut - 2] == '=')
                cut -= 2;
            wrapped += line.left(cut);
            wrapped += "=\n";
            line = line.mid(cut);
        }
        wrapped += line;
        wrapped += '\n';
    }
    wrapped.chop(1);  // the split gave one piece more than there are line ends
    out = wrapped;
    return ToCrlf(out);
}

namespace {

GDateTime* NewGDateTime(const QDateTime& date) {
    const int offset = date.offsetFromUtc();
    GTimeZone* zone = g_time_zone_new_offset(offset);
    const QDateTime local = date.toOffsetFromUtc(offset);
    GDateTime* when = g_date_time_new(zone, local.date().year(), local.date().month(), local.date().day(),
                                      local.time().hour(), local.time().minute(), local.time().second());
    g_time_zone_unref(zone);
    return when;
}

}  // namespace

QByteArray FormatMailDate(const QDateTime& date) {
    InitMimeLibrary();
    GDateTime* when = NewGDateTime(date);
    const GText text(g_mime_utils_header_format_date(when));
    g_date_time_unref(when);
    return QByteArray(text.get());
}

ComposedMail ComposeMail(const MailAddress& from, const MailMessage& message, const QDateTime& date) {
    ComposedMail mail;
    if (HasLineBreak(message.subject)) {
        mail.error = QStringLiteral("The subject holds a line break; the mail was refused.");
        return mail;
    }
    if (HasLineBreak(from.name) || !IsValidMailAddress(from.address)) {
        mail.error =
            QStringLiteral("The sender \"%1\" is not a valid e-mail address.").arg(from.address.simplified());
        return mail;
    }
    QList<MailAddress> to, bcc;
    if (!ParseMailAddressList(message.to, &to, &mail.error) ||
        !ParseMailAddressList(message.bcc, &bcc, &mail.error))
        return mail;
    if (to.isEmpty() && bcc.isEmpty()) {
        mail.error = QStringLiteral("The mail has no recipient.");
        return mail;
    }

    QSet<QString> seen;
    for (const QList<MailAddress>* list : {&to, &bcc}) {
        for (const MailAddress& a : *list) {
            if (seen.contains(a.address.toLower()))
                continue;
            seen.insert(a.address.toLower());
            mail.envelopeTo.append(a.address.toLatin1());
        }
    }
    mail.envelopeFrom = from.address.toLatin1();
    const QString domain = from.address.mid(from.address.lastIndexOf(QLatin1Char('@')) + 1);
    mail.messageId = QUuid::createUuid().toString(QUuid::WithoutBraces) + QLatin1Char('@') + domain;

    InitMimeLibrary();
    GRef<GMimeMessage> m(g_mime_message_new(FALSE));
    GMimeObject* head = GMIME_OBJECT(m.get());
    // Headers are written in the order they are set.
    GDateTime* when = NewGDateTime(date);
    g_mime_message_set_date(m.get(), when);
    g_date_time_unref(when);
    const auto mailbox = [](const MailAddress& a) {
        InternetAddress* ia =
            internet_address_mailbox_new(a.name.toUtf8().constData(), a.address.toLatin1().constData());
        internet_address_set_charset(ia, "UTF-8");
        return ia;
    };
    const auto add = [](InternetAddressList* list, InternetAddress* ia) {
        internet_address_list_add(list, ia);
        g_object_unref(ia);
    };
    add(g_mime_message_get_from(m.get()), mailbox(from));
    InternetAddressList* toList = g_mime_message_get_addresses(m.get(), GMIME_ADDRESS_TYPE_TO);
    if (to.isEmpty()) {
        add(toList, internet_address_group_new("undisclosed-recipients"));
        // GMime writes an empty group as "name: ;"; the usual form has no blank.
        GMimeHeader* h = g_mime_header_list_get_header(g_mime_object_get_header_list(head), "To");
        if (h)
            g_mime_header_set_raw_value(h, " undisclosed-recipients:;\n");
    }
    for (const MailAddress& a : to)
        add(toList, mailbox(a));
    if (LooksEncoded(message.subject))
        g_mime_object_set_header(head, "Subject", AllEncodedWords(message.subject).constData(), "UTF-8");
    else
        g_mime_message_set_subject(m.get(), message.subject.toUtf8().constData(), "UTF-8");
    const QByteArray id = '<' + mail.messageId.toLatin1() + '>';
    g_mime_object_set_header(head, "Message-ID", id.constData(), nullptr);

    // The body is encoded here so that its end is as the text's: GMime would add a line end.
    const QByteArray body = EncodeQuotedPrintable(message.html.toUtf8());
    GRef<GMimePart> part(g_mime_part_new_with_type("text", "html"));
    g_mime_object_set_content_type_parameter(GMIME_OBJECT(part.get()), "charset", "UTF-8");
    GRef<GMimeStream> stream(g_mime_stream_mem_new_with_buffer(body.constData(), size_t(body.size())));
    GRef<GMimeDataWrapper> content(
        g_mime_data_wrapper_new_with_stream(stream.get(), GMIME_CONTENT_ENCODING_QUOTEDPRINTABLE));
    g_mime_part_set_content(part.get(), content.get());
    g_mime_part_set_content_encoding(part.get(), GMIME_CONTENT_ENCODING_QUOTEDPRINTABLE);
    if (message.attachments.isEmpty()) {
        g_mime_message_set_mime_part(m.get(), GMIME_OBJECT(part.get()));
    } else {
        GRef<GMimeMultipart> mixed(g_mime_multipart_new_with_subtype("mixed"));
        g_mime_multipart_add(mixed.get(), GMIME_OBJECT(part.get()));
        for (const MailAttachment& a : message.attachments) {
            const QByteArray type =
                a.mimeType.contains('/') ? a.mimeType : QByteArray("application/octet-stream");
            const qsizetype slash = type.indexOf('/');
            GRef<GMimePart> file(
                g_mime_part_new_with_type(type.left(slash).constData(), type.mid(slash + 1).constData()));
            GRef<GMimeStream> bytes(
                g_mime_stream_mem_new_with_buffer(a.data.constData(), size_t(a.data.size())));
            GRef<GMimeDataWrapper> data(
                g_mime_data_wrapper_new_with_stream(bytes.get(), GMIME_CONTENT_ENCODING_DEFAULT));
            g_mime_part_set_content(file.get(), data.get());
            // Base64 whatever the bytes: a report file may hold long lines or bytes no text transport keeps.
            g_mime_part_set_content_encoding(file.get(), GMIME_CONTENT_ENCODING_BASE64);
            g_mime_object_set_disposition(GMIME_OBJECT(file.get()), GMIME_DISPOSITION_ATTACHMENT);
            g_mime_part_set_filename(file.get(), a.fileName.toUtf8().constData());
            g_mime_multipart_add(mixed.get(), GMIME_OBJECT(file.get()));
        }
        g_mime_message_set_mime_part(m.get(), GMIME_OBJECT(mixed.get()));
    }
    const GText written(g_mime_object_to_string(head, CrlfFormat()));
    mail.bytes = ToCrlf(QByteArray(written.get()));
    return mail;
}

}  // namespace tlm
