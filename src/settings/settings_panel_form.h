#pragma once

#include <QWidget>

namespace tlm {

// What the settings shell needs of an option panel: it reads its settings when added and saves them
// on the shell's Save. A panel that refuses the save has told the user why.
class SettingsPanel : public QWidget {
    Q_OBJECT
  public:
    using QWidget::QWidget;
    virtual void subGetSettings() = 0;
    virtual bool SaveGlobalSettings() = 0;
  signals:
    // The panel's own way to the shell's Save (the first-run panel's Continue).
    void saveRequested();
};

}  // namespace tlm
