#pragma once

#include "core/shell.h"

namespace tlm {

// Links and documents open with the desktop's handler; programs start detached.
class DesktopShellLauncher : public ShellLauncher {
  public:
    bool openUrl(const QString& url) override;
    bool startProgram(const QString& path, const QString& arguments, const QString& folder) override;
};

}  // namespace tlm
