#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTcpServer>
#include <functional>

#include "core/error_report.h"
#include "core/local_settings.h"
#include "core/prompt.h"
#include "mail/mail_account_dialog.h"
#include "support/mail_sink.h"
#include "support/test_env.h"

using namespace tlm;
using tlm::test::ClosedPort;
using tlm::test::ReadAll;

namespace {

const QString kPassword = QStringLiteral("Stored-pw-42");

MailProfile StoredProfile() {
    MailProfile p;
    p.senderName = QStringLiteral("Tally Desk");
    p.senderAddress = QStringLiteral("desk@example.org");
    p.host = QStringLiteral("smtp.example.org");
    p.port = 2525;
    p.tls = MailTlsMode::StartTls;
    p.user = QStringLiteral("desk");
    p.password = kPassword;
    p.connectTimeoutSeconds = 7;
    p.errorReportMailbox = QStringLiteral("errors@example.org");
    return p;
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

class MailAccountDialog : public ::testing::Test {
  protected:
    void SetUp() override {
        settingsFile = test::FreshLocalSettings();
        outbox = test::NewTempDir(QStringLiteral("outbox"));
        SetOutboxFolder(outbox);
        SetPrompter(&prompter);
        ResetErrorReportingForTests();
    }
    void TearDown() override {
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
    QString settingsFile;
    QString outbox;
};

TEST_F(MailAccountDialog, ShowsTheStoredProfileSavesEditsAndKeepsThePassword) {
    ASSERT_TRUE(SaveMailProfile(StoredProfile()));
    {
        frmMailAccount d;
        d.show();
        EXPECT_EQ(d.senderNameField()->text(), QStringLiteral("Tally Desk"));
        EXPECT_EQ(d.senderAddressField()->text(), QStringLiteral("desk@example.org"));
        EXPECT_EQ(d.hostField()->text(), QStringLiteral("smtp.example.org"));
        EXPECT_EQ(d.portField()->text(), QStringLiteral("2525"));
        EXPECT_EQ(d.tlsBox()->currentData().toInt(), int(MailTlsMode::StartTls));
        EXPECT_EQ(d.userField()->text(), QStringLiteral("desk"));
        EXPECT_TRUE(d.verifyCertificateBox()->isChecked());
        EXPECT_EQ(d.timeoutBox()->value(), 7);
        EXPECT_EQ(d.errorMailboxField()->text(), QStringLiteral("errors@example.org"));
        ExpectPasswordHidden(d, kPassword);

        d.senderNameField()->setText(QStringLiteral("Projects - Bo Chen"));
        d.hostField()->setText(QStringLiteral(" mail.example.net "));
        d.portField()->setText(QString());
        d.setTls(MailTlsMode::Implicit);
        d.verifyCertificateBox()->setChecked(false);
        d.timeoutBox()->setValue(12);
        d.saveButton()->click();
        EXPECT_EQ(d.result(), QDialog::Accepted) << lastMessage().toStdString();
        EXPECT_FALSE(d.isVisible());
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

    {
        frmMailAccount reopened;
        reopened.show();
        EXPECT_EQ(reopened.portField()->text(), QString());
        EXPECT_TRUE(reopened.portField()->placeholderText().contains(QStringLiteral("465")));
        ExpectPasswordHidden(reopened, kPassword);
        reopened.passwordField()->setText(QStringLiteral("New-pw-7"));
        reopened.saveButton()->click();
    }
    EXPECT_EQ(LoadMailProfile().password, QStringLiteral("New-pw-7"));
    {
        frmMailAccount forgetting;
        ASSERT_TRUE(forgetting.forgetPasswordButton()->isEnabled());
        forgetting.forgetPasswordButton()->click();
        forgetting.saveButton()->click();
    }
    EXPECT_TRUE(LoadMailProfile().password.isEmpty());
    expectNoMessageHolds(kPassword);
}

TEST_F(MailAccountDialog, InvalidFieldsAreNamedAndNothingIsWritten) {
    ASSERT_TRUE(SaveMailProfile(StoredProfile()));
    const QByteArray before = ReadAll(settingsFile);
    ASSERT_FALSE(before.isEmpty());
    struct Case {
        std::function<void(frmMailAccount&)> edit;
        QString named;
    };
    const QList<Case> cases = {
        {[](frmMailAccount& d) { d.senderAddressField()->setText(QStringLiteral("desk@@example.org")); },
         QStringLiteral("desk@@example.org")},
        {[](frmMailAccount& d) { d.senderAddressField()->clear(); }, QStringLiteral("sender address")},
        {[](frmMailAccount& d) { d.portField()->setText(QStringLiteral("70000")); }, QStringLiteral("70000")},
        {[](frmMailAccount& d) { d.portField()->setText(QStringLiteral("-1")); }, QStringLiteral("\"-1\"")},
        {[](frmMailAccount& d) { d.portField()->setText(QStringLiteral("25x")); }, QStringLiteral("25x")},
        {[](frmMailAccount& d) { d.hostField()->setText(QStringLiteral("smtp example.org")); },
         QStringLiteral("smtp example.org")},
        {[](frmMailAccount& d) { d.hostField()->setText(QStringLiteral("smtp://example.org")); },
         QStringLiteral("smtp://example.org")},
        {[](frmMailAccount& d) { d.errorMailboxField()->setText(QStringLiteral("errors@")); },
         QStringLiteral("errors@")},
    };
    for (const Case& c : cases) {
        frmMailAccount d;
        d.show();
        d.passwordField()->setText(QStringLiteral("Typed-pw-5"));
        c.edit(d);
        d.saveButton()->click();
        EXPECT_TRUE(d.isVisible()) << c.named.toStdString();
        EXPECT_NE(d.result(), QDialog::Accepted);
        EXPECT_TRUE(lastMessage().contains(c.named)) << lastMessage().toStdString();
        // The test mail checks the same fields before anything goes out.
        const qsizetype shown = prompter.shown().size();
        EXPECT_EQ(d.sendTestMail().status, MailSendResult::Status::Refused);
        EXPECT_EQ(prompter.shown().size(), shown + 1);
        EXPECT_TRUE(lastMessage().contains(c.named));
    }
    EXPECT_EQ(ReadAll(settingsFile), before) << "a refused save writes nothing";
    EXPECT_TRUE(QDir(outbox).isEmpty());
    expectNoMessageHolds(QStringLiteral("Typed-pw-5"));
}

TEST_F(MailAccountDialog, TestMailToAClosedPortIsKeptAndSaysWhy) {
    MailProfile p = StoredProfile();
    p.host = QStringLiteral("127.0.0.1");
    p.port = ClosedPort();
    p.tls = MailTlsMode::None;
    ASSERT_TRUE(SaveMailProfile(p));
    frmMailAccount d;
    d.show();
    d.hostField()->clear();
    EXPECT_EQ(d.sendTestMail().status, MailSendResult::Status::Refused);
    EXPECT_TRUE(lastMessage().contains(QStringLiteral("SMTP server"))) << lastMessage().toStdString();

    d.hostField()->setText(QStringLiteral("127.0.0.1"));
    d.testButton()->click();
    const QStringList kept = QDir(outbox).entryList({QStringLiteral("*.eml")}, QDir::Files);
    ASSERT_EQ(kept.size(), 1);
    EXPECT_TRUE(lastMessage().contains(kept.first())) << lastMessage().toStdString();
    EXPECT_TRUE(lastMessage().contains(QStringLiteral("127.0.0.1:%1").arg(p.port)));
    EXPECT_TRUE(ReadAll(QDir(outbox).absoluteFilePath(kept.first())).contains("To: desk@example.org\r\n"));
    EXPECT_TRUE(d.isVisible()) << "a test mail does not close the dialog";
    expectNoMessageHolds(kPassword);
}

// Against the SMTP sink that `make test` starts.
TEST_F(MailAccountDialog, TestMailWithTheValuesAsEditedReachesTheSink) {
    const int port = test::SmtpPort().toInt();
    const QString spool = test::SmtpSpoolDir();
    const QString user = qEnvironmentVariable("TLM_TEST_SMTP_USER");
    const QString password = qEnvironmentVariable("TLM_TEST_SMTP_PASSWORD");
    if (port <= 0 || spool.isEmpty() || user.isEmpty())
        TLM_NEED_SERVER(false,
                        "the SMTP sink: TLM_TEST_SMTP_PORT / TLM_TEST_SMTP_SPOOL / TLM_TEST_SMTP_USER");
    // The stored profile points at a dead port; the dialog fixes it without saving, and the
    // stored password (never shown) is the one that logs in.
    MailProfile p = StoredProfile();
    p.host = QStringLiteral("127.0.0.1");
    p.port = ClosedPort();
    p.tls = MailTlsMode::None;
    p.user = user;
    p.password = password;
    ASSERT_TRUE(SaveMailProfile(p));
    frmMailAccount d;
    d.show();
    ExpectPasswordHidden(d, password);
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
    EXPECT_FALSE(arrived.value(QStringLiteral("subject")).toString().isEmpty());
    EXPECT_EQ(LoadMailProfile().port, p.port) << "a test mail saves nothing";
    expectNoMessageHolds(password);
}
