#pragma once

#include <QDate>
#include <QDateTime>
#include <QString>
#include <QStringList>
#include <optional>

#include "core/dictionary.h"
#include "core/failure.h"
#include "reports/report_export.h"
#include "reports/report_query.h"
#include "reports/report_render.h"

namespace tlm {

class cDBSettings;
class cReportFields;

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

// A report as the command line names it; what it leaves unset comes from the screen's stored choices.
struct ReportRequest {
    std::optional<int> typeIndex;       // 0 tasks, 1 appointments
    QString period;                     // a period's name in any letter case, "Date Range" too
    QDate from, to;                     // either one makes the period "Date Range.."
    QString project, member;            // at most one, in any letter case
    std::optional<QStringList> fields;  // display names in any order and letter case
};

// What the reports screen stored when it closed (the Reports_* window state).
struct StoredReportChoices {
    int typeIndex = 0;
    int periodIndex = 0;
    QString tasksTicks;  // "\r\n"-separated display names
    QString appointmentsTicks;
};

// The choices of a request, or what in it names nothing offered.
struct ReportChoicesOutcome {
    enum class Kind { Chosen, UnknownPeriod, UnknownProject, UnknownMember, UnknownField, NoFields };
    Kind kind = Kind::Chosen;
    ReportChoices choices;
    QString name;         // the name not found, as given
    QStringList offered;  // the periods, or the type's fields, for UnknownPeriod and UnknownField
};
// Turns a request into the choices the screen would hold: the stored ones restored as the window
// restores them, names matched without regard to case and given back as offered, ticks in the
// list's order. A range runs from a week before today to today unless given.
ReportChoicesOutcome ChooseReport(const ReportRequest& request, const StoredReportChoices& stored,
                                  const cReportFields& fields, const cDBSettings& global, const QDate& today);

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

// What writing a report came to.
struct ReportOutcome {
    enum class Kind {
        Written,
        NothingToExport,  // no rows: nothing was written
        QueryFailed,      // the database refused the query or broke off (failure)
        WriteFailed,      // the file could not be written; none is left behind (failure)
        Cancelled,        // stopped by its progress callback; none is left behind
    };
    Kind kind = Kind::Written;
    Failure failure;
    qint64 rows = 0;
};
// An export's outcome by kind (it was run with requireRows, or has rows).
ReportOutcome ReportOutcomeOf(const ExportOutcome& out);
// The page's run by kind: a page without rows is nothing to export.
ReportOutcome ReportOutcomeOf(const ReportRun& run);

// The whole page: head with tag, user and time, the chart image when wanted, the section, the tail.
QString ComposeReportPage(const PreparedReport& report, const QString& userName, const QString& timeText,
                          bool withChart, const QString& section);

}  // namespace tlm
