#include <gtest/gtest.h>

#include <QLineEdit>
#include <QPushButton>

#include "app/program.h"
#include "core/error_report.h"
#include "desktop/gui_dialogs.h"
#include "mail/mail_account_dialog.h"
#include "mail/outbox.h"
#include "mail/outbox_form.h"
#include "support/mail_sink.h"
#include "support/test_env.h"

using namespace tlm;

// The program's own wiring: the outbox is tried at start, and what still waits is told once at the
// end, with the way to the account that sends it.
TEST(ProgramMail, StartTriesTheOutboxAndTheEndTellsOnceAndOpensTheAccount) {
    const int port = test::SmtpPort().toInt();
    const QString spool = test::SmtpSpoolDir();
    if (port <= 0 || spool.isEmpty())
        FAIL() << "TLM_TEST_SMTP_PORT / TLM_TEST_SMTP_SPOOL unset: the SMTP sink runs under `make test`";
    test::FreshLocalSettings();
    const QString outbox = test::NewTempDir(QStringLiteral("outbox"));
    SetOutboxFolder(outbox);
    DialogScript::clear();
    ResetMailWaitingNotice();
    QStringList ids;
    {
        OutboxSender earlier(outbox);  // a run without a mail server left these
        for (int i = 0; i < 2; ++i)
            ids << earlier.queue({QStringLiteral("ann@x.org"), {}, QStringLiteral("Left %1").arg(i), {}}, {})
                       .messageId;
    }
    DialogScript::queueAnswer(PromptAnswer::Yes);
    frmMailAccount::SetDialogHook([&](frmMailAccount* d) {
        d->senderAddressField()->setText(QStringLiteral("desk@example.org"));
        d->hostField()->setText(QStringLiteral("127.0.0.1"));
        d->portField()->setText(QString::number(port));
        d->setTls(MailTlsMode::None);
        d->saveButton()->click();
    });
    {
        Program program;
        EXPECT_TRUE(MailDelivery().status().noServer);
        program.DestroyAllObjects();
        program.DestroyAllObjects();  // the exit path may run it again: still one notice
    }
    frmMailAccount::SetDialogHook({});
    SetOutboxFolder(QString());
    ASSERT_EQ(DialogScript::shownMessages().size(), 1);
    EXPECT_TRUE(DialogScript::shownMessages()[0].contains(QStringLiteral("2 mails wait")))
        << DialogScript::shownMessages()[0].toStdString();
    EXPECT_TRUE(OutboxFiles(outbox).isEmpty()) << "the account saved at the end sends what waited";

    // The next start with the server set delivers without a word; each mail arrived once.
    const MailSendResult left = OutboxSender(outbox).queue(
        {QStringLiteral("bo@y.org"), {}, QStringLiteral("Next"), {}}, MailProfile{});
    ids << left.messageId;
    SetOutboxFolder(outbox);
    DialogScript::clear();
    {
        Program program;
        ASSERT_TRUE(MailDelivery().waitIdle(20000));
        program.DestroyAllObjects();
    }
    SetOutboxFolder(QString());
    EXPECT_TRUE(OutboxFiles(outbox).isEmpty());
    EXPECT_TRUE(DialogScript::shownMessages().isEmpty());
    const QStringList arrived = test::SpoolIds(spool);
    for (const QString& id : ids)
        EXPECT_EQ(arrived.count(QLatin1Char('<') + id + QLatin1Char('>')), 1) << id.toStdString();
}
