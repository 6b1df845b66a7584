#pragma once

namespace tlm {

class NotificationDisplay;

// The compose window as the display of the notification senders: a mail that is to be shown first
// opens for the user to edit and send. The program installs it once at start.
NotificationDisplay* ComposeNotificationDisplay();

}  // namespace tlm
