#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>

#include <QDir>
#include <QFile>
#include <QScopeGuard>

#include "core/error_report.h"
#include "core/file_services.h"
#include "core/prompt.h"
#include "core/shell.h"
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

namespace {

mode_t ModeOf(const QString& path) {
    struct stat st {};
    return ::stat(QFile::encodeName(path).constData(), &st) == 0 ? (st.st_mode & 07777) : mode_t(-1);
}

QByteArray ContentOf(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<missing>");
}

}  // namespace

// The one writer: a new file gets the usual mode under the process's umask (which it never
// changes), an existing one keeps its own, a secret makes it 0600; a cut-short write or a cancel
// keeps the old file whole and leaves no temporary file behind.
TEST(FileServices, AtomicFileKeepsModesAndTheOldFileOnFailure) {
    const QString dir = test::NewTempDir(QStringLiteral("atomic-modes"));
    const mode_t oldMask = ::umask(027);
    const auto finish = qScopeGuard([&] { ::umask(oldMask); });

    struct Case {
        const char* name;
        mode_t existing;  // 0: no file before
        AtomicFile::Access access;
        mode_t expected;
    };
    const Case cases[] = {
        {"new.txt", 0, AtomicFile::Access::Usual, 0640},
        {"shared.txt", 0664, AtomicFile::Access::Usual, 0664},
        {"secret.txt", 0644, AtomicFile::Access::Private, 0600},
    };
    for (const Case& c : cases) {
        const QString path = dir + u'/' + QLatin1String(c.name);
        if (c.existing) {
            ASSERT_TRUE(WriteFileAtomically(path, "old", false));
            ASSERT_EQ(::chmod(QFile::encodeName(path).constData(), c.existing), 0);
        }
        AtomicFile file(path, c.access);
        ASSERT_TRUE(file.open());
        // A library that writes by name writes the temporary path itself.
        QFile byName(file.temporaryPath());
        ASSERT_TRUE(byName.open(QIODevice::WriteOnly));
        byName.write("new");
        byName.close();
        ASSERT_TRUE(file.commit());
        EXPECT_EQ(ContentOf(path), QByteArray("new")) << c.name;
        EXPECT_EQ(ModeOf(path), c.expected) << c.name;
        EXPECT_EQ(::umask(027), mode_t(027)) << c.name;  // reading the mask sets it; it was left alone
    }

    const QString kept = dir + QStringLiteral("/kept.txt");
    ASSERT_TRUE(WriteFileAtomically(kept, "whole old file", false));
    {
        AtomicFile cancelled(kept);
        ASSERT_TRUE(cancelled.open());
        cancelled.device()->write("half");
    }  // dropped without commit
    EXPECT_EQ(ContentOf(kept), QByteArray("whole old file"));

    // A write cut short by a file-size limit fails and keeps the old file.
    QString error;
    bool written = true;
    {
        const auto oldHandler = ::signal(SIGXFSZ, SIG_IGN);
        rlimit old{};
        ::getrlimit(RLIMIT_FSIZE, &old);
        rlimit tight = old;
        tight.rlim_cur = 4;
        ::setrlimit(RLIMIT_FSIZE, &tight);
        written = WriteFileAtomically(kept, QByteArray(64, 'x'), false, &error);
        ::setrlimit(RLIMIT_FSIZE, &old);
        ::signal(SIGXFSZ, oldHandler);
    }
    EXPECT_FALSE(written);
    EXPECT_FALSE(error.isEmpty());
    EXPECT_EQ(ContentOf(kept), QByteArray("whole old file"));
    QStringList files = QDir(dir).entryList(QDir::Files | QDir::Hidden);
    files.sort();
    EXPECT_EQ(files, (QStringList{QStringLiteral("kept.txt"), QStringLiteral("new.txt"),
                                  QStringLiteral("secret.txt"), QStringLiteral("shared.txt")}));
}
