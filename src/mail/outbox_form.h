#pragma once

#include <functional>

class QProgressDialog;

namespace tlm {

class OutboxSender;

// When a screen closes: waits at most waitMs for a delivery in progress, with a progress window,
// then tells the user once per process how many mails wait in the outbox, offering the Mail
// Account dialog; a profile saved there gets one more short try. Returns the mails still waiting.
int FinishMailDelivery(OutboxSender& sender, int waitMs = 4000);
// Lets a test see the progress window while it is up.
using DeliveryProgressHook = std::function<void(QProgressDialog*)>;
void SetDeliveryProgressHook(DeliveryProgressHook hook);
// Forgets that the user was told, for tests that run several screens in one process.
void ResetMailWaitingNotice();

}  // namespace tlm
