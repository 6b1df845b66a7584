#pragma once

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

#include "mail/mail_profile.h"

// Mail tests: a plain sender on a local port, and what the SMTP sink of the test run received.
namespace tlm::test {

// A sender at 127.0.0.1:port, in the clear.
inline MailProfile LocalProfile(int port) {
    MailProfile p;
    p.senderName = QStringLiteral("Tally Desk");
    p.senderAddress = QStringLiteral("desk@example.org");
    p.host = QStringLiteral("127.0.0.1");
    p.port = port;
    p.tls = MailTlsMode::None;
    return p;
}

inline QByteArray ReadAll(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

inline QStringList JsonStrings(const QJsonValue& v) {
    QStringList out;
    for (const QJsonValue& e : v.toArray())
        out << e.toString();
    return out;
}

// The sink writes a .json reading beside each .eml it receives; in name order, that is arrival order.
inline QStringList SpoolFiles(const QString& spool) {
    QStringList out;
    for (const QString& f : QDir(spool).entryList({QStringLiteral("*.json")}, QDir::Files, QDir::Name))
        out << spool + QLatin1Char('/') + f;
    return out;
}

// The Message-IDs the sink received, in the order it received them.
inline QStringList SpoolIds(const QString& spool) {
    QStringList ids;
    for (const QString& f : SpoolFiles(spool))
        ids << QJsonDocument::fromJson(ReadAll(f)).object().value(QStringLiteral("message_id")).toString();
    return ids;
}

// The sink's reading of the mail with this Message-ID, empty when none arrived; rawPath gets the .eml.
inline QJsonObject SpooledMail(const QString& spool, const QString& messageId, QString* rawPath = nullptr) {
    const QString wanted = QLatin1Char('<') + messageId + QLatin1Char('>');
    for (const QString& f : SpoolFiles(spool)) {
        const QJsonObject o = QJsonDocument::fromJson(ReadAll(f)).object();
        if (o.value(QStringLiteral("message_id")).toString() != wanted)
            continue;
        if (rawPath)
            *rawPath = f.chopped(5) + QStringLiteral(".eml");
        return o;
    }
    return {};
}

}  // namespace tlm::test
