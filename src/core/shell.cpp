#include "core/shell.h"

#include <QCoreApplication>
#include <QFileInfo>

#include "core/error_report.h"
#include "core/file_services.h"
#include "core/prompt.h"

namespace tlm {

namespace {
ShellLauncher* g_launcher = nullptr;
}

void SetShellLauncher(ShellLauncher* launcher) {
    g_launcher = launcher;
}
ShellLauncher* shellLauncher() {
    return g_launcher;
}

RunTarget ResolveRunTarget(const QString& name, const QString& folder, const QString& applicationDir) {
    RunTarget t;
    const QString head = name.left(4).toUpper();
    if (head == QLatin1String("HTTP") || head == QLatin1String("MAIL")) {
        t.isLink = true;
        t.found = true;
        t.path = name;
        return t;
    }
    if (!folder.isEmpty()) {
        t.path = fncStripTrailingSlash(folder) + QLatin1Char('/') + name;
        if (QFileInfo(t.path).isFile()) {
            t.found = true;
            return t;
        }
    }
    t.path = fncStripTrailingSlash(applicationDir) + QLatin1Char('/') + name;
    t.found = QFileInfo(t.path).isFile();
    return t;
}

void RunApp(const QString& name, const QString& arguments, const QString& folder) {
    subTraceAction(QStringLiteral("Attempting to execute ") + name + QLatin1Char(' ') + arguments +
                   QLatin1Char(' ') + folder);
    const RunTarget t = ResolveRunTarget(name, folder, QCoreApplication::applicationDirPath());
    if (t.isLink) {
        if (g_launcher)
            g_launcher->openUrl(t.path);
        return;
    }
    subTraceAction(QStringLiteral("Attempting to execute the path '") + t.path + QLatin1Char('\''));
    if (!t.found || !g_launcher)
        return;
    if (!g_launcher->startProgram(t.path, arguments, folder)) {
        MsgBox(QStringLiteral("Exception occured when running the file") + QLatin1Char(' ') + t.path +
                   QLatin1Char('\n') + QStringLiteral("The program could not be started."),
               PromptIcon::Critical);
    }
}

void subOpenWithShell(const QString& file) {
    if (g_launcher)
        g_launcher->openUrl(file);
}

}  // namespace tlm
