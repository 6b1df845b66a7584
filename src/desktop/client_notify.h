#pragma once

#include <QString>
#include <QtGlobal>

namespace tlm {

// Local socket names the members' client and other manager processes listen on.
inline const QString kClientServerName = QStringLiteral("ORW_TLM_Client");
inline const QString kManagerServerName = QStringLiteral("ORW_TLM_Manager");

// Tells a running client (value 1) and a manager listener (the given value) that the global settings
// changed. Each message is the value as a 4-byte little-endian integer. A missing listener is normal;
// a listener that does not take the message within the timeout is left behind, never waited on.
// Returns how many listeners were told.
int subSendMessage(qint32 wParam, int timeoutMs = 250);

}  // namespace tlm
