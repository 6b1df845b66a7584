#include "mail/compose_form.h"

#include <QApplication>
#include <QFontDatabase>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSplitter>
#include <QTextBrowser>
#include <QTimer>
#include <QVBoxLayout>

#include "core/error_report.h"
#include "core/prompt.h"
#include "mail/mail_account_form.h"

namespace tlm {

namespace {

frmCompose::Hook g_hook;

// Typing re-renders at most this often, so a large body stays responsive.
constexpr int kPreviewDelayMs = 150;

QString WindowTitle(const QString& subject) {
    return (subject.trimmed().isEmpty() ? QStringLiteral("Untitled") : subject.simplified()) +
           QStringLiteral(" - Message");
}

// The window the compose window belongs to: a hidden report dialog would place it nowhere.
QWidget* VisibleOwner() {
    for (QWidget* w : {QApplication::activeModalWidget(), QApplication::activeWindow()}) {
        if (w && w->isVisible())
            return w;
    }
    return nullptr;
}

}  // namespace

frmCompose::frmCompose(const MailMessage& message, MailTransport* transport, QWidget* parent)
    : QDialog(parent), transport_(transport) {
    if (!transport_) {
        ownTransport_ = std::make_unique<ProfileMailTransport>();
        transport_ = ownTransport_.get();
    }
    setWindowTitle(WindowTitle(message.subject));
    setSizeGripEnabled(true);
    auto* layout = new QVBoxLayout(this);

    auto* fromRow = new QHBoxLayout;
    lblFrom_ = new QLabel(this);
    cmdAccount_ = new QPushButton(QStringLiteral("Mail account..."), this);
    cmdAccount_->setAutoDefault(false);
    fromRow->addWidget(lblFrom_, 1);
    fromRow->addWidget(cmdAccount_);
    layout->addLayout(fromRow);

    auto* fields = new QFormLayout;
    txtTo_ = new QLineEdit(message.to, this);
    txtBcc_ = new QLineEdit(message.bcc, this);
    txtSubject_ = new QLineEdit(message.subject, this);
    txtTo_->setPlaceholderText(QStringLiteral("Addresses separated by \";\""));
    fields->addRow(QStringLiteral("To:"), txtTo_);
    fields->addRow(QStringLiteral("BCC:"), txtBcc_);
    fields->addRow(QStringLiteral("Subject:"), txtSubject_);
    layout->addLayout(fields);
    // An address the sender could not use stays in its field, named here, for the user to fix.
    lblCheck_ = new QLabel(this);
    lblCheck_->setStyleSheet(QStringLiteral("color: #b00020;"));
    lblCheck_->setWordWrap(true);
    layout->addWidget(lblCheck_);

    auto* splitter = new QSplitter(Qt::Horizontal, this);
    txtSource_ = new QPlainTextEdit(message.html, splitter);
    txtSource_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    txtSource_->setLineWrapMode(QPlainTextEdit::NoWrap);
    txtPreview_ = new QTextBrowser(splitter);
    // The preview shows the mail; a link in it must not turn it into a browser.
    txtPreview_->setOpenLinks(false);
    txtPreview_->setOpenExternalLinks(false);
    splitter->addWidget(txtSource_);
    splitter->addWidget(txtPreview_);
    layout->addWidget(splitter, 1);

    auto* buttons = new QHBoxLayout;
    cmdSend_ = new QPushButton(QStringLiteral("Send"), this);
    cmdCancel_ = new QPushButton(QStringLiteral("Cancel"), this);
    cmdSend_->setAutoDefault(false);
    cmdCancel_->setAutoDefault(false);
    buttons->addStretch();
    buttons->addWidget(cmdSend_);
    buttons->addWidget(cmdCancel_);
    layout->addLayout(buttons);

    previewTimer_ = new QTimer(this);
    previewTimer_->setSingleShot(true);
    previewTimer_->setInterval(kPreviewDelayMs);
    connect(previewTimer_, &QTimer::timeout, this, &frmCompose::refreshPreview);
    connect(txtSource_, &QPlainTextEdit::textChanged, previewTimer_, qOverload<>(&QTimer::start));
    connect(txtPreview_, &QTextBrowser::highlighted, this,
            [this](const QUrl& url) { txtPreview_->setToolTip(url.toString()); });
    connect(txtSubject_, &QLineEdit::textChanged, this,
            [this](const QString& subject) { setWindowTitle(WindowTitle(subject)); });
    connect(txtTo_, &QLineEdit::textChanged, this, &frmCompose::showAddressProblems);
    connect(txtBcc_, &QLineEdit::textChanged, this, &frmCompose::showAddressProblems);
    connect(cmdAccount_, &QPushButton::clicked, this, &frmCompose::openAccount);
    connect(cmdSend_, &QPushButton::clicked, this, [this] { send(); });
    connect(cmdCancel_, &QPushButton::clicked, this, &QDialog::reject);

    refreshPreview();
    showSender();
    showAddressProblems();
    resize(900, 600);
}

frmCompose::~frmCompose() = default;

MailMessage frmCompose::message() const {
    return MailMessage{txtTo_->text(), txtBcc_->text(), txtSubject_->text(), txtSource_->toPlainText()};
}

void frmCompose::refreshPreview() {
    previewTimer_->stop();
    txtPreview_->setHtml(txtSource_->toPlainText());
}

void frmCompose::showSender() {
    const MailProfile p = LoadMailProfile();
    if (p.host.isEmpty() || p.senderAddress.isEmpty()) {
        lblFrom_->setText(QStringLiteral("From: no mail account is set up yet"));
        return;
    }
    const QString from = p.senderName.isEmpty()
                             ? p.senderAddress
                             : QStringLiteral("%1 <%2>").arg(p.senderName, p.senderAddress);
    lblFrom_->setText(QStringLiteral("From: ") + from);
}

void frmCompose::openAccount() {
    frmMailAccount::Edit(this);
    showSender();
}

QString frmCompose::addressProblems() const {
    QStringList problems;
    QList<MailAddress> to, bcc;
    QString why;
    if (!ParseMailAddressList(txtTo_->text(), &to, &why))
        problems << QStringLiteral("To: ") + why;
    if (!ParseMailAddressList(txtBcc_->text(), &bcc, &why))
        problems << QStringLiteral("BCC: ") + why;
    if (problems.isEmpty() && to.isEmpty() && bcc.isEmpty())
        problems << QStringLiteral("No recipient yet.");
    return problems.join(QLatin1Char('\n'));
}

void frmCompose::showAddressProblems() {
    const QString text = addressProblems();
    lblCheck_->setText(text);
    lblCheck_->setVisible(!text.isEmpty());
}

bool frmCompose::checkAddresses(const MailMessage& mail) {
    QList<MailAddress> to, bcc;
    QString why;
    if (!ParseMailAddressList(mail.to, &to, &why)) {
        MsgBox(QStringLiteral("Check the To field: ") + why, PromptIcon::Exclamation);
        txtTo_->setFocus();
        return false;
    }
    if (!ParseMailAddressList(mail.bcc, &bcc, &why)) {
        MsgBox(QStringLiteral("Check the BCC field: ") + why, PromptIcon::Exclamation);
        txtBcc_->setFocus();
        return false;
    }
    if (to.isEmpty() && bcc.isEmpty()) {
        MsgBox(QStringLiteral("Enter at least one recipient in To or BCC."), PromptIcon::Exclamation);
        txtTo_->setFocus();
        return false;
    }
    return true;
}

bool frmCompose::send() {
    const MailMessage mail = message();
    if (!checkAddresses(mail))
        return false;
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    cmdSend_->setEnabled(false);
    last_ = transport_->send(mail);
    cmdSend_->setEnabled(true);
    QGuiApplication::restoreOverrideCursor();

    switch (last_.status) {
        case MailSendResult::Status::Sent:
            outcome_ = Outcome::Sent;
            accept();
            return true;
        case MailSendResult::Status::KeptInOutbox:
            // Handed to the delivery worker: nothing to tell now, the closing screen says what waits.
            if (last_.queued) {
                outcome_ = Outcome::KeptInOutbox;
                accept();
                return true;
            }
            MsgBox(QStringLiteral("The mail could not be sent.\n\n%1\n\nIt was kept in the outbox as %2.")
                       .arg(last_.reason, last_.outboxFile),
                   PromptIcon::Exclamation);
            outcome_ = Outcome::KeptInOutbox;
            accept();
            return true;
        case MailSendResult::Status::Refused:
            MsgBox(QStringLiteral("The mail was not sent.\n\n") + last_.reason, PromptIcon::Exclamation);
            return false;
        case MailSendResult::Status::Lost:
            // Nothing kept it, so the window does: the user can copy the text or try again.
            MsgBox(QStringLiteral("The mail could not be sent and not be kept in the outbox.\n\n%1\n\n"
                                  "It stays in this window.")
                       .arg(last_.reason),
                   PromptIcon::Critical);
            return false;
    }
    return false;
}

frmCompose::Outcome frmCompose::DisplayMail(const MailMessage& message, QWidget* parent) {
    frmCompose window(message, nullptr, parent);
    if (g_hook)
        g_hook(&window);
    else
        window.exec();
    return window.outcome();
}

void frmCompose::SetDisplayHook(Hook hook) {
    g_hook = std::move(hook);
}

MailErrorReportMailer* InstallComposeWindow() {
    static MailErrorReportMailer mailer;
    // The window tells the user what became of the mail, so the caller has nothing to add.
    mailer.setDisplayHook([](const MailMessage& mail) {
        frmCompose::DisplayMail(mail, VisibleOwner());
        return true;
    });
    SetErrorReportMailer(&mailer);
    return &mailer;
}

}  // namespace tlm
