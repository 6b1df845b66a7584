#pragma once

#include <gtest/gtest.h>

#include <QFile>
#include <QString>

#include "mail/mail_profile.h"
#include "support/test_env.h"

namespace tlm::test {

// The directory the test servers hold (people, groups, 2,000 bulk entries), bound as its reader.
inline DirectorySettings TestDirectory() {
    DirectorySettings d;
    d.url = LdapUri();
    d.baseDn = LdapBaseDn();
    d.bindDn = LdapBindDn();
    d.password = LdapPassword();
    d.timeoutSeconds = 10;
    return d;
}

inline QString WriteFile(const QString& dir, const QString& name, const QByteArray& bytes) {
    const QString path = dir + QLatin1Char('/') + name;
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly) || f.write(bytes) != bytes.size())
        ADD_FAILURE() << "cannot write " << path.toStdString();
    return path;
}

}  // namespace tlm::test

// Without the directory a test skips, or fails when the run insists on its servers.
#define TLM_REQUIRE_LDAP() \
    TLM_NEED_SERVER(!::tlm::test::LdapUri().isEmpty(), "the directory: TLM_TEST_LDAP_URI")
