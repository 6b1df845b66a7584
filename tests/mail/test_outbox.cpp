#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <functional>

#include "domain/domain_test_fixture.h"
#include "domain/members.h"
#include "mail/mail_profile.h"
#include "mail/outbox.h"
#include "notifications/notification_engine.h"
#include "notifications/senders.h"
#include "notifications/templates.h"
#include "support/mail_sink.h"
#include "support/test_env.h"

namespace tlm::test {
namespace {

MailMessage Mail(int n) {
    return {QStringLiteral("ann@x.org"), QStringLiteral("bo@y.org"), QStringLiteral("Mail %1").arg(n),
            QStringLiteral("<p>%1</p>").arg(n)};
}

MailProfile NoServer() {
    MailProfile p = LocalProfile(25);
    p.host.clear();
    return p;
}

// Waits for the worker while this thread's event loop runs (a local server here needs it).
bool WaitIdle(OutboxSender& sender, int ms = 20000) {
    QElapsedTimer timer;
    timer.start();
    while (!sender.waitIdle(10)) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        if (timer.elapsed() > ms)
            return false;
    }
    return true;
}

// A server that takes each connection and hangs up at once.
class HangUpServer {
  public:
    HangUpServer() {
        server_.listen(QHostAddress::LocalHost, 0);
        QObject::connect(&server_, &QTcpServer::newConnection, [this] {
            while (QTcpSocket* s = server_.nextPendingConnection()) {
                ++connections;
                s->abort();
            }
        });
    }
    int port() const { return server_.serverPort(); }
    int connections = 0;

  private:
    QTcpServer server_;
};

QStringList IdsIn(const QStringList& files) {
    QStringList ids;
    for (const QString& f : files) {
        OutboxMail m;
        EXPECT_TRUE(ReadOutboxMail(f, &m)) << f.toStdString();
        ids << QLatin1Char('<') + m.messageId + QLatin1Char('>');
    }
    return ids;
}

// Each of `ids` once in `arrived`, in the same order.
void ExpectEachOnceInOrder(const QStringList& ids, const QStringList& arrived) {
    QStringList seen;
    for (const QString& id : arrived)
        if (ids.contains(id))
            seen << id;
    EXPECT_EQ(seen, ids);
}

}  // namespace

// The worker alone: outbox files, order, connection failures.
class OutboxWorker : public ::testing::Test {
  protected:
    void SetUp() override {
        outbox = NewTempDir(QStringLiteral("outbox"));
        ResetErrorReportingForTests();
    }
    QString outbox;
};

TEST_F(OutboxWorker, FirstConnectionFailureLeavesTheRestForTheNextAttempt) {
    HangUpServer server;
    OutboxSender sender(outbox);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(sender.queue(Mail(i), LocalProfile(server.port())).status,
                  MailSendResult::Status::KeptInOutbox);
    ASSERT_TRUE(WaitIdle(sender));
    OutboxStatus s = sender.status();
    EXPECT_EQ(s.waiting, 5);
    EXPECT_TRUE(s.serverDown);
    EXPECT_FALSE(s.lastError.isEmpty());
    // Mails queued while the server was down went straight to the outbox without another try.
    const int tries = server.connections;
    EXPECT_EQ(tries, 1) << "one try for the batch, not one connection per mail";
    const MailSendResult later = sender.queue(Mail(9), LocalProfile(server.port()));
    EXPECT_FALSE(later.queued);
    ASSERT_TRUE(WaitIdle(sender));
    EXPECT_EQ(server.connections, tries);
    // An explicit retry tries again.
    sender.kick(LocalProfile(server.port()));
    ASSERT_TRUE(WaitIdle(sender));
    EXPECT_GT(server.connections, tries);
    EXPECT_EQ(sender.status().waiting, 6);
}

// Against the SMTP sink that `make test` starts.
class OutboxSinkTest : public OutboxWorker {
  protected:
    void SetUp() override {
        OutboxWorker::SetUp();
        port = SmtpPort().toInt();
        spool = SmtpSpoolDir();
        if (port <= 0 || spool.isEmpty())
            TLM_NEED_SERVER(false, "the SMTP sink: TLM_TEST_SMTP_PORT / TLM_TEST_SMTP_SPOOL");
    }
    int port = 0;
    QString spool;
};

TEST_F(OutboxSinkTest, QueuedMailWaitsThenArrivesAsWrittenInOrderOnceOverOneConnection) {
    OutboxSender sender(outbox);
    QStringList ids;
    for (int i = 0; i < 12; ++i) {
        const MailSendResult r = sender.queue(Mail(i), NoServer());
        ASSERT_EQ(r.status, MailSendResult::Status::KeptInOutbox) << r.reason.toStdString();
        EXPECT_FALSE(r.queued) << "nothing can deliver it";
        ids << QLatin1Char('<') + r.messageId + QLatin1Char('>');
    }
    EXPECT_EQ(IdsIn(OutboxFiles(outbox)), ids) << "file order = queue order";
    EXPECT_TRUE(sender.status().noServer);
    EXPECT_EQ(sender.status().waiting, 12);
    // Refused input leaves nothing behind.
    EXPECT_EQ(sender.queue({QStringLiteral("no-at-sign"), {}, QStringLiteral("x"), {}}, NoServer()).status,
              MailSendResult::Status::Refused);

    sender.kick(LocalProfile(port));
    ASSERT_TRUE(WaitIdle(sender));
    EXPECT_TRUE(OutboxFiles(outbox).isEmpty()) << sender.status().lastError.toStdString();
    EXPECT_EQ(sender.status().delivered, 12);
    EXPECT_EQ(sender.status().connections, 1);
    ExpectEachOnceInOrder(ids, SpoolIds(spool));
    // The kept mail went out to its envelope, without the outbox's own header lines.
    QString raw;
    const QJsonObject first = SpooledMail(spool, ids[0].mid(1).chopped(1), &raw);
    EXPECT_EQ(JsonStrings(first.value(QStringLiteral("rcpt_tos"))), (QStringList{"ann@x.org", "bo@y.org"}));
    EXPECT_EQ(first.value(QStringLiteral("subject")).toString(), QStringLiteral("Mail 0"));
    EXPECT_FALSE(ReadAll(raw).contains("X-Tlm-"));

    // A crash after the server took a mail and before its file went: that one mail comes again,
    // with the same Message-ID, and nothing else does.
    const MailSendResult r = sender.queue(Mail(99), NoServer());
    QFile::copy(r.outboxFile, r.outboxFile + QStringLiteral(".copy"));
    sender.kick(LocalProfile(port));
    ASSERT_TRUE(WaitIdle(sender));
    QFile::rename(r.outboxFile + QStringLiteral(".copy"), r.outboxFile);
    sender.kick(LocalProfile(port));
    ASSERT_TRUE(WaitIdle(sender));
    const QStringList arrived = SpoolIds(spool);
    EXPECT_EQ(arrived.count(QLatin1Char('<') + r.messageId + QLatin1Char('>')), 2);
    for (const QString& id : ids)
        EXPECT_EQ(arrived.count(id), 1) << id.toStdString();
}

TEST_F(OutboxSinkTest, TwoProcessesSharingTheOutboxDeliverEachMailOnce) {
    OutboxSender a(outbox), b(outbox);
    for (int i = 0; i < 20; ++i)
        (i % 2 ? a : b).queue(Mail(i), NoServer());
    const QStringList ids = IdsIn(OutboxFiles(outbox));
    a.kick(LocalProfile(port));
    b.kick(LocalProfile(port));
    ASSERT_TRUE(WaitIdle(a));
    ASSERT_TRUE(WaitIdle(b));
    EXPECT_TRUE(OutboxFiles(outbox).isEmpty());
    EXPECT_EQ(a.status().delivered + b.status().delivered, 20);
    const QStringList arrived = SpoolIds(spool);
    for (const QString& id : ids)
        EXPECT_EQ(arrived.count(id), 1) << id.toStdString();
}

// A list save with notifications through the stored profile and the delivery worker.
class SaveWithMailTest : public DomainDbTest {
  protected:
    void SetUp() override {
        DomainDbTest::SetUp();
        if (IsSkipped())
            return;
        InstallNotificationSenders();
        SetNotificationTransport(nullptr);
        outbox = NewTempDir(QStringLiteral("outbox"));
        sender = std::make_unique<OutboxSender>(outbox);
        SetMailDelivery(sender.get());
        std::vector<QVariantList> members{{"Robin", "robin@example.org"}};
        for (int i = 0; i < kManagers; ++i)
            members.push_back(
                {QStringLiteral("Manager %1").arg(i), QStringLiteral("m%1@example.org").arg(i)});
        global->Members.FromArray(Rows(members));
        global->SaveGlobalSettings(3);
        for (const auto& info : TemplateVocabulary())
            global->MessageTemplates.SetNotificaionEnabledValue(info.key, true);
    }
    void TearDown() override {
        SetMailDelivery(nullptr);
        sender.reset();
        SetNotificationDisplay(nullptr);
        DomainDbTest::TearDown();
    }
    // Saves `count` new projects, each with a manager: a mail per project and one to all members.
    void SaveProjects(int count) {
        std::vector<QVariantList> rows;
        for (int i = 0; i < count; ++i)
            rows.push_back({QStringLiteral("Project %1").arg(i),
                            QStringLiteral("Manager %1").arg(i % kManagers), QStringLiteral("10")});
        global->Projects.FromArray(Rows(rows));
        global->SaveGlobalSettings(1);
    }
    static constexpr int kManagers = 5;
    QString outbox;
    std::unique_ptr<OutboxSender> sender;
};

TEST_P(SaveWithMailTest, ServerDownTheSaveEndsWithTheMailsKeptThenTheServerBackDrainsThem) {
    QTcpServer silent;  // takes the connection, never greets
    ASSERT_TRUE(silent.listen(QHostAddress::LocalHost, 0));
    ASSERT_TRUE(SaveMailProfile(LocalProfile(silent.serverPort())));
    SaveProjects(40);
    // The first mail holds the worker at the silent server; the save did not wait for it.
    EXPECT_TRUE(sender->status().busy);
    EXPECT_EQ(Column(QStringLiteral("SELECT ProjectName FROM tProjects")).size(), 40);
    const QStringList files = OutboxFiles(outbox);
    EXPECT_EQ(files.size(), 41);
    EXPECT_TRUE(prompter.shown().isEmpty()) << PromptTexts().join(QLatin1Char('|')).toStdString();
    EXPECT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
    sender->shutdown();
    EXPECT_EQ(OutboxFiles(outbox), files) << "an aborted delivery leaves every mail in the outbox";

    const int port = SmtpPort().toInt();
    const QString spool = SmtpSpoolDir();
    if (port <= 0 || spool.isEmpty())
        FAIL() << "TLM_TEST_SMTP_PORT / TLM_TEST_SMTP_SPOOL unset: the SMTP sink runs under `make test`";
    // The next start, with the server back.
    const QStringList ids = IdsIn(files);
    ASSERT_TRUE(SaveMailProfile(LocalProfile(port)));
    OutboxSender next(outbox);
    next.kick(LoadMailProfile());
    ASSERT_TRUE(WaitIdle(next));
    EXPECT_TRUE(OutboxFiles(outbox).isEmpty()) << next.status().lastError.toStdString();
    ExpectEachOnceInOrder(ids, SpoolIds(spool));
}

INSTANTIATE_TEST_SUITE_P(Engines, SaveWithMailTest, ::testing::Values(Engine::SQLite), EngineName);

}  // namespace tlm::test
