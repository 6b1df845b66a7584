#pragma once

#include <QJsonObject>
#include <QList>
#include <optional>

#include "mail/mail_profile.h"

namespace tlm::test {

// The mail profile that reaches the SMTP sink `make test` runs (loopback, no TLS, no login), or
// nothing when the sink's environment is missing.
std::optional<MailProfile> SinkProfile();
// What the sink has received: one object per mail, from the .json files of its spool. Other test
// processes share the sink, so look for a mail by its Message-ID rather than counting.
QList<QJsonObject> SinkMails();
// The sink's record of the mail with this Message-ID (without angle brackets), or an empty object.
QJsonObject SinkMail(const QString& messageId);

}  // namespace tlm::test
