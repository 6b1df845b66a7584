#include <gtest/gtest.h>

#include <QDir>
#include <QProcess>

#include "core/startup.h"
#include "support/test_env.h"

using namespace tlm;

namespace {

struct RunResult {
    int exitCode = -1;
    bool finished = false;
    QByteArray out, err;
};

// Runs the built program with its own empty settings and data folders.
QProcess* Start(const QStringList& args, const QString& home) {
    auto* p = new QProcess;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/config"));
    env.insert(QStringLiteral("XDG_DATA_HOME"), home + QStringLiteral("/data"));
    env.insert(QStringLiteral("HOME"), home);
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    p->setProcessEnvironment(env);
    p->start(test::BuiltProgram(QStringLiteral("tlm-manager")), args);
    return p;
}

RunResult Finish(QProcess* p, int timeoutMs) {
    RunResult r;
    r.finished = p->waitForFinished(timeoutMs);
    if (!r.finished) {
        p->kill();
        p->waitForFinished(2000);
    }
    r.exitCode = p->exitStatus() == QProcess::NormalExit ? p->exitCode() : -1;
    r.out = p->readAllStandardOutput();
    r.err = p->readAllStandardError();
    delete p;
    return r;
}

}  // namespace

TEST(ProgramCommandLine, HelpAndVersionPrintAndExitZero) {
    const QString home = test::NewTempDir(QStringLiteral("cli"));
    RunResult help = Finish(Start({QStringLiteral("--help")}, home), 20000);
    ASSERT_TRUE(help.finished);
    EXPECT_EQ(help.exitCode, kExitNormal);
    EXPECT_TRUE(help.out.contains("Usage: tlm-manager SECTION"));
    RunResult version = Finish(Start({QStringLiteral("--version")}, home), 20000);
    EXPECT_EQ(version.exitCode, kExitNormal);
    EXPECT_TRUE(version.out.startsWith("tlm-manager "));
}

// Odd lines through the real process: none crashes, hangs, shows anything or writes settings.
// The parser and Main's flow are fuzzed in-process by the core tests; this checks the process.
TEST(ProgramCommandLine, OddLinesEndSilentlyAndTouchNothing) {
    const QString home = test::NewTempDir(QStringLiteral("odd"));
    const QList<QStringList> lines = {
        {},
        {QStringLiteral("projects")},
        {QStringLiteral("1"), QStringLiteral("2")},
        {QStringLiteral("-h")},
        {QStringLiteral("0x10")},
        {QString()},
        {QStringLiteral("3;touch x")},
        {QStringLiteral("\"\t'")},
        {QStringLiteral("12abc")},
        {QStringLiteral("--helpx")},
        {QStringLiteral("--version"), QStringLiteral("x")},
        {QString(QChar(0x4E2D)) + QChar(0x00E9)},
        {QStringLiteral("$HOME"), QStringLiteral("*")},
    };
    QList<QProcess*> running;
    for (const QStringList& args : lines)
        running << Start(args, home);
    for (int i = 0; i < running.size(); ++i) {
        RunResult r = Finish(running[i], 20000);
        const std::string shown = lines[i].join(QStringLiteral("|")).toStdString();
        ASSERT_TRUE(r.finished) << "hung on: " << shown;
        EXPECT_EQ(r.exitCode, kExitRefusedArgument) << shown;
        EXPECT_TRUE(r.out.isEmpty() && r.err.isEmpty()) << shown << ": " << r.err.toStdString();
    }
    EXPECT_FALSE(QDir(home + QStringLiteral("/config")).exists());
    EXPECT_FALSE(QDir(home + QStringLiteral("/data")).exists());
}
