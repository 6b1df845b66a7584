#include "fuzz_support.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "core/error_report.h"
#include "core/prompt.h"

// Qt keeps a few allocations of its own until exit; only ours should count as leaks.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libQt6Core\nleak:libQt6Network\nleak:libQt6Sql\nleak:libfontconfig\nleak:libdbus\n"
           "leak:libcrypto\nleak:libldap\nleak:libcurl\n";
}

namespace tlm::fuzz {

namespace {

class QuietPresenter : public ErrorPresenter {
  public:
    void showReport(const QString& reportText, bool) override {
        ++count;
        last = reportText;
    }
    void showFriendly(const QString&, const QString& reportText) override {
        ++count;
        last = reportText;
    }
    int count = 0;
    QString last;
};

// Answers every box with its safe choice and keeps nothing, so a long run does not grow.
class QuietPrompter : public Prompter {
  public:
    PromptAnswer show(PromptIcon, PromptButtons buttons, const QString&, const QString&) override {
        switch (buttons) {
            case PromptButtons::Ok:
                return PromptAnswer::Ok;
            case PromptButtons::OkCancel:
            case PromptButtons::YesNoCancel:
                return PromptAnswer::Cancel;
            case PromptButtons::YesNo:
                break;
        }
        return PromptAnswer::No;
    }
};

QuietPresenter g_presenter;
QuietPrompter g_prompter;
std::unique_ptr<QTemporaryDir> g_root;
// Never destroyed: at exit Qt has torn down what its destructor needs.
QCoreApplication* g_app = nullptr;
long g_stamp = 0;

void DropQtMessages(QtMsgType type, const QMessageLogContext&, const QString& text) {
    if (type == QtFatalMsg) {
        std::fprintf(stderr, "qFatal: %s\n", qPrintable(text));
        std::abort();
    }
}

}  // namespace

void Init(int* argc, char*** argv) {
    if (g_root)
        return;
    // The temporary folder is $TMPDIR's (scripts/fuzz.sh points it into build/fuzz).
    g_root = std::make_unique<QTemporaryDir>(QDir::tempPath() + QStringLiteral("/tlm-fuzz-XXXXXX"));
    if (!g_root->isValid()) {
        std::fprintf(stderr, "fuzz: no temporary folder below %s\n", qPrintable(QDir::tempPath()));
        std::exit(1);
    }
    const QString root = g_root->path();
    for (const char* sub : {"config", "data", "cache", "runtime"})
        QDir().mkpath(root + QLatin1Char('/') + QLatin1String(sub));
    QFile::setPermissions(root + QStringLiteral("/runtime"),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    qputenv("XDG_CONFIG_HOME", (root + QStringLiteral("/config")).toLocal8Bit());
    qputenv("XDG_DATA_HOME", (root + QStringLiteral("/data")).toLocal8Bit());
    qputenv("XDG_CACHE_HOME", (root + QStringLiteral("/cache")).toLocal8Bit());
    qputenv("XDG_RUNTIME_DIR", (root + QStringLiteral("/runtime")).toLocal8Bit());
    qputenv("TLM_DEFAULT_DATA_DIR", (root + QStringLiteral("/data")).toLocal8Bit());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler(DropQtMessages);
    g_app = new QCoreApplication(*argc, *argv);
    SetErrorPresenter(&g_presenter);
    SetPrompter(&g_prompter);
    // Settings files of the program are private; a fuzz run keeps that default for what it writes.
    ::umask(077);
}

QString Root() {
    return g_root ? g_root->path() : QString();
}

QString Utf8(const uint8_t* data, size_t size) {
    return QString::fromUtf8(reinterpret_cast<const char*>(data), qsizetype(size));
}

QString Utf8(const QByteArray& bytes) {
    return QString::fromUtf8(bytes);
}

QList<QByteArray> Split(const uint8_t* data, size_t size, char sep, int maxParts) {
    QList<QByteArray> parts;
    const QByteArray all(reinterpret_cast<const char*>(data), qsizetype(size));
    qsizetype from = 0;
    while (parts.size() + 1 < maxParts) {
        const qsizetype at = all.indexOf(sep, from);
        if (at < 0)
            break;
        parts.append(all.mid(from, at - from));
        from = at + 1;
    }
    parts.append(all.mid(from));
    return parts;
}

QString WriteFile(const QString& name, const QByteArray& bytes) {
    const QString path = Root() + QLatin1Char('/') + name;
    QDir().mkpath(path.left(path.lastIndexOf(QLatin1Char('/'))));
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate) || f.write(bytes) != bytes.size()) {
        std::fprintf(stderr, "fuzz: cannot write %s\n", qPrintable(path));
        std::abort();
    }
    f.close();
    // Far in the past and one second apart: never the time of a write of the program itself.
    const timespec times[2] = {{1000000000 + g_stamp, 0}, {1000000000 + g_stamp, 0}};
    ++g_stamp;
    ::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0);
    return path;
}

int ReportCount() {
    return g_presenter.count;
}

QString LastReport() {
    return g_presenter.last;
}

void ResetReports() {
    // The failure path shows only the first report of a process; each input starts afresh.
    ResetErrorReportingForTests();
    g_presenter.count = 0;
    g_presenter.last.clear();
}

void Fail(const char* what, const QString& detail) {
    std::fprintf(stderr, "\n*** property failed: %s\n*** %s\n", what, qPrintable(detail));
    std::fflush(stderr);
    // abort() skips the destructors; the folder would stay behind.
    if (g_root)
        g_root->remove();
    std::abort();
}

}  // namespace tlm::fuzz
