#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>
#include <functional>
#include <memory>
#include <vector>

#include "core/failure.h"
#include "reports/report_render.h"

class QIODevice;

namespace tlm {

class Connection;

enum class ExportFormat { Excel, Text, Xml, Html };

// One export, written row by row: the heading row, every data row, the summary row.
class ReportWriter {
  public:
    virtual ~ReportWriter() = default;
    virtual bool Begin(const QStringList& headings) = 0;
    virtual bool Row(const QVariantList& cells) = 0;
    virtual bool Summary(const QStringList& cells) = 0;
    virtual bool Finish() = 0;
    QString error;
    // Per column, whether it holds amounts (set before Begin): a workbook keeps them as numbers
    // with two decimals shown, the summary's too.
    std::vector<bool> money;
};

// Tab-separated lines ended by CR LF. A cell that holds a tab or a line break is surrounded by the
// cell delimiter (itself CR LF), as the grid's text export does; every other cell stands as it is.
std::unique_ptr<ReportWriter> MakeTextWriter(QIODevice* device, DateTextFn dateText);
// A plain HTML table; an appended table comes without the page around it.
std::unique_ptr<ReportWriter> MakeHtmlWriter(QIODevice* device, DateTextFn dateText, bool append);
// Root "Reports", one "TimeSheet" per row with the summary last; a field's element is its display
// name with blanks removed (other characters that a name cannot hold become "_").
std::unique_ptr<ReportWriter> MakeXmlWriter(QIODevice* device, DateTextFn dateText);
// An .xlsx workbook in constant-memory mode: rows go to disk as they come.
std::unique_ptr<ReportWriter> MakeXlsxWriter(const QString& path, DateTextFn dateText);

QString XmlElementName(const QString& heading);

struct ExportOutcome {
    bool ok = false;
    bool cancelled = false;
    bool empty = false;  // no rows, and requireRows asked for at least one: nothing was written
    qint64 rows = 0;
    Failure failure;
    bool databaseFailed = false;  // the failure came from the query or its rows, not from the file
};

// Runs the report's query again and writes every row to the file. The file is written under a
// temporary name in the target folder and renamed into place only when complete, so a cancel or a
// failure leaves no file behind, and an append leaves the original as it was. progress gets the rows
// written so far and may answer false to stop. With requireRows, a report without rows writes no file.
ExportOutcome ExportReport(std::shared_ptr<Connection> connection, const ReportDefinition& def,
                           ExportFormat format, const QString& path, bool append, const DateTextFn& dateText,
                           const std::function<bool(qint64)>& progress = {}, bool requireRows = false);
// The same rows as text, HTML or XML on an open device (standard output); nothing is written for a
// report without rows when requireRows is set.
ExportOutcome ExportReportTo(QIODevice* device, std::shared_ptr<Connection> connection,
                             const ReportDefinition& def, ExportFormat format, const DateTextFn& dateText,
                             const std::function<bool(qint64)>& progress = {}, bool requireRows = false);

// Writes the rows a generated report kept, with its totals: the report as the user saw it, whatever
// the database holds now. The file is written as ExportReport writes it.
ExportOutcome ExportGeneratedReport(const ReportRun& run, const ReportDefinition& def, ExportFormat format,
                                    const QString& path, bool append, const DateTextFn& dateText,
                                    const std::function<bool(qint64)>& progress = {});

// Whether the rows a report kept are still what its query gives: the count and every kept cell,
// compared through a digest, by one more read of the query (nothing is rendered or written).
struct ReportCheck {
    bool read = false;  // false: the query failed (failure)
    bool changed = false;
    qint64 rowsNow = 0;
    Failure failure;
};
QByteArray ReportFingerprint(const ReportRun& run);
ReportCheck CheckReportCurrent(std::shared_ptr<Connection> connection, const ReportDefinition& def,
                               const ReportRun& run);
// What the user is told when the data changed since the report was generated.
QString ReportChangedText(const ReportCheck& check, qint64 generatedRows);

// Adds "." and the extension only to a path that ends in "."; every other path stays as it is.
QString EnsureExtension(const QString& path, const QString& extension);

}  // namespace tlm
