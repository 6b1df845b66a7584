#include "mail/outbox_form.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QElapsedTimer>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLocale>
#include <QPlainTextEdit>
#include <QProgressDialog>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "core/prompt.h"
#include "mail/mail_account_form.h"
#include "mail/mail_profile.h"
#include "mail/outbox.h"

namespace tlm {

namespace {

bool g_told = false;
frmOutbox::Hook g_outboxHook;
frmOutbox::ShowHook g_showHook;
// A wait shorter than this needs no window.
constexpr int kShowAfterMs = 300;
DeliveryProgressHook g_progressHook;

QString ProgressText(const OutboxStatus& s) {
    return s.waiting == 1 ? QStringLiteral("Sending mail: 1 mail to go.")
                          : QStringLiteral("Sending mail: %1 mails to go.").arg(s.waiting);
}

// True when the worker went idle within ms.
bool WaitWithProgress(OutboxSender& sender, int ms) {
    if (sender.waitIdle(0))
        return true;
    QProgressDialog progress(ProgressText(sender.status()), QStringLiteral("Send later"), 0, 0,
                             QApplication::activeWindow());
    progress.setWindowTitle(QStringLiteral("Tally Loom Manager Process"));
    progress.setWindowModality(Qt::ApplicationModal);
    progress.setAutoClose(false);
    progress.setAutoReset(false);
    QElapsedTimer timer;
    timer.start();
    bool idle = false;
    while (!idle && !progress.wasCanceled() && timer.elapsed() < ms) {
        idle = sender.waitIdle(50);
        progress.setLabelText(ProgressText(sender.status()));
        if (!idle && !progress.isVisible() && timer.elapsed() >= kShowAfterMs)
            progress.show();
        if (g_progressHook && progress.isVisible())
            g_progressHook(&progress);
        QApplication::processEvents(QEventLoop::AllEvents, 20);
    }
    return idle;
}

QString Waiting(int n) {
    return n == 1 ? QStringLiteral("1 mail waits") : QStringLiteral("%1 mails wait").arg(n);
}

}  // namespace

int FinishMailDelivery(OutboxSender& sender, int waitMs) {
    WaitWithProgress(sender, waitMs);
    OutboxStatus s = sender.status();
    if ((s.waiting == 0 && s.failed == 0) || g_told)
        return s.waiting;
    g_told = true;
    QString text;
    if (s.noServer)
        text = QStringLiteral(
                   "%1 in the outbox: no mail account with a server and a sender address is set "
                   "up.")
                   .arg(Waiting(s.waiting));
    else
        text = QStringLiteral("%1 in the outbox; the program tries again at its next start.%2")
                   .arg(Waiting(s.waiting),
                        s.lastError.isEmpty() ? QString() : QStringLiteral("\n\n") + s.lastError);
    if (s.waiting == 0)
        text = QString();
    if (s.failed > 0)
        text +=
            (text.isEmpty() ? QString() : QStringLiteral("\n\n")) +
            (s.failed == 1 ? QStringLiteral("1 mail failed and is not sent by itself.")
                           : QStringLiteral("%1 mails failed and are not sent by themselves.").arg(s.failed));
    text += QStringLiteral(
        "\n\nOpen the mail account settings now?\n\nYes: the mail account settings. No: the outbox, to "
        "retry, discard or show the mails. Cancel: leave them.");
    const PromptAnswer answer = MsgBox(text, PromptIcon::Exclamation, PromptButtons::YesNoCancel);
    if (answer == PromptAnswer::No) {
        frmOutbox::Open(sender, QApplication::activeWindow());
        WaitWithProgress(sender, waitMs);
        return sender.status().waiting;
    }
    if (answer != PromptAnswer::Yes)
        return s.waiting;
    if (!frmMailAccount::Edit(QApplication::activeWindow()))
        return s.waiting;
    sender.kick(LoadMailProfile());
    WaitWithProgress(sender, waitMs);
    return sender.status().waiting;
}

frmOutbox::frmOutbox(OutboxSender& sender, QWidget* parent) : QDialog(parent), sender_(sender) {
    setWindowTitle(QStringLiteral("Outbox"));
    list_ = new QTreeWidget(this);
    list_->setRootIsDecorated(false);
    list_->setSelectionMode(QAbstractItemView::SingleSelection);
    list_->setHeaderLabels({QStringLiteral("State"), QStringLiteral("Date"), QStringLiteral("Subject"),
                            QStringLiteral("Recipients"), QStringLiteral("Reason")});
    list_->header()->setStretchLastSection(true);
    cmdRetry_ = new QPushButton(QStringLiteral("&Retry"), this);
    cmdDiscard_ = new QPushButton(QStringLiteral("&Discard"), this);
    cmdShow_ = new QPushButton(QStringLiteral("&Show"), this);
    cmdClose_ = new QPushButton(QStringLiteral("&Close"), this);
    auto* buttons = new QHBoxLayout;
    for (QPushButton* b : {cmdRetry_, cmdDiscard_, cmdShow_})
        buttons->addWidget(b);
    buttons->addStretch();
    buttons->addWidget(cmdClose_);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(list_);
    layout->addLayout(buttons);
    resize(760, 360);
    connect(cmdRetry_, &QPushButton::clicked, this, &frmOutbox::retrySelected);
    connect(cmdDiscard_, &QPushButton::clicked, this, &frmOutbox::discardSelected);
    connect(cmdShow_, &QPushButton::clicked, this, &frmOutbox::showSelected);
    connect(cmdClose_, &QPushButton::clicked, this, &QDialog::accept);
    connect(list_, &QTreeWidget::itemSelectionChanged, this, &frmOutbox::updateButtons);
    reload();
}

void frmOutbox::reload() {
    const QString keep = selectedId();
    list_->clear();
    for (const OutboxEntry& e : ListOutbox(sender_.folder())) {
        auto* item = new QTreeWidgetItem(
            list_,
            {e.state == OutboxEntry::State::Failed ? QStringLiteral("Failed") : QStringLiteral("Waiting"),
             QLocale().toString(e.date, QLocale::ShortFormat),
             e.readable ? e.subject : QStringLiteral("(damaged file)"),
             e.recipients.join(QStringLiteral(", ")), e.reason});
        item->setData(0, Qt::UserRole, e.id);
        item->setToolTip(4, e.reason);
        if (e.id == keep)
            list_->setCurrentItem(item);
    }
    if (!list_->currentItem() && list_->topLevelItemCount() > 0)
        list_->setCurrentItem(list_->topLevelItem(0));
    for (int c = 0; c < 4; ++c)
        list_->resizeColumnToContents(c);
    updateButtons();
}

QString frmOutbox::selectedId() const {
    const QList<QTreeWidgetItem*> items = list_->selectedItems();
    return items.isEmpty() ? QString() : items.first()->data(0, Qt::UserRole).toString();
}

void frmOutbox::updateButtons() {
    const bool any = !selectedId().isEmpty();
    for (QPushButton* b : {cmdRetry_, cmdDiscard_, cmdShow_})
        b->setEnabled(any);
}

void frmOutbox::retrySelected() {
    const OutboxOutcome o = RetryOutboxMail(sender_.folder(), selectedId());
    if (o.kind != OutboxOutcome::Kind::Done) {
        MsgBox(o.message, PromptIcon::Exclamation);
    } else {
        sender_.kick(LoadMailProfile());
        sender_.waitIdle(2000);  // a short wait lets a quick server's answer show at once
    }
    reload();
}

void frmOutbox::discardSelected() {
    const QString id = selectedId();
    if (id.isEmpty())
        return;
    if (MsgBox(QStringLiteral("Discard this mail for good? It will not be sent."), PromptIcon::Question,
               PromptButtons::YesNo) != PromptAnswer::Yes)
        return;
    const OutboxOutcome o = DiscardOutboxMail(sender_.folder(), id);
    if (o.kind != OutboxOutcome::Kind::Done)
        MsgBox(o.message, PromptIcon::Exclamation);
    reload();
}

void frmOutbox::showSelected() {
    const OutboxOutcome o = ShowOutboxMail(sender_.folder(), selectedId());
    if (o.kind != OutboxOutcome::Kind::Done) {
        MsgBox(o.message, PromptIcon::Exclamation);
        return;
    }
    QDialog view(this);
    view.setWindowTitle(o.entry.subject.isEmpty() ? QStringLiteral("Mail") : o.entry.subject);
    auto* text = new QPlainTextEdit(&view);
    text->setObjectName(QStringLiteral("mailText"));
    text->setReadOnly(true);
    QByteArray bytes = o.text;
    text->setPlainText(QString::fromUtf8(bytes.replace("\r\n", "\n")));
    auto* close = new QDialogButtonBox(QDialogButtonBox::Close, &view);
    connect(close, &QDialogButtonBox::rejected, &view, &QDialog::reject);
    auto* layout = new QVBoxLayout(&view);
    layout->addWidget(text);
    layout->addWidget(close);
    view.resize(700, 500);
    if (g_showHook)
        g_showHook(&view);
    else
        view.exec();
}

void frmOutbox::Open(OutboxSender& sender, QWidget* parent) {
    frmOutbox window(sender, parent);
    if (g_outboxHook)
        g_outboxHook(&window);
    else
        window.exec();
}

void frmOutbox::SetDialogHook(Hook hook) {
    g_outboxHook = std::move(hook);
}

void frmOutbox::SetShowHook(ShowHook hook) {
    g_showHook = std::move(hook);
}

void SetDeliveryProgressHook(DeliveryProgressHook hook) {
    g_progressHook = std::move(hook);
}

void ResetMailWaitingNotice() {
    g_told = false;
}

}  // namespace tlm
