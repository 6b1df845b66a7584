#pragma once

#include <QString>

// The appointments of the report benchmarks: <rows> meetings spread over 2026, written by SQLite
// itself in one statement so that seeding a million rows takes seconds.
namespace tlm::bench {

inline const QString kAppointmentSeedColumns = QStringLiteral(
    "Subject, Body, ReportedBy, ReportedDate, StartDate, EndDate, ProjectValue, ActivityValue, TotalCost, "
    "Duration, Approved, Field1Value");

inline QString SqliteAppointmentSeed(qint64 rows) {
    return QStringLiteral("INSERT INTO tReportedAppointments (") + kAppointmentSeedColumns +
           QStringLiteral(
               ") WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < %1) "
               "SELECT 'Meeting ' || i, 'Notes for meeting ' || i || ': agenda, minutes and actions.', "
               "'member' || (i % 40), printf('2026-%02d-%02d %02d:%02d:00', 1 + i % 12, 1 + i % 28, "
               "8 + i % 10, i % 60), printf('2026-%02d-%02d 08:00:00', 1 + i % 12, 1 + i % 28), "
               "printf('2026-%02d-%02d 09:00:00', 1 + i % 12, 1 + i % 28), 'Project ' || (i % 25), "
               "'Activity ' || (i % 60), printf('%.4f', (i % 1000) * 1.25), 15 + i % 240, 0, "
               "'Field ' || (i % 7) FROM n")
               .arg(rows);
}

}  // namespace tlm::bench
