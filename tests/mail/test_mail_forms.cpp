#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTreeWidget>

#include "app/program.h"
#include "core/error_report.h"
#include "core/local_settings.h"
#include "core/prompt.h"
#include "desktop/dialogs.h"
#include "mail/compose_form.h"
#include "mail/mail_account_form.h"
#include "mail/outbox.h"
#include "mail/outbox_form.h"
#include "support/mail_sink.h"
#include "support/test_env.h"

using namespace tlm;
using tlm::test::ClosedPort;
using tlm::test::LocalProfile;
using tlm::test::ReadAll;

namespace {

const QString kPassword = QStringLiteral("Stored-pw-42");

struct FakeTransport : MailTransport {
    MailSendResult next;
    QList<MailMessage> sent;
    MailSendResult send(const MailMessage& message) override {
        sent << message;
        return next;
    }
};

MailSendResult Result(MailSendResult::Status status, const QString& reason, const QString& file = {}) {
    MailSendResult r;
    r.status = status;
    r.reason = reason;
    r.outboxFile = file;
    return r;
}

// No widget of the dialog may hold the password where it can be read.
void ExpectPasswordHidden(const frmMailAccount& d, const QString& password) {
    EXPECT_EQ(d.passwordField()->echoMode(), QLineEdit::Password);
    for (const QLineEdit* e : d.findChildren<QLineEdit*>()) {
        EXPECT_FALSE(e->text().contains(password)) << e->text().toStdString();
        EXPECT_FALSE(e->placeholderText().contains(password));
    }
    for (const QLabel* l : d.findChildren<QLabel*>())
        EXPECT_FALSE(l->text().contains(password));
}

}  // namespace

// The mail screens over a fresh settings file, an outbox of their own and a delivery worker.
class MailForms : public ::testing::Test {
  protected:
    void SetUp() override {
        settingsFile = test::FreshLocalSettings();
        outbox = test::NewTempDir(QStringLiteral("outbox"));
        SetOutboxFolder(outbox);
        SetPrompter(&prompter);
        ResetErrorReportingForTests();
        ResetMailWaitingNotice();
        delivery = std::make_unique<OutboxSender>(outbox);
        SetMailDelivery(delivery.get());
        stored = LocalProfile(2525);
        stored.user = QStringLiteral("desk");
        stored.password = kPassword;
        stored.connectTimeoutSeconds = 7;
        stored.errorReportMailbox = QStringLiteral("errors@example.org");
    }
    void TearDown() override {
        frmCompose::SetDisplayHook({});
        frmMailAccount::SetDialogHook({});
        SetMailDelivery(nullptr);
        delivery.reset();
        SetOutboxFolder(QString());
        SetPrompter(nullptr);
    }
    QString lastMessage() const {
        return prompter.shown().isEmpty() ? QString() : prompter.shown().last().text;
    }
    void expectNoMessageHolds(const QString& secret) const {
        for (const auto& s : prompter.shown())
            EXPECT_FALSE(s.text.contains(secret)) << s.text.toStdString();
    }

    ScriptedPrompter prompter;
    FakeTransport fake;
    QString settingsFile;
    QString outbox;
    std::unique_ptr<OutboxSender> delivery;
    MailProfile stored;
    const MailMessage mail{QStringLiteral("ann@x.org"), QStringLiteral("bo@y.org;cy@z.org"),
                           QStringLiteral("Timesheet approved"),
                           QStringLiteral("<p>Week <b>12</b> approved.</p>")};
};

TEST_F(MailForms, ComposeTheSendResultDecidesWhetherTheWindowCloses) {
    const MailMessage typo{QStringLiteral("ann@x.org;not an address"), mail.bcc, mail.subject, mail.html};
    frmCompose w(typo, &fake);
    w.show();
    EXPECT_EQ(w.toField()->text(), typo.to);
    EXPECT_EQ(w.bccField()->text(), mail.bcc);
    EXPECT_EQ(w.subjectField()->text(), mail.subject);
    EXPECT_EQ(w.sourceEditor()->toPlainText(), mail.html);
    EXPECT_TRUE(w.addressProblems().contains(QStringLiteral("not an address")))
        << w.addressProblems().toStdString();
    // An invalid address, refused or lost: the mail stays in the window, and the user learns why.
    w.sendButton()->click();
    EXPECT_TRUE(w.isVisible());
    EXPECT_EQ(w.outcome(), frmCompose::Outcome::Cancelled);
    EXPECT_TRUE(lastMessage().contains(QStringLiteral("not an address"))) << lastMessage().toStdString();
    EXPECT_TRUE(fake.sent.isEmpty());
    w.toField()->setText(mail.to);
    fake.next = Result(MailSendResult::Status::Refused, QStringLiteral("The subject holds a line break"));
    w.sendButton()->click();
    EXPECT_TRUE(w.isVisible());
    EXPECT_TRUE(lastMessage().contains(QStringLiteral("line break"))) << lastMessage().toStdString();
    fake.next = Result(MailSendResult::Status::Lost, QStringLiteral("disk full"));
    w.sendButton()->click();
    EXPECT_TRUE(w.isVisible());
    EXPECT_TRUE(lastMessage().contains(QStringLiteral("disk full")));

    // Sent: what goes out is the mail as edited.
    const qsizetype shown = prompter.shown().size();
    w.toField()->setText(QStringLiteral("dee@x.org"));
    w.subjectField()->setText(QStringLiteral("Timesheet declined"));
    w.sourceEditor()->setPlainText(QStringLiteral("<p>Declined.</p>"));
    fake.next = Result(MailSendResult::Status::Sent, {});
    w.sendButton()->click();
    EXPECT_FALSE(w.isVisible());
    EXPECT_EQ(w.outcome(), frmCompose::Outcome::Sent);
    EXPECT_EQ(prompter.shown().size(), shown) << "a sent mail needs no message";
    ASSERT_EQ(fake.sent.size(), 3);
    EXPECT_EQ(fake.sent.last().to, QStringLiteral("dee@x.org"));
    EXPECT_EQ(fake.sent.last().bcc, mail.bcc);
    EXPECT_EQ(fake.sent.last().subject, QStringLiteral("Timesheet declined"));
    EXPECT_EQ(fake.sent.last().html, QStringLiteral("<p>Declined.</p>"));

    // Kept in the outbox: the window closes and says where the mail is.
    frmCompose kept(mail, &fake);
    kept.show();
    fake.next = Result(MailSendResult::Status::KeptInOutbox, QStringLiteral("server down"),
                       QStringLiteral("/var/outbox/1.eml"));
    kept.sendButton()->click();
    EXPECT_FALSE(kept.isVisible());
    EXPECT_EQ(kept.outcome(), frmCompose::Outcome::KeptInOutbox);
    EXPECT_TRUE(lastMessage().contains(QStringLiteral("server down")));
    EXPECT_TRUE(lastMessage().contains(QStringLiteral("/var/outbox/1.eml")));
}

TEST_F(MailForms, ComposeClosedPortSendIsQueuedAndTheClosingNoticeSaysWhy) {
    MailProfile p = LocalProfile(ClosedPort());
    p.user = QStringLiteral("desk");
    p.password = QStringLiteral("Compose-pw-31");
    ASSERT_TRUE(SaveMailProfile(p));
    bool openAfterSend = true;
    frmCompose::SetDisplayHook([&](frmCompose* w) {
        w->show();
        w->sendButton()->click();
        openAfterSend = w->isVisible();
    });
    EXPECT_EQ(frmCompose::DisplayMail(mail), frmCompose::Outcome::KeptInOutbox);
    EXPECT_FALSE(openAfterSend);
    EXPECT_TRUE(prompter.shown().isEmpty()) << "handed to the worker: " << lastMessage().toStdString();
    ASSERT_TRUE(delivery->waitIdle(20000));
    ASSERT_EQ(OutboxFiles(outbox).size(), 1);

    // The screen closes: one notice with the count and the reason, never the password.
    EXPECT_EQ(FinishMailDelivery(*delivery, 2000), 1);
    ASSERT_EQ(prompter.shown().size(), 1);
    EXPECT_TRUE(lastMessage().contains(QStringLiteral("1 mail waits"))) << lastMessage().toStdString();
    EXPECT_TRUE(lastMessage().contains(QStringLiteral("127.0.0.1:%1").arg(p.port)));
    expectNoMessageHolds(p.password);
}

TEST_F(MailForms, AccountShowsTheStoredProfileRefusesInvalidFieldsSavesEditsAndKeepsThePassword) {
    ASSERT_TRUE(SaveMailProfile(stored));
    const QByteArray before = ReadAll(settingsFile);
    {
        frmMailAccount d;
        d.show();
        EXPECT_EQ(d.portField()->text(), QStringLiteral("2525"));
        EXPECT_EQ(d.timeoutBox()->value(), 7);
        ExpectPasswordHidden(d, kPassword);

        // An invalid field is named; neither the save nor the test mail goes on.
        d.portField()->setText(QStringLiteral("70000"));
        d.saveButton()->click();
        EXPECT_TRUE(d.isVisible());
        EXPECT_TRUE(lastMessage().contains(QStringLiteral("70000"))) << lastMessage().toStdString();
        EXPECT_EQ(ReadAll(settingsFile), before) << "a refused save writes nothing";
        EXPECT_EQ(d.sendTestMail().status, MailSendResult::Status::Refused);
        EXPECT_EQ(prompter.shown().size(), 2);
        EXPECT_TRUE(lastMessage().contains(QStringLiteral("70000")));
        EXPECT_TRUE(QDir(outbox).isEmpty());

        d.senderNameField()->setText(QStringLiteral("Projects - Bo Chen"));
        d.hostField()->setText(QStringLiteral(" mail.example.net "));
        d.portField()->setText(QString());
        d.setTls(MailTlsMode::Implicit);
        d.verifyCertificateBox()->setChecked(false);
        d.timeoutBox()->setValue(12);
        d.saveButton()->click();
        EXPECT_EQ(d.result(), QDialog::Accepted) << lastMessage().toStdString();
    }
    const MailProfile saved = LoadMailProfile();
    EXPECT_EQ(saved.senderName, QStringLiteral("Projects - Bo Chen"));
    EXPECT_EQ(saved.host, QStringLiteral("mail.example.net"));
    EXPECT_EQ(saved.effectivePort(), 465) << "an empty port is the usual one of the TLS mode";
    EXPECT_EQ(saved.tls, MailTlsMode::Implicit);
    EXPECT_FALSE(saved.verifyCertificate);
    EXPECT_EQ(saved.connectTimeoutSeconds, 12);
    EXPECT_EQ(saved.password, kPassword) << "an untouched password field keeps the password";
    EXPECT_EQ(GetSetting(QStringLiteral("TLM"), kMailProfileSection, QStringLiteral("SmtpHost"), QString()),
              QStringLiteral("mail.example.net"));
    expectNoMessageHolds(kPassword);
}

// Against the SMTP sink that `make test` starts. The stored profile points at a dead port: the
// test mail waits in the outbox; the dialog then fixes the port without saving, and the stored
// password (never shown) is the one that logs in.
TEST_F(MailForms, AccountTestMailIsKeptWhenRefusedAndReachesTheSinkWithTheValuesAsEdited) {
    const int port = test::SmtpPort().toInt();
    const QString spool = test::SmtpSpoolDir();
    const QString user = qEnvironmentVariable("TLM_TEST_SMTP_USER");
    const QString password = qEnvironmentVariable("TLM_TEST_SMTP_PASSWORD");
    if (port <= 0 || spool.isEmpty() || user.isEmpty())
        TLM_NEED_SERVER(false,
                        "the SMTP sink: TLM_TEST_SMTP_PORT / TLM_TEST_SMTP_SPOOL / TLM_TEST_SMTP_USER");
    stored.port = ClosedPort();
    stored.user = user;
    stored.password = password;
    ASSERT_TRUE(SaveMailProfile(stored));
    frmMailAccount d;
    d.show();
    ExpectPasswordHidden(d, password);
    d.testButton()->click();
    const QStringList kept = QDir(outbox).entryList({QStringLiteral("*.eml")}, QDir::Files);
    ASSERT_EQ(kept.size(), 1);
    EXPECT_TRUE(lastMessage().contains(kept.first())) << lastMessage().toStdString();
    EXPECT_TRUE(ReadAll(QDir(outbox).absoluteFilePath(kept.first())).contains("To: desk@example.org\r\n"));
    EXPECT_TRUE(d.isVisible()) << "a test mail does not close the dialog";

    d.portField()->setText(QString::number(port));
    const MailSendResult r = d.sendTestMail();
    ASSERT_EQ(r.status, MailSendResult::Status::Sent) << r.reason.toStdString();
    EXPECT_TRUE(lastMessage().contains(QStringLiteral("desk@example.org"))) << lastMessage().toStdString();
    const QJsonObject arrived = test::SpooledMail(spool, r.messageId);
    ASSERT_FALSE(arrived.isEmpty()) << "no test mail in " << spool.toStdString();
    EXPECT_EQ(test::JsonStrings(arrived.value(QStringLiteral("rcpt_tos"))), QStringList{"desk@example.org"});
    EXPECT_EQ(arrived.value(QStringLiteral("auth_user")).toString(), user);
    EXPECT_EQ(arrived.value(QStringLiteral("from")).toString(),
              QStringLiteral("Tally Desk <desk@example.org>"));
    EXPECT_EQ(LoadMailProfile().port, stored.port) << "a test mail saves nothing";
    expectNoMessageHolds(password);
}

// The program's own wiring: the outbox is tried at start, and what still waits is told once at the
// end, with the way to the account that sends it.
// The closing notice's "No" opens the outbox window: waiting and failed mails with their reasons,
// Show, Retry (a failed mail goes back to the waiting ones) and Discard (asked first).
TEST_F(MailForms, OutboxWindowFromTheClosingNoticeShowsRetriesAndDiscards) {
    ASSERT_TRUE(SaveMailProfile(MailProfile{}));  // no server: nothing goes out meanwhile
    const MailSendResult waiting = delivery->queue(mail, MailProfile{});
    ASSERT_EQ(waiting.status, MailSendResult::Status::KeptInOutbox);
    const ComposedMail refused =
        ComposeMail({QString(), QStringLiteral("desk@example.org")},
                    {QStringLiteral("gone@x.org"), {}, QStringLiteral("Refused one"), {}});
    const QString failed =
        KeepInOutbox(refused, QStringLiteral("550 5.1.1 no such user"), FailedFolder(outbox));
    ASSERT_FALSE(failed.isEmpty());

    struct Seen {
        QStringList rows;
    } seen;
    QString shownText;
    frmOutbox::SetShowHook([&](QDialog* view) {
        if (auto* text = view->findChild<QPlainTextEdit*>())
            shownText = text->toPlainText();
    });
    frmOutbox::SetDialogHook([&](frmOutbox* w) {
        QTreeWidget* list = w->list();
        for (int i = 0; i < list->topLevelItemCount(); ++i) {
            QStringList cells;
            for (int c = 0; c < list->columnCount(); ++c)
                cells << list->topLevelItem(i)->text(c);
            seen.rows << cells.join(QLatin1Char('|'));
        }
        // The failed one: shown, retried, then discarded.
        list->setCurrentItem(list->topLevelItem(1));
        w->showButton()->click();
        w->retryButton()->click();
        prompter.queue(PromptAnswer::Yes);
        w->discardButton()->click();
    });
    prompter.queue(PromptAnswer::No);
    FinishMailDelivery(*delivery, 500);
    frmOutbox::SetDialogHook({});
    frmOutbox::SetShowHook({});

    ASSERT_EQ(seen.rows.size(), 2);
    EXPECT_TRUE(seen.rows[0].startsWith(QStringLiteral("Waiting|"))) << seen.rows[0].toStdString();
    EXPECT_TRUE(seen.rows[0].contains(QStringLiteral("|Timesheet approved|ann@x.org, bo@y.org, cy@z.org|")))
        << seen.rows[0].toStdString();
    EXPECT_TRUE(seen.rows[1].startsWith(QStringLiteral("Failed|"))) << seen.rows[1].toStdString();
    EXPECT_TRUE(seen.rows[1].endsWith(QStringLiteral("|Refused one|gone@x.org|550 5.1.1 no such user")))
        << seen.rows[1].toStdString();
    EXPECT_TRUE(shownText.contains(QStringLiteral("Subject: Refused one"))) << shownText.toStdString();
    EXPECT_FALSE(shownText.contains(QStringLiteral("X-Tlm-"))) << "the mail as it goes out";
    // Retried, the mail waited again; discarded, it is gone for good.
    EXPECT_TRUE(OutboxFiles(FailedFolder(outbox)).isEmpty());
    EXPECT_EQ(OutboxFiles(outbox), QStringList{waiting.outboxFile});
    ASSERT_FALSE(prompter.shown().isEmpty());
    EXPECT_TRUE(prompter.shown()[0].text.contains(QStringLiteral("1 mail failed")))
        << prompter.shown()[0].text.toStdString();
}

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
