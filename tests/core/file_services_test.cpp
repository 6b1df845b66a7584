#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QDir>
#include <QFile>

#include "core/error_report.h"
#include "core/file_services.h"
#include "core/prompt.h"
#include "support/test_env.h"

using namespace tlm;

namespace {

class RecordingLauncher : public ShellLauncher {
  public:
    QStringList urls, programs;
    bool startOk = true;
    bool openUrl(const QString& url) override {
        urls << url;
        return true;
    }
    bool startProgram(const QString& path, const QString& args, const QString&) override {
        programs << path + QLatin1Char(' ') + args;
        return startOk;
    }
};

}  // namespace

TEST(FileServices, LinksPassWithoutAFileTestProgramsAreLookedFor) {
    for (const char* link :
         {"http://example.invalid/x", "HTTPS://x.invalid", "mailto:a@b.invalid", "MailTo:x"}) {
        const RunTarget t =
            ResolveRunTarget(QString::fromLatin1(link), QStringLiteral("/nonexistent"), QString());
        EXPECT_TRUE(t.isLink) << link;
        EXPECT_EQ(t.path, QString::fromLatin1(link));
    }
    // A program is looked for in the folder, then beside the application.
    const QString folder = test::NewTempDir(QStringLiteral("apps"));
    const QString appDir = test::NewTempDir(QStringLiteral("appdir"));
    QFile(appDir + QStringLiteral("/tool")).open(QIODevice::WriteOnly);
    RunTarget t = ResolveRunTarget(QStringLiteral("tool"), folder, appDir);
    EXPECT_TRUE(t.found);
    EXPECT_EQ(t.path, appDir + QStringLiteral("/tool"));
    QFile(folder + QStringLiteral("/tool")).open(QIODevice::WriteOnly);
    t = ResolveRunTarget(QStringLiteral("tool"), folder + QLatin1Char('/'), appDir);
    EXPECT_EQ(t.path, folder + QStringLiteral("/tool"));
    EXPECT_FALSE(ResolveRunTarget(QStringLiteral("nowhere"), folder, appDir).found);
}

TEST(FileServices, RunAppStartsNothingForAMissingProgramAndReportsAFailedStart) {
    RecordingLauncher launcher;
    ScriptedPrompter prompts;
    SetShellLauncher(&launcher);
    SetPrompter(&prompts);
    RunApp(QStringLiteral("nowhere-to-be-found"), QStringLiteral("-x"), QString());
    EXPECT_TRUE(launcher.programs.isEmpty());
    EXPECT_TRUE(CurrentAction().startsWith(QStringLiteral("Attempting to execute the path '")));
    RunApp(QStringLiteral("MAILTO:someone@example.invalid"), QString(), QString());
    EXPECT_EQ(launcher.urls, QStringList{QStringLiteral("MAILTO:someone@example.invalid")});
    const QString folder = test::NewTempDir(QStringLiteral("apps"));
    QFile(folder + QStringLiteral("/tool")).open(QIODevice::WriteOnly);
    launcher.startOk = false;
    RunApp(QStringLiteral("tool"), QStringLiteral("a b"), folder);
    EXPECT_EQ(launcher.programs, QStringList{folder + QStringLiteral("/tool a b")});
    ASSERT_EQ(prompts.shown().size(), 1);
    EXPECT_TRUE(
        prompts.shown()[0].text.startsWith(QStringLiteral("Exception occured when running the file ")));
    SetShellLauncher(nullptr);
    SetPrompter(nullptr);
}

TEST(FileServices, AtomicWriteReplacesWholeAndKeepsPrivateMode) {
    const QString dir = test::NewTempDir(QStringLiteral("atomic"));
    const QString path = dir + QStringLiteral("/sub/file.txt");
    ASSERT_TRUE(WriteFileAtomically(path, QByteArray("first"), true));
    ASSERT_TRUE(WriteFileAtomically(path, QByteArray("second"), true));
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    EXPECT_EQ(f.readAll(), QByteArray("second"));
    struct stat st {};
    ASSERT_EQ(::stat(QFile::encodeName(path).constData(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600u);
    EXPECT_EQ(QDir(dir + QStringLiteral("/sub")).entryList(QDir::Files),
              QStringList{QStringLiteral("file.txt")});
    QString error;
    EXPECT_FALSE(WriteFileAtomically(path + QStringLiteral("/under-a-file"), QByteArray("x"), true, &error));
    EXPECT_FALSE(error.isEmpty());
}
