#pragma once

#include <QDate>
#include <QDateTime>
#include <QString>
#include <QStringList>

#include "core/dictionary.h"
#include "reports/report_query.h"
#include "reports/report_render.h"

namespace tlm {

class cDBSettings;
class cReportFields;

// The page keeps only this many rows; the count, totals and exports cover all of them.
inline constexpr qint64 kReportPageRows = 3000;

// What the user chose for one report, from the window's selectors or from the command line.
struct ReportChoices {
    int typeIndex = 1;  // 0 tasks, 1 appointments
    QString period;     // an entry of ReportPeriodNames()
    QDate rangeStart;   // read by "Date Range.." only
    QDate rangeEnd;
    int filterIndex = 0;  // 0 none, 1 project, 2 member
    QString listText;     // the project or member; empty = no filter
    QStringList ticked;   // the ticked display names, in the list's order
};

// Where the report runs: the database kind, who asks and when.
struct ReportContext {
    qint32 dbChoice = 0;
    bool fullView = true;
    QString userName;
    QDateTime now;
    QString shortDateFormat = QStringLiteral("M/d/yyyy");
};

// The field list of an item type (task or appointment dictionary), nullptr for another index.
const Dictionary<QString>* ReportFieldsOfType(const cReportFields& fields, int typeIndex);
// The rows a stored tick list ticks ("\r\n"-separated names), in the list's order. Names no longer
// offered drop out.
QStringList StoredTicks(const Dictionary<QString>& fields, const QString& storedList);
// The stored tick list for a type (Reports_SelectedFieldsList_Tasks or _Appointments).
QString StoredTickList(int typeIndex, const QString& tasksList, const QString& appointmentsList);
// The ticked names without the first row (ID), which never counts as a chosen field.
int CountChosenFields(const Dictionary<QString>& fields, const QStringList& ticked);
// dicSelectedFields: the ticked names trimmed, duplicates dropped, in their order.
QStringList SelectedFieldNames(const QStringList& ticked);
// The project title as the filter list names it: trimmed, "Project" when empty.
QString ReportProjectTitle(const QString& loadedTitle);
// The names the filter offers: project names (1) or member names (2), as the lists were loaded.
QStringList ReportFilterNames(const cDBSettings& global, int filterIndex);
// "Name: " when a filter with a name is active, else empty.
QString ReportFilterTag(const ReportChoices& choices);

// One report ready to run: the query with its table, the columns and the section heading.
struct PreparedReport {
    ReportQueryInput input;
    ReportDefinition def;
    QString header;
    QString tag;
};
PreparedReport PrepareReport(const cReportFields& fields, const ReportChoices& choices,
                             const ReportContext& context);

// The whole page: head with tag, user and time, the chart image when wanted, the section, the tail.
QString ComposeReportPage(const PreparedReport& report, const QString& userName, const QString& timeText,
                          bool withChart, const QString& section);

}  // namespace tlm
