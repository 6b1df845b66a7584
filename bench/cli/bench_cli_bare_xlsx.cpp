// The bare baseline of the command line's .xlsx export, as a process of its own like
// `tlm-manager report`: opens the database file, runs one query of the seven shown columns and writes
// the same cells (support/bare_xlsx.h). Prints the rows written.
//   bench_cli_bare_xlsx <database file> <out.xlsx>
#include <QCoreApplication>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <cstdio>

#include "core/codecs.h"
#include "support/bare_xlsx.h"

int main(int argc, char** argv) {
    tlm::PinLocalTimeZone();  // as main does, so neither side re-reads the zone file at every date
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() != 3) {
        std::fprintf(stderr, "usage: bench_cli_bare_xlsx <database file> <out.xlsx>\n");
        return 2;
    }
    qint64 rows = -1;
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"));
        db.setDatabaseName(args[1]);
        if (!db.open()) {
            std::fprintf(stderr, "the database could not be opened\n");
            return 1;
        }
        QSqlQuery q(db);
        q.setForwardOnly(true);
        if (!q.exec(tlm::bench::kSevenColumnQuery)) {
            std::fprintf(stderr, "the query failed\n");
            return 1;
        }
        rows = tlm::bench::WriteBareXlsx(q, args[2]);
    }
    if (rows < 0)
        return 1;
    std::printf("%lld\n", rows);
    return 0;
}
