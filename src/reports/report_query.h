#pragma once

#include <QDate>
#include <QDateTime>
#include <QString>
#include <QStringList>

#include "database/sql_compose.h"

namespace tlm {

// The entries of the selectors, in their order; periods are told apart by their text.
QStringList ReportTypeNames();    // "Tasks", "Appointments"
QStringList ReportPeriodNames();  // "Today" ... "Date Range.."
inline const QString kDateRangePeriod = QStringLiteral("Date Range..");
QString ReportTableName(int typeIndex);  // tReportedTasks, tReportedAppointments, or empty

// Everything the query depends on, so it can be composed with any clock and any settings.
struct ReportQueryInput {
    qint32 dbChoice = 0;   // 0 the file form, anything else the server form
    bool fullView = true;  // false limits the query to the user's own items
    QString userName;
    QString period;    // the period selector's text
    QDateTime now;     // the current local moment
    QDate rangeStart;  // the date pickers, read by "Date Range.." only
    QDate rangeEnd;
    int filterIndex = 0;  // 0 none, 1 project, 2 member
    QString listText;     // the chosen project or member; empty = no filter
};

struct ReportPeriod {
    QDate start;
    QDate end;
    bool singleDay = false;
    bool known = false;  // false for a text that is no period
};

// Month length by the program's own rule: February has 29 days whenever the current year
// (not the period's) divides by 4.
qint16 GetDaysInMonth(qint16 month, int currentYear);
// The period's two dates; weeks run Sunday to Saturday whatever the locale.
ReportPeriod PeriodDates(const ReportQueryInput& in);

// "Select * from TABLENAME where " plus the user, date and filter tests; a quote in the user's
// or the filter's name refuses it.
SqlText GetReportSQL(const ReportQueryInput& in);
// "Last Week[3/1/2026 to 3/7/2026]", the dates in the given short date format.
QString GetTimePeriodHeader(const ReportQueryInput& in, const QString& shortDateFormat);
// "Reported TimeSheets : " and the period header for type 0 and 1; empty for any other index.
QString GetReportHeader(int typeIndex, const ReportQueryInput& in, const QString& shortDateFormat);

}  // namespace tlm
