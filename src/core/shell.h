#pragma once

#include <QString>

namespace tlm {

// Opens a document or link, or starts a program; the GUI installs the desktop's way.
class ShellLauncher {
  public:
    virtual ~ShellLauncher() = default;
    virtual bool openUrl(const QString& url) = 0;
    virtual bool startProgram(const QString& path, const QString& arguments, const QString& folder) = 0;
};
void SetShellLauncher(ShellLauncher* launcher);
ShellLauncher* shellLauncher();

// What RunApp decided to start.
struct RunTarget {
    bool isLink = false;
    bool found = false;
    QString path;  // the link, or the program path that was tried last
};
// A name starting with "HTTP" or "MAIL" (any case) is a link and passes without a file test;
// otherwise <folder>/<name> then <applicationDir>/<name> (no ".exe" on this platform).
RunTarget ResolveRunTarget(const QString& name, const QString& folder, const QString& applicationDir);
void RunApp(const QString& name, const QString& arguments, const QString& folder);
void subOpenWithShell(const QString& file);

}  // namespace tlm
