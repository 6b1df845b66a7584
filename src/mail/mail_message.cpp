#include "mail/mail_message.h"

#include <QRegularExpression>
#include <QSet>
#include <QUuid>

namespace tlm {

namespace {

constexpr int kFoldAt = 76;             // soft limit of a header line
constexpr int kEncodedChunkBytes = 45;  // 60 base64 characters: an encoded word stays under 75
// A plain piece that cannot be folded and is longer than this could push its line past the hard
// limit of 998 octets; it goes as encoded words instead, which fold.
constexpr int kLongestUnfolded = 998 - kFoldAt;

bool HasLineBreak(const QString& s) {
    return s.contains(QLatin1Char('\r')) || s.contains(QLatin1Char('\n'));
}

bool IsAtext(QChar c) {
    if (c.unicode() > 0x7e)
        return false;
    if (c.isLetterOrNumber())
        return true;
    return QStringLiteral("!#$%&'*+-/=?^_`{|}~").contains(c);
}

// Folds a plain ASCII header value at blanks so lines stay near the soft limit.
QByteArray FoldAscii(const QByteArray& text, int used) {
    QByteArray out;
    int lineLen = used;
    const QList<QByteArray> words = text.split(' ');
    for (int i = 0; i < words.size(); ++i) {
        const QByteArray& w = words[i];
        if (i > 0) {
            if (lineLen + 1 + w.size() > kFoldAt && lineLen > used) {
                out += "\r\n ";
                lineLen = 1;
            } else {
                out += ' ';
                ++lineLen;
            }
        }
        out += w;
        lineLen += int(w.size());
    }
    return out;
}

bool NeedsEncoding(const QString& text) {
    for (QChar c : text) {
        const ushort u = c.unicode();
        if (u > 0x7e || (u < 0x20 && u != '\t'))
            return true;
    }
    return text.contains(QLatin1String("=?"));
}

QByteArray EncodeWords(const QString& text) {
    const QByteArray utf8 = text.toUtf8();
    QByteArray out;
    qsizetype pos = 0;
    while (pos < utf8.size()) {
        qsizetype end = qMin(pos + kEncodedChunkBytes, utf8.size());
        // Never cut a multi-byte character in two: each word must decode on its own.
        while (end < utf8.size() && end > pos && (uchar(utf8[end]) & 0xC0) == 0x80)
            --end;
        if (!out.isEmpty())
            out += "\r\n ";
        out += "=?UTF-8?B?" + utf8.mid(pos, end - pos).toBase64() + "?=";
        pos = end;
    }
    return out;
}

bool HasUnfoldableWord(const QString& text) {
    for (const QStringView word : QStringView(text).split(u' '))
        if (word.size() > kLongestUnfolded)
            return true;
    return false;
}

QByteArray EncodeHeaderTextAt(const QString& text, int used) {
    if (NeedsEncoding(text) || HasUnfoldableWord(text))
        return EncodeWords(text);
    return FoldAscii(text.toLatin1(), used);
}

QByteArray EncodeDisplayName(const QString& name) {
    if (NeedsEncoding(name))
        return EncodeWords(name);
    bool plain = true;
    for (QChar c : name) {
        if (!IsAtext(c) && c != QLatin1Char(' '))
            plain = false;
    }
    if (plain)
        return name.toLatin1();
    QString quoted = name;
    quoted.replace(QLatin1String("\\"), QLatin1String("\\\\"))
        .replace(QLatin1String("\""), QLatin1String("\\\""));
    return '"' + quoted.toLatin1() + '"';
}

QByteArray FormatAddress(const MailAddress& a) {
    if (a.name.isEmpty())
        return a.address.toLatin1();
    const QByteArray tail = " <" + a.address.toLatin1() + '>';
    const QByteArray name = EncodeDisplayName(a.name);
    // A name is never folded where it stands: a very long one goes as encoded words.
    return (name.size() + tail.size() > kLongestUnfolded ? EncodeWords(a.name) : name) + tail;
}

// "Name: a, b, c" folded between addresses.
QByteArray AddressHeader(const char* name, const QList<MailAddress>& list) {
    QByteArray out = QByteArray(name) + ": ";
    int lineLen = int(out.size());
    for (int i = 0; i < list.size(); ++i) {
        const QByteArray a = FormatAddress(list[i]);
        if (i > 0) {
            out += ',';
            ++lineLen;
            if (lineLen + 1 + a.size() > kFoldAt) {
                out += "\r\n";
                lineLen = 0;
            }
            out += ' ';
            ++lineLen;
        }
        out += a;
        lineLen += int(a.lastIndexOf('\n') >= 0 ? a.size() - a.lastIndexOf('\n') : a.size());
    }
    return out + "\r\n";
}

}  // namespace

bool IsValidMailAddress(const QString& address) {
    static const QRegularExpression re(QStringLiteral(
        "^[A-Za-z0-9!#$%&'*+/=?^_`{|}~-]+(\\.[A-Za-z0-9!#$%&'*+/=?^_`{|}~-]+)*"
        "@[A-Za-z0-9]([A-Za-z0-9-]*[A-Za-z0-9])?(\\.[A-Za-z0-9]([A-Za-z0-9-]*[A-Za-z0-9])?)*$"));
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
    return EncodeHeaderTextAt(text, 0);
}

QByteArray EncodeQuotedPrintable(const QByteArray& in) {
    static const char hex[] = "0123456789ABCDEF";
    QByteArray out;
    out.reserve(in.size() + in.size() / 8 + 16);
    int lineLen = 0;
    const qsizetype n = in.size();
    const auto isBreak = [&](qsizetype i) { return i >= n || in[i] == '\n' || in[i] == '\r'; };
    for (qsizetype i = 0; i < n; ++i) {
        const uchar c = uchar(in[i]);
        if (c == '\r' || c == '\n') {
            if (c == '\r' && i + 1 < n && in[i + 1] == '\n')
                ++i;
            out += "\r\n";
            lineLen = 0;
            continue;
        }
        const bool blank = c == ' ' || c == '\t';
        bool encode = c == '=' || c > 126 || (c < 32 && !blank) || (blank && isBreak(i + 1));
        int width = encode ? 3 : 1;
        if (lineLen + width > 75) {
            out += "=\r\n";
            lineLen = 0;
        }
        // A dot opening a line is escaped so no SMTP layer can take it for the end of data.
        if (c == '.' && lineLen == 0) {
            encode = true;
            width = 3;
        }
        if (encode) {
            out += '=';
            out += hex[c >> 4];
            out += hex[c & 0xF];
        } else {
            out += char(c);
        }
        lineLen += width;
    }
    if (n > 0 && !isBreak(n - 1))
        out += "=\r\n";
    return out;
}

QByteArray FormatMailDate(const QDateTime& date) {
    static const char* const days[] = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
    static const char* const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                         "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const QDate d = date.date();
    const QTime t = date.time();
    const int offset = date.offsetFromUtc() / 60;
    const int absOffset = qAbs(offset);
    return QStringLiteral("%1, %2 %3 %4 %5:%6:%7 %8%9%10")
        .arg(QLatin1String(days[d.dayOfWeek() - 1]))
        .arg(d.day(), 2, 10, QLatin1Char('0'))
        .arg(QLatin1String(months[d.month() - 1]))
        .arg(d.year())
        .arg(t.hour(), 2, 10, QLatin1Char('0'))
        .arg(t.minute(), 2, 10, QLatin1Char('0'))
        .arg(t.second(), 2, 10, QLatin1Char('0'))
        .arg(QLatin1Char(offset < 0 ? '-' : '+'))
        .arg(absOffset / 60, 2, 10, QLatin1Char('0'))
        .arg(absOffset % 60, 2, 10, QLatin1Char('0'))
        .toLatin1();
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

    const QByteArray body = EncodeQuotedPrintable(message.html.toUtf8());
    QByteArray& b = mail.bytes;
    b.reserve(body.size() + 1024);
    b += "Date: " + FormatMailDate(date) + "\r\n";
    b += AddressHeader("From", {from});
    if (to.isEmpty())
        b += "To: undisclosed-recipients:;\r\n";
    else
        b += AddressHeader("To", to);
    b += "Subject: " + EncodeHeaderTextAt(message.subject, 9) + "\r\n";
    b += "Message-ID: <" + mail.messageId.toLatin1() + ">\r\n";
    b += "MIME-Version: 1.0\r\n";
    b += "Content-Type: text/html; charset=UTF-8\r\n";
    b += "Content-Transfer-Encoding: quoted-printable\r\n";
    b += "\r\n";
    b += body;
    return mail;
}

}  // namespace tlm
