#include "support/test_env.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <QSettings>
#include <QTcpServer>
#include <QUuid>

namespace tlm::test {

QString TestRoot() {
    static const QString root = [] {
        const QString r =
            QDir::tempPath() + QStringLiteral("/tlm-tests-%1").arg(QCoreApplication::applicationPid());
        QDir().mkpath(r);
        return r;
    }();
    return root;
}

QString NewTempDir(const QString& name) {
    const QString dir = TestRoot() + QLatin1Char('/') + name + QLatin1Char('-') +
                        QUuid::createUuid().toString(QUuid::Id128).left(8);
    QDir(dir).removeRecursively();
    QDir().mkpath(dir);
    return dir;
}

QString FreshLocalSettings() {
    const QString dir = NewTempDir(QStringLiteral("config"));
    qputenv("XDG_CONFIG_HOME", dir.toLocal8Bit());
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, dir);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, dir);
    return dir + QStringLiteral("/Orrinwell/TLM.conf");
}

QString PostgresConnectionString() {
    return qEnvironmentVariable("TLM_TEST_PG");
}
QString SmtpPort() {
    return qEnvironmentVariable("TLM_TEST_SMTP_PORT");
}
QString SmtpSpoolDir() {
    return qEnvironmentVariable("TLM_TEST_SMTP_SPOOL");
}
QString LdapUri() {
    return qEnvironmentVariable("TLM_TEST_LDAP_URI");
}
QString LdapBaseDn() {
    return qEnvironmentVariable("TLM_TEST_LDAP_BASE");
}
QString LdapBindDn() {
    return qEnvironmentVariable("TLM_TEST_LDAP_BIND_DN");
}
QString LdapPassword() {
    return qEnvironmentVariable("TLM_TEST_LDAP_PASSWORD");
}

bool ServersRequired() {
    return qEnvironmentVariable("TLM_REQUIRE_TEST_SERVERS") == QLatin1String("1");
}

std::string MissingServerText(const char* what) {
    return std::string(what) +
           (ServersRequired() ? " is required (TLM_REQUIRE_TEST_SERVERS=1) but its environment is missing"
                              : " is not set: run through `make test` or scripts/test-servers.sh, "
                                "which start the server");
}

Money M(const char* text) {
    const std::optional<Money> m = Money::parse(QString::fromLatin1(text));
    EXPECT_TRUE(m.has_value()) << text;
    return m.value_or(Money{});
}

QVariant Cash(const char* text) {
    return QVariant::fromValue(M(text));
}

int ClosedPort() {
    QTcpServer s;
    s.listen(QHostAddress::LocalHost, 0);
    const int port = s.serverPort();
    s.close();
    return port;
}

QString BuiltProgram(const QString& name) {
    const QString dir = qEnvironmentVariable("TLM_BUILD_BIN_DIR", QStringLiteral(TLM_BUILD_BIN_DIR));
    return QDir(dir).absoluteFilePath(name);
}

ToolRun RunTool(const QStringList& args, const QProcessEnvironment& extra) {
    QProcess p;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        env.remove(QString::fromLatin1(name));
    for (const QString& key : extra.keys())
        env.insert(key, extra.value(key));
    p.setProcessEnvironment(env);
    p.start(BuiltProgram(QStringLiteral("tlm-manager")), args);
    ToolRun r;
    if (p.waitForFinished(120000) && p.exitStatus() == QProcess::NormalExit)
        r.code = p.exitCode();
    else {
        p.kill();
        p.waitForFinished(2000);
    }
    r.out = QString::fromLocal8Bit(p.readAllStandardOutput());
    r.err = QString::fromLocal8Bit(p.readAllStandardError());
    return r;
}

}  // namespace tlm::test
