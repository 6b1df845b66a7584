#include "desktop/error_report_form.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "core/file_services.h"
#include "core/shell.h"
#include "core/local_settings.h"
#include "desktop/window_services.h"
#include "mail/mail_account_form.h"

namespace tlm {

namespace {

const QString kView = QStringLiteral("View Report");
const QString kHide = QStringLiteral("Hide Report");
GuiErrorPresenter::Hook g_hook = nullptr;

QPlainTextEdit* ReportBox(const QString& text, QWidget* parent) {
    auto* box = new QPlainTextEdit(text, parent);
    box->setReadOnly(true);
    box->setMinimumHeight(140);
    return box;
}

QLabel* Wrapped(const QString& text, QWidget* parent) {
    auto* l = new QLabel(text, parent);
    l->setWordWrap(true);
    return l;
}

void Toggle(QPlainTextEdit* box, QPushButton* button, QDialog* dialog) {
    const bool show = button->text() == kView;
    box->setVisible(show);
    button->setText(show ? kHide : kView);
    dialog->adjustSize();
}

}  // namespace

frmErrorReport::frmErrorReport(const QString& reportText, bool allowDirect, QWidget* parent)
    : QDialog(parent) {
    setWindowTitle(kMessageTitle);
    auto* layout = new QVBoxLayout(this);
    auto* lblApplication = new QLabel(kMessageTitle, this);
    QFont f = lblApplication->font();
    f.setBold(true);
    lblApplication->setFont(f);
    layout->addWidget(lblApplication);
    layout->addWidget(new QLabel(QStringLiteral("Build ") + fncGetAppVersion(), this));
    layout->addWidget(
        Wrapped(QStringLiteral("An unknown exception has occured. A report on the exception has been "
                               "generated. It is highly recommended that you send this report to us to "
                               "help diagnose the exception."),
                this));
    layout->addWidget(
        Wrapped(QStringLiteral("The information contained in this report is taken from this application "
                               "for quality control only, not for marketing purposes or for monitoring "
                               "individual users or machines. You can opt to view the detail of the "
                               "report by clicking 'View Report' button."),
                this));
    auto* lblClickHere =
        new QLabel(QStringLiteral("To learn more about the error reporting, <a href=\"%1\">click here</a>.")
                       .arg(PolicyUrl()),
                   this);
    lblClickHere->setOpenExternalLinks(false);
    connect(lblClickHere, &QLabel::linkActivated, this,
            [](const QString& url) { RunApp(url, QString(), QString()); });
    lblClickHere->setVisible(!PolicyUrl().isEmpty());
    layout->addWidget(lblClickHere);
    txtReport_ = ReportBox(MaskSecrets(reportText), this);
    txtReport_->setVisible(false);
    layout->addWidget(txtReport_);

    auto* buttons = new QHBoxLayout;
    lblSendDirectly_ = new QPushButton(QStringLiteral("Send directly"), this);
    lblSendDirectly_->setFlat(true);
    lblSendDirectly_->setVisible(allowDirect);
    cmdViewReport_ = new QPushButton(kView, this);
    cmdOpenEmail_ = new QPushButton(QStringLiteral("Open Email"), this);
    cmdCancel_ = new QPushButton(QStringLiteral("Cancel"), this);
    // The report can only go out once an account is set up; let the user do that from here.
    auto* cmdMailAccount = new QPushButton(QStringLiteral("Mail Account..."), this);
    cmdMailAccount->setObjectName(QStringLiteral("cmdMailAccount"));
    connect(cmdMailAccount, &QPushButton::clicked, this, [this] { frmMailAccount::Edit(this); });
    buttons->addWidget(lblSendDirectly_);
    buttons->addWidget(cmdMailAccount);
    buttons->addStretch();
    buttons->addWidget(cmdViewReport_);
    buttons->addWidget(cmdOpenEmail_);
    buttons->addWidget(cmdCancel_);
    layout->addLayout(buttons);

    connect(cmdCancel_, &QPushButton::clicked, this, &QDialog::reject);
    connect(cmdViewReport_, &QPushButton::clicked, this, &frmErrorReport::toggleReport);
    connect(cmdOpenEmail_, &QPushButton::clicked, this, [this] { send(false); });
    connect(lblSendDirectly_, &QPushButton::clicked, this, [this] { send(true); });
}

bool frmErrorReport::reportVisible() const {
    return !txtReport_->isHidden();
}
QString frmErrorReport::reportText() const {
    return txtReport_->toPlainText();
}

QString frmErrorReport::PolicyUrl() {
    return GetSetting(kSettingsApplication, QString(), QStringLiteral("ErrorPolicyUrl"), QString());
}

void frmErrorReport::toggleReport() {
    Toggle(txtReport_, cmdViewReport_, this);
}

void frmErrorReport::send(bool directly) {
    hide();
    subSendErrorReport(txtReport_->toPlainText(), directly);
    accept();
}

frmFriendlyError::frmFriendlyError(const QString& friendlyText, const QString& reportText, QWidget* parent)
    : QDialog(parent) {
    setWindowTitle(kMessageTitle);
    auto* layout = new QVBoxLayout(this);
    auto* lblAttentionNeeded = new QLabel(QStringLiteral("Attention Needed!"), this);
    QFont f = lblAttentionNeeded->font();
    f.setBold(true);
    f.setPointSizeF(f.pointSizeF() * 1.3);
    lblAttentionNeeded->setFont(f);
    layout->addWidget(lblAttentionNeeded);
    layout->addWidget(new QLabel(kMessageTitle + QStringLiteral("  Build ") + fncGetAppVersion(), this));
    layout->addWidget(Wrapped(MaskSecrets(friendlyText), this));
    txtReport_ = ReportBox(MaskSecrets(reportText), this);
    layout->addWidget(txtReport_);
    auto* buttons = new QHBoxLayout;
    cmdViewReport_ = new QPushButton(kHide, this);  // starts with the report shown
    cmdExit_ = new QPushButton(QStringLiteral("Exit"), this);
    buttons->addStretch();
    buttons->addWidget(cmdViewReport_);
    buttons->addWidget(cmdExit_);
    layout->addLayout(buttons);
    connect(cmdViewReport_, &QPushButton::clicked, this,
            [this] { Toggle(txtReport_, cmdViewReport_, this); });
    connect(cmdExit_, &QPushButton::clicked, this, &QDialog::accept);
}

bool frmFriendlyError::reportVisible() const {
    return !txtReport_->isHidden();
}

void GuiErrorPresenter::SetDialogHook(Hook hook) {
    g_hook = hook;
}

void GuiErrorPresenter::showReport(const QString& reportText, bool allowDirect) {
    MakeActiveWindowNormal();  // the report must not hide behind an always-on-top window
    frmErrorReport dialog(reportText, allowDirect, QApplication::activeWindow());
    if (g_hook)
        g_hook(&dialog);
    else
        dialog.exec();
}

void GuiErrorPresenter::showFriendly(const QString& friendlyText, const QString& reportText) {
    frmFriendlyError dialog(friendlyText, reportText, QApplication::activeWindow());
    if (g_hook)
        g_hook(&dialog);
    else
        dialog.exec();
}

}  // namespace tlm
