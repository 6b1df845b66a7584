#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPlainTextEdit>
#include <QProgressDialog>
#include <QPushButton>
#include <QTcpServer>
#include <QTextBrowser>
#include <QThread>

#include "core/error_report.h"
#include "core/prompt.h"
#include "desktop/error_report_form.h"
#include "mail/compose_form.h"
#include "mail/mail_account_dialog.h"
#include "mail/outbox.h"
#include "mail/outbox_form.h"
#include "support/mail_sink.h"
#include "support/test_env.h"

using namespace tlm;
using tlm::test::ClosedPort;
using tlm::test::LocalProfile;

namespace {

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

template <class Pred>
bool WaitFor(Pred done, int ms = 3000) {
    QElapsedTimer timer;
    timer.start();
    while (!done() && timer.elapsed() < ms) {
        QApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(5);
    }
    return done();
}

QStringList Emls(const QString& folder) {
    return QDir(folder).entryList({QStringLiteral("*.eml")}, QDir::Files);
}

void Click(QWidget* viewport, const QPoint& at) {
    QMouseEvent press(QEvent::MouseButtonPress, at, viewport->mapToGlobal(at), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QApplication::sendEvent(viewport, &press);
    QMouseEvent release(QEvent::MouseButtonRelease, at, viewport->mapToGlobal(at), Qt::LeftButton,
                        Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(viewport, &release);
}

}  // namespace

class ComposeWindow : public ::testing::Test {
  protected:
    void SetUp() override {
        test::FreshLocalSettings();
        outbox = test::NewTempDir(QStringLiteral("outbox"));
        SetOutboxFolder(outbox);
        SetPrompter(&prompter);
        ResetErrorReportingForTests();
        ResetMailWaitingNotice();
        delivery = std::make_unique<OutboxSender>(outbox);
        SetMailDelivery(delivery.get());
    }
    void TearDown() override {
        frmCompose::SetDisplayHook({});
        frmMailAccount::SetDialogHook({});
        SetDeliveryProgressHook({});
        SetMailDelivery(nullptr);
        delivery.reset();
        SetErrorReportMailer(nullptr);
        SetOutboxFolder(QString());
        SetPrompter(nullptr);
    }
    QString lastMessage() const {
        return prompter.shown().isEmpty() ? QString() : prompter.shown().last().text;
    }
    QStringList allMessages() const {
        QStringList out;
        for (const auto& s : prompter.shown())
            out << s.text;
        return out;
    }

    ScriptedPrompter prompter;
    FakeTransport fake;
    QString outbox;
    std::unique_ptr<OutboxSender> delivery;
    const MailMessage mail{QStringLiteral("ann@x.org"), QStringLiteral("bo@y.org;cy@z.org"),
                           QStringLiteral("Timesheet approved"),
                           QStringLiteral("<p>Week <b>12</b> approved.</p>")};
};

TEST_F(ComposeWindow, FillsFromTheMailAndThePreviewFollowsTheSourceWithoutFollowingLinks) {
    frmCompose w(mail, &fake);
    w.show();
    EXPECT_EQ(w.toField()->text(), mail.to);
    EXPECT_EQ(w.bccField()->text(), mail.bcc);
    EXPECT_EQ(w.subjectField()->text(), mail.subject);
    EXPECT_EQ(w.sourceEditor()->toPlainText(), mail.html);
    EXPECT_EQ(w.preview()->toPlainText(), QStringLiteral("Week 12 approved."));

    w.sourceEditor()->setPlainText(
        QStringLiteral("<p>Now <a href=\"https://example.org/x\">open this</a></p>"));
    ASSERT_TRUE(WaitFor([&] { return w.preview()->toPlainText() == QStringLiteral("Now open this"); }))
        << w.preview()->toPlainText().toStdString();

    // A click on the link reaches it, and the preview still shows the mail.
    int clicked = 0;
    QObject::connect(w.preview(), &QTextBrowser::anchorClicked, [&] { ++clicked; });
    const QTextCursor found = w.preview()->document()->find(QStringLiteral("open this"));
    ASSERT_FALSE(found.isNull());
    QTextCursor inside(w.preview()->document());
    inside.setPosition(found.selectionStart() + 2);
    Click(w.preview()->viewport(), w.preview()->cursorRect(inside).center());
    QApplication::processEvents();
    EXPECT_EQ(clicked, 1);
    EXPECT_TRUE(w.preview()->source().isEmpty());
    EXPECT_EQ(w.preview()->toPlainText(), QStringLiteral("Now open this"));
}

TEST_F(ComposeWindow, TheSendResultDecidesWhetherTheWindowCloses) {
    frmCompose w(mail, &fake);
    w.show();
    // Refused or lost: the mail stays in the window, and the user learns why.
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

TEST_F(ComposeWindow, ClosedPortSendIsQueuedAndTheClosingNoticeSaysWhyOnce) {
    MailProfile p = LocalProfile(ClosedPort());
    p.user = QStringLiteral("desk");
    p.password = QStringLiteral("Compose-pw-31");
    ASSERT_TRUE(SaveMailProfile(p));
    bool openAfterSend = true;
    frmCompose::SetDisplayHook([&](frmCompose* w) {
        w->show();
        EXPECT_TRUE(w->senderLabel()->text().contains(QStringLiteral("desk@example.org")));
        w->sendButton()->click();
        openAfterSend = w->isVisible();
    });
    EXPECT_EQ(frmCompose::DisplayMail(mail), frmCompose::Outcome::KeptInOutbox);
    EXPECT_FALSE(openAfterSend);
    EXPECT_TRUE(allMessages().isEmpty()) << "handed to the worker: " << lastMessage().toStdString();
    ASSERT_TRUE(delivery->waitIdle(20000));
    ASSERT_EQ(Emls(outbox).size(), 1);

    // The screen closes: one notice with the count and the reason, never the password.
    EXPECT_EQ(FinishMailDelivery(*delivery, 2000), 1);
    ASSERT_EQ(prompter.shown().size(), 1);
    EXPECT_EQ(prompter.shown()[0].buttons, PromptButtons::YesNo);
    EXPECT_TRUE(lastMessage().contains(QStringLiteral("1 mail waits"))) << lastMessage().toStdString();
    EXPECT_TRUE(lastMessage().contains(QStringLiteral("127.0.0.1:%1").arg(p.port)));
    FinishMailDelivery(*delivery, 2000);
    EXPECT_EQ(prompter.shown().size(), 1) << "told once";
    for (const QString& text : allMessages())
        EXPECT_FALSE(text.contains(p.password)) << text.toStdString();
}

TEST_F(ComposeWindow, ClosingWaitsForAStalledDeliveryWithProgressThenLeavesTheMail) {
    QTcpServer silent;  // takes the connection, never greets
    ASSERT_TRUE(silent.listen(QHostAddress::LocalHost, 0));
    ASSERT_TRUE(SaveMailProfile(LocalProfile(silent.serverPort())));
    frmCompose w(mail);
    w.show();
    w.sendButton()->click();
    ASSERT_TRUE(w.lastResult().queued) << w.lastResult().reason.toStdString();
    QString progressText;
    SetDeliveryProgressHook([&](QProgressDialog* d) { progressText = d->labelText(); });
    EXPECT_EQ(FinishMailDelivery(*delivery, 1500), 1);
    EXPECT_EQ(progressText, QStringLiteral("Sending mail: 1 mail to go."));
    delivery->shutdown();
    EXPECT_EQ(Emls(outbox).size(), 1);
}

TEST_F(ComposeWindow, AnInvalidAddressStaysVisibleAndEditable) {
    const MailMessage typo{QStringLiteral("ann@x.org;not an address"), QStringLiteral("bo@"),
                           QStringLiteral("Report"), QStringLiteral("<p>x</p>")};
    frmCompose w(typo, &fake);
    w.show();
    EXPECT_EQ(w.toField()->text(), typo.to);
    EXPECT_EQ(w.bccField()->text(), typo.bcc);
    EXPECT_FALSE(w.addressCheckLabel()->isHidden());
    EXPECT_TRUE(w.addressProblems().contains(QStringLiteral("not an address")))
        << w.addressProblems().toStdString();
    EXPECT_TRUE(w.addressProblems().contains(QStringLiteral("BCC")));
    // A send names the bad entry, in either field, and the window stays with the mail.
    w.sendButton()->click();
    EXPECT_TRUE(w.isVisible());
    EXPECT_EQ(w.outcome(), frmCompose::Outcome::Cancelled);
    EXPECT_TRUE(lastMessage().contains(QStringLiteral("not an address"))) << lastMessage().toStdString();
    w.toField()->setText(QStringLiteral("ann@x.org"));
    w.sendButton()->click();
    EXPECT_TRUE(lastMessage().contains(QStringLiteral("bo@"))) << lastMessage().toStdString();
    w.toField()->setText(QStringLiteral(" ; "));
    w.bccField()->setText(QStringLiteral(";"));
    w.sendButton()->click();
    EXPECT_TRUE(lastMessage().contains(QStringLiteral("recipient"))) << lastMessage().toStdString();
    EXPECT_TRUE(w.isVisible());
    EXPECT_TRUE(fake.sent.isEmpty());
    w.toField()->setText(QStringLiteral("ann@x.org"));
    w.bccField()->setText(QString());
    EXPECT_TRUE(w.addressProblems().isEmpty()) << w.addressProblems().toStdString();
    EXPECT_TRUE(w.addressCheckLabel()->isHidden());

    // No valid address at all still opens the window, saying so.
    frmCompose empty(MailMessage{QString(), QString(), QStringLiteral("Report"), QString()}, &fake);
    empty.show();
    EXPECT_TRUE(empty.isVisible());
    EXPECT_FALSE(empty.addressProblems().isEmpty());
}

TEST_F(ComposeWindow, OpenEmailOfTheErrorReportOpensTheComposeWindow) {
    MailProfile p = LocalProfile(ClosedPort());
    p.errorReportMailbox = QStringLiteral("errors@example.org");
    ASSERT_TRUE(SaveMailProfile(p));
    InstallComposeWindow();
    MailMessage shown;
    int windows = 0;
    frmCompose::SetDisplayHook([&](frmCompose* w) {
        ++windows;
        shown = w->message();
        w->cancelButton()->click();
    });
    frmErrorReport report(QStringLiteral("At Line: 3\r\nIn Function: DB.GetCONN\r\nPassword=db-pw-9;"),
                          false);
    report.show();
    report.openEmailButton()->click();
    ASSERT_EQ(windows, 1);
    EXPECT_EQ(shown.to, QStringLiteral("errors@example.org"));
    EXPECT_EQ(shown.subject, ErrorReportSubject());
    EXPECT_TRUE(shown.html.contains(QStringLiteral("In Function: DB.GetCONN")));
    EXPECT_FALSE(shown.html.contains(QStringLiteral("db-pw-9")));
    EXPECT_TRUE(allMessages().isEmpty())
        << "cancelling the window is no failure: " << allMessages().join(QLatin1Char('|')).toStdString();
    EXPECT_TRUE(Emls(outbox).isEmpty());
}
