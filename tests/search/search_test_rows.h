#pragma once

#include <QDateTime>
#include <QString>
#include <QVariantList>
#include <functional>
#include "support/test_env.h"

namespace tlm::test {

// Four reported items: a task and an appointment share ID 7, so the two tables overlap.
//   task 7   "Quarterly audit"  Robin, reported 2026-3-7 10:15, due 2026-3-10, Apollo/Design, 125.5, North
//   task 8   "Invoice run"      Zoë Ångström, 2026-3-8 9:00, due 2026-3-20, Hermes/Build, 40, South
//   appt 7   "Audit meeting"    Robin, 2026-3-7 23:30, ends 2026-3-10, Apollo/Design, 80, North
//   appt 9   "Budget review"    Kim, 2026-2-1 12:00, ends 2026-2-3, Hermes, 300
inline void InsertSearchRows(const std::function<void(const QString&, const QVariantList&)>& exec) {
    const QString task = QStringLiteral(
        "INSERT INTO tReportedTasks (ID, Subject, Body, ReportedBy, ReportedDate, DueDate, ProjectValue, "
        "ActivityValue, TotalCost, Field1Value, Categories) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    const QString appt = QStringLiteral(
        "INSERT INTO tReportedAppointments (ID, Subject, Body, ReportedBy, ReportedDate, EndDate, "
        "ProjectValue, ActivityValue, TotalCost, Field1Value, Categories) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, "
        "?, ?)");
    const auto at = [](int y, int m, int d, int h = 0, int mi = 0) {
        return QDateTime(QDate(y, m, d), QTime(h, mi));
    };
    exec(task, {7, QStringLiteral("Quarterly audit"), QStringLiteral("Checked the ledgers\nand the receipts"),
                QStringLiteral("Robin"), at(2026, 3, 7, 10, 15), at(2026, 3, 10), QStringLiteral("Apollo"),
                QStringLiteral("Design"), Cash("125.5"), QStringLiteral("North"), QStringLiteral("Finance")});
    exec(task, {8, QStringLiteral("Invoice run"), QStringLiteral("Sent the invoices to O'Brien"),
                QStringLiteral("Zoë Ångström"), at(2026, 3, 8, 9), at(2026, 3, 20), QStringLiteral("Hermes"),
                QStringLiteral("Build"), Cash("40"), QStringLiteral("South"), QString()});
    exec(appt, {7, QStringLiteral("Audit meeting"), QStringLiteral("Kick-off with the auditors"),
                QStringLiteral("Robin"), at(2026, 3, 7, 23, 30), at(2026, 3, 10), QStringLiteral("Apollo"),
                QStringLiteral("Design"), Cash("80"), QStringLiteral("North"), QStringLiteral("Meetings")});
    exec(appt, {9, QStringLiteral("Budget review"), QStringLiteral("Next year's budget"),
                QStringLiteral("Kim"), at(2026, 2, 1, 12), at(2026, 2, 3), QStringLiteral("Hermes"),
                QString(), Cash("300"), QString(), QString()});
}

}  // namespace tlm::test
