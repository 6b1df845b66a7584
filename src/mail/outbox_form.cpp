#include "mail/outbox_form.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QProgressDialog>

#include "core/prompt.h"
#include "mail/mail_account_form.h"
#include "mail/outbox.h"

namespace tlm {

namespace {

bool g_told = false;
// A wait shorter than this needs no window.
constexpr int kShowAfterMs = 300;
DeliveryProgressHook g_progressHook;

QString ProgressText(const OutboxStatus& s) {
    return s.waiting == 1 ? QStringLiteral("Sending mail: 1 mail to go.")
                          : QStringLiteral("Sending mail: %1 mails to go.").arg(s.waiting);
}

// True when the worker went idle within ms.
bool WaitWithProgress(OutboxSender& sender, int ms) {
    if (sender.waitIdle(0))
        return true;
    QProgressDialog progress(ProgressText(sender.status()), QStringLiteral("Send later"), 0, 0,
                             QApplication::activeWindow());
    progress.setWindowTitle(QStringLiteral("Tally Loom Manager Process"));
    progress.setWindowModality(Qt::ApplicationModal);
    progress.setAutoClose(false);
    progress.setAutoReset(false);
    QElapsedTimer timer;
    timer.start();
    bool idle = false;
    while (!idle && !progress.wasCanceled() && timer.elapsed() < ms) {
        idle = sender.waitIdle(50);
        progress.setLabelText(ProgressText(sender.status()));
        if (!idle && !progress.isVisible() && timer.elapsed() >= kShowAfterMs)
            progress.show();
        if (g_progressHook && progress.isVisible())
            g_progressHook(&progress);
        QApplication::processEvents(QEventLoop::AllEvents, 20);
    }
    return idle;
}

QString Waiting(int n) {
    return n == 1 ? QStringLiteral("1 mail waits") : QStringLiteral("%1 mails wait").arg(n);
}

}  // namespace

int FinishMailDelivery(OutboxSender& sender, int waitMs) {
    WaitWithProgress(sender, waitMs);
    OutboxStatus s = sender.status();
    if (s.waiting == 0 || g_told)
        return s.waiting;
    g_told = true;
    QString text;
    if (s.noServer)
        text = QStringLiteral(
                   "%1 in the outbox: no mail account with a server and a sender address is set "
                   "up.")
                   .arg(Waiting(s.waiting));
    else
        text = QStringLiteral("%1 in the outbox; the program tries again at its next start.%2")
                   .arg(Waiting(s.waiting),
                        s.lastError.isEmpty() ? QString() : QStringLiteral("\n\n") + s.lastError);
    text += QStringLiteral("\n\nOpen the mail account settings now?");
    if (MsgBox(text, PromptIcon::Exclamation, PromptButtons::YesNo) != PromptAnswer::Yes)
        return s.waiting;
    if (!frmMailAccount::Edit(QApplication::activeWindow()))
        return s.waiting;
    sender.kick(LoadMailProfile());
    WaitWithProgress(sender, waitMs);
    return sender.status().waiting;
}

void SetDeliveryProgressHook(DeliveryProgressHook hook) {
    g_progressHook = std::move(hook);
}

void ResetMailWaitingNotice() {
    g_told = false;
}

}  // namespace tlm
