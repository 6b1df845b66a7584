#include <gtest/gtest.h>

#include <QDir>
#include <QProcess>
#include <QRandomGenerator>

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

QString RandomArgument(QRandomGenerator& rng) {
    static const QString alphabet =
        QStringLiteral("abcXYZ019-+. ,;:'\"\\/$&*?!#%@=_\t") + QChar(0x00E9) + QChar(0x4E2D);
    const int len = rng.bounded(0, 24);
    QString s;
    for (int i = 0; i < len; ++i)
        s += alphabet[rng.bounded(int(alphabet.size()))];
    return s;
}

}  // namespace

TEST(ProgramCommandLine, HelpAndVersionPrintAndExitZero) {
    const QString home = test::NewTempDir(QStringLiteral("cli"));
    RunResult help = Finish(Start({QStringLiteral("--help")}, home), 20000);
    ASSERT_TRUE(help.finished);
    EXPECT_EQ(help.exitCode, kExitNormal);
    EXPECT_TRUE(help.out.contains("Usage: tlm-manager SECTION"));
    EXPECT_TRUE(help.out.contains("14  Database Settings"));
    RunResult version = Finish(Start({QStringLiteral("--version")}, home), 20000);
    EXPECT_EQ(version.exitCode, kExitNormal);
    EXPECT_TRUE(version.out.startsWith("tlm-manager "));
}

TEST(ProgramCommandLine, RefusedArgumentsEndSilently) {
    const QString home = test::NewTempDir(QStringLiteral("cli"));
    for (const QStringList& args :
         {QStringList{}, QStringList{QStringLiteral("projects")}, QStringList{"1", "2"},
          QStringList{QStringLiteral("-h")}, QStringList{QStringLiteral("0x10")}}) {
        RunResult r = Finish(Start(args, home), 20000);
        ASSERT_TRUE(r.finished) << args.join(' ').toStdString();
        EXPECT_EQ(r.exitCode, kExitRefusedArgument);
        EXPECT_TRUE(r.out.isEmpty());
        EXPECT_TRUE(r.err.isEmpty()) << r.err.toStdString();
    }
    EXPECT_FALSE(QDir(home + QStringLiteral("/config")).exists());
}

// A thousand random command lines (seeded): none crashes, hangs, shows anything or writes settings.
TEST(ProgramCommandLine, RandomNonNumericLinesNeverCrashOrTouchAnything) {
    const QString home = test::NewTempDir(QStringLiteral("fuzz"));
    QRandomGenerator rng(20261123);
    QList<QStringList> lines;
    while (lines.size() < 1000) {
        QStringList args;
        const int n = rng.bounded(0, 4);
        for (int i = 0; i < n; ++i)
            args << RandomArgument(rng);
        // Numeric lines open a screen by design; they are covered by the dispatch tests.
        if (ParseCommandLine(args).kind != CommandLine::Silent)
            continue;
        lines << args;
    }
    constexpr int kParallel = 8;
    int checked = 0;
    for (int i = 0; i < lines.size(); i += kParallel) {
        QList<QProcess*> running;
        for (int j = i; j < qMin(i + kParallel, int(lines.size())); ++j)
            running << Start(lines[j], home);
        for (int j = 0; j < running.size(); ++j) {
            RunResult r = Finish(running[j], 20000);
            const std::string shown = lines[i + j].join(QStringLiteral("|")).toStdString();
            ASSERT_TRUE(r.finished) << "hung on: " << shown;
            ASSERT_EQ(r.exitCode, kExitRefusedArgument) << shown;
            ASSERT_TRUE(r.out.isEmpty() && r.err.isEmpty()) << shown << ": " << r.err.toStdString();
            ++checked;
        }
    }
    EXPECT_EQ(checked, 1000);
    EXPECT_FALSE(QDir(home + QStringLiteral("/config")).exists());
    EXPECT_FALSE(QDir(home + QStringLiteral("/data")).exists());
}
