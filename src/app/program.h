#pragma once

#include "core/startup.h"
#include "desktop/desktop_shell.h"
#include "desktop/dialogs.h"
#include "desktop/error_report_form.h"
#include "settings/session.h"

namespace tlm {

// The objects of one process, built by main: the GUI's prompter, error dialogs, shell and panels on
// top of the engine's session, and Main's steps.
class Program : public StartupHooks {
  public:
    Program();
    ~Program() override;

    bool ReadLocalSettings() override;
    bool LoadGlobalSettings() override;
    void LoadSection(qint32 section) override;
    void DestroyAllObjects() override;

    Session& session() { return session_; }

  private:
    DesktopPrompter prompter_;
    GuiErrorPresenter presenter_;
    DesktopShellLauncher shell_;
    Session session_;
    bool mailFinished_ = false;
};

}  // namespace tlm
