#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QLocalServer>
#include <QLocalSocket>
#include <QThread>
#include <QtEndian>
#include <atomic>

#include "desktop/client_notify.h"

using namespace tlm;

namespace {

// A listener on its own thread, since the sender blocks the calling thread while it writes.
class Listener : public QThread {
  public:
    explicit Listener(const QString& name, bool readIt = true) : name_(name), read_(readIt) {}
    std::atomic<qint32> received{-1};
    std::atomic<bool> ready{false};
    void run() override {
        QLocalServer server;
        QLocalServer::removeServer(name_);
        if (!server.listen(name_))
            return;
        ready = true;
        if (!server.waitForNewConnection(3000))
            return;
        QLocalSocket* s = server.nextPendingConnection();
        if (!read_) {
            QThread::msleep(3000);
            return;
        }
        while (s->bytesAvailable() < 4 && s->waitForReadyRead(3000)) {
        }
        if (s->bytesAvailable() >= 4) {
            qint32 v = 0;
            s->read(reinterpret_cast<char*>(&v), 4);
            received = qFromLittleEndian(v);
        }
    }

  private:
    QString name_;
    bool read_;
};

// Local server names live in the temporary folder, which the test main makes private to each
// test process, so a test never meets another process's listener.
void WaitReady(Listener& l) {
    for (int i = 0; i < 300 && !l.ready; ++i)
        QThread::msleep(10);
}

}  // namespace

TEST(ClientNotify, NoListenerIsNormal) {
    QLocalServer::removeServer(kClientServerName);
    QLocalServer::removeServer(kManagerServerName);
    EXPECT_EQ(subSendMessage(0), 0);
}

TEST(ClientNotify, ClientGetsOneAndManagerGetsTheValue) {
    Listener client(kClientServerName), manager(kManagerServerName);
    client.start();
    manager.start();
    WaitReady(client);
    WaitReady(manager);
    EXPECT_EQ(subSendMessage(7), 2);
    client.wait(5000);
    manager.wait(5000);
    EXPECT_EQ(client.received, 1);
    EXPECT_EQ(manager.received, 7);
}

TEST(ClientNotify, ListenerThatNeverReadsDoesNotHangTheSender) {
    Listener stuck(kClientServerName, false);
    stuck.start();
    WaitReady(stuck);
    QElapsedTimer t;
    t.start();
    subSendMessage(0, 200);
    // The limit is generous: it only guards against waiting on the listener.
    EXPECT_LT(t.elapsed(), 1500);
    stuck.wait(5000);
}
