#pragma once

#include <QString>
#include <QtGlobal>

namespace tlm {

// The windows a section opens.
enum class SectionWindow { ManagerList, Templates, ManagerSettings, Search, Reports, ReviewReports };

SectionWindow WindowForSection(qint32 section);

// The settings shell's panel for a section: its control name and title. A section without a row
// gives an empty panel name; 6 and 15 name panels that this program does not hold.
struct SettingsPanelRow {
    QString panel;
    QString title;
};
SettingsPanelRow SettingsPanelForSection(qint32 section);

// A one-line name of what a section shows, for usage text and messages.
QString SectionDescription(qint32 section);
// The rows of the section table in order, for --help.
QString SectionTableText();

}  // namespace tlm
