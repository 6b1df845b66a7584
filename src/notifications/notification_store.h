#pragma once

#include <QStringList>

#include "domain/shared_lists.h"
#include "notifications/templates.h"

namespace tlm {

// The lists with what the notifications add: the templates and the 16 display names. The settings
// owner is one; it is installed with SetNotificationStore and saves the templates on request.
class cNotificationStore : public cSharedLists {
  public:
    cNotificationStore();

    cMessageTemplates MessageTemplates;
    QStringList NotificationNames;  // the 16 display names

    // Writes MessageTemplates to the database; a store that was not loaded from one keeps them.
    virtual void SaveMessageTemplates() {}
};

// The installed store, or nullptr.
cNotificationStore* NotificationStore();
void SetNotificationStore(cNotificationStore* store);

}  // namespace tlm
