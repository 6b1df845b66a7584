#pragma once
// The bare .xlsx baseline of the report benchmarks: the cells the report export writes for the seven
// benchmark columns (bold heading, texts, dates as date cells, cost and duration as numbers, the bold
// totals row), read by one forward-only query of those columns only and written to a constant-memory
// workbook. Dates go through the program's own parse (ParseStoredDate), so both sides pay the same.
#include <xlsxwriter.h>

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QSqlQuery>
#include <QString>
#include <QVariant>

#include "database/value_conversion.h"

namespace tlm::bench {

// The seven shown columns of the benchmark reports, in the report's order, over the report's rows.
inline const QString kSevenColumnQuery = QStringLiteral(
    "SELECT Subject, ReportedBy, ReportedDate, ProjectValue, ActivityValue, TotalCost, Duration FROM "
    "tReportedAppointments WHERE ReportedDate BETWEEN '2026-01-01 00:00:00' AND '2026-12-31 23:59:00'");

// Data rows written, or -1 when the workbook could not be written. q is executed already.
inline qint64 WriteBareXlsx(QSqlQuery& q, const QString& path) {
    lxw_workbook_options options{};
    options.constant_memory = LXW_TRUE;
    QByteArray dir = QFile::encodeName(QFileInfo(path).absolutePath());
    options.tmpdir = dir.data();
    lxw_workbook* wb = workbook_new_opt(QFile::encodeName(path).constData(), &options);
    if (!wb)
        return -1;
    lxw_worksheet* ws = workbook_add_worksheet(wb, nullptr);
    lxw_format* bold = workbook_add_format(wb);
    format_set_bold(bold);
    lxw_format* dateFormat = workbook_add_format(wb);
    format_set_num_format(dateFormat, "m/d/yyyy h:mm:ss");
    lxw_format* dayFormat = workbook_add_format(wb);
    format_set_num_format(dayFormat, "m/d/yyyy");
    const char* heads[] = {"Subject",  "Reported By", "Reported Date", "Project",
                           "Activity", "Total Cost",  "Duration"};
    for (int i = 0; i < 7; ++i)
        worksheet_write_string(ws, 0, lxw_col_t(i), heads[i], bold);
    lxw_row_t row = 1;
    double cost = 0, minutes = 0;
    while (q.next()) {
        for (int i = 0; i < 7; ++i) {
            const QVariant v = q.value(i);
            if (v.isNull())
                continue;
            const lxw_col_t col = lxw_col_t(i);
            if (i == 2) {
                const QDateTime dt =
                    v.typeId() == QMetaType::QDateTime ? v.toDateTime() : ParseStoredDate(v.toString());
                lxw_datetime x{dt.date().year(), dt.date().month(),  dt.date().day(),
                               dt.time().hour(), dt.time().minute(), double(dt.time().second())};
                worksheet_write_datetime(ws, row, col, &x, dt.time() == QTime(0, 0) ? dayFormat : dateFormat);
            } else if (i >= 5) {
                const double d = v.toDouble();
                (i == 5 ? cost : minutes) += d;
                worksheet_write_number(ws, row, col, d, nullptr);
            } else {
                worksheet_write_string(ws, row, col, v.toString().toUtf8().constData(), nullptr);
            }
        }
        ++row;
    }
    const QLocale locale;
    worksheet_write_string(ws, row, 5, locale.toString(cost, 'f', 2).toUtf8().constData(), bold);
    worksheet_write_string(ws, row, 6, locale.toString(minutes, 'f', 0).toUtf8().constData(), bold);
    return workbook_close(wb) == LXW_NO_ERROR ? qint64(row) - 1 : -1;
}

}  // namespace tlm::bench
