#include "desktop/client_notify.h"

#include <QLocalSocket>
#include <QtEndian>

namespace tlm {

namespace {

bool Tell(const QString& serverName, qint32 value, int timeoutMs) {
    QLocalSocket socket;
    socket.connectToServer(serverName, QIODevice::WriteOnly);
    if (!socket.waitForConnected(timeoutMs))
        return false;
    const qint32 le = qToLittleEndian(value);
    socket.write(reinterpret_cast<const char*>(&le), sizeof le);
    const bool written = socket.waitForBytesWritten(timeoutMs);
    socket.disconnectFromServer();
    if (socket.state() != QLocalSocket::UnconnectedState)
        socket.waitForDisconnected(timeoutMs);
    return written;
}

}  // namespace

int subSendMessage(qint32 wParam, int timeoutMs) {
    int told = 0;
    if (Tell(kClientServerName, 1, timeoutMs))
        ++told;
    if (Tell(kManagerServerName, wParam, timeoutMs))
        ++told;
    return told;
}

}  // namespace tlm
