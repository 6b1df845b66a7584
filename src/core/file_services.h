#pragma once

#include <QString>
#include <functional>

namespace tlm {

// Removes one trailing "/" or "\", and only one.
QString fncStripTrailingSlash(const QString& path);

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

// Folder numbers of the original: 5 the user's documents, 43 the shared program data.
QString fncGetSpecialFolder(int folderNumber);

// True when a new file can be made in the folder. Permission bits do not tell (shares, read-only
// mounts, root): a real temporary file is made and removed.
bool IsFolderWritable(const QString& folder);

// Writes a file whole or not at all (temporary file, then rename), at the given permissions.
bool WriteFileAtomically(const QString& path, const QByteArray& bytes, bool privateMode,
                         QString* error = nullptr);

}  // namespace tlm
