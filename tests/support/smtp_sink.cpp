#include "support/smtp_sink.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>

#include "support/test_env.h"

namespace tlm::test {

std::optional<MailProfile> SinkProfile() {
    const int port = SmtpPort().toInt();
    if (port <= 0 || SmtpSpoolDir().isEmpty())
        return std::nullopt;
    MailProfile p;
    p.senderName = QStringLiteral("Tally Desk");
    p.senderAddress = QStringLiteral("desk@example.org");
    p.host = QStringLiteral("127.0.0.1");
    p.port = port;
    p.tls = MailTlsMode::None;
    return p;
}

QList<QJsonObject> SinkMails() {
    QList<QJsonObject> out;
    const QString spool = SmtpSpoolDir();
    if (spool.isEmpty())
        return out;
    for (const QString& f : QDir(spool).entryList({QStringLiteral("*.json")}, QDir::Files)) {
        QFile file(spool + QLatin1Char('/') + f);
        if (file.open(QIODevice::ReadOnly))
            out.append(QJsonDocument::fromJson(file.readAll()).object());
    }
    return out;
}

QJsonObject SinkMail(const QString& messageId) {
    const QString wanted = QLatin1Char('<') + messageId + QLatin1Char('>');
    for (const QJsonObject& o : SinkMails())
        if (o.value(QStringLiteral("message_id")).toString() == wanted)
            return o;
    return {};
}

}  // namespace tlm::test
