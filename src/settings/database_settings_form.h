#pragma once

#include <QColor>

#include "settings/database_setup.h"
#include "settings/settings_panel_form.h"

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace tlm {

// Where the shared database is: a local file in a folder, or a database on a server. Shown as the
// first-run dialog (with Continue) and as the section's panel in setup mode, where a save reconnects.
class ucDatabaseSettings : public SettingsPanel {
    Q_OBJECT
  public:
    explicit ucDatabaseSettings(QWidget* parent = nullptr);

    void subGetSettings() override;
    bool SaveGlobalSettings() override;

    // Set by the shell; nothing reads it.
    bool blnFromMySettings = false;

    // The fields as they stand now.
    DatabaseFields fields() const;
    // cmdTest: tests the server and database, or the folder, and shows the result lines.
    bool fncCheckDatabaseConnection();

    static QColor ColourOf(StatusColour colour);

  private:
    void onDatabaseTypeChanged(int index);
    void onIntegratedSecurityToggled(bool checked);
    void onBrowse();
    void clearStatus();
    void showCheck(const ConnectionCheck& check);
    void showLine(QLabel* label, const StatusLine& line);

    QGroupBox* frameDatabase_ = nullptr;
    QComboBox* cboDatabaseTypes_ = nullptr;
    QWidget* picMDBPath_ = nullptr;
    QLabel* lblSaveIn_ = nullptr;
    QLineEdit* txtMDBPath_ = nullptr;
    QPushButton* cmdBrowseMDBpath_ = nullptr;
    QWidget* picDBConnection_ = nullptr;
    QComboBox* cboServerKind_ = nullptr;
    QLineEdit* txtServer_ = nullptr;
    QLabel* lblDatabase_ = nullptr;
    QLineEdit* txtDatabase_ = nullptr;
    QCheckBox* chkIntegratedSecurity_ = nullptr;
    QLineEdit* txtUserName_ = nullptr;
    QLineEdit* txtPassword_ = nullptr;
    QPushButton* cmdTest_ = nullptr;
    QLabel* lblStatus_ = nullptr;
    QLabel* labelDBStatus_ = nullptr;
    QGroupBox* frameInfo_ = nullptr;
    QPushButton* cmdContinue_ = nullptr;
    QString proposedFolder_;
};

}  // namespace tlm
