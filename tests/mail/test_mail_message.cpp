#include <gtest/gtest.h>

#include <QRegularExpression>

#include "mail/mail_message.h"

using namespace tlm;

namespace {

// An independent quoted-printable reader: soft breaks vanish, =XX becomes the byte.
QByteArray DecodeQp(const QByteArray& in) {
    QByteArray out;
    for (qsizetype i = 0; i < in.size(); ++i) {
        if (in[i] != '=')
            out += in[i];
        else if (in.mid(i + 1, 2) != "\r\n")
            out += char(in.mid(i + 1, 2).toInt(nullptr, 16));
        if (in[i] == '=')
            i += 2;
    }
    return out;
}

// An independent RFC 2047 reader: one encoded word, B or Q, to its bytes.
QByteArray DecodeWord(const QByteArray& word) {
    const QList<QByteArray> parts = word.mid(2, word.size() - 4).split('?');
    if (parts.size() != 3)
        return word;
    if (parts[1].toUpper() == "B")
        return QByteArray::fromBase64(parts[2]);
    QByteArray q = parts[2];
    return DecodeQp(q.replace('_', ' '));
}

// A header value: encoded words joined without the blanks between them, other words as they are.
QString DecodeHeader(const QByteArray& value) {
    QByteArray unfolded = value;
    unfolded.replace("\r\n", "");
    QByteArray out;
    bool lastEncoded = false;
    const QList<QByteArray> words = unfolded.split(' ');
    for (int i = 0; i < words.size(); ++i) {
        const QByteArray& w = words[i];
        const bool encoded = w.startsWith("=?") && w.endsWith("?=");
        if (i > 0 && !(encoded && lastEncoded))
            out += ' ';
        out += encoded ? DecodeWord(w) : w;
        lastEncoded = encoded;
    }
    return QString::fromUtf8(out);
}

const MailAddress kSender{QStringLiteral("Tally Desk"), QStringLiteral("desk@example.org")};

}  // namespace

TEST(MailAddresses, ListIsSplitTrimmedAndAnyInvalidEntryRefusesIt) {
    QList<MailAddress> list;
    QString error;
    ASSERT_TRUE(
        ParseMailAddressList(QStringLiteral(" a@x.org ;;b@y.org; ;Ann Lee <ann@z.org>;"), &list, &error))
        << error.toStdString();
    ASSERT_EQ(list.size(), 3);
    EXPECT_EQ(list[0].address, QStringLiteral("a@x.org"));
    EXPECT_EQ(list[1].address, QStringLiteral("b@y.org"));
    EXPECT_EQ(list[2].name, QStringLiteral("Ann Lee"));
    EXPECT_EQ(list[2].address, QStringLiteral("ann@z.org"));

    list = {MailAddress{}};
    EXPECT_FALSE(ParseMailAddressList(QStringLiteral("a@x.org;not an address;b@y.org"), &list, &error));
    EXPECT_TRUE(error.contains(QStringLiteral("not an address"))) << error.toStdString();
    EXPECT_EQ(list.size(), 1) << "a refused list leaves the output alone";

    for (const char* bad : {"a@", "@x.org", "a..b@x.org", "a@x..org", "a b@x.org", "a@-x.org", "a@x.org>",
                            "<a@x.org", "a@x.org\r\nBcc: evil@x.org"})
        EXPECT_FALSE(ParseMailAddressList(QString::fromLatin1(bad), nullptr, &error)) << bad;
    for (const char* good : {"o'brien@x.org", "first.last+tag@mail.example.co", "a@localhost"})
        EXPECT_TRUE(ParseMailAddressList(QString::fromLatin1(good), nullptr, &error)) << good;
}

TEST(MailComposition, HeadersEnvelopeAndNoBccHeader) {
    const MailMessage msg{QStringLiteral("to@x.org"), QStringLiteral("b1@y.org; b2@y.org;TO@x.org"),
                          QStringLiteral("Weekly report"), QStringLiteral("<p>Hi</p>")};
    const ComposedMail m = ComposeMail(kSender, msg, QDateTime(QDate(2026, 3, 7), QTime(10, 15), Qt::UTC));
    ASSERT_TRUE(m.ok()) << m.error.toStdString();
    const QByteArray h = m.bytes.left(m.bytes.indexOf("\r\n\r\n") + 2);
    EXPECT_TRUE(h.startsWith("Date: Sat, 07 Mar 2026 10:15:00 +0000\r\n")) << h.constData();
    for (const char* line : {"From: Tally Desk <desk@example.org>", "To: to@x.org", "Subject: Weekly report",
                             "MIME-Version: 1.0", "Content-Type: text/html; charset=UTF-8",
                             "Content-Transfer-Encoding: quoted-printable"})
        EXPECT_TRUE(h.contains("\r\n" + QByteArray(line) + "\r\n")) << line;
    EXPECT_TRUE(h.contains("\r\nMessage-ID: <" + m.messageId.toLatin1() + ">\r\n"));
    EXPECT_TRUE(m.messageId.endsWith(QStringLiteral("@example.org")));
    EXPECT_FALSE(m.bytes.contains("b1@y.org")) << "a blind copy must not show in the message";
    // Each address once in the envelope, compared without case.
    EXPECT_EQ(m.envelopeTo, (QList<QByteArray>{"to@x.org", "b1@y.org", "b2@y.org"}));
    EXPECT_EQ(m.envelopeFrom, QByteArray("desk@example.org"));

    const QDateTime west(QDate(2026, 12, 1), QTime(8, 5, 9), Qt::OffsetFromUTC, -(3 * 3600 + 30 * 60));
    EXPECT_EQ(FormatMailDate(west), QByteArray("Tue, 01 Dec 2026 08:05:09 -0330"));
}

TEST(MailComposition, RefusesInjectionAndMissingRecipients) {
    const QString hi = QStringLiteral("Hi");
    const MailMessage refused[] = {
        {QStringLiteral("a@x.org"), {}, QStringLiteral("Hi\r\nBcc: evil@x.org"), {}},
        {QStringLiteral("a@x.org"), {}, QStringLiteral("Hi\nX-Evil: 1"), {}},
        {QStringLiteral("a@x.org\nBcc: evil@x.org"), {}, hi, {}},
        {{}, QStringLiteral("a@x.org\r\n"), hi, {}},
        {QStringLiteral(" ; "), QStringLiteral(";"), hi, {}},
    };
    for (const MailMessage& msg : refused) {
        const ComposedMail m = ComposeMail(kSender, msg);
        EXPECT_FALSE(m.ok()) << msg.to.toStdString() << " / " << msg.subject.toStdString();
        EXPECT_TRUE(m.bytes.isEmpty());
    }
    EXPECT_FALSE(ComposeMail(MailAddress{QStringLiteral("x\r\nBcc: e@x.org"), QStringLiteral("d@x.org")},
                             {QStringLiteral("a@x.org"), {}, hi, {}})
                     .ok());
    // A sender address from the settings with a line break at its end, or inside it.
    for (const char* address : {"d@x.org\n", "d@x.org\r\n", "d@x.org\nBcc: e@x.org", "d@x.org\r"}) {
        const ComposedMail m = ComposeMail(MailAddress{QStringLiteral("Desk"), QString::fromLatin1(address)},
                                           {QStringLiteral("a@x.org"), {}, hi, {}});
        EXPECT_FALSE(m.ok()) << QByteArray(address).toPercentEncoding().toStdString();
        EXPECT_TRUE(m.bytes.isEmpty());
    }
    // Only blind copies: the header says so instead of staying empty.
    const ComposedMail bccOnly = ComposeMail(kSender, {{}, QStringLiteral("b@y.org"), hi, {}});
    ASSERT_TRUE(bccOnly.ok());
    EXPECT_TRUE(bccOnly.bytes.contains("\r\nTo: undisclosed-recipients:;\r\n"));
}

TEST(MailComposition, DisplayNamesAreQuotedOrEncoded) {
    const MailMessage msg{QStringLiteral("\"Lee, Ann\" <ann@x.org>"), {}, QStringLiteral("s"), {}};
    const ComposedMail m =
        ComposeMail(MailAddress{QStringLiteral("Jürgen Weiß"), QStringLiteral("j@x.org")}, msg);
    ASSERT_TRUE(m.ok());
    EXPECT_TRUE(m.bytes.contains("\r\nTo: \"Lee, Ann\" <ann@x.org>\r\n")) << m.bytes.constData();
    // The encoding letter of an encoded word is read without regard to case.
    const QRegularExpression from(QStringLiteral("From: =\\?UTF-8\\?[Bb]\\?([A-Za-z0-9+/=]+)\\?= <j@x.org>"));
    const auto match = from.match(QString::fromLatin1(m.bytes));
    ASSERT_TRUE(match.hasMatch()) << m.bytes.constData();
    EXPECT_EQ(QString::fromUtf8(QByteArray::fromBase64(match.captured(1).toLatin1())),
              QStringLiteral("Jürgen Weiß"));
}

TEST(HeaderEncoding, WholeCharacterWordsShortLinesAndReadableAscii) {
    // 3-byte and 4-byte characters, long enough for several encoded words.
    const QString subject = QStringLiteral("Zeit für 報告 😀 ").repeated(20);
    const QByteArray folded = EncodeHeaderText(subject);
    int words = 0;
    for (const QByteArray& line : folded.split('\n')) {
        EXPECT_LE(line.size(), 78) << line.constData();
        for (const QByteArray& word : line.trimmed().split(' ')) {
            if (!word.startsWith("=?"))
                continue;
            ++words;
            EXPECT_LE(word.size(), 75);
            const QByteArray part = DecodeWord(word);
            EXPECT_EQ(QString::fromUtf8(part).toUtf8(), part) << "each word decodes on its own";
        }
    }
    EXPECT_GT(words, 1);
    EXPECT_EQ(DecodeHeader(folded), subject);

    EXPECT_EQ(EncodeHeaderText(QStringLiteral("Report ready")), QByteArray("Report ready"));
    // Text that a reader would take for an encoded word goes encoded, so it reads back as written.
    for (const char* lookalike : {"=?UTF-8?B?eA==?=", "Hi =?UTF-8?Q?x?= there"}) {
        const QByteArray encoded = EncodeHeaderText(QString::fromLatin1(lookalike));
        EXPECT_TRUE(encoded.startsWith("=?UTF-8?B?")) << encoded.constData();
        EXPECT_EQ(DecodeHeader(encoded), QString::fromLatin1(lookalike));
    }
    const QString longSubject = QStringLiteral("word ").repeated(60).trimmed();
    QByteArray plain = EncodeHeaderText(longSubject);
    for (const QByteArray& line : plain.split('\n'))
        EXPECT_LE(line.size(), 78);
    EXPECT_EQ(QString::fromLatin1(plain.replace("\r\n", "")), longSubject);
}

TEST(QuotedPrintable, RoundTripsAndKeepsLinesShort) {
    QByteArray html =
        QStringLiteral("<p>Grüße = 100%\t</p>\n.leading dot\r\nline with trailing blank \n").toUtf8();
    html += QByteArray(300, 'x') + "\n" + QByteArray(200, '\xC3') + QByteArray("\x00\x01 end", 6);
    const QByteArray qp = EncodeQuotedPrintable(html);
    for (const QByteArray& line : qp.split('\n')) {
        EXPECT_LE(line.size(), 77) << line.constData();  // 76 plus the CR
        const QByteArray content = line.endsWith('\r') ? line.chopped(1) : line;
        EXPECT_FALSE(content.endsWith(' ') || content.endsWith('\t')) << "trailing blanks are encoded";
    }
    for (char c : qp)
        EXPECT_TRUE((c >= 32 && c <= 126) || c == '\t' || c == '\r' || c == '\n') << int(c);
    QByteArray expected = html;
    expected.replace("\r\n", "\n").replace("\n", "\r\n");
    EXPECT_EQ(DecodeQp(qp), expected);
    EXPECT_TRUE(qp.endsWith("=\r\n")) << "no final line break is added to the text";
    // A dot opening a line is left to the SMTP layer, which doubles it on the wire; the sink test
    // sends a ".dot line" and reads it back whole.
}
