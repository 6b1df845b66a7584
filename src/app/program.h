#pragma once

#include <memory>

#include "core/local_settings.h"
#include "core/startup.h"
#include "desktop/error_report_form.h"
#include "desktop/gui_dialogs.h"
#include "desktop/gui_shell.h"
#include "desktop/ui_settings.h"
#include "mail/outbox.h"
#include "settings/global_settings.h"

namespace tlm {

// The objects of one process, built by main: installs the GUI's prompter, error dialogs and shell,
// and answers Main's steps.
class Program : public StartupHooks {
  public:
    Program();
    ~Program() override;

    bool ReadLocalSettings() override;
    bool LoadGlobalSettings() override;
    void LoadSection(qint32 section) override;
    void DestroyAllObjects() override;

    cMySettings* mySettings() const { return mySettings_.get(); }
    cUISettings* uiSettings() const { return uiSettings_.get(); }

  private:
    DesktopPrompter prompter_;
    GuiErrorPresenter presenter_;
    DesktopShellLauncher shell_;
    std::unique_ptr<cMySettings> mySettings_;
    std::unique_ptr<cDBSettings> dbSettings_;
    std::unique_ptr<cUISettings> uiSettings_;
    OutboxSender delivery_;
    bool mailFinished_ = false;
};

}  // namespace tlm
