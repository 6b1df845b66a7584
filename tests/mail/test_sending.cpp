#include <gtest/gtest.h>

#include <sys/resource.h>
#include <unistd.h>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTcpServer>
#include <QTcpSocket>
#include <csignal>
#include <functional>
#include <limits>

#include "core/error_report.h"
#include "core/file_services.h"
#include "core/local_settings.h"
#include "core/prompt.h"
#include "domain/domain_test_fixture.h"
#include "domain/members.h"
#include "mail/mail_transport.h"
#include "mail/outbox.h"
#include "notifications/notification_engine.h"
#include "notifications/senders.h"
#include "notifications/templates.h"
#include "support/mail_sink.h"
#include "support/smtp_sink.h"
#include "support/test_env.h"

namespace tlm::test {
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

QStringList FileNames(const QString& folder) {
    return QDir(folder).entryList(QDir::Files | QDir::Hidden, QDir::Name);
}

QByteArray Latin1(const QString& s) {
    return s.toLatin1();
}

// Runs a step with writes limited to a few bytes per file, as on a full disk: the write fails with
// EFBIG instead of the process ending on SIGXFSZ.
template <typename Step>
void WithTinyFileLimit(Step step) {
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit tiny = before;
    tiny.rlim_cur = 64;
    setrlimit(RLIMIT_FSIZE, &tiny);
    step();
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, oldHandler);
}

}  // namespace

// Sending into an outbox of its own; without a server the mail must end there, never lost.
class Sending : public ::testing::Test {
  protected:
    void SetUp() override {
        outbox = NewTempDir(QStringLiteral("outbox"));
        ResetErrorReportingForTests();
        TakeUnkeptMails();  // what an earlier test could not keep is not this test's
    }
    QString outbox;
    const MailMessage mail{QStringLiteral("ann@x.org"), QStringLiteral("bo@y.org;cy@z.org"),
                           QStringLiteral("Timesheet approved"), QStringLiteral("<p>Approved.</p>")};
};

// Against the SMTP sink that `make test` starts: what arrived is read back by Python's own mail
// parser (the .json beside each spooled mail).
class SinkTest : public Sending {
  protected:
    void SetUp() override {
        Sending::SetUp();
        port = SmtpPort().toInt();
        spool = SmtpSpoolDir();
        if (port <= 0 || spool.isEmpty())
            TLM_NEED_SERVER(false, "the SMTP sink: TLM_TEST_SMTP_PORT / TLM_TEST_SMTP_SPOOL");
    }
    QJsonObject Arrived(const QString& messageId, QString* rawPath = nullptr) const {
        return SpooledMail(spool, messageId, rawPath);
    }
    int port = 0;
    QString spool;
};

TEST_F(Sending, NoHostKeepsTheWireBytesWithTheirRecipients) {
    const MailSendResult r = SmtpTransport(NoServer(), outbox).send(mail);
    ASSERT_EQ(r.status, MailSendResult::Status::KeptInOutbox) << r.reason.toStdString();
    EXPECT_TRUE(r.reason.contains(QStringLiteral("SMTP server"))) << r.reason.toStdString();
    ASSERT_EQ(OutboxFiles(outbox), QStringList{r.outboxFile});
    // Nothing but the mail: no temporary file is left beside it.
    EXPECT_EQ(QDir(outbox).entryList(QDir::Files | QDir::Hidden),
              QStringList{QFileInfo(r.outboxFile).fileName()});
    EXPECT_TRUE(IsPrivateFile(r.outboxFile));
    const QByteArray eml = ReadAll(r.outboxFile);
    EXPECT_TRUE(eml.startsWith("X-Tlm-Recipients: ann@x.org, bo@y.org, cy@z.org\r\nX-Tlm-Failure: "))
        << eml.left(200).constData();
    EXPECT_TRUE(eml.contains("\r\nMessage-ID: <" + r.messageId.toLatin1() + ">\r\n"));
    EXPECT_TRUE(eml.endsWith("<p>Approved.</p>=\r\n"));
    EXPECT_TRUE(CurrentAction().contains(r.outboxFile)) << "the trace names the kept file";
}

TEST_F(Sending, AnUnwritableOutboxIsReportedAsLost) {
    const QString blocker = outbox + QStringLiteral("/file");
    QFile f(blocker);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.close();
    const MailSendResult r = SmtpTransport(NoServer(), blocker + QStringLiteral("/outbox")).send(mail);
    EXPECT_EQ(r.status, MailSendResult::Status::Lost);
    EXPECT_TRUE(r.reason.contains(QStringLiteral("outbox"))) << r.reason.toStdString();
}

TEST(MailProfileStore, RoundTripPrivateFileAndMaskedPassword) {
    const QString file = FreshLocalSettings();
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
    FreshLocalSettings();
    const MailProfile empty = LoadMailProfile();
    EXPECT_EQ(empty.tls, MailTlsMode::StartTls);
    EXPECT_EQ(empty.effectivePort(), 587);
    EXPECT_TRUE(empty.verifyCertificate);
    EXPECT_GT(empty.connectTimeoutSeconds, 0);
}

TEST(MailProfileStore, UserNamesFromMailboxNames) {
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
}

TEST_F(Sending, FirstConnectionFailureLeavesTheRestForTheNextAttempt) {
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

TEST_F(SinkTest, NotificationArrivesWithSplitRecipientsEncodedSubjectAndBody) {
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
        JsonStrings(o.value(QStringLiteral("rcpt_tos"))),
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

TEST_F(SinkTest, RefusedLoginKeepsTheMailAndShowsNoPassword) {
    const QString user = qEnvironmentVariable("TLM_TEST_SMTP_USER");
    const QString password = qEnvironmentVariable("TLM_TEST_SMTP_PASSWORD");
    if (user.isEmpty())
        TLM_NEED_SERVER(false, "the SMTP sink's user: TLM_TEST_SMTP_USER");
    MailProfile p = LocalProfile(port);
    p.user = user;
    const MailMessage msg{QStringLiteral("ann@x.org"), QStringLiteral("bo@y.org"), QStringLiteral("Login"),
                          QStringLiteral("<p>x</p>")};
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

TEST_F(SinkTest, RequiredTlsIsNeverDowngraded) {
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

TEST_F(SinkTest, ErrorReportGoesToTheMailboxWithoutSecrets) {
    FreshLocalSettings();
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
    EXPECT_EQ(JsonStrings(o.value(QStringLiteral("rcpt_tos"))),
              QStringList{QStringLiteral("errors@example.org")});
    const QString body = o.value(QStringLiteral("body")).toString();
    EXPECT_TRUE(body.contains(QStringLiteral("In Function: DB.GetCONN &lt;x&gt;"))) << body.toStdString();
    EXPECT_FALSE(body.contains(QStringLiteral("db-pw-9")));
    EXPECT_FALSE(body.contains(QStringLiteral("Profile-pw-77")));
    const QByteArray raw = ReadAll(rawPath);
    ASSERT_FALSE(raw.isEmpty());
    EXPECT_FALSE(raw.contains("Profile-pw-77"));
}
TEST_F(SinkTest, QueuedMailWaitsThenArrivesAsWrittenInOrderOnceOverOneConnection) {
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

TEST_F(SinkTest, TwoProcessesSharingTheOutboxDeliverEachMailOnce) {
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
        TakeUnkeptMails();  // what an earlier test could not keep is not this save's
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
    static constexpr int kManagers = 5;
    QString outbox;
    std::unique_ptr<OutboxSender> sender;
};

TEST_P(SaveWithMailTest, ServerDownTheSaveEndsWithTheMailsKeptThenTheServerBackDrainsThem) {
    QTcpServer silent;  // takes the connection, never greets
    ASSERT_TRUE(silent.listen(QHostAddress::LocalHost, 0));
    ASSERT_TRUE(SaveMailProfile(LocalProfile(silent.serverPort())));
    // Forty new projects, each with a manager: a mail per project and one to all members.
    std::vector<QVariantList> rows;
    for (int i = 0; i < 40; ++i)
        rows.push_back({QStringLiteral("Project %1").arg(i), QStringLiteral("Manager %1").arg(i % kManagers),
                        QStringLiteral("10")});
    global->Projects.FromArray(Rows(rows));
    global->SaveGlobalSettings(1);
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

TEST_P(SaveWithMailTest, MailsThatCannotBeKeptAreToldOnceAtTheEndOfTheSave) {
    ASSERT_TRUE(SaveMailProfile(NoServer()));
    TakeUnkeptMails();
    const QString file = outbox + QStringLiteral("/plain-file");
    ASSERT_TRUE(WriteFileAtomically(file, "x", false));
    OutboxSender blocked(file + QStringLiteral("/outbox"));
    SetMailDelivery(&blocked);
    // Three new projects, each with a manager: a mail per project and one to all members.
    std::vector<QVariantList> rows;
    for (int i = 0; i < 3; ++i)
        rows.push_back(
            {QStringLiteral("Project %1").arg(i), QStringLiteral("Manager %1").arg(i), QStringLiteral("10")});
    global->Projects.FromArray(Rows(rows));
    global->SaveGlobalSettings(1);
    SetMailDelivery(sender.get());
    EXPECT_EQ(Column(QStringLiteral("SELECT ProjectName FROM tProjects")).size(), 3) << "the save went on";
    ASSERT_EQ(prompter.shown().size(), 1) << PromptTexts().join(QLatin1Char('|')).toStdString();
    const QString told = prompter.shown()[0].text;
    EXPECT_TRUE(told.startsWith(QStringLiteral("4 mails could not be kept"))) << told.toStdString();
    EXPECT_TRUE(told.contains(QStringLiteral("outbox"))) << told.toStdString();
    EXPECT_TRUE(presenter.reports.isEmpty()) << FirstReport().toStdString();
}

// A mail handed over (what a save does) is composed and kept by the outbox's own thread, in the
// order handed; what cannot be composed or kept is recorded for the save to tell, and the end of
// the worker keeps every mail it was handed.
TEST(HandedMail, KeptInOrderOffTheCallerAndWhatCannotBeKeptIsTold) {
    TakeUnkeptMails();
    const auto subjects = [](const QString& folder) {
        QStringList out;
        for (const QString& f : OutboxFiles(folder)) {
            OutboxMail m;
            out << (ReadOutboxMail(f, &m) ? m.subject : QStringLiteral("unreadable"));
        }
        return out;
    };
    QStringList expected;
    for (int i = 0; i < 30; ++i)
        expected << QStringLiteral("Mail %1").arg(i);

    const QString box = NewTempDir(QStringLiteral("handed"));
    {
        OutboxSender sender(box);
        for (int i = 0; i < 30; ++i) {
            const MailSendResult r = sender.hand(Mail(i), NoServer());
            ASSERT_EQ(r.status, MailSendResult::Status::KeptInOutbox);
            EXPECT_TRUE(r.outboxFile.isEmpty()) << "the caller does not wait for the file";
        }
        // Input that cannot be composed is handed over like any other, and then told.
        sender.hand({QStringLiteral("no-at-sign"), {}, QStringLiteral("x"), {}}, NoServer());
        ASSERT_TRUE(sender.waitKept(20000));
        EXPECT_FALSE(sender.status().busy);
        EXPECT_EQ(subjects(box), expected);
        const UnkeptMails unkept = TakeUnkeptMails();
        EXPECT_EQ(unkept.count, 1);
        EXPECT_FALSE(unkept.reason.isEmpty());
    }

    // An outbox that cannot be written: each handed mail is told, none silently dropped.
    const QString file = box + QStringLiteral("/plain-file");
    ASSERT_TRUE(WriteFileAtomically(file, "x", false));
    {
        OutboxSender blocked(file + QStringLiteral("/outbox"));
        for (int i = 0; i < 3; ++i)
            blocked.hand(Mail(i), NoServer());
        ASSERT_TRUE(blocked.waitKept(20000));
        const UnkeptMails unkept = TakeUnkeptMails();
        EXPECT_EQ(unkept.count, 3);
        EXPECT_TRUE(unkept.reason.contains(QStringLiteral("outbox"))) << unkept.reason.toStdString();
    }

    // The end comes right after the handing: every mail is kept first; one handed after the end is
    // kept at once.
    const QString ending = NewTempDir(QStringLiteral("handed-end"));
    OutboxSender sender(ending);
    for (int i = 0; i < 30; ++i)
        sender.hand(Mail(i), NoServer());
    sender.shutdown();
    EXPECT_EQ(subjects(ending), expected);
    const MailSendResult late = sender.hand(Mail(30), NoServer());
    EXPECT_EQ(late.status, MailSendResult::Status::KeptInOutbox);
    EXPECT_TRUE(QFile::exists(late.outboxFile));
    EXPECT_EQ(OutboxFiles(ending).size(), 31);
    EXPECT_EQ(TakeUnkeptMails().count, 0);
}

INSTANTIATE_TEST_SUITE_P(Engines, SaveWithMailTest, ::testing::Values(Engine::SQLite), EngineName);

}  // namespace tlm::test

namespace tlm::test {

// What the server refuses: the others still get the mail; refused for good goes to the failed
// folder with the server's answer and stays there; refused for now waits in the outbox.
TEST_F(SinkTest, RefusalsSendToTheOthersAndKeepTheAnswer) {
    struct Case {
        const char* label;
        QString refused;     // the recipient the sink refuses, added to two good ones
        bool othersGetIt;    // the mail arrives for the good recipients
        const char* answer;  // in the kept mail's reason
        bool waits;          // kept in the outbox (for now) rather than in failed (for good)
    };
    const Case cases[] = {
        {"one recipient refused for good", SinkRefusedRecipient(550), true, "550", false},
        {"one recipient refused for now", SinkRefusedRecipient(450), true, "450", true},
        {"the whole mail refused as too large", SinkDataRefusingRecipient(552), false, "552", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        const QString box = NewTempDir(QStringLiteral("outbox"));
        OutboxSender sender(box);
        const MailMessage m{QStringLiteral("ann@x.org"), QStringLiteral("bo@y.org;") + c.refused,
                            QString::fromLatin1(c.label), QStringLiteral("<p>x</p>")};
        const MailSendResult r = sender.queue(m, NoServer());
        ASSERT_EQ(r.status, MailSendResult::Status::KeptInOutbox);
        sender.kick(LocalProfile(port));
        ASSERT_TRUE(WaitIdle(sender));

        const QJsonObject o = Arrived(r.messageId);
        if (c.othersGetIt)
            EXPECT_EQ(JsonStrings(o.value(QStringLiteral("rcpt_tos"))),
                      (QStringList{QStringLiteral("ann@x.org"), QStringLiteral("bo@y.org")}));
        else
            EXPECT_TRUE(o.isEmpty());
        const QList<QByteArray> keptFor = c.othersGetIt
                                              ? QList<QByteArray>{Latin1(c.refused)}
                                              : QList<QByteArray>{"ann@x.org", "bo@y.org", Latin1(c.refused)};
        const QStringList waiting = OutboxFiles(box), failed = OutboxFiles(FailedFolder(box));
        ASSERT_EQ(waiting.size() + failed.size(), 1) << "one mail kept for the refused";
        const QString kept = c.waits ? waiting.value(0) : failed.value(0);
        ASSERT_FALSE(kept.isEmpty()) << (c.waits ? "expected waiting" : "expected failed");
        OutboxMail back;
        ASSERT_TRUE(ReadOutboxMail(kept, &back));
        EXPECT_EQ(back.envelopeTo, keptFor);
        EXPECT_EQ(back.messageId, r.messageId);
        EXPECT_TRUE(back.reason.contains(QLatin1String(c.answer))) << back.reason.toStdString();
        const QList<OutboxEntry> listed = ListOutbox(box);
        ASSERT_EQ(listed.size(), 1);
        EXPECT_EQ(listed[0].state, c.waits ? OutboxEntry::State::Waiting : OutboxEntry::State::Failed);
        EXPECT_TRUE(listed[0].reason.contains(QLatin1String(c.answer)));

        // Another delivery never takes a failed mail by itself.
        sender.kick(LocalProfile(port));
        ASSERT_TRUE(WaitIdle(sender));
        if (!c.waits) {
            EXPECT_EQ(OutboxFiles(FailedFolder(box)), failed);
            EXPECT_TRUE(OutboxFiles(box).isEmpty());
        }
        EXPECT_EQ(SpoolIds(spool).count(QLatin1Char('<') + r.messageId + QLatin1Char('>')),
                  c.othersGetIt ? 1 : 0);
    }
}

TEST_F(SinkTest, RefusedRecipientOfADirectSendIsKeptForItAlone) {
    const QString refused = SinkRefusedRecipient(550);
    const MailSendResult r = SmtpTransport(LocalProfile(port), outbox)
                                 .send({QStringLiteral("ann@x.org"), refused, QStringLiteral("Direct"), {}});
    ASSERT_EQ(r.status, MailSendResult::Status::Sent) << r.reason.toStdString();
    EXPECT_TRUE(r.reason.contains(QStringLiteral("550"))) << r.reason.toStdString();
    EXPECT_EQ(JsonStrings(Arrived(r.messageId).value(QStringLiteral("rcpt_tos"))),
              QStringList{QStringLiteral("ann@x.org")});
    const QStringList failed = OutboxFiles(FailedFolder(outbox));
    ASSERT_EQ(failed.size(), 1);
    OutboxMail back;
    ASSERT_TRUE(ReadOutboxMail(failed[0], &back));
    EXPECT_EQ(back.envelopeTo, QList<QByteArray>{Latin1(refused)});
}

TEST_F(SinkTest, ServerDownTheMailWaitsThenGoesWhenItIsBack) {
    OutboxSender sender(outbox);
    const MailSendResult r = sender.queue(Mail(1), LocalProfile(ClosedPort()));
    ASSERT_TRUE(r.queued);
    ASSERT_TRUE(WaitIdle(sender));
    EXPECT_TRUE(sender.status().serverDown);
    EXPECT_EQ(OutboxFiles(outbox).size(), 1);
    EXPECT_TRUE(OutboxFiles(FailedFolder(outbox)).isEmpty()) << "a server that is down fails nothing";
    EXPECT_TRUE(Arrived(r.messageId).isEmpty());

    sender.kick(LocalProfile(port));
    ASSERT_TRUE(WaitIdle(sender));
    EXPECT_TRUE(OutboxFiles(outbox).isEmpty()) << sender.status().lastError.toStdString();
    EXPECT_FALSE(Arrived(r.messageId).isEmpty());
}

TEST_F(Sending, DamagedFilesMoveToFailedAndInterruptedWritesAreCleared) {
    struct Damaged {
        const char* name;
        QByteArray bytes;
    };
    const Damaged damaged[] = {
        {"20000101-000000-000-000001-empty.eml", QByteArray()},
        {"20000101-000000-000-000002-noenvelope.eml", "Subject: x\r\n\r\nbody\r\n"},
        {"20000101-000000-000-000003-onlyenvelope.eml", "X-Tlm-Recipients: a@x.org\r\n"},
        {"20000101-000000-000-000004-garbage.eml", QByteArray("\x00\x01\xff no mail at all", 18)},
    };
    for (const Damaged& d : damaged)
        ASSERT_TRUE(WriteFileAtomically(outbox + QLatin1Char('/') + QLatin1String(d.name), d.bytes, true));
    // Leftovers of writes: one of a process that is gone, one of this process (still writing).
    const QString dead = QStringLiteral(".x.eml.%1.abc.tmp").arg(std::numeric_limits<int>::max() - 7);
    const QString mine = QStringLiteral(".y.eml.%1.abc.tmp").arg(::getpid());
    for (const QString& name : {dead, mine})
        ASSERT_TRUE(QFile(outbox + QLatin1Char('/') + name).open(QIODevice::WriteOnly));

    OutboxSender sender(outbox);
    sender.kick(LocalProfile(ClosedPort()));  // reading fails before any connection
    ASSERT_TRUE(WaitIdle(sender));
    EXPECT_TRUE(OutboxFiles(outbox).isEmpty());
    const QList<OutboxEntry> listed = ListOutbox(outbox);
    ASSERT_EQ(listed.size(), int(std::size(damaged)));
    for (int i = 0; i < listed.size(); ++i) {
        EXPECT_EQ(listed[i].state, OutboxEntry::State::Failed) << damaged[i].name;
        EXPECT_FALSE(listed[i].readable) << damaged[i].name;
        EXPECT_EQ(listed[i].id + QStringLiteral(".eml"), QLatin1String(damaged[i].name));
        EXPECT_FALSE(listed[i].reason.isEmpty()) << damaged[i].name;
        EXPECT_EQ(ReadAll(listed[i].path), damaged[i].bytes) << "kept as it was";
    }
    const QStringList left = FileNames(outbox);
    EXPECT_FALSE(left.contains(dead)) << "what a dead writer left is cleared";
    EXPECT_TRUE(left.contains(mine)) << "a living writer's file is left alone";
}

// A mail that cannot be kept is recorded, and the save tells it once with the count and why.
TEST_F(Sending, AMailThatCannotBeKeptIsRecordedOnce) {
    TakeUnkeptMails();
    struct Case {
        const char* label;
        std::function<QString()> outbox;  // where the mails are to be kept
        std::function<void(std::function<void()>)> around;
    };
    const auto plain = [](std::function<void()> step) { step(); };
    const Case cases[] = {
        {"an outbox under a regular file",
         [this] {
             const QString file = outbox + QStringLiteral("/plain-file");
             WriteFileAtomically(file, "x", false);
             return file + QStringLiteral("/outbox");
         },
         plain},
        {"a full disk", [this] { return outbox + QStringLiteral("/full"); },
         [](std::function<void()> step) { WithTinyFileLimit(step); }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        const QString box = c.outbox();
        OutboxSender sender(box);
        QList<MailSendResult> results;
        c.around([&] {
            for (int i = 0; i < 3; ++i)
                results << sender.queue(Mail(i), NoServer());
        });
        for (const MailSendResult& r : results)
            EXPECT_EQ(r.status, MailSendResult::Status::Lost) << r.reason.toStdString();
        const UnkeptMails unkept = TakeUnkeptMails();
        EXPECT_EQ(unkept.count, 3);
        EXPECT_FALSE(unkept.reason.isEmpty());
        EXPECT_EQ(TakeUnkeptMails().count, 0) << "taken once";
        EXPECT_TRUE(OutboxFiles(box).isEmpty());
    }
}

// The error report: kept for later says so; only a mail that could not be kept "failed".
TEST_F(Sending, ErrorReportSaysWhetherItWasKeptForLater) {
    struct Case {
        const char* label;
        std::function<MailProfile()> profile;
        std::function<QString()> folder;
        const char* says;
    };
    const Case cases[] = {
        {"no server set", [] { return NoServer(); }, [this] { return outbox + QStringLiteral("/a"); },
         "kept in the outbox and will be sent later"},
        {"the server down", [] { return LocalProfile(ClosedPort()); },
         [this] { return outbox + QStringLiteral("/b"); }, "kept in the outbox and will be sent later"},
        {"the outbox cannot be written", [] { return NoServer(); },
         [this] {
             WriteFileAtomically(outbox + QStringLiteral("/file"), "x", false);
             return outbox + QStringLiteral("/file/outbox");
         },
         "Failed to send error email!"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        FreshLocalSettings();
        MailProfile p = c.profile();
        p.errorReportMailbox = QStringLiteral("errors@example.org");
        ASSERT_TRUE(SaveMailProfile(p));
        OutboxSender sender(c.folder());
        SetMailDelivery(&sender);
        MailErrorReportMailer mailer;
        SetErrorReportMailer(&mailer);
        ScriptedPrompter shown;
        SetPrompter(&shown);
        subSendErrorReport(QStringLiteral("At Line: 1"), true);
        SetPrompter(nullptr);
        SetErrorReportMailer(nullptr);
        SetMailDelivery(nullptr);
        TakeUnkeptMails();
        ASSERT_EQ(shown.shown().size(), 1);
        EXPECT_TRUE(shown.shown()[0].text.contains(QLatin1String(c.says)))
            << shown.shown()[0].text.toStdString();
    }
}

}  // namespace tlm::test
