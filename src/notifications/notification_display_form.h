#pragma once

namespace tlm {

// Installs the notification senders with the compose window as their display, so a mail that is
// to be shown first opens for the user to edit and send. The program calls it once at start.
void InstallNotificationMail();

}  // namespace tlm
