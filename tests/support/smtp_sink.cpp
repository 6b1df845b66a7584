#include "support/smtp_sink.h"

#include <QUuid>

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

namespace {

QString Tagged(const QString& lead, int code) {
    return QStringLiteral("%1-%2-%3@example.org")
        .arg(lead)
        .arg(code)
        .arg(QUuid::createUuid().toString(QUuid::Id128).left(8));
}

}  // namespace

QString SinkRefusedRecipient(int code) {
    return Tagged(QStringLiteral("refuse"), code);
}

QString SinkDataRefusingRecipient(int code) {
    return Tagged(QStringLiteral("reject-data"), code);
}

}  // namespace tlm::test
