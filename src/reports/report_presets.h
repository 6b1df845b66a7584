#pragma once

#include <QDate>
#include <QString>
#include <QStringList>
#include <vector>

#include "core/failure.h"
#include "reports/report_request.h"

namespace tlm {

// A report the user named to run again: type, period, filter and fields.
struct ReportPreset {
    QString name;
    int typeIndex = 1;  // 0 tasks, 1 appointments
    QString period;     // an entry of ReportPeriodNames()
    QDate rangeStart;   // kept for "Date Range.." only
    QDate rangeEnd;
    int filterIndex = 0;  // 0 none, 1 project, 2 member
    QString listText;
    QStringList ticked;  // display names, in the list's order
};

// The presets as kept in the user's local settings; text that is damaged gives the presets that
// can still be read.
QString EncodeReportPresets(const std::vector<ReportPreset>& presets);
std::vector<ReportPreset> DecodeReportPresets(const QString& text);
std::vector<ReportPreset> LoadReportPresets(Failure* failure = nullptr);
bool SaveReportPresets(const std::vector<ReportPreset>& presets, Failure* failure = nullptr);

// Names match without regard to case, so "weekly" and "Weekly" are one preset.
const ReportPreset* FindReportPreset(const std::vector<ReportPreset>& presets, const QString& name);
// Replaces the preset of the same name or adds it, keeping the list in name order.
void PutReportPreset(std::vector<ReportPreset>& presets, ReportPreset preset);
bool RemoveReportPreset(std::vector<ReportPreset>& presets, const QString& name);

ReportPreset PresetOfChoices(const QString& name, const ReportChoices& choices);
// The request a command line makes of a preset: what the line gives replaces the preset's part (a
// period or a range its period and range, a project or member its filter, a type its type and,
// unless the line names fields, its fields).
ReportRequest RequestWithPreset(const ReportPreset& preset, const ReportRequest& line);

}  // namespace tlm
