#include <gtest/gtest.h>

#include <QDir>
#include <QProcess>

#include "core/startup.h"
#include "support/test_env.h"

using namespace tlm;

// Help and version through the real process, and odd lines: none crashes, hangs, shows anything or
// writes settings. The parser and Main's flow are fuzzed in-process by the core tests; this checks the
// process.
TEST(ProgramCommandLine, HelpAndVersionPrintAndOddLinesEndSilentlyTouchingNothing) {
    const QString home = test::NewTempDir(QStringLiteral("cli"));
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/config"));
    env.insert(QStringLiteral("XDG_DATA_HOME"), home + QStringLiteral("/data"));
    env.insert(QStringLiteral("HOME"), home);
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    const struct {
        QStringList args;
        int code;
        QByteArray printsFirst;  // empty: nothing on either stream
    } runs[] = {
        {{"--help"}, kExitNormal, "Usage: tlm-manager SECTION"},
        {{"--version"}, kExitNormal, "tlm-manager "},
        {{}, kExitRefusedArgument, ""},
        {{"projects"}, kExitRefusedArgument, ""},
        {{"3;touch x"}, kExitRefusedArgument, ""},
        {{"--version", "x"}, kExitRefusedArgument, ""},
        {{QString(QChar(0x4E2D)) + QChar(0x00E9)}, kExitRefusedArgument, ""},
    };
    for (const auto& run : runs) {
        SCOPED_TRACE(run.args.join(u'|').toStdString());
        QProcess p;
        p.setProcessEnvironment(env);
        p.start(test::BuiltProgram(QStringLiteral("tlm-manager")), run.args);
        if (!p.waitForFinished(20000)) {
            p.kill();
            p.waitForFinished(2000);
            ADD_FAILURE() << "hung";
            continue;
        }
        EXPECT_EQ(p.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(p.exitCode(), run.code);
        const QByteArray out = p.readAllStandardOutput();
        EXPECT_TRUE(out.startsWith(run.printsFirst)) << out.toStdString();
        EXPECT_EQ(out.isEmpty(), run.printsFirst.isEmpty());
        EXPECT_TRUE(p.readAllStandardError().isEmpty());
    }
    EXPECT_FALSE(QDir(home + QStringLiteral("/config")).exists());
    EXPECT_FALSE(QDir(home + QStringLiteral("/data")).exists());
}
