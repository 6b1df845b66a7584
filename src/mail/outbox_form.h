#pragma once

#include <QDialog>
#include <QString>
#include <functional>

class QProgressDialog;
class QPushButton;
class QTreeWidget;

namespace tlm {

class OutboxSender;

// The outbox window: waiting and failed mails (date, subject, recipients, reason) with Retry,
// Discard and Show. It only calls the outbox functions of outbox.h and shows their outcome.
class frmOutbox : public QDialog {
    Q_OBJECT
  public:
    explicit frmOutbox(OutboxSender& sender, QWidget* parent = nullptr);
    void reload();
    // The selected mail: a failed one goes back to the waiting ones and delivery is tried.
    void retrySelected();
    // Asks, then removes the selected mail for good.
    void discardSelected();
    // The selected mail as it goes out, read-only.
    void showSelected();

    QTreeWidget* list() const { return list_; }
    QPushButton* retryButton() const { return cmdRetry_; }
    QPushButton* discardButton() const { return cmdDiscard_; }
    QPushButton* showButton() const { return cmdShow_; }
    QPushButton* closeButton() const { return cmdClose_; }

    // Opens the window modal.
    static void Open(OutboxSender& sender, QWidget* parent = nullptr);
    // Tests get the window (and the mail shown by Show) through hooks instead of a blocking exec().
    using Hook = std::function<void(frmOutbox*)>;
    static void SetDialogHook(Hook hook);
    using ShowHook = std::function<void(QDialog*)>;
    static void SetShowHook(ShowHook hook);

  private:
    QString selectedId() const;
    void updateButtons();

    OutboxSender& sender_;
    QTreeWidget* list_;
    QPushButton* cmdRetry_;
    QPushButton* cmdDiscard_;
    QPushButton* cmdShow_;
    QPushButton* cmdClose_;
};

// When a screen closes: waits at most waitMs for a delivery in progress, with a progress window,
// then tells the user once per process how many mails wait in the outbox (and how many failed),
// offering the Mail Account dialog (a profile saved there gets one more short try) or the outbox
// window. Returns the mails still waiting.
int FinishMailDelivery(OutboxSender& sender, int waitMs = 4000);
// Lets a test see the progress window while it is up.
using DeliveryProgressHook = std::function<void(QProgressDialog*)>;
void SetDeliveryProgressHook(DeliveryProgressHook hook);
// Forgets that the user was told, for tests that run several screens in one process.
void ResetMailWaitingNotice();

}  // namespace tlm
