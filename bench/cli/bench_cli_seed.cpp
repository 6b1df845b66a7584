// Prepares the command-line benchmark: a database file with <rows> appointments in <folder> and the
// local settings (under XDG_CONFIG_HOME) that point tlm-manager at it.
//   bench_cli_seed <folder> <rows>
#include <QCoreApplication>
#include <cstdio>

#include "core/local_settings.h"
#include "database/connection.h"
#include "database/provisioning.h"
#include "support/appointment_seed.h"

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
    // The same rows as the reports benchmark's.
    const QString sql = tlm::bench::SqliteAppointmentSeed(rows);
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
