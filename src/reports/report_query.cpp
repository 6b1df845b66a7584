#include "reports/report_query.h"

#include <QLocale>

#include "core/codecs.h"

namespace tlm {

QStringList ReportTypeNames() {
    return {QStringLiteral("Tasks"), QStringLiteral("Appointments")};
}

QStringList ReportPeriodNames() {
    return {QStringLiteral("Today"),     QStringLiteral("Yesterday"),  QStringLiteral("This Week"),
            QStringLiteral("Last Week"), QStringLiteral("This Month"), QStringLiteral("Last Month"),
            QStringLiteral("This Year"), QStringLiteral("Last Year"),  kDateRangePeriod};
}

QString ReportTableName(int typeIndex) {
    if (typeIndex == 0)
        return QStringLiteral("tReportedTasks");
    if (typeIndex == 1)
        return QStringLiteral("tReportedAppointments");
    return QString();
}

qint16 GetDaysInMonth(qint16 month, int currentYear) {
    switch (month) {
        case 1:
        case 3:
        case 5:
        case 7:
        case 8:
        case 10:
        case 12:
            return 31;
        case 2:
            return currentYear % 4 == 0 ? 29 : 28;
        default:
            return 30;
    }
}

ReportPeriod PeriodDates(const ReportQueryInput& in) {
    const QDate today = in.now.date();
    // Weekday with Sunday as day 1.
    const int weekday = today.dayOfWeek() % 7 + 1;
    const QDate weekStart = today.addDays(-(weekday - 1));
    const QDate weekEnd = today.addDays(7 - weekday);
    const QDate monthStart(today.year(), today.month(), 1);
    ReportPeriod p;
    p.known = true;
    const QString& t = in.period;
    if (t == u"Today") {
        p = {today, today, true, true};
    } else if (t == u"Yesterday") {
        p = {today.addDays(-1), today.addDays(-1), true, true};
    } else if (t == u"This Week") {
        p = {weekStart, weekEnd, false, true};
    } else if (t == u"Last Week") {
        p = {weekStart.addDays(-7), weekEnd.addDays(-7), false, true};
    } else if (t == u"This Month") {
        p = {monthStart, today, false, true};
    } else if (t == u"Last Month") {
        const QDate start = monthStart.addMonths(-1);
        // A day past the month's end carries over, as the date builder does.
        p = {start,
             DateSerial(start.year(), start.month(), GetDaysInMonth(qint16(start.month()), today.year())),
             false, true};
    } else if (t == u"This Year") {
        p = {QDate(today.year(), 1, 1), today, false, true};
    } else if (t == u"Last Year") {
        p = {QDate(today.year() - 1, 1, 1), QDate(today.year() - 1, 12, 31), false, true};
    } else if (t == kDateRangePeriod) {
        p = {in.rangeStart, in.rangeEnd, false, true};
    } else {
        p = ReportPeriod();
    }
    return p;
}

SqlText GetReportSQL(const ReportQueryInput& in) {
    SqlText sql(u"Select * from TABLENAME where ");
    if (!in.fullView)
        sql.Words(u"ReportedBy = ").Text(in.userName).Words(u" and ");
    const ReportPeriod p = PeriodDates(in);
    if (in.dbChoice != 0) {
        const QString term = QStringLiteral("cast(CONVERT(varchar(8), ReportedDate, 112) AS datetime)");
        if (p.singleDay)
            sql.Words(term + QStringLiteral(" = '")).Date(p.start).Words(u"'");
        else
            sql.Words(term + QStringLiteral(" >= '"))
                .Date(p.start)
                .Words(QStringLiteral("' and ") + term + QStringLiteral(" <= '"))
                .Date(p.end)
                .Words(u"'");
    } else {
        sql.Words(u"ReportedDate between #")
            .Date(p.start)
            .Words(u" 00:00:00# and #")
            .Date(p.singleDay ? p.start : p.end)
            .Words(u" 23:59:00#");
    }
    if (!in.listText.isEmpty()) {
        if (in.filterIndex == 1)
            sql.Words(u" and ProjectValue = ").Text(in.listText).Words(u" ORDER BY ProjectValue DESC");
        else if (in.filterIndex == 2)
            sql.Words(u" and ReportedBy = ").Text(in.listText).Words(u" ORDER BY ReportedBy DESC");
    }
    return sql;
}

QString GetTimePeriodHeader(const ReportQueryInput& in, const QString& shortDateFormat) {
    const ReportPeriod p = PeriodDates(in);
    const QLocale locale;
    const auto text = [&](const QDate& d) { return locale.toString(d, shortDateFormat); };
    QString out = in.period + u'[';
    if (in.period == u"Today" || in.period == u"Yesterday")
        out += text(p.start);
    else
        out += text(p.start) + QStringLiteral(" to ") + text(p.end);
    return out + u']';
}

QString GetReportHeader(int typeIndex, const ReportQueryInput& in, const QString& shortDateFormat) {
    if (typeIndex != 0 && typeIndex != 1)
        return QString();
    return QStringLiteral("Reported TimeSheets : ") + GetTimePeriodHeader(in, shortDateFormat);
}

}  // namespace tlm
