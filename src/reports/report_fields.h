#pragma once

#include <QString>

#include "core/dictionary.h"

namespace tlm {

class cGeneralSettings;

// Which fields a report can show per item type: column name to display name, in list order.
// Rebuilt at each open of the reports window, since the titles are settings.
class cReportFields {
  public:
    QString strCustomTitle[10];  // index 0 is custom field 1; empty = not active
    Dictionary<QString> dicTaskFields{CompareMode::Binary};
    Dictionary<QString> dicAppointmentFields{CompareMode::Binary};
    Dictionary<QString> dicCommonFields{CompareMode::Binary};

    // projectTitle and activityTitle are the loaded titles ("Project"/"Activity" when empty); the
    // custom field switches and titles, and the stored titles GetKeyName compares with, come from
    // the settings store.
    void LoadFieldsToDictionaries(const cGeneralSettings& settings, const QString& projectTitle,
                                  const QString& activityTitle);
    // The column of a display name.
    QString GetKeyName(const QString& strDisplayName, bool blnAppointmentItem) const;
    static QString GetSQLName(const QString& text);

  private:
    QString storedProjectTitle_;
    QString storedActivityTitle_;
    QString storedCustomTitles_[10];
};

}  // namespace tlm
