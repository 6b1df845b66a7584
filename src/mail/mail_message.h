#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>

namespace tlm {

// A file sent along with a mail, as its bytes.
struct MailAttachment {
    QString fileName;     // the name the recipient sees, without a folder
    QByteArray mimeType;  // "type/subtype"; empty: application/octet-stream
    QByteArray data;
};

// One outgoing mail. `to` and `bcc` hold addresses separated by ";".
struct MailMessage {
    QString to;
    QString bcc;
    QString subject;
    QString html;
    QList<MailAttachment> attachments = {};  // a default, so the four-text form stays complete
};

struct MailAddress {
    QString name;     // display name, may be empty
    QString address;  // the bare address, "local@domain"
};

// A bare address: dot-atom local part, "@", a host name of letters, digits and hyphens.
bool IsValidMailAddress(const QString& address);
// "local@domain" or "Name <local@domain>"; a line break anywhere is refused.
bool ParseMailAddress(const QString& text, MailAddress* out, QString* error);
// Split at ";", trimmed; blanks and doubled ";" are dropped. The first invalid entry refuses the
// whole list, so a typo is never half-sent.
bool ParseMailAddressList(const QString& list, QList<MailAddress>* out, QString* error);

// The notification rule: the text before the first ";" is the visible addressee, the rest are
// blind copies. No trimming or checking here; the transport does that.
struct RecipientSplit {
    QString to;
    QString bcc;
};
RecipientSplit SplitNotificationRecipients(const QString& sRecipients);
MailMessage MakeNotificationMail(const QString& sRecipients, const QString& subject, const QString& html);

// Mail is composed and read with GMime (encoded words, quoted-printable, folding); this starts it
// once per process.
void InitMimeLibrary();
// Header text as RFC 2047 encoded words when it is not plain ASCII (or could be mistaken for
// one), folded so no line exceeds the limits. The caller has refused CR/LF already.
QByteArray EncodeHeaderText(const QString& text);
// A header value as read (folded lines and encoded words allowed) as text.
QString DecodeHeaderText(const QByteArray& raw);
// Quoted-printable (RFC 2045) with CRLF line ends; LF and lone CR in the input become CRLF.
// The result ends with CRLF; a text without a final line break ends in a soft break.
QByteArray EncodeQuotedPrintable(const QByteArray& bytes);
// "Sat, 07 Mar 2026 10:15:00 +0100", English names whatever the locale.
QByteArray FormatMailDate(const QDateTime& date);

// A message ready for the wire, with its envelope.
struct ComposedMail {
    QByteArray bytes;              // RFC 5322, CRLF line ends
    QByteArray envelopeFrom;       // bare address
    QList<QByteArray> envelopeTo;  // To then Bcc, each address once
    QString messageId;             // without the angle brackets
    QString error;                 // set when the message was refused; nothing else is then
    bool ok() const { return error.isEmpty(); }
};
// Bcc goes into the envelope only, never into the headers.
ComposedMail ComposeMail(const MailAddress& from, const MailMessage& message,
                         const QDateTime& date = QDateTime::currentDateTime());

}  // namespace tlm
