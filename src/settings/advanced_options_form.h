#pragma once

#include <QList>
#include <QString>

#include "settings/settings_panel_form.h"
#include "settings/option_form_group.h"

class QCheckBox;
class QLineEdit;

namespace tlm {

// Cost calculation and the date updates of reported items.
class ucAdvancedOptions : public SettingsPanel {
    Q_OBJECT
  public:
    explicit ucAdvancedOptions(QWidget* parent = nullptr);
    void subGetSettings() override;
    bool SaveGlobalSettings() override;

  private:
    void updateDependents();

    OptionGroup* optRateFrom_ = nullptr;
    QCheckBox* chkAllowMemberToChangeRate_ = nullptr;
    OptionGroup* optTaskWork_ = nullptr;
    OptionGroup* optRateInterval_ = nullptr;
    QLineEdit* txtHours_ = nullptr;
    QCheckBox* chkAllowEditOfEmailToReport_ = nullptr;
    QCheckBox* chkPromptMeOnClickingNotifyButton_ = nullptr;
    QCheckBox* chkReportEditable_ = nullptr;
    QCheckBox* chkUpdateItemStartDateWithProjectStartDate_ = nullptr;
    QCheckBox* chkUpdateAppointmentEndDateWith_ = nullptr;
    OptionGroup* optWhichEndDate_ = nullptr;
    QCheckBox* chkUpdateTaskDueDateWith_ = nullptr;
    OptionGroup* optWhichDueDate_ = nullptr;
};

}  // namespace tlm
