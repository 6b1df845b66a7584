#include "mail/mail_profile.h"

#include <pwd.h>
#include <unistd.h>

#include "core/error_report.h"
#include "core/local_settings.h"
#include "mail/mail_message.h"

namespace tlm {

namespace {

const QString kApp = QStringLiteral("TLM");

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
    SettingsSection section(kApp, kMailProfileSection);
    const auto Get = [&](const QString& key, const QString& def, Failure* f) {
        return section.get(key, def, f);
    };
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
    return SaveSettingsGroup(kApp, kMailProfileSection, values, failure);
}

DirectorySettings LoadDirectorySettings(Failure* failure) {
    SettingsSection section(kApp, kMailProfileSection);
    const auto Get = [&](const QString& key, const QString& def, Failure* f) {
        return section.get(key, def, f);
    };
    DirectorySettings d;
    d.url = Get(QStringLiteral("LdapUrl"), QString(), failure).trimmed();
    d.baseDn = Get(QStringLiteral("LdapBaseDn"), QString(), failure).trimmed();
    d.bindDn = Get(QStringLiteral("LdapBindDn"), QString(), failure).trimmed();
    d.password = Get(QStringLiteral("LdapPassword"), QString(), failure);
    d.startTls = Get(QStringLiteral("LdapStartTls"),
                     d.password.isEmpty() ? QStringLiteral("0") : QStringLiteral("1"), failure)
                     .trimmed() == QLatin1String("1");
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
    return SaveSettingsGroup(kApp, kMailProfileSection, values, failure);
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

namespace {
bool HasLineBreak(const QString& text) {
    return text.contains(QLatin1Char('\r')) || text.contains(QLatin1Char('\n'));
}
}  // namespace

QString CheckMailProfile(const MailProfile& p) {
    if (HasLineBreak(p.senderName))
        return QStringLiteral("The sender name cannot hold a line break.");
    if (p.senderAddress.isEmpty() && !p.host.isEmpty())
        return QStringLiteral("Enter the sender address the mail goes out from.");
    if (!p.senderAddress.isEmpty() && !IsValidMailAddress(p.senderAddress))
        return QStringLiteral("The sender address \"%1\" is not a valid e-mail address.")
            .arg(p.senderAddress.simplified());
    // Same refusal as the transport's, so what is saved can also be used.
    for (const QChar c : {QLatin1Char(' '), QLatin1Char('\t'), QLatin1Char('/'), QLatin1Char('@')}) {
        if (p.host.contains(c))
            return QStringLiteral(
                       "The SMTP server \"%1\" is not a host name: give the name or address alone, "
                       "without spaces, \"/\" or \"@\".")
                .arg(p.host.simplified());
    }
    if (p.port < 0 || p.port > 65535)
        return QStringLiteral("The port %1 is out of range: enter a number from 1 to 65535.").arg(p.port);
    if (HasLineBreak(p.user))
        return QStringLiteral("The user name cannot hold a line break.");
    if (p.connectTimeoutSeconds < 1 || p.connectTimeoutSeconds > 300)
        return QStringLiteral("The connect timeout must be from 1 to 300 seconds.");
    QString why;
    if (!ParseMailAddressList(p.errorReportMailbox, nullptr, &why))
        return QStringLiteral("Error report mailbox: ") + why;
    return QString();
}

bool ParseMailPort(const QString& text, int* port, QString* error) {
    const QString t = text.trimmed();
    if (t.isEmpty()) {
        *port = 0;
        return true;
    }
    bool ok = false;
    const int value = t.toInt(&ok);
    if (!ok || value < 0 || value > 65535) {
        if (error)
            *error = QStringLiteral(
                         "The port \"%1\" is out of range: enter a number from 1 to 65535, or leave it "
                         "empty for the usual port of the security mode.")
                         .arg(t);
        return false;
    }
    *port = value;
    return true;
}

}  // namespace tlm
