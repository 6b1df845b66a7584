#pragma once

#include <QDialog>

#include "core/error_report.h"

class QLabel;
class QPlainTextEdit;
class QPushButton;

namespace tlm {

// The report dialog of the one failure path: send, open as mail, view the report.
class frmErrorReport : public QDialog {
    Q_OBJECT
  public:
    frmErrorReport(const QString& reportText, bool allowDirect, QWidget* parent = nullptr);
    bool reportVisible() const;
    QPushButton* viewButton() const { return cmdViewReport_; }
    QPushButton* openEmailButton() const { return cmdOpenEmail_; }
    QPushButton* sendDirectlyButton() const { return lblSendDirectly_; }
    QPushButton* cancelButton() const { return cmdCancel_; }
    QString reportText() const;

    // Where the "learn more" link leads; a configuration value (local setting "ErrorPolicyUrl").
    static QString PolicyUrl();

  private:
    void toggleReport();
    void send(bool directly);

    QPlainTextEdit* txtReport_;
    QPushButton* cmdViewReport_;
    QPushButton* cmdOpenEmail_;
    QPushButton* lblSendDirectly_;
    QPushButton* cmdCancel_;
};

// The dialog for failures the user can act on; nothing is sent from it.
class frmFriendlyError : public QDialog {
    Q_OBJECT
  public:
    frmFriendlyError(const QString& friendlyText, const QString& reportText, QWidget* parent = nullptr);
    bool reportVisible() const;
    QPushButton* viewButton() const { return cmdViewReport_; }
    QPushButton* exitButton() const { return cmdExit_; }

  private:
    QPlainTextEdit* txtReport_;
    QPushButton* cmdViewReport_;
    QPushButton* cmdExit_;
};

// Shows the two dialogs modal; installed by the program at start.
class GuiErrorPresenter : public ErrorPresenter {
  public:
    void showReport(const QString& reportText, bool allowDirect) override;
    void showFriendly(const QString& friendlyText, const QString& reportText) override;
    // Tests see the dialogs through this hook instead of a blocking exec().
    using Hook = void (*)(QDialog* dialog);
    static void SetDialogHook(Hook hook);
};

}  // namespace tlm
