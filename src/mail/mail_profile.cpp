#include "mail/mail_profile.h"

#include <pwd.h>
#include <unistd.h>

#include "core/error_report.h"
#include "core/local_settings.h"

namespace tlm {

namespace {

const QString kApp = QStringLiteral("TLM");

QString Get(const QString& key, const QString& def, Failure* failure) {
    return GetSetting(kApp, kMailProfileSection, key, def, failure);
}

}  // namespace

QString MailTlsModeName(MailTlsMode mode) {
    switch (mode) {
        case MailTlsMode::None:
            return QStringLiteral("none");
        case MailTlsMode::Implicit:
            return QStringLiteral("tls");
        case MailTlsMode::StartTls:
            break;
    }
    return QStringLiteral("starttls");
}

MailTlsMode ParseMailTlsMode(const QString& text) {
    const QString t = text.trimmed().toLower();
    if (t == QLatin1String("none"))
        return MailTlsMode::None;
    if (t == QLatin1String("tls") || t == QLatin1String("smtps"))
        return MailTlsMode::Implicit;
    return MailTlsMode::StartTls;
}

int MailProfile::effectivePort() const {
    if (port > 0)
        return port;
    switch (tls) {
        case MailTlsMode::None:
            return 25;
        case MailTlsMode::Implicit:
            return 465;
        case MailTlsMode::StartTls:
            break;
    }
    return 587;
}

MailProfile LoadMailProfile(Failure* failure) {
    MailProfile p;
    p.senderName = Get(QStringLiteral("SenderName"), QString(), failure).trimmed();
    p.senderAddress = Get(QStringLiteral("SenderAddress"), QString(), failure).trimmed();
    p.host = Get(QStringLiteral("SmtpHost"), QString(), failure).trimmed();
    p.port = Get(QStringLiteral("SmtpPort"), QStringLiteral("0"), failure).trimmed().toInt();
    if (p.port < 0 || p.port > 65535)
        p.port = 0;
    p.tls = ParseMailTlsMode(Get(QStringLiteral("TlsMode"), QStringLiteral("starttls"), failure));
    p.user = Get(QStringLiteral("SmtpUser"), QString(), failure);
    p.password = Get(QStringLiteral("SmtpPassword"), QString(), failure);
    p.verifyCertificate = Get(QStringLiteral("VerifyCertificate"), QStringLiteral("1"), failure).trimmed() !=
                          QLatin1String("0");
    bool ok = false;
    const int timeout =
        Get(QStringLiteral("ConnectTimeout"), QStringLiteral("5"), failure).trimmed().toInt(&ok);
    if (ok && timeout > 0 && timeout <= 300)
        p.connectTimeoutSeconds = timeout;
    p.errorReportMailbox = Get(QStringLiteral("ErrorReportMailbox"), QString(), failure).trimmed();
    if (!p.password.isEmpty())
        RegisterSecret(p.password);
    return p;
}

bool SaveMailProfile(const MailProfile& p, Failure* failure) {
    if (!p.password.isEmpty())
        RegisterSecret(p.password);
    const QList<QPair<QString, QString>> values = {
        {QStringLiteral("SenderName"), p.senderName},
        {QStringLiteral("SenderAddress"), p.senderAddress},
        {QStringLiteral("SmtpHost"), p.host},
        {QStringLiteral("SmtpPort"), QString::number(p.port)},
        {QStringLiteral("TlsMode"), MailTlsModeName(p.tls)},
        {QStringLiteral("SmtpUser"), p.user},
        {QStringLiteral("SmtpPassword"), p.password},
        {QStringLiteral("VerifyCertificate"),
         p.verifyCertificate ? QStringLiteral("1") : QStringLiteral("0")},
        {QStringLiteral("ConnectTimeout"), QString::number(p.connectTimeoutSeconds)},
        {QStringLiteral("ErrorReportMailbox"), p.errorReportMailbox},
    };
    for (const auto& [key, value] : values) {
        if (!SaveSetting(kApp, kMailProfileSection, key, value, failure))
            return false;
    }
    return true;
}

DirectorySettings LoadDirectorySettings(Failure* failure) {
    DirectorySettings d;
    d.url = Get(QStringLiteral("LdapUrl"), QString(), failure).trimmed();
    d.baseDn = Get(QStringLiteral("LdapBaseDn"), QString(), failure).trimmed();
    d.bindDn = Get(QStringLiteral("LdapBindDn"), QString(), failure).trimmed();
    d.password = Get(QStringLiteral("LdapPassword"), QString(), failure);
    d.startTls =
        Get(QStringLiteral("LdapStartTls"), QStringLiteral("0"), failure).trimmed() == QLatin1String("1");
    bool ok = false;
    const int timeout =
        Get(QStringLiteral("LdapTimeout"), QStringLiteral("10"), failure).trimmed().toInt(&ok);
    if (ok && timeout > 0 && timeout <= 300)
        d.timeoutSeconds = timeout;
    if (!d.password.isEmpty())
        RegisterSecret(d.password);
    return d;
}

bool SaveDirectorySettings(const DirectorySettings& d, Failure* failure) {
    if (!d.password.isEmpty())
        RegisterSecret(d.password);
    const QList<QPair<QString, QString>> values = {
        {QStringLiteral("LdapUrl"), d.url},
        {QStringLiteral("LdapBaseDn"), d.baseDn},
        {QStringLiteral("LdapBindDn"), d.bindDn},
        {QStringLiteral("LdapPassword"), d.password},
        {QStringLiteral("LdapStartTls"), d.startTls ? QStringLiteral("1") : QStringLiteral("0")},
        {QStringLiteral("LdapTimeout"), QString::number(d.timeoutSeconds)},
    };
    for (const auto& [key, value] : values) {
        if (!SaveSetting(kApp, kMailProfileSection, key, value, failure))
            return false;
    }
    return true;
}

QString UserNameFromMailboxName(const QString& mailboxName) {
    const QString sep = QStringLiteral(" - ");
    const qsizetype at = mailboxName.indexOf(sep);
    if (at >= 0)
        return mailboxName.mid(at + sep.size()).trimmed();
    // A bare word is no name: matched by substring it would pick any member containing it.
    if (mailboxName.contains(u',') || mailboxName.contains(u'@'))
        return mailboxName;
    return QString();
}

QString GetUserNameFromMailbox() {
    return UserNameFromMailboxName(LoadMailProfile().senderName);
}

QString fncGetUserNameFromEnvironment() {
    const QString user = qEnvironmentVariable("USER").trimmed();
    if (!user.isEmpty())
        return user;
    if (const passwd* pw = getpwuid(geteuid()); pw && pw->pw_name)
        return QString::fromLocal8Bit(pw->pw_name);
    return QString();
}

}  // namespace tlm
