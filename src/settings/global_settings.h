#pragma once

#include <QDateTime>
#include <QString>

#include "domain/shared_lists.h"
#include "notifications/notification_store.h"

namespace tlm {

// The in-memory picture of the shared database, one per process: the lists, the key store, the
// templates, the custom lists, the titles and the member running the program, with their loading
// and saving.
//
// The process's instance is registered with SetDBSettings by whoever builds it (main, or a test)
// and reached through DBSettings() by the screens; registering it also installs it as the lists of
// the domain and the store of the notifications, which read only those.
class cDBSettings : public cNotificationStore {
  public:
    cDBSettings();

    // Reads every table in order; ok is false when the database could not be reached.
    void LoadGlobalSettings(bool blnShowDialog, bool& ok);
    // A new database takes the built-in settings and templates over its rows of the same keys.
    void SaveInitialSettings();
    // 1 projects, 2 activities, 3 members, 4 templates, 5 and 9 settings, 10-13 custom lists,
    // 16 all of them; anything else saves nothing. Always answers false.
    bool SaveGlobalSettings(qint32 code);
    void SaveMessageTemplates() override { SaveGlobalSettings(4); }
    // Adds the user as a member when unknown (kept for the client; nothing here calls it).
    void AddCurrentUserToGlobalMembersList();
    void GetCurrentUser();
};

cDBSettings* DBSettings();
void SetDBSettings(cDBSettings* settings);

}  // namespace tlm
