#pragma once

#include <QList>
#include <QString>

#include "settings/settings_panel_form.h"

class QCheckBox;
class QLineEdit;
class QPushButton;

namespace tlm {

// What members may do with reported items, and where copies go.
class ucReportingOptions : public SettingsPanel {
    Q_OBJECT
  public:
    explicit ucReportingOptions(QWidget* parent = nullptr);
    void subGetSettings() override;
    bool SaveGlobalSettings() override;

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void updateDependents();

    QList<QCheckBox*> flags_;  // the plain flags, in the order of their keys
    QCheckBox* chkPreventPostingItemLessThan_ = nullptr;
    QLineEdit* txtMinimumPostingWorkTime_ = nullptr;
    QLineEdit* txtWorkingHoursMonth_ = nullptr;
    QCheckBox* chkCopyReportedTaskItemTo_ = nullptr;
    QLineEdit* txtRepositoryTaskPublicFolder_ = nullptr;
    QPushButton* cmdRepositoryTaskPublicFolder_ = nullptr;
    QCheckBox* chkCopyReportedAppointmentItemTo_ = nullptr;
    QLineEdit* txtRepositoryAppointmentPublicFolder_ = nullptr;
    QPushButton* cmdRepositoryAppointmentPublicFolder_ = nullptr;
};

}  // namespace tlm
