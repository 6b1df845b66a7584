#include <gtest/gtest.h>

#include <QPlainTextEdit>
#include <QPushButton>

#include "core/error_report.h"
#include "desktop/error_report_form.h"
#include "mail/mail_account_form.h"

using namespace tlm;

namespace {

struct Mailer : ErrorReportMailer {
    QStringList bodies;
    QList<bool> direct;
    bool available() const override { return true; }
    bool send(const QString&, const QString& body, bool d) override {
        bodies << body;
        direct << d;
        return true;
    }
};

QStringList g_seen;
void Capture(QDialog* dialog) {
    g_seen << dialog->metaObject()->className();
}

}  // namespace

TEST(ErrorReportForm, ReportIsMaskedAndSentDirectlyOrForDisplay) {
    Mailer mailer;
    SetErrorReportMailer(&mailer);
    frmErrorReport form(QStringLiteral("At Line: 1\r\nPassword=abc;"), true);
    form.show();
    EXPECT_FALSE(form.reportVisible());
    EXPECT_FALSE(form.reportText().contains(QStringLiteral("abc")));
    form.viewButton()->click();
    EXPECT_TRUE(form.reportVisible());
    form.sendDirectlyButton()->click();
    ASSERT_EQ(mailer.bodies.size(), 1);
    EXPECT_TRUE(mailer.direct[0]);
    EXPECT_EQ(form.result(), QDialog::Accepted);

    // Where direct sending is not allowed it is not offered, and the mail opens for display.
    frmErrorReport shown(QStringLiteral("report"), false);
    EXPECT_TRUE(shown.sendDirectlyButton()->isHidden());
    shown.openEmailButton()->click();
    ASSERT_EQ(mailer.direct.size(), 2);
    EXPECT_FALSE(mailer.direct[1]);
    SetErrorReportMailer(nullptr);
}

// Without an account the report cannot go out, so the account is one click away.
TEST(ErrorReportForm, MailAccountButtonOpensTheAccountDialog) {
    int opened = 0;
    frmMailAccount::SetDialogHook([&](frmMailAccount* dialog) {
        ++opened;
        dialog->reject();
    });
    frmErrorReport form(QStringLiteral("report"), false);
    auto* button = form.findChild<QPushButton*>(QStringLiteral("cmdMailAccount"));
    ASSERT_NE(button, nullptr);
    button->click();
    frmMailAccount::SetDialogHook({});
    EXPECT_EQ(opened, 1);
    EXPECT_EQ(form.result(), 0);  // the report dialog stays open
}

TEST(GuiErrorPresenter, FirstFailureShowsTheReportDialogOnce) {
    ResetErrorReportingForTests();
    GuiErrorPresenter presenter;
    SetErrorPresenter(&presenter);
    GuiErrorPresenter::SetDialogHook(&Capture);
    g_seen.clear();
    subReportError(Failure{6, QStringLiteral("Overflow"), 0, QStringLiteral("Main")});
    subReportError(Failure{7, QStringLiteral("Second"), 0, QStringLiteral("Main")});
    subShowFriendlyError(QStringLiteral("Lost"), Failure{1, QStringLiteral("x"), 0, QStringLiteral("DB.x")});
    GuiErrorPresenter::SetDialogHook(nullptr);
    SetErrorPresenter(nullptr);
    ResetErrorReportingForTests();
    EXPECT_EQ(g_seen.count(QStringLiteral("tlm::frmErrorReport")), 1);
    EXPECT_EQ(g_seen.count(QStringLiteral("tlm::frmFriendlyError")), 1);
}
