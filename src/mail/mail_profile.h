#pragma once

#include <QString>

#include "core/failure.h"

namespace tlm {

// How the SMTP connection is protected: plain, upgraded with STARTTLS, or TLS from the start.
enum class MailTlsMode { None, StartTls, Implicit };

QString MailTlsModeName(MailTlsMode mode);  // "none", "starttls", "tls"
// Unknown text gives STARTTLS, the safe choice for a hand-edited file.
MailTlsMode ParseMailTlsMode(const QString& text);

inline const QString kMailProfileSection = QStringLiteral("MailProfile");

// The account mail goes out from; kept in the local settings, group "MailProfile".
struct MailProfile {
    QString senderName;
    QString senderAddress;
    QString host;
    int port = 0;  // 0: the usual port of the TLS mode
    MailTlsMode tls = MailTlsMode::StartTls;
    QString user;  // empty: no login
    QString password;
    bool verifyCertificate = true;
    int connectTimeoutSeconds = 5;
    QString errorReportMailbox;  // where error reports go; empty: no report mail

    int effectivePort() const;
};

// What is wrong with a profile as typed, in words for the user; empty when it can be used.
QString CheckMailProfile(const MailProfile& profile);
// The port field: empty or 0 means the usual port of the TLS mode. False with a message otherwise.
bool ParseMailPort(const QString& text, int* port, QString* error);

// Reading registers the password as a secret, so no message or log can show it.
MailProfile LoadMailProfile(Failure* failure = nullptr);
bool SaveMailProfile(const MailProfile& profile, Failure* failure = nullptr);

// The LDAP directory the member import searches, kept beside the mail profile (same group, same
// private file). An empty URL: no directory, the address files only.
struct DirectorySettings {
    QString url;  // ldap://host[:port] or ldaps://host[:port]
    QString baseDn;
    QString bindDn;  // empty: anonymous
    QString password;
    bool startTls =
        true;  // upgrade an ldap:// connection before the bind; loaded as on when a password is stored
    int timeoutSeconds = 10;
};
// Reading registers the password as a secret, as for the mail profile.
DirectorySettings LoadDirectorySettings(Failure* failure = nullptr);
bool SaveDirectorySettings(const DirectorySettings& settings, Failure* failure = nullptr);

// The user's name as the mail profile's sender name gives it, read as a mailbox name: the text
// behind " - " ("Box - Ann Lee" gives "Ann Lee"), else the name itself when it holds "," or "@",
// else empty.
QString GetUserNameFromMailbox();
QString UserNameFromMailboxName(const QString& mailboxName);
// The login name: USER, else the password database.
QString fncGetUserNameFromEnvironment();

}  // namespace tlm
