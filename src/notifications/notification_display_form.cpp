#include "notifications/notification_display_form.h"

#include <QApplication>
#include <QWidget>

#include "mail/compose_form.h"
#include "notifications/notification_engine.h"

namespace tlm {

namespace {

// Opens the compose window over the screen that raised the notification. It is modal: the
// process ends with its screen, and a draft left open behind it would be lost.
class ComposeDisplay : public NotificationDisplay {
  public:
    NotificationOutcome Display(const MailMessage& message) override {
        QWidget* owner = QApplication::activeModalWidget();
        if (!owner || !owner->isVisible())
            owner = QApplication::activeWindow();
        NotificationOutcome out;
        switch (frmCompose::DisplayMail(message, owner)) {
            case frmCompose::Outcome::Sent:
                out.status = NotificationOutcome::Status::Sent;
                break;
            case frmCompose::Outcome::KeptInOutbox:
                out.status = NotificationOutcome::Status::KeptInOutbox;
                break;
            case frmCompose::Outcome::Cancelled:
                // The user's choice: the mail was seen and dropped on purpose.
                out.status = NotificationOutcome::Status::Displayed;
                out.reason = QStringLiteral("closed without sending");
                break;
        }
        return out;
    }
};

}  // namespace

NotificationDisplay* ComposeNotificationDisplay() {
    static ComposeDisplay display;
    return &display;
}

}  // namespace tlm
