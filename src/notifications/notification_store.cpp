#include "notifications/notification_store.h"

namespace tlm {

namespace {
cNotificationStore* g_store = nullptr;
}  // namespace

cNotificationStore::cNotificationStore() : NotificationNames(NotificationDisplayNames()) {
    LoadDefaultTemplates(MessageTemplates);
}

cNotificationStore* NotificationStore() {
    return g_store;
}
void SetNotificationStore(cNotificationStore* store) {
    g_store = store;
}

}  // namespace tlm
