#include "desktop/desktop_shell.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QProcess>
#include <QUrl>

namespace tlm {

bool DesktopShellLauncher::openUrl(const QString& url) {
    const QUrl u = QFileInfo::exists(url) ? QUrl::fromLocalFile(url) : QUrl(url, QUrl::TolerantMode);
    return QDesktopServices::openUrl(u);
}

bool DesktopShellLauncher::startProgram(const QString& path, const QString& arguments,
                                        const QString& folder) {
    return QProcess::startDetached(path, QProcess::splitCommand(arguments), folder);
}

}  // namespace tlm
