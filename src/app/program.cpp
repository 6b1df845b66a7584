#include "app/program.h"

#include <QApplication>
#include <QEvent>
#include <QWidget>
#include <cstdio>
#include <cstdlib>

#include "app/demo_data.h"
#include "app/section_loader.h"
#include "core/process_state.h"
#include "database/connection.h"
#include "mail/compose_form.h"
#include "mail/outbox_form.h"
#include "notifications/notification_display_form.h"
#include "notifications/senders.h"
#include "settings/manager_settings_form.h"

namespace tlm {

namespace {

// For the start-up benchmark: ends the process the moment the first window is shown.
class ExitAtFirstWindow : public QObject {
  public:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Show && watched->isWidgetType() &&
            static_cast<QWidget*>(watched)->isWindow()) {
            std::fflush(stdout);
            std::_Exit(0);
        }
        return false;
    }
};

}  // namespace

Program::Program() {
    if (qEnvironmentVariableIsSet("TLM_EXIT_AT_FIRST_WINDOW"))
        qApp->installEventFilter(new ExitAtFirstWindow);
    SetPrompter(&prompter_);
    SetErrorPresenter(&presenter_);
    SetShellLauncher(&shell_);
    // The error report's mail goes through the mail profile.
    InstallComposeWindow();
    // List saves and requests to report send their mails, shown in the compose window when asked.
    InstallNotificationSenders(ComposeNotificationDisplay());
    // The first-run and database setup panel.
    InstallManagerSettingsDialogHost();
    // Mail goes out on the delivery worker; what an earlier run left in the outbox goes first.
    SetMailDelivery(&delivery_);
    delivery_.kick(LoadMailProfile());
}

Program::~Program() {
    DestroyAllObjects();
    SetMailDelivery(nullptr);
}

bool Program::ReadLocalSettings() {
    mySettings_ = std::make_unique<cMySettings>();
    Process().mySettings = mySettings_.get();
    mySettings_->ReadSettings();
    return mySettings_->DBChoice == 0 && mySettings_->DBConnectionString.isEmpty();
}

bool Program::LoadGlobalSettings() {
    // Building the store touches no database; its load runs the connection flow (and the first run).
    dbSettings_ = std::make_unique<cDBSettings>();
    SetDBSettings(dbSettings_.get());
    bool ok = false;
    dbSettings_->LoadGlobalSettings(true, ok);
    if (ok)
        OfferDemoData(*dbSettings_);  // a database the first run just created may be filled
    if (ok) {
        uiSettings_ = std::make_unique<cUISettings>();
        SetUISettings(uiSettings_.get());
    }
    return ok;
}

void Program::LoadSection(qint32 section) {
    subLoadSection(section);
}

void Program::DestroyAllObjects() {
    // Windows first, from the last to the first; a window that refuses to close stops the walk.
    QWidgetList windows = QApplication::topLevelWidgets();
    for (int i = int(windows.size()) - 1; i >= 0; --i) {
        windows[i]->close();
        if (QApplication::topLevelWidgets().size() == windows.size())
            break;
        windows = QApplication::topLevelWidgets();
    }
    // The screen is gone: a delivery in progress gets a few seconds, the rest waits for next time.
    if (!mailFinished_) {
        mailFinished_ = true;
        FinishMailDelivery(delivery_);
        delivery_.shutdown();
    }
    subCloseConnection();
    SetUISettings(nullptr);
    uiSettings_.reset();
    SetDBSettings(nullptr);
    dbSettings_.reset();
    Process().mySettings = nullptr;
    mySettings_.reset();
    SetShellLauncher(nullptr);
    SetErrorReportMailer(nullptr);
    SetErrorPresenter(nullptr);
    SetPrompter(nullptr);
}

}  // namespace tlm
