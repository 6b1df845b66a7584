#pragma once

#include <QString>

namespace tlm::test {

// A fresh, empty folder under the test run's private root.
QString NewTempDir(const QString& name);
// The run's private root; settings, runtime and data folders of the tests live below it.
QString TestRoot();
// Points the per-user settings at a new empty folder and returns the settings file's path.
QString FreshLocalSettings();
// Connection values of the servers `make test` starts, or empty outside it.
QString PostgresConnectionString();  // TLM_TEST_PG
QString SmtpPort();                  // TLM_TEST_SMTP_PORT
QString SmtpSpoolDir();              // TLM_TEST_SMTP_SPOOL
QString LdapUri();                   // TLM_TEST_LDAP_URI
QString LdapBaseDn();                // TLM_TEST_LDAP_BASE
QString LdapBindDn();                // TLM_TEST_LDAP_BIND_DN
QString LdapPassword();              // TLM_TEST_LDAP_PASSWORD
// True when the test servers were started (some server's variable is set): a test that then misses
// its own server fails rather than skips.
bool ServersStarted();
// Path of a built program (set by CMake for tests that run one).
QString BuiltProgram(const QString& name);

}  // namespace tlm::test
