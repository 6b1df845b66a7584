#pragma once

#include <gtest/gtest.h>

#include <QFile>
#include <QString>

#include "mail/mail_profile.h"
#include "support/test_env.h"

namespace tlm::test {

// The directory the test servers hold (people, groups, 2,000 bulk entries, a group of 3,000), bound
// as its reader over StartTLS, which is on unless turned off.
inline DirectorySettings TestDirectory() {
    DirectorySettings d;
    d.url = LdapUri();
    d.baseDn = LdapBaseDn();
    d.bindDn = LdapBindDn();
    d.password = LdapPassword();
    d.timeoutSeconds = 10;
    return d;
}

// The same server's ldaps:// address; its certificate is trusted through LDAPTLS_CACERT.
inline QString LdapsUri() {
    return qEnvironmentVariable("TLM_TEST_LDAPS_URI");
}

inline bool LdapTlsReady() {
    return !LdapUri().isEmpty() && !LdapsUri().isEmpty() && !qEnvironmentVariable("LDAPTLS_CACERT").isEmpty();
}

inline QString WriteFile(const QString& dir, const QString& name, const QByteArray& bytes) {
    const QString path = dir + QLatin1Char('/') + name;
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly) || f.write(bytes) != bytes.size())
        ADD_FAILURE() << "cannot write " << path.toStdString();
    return path;
}

}  // namespace tlm::test

// Without the directory a test skips, or fails when the run insists on its servers. The directory
// speaks TLS, so its certificate must be known too.
#define TLM_REQUIRE_LDAP()                       \
    TLM_NEED_SERVER(::tlm::test::LdapTlsReady(), \
                    "the directory: TLM_TEST_LDAP_URI, TLM_TEST_LDAPS_URI and LDAPTLS_CACERT")
