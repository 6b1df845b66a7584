#include <gtest/gtest.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "core/error_report.h"
#include "core/local_settings.h"
#include "mail/mail_transport.h"
#include "mail/outbox.h"
#include "support/mail_sink.h"
#include "support/test_env.h"

using namespace tlm;
using tlm::test::ClosedPort;
using tlm::test::LocalProfile;
using tlm::test::ReadAll;

namespace {

QString Crlf(QString s) {
    return s.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
}

bool IsPrivateFile(const QString& path) {
    const auto p = QFile::permissions(path);
    return (p & (QFileDevice::ReadOwner | QFileDevice::WriteOwner)) &&
           !(p & (QFileDevice::ReadGroup | QFileDevice::WriteGroup | QFileDevice::ReadOther |
                  QFileDevice::WriteOther));
}

}  // namespace

// Sending that never reaches a server: the mail must end in the outbox, never lost.
class MailOutboxTest : public ::testing::Test {
  protected:
    void SetUp() override {
        outbox = test::NewTempDir(QStringLiteral("outbox"));
        ResetErrorReportingForTests();
    }
    static MailProfile NoHost() {
        MailProfile p = LocalProfile(25);
        p.host.clear();
        return p;
    }
    QString outbox;
    const MailMessage mail{QStringLiteral("ann@x.org"), QStringLiteral("bo@y.org;cy@z.org"),
                           QStringLiteral("Timesheet approved"), QStringLiteral("<p>Approved.</p>")};
};

TEST_F(MailOutboxTest, NoHostKeepsTheWireBytesWithTheirRecipients) {
    const MailSendResult r = SmtpTransport(NoHost(), outbox).send(mail);
    ASSERT_EQ(r.status, MailSendResult::Status::KeptInOutbox) << r.reason.toStdString();
    EXPECT_TRUE(r.reason.contains(QStringLiteral("SMTP server"))) << r.reason.toStdString();
    ASSERT_EQ(OutboxFiles(outbox), QStringList{r.outboxFile});
    EXPECT_TRUE(IsPrivateFile(r.outboxFile));
    const QByteArray eml = ReadAll(r.outboxFile);
    EXPECT_TRUE(eml.startsWith("X-Tlm-Recipients: ann@x.org, bo@y.org, cy@z.org\r\nX-Tlm-Failure: "))
        << eml.left(200).constData();
    EXPECT_TRUE(eml.contains("\r\nMessage-ID: <" + r.messageId.toLatin1() + ">\r\n"));
    EXPECT_TRUE(eml.contains("\r\nTo: ann@x.org\r\n"));
    EXPECT_FALSE(eml.contains("\r\nBcc:"));
    EXPECT_TRUE(eml.endsWith("<p>Approved.</p>=\r\n"));
    EXPECT_TRUE(CurrentAction().contains(r.outboxFile)) << "the trace names the kept file";
}

TEST_F(MailOutboxTest, RefusedInputIsNotKeptAndAnUnwritableOutboxIsReportedAsLost) {
    MailMessage subject = mail, bcc = mail;
    subject.subject = QStringLiteral("Hi\r\nBcc: evil@x.org");
    bcc.bcc = QStringLiteral("bo@y.org;no-at-sign");
    for (const auto& [bad, named] : {std::pair{subject, "line break"}, std::pair{bcc, "no-at-sign"}}) {
        const MailSendResult r = SmtpTransport(LocalProfile(ClosedPort()), outbox).send(bad);
        EXPECT_EQ(r.status, MailSendResult::Status::Refused);
        EXPECT_TRUE(r.reason.contains(QLatin1String(named))) << r.reason.toStdString();
    }
    EXPECT_TRUE(OutboxFiles(outbox).isEmpty());

    const QString blocker = outbox + QStringLiteral("/file");
    QFile f(blocker);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.close();
    const MailSendResult r = SmtpTransport(NoHost(), blocker + QStringLiteral("/outbox")).send(mail);
    EXPECT_EQ(r.status, MailSendResult::Status::Lost);
    EXPECT_TRUE(r.reason.contains(QStringLiteral("outbox"))) << r.reason.toStdString();
}

TEST(MailProfileStore, RoundTripPrivateFileAndMaskedPassword) {
    const QString file = test::FreshLocalSettings();
    MailProfile p = LocalProfile(2525);
    p.tls = MailTlsMode::Implicit;
    p.user = QStringLiteral("desk");
    p.password = QStringLiteral("s3cret-Mail-pw");
    p.verifyCertificate = false;
    p.errorReportMailbox = QStringLiteral("errors@example.org");
    ASSERT_TRUE(SaveMailProfile(p));
    EXPECT_EQ(LocalSettingsFilePath(), file);
    EXPECT_TRUE(IsPrivateFile(file)) << file.toStdString();

    const MailProfile back = LoadMailProfile();
    EXPECT_EQ(back.host, p.host);
    EXPECT_EQ(back.port, 2525);
    EXPECT_EQ(back.tls, MailTlsMode::Implicit);
    EXPECT_EQ(back.user, p.user);
    EXPECT_EQ(back.password, p.password);
    EXPECT_FALSE(back.verifyCertificate);
    EXPECT_EQ(back.errorReportMailbox, p.errorReportMailbox);
    EXPECT_EQ(GetSetting(QStringLiteral("TLM"), QStringLiteral("MailProfile"), QStringLiteral("SmtpHost"),
                         QString()),
              QStringLiteral("127.0.0.1"));
    EXPECT_FALSE(MaskSecrets(QStringLiteral("login failed for s3cret-Mail-pw")).contains(p.password));

    // Defaults of an empty profile: STARTTLS on its usual port, certificates checked.
    test::FreshLocalSettings();
    const MailProfile empty = LoadMailProfile();
    EXPECT_EQ(empty.tls, MailTlsMode::StartTls);
    EXPECT_EQ(empty.effectivePort(), 587);
    EXPECT_TRUE(empty.verifyCertificate);
    EXPECT_GT(empty.connectTimeoutSeconds, 0);
}

TEST(MailProfileStore, UserNames) {
    // Neither " - ", "," nor "@": no name, so nothing is matched by substring.
    const std::pair<const char*, const char*> names[] = {
        {"Mailbox - Ann Lee ", "Ann Lee"},
        {"Lee, Ann", "Lee, Ann"},
        {"ann@x.org", "ann@x.org"},
        {"Ann", ""},
        {"Ann Lee", ""},
    };
    for (const auto& [mailbox, name] : names)
        EXPECT_EQ(UserNameFromMailboxName(QString::fromLatin1(mailbox)), QString::fromLatin1(name))
            << mailbox;
    test::FreshLocalSettings();
    MailProfile p = LocalProfile(25);
    p.senderName = QStringLiteral("Projects - Bo Chen");
    ASSERT_TRUE(SaveMailProfile(p));
    EXPECT_EQ(GetUserNameFromMailbox(), QStringLiteral("Bo Chen"));
    const QByteArray saved = qgetenv("USER");
    qputenv("USER", "tally-tester");
    EXPECT_EQ(fncGetUserNameFromEnvironment(), QStringLiteral("tally-tester"));
    qunsetenv("USER");
    EXPECT_FALSE(fncGetUserNameFromEnvironment().isEmpty()) << "falls back on the password database";
    qputenv("USER", saved);
}

// Against the SMTP sink that `make test` starts: what arrived is read back by Python's own mail
// parser (the .json beside each spooled mail).
class SmtpSinkTest : public ::testing::Test {
  protected:
    void SetUp() override {
        port = test::SmtpPort().toInt();
        spool = test::SmtpSpoolDir();
        if (port <= 0 || spool.isEmpty())
            TLM_NEED_SERVER(false, "the SMTP sink: TLM_TEST_SMTP_PORT / TLM_TEST_SMTP_SPOOL");
        outbox = test::NewTempDir(QStringLiteral("outbox"));
        ResetErrorReportingForTests();
    }
    QJsonObject Arrived(const QString& messageId, QString* rawPath = nullptr) const {
        return test::SpooledMail(spool, messageId, rawPath);
    }

    int port = 0;
    QString spool;
    QString outbox;
};

TEST_F(SmtpSinkTest, NotificationArrivesWithSplitRecipientsEncodedSubjectAndBody) {
    const QString subject =
        QStringLiteral("Bericht für Jürgen – 報告 =?x?= ") + QStringLiteral("long ").repeated(20);
    QString html = QStringLiteral("<html><body><p>Grüße, 100% = done</p>\n<pre>\tTab and trailing blank \n");
    html += QStringLiteral("<td>") + QStringLiteral("x").repeated(500) +
            QStringLiteral("</td>\n.dot line\n</pre>");
    const MailMessage msg = MakeNotificationMail(QStringLiteral("ann@x.org;bo@y.org;cy@z.org"), subject,
                                                 html + QStringLiteral("</body></html>"));
    const MailSendResult r = SmtpTransport(LocalProfile(port), outbox).send(msg);
    ASSERT_EQ(r.status, MailSendResult::Status::Sent) << r.reason.toStdString();
    const QJsonObject o = Arrived(r.messageId);
    ASSERT_FALSE(o.isEmpty()) << "no mail with Message-ID " << r.messageId.toStdString() << " in "
                              << spool.toStdString();

    EXPECT_EQ(
        test::JsonStrings(o.value(QStringLiteral("rcpt_tos"))),
        (QStringList{QStringLiteral("ann@x.org"), QStringLiteral("bo@y.org"), QStringLiteral("cy@z.org")}));
    EXPECT_EQ(o.value(QStringLiteral("mail_from")).toString(), QStringLiteral("desk@example.org"));
    EXPECT_EQ(o.value(QStringLiteral("to")).toString(), QStringLiteral("ann@x.org"));
    EXPECT_EQ(o.value(QStringLiteral("from")).toString(), QStringLiteral("Tally Desk <desk@example.org>"));
    for (const QJsonValue& h : o.value(QStringLiteral("headers")).toArray())
        EXPECT_NE(h.toArray().at(0).toString().toLower(), QStringLiteral("bcc"));
    EXPECT_EQ(o.value(QStringLiteral("subject")).toString(), subject);
    EXPECT_EQ(o.value(QStringLiteral("content_type")).toString(), QStringLiteral("text/html"));
    // The body comes back whole only if its charset and quoted-printable encoding were read as such.
    EXPECT_EQ(Crlf(o.value(QStringLiteral("body")).toString()), msg.html);
    EXPECT_TRUE(o.value(QStringLiteral("defects")).toArray().isEmpty())
        << QJsonDocument(o.value(QStringLiteral("defects")).toArray()).toJson().constData();
    EXPECT_TRUE(OutboxFiles(outbox).isEmpty());
}

TEST_F(SmtpSinkTest, LoginWithTheRightPasswordAndRefusedLoginKeepsTheMail) {
    const QString user = qEnvironmentVariable("TLM_TEST_SMTP_USER");
    const QString password = qEnvironmentVariable("TLM_TEST_SMTP_PASSWORD");
    if (user.isEmpty())
        TLM_NEED_SERVER(false, "the SMTP sink's user: TLM_TEST_SMTP_USER");
    MailProfile p = LocalProfile(port);
    p.user = user;
    p.password = password;
    const MailMessage msg{QStringLiteral("ann@x.org"), QStringLiteral("bo@y.org"), QStringLiteral("Login"),
                          QStringLiteral("<p>x</p>")};
    const MailSendResult ok = SmtpTransport(p, outbox).send(msg);
    ASSERT_EQ(ok.status, MailSendResult::Status::Sent) << ok.reason.toStdString();
    EXPECT_EQ(Arrived(ok.messageId).value(QStringLiteral("auth_user")).toString(), user);

    p.password = QStringLiteral("Wrong-pw-") + password;
    const MailSendResult refused = SmtpTransport(p, outbox).send(msg);
    ASSERT_EQ(refused.status, MailSendResult::Status::KeptInOutbox) << refused.reason.toStdString();
    EXPECT_TRUE(Arrived(refused.messageId).isEmpty());
    EXPECT_TRUE(refused.reason.contains(QStringLiteral("535"))) << refused.reason.toStdString();
    const QByteArray eml = ReadAll(refused.outboxFile);
    EXPECT_TRUE(eml.startsWith("X-Tlm-Recipients: ann@x.org, bo@y.org\r\n"));
    for (const QString& text : {refused.reason, QString::fromUtf8(eml), CurrentAction()})
        EXPECT_FALSE(text.contains(p.password)) << text.left(300).toStdString();
}

TEST_F(SmtpSinkTest, RequiredTlsIsNeverDowngraded) {
    // The sink offers no STARTTLS and speaks no TLS: the mail must wait in the outbox, not go out
    // in the clear.
    MailProfile p = LocalProfile(port);
    for (const MailTlsMode mode : {MailTlsMode::StartTls, MailTlsMode::Implicit}) {
        p.tls = mode;
        const MailSendResult r =
            SmtpTransport(p, outbox).send({QStringLiteral("ann@x.org"), {}, QStringLiteral("TLS"), {}});
        EXPECT_EQ(r.status, MailSendResult::Status::KeptInOutbox) << r.reason.toStdString();
        EXPECT_TRUE(Arrived(r.messageId).isEmpty());
    }
}

TEST_F(SmtpSinkTest, ErrorReportGoesToTheMailboxWithoutSecrets) {
    test::FreshLocalSettings();
    MailProfile p = LocalProfile(port);
    p.password = QStringLiteral("Profile-pw-77");
    p.user.clear();  // no login: the sink takes it, and the password must still not travel
    p.errorReportMailbox = QStringLiteral("errors@example.org");
    ASSERT_TRUE(SaveMailProfile(p));
    SetOutboxFolder(outbox);

    MailErrorReportMailer mailer;
    EXPECT_TRUE(mailer.available());
    const QString report = QStringLiteral(
        "At Line: 4\r\nIn Function: DB.GetCONN <x>\r\n"
        "Exception Description: Data Source=srv;Password=db-pw-9;\r\n"
        "smtp said Profile-pw-77\r\n");
    ASSERT_TRUE(mailer.send(QStringLiteral("Exception (1.0.0) : Tally Loom Manager Process"), report, true))
        << mailer.lastResult().reason.toStdString();
    // The report goes through the outbox like every mail; the worker delivers it.
    EXPECT_TRUE(mailer.lastResult().queued);
    ASSERT_TRUE(MailDelivery().waitIdle(20000));
    EXPECT_TRUE(OutboxFiles(outbox).isEmpty()) << MailDelivery().status().lastError.toStdString();
    SetOutboxFolder(QString());
    QString rawPath;
    const QJsonObject o = Arrived(mailer.lastResult().messageId, &rawPath);
    ASSERT_FALSE(o.isEmpty());
    EXPECT_EQ(test::JsonStrings(o.value(QStringLiteral("rcpt_tos"))),
              QStringList{QStringLiteral("errors@example.org")});
    const QString body = o.value(QStringLiteral("body")).toString();
    EXPECT_TRUE(body.contains(QStringLiteral("In Function: DB.GetCONN &lt;x&gt;"))) << body.toStdString();
    EXPECT_FALSE(body.contains(QStringLiteral("db-pw-9")));
    EXPECT_FALSE(body.contains(QStringLiteral("Profile-pw-77")));
    const QByteArray raw = ReadAll(rawPath);
    ASSERT_FALSE(raw.isEmpty());
    EXPECT_FALSE(raw.contains("Profile-pw-77"));
}
