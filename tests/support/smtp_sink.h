#pragma once

#include <QJsonObject>
#include <optional>

#include "mail/mail_profile.h"

namespace tlm::test {

// The mail profile that reaches the SMTP sink `make test` runs (loopback, no TLS, no login), or
// nothing when the sink's environment is missing.
std::optional<MailProfile> SinkProfile();
// The sink's record of the mail with this Message-ID (without angle brackets), or an empty object.
// Other test processes share the sink, so a mail is looked for by its Message-ID, never counted.
QJsonObject SinkMail(const QString& messageId);
// Addresses that make the sink refuse (scripts/smtp_sink.py): at RCPT with this reply code, or the
// whole mail at the end of DATA. Each call gives a new address, so runs sharing the sink do not meet.
QString SinkRefusedRecipient(int code);
QString SinkDataRefusingRecipient(int code);

}  // namespace tlm::test
