#pragma once

#include <gtest/gtest.h>

#include <QList>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <string>

#include "core/error_report.h"
#include "core/money.h"

namespace tlm::test {

// Records what the failure path would have shown.
class RecordingPresenter : public ErrorPresenter {
  public:
    void showReport(const QString& reportText, bool allowDirect) override {
        reports.append(reportText);
        direct.append(allowDirect);
    }
    void showFriendly(const QString& friendlyText, const QString& reportText) override {
        friendly.append(friendlyText);
        friendlyReports.append(reportText);
    }
    QStringList reports;
    QList<bool> direct;
    QStringList friendly;
    QStringList friendlyReports;
};

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
// Whether the run insists on the servers (`make test` sets TLM_REQUIRE_TEST_SERVERS=1): a test that
// needs one and does not find it then fails instead of skipping.
bool ServersRequired();
// The message of a missing server: why it is missing and how to get it.
std::string MissingServerText(const char* what);

// A money value from a text that must parse ("12.5"), and the same as a cell value.
Money M(const char* text);
QVariant Cash(const char* text);

// A loopback port that nothing listens on.
int ClosedPort();

// Path of a built program (set by CMake for tests that run one).
QString BuiltProgram(const QString& name);

// What a run of the built program left: its exit code (-1 when it crashed or hung) and its output.
struct ToolRun {
    int code = -1;
    QString out, err;
};

// Runs tlm-manager with args, without a display and with this process's settings folder, so it finds
// the test's database; extra adds to or replaces the environment.
ToolRun RunTool(const QStringList& args, const QProcessEnvironment& extra = {});

}  // namespace tlm::test

// Skips (or, under `make test`, fails) the current test when `present` is false. In SetUp the
// fatal failure keeps the body from running.
#define TLM_NEED_SERVER(present, what)                                \
    do {                                                              \
        if (!(present)) {                                             \
            if (::tlm::test::ServersRequired())                       \
                GTEST_FAIL() << ::tlm::test::MissingServerText(what); \
            else                                                      \
                GTEST_SKIP() << ::tlm::test::MissingServerText(what); \
        }                                                             \
    } while (false)
