// Prepares the command-line benchmark: a database file with <rows> appointments in <folder> and the
// local settings (under XDG_CONFIG_HOME) that point tlm-manager at it.
//   bench_cli_seed <folder> <rows>
#include <QCoreApplication>
#include <cstdio>

#include "core/local_settings.h"
#include "database/connection.h"
#include "database/provisioning.h"

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("TLM"));
    QCoreApplication::setOrganizationName(QStringLiteral("Orrinwell"));
    const QStringList args = app.arguments();
    if (args.size() != 3) {
        std::fprintf(stderr, "usage: bench_cli_seed <folder> <rows>\n");
        return 2;
    }
    const QString folder = args[1];
    const qint64 rows = args[2].toLongLong();
    const QString file = folder + QStringLiteral("/") + tlm::kDatabaseFileName;
    tlm::Connection c;
    tlm::Failure f;
    if (!tlm::DB::fncCopyNewMDBToFile(file) || !c.Open(tlm::SqliteConnectionString(file), &f)) {
        std::fprintf(stderr, "the database could not be created: %s\n", qPrintable(f.description));
        return 1;
    }
    // Spread over 2026; the same shape as the reports benchmark's rows.
    const QString sql =
        QStringLiteral(
            "INSERT INTO tReportedAppointments (Subject, Body, ReportedBy, ReportedDate, StartDate, EndDate, "
            "ProjectValue, ActivityValue, TotalCost, Duration, Approved, Field1Value) "
            "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < %1) "
            "SELECT 'Meeting ' || i, 'Notes for meeting ' || i || ': agenda, minutes and actions.', "
            "'member' || (i % 40), printf('2026-%02d-%02d %02d:%02d:00', 1 + i % 12, 1 + i % 28, "
            "8 + i % 10, i % 60), printf('2026-%02d-%02d 08:00:00', 1 + i % 12, 1 + i % 28), "
            "printf('2026-%02d-%02d 09:00:00', 1 + i % 12, 1 + i % 28), 'Project ' || (i % 25), "
            "'Activity ' || (i % 60), printf('%.4f', (i % 1000) * 1.25), 15 + i % 240, 0, "
            "'Field ' || (i % 7) FROM n")
            .arg(rows);
    if (c.Execute(sql, {}, false, &f) < 0) {
        std::fprintf(stderr, "fill failed: %s\n", qPrintable(f.description));
        return 1;
    }
    c.Close();
    tlm::cMySettings settings;
    settings.ReadSettings();
    settings.DBChoice = 0;
    settings.DBConnectionString = folder;
    settings.SaveSettings();
    return 0;
}
