// Field catalogue, period arithmetic and the query text, with the clock fixed at edge dates.
#include <gtest/gtest.h>

#include "reports/report_fields.h"
#include "reports/report_query.h"
#include "settings/global_settings.h"

namespace tlm {
namespace {

ReportQueryInput At(const QDate& day, const QString& period, qint32 dbChoice = 0) {
    ReportQueryInput in;
    in.dbChoice = dbChoice;
    in.period = period;
    in.now = QDateTime(day, QTime(14, 30));
    in.rangeStart = QDate(2026, 2, 10);
    in.rangeEnd = QDate(2026, 2, 12);
    return in;
}

const QString kHead = QStringLiteral("Select * from TABLENAME where ");
const QString kTerm = QStringLiteral("cast(CONVERT(varchar(8), ReportedDate, 112) AS datetime)");

QString AccessRange(const QString& s, const QString& e) {
    return kHead + QStringLiteral("ReportedDate between #") + s + QStringLiteral(" 00:00:00# and #") + e +
           QStringLiteral(" 23:59:00#");
}
QString ServerRange(const QString& s, const QString& e) {
    return kHead + kTerm + QStringLiteral(" >= '") + s + QStringLiteral("' and ") + kTerm +
           QStringLiteral(" <= '") + e + QStringLiteral("'");
}

// Each period at Sunday, Saturday, January, March of a leap year and 31 December, both SQL forms.
TEST(ReportQuery, PeriodsOnBothFormsAtEdgeDates) {
    const QDate sunday(2026, 3, 1), saturday(2026, 3, 7), january(2026, 1, 15), leapMarch(2028, 3, 10),
        lastDay(2026, 12, 31), plainMarch(2026, 3, 18);
    const struct {
        QDate today;
        const char *period, *start, *end;
    } cases[] = {
        {sunday, "This Week", "2026-3-1", "2026-3-7"},
        {sunday, "Last Week", "2026-2-22", "2026-2-28"},
        {saturday, "This Week", "2026-3-1", "2026-3-7"},
        {january, "Last Month", "2025-12-1", "2025-12-31"},
        {january, "This Month", "2026-1-1", "2026-1-15"},
        {january, "Last Year", "2025-1-1", "2025-12-31"},
        {leapMarch, "Last Month", "2028-2-1", "2028-2-29"},
        {plainMarch, "Last Month", "2026-2-1", "2026-2-28"},
        {lastDay, "This Week", "2026-12-27", "2027-1-2"},
        {lastDay, "This Month", "2026-12-1", "2026-12-31"},
        {lastDay, "This Year", "2026-1-1", "2026-12-31"},
        {lastDay, "Date Range..", "2026-2-10", "2026-2-12"},
        // No century rule: in 2100 February gets a 29th day, which runs into 1 March.
        {QDate(2100, 3, 5), "Last Month", "2100-2-1", "2100-3-1"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.period) + " at " + c.today.toString(Qt::ISODate).toStdString());
        const QString s = QString::fromLatin1(c.start), e = QString::fromLatin1(c.end);
        EXPECT_EQ(GetReportSQL(At(c.today, QString::fromLatin1(c.period), 0)).sql(), AccessRange(s, e));
        EXPECT_EQ(GetReportSQL(At(c.today, QString::fromLatin1(c.period), 1)).sql(), ServerRange(s, e));
        EXPECT_EQ(GetReportSQL(At(c.today, QString::fromLatin1(c.period), 3)).sql(), ServerRange(s, e));
    }
}

TEST(ReportQuery, SingleDaysAndUnknownPeriod) {
    const QDate newYear(2027, 1, 1);
    EXPECT_EQ(GetReportSQL(At(newYear, QStringLiteral("Today"))).sql(),
              kHead + QStringLiteral("ReportedDate between #2027-1-1 00:00:00# and #2027-1-1 23:59:00#"));
    EXPECT_EQ(GetReportSQL(At(newYear, QStringLiteral("Yesterday"))).sql(),
              kHead + QStringLiteral("ReportedDate between #2026-12-31 00:00:00# and #2026-12-31 23:59:00#"));
    EXPECT_EQ(GetReportSQL(At(newYear, QStringLiteral("Today"), 1)).sql(),
              kHead + kTerm + QStringLiteral(" = '2027-1-1'"));
    EXPECT_EQ(GetReportSQL(At(QDate(2028, 3, 1), QStringLiteral("Yesterday"), 1)).sql(),
              kHead + kTerm + QStringLiteral(" = '2028-2-29'"));
    EXPECT_FALSE(PeriodDates(At(newYear, QStringLiteral("Date Range"))).known);
}

TEST(ReportQuery, UserAndFilterTerms) {
    ReportQueryInput in = At(QDate(2026, 3, 4), QStringLiteral("Today"));
    in.filterIndex = 1;
    in.listText = QStringLiteral("Apollo");
    EXPECT_EQ(GetReportSQL(in).sql(),
              kHead + QStringLiteral("ReportedDate between #2026-3-4 00:00:00# and #2026-3-4 23:59:00# "
                                     "and ProjectValue = 'Apollo' ORDER BY ProjectValue DESC"));
    in.filterIndex = 2;
    in.listText = QStringLiteral("ann");
    in.dbChoice = 1;
    in.fullView = false;
    in.userName = QStringLiteral("boss");
    EXPECT_EQ(GetReportSQL(in).sql(),
              kHead + QStringLiteral("ReportedBy = 'boss' and ") + kTerm +
                  QStringLiteral(" = '2026-3-4' and ReportedBy = 'ann' ORDER BY ReportedBy DESC"));
    // A filter with nothing chosen adds neither a test nor an order.
    in.listText.clear();
    EXPECT_EQ(GetReportSQL(in).sql(),
              kHead + QStringLiteral("ReportedBy = 'boss' and ") + kTerm + QStringLiteral(" = '2026-3-4'"));
}

TEST(ReportQuery, Headers) {
    const QString fmt = QStringLiteral("M/d/yyyy");
    const auto at = [](const char* period) { return At(QDate(2026, 3, 5), QString::fromLatin1(period)); };
    EXPECT_EQ(GetTimePeriodHeader(at("Today"), fmt), QStringLiteral("Today[3/5/2026]"));
    EXPECT_EQ(GetTimePeriodHeader(at("Last Week"), fmt), QStringLiteral("Last Week[2/22/2026 to 2/28/2026]"));
    EXPECT_EQ(GetReportHeader(1, at("Yesterday"), fmt),
              QStringLiteral("Reported TimeSheets : Yesterday[3/4/2026]"));
    EXPECT_EQ(GetReportHeader(0, at("This Month"), fmt),
              QStringLiteral("Reported TimeSheets : This Month[3/1/2026 to 3/5/2026]"));
    EXPECT_EQ(GetReportHeader(2, at("Today"), fmt), QString());
}

QStringList Displays(const Dictionary<QString>& d) {
    QStringList out;
    for (const auto& e : d)
        out.append(e.item);
    return out;
}

TEST(ReportFields, ListsTitlesCustomFieldsAndKeyNames) {
    cGeneralSettings gs;
    gs.SetValue(QStringLiteral("tpoProjectTitle"), QStringLiteral(" Client "));
    gs.SetValue(QStringLiteral("tpoActivityTitle"), QStringLiteral("Work"));
    for (const auto& [n, title] : {std::pair{3, "  "}, {5, "My Custom Field"}, {9, "Rate"}}) {
        gs.SetValue(QStringLiteral("tpoActiveCustomField%1").arg(n), 1);
        gs.SetValue(QStringLiteral("tpoTitleCustomField%1").arg(n), QString::fromLatin1(title));
    }
    gs.SetValue(QStringLiteral("tpoTitleCustomField2"), QStringLiteral("Inactive"));
    cReportFields f;
    f.LoadFieldsToDictionaries(gs, QStringLiteral("Client"), QStringLiteral("Work"));
    const QStringList task = Displays(f.dicTaskFields);
    const QStringList appt = Displays(f.dicAppointmentFields);
    // The fixed rows are the catalogue's own table; its ends and the rows added after it are what a
    // change breaks.
    ASSERT_EQ(task.size(), 36);
    ASSERT_EQ(appt.size(), 34);
    ASSERT_EQ(Displays(f.dicCommonFields).size(), 23);
    EXPECT_EQ(task[1], QStringLiteral("Actual Work"));
    EXPECT_EQ(task.mid(28, 2), (QStringList{QStringLiteral("Reported By"), QStringLiteral("Reported Date")}));
    EXPECT_EQ(appt[1], QStringLiteral("All Day Event"));
    EXPECT_EQ(appt.mid(28), (QStringList{QStringLiteral("Client"), QStringLiteral("Work"),
                                         QStringLiteral("Custom Field 3"), QStringLiteral("My Custom Field"),
                                         QStringLiteral("Rate"), QStringLiteral("Total Cost")}));
    EXPECT_EQ(f.dicTaskFields.Value(QStringLiteral("TotalCost")), QStringLiteral("Total Cost"));
    EXPECT_EQ(f.strCustomTitle[1], QString());

    EXPECT_EQ(f.GetKeyName(QStringLiteral("Due Date"), true), QStringLiteral("EndDate"));
    EXPECT_EQ(f.GetKeyName(QStringLiteral("Due Date"), false), QStringLiteral("DueDate"));
    EXPECT_EQ(f.GetKeyName(QStringLiteral("Reported By"), false), QStringLiteral("ReportedBy"));
    EXPECT_EQ(f.GetKeyName(QStringLiteral("Work"), false), QStringLiteral("ActivityValue"));
    // The stored project title has outer blanks, so the shown title finds no column.
    EXPECT_EQ(f.GetKeyName(QStringLiteral("Client"), false), QStringLiteral("Client"));
    EXPECT_EQ(f.GetKeyName(QStringLiteral("Custom Field 3"), false), QStringLiteral("Field3Value"));
    EXPECT_EQ(f.GetKeyName(QStringLiteral("Rate"), false), QStringLiteral("Field9Value"));
    // Holds the words but is no default title: a column that does not exist.
    EXPECT_EQ(f.GetKeyName(QStringLiteral("My Custom Field"), false), QStringLiteral("MyCustomField"));
    EXPECT_EQ(f.GetKeyName(QStringLiteral("custom field 3"), false), QStringLiteral("customfield3"));
}

}  // namespace
}  // namespace tlm
