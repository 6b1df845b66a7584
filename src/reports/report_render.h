#pragma once

#include <QDateTime>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <functional>
#include <memory>
#include <vector>

#include "core/dictionary.h"
#include "core/failure.h"
#include "database/sql_compose.h"
#include "reports/report_rows.h"

namespace tlm {

class Connection;
class Cursor;
class cReportFields;

// A field of the report: the ticked display name and the column it reads.
struct ReportColumn {
    QString display;
    QString column;
};

// One generated report, kept for export: the query with its table, the ticked fields and the type.
struct ReportDefinition {
    SqlText sql;
    bool appointments = false;
    QStringList selected;               // dicSelectedFields, in list order
    std::vector<ReportColumn> page;     // columns as the page maps them (Due Date stays DueDate)
    std::vector<ReportColumn> exports;  // columns as export maps them (Due Date of an appointment: EndDate)
    QString customTitle9;
    QString customTitle10;
    bool byMember = false;  // the chart groups by member (a project filter) instead of by project
};
ReportDefinition MakeReportDefinition(const SqlText& sql, bool appointments, const QStringList& selected,
                                      const cReportFields& fields, int filterIndex);

// How a value reads as text in a cell: NULL empty, money in its shortest form, a date as the
// program shows dates, numbers plainly.
using DateTextFn = std::function<QString(const QDateTime&)>;
QString CellText(const QVariant& value, const DateTextFn& dateText);

// The summary row: running totals of the numeric columns among the ticked fields.
class ReportSummary {
  public:
    explicit ReportSummary(const ReportDefinition& def);
    // Binds the summed columns to the cursor's positions once, before the first row.
    void Bind(const Cursor& cursor);
    void Add(const Cursor& cursor);
    // Column name to total text, for the columns seen: Total Cost, custom fields 9 and 10 with two
    // decimals, Actual Work plainly, Duration with none.
    Dictionary<QString> Entries() const;

  private:
    struct Sum {
        QString column;
        int decimals;  // -1: plain number
        int index = -1;
        double total = 0;
    };
    std::vector<Sum> sums_;
};

bool IsNumericColumn(const QString& column);

// Cost and duration per project (or per member under a project filter), for the chart.
struct ChartGroup {
    QString name;
    double cost = 0;
    double minutes = 0;
};
struct ReportChart {
    bool byMember = false;
    bool appointments = false;
    std::vector<ChartGroup> groups;  // in name order
};

// The page's fixed pieces.
QString PageHead(const QString& tag, const QString& userName, const QString& timeText);
QString PageTail();
QString DefaultHTML();
// Where the chart image goes on the page, above the table; the screen supplies the image.
inline const QString kChartImageName = QStringLiteral("report-chart.png");
QString ChartImageHtml();

// The outcome of one report run.
struct ReportRun {
    bool ok = false;
    bool cancelled = false;
    qint64 rowCount = 0;
    std::shared_ptr<const ReportRows> rows;         // every row read
    Dictionary<QString> totals{CompareMode::Text};  // the summary row, over every row
    ReportChart chart;
    Failure failure;
};

// Runs the report's query through a cursor once and keeps every row, with the totals and the chart
// data. progress gets the rows read so far and may answer false to stop.
ReportRun RunReport(std::shared_ptr<Connection> connection, const ReportDefinition& def,
                    const std::function<bool(qint64)>& progress = {});

// The section of the page: heading, count, a table of the rows from first (count rows, -1 for all
// that follow) and the summary row, which covers every row of the report.
QString ReportSectionHtml(const ReportDefinition& def, const ReportRun& run, const QString& header,
                          const DateTextFn& dateText, qint64 first = 0, qint64 count = -1);

}  // namespace tlm
