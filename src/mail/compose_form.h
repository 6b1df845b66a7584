#pragma once

#include <QDialog>
#include <functional>
#include <memory>

#include "mail/mail_message.h"
#include "mail/mail_transport.h"

class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QTextBrowser;
class QTimer;

namespace tlm {

// The program's own compose window: a mail the user checks, edits and sends.
class frmCompose : public QDialog {
    Q_OBJECT
  public:
    enum class Outcome { Cancelled, Sent, KeptInOutbox };

    // Without a transport the mail goes out through the stored mail profile; the window does not
    // take ownership of one given.
    explicit frmCompose(const MailMessage& message, MailTransport* transport = nullptr,
                        QWidget* parent = nullptr);
    ~frmCompose() override;

    MailMessage message() const;  // as edited
    Outcome outcome() const { return outcome_; }
    const MailSendResult& lastResult() const { return last_; }

    // What Send does: checks the addresses, sends, and closes unless the mail is still here to fix.
    // True when the window closed.
    bool send();
    void refreshPreview();

    QLineEdit* toField() const { return txtTo_; }
    QLineEdit* bccField() const { return txtBcc_; }
    QLineEdit* subjectField() const { return txtSubject_; }
    QPlainTextEdit* sourceEditor() const { return txtSource_; }
    QTextBrowser* preview() const { return txtPreview_; }
    QLabel* senderLabel() const { return lblFrom_; }
    // What is wrong with the To and BCC fields as they stand, one line each; empty when nothing.
    QString addressProblems() const;
    QLabel* addressCheckLabel() const { return lblCheck_; }
    QPushButton* accountButton() const { return cmdAccount_; }
    QPushButton* sendButton() const { return cmdSend_; }
    QPushButton* cancelButton() const { return cmdCancel_; }

    // Opens the window modal over parent with the mail and returns once it is closed.
    static Outcome DisplayMail(const MailMessage& message, QWidget* parent = nullptr);
    // Tests get the window through this hook instead of a blocking exec().
    using Hook = std::function<void(frmCompose*)>;
    static void SetDisplayHook(Hook hook);

  private:
    void openAccount();
    void showSender();
    void showAddressProblems();
    bool checkAddresses(const MailMessage& mail);

    std::unique_ptr<MailTransport> ownTransport_;
    MailTransport* transport_;
    Outcome outcome_ = Outcome::Cancelled;
    MailSendResult last_;
    QLabel* lblFrom_;
    QPushButton* cmdAccount_;
    QLineEdit* txtTo_;
    QLineEdit* txtBcc_;
    QLineEdit* txtSubject_;
    QLabel* lblCheck_;
    QPlainTextEdit* txtSource_;
    QTextBrowser* txtPreview_;
    QTimer* previewTimer_;
    QPushButton* cmdSend_;
    QPushButton* cmdCancel_;
};

// Makes "Open Email" of the error report open the compose window: installs the process's error
// report mailer with DisplayMail as its display hook. The program calls it once at start.
MailErrorReportMailer* InstallComposeWindow();

}  // namespace tlm
