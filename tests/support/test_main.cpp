#include <gtest/gtest.h>

#ifdef TLM_TEST_GUI
#include <QApplication>
using TestApplication = QApplication;
#else
#include <QCoreApplication>
using TestApplication = QCoreApplication;
#endif
#include <QDir>
#include <QStandardPaths>
#include <cerrno>
#include <csignal>

#include "core/error_report.h"
#include "core/prompt.h"
#include "support/test_env.h"

// Qt's own libraries keep a few allocations until exit; only ours should be reported. The TLS
// library keeps per-thread state of the mail worker once the directory library has loaded it.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig\nleak:libQt6Gui\nleak:libQt6Core\nleak:libdbus\nleak:libpq\nleak:libodbc\n"
           "leak:libcrypto\n";
}

namespace {

// A test process that ends through exit() or a crash leaves its folder behind; the next run
// removes the folders of processes that are gone.
void RemoveFoldersOfEndedRuns(const QString& systemTemp) {
    const QDir tmp(systemTemp);
    for (const QString& name : tmp.entryList({QStringLiteral("tlm-tests-*")}, QDir::Dirs)) {
        bool ok = false;
        const qint64 pid = name.mid(10).toLongLong(&ok);
        if (ok && pid > 0 && ::kill(pid_t(pid), 0) != 0 && errno == ESRCH)
            QDir(tmp.filePath(name)).removeRecursively();
    }
}

}  // namespace

int main(int argc, char** argv) {
    // Tests never show a real window, never block on a dialog, never touch the user's files.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // Everything below the process's own root: test processes run side by side and share no
    // folder, and a fixed local socket name (the client's) never reaches another process.
    const QString systemTemp = QDir::tempPath();
    const QString root = tlm::test::TestRoot() + QStringLiteral("/runtime");
    const QString temp = tlm::test::TestRoot() + QStringLiteral("/tmp");
    QDir().mkpath(root);
    QDir().mkpath(temp);
    QFile::setPermissions(root, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    qputenv("XDG_RUNTIME_DIR", root.toLocal8Bit());
    qputenv("XDG_DATA_HOME", (root + QStringLiteral("/data")).toLocal8Bit());
    qputenv("TMPDIR", temp.toLocal8Bit());
    QStandardPaths::setTestModeEnabled(true);

    TestApplication app(argc, argv);
    RemoveFoldersOfEndedRuns(systemTemp);
    tlm::test::FreshLocalSettings();
    ::testing::InitGoogleTest(&argc, argv);
    const int rc = RUN_ALL_TESTS();
    QDir(tlm::test::TestRoot()).removeRecursively();
    return rc;
}
