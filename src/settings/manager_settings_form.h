#pragma once

#include <QDialog>
#include <QSize>
#include <QString>
#include <functional>

#include "database/connection.h"
#include "settings/settings_panel_form.h"

class QAction;
class QToolBar;
class QVBoxLayout;

namespace tlm {

// Builds a panel for the shell, parented to it.
using SettingsPanelFactory = std::function<SettingsPanel*(QWidget* parent)>;
// For tests of the shell: a stand-in for a panel by its control name ("ucAuditOptions", ...). An empty
// factory restores the program's own panel.
void OverrideSettingsPanel(const QString& panelName, SettingsPanelFactory factory);

// The frame around one option panel, chosen by the current section.
class frmManagerSettings : public QDialog {
    Q_OBJECT
  public:
    explicit frmManagerSettings(QWidget* parent = nullptr);
    ~frmManagerSettings() override;

    // The form's load: keeps the window on top and adds the section's panel.
    void Load();
    // The toolbar's Save: the panel saves; on success the client is told, the flag set, the form closed.
    bool Save();
    // The toolbar's Exit: closes without saving.
    void Exit();

    bool saved() const { return saved_; }
    SettingsPanel* currentItem() const { return currentItem_; }
    QAction* toolbarButton(const QString& key) const;  // "Save" or "Exit"

    static QSize WindowSizeFor(qint32 section);

  protected:
    // The window leaves the always-on-top set once it is hidden.
    void done(int result) override;

  private:
    void subSetSetupControl();

    QToolBar* toolbar_ = nullptr;
    QAction* save_ = nullptr;
    QAction* exit_ = nullptr;
    QVBoxLayout* body_ = nullptr;
    SettingsPanel* currentItem_ = nullptr;
    bool saved_ = false;
};

// Shows the shell modal for Process().lngCurrentSection and answers its saved flag.
bool ShowManagerSettingsModal();
// The section loader's opener of the shell.
void OpenManagerSettings(qint32 section);

// Widget tests drive the shell instead of a blocking modal loop: the driver gets the loaded, shown
// form, and a form it leaves open is closed without saving. An empty driver restores exec().
using ManagerSettingsDriver = std::function<void(frmManagerSettings&)>;
void SetManagerSettingsDriver(ManagerSettingsDriver driver);

// The first-run dialog and the setup dialog of the connection flow. The program installs one:
//   SetDatabaseDialogHost(&host);
class ManagerSettingsDialogHost : public DatabaseDialogHost {
  public:
    bool ShowFirstRunDialog() override;
    void ShowDBDialog() override;
};
// Installs the host above and the reload of the global settings after a database setup.
void InstallManagerSettingsDialogHost();

}  // namespace tlm
