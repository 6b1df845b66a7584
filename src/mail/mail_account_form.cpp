#include "mail/mail_account_form.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

#include "core/error_report.h"
#include "core/prompt.h"

namespace tlm {

namespace {

frmMailAccount::Hook g_hook;

const QString kStoredPasswordHint = QStringLiteral("Stored; type a new one to replace it");

}  // namespace

frmMailAccount::frmMailAccount(QWidget* parent) : QDialog(parent), stored_(LoadMailProfile()) {
    setWindowTitle(QStringLiteral("Mail Account"));
    auto* layout = new QVBoxLayout(this);
    auto* intro =
        new QLabel(QStringLiteral("The account notification mails and error reports go out from."), this);
    intro->setWordWrap(true);
    layout->addWidget(intro);

    auto* form = new QFormLayout;
    txtSenderName_ = new QLineEdit(stored_.senderName, this);
    txtSenderAddress_ = new QLineEdit(stored_.senderAddress, this);
    txtSenderAddress_->setPlaceholderText(QStringLiteral("name@example.org"));
    txtHost_ = new QLineEdit(stored_.host, this);
    txtHost_->setPlaceholderText(QStringLiteral("smtp.example.org"));
    txtPort_ = new QLineEdit(stored_.port > 0 ? QString::number(stored_.port) : QString(), this);
    cboTls_ = new QComboBox(this);
    cboTls_->addItem(QStringLiteral("STARTTLS"), int(MailTlsMode::StartTls));
    cboTls_->addItem(QStringLiteral("TLS from the start"), int(MailTlsMode::Implicit));
    cboTls_->addItem(QStringLiteral("None (plain text)"), int(MailTlsMode::None));
    txtUser_ = new QLineEdit(stored_.user, this);
    txtUser_->setPlaceholderText(QStringLiteral("empty: no login"));
    // The stored password never goes into a widget; an empty field keeps it.
    txtPassword_ = new QLineEdit(this);
    txtPassword_->setEchoMode(QLineEdit::Password);
    txtPassword_->setPlaceholderText(stored_.password.isEmpty() ? QString() : kStoredPasswordHint);
    cmdForgetPassword_ = new QPushButton(QStringLiteral("Forget"), this);
    cmdForgetPassword_->setEnabled(!stored_.password.isEmpty());
    auto* passwordRow = new QHBoxLayout;
    passwordRow->addWidget(txtPassword_, 1);
    passwordRow->addWidget(cmdForgetPassword_);
    chkVerify_ = new QCheckBox(QStringLiteral("Verify the server's certificate"), this);
    chkVerify_->setChecked(stored_.verifyCertificate);
    spnTimeout_ = new QSpinBox(this);
    spnTimeout_->setRange(1, 300);
    spnTimeout_->setSuffix(QStringLiteral(" s"));
    spnTimeout_->setValue(stored_.connectTimeoutSeconds);
    txtErrorMailbox_ = new QLineEdit(stored_.errorReportMailbox, this);
    txtErrorMailbox_->setPlaceholderText(QStringLiteral("empty: error reports are not mailed"));

    form->addRow(QStringLiteral("Sender name:"), txtSenderName_);
    form->addRow(QStringLiteral("Sender address:"), txtSenderAddress_);
    form->addRow(QStringLiteral("SMTP server:"), txtHost_);
    form->addRow(QStringLiteral("Port:"), txtPort_);
    form->addRow(QStringLiteral("Security:"), cboTls_);
    form->addRow(QString(), chkVerify_);
    form->addRow(QStringLiteral("User:"), txtUser_);
    form->addRow(QStringLiteral("Password:"), passwordRow);
    form->addRow(QStringLiteral("Connect timeout:"), spnTimeout_);
    form->addRow(QStringLiteral("Error reports to:"), txtErrorMailbox_);
    layout->addLayout(form);

    auto* buttons = new QHBoxLayout;
    cmdTest_ = new QPushButton(QStringLiteral("Send test mail"), this);
    cmdSave_ = new QPushButton(QStringLiteral("Save"), this);
    cmdCancel_ = new QPushButton(QStringLiteral("Cancel"), this);
    cmdSave_->setDefault(true);
    buttons->addWidget(cmdTest_);
    buttons->addStretch();
    buttons->addWidget(cmdSave_);
    buttons->addWidget(cmdCancel_);
    layout->addLayout(buttons);

    setTls(stored_.tls);
    updatePortHint();
    connect(cboTls_, &QComboBox::currentIndexChanged, this, [this] { updatePortHint(); });
    connect(cmdForgetPassword_, &QPushButton::clicked, this, [this] { forgetPassword(); });
    connect(cmdTest_, &QPushButton::clicked, this, [this] { sendTestMail(); });
    connect(cmdSave_, &QPushButton::clicked, this, [this] { save(); });
    connect(cmdCancel_, &QPushButton::clicked, this, &QDialog::reject);
}

void frmMailAccount::setTls(MailTlsMode mode) {
    cboTls_->setCurrentIndex(cboTls_->findData(int(mode)));
}

MailTlsMode frmMailAccount::tls() const {
    return MailTlsMode(cboTls_->currentData().toInt());
}

void frmMailAccount::updatePortHint() {
    MailProfile p;
    p.tls = tls();
    txtPort_->setPlaceholderText(QStringLiteral("%1 (usual port)").arg(p.effectivePort()));
    chkVerify_->setEnabled(p.tls != MailTlsMode::None);
}

void frmMailAccount::forgetPassword() {
    forgetPassword_ = true;
    txtPassword_->clear();
    txtPassword_->setPlaceholderText(QStringLiteral("No password"));
    cmdForgetPassword_->setEnabled(false);
}

bool frmMailAccount::editedProfile(MailProfile* profile, QString* error) const {
    MailProfile p;
    p.senderName = txtSenderName_->text().trimmed();
    p.senderAddress = txtSenderAddress_->text().trimmed();
    p.host = txtHost_->text().trimmed();
    if (!ParseMailPort(txtPort_->text(), &p.port, error))
        return false;
    p.tls = tls();
    p.user = txtUser_->text();
    if (!txtPassword_->text().isEmpty())
        p.password = txtPassword_->text();
    else if (!forgetPassword_)
        p.password = stored_.password;
    p.verifyCertificate = chkVerify_->isChecked();
    p.connectTimeoutSeconds = spnTimeout_->value();
    p.errorReportMailbox = txtErrorMailbox_->text().trimmed();
    const QString problem = CheckMailProfile(p);
    if (!problem.isEmpty()) {
        if (error)
            *error = problem;
        return false;
    }
    *profile = p;
    return true;
}

bool frmMailAccount::save() {
    MailProfile p;
    QString error;
    if (!editedProfile(&p, &error)) {
        MsgBox(error, PromptIcon::Exclamation);
        return false;
    }
    Failure failure;
    if (!SaveMailProfile(p, &failure)) {
        MsgBox(QStringLiteral("The mail account could not be saved: ") + failure.description,
               PromptIcon::Critical);
        return false;
    }
    subTraceAction(QStringLiteral("Mail profile saved for %1").arg(p.host));
    accept();
    return true;
}

MailSendResult frmMailAccount::sendTestMail() {
    MailSendResult result;
    result.status = MailSendResult::Status::Refused;
    MailProfile p;
    if (!editedProfile(&p, &result.reason)) {
        MsgBox(result.reason, PromptIcon::Exclamation);
        return result;
    }
    if (p.host.isEmpty() || p.senderAddress.isEmpty()) {
        result.reason =
            QStringLiteral("Enter the SMTP server and the sender address before sending a test mail.");
        MsgBox(result.reason, PromptIcon::Exclamation);
        return result;
    }
    const MailMessage mail{
        p.senderAddress, QString(), QStringLiteral("Tally Loom Manager test mail"),
        QStringLiteral("<html><body><p>This test mail was sent from the Mail Account dialog of Tally Loom "
                       "Manager through %1:%2.</p></body></html>")
            .arg(p.host.toHtmlEscaped())
            .arg(p.effectivePort())};
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    cmdTest_->setEnabled(false);
    result = SmtpTransport(p).send(mail);
    cmdTest_->setEnabled(true);
    QGuiApplication::restoreOverrideCursor();

    switch (result.status) {
        case MailSendResult::Status::Sent:
            MsgBox(QStringLiteral("The test mail went out to %1 through %2:%3.")
                       .arg(p.senderAddress, p.host)
                       .arg(p.effectivePort()),
                   PromptIcon::Information);
            break;
        case MailSendResult::Status::KeptInOutbox:
            MsgBox(
                QStringLiteral("The test mail could not be sent.\n\n%1\n\nIt was kept in the outbox as %2.")
                    .arg(result.reason, result.outboxFile),
                PromptIcon::Exclamation);
            break;
        case MailSendResult::Status::Refused:
        case MailSendResult::Status::Lost:
            MsgBox(QStringLiteral("The test mail could not be sent.\n\n") + result.reason,
                   PromptIcon::Critical);
            break;
    }
    return result;
}

bool frmMailAccount::Edit(QWidget* parent) {
    frmMailAccount dialog(parent);
    if (g_hook)
        g_hook(&dialog);
    else
        dialog.exec();
    return dialog.result() == QDialog::Accepted;
}

void frmMailAccount::SetDialogHook(Hook hook) {
    g_hook = std::move(hook);
}

}  // namespace tlm
