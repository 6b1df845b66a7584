#include "app/program.h"

#include <QApplication>
#include <QEvent>
#include <QWidget>
#include <cstdio>
#include <cstdlib>

#include "app/demo_data.h"
#include "app/section_loader.h"
#include "mail/compose_form.h"
#include "mail/outbox_form.h"
#include "notifications/notification_display_form.h"
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

Program::Program()
    // List saves show the mails they are asked to show in the compose window; what an earlier run
    // left in the outbox goes first.
    : session_(SessionWiring{ComposeNotificationDisplay(), true}) {
    if (qEnvironmentVariableIsSet("TLM_EXIT_AT_FIRST_WINDOW"))
        qApp->installEventFilter(new ExitAtFirstWindow);
    SetPrompter(&prompter_);
    SetErrorPresenter(&presenter_);
    SetShellLauncher(&shell_);
    // The error report's mail goes through the mail profile.
    InstallComposeWindow();
    // The first-run and database setup panel.
    InstallManagerSettingsDialogHost();
}

Program::~Program() {
    DestroyAllObjects();
}

bool Program::ReadLocalSettings() {
    return session_.ReadLocalSettings();
}

bool Program::LoadGlobalSettings() {
    // The connection flow may show the first-run panel; whatever fails, the user has been told.
    if (!session_.OpenDatabase(DatabaseAccess::Interactive).opened())
        return false;
    OfferDemoData(session_.global());  // a database the first run just created may be filled
    return true;
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
        FinishMailDelivery(session_.delivery());
    }
    session_.Close();
    SetShellLauncher(nullptr);
    SetErrorReportMailer(nullptr);
    SetErrorPresenter(nullptr);
    SetPrompter(nullptr);
}

}  // namespace tlm
