#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include "app/program.h"
#include "core/error_report.h"
#include "desktop/gui_dialogs.h"
#include "mail/outbox.h"
#include "mail/outbox_form.h"
#include "support/test_env.h"

using namespace tlm;

namespace {

MailProfile SinkProfile(int port) {
    MailProfile p;
    p.senderAddress = QStringLiteral("desk@example.org");
    p.host = QStringLiteral("127.0.0.1");
    p.port = port;
    p.tls = MailTlsMode::None;
    return p;
}

// Leaves `count` mails in the outbox, as a run without a mail server would.
QStringList LeaveMails(const QString& outbox, int count) {
    MailProfile none = SinkProfile(25);
    none.host.clear();
    OutboxSender earlier(outbox);
    QStringList ids;
    for (int i = 0; i < count; ++i)
        ids << earlier
                   .queue({QStringLiteral("ann@x.org"),
                           {},
                           QStringLiteral("Left %1").arg(i),
                           QStringLiteral("<p>left</p>")},
                          none)
                   .messageId;
    return ids;
}

}  // namespace

// The program's own wiring: the outbox is tried at start, and what waits is told at the end.
class ProgramMail : public ::testing::Test {
  protected:
    void SetUp() override {
        test::FreshLocalSettings();
        outbox = test::NewTempDir(QStringLiteral("outbox"));
        SetOutboxFolder(outbox);
        DialogScript::clear();
        ResetMailWaitingNotice();
        ResetErrorReportingForTests();
    }
    void TearDown() override {
        SetOutboxFolder(QString());
        DialogScript::clear();
    }
    QString outbox;
};

TEST_F(ProgramMail, StartDeliversWhatAnEarlierRunLeftAndTheEndIsQuiet) {
    const int port = test::SmtpPort().toInt();
    const QString spool = test::SmtpSpoolDir();
    if (port <= 0 || spool.isEmpty())
        FAIL() << "TLM_TEST_SMTP_PORT / TLM_TEST_SMTP_SPOOL unset: the SMTP sink runs under `make test`";
    const QStringList ids = LeaveMails(outbox, 3);
    ASSERT_TRUE(SaveMailProfile(SinkProfile(port)));
    {
        Program program;
        ASSERT_TRUE(MailDelivery().waitIdle(20000));
        EXPECT_TRUE(OutboxFiles(outbox).isEmpty()) << MailDelivery().status().lastError.toStdString();
        program.DestroyAllObjects();
    }
    EXPECT_TRUE(DialogScript::shownMessages().isEmpty())
        << DialogScript::shownMessages().join('|').toStdString();
    QStringList arrived;
    for (const QString& f : QDir(spool).entryList({QStringLiteral("*.json")}, QDir::Files)) {
        QFile file(spool + QLatin1Char('/') + f);
        if (file.open(QIODevice::ReadOnly))
            arrived << QJsonDocument::fromJson(file.readAll())
                           .object()
                           .value(QStringLiteral("message_id"))
                           .toString();
    }
    for (const QString& id : ids)
        EXPECT_EQ(arrived.count(QLatin1Char('<') + id + QLatin1Char('>')), 1) << id.toStdString();
}

TEST_F(ProgramMail, WithoutAServerTheEndTellsOnceHowManyWait) {
    LeaveMails(outbox, 2);
    DialogScript::queueAnswer(PromptAnswer::No);
    {
        Program program;
        program.DestroyAllObjects();
        program.DestroyAllObjects();  // the exit path may run it again: still one notice
    }
    ASSERT_EQ(DialogScript::shownMessages().size(), 1);
    EXPECT_TRUE(DialogScript::shownMessages()[0].contains(QStringLiteral("2 mails wait")))
        << DialogScript::shownMessages()[0].toStdString();
    EXPECT_EQ(OutboxFiles(outbox).size(), 2);
}
