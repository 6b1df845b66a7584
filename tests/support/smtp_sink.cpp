#include "support/smtp_sink.h"

#include "support/mail_sink.h"
#include "support/test_env.h"

namespace tlm::test {

std::optional<MailProfile> SinkProfile() {
    const int port = SmtpPort().toInt();
    if (port <= 0 || SmtpSpoolDir().isEmpty())
        return std::nullopt;
    return LocalProfile(port);
}

QJsonObject SinkMail(const QString& messageId) {
    const QString spool = SmtpSpoolDir();
    return spool.isEmpty() ? QJsonObject() : SpooledMail(spool, messageId);
}

}  // namespace tlm::test
