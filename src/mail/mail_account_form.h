#pragma once

#include <QDialog>
#include <functional>

#include "mail/mail_profile.h"
#include "mail/mail_transport.h"

class QCheckBox;
class QComboBox;
class QLineEdit;
class QPushButton;
class QSpinBox;

namespace tlm {

// Edits the account mail goes out from, and tries it with a test mail before saving.
class frmMailAccount : public QDialog {
    Q_OBJECT
  public:
    explicit frmMailAccount(QWidget* parent = nullptr);  // shows the stored profile

    // The profile as the fields give it; false with a message when a field is not valid.
    // An untouched password field keeps the stored password.
    bool editedProfile(MailProfile* profile, QString* error) const;
    // Validates and writes the profile; closes the dialog on success, else tells the user why.
    bool save();
    // Sends a short mail to the sender address with the values as edited, and tells the outcome.
    MailSendResult sendTestMail();

    QLineEdit* senderNameField() const { return txtSenderName_; }
    QLineEdit* senderAddressField() const { return txtSenderAddress_; }
    QLineEdit* hostField() const { return txtHost_; }
    QLineEdit* portField() const { return txtPort_; }
    QComboBox* tlsBox() const { return cboTls_; }
    QLineEdit* userField() const { return txtUser_; }
    QLineEdit* passwordField() const { return txtPassword_; }
    QPushButton* forgetPasswordButton() const { return cmdForgetPassword_; }
    QCheckBox* verifyCertificateBox() const { return chkVerify_; }
    QSpinBox* timeoutBox() const { return spnTimeout_; }
    QLineEdit* errorMailboxField() const { return txtErrorMailbox_; }
    QPushButton* testButton() const { return cmdTest_; }
    QPushButton* saveButton() const { return cmdSave_; }
    QPushButton* cancelButton() const { return cmdCancel_; }

    void setTls(MailTlsMode mode);

    // Opens the dialog modal; true when the profile was saved.
    static bool Edit(QWidget* parent = nullptr);
    // Tests get the dialog through this hook instead of a blocking exec().
    using Hook = std::function<void(frmMailAccount*)>;
    static void SetDialogHook(Hook hook);

  private:
    MailTlsMode tls() const;
    void updatePortHint();
    void forgetPassword();

    MailProfile stored_;
    bool forgetPassword_ = false;
    QLineEdit* txtSenderName_;
    QLineEdit* txtSenderAddress_;
    QLineEdit* txtHost_;
    QLineEdit* txtPort_;
    QComboBox* cboTls_;
    QLineEdit* txtUser_;
    QLineEdit* txtPassword_;
    QPushButton* cmdForgetPassword_;
    QCheckBox* chkVerify_;
    QSpinBox* spnTimeout_;
    QLineEdit* txtErrorMailbox_;
    QPushButton* cmdTest_;
    QPushButton* cmdSave_;
    QPushButton* cmdCancel_;
};

}  // namespace tlm
