// Report and export at scale, as timed runs of the real code against bare baselines; every time is
// the median of several runs taken in turns with the baseline.
//   bench_reports html    <rows>            the report's HTML vs `sqlite3 -html` on the shown columns
//   bench_reports xlsx    <rows>            .xlsx export vs the bare writer (support/bare_xlsx.h)
//   bench_reports million <rows> sqlite|pg  report with totals, then the .xlsx export; the peak RSS of
//                                           each, measured from the end of the fill
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTemporaryDir>
#include <QUuid>
#include <cstdio>
#include <vector>

#include "core/codecs.h"
#include "database/connection.h"
#include "database/cursor.h"
#include "database/provisioning.h"
#include "domain/shared_lists.h"
#include "reports/report_export.h"
#include "reports/report_fields.h"
#include "reports/report_query.h"
#include "reports/report_render.h"
#include "reports/report_request.h"
#include "settings/global_settings.h"
#include "support/appointment_seed.h"
#include "support/bare_xlsx.h"
#include "support/peak_rss.h"
#include "support/record.h"

namespace tlm {
namespace {

bool FillSqlite(Connection& c, qint64 rows) {
    Failure f;
    const QString sql = bench::SqliteAppointmentSeed(rows);
    if (c.Execute(sql, {}, false, &f) < 0) {
        std::fprintf(stderr, "fill failed: %s\n", qPrintable(f.description));
        return false;
    }
    return true;
}

bool FillPostgres(Connection& c, qint64 rows) {
    Failure f;
    const QString sql =
        QStringLiteral("INSERT INTO tReportedAppointments (") + bench::kAppointmentSeedColumns +
        QStringLiteral(
            ") SELECT 'Meeting ' || i, 'Notes for meeting ' || i || ': agenda, minutes and actions.', "
            "'member' || (i % 40), timestamp '2026-01-01 08:00' + (i % 360) * interval '1 day' + "
            "(i % 600) * interval '1 minute', timestamp '2026-01-01 08:00' + (i % 360) * interval '1 day', "
            "timestamp '2026-01-01 09:00' + (i % 360) * interval '1 day', 'Project ' || (i % 25), "
            "'Activity ' || (i % 60), ((i % 1000) * 1.25)::numeric(19,4), 15 + i % 240, 0, "
            "'Field ' || (i % 7) FROM generate_series(1, %1) AS i")
            .arg(rows);
    if (c.Execute(sql, {}, false, &f) < 0) {
        std::fprintf(stderr, "fill failed: %s\n", qPrintable(f.description));
        return false;
    }
    return true;
}

const QStringList kSelected = {QStringLiteral("Subject"),       QStringLiteral("Reported By"),
                               QStringLiteral("Reported Date"), QStringLiteral("Project"),
                               QStringLiteral("Activity"),      QStringLiteral("Total Cost"),
                               QStringLiteral("Duration")};

ReportDefinition Definition(bool serverForm) {
    cGeneralSettings gs;  // the titles a new database holds
    gs.SetValue(QStringLiteral("tpoProjectTitle"), QStringLiteral("Project"));
    gs.SetValue(QStringLiteral("tpoActivityTitle"), QStringLiteral("Activity"));
    cReportFields fields;
    fields.LoadFieldsToDictionaries(gs, QString(), QString());
    ReportQueryInput in;
    in.dbChoice = serverForm ? 1 : 0;
    in.period = kDateRangePeriod;
    in.now = QDateTime(QDate(2026, 12, 31), QTime(12, 0));
    in.rangeStart = QDate(2026, 1, 1);
    in.rangeEnd = QDate(2026, 12, 31);
    SqlText sql = GetReportSQL(in);
    sql.Replace(u"TABLENAME", u"tReportedAppointments");
    return MakeReportDefinition(sql, true, kSelected, fields, 0);
}

// Dates as the program writes them (the report window and the command line alike).
QString DateText(const QDateTime& d) {
    return DateTimeToText(d);
}

using bench::PeakRssMb;
using bench::ResetPeakRss;

struct Db {
    QTemporaryDir temp;
    QString file;
    std::shared_ptr<Connection> connection = std::make_shared<Connection>();
    QString pgServer;
    QString pgName;
    ~Db() {
        connection.reset();
        if (!pgName.isEmpty()) {
            Connection admin;
            Failure f;
            if (admin.Open(pgServer, &f))
                admin.Execute(QStringLiteral("DROP DATABASE IF EXISTS \"%1\" WITH (FORCE)").arg(pgName), {},
                              false, &f);
        }
    }
};

bool OpenSqlite(Db& db, qint64 rows) {
    if (qEnvironmentVariableIsSet("TLM_BENCH_KEEP")) {
        db.temp.setAutoRemove(false);
        std::fprintf(stderr, "files kept in %s\n", qPrintable(db.temp.path()));
    }
    db.file = db.temp.path() + QStringLiteral("/") + kDatabaseFileName;
    return DB::fncCopyNewMDBToFile(db.file) && db.connection->Open(SqliteConnectionString(db.file)) &&
           FillSqlite(*db.connection, rows);
}

bool OpenPostgres(Db& db, qint64 rows) {
    const QString pg = qEnvironmentVariable("TLM_TEST_PG");
    if (pg.isEmpty())
        return false;
    db.pgServer = fncGetServerConnectionString(pg);
    db.pgName = QStringLiteral("tlm_bench_") + QUuid::createUuid().toString(QUuid::Id128).left(8);
    Failure f;
    bool ok = db.connection->Open(db.pgServer, &f);
    const QString script = GetSQLScript(1, pg).replace(kDefaultDatabaseName, db.pgName);
    for (const QString& piece : SplitSqlScript(script))
        if (ok && !piece.trimmed().isEmpty())
            ok = db.connection->Execute(piece, {}, false, &f) >= 0;
    if (!ok)
        std::fprintf(stderr, "PostgreSQL setup failed: %s\n", qPrintable(f.description));
    return ok && FillPostgres(*db.connection, rows);
}

double BareXlsx(Connection& c, const QString& path, qint64* rows) {
    QElapsedTimer t;
    t.start();
    QSqlQuery q = c.NewQuery();
    q.setForwardOnly(true);
    if (!q.exec(bench::kSevenColumnQuery))
        return -1;
    *rows = bench::WriteBareXlsx(q, path);
    return *rows >= 0 ? double(t.nsecsElapsed()) / 1e9 : -1;
}

double TimedExport(Db& db, const ReportDefinition& def, ExportFormat format, const QString& path,
                   qint64* rows) {
    QElapsedTimer t;
    t.start();
    const ExportOutcome out = ExportReport(db.connection, def, format, path, false, DateText);
    const double s = double(t.nsecsElapsed()) / 1e9;
    if (!out.ok)
        std::fprintf(stderr, "export failed: %s\n", qPrintable(out.failure.description));
    *rows = out.rows;
    return out.ok ? s : -1;
}

// sqlite3 as its own process, output to a file; lines written in *lines.
double TimedCli(const Db& db, const QString& sql, const QString& out, qint64* lines) {
    QProcess cli;
    cli.setStandardOutputFile(out);
    QElapsedTimer t;
    t.start();
    cli.start(QStringLiteral("sqlite3"), {QStringLiteral("-html"), QStringLiteral("-header"), db.file, sql});
    if (!cli.waitForFinished(600000) || cli.exitStatus() != QProcess::NormalExit || cli.exitCode() != 0) {
        std::fprintf(stderr, "sqlite3 failed: %s\n", cli.readAllStandardError().constData());
        return -1;
    }
    const double s = double(t.nsecsElapsed()) / 1e9;
    QFile f(out);
    *lines = 0;
    if (f.open(QIODevice::ReadOnly))
        *lines = f.readAll().count("<TR>");
    return s;
}

constexpr int kRuns = 5;

int Html(qint64 n) {
    Db db;
    if (!OpenSqlite(db, n))
        return 1;
    const ReportDefinition def = Definition(false);
    qint64 rows = 0, cliRows = 0, cliAllRows = 0;
    const QString ours = db.temp.path() + QStringLiteral("/report.htm");
    const QString cliOut = db.temp.path() + QStringLiteral("/cli.html");
    // The statement the report runs, as the engine receives it (every column), for scale only.
    const QString all = db.connection->dialect().Translate(def.sql.sql());
    std::vector<double> mine, bare, bareAll, page;
    qint64 pageKb = 0;
    bool ok = true;
    for (int i = 0; i < kRuns && ok; ++i) {
        mine.push_back(TimedExport(db, def, ExportFormat::Html, ours, &rows));
        QElapsedTimer t;
        t.start();
        // The window's page: the query read once, every row kept, the page with every row written.
        const ReportRun run = RunReport(db.connection, def);
        const QString html = ReportSectionHtml(def, run, QStringLiteral("Reported TimeSheets"), DateText);
        page.push_back(run.ok && run.rowCount == n && !html.isEmpty() ? double(t.nsecsElapsed()) / 1e9 : -1);
        pageKb = html.size() * 2 / 1024;
        bare.push_back(TimedCli(db, bench::kSevenColumnQuery, cliOut, &cliRows));
        bareAll.push_back(TimedCli(db, all, cliOut, &cliAllRows));
        ok = mine.back() > 0 && page.back() > 0 && bare.back() > 0 && bareAll.back() > 0;
    }
    // sqlite3 writes the heading as a row too; the report writes a totals row after the data.
    ok = ok && rows == n && cliRows == n + 1;
    const double m = bench::Median(mine), b = bench::Median(bare), ba = bench::Median(bareAll),
                 p = bench::Median(page);
    if (!ok) {
        std::printf("reports html: FAILED (report rows %lld, sqlite3 rows %lld, expected %lld)\n", rows,
                    cliRows - 1, n);
        bench::Record("report-page", QStringLiteral("run failed"), "failed");
        return 1;
    }
    const double ratio = p / b;
    std::printf(
        "reports html: %lld rows, 7 shown columns, median of %d: the window's page (query, every row kept "
        "and on the page, totals) %.3f s (%lld KB in memory) vs sqlite3 -html -header on the same 7 "
        "columns %.3f s: %.2fx (goal <= 2x); sqlite3 -html over the report's own SELECT * (every "
        "column) %.3f s, %.2fx, for scale only\n",
        rows, kRuns, p, pageKb, b, ratio, ba, p / ba);
    std::printf(
        "reports html: the HTML export (a second run of the query, to a file) %.3f s (%lld KB), %.2fx\n", m,
        QFileInfo(ours).size() / 1024, m / b);
    bench::Record(
        "report-page",
        QStringLiteral("%1x (%2 s vs %3 s)").arg(ratio, 0, 'f', 2).arg(p, 0, 'f', 3).arg(b, 0, 'f', 3),
        bench::Verdict(true, ratio <= 2.0));
    return 0;
}

int Xlsx(qint64 n) {
    Db db;
    if (!OpenSqlite(db, n))
        return 1;
    const ReportDefinition def = Definition(false);
    qint64 rows = 0, bareRows = 0;
    // Taken in turns, so neither side gets the warm cache alone.
    std::vector<double> bare, mine;
    for (int i = 0; i < kRuns; ++i) {
        bare.push_back(BareXlsx(*db.connection, db.temp.path() + QStringLiteral("/bare.xlsx"), &bareRows));
        mine.push_back(TimedExport(db, def, ExportFormat::Excel,
                                   db.temp.path() + QStringLiteral("/report.xlsx"), &rows));
        if (bare.back() < 0 || mine.back() < 0 || rows != bareRows) {
            std::printf("reports xlsx: FAILED (export rows %lld, bare rows %lld)\n", rows, bareRows);
            return 1;
        }
    }
    const double m = bench::Median(mine), b = bench::Median(bare);
    std::printf(
        "reports xlsx: %lld rows, median of %d, both in this process on one open connection: export %.3f s "
        "vs bare libxlsxwriter writer of the same cells (7 columns queried, same date parse) %.3f s: "
        "%.2fx\n",
        rows, kRuns, m, b, m / b);
    return 0;
}

int Million(qint64 n, const QString& engine) {
    Db db;
    const bool pg = engine == u"pg";
    QElapsedTimer fill;
    fill.start();
    if (pg ? !OpenPostgres(db, n) : !OpenSqlite(db, n)) {
        std::printf("reports million (%s): skipped, no database\n", qPrintable(engine));
        if (pg)
            bench::Record("million-rss", QStringLiteral("PostgreSQL not run (no TLM_TEST_PG)"), "not run");
        return pg ? 0 : 1;
    }
    const char* name = pg ? "PostgreSQL" : "SQLite";
    const double filled = double(fill.nsecsElapsed()) / 1e9;
    const long afterFill = PeakRssMb();
    const bool reset = ResetPeakRss();
    const ReportDefinition def = Definition(pg);
    QElapsedTimer t;
    t.start();
    ReportRun run = RunReport(db.connection, def);
    const double report = double(t.nsecsElapsed()) / 1e9;
    const long reportPeak = PeakRssMb();
    const qint64 keptRows = run.rows ? run.rows->Count() : 0;
    run = ReportRun();
    ResetPeakRss();
    qint64 rows = 0;
    const QString path = db.temp.path() + QStringLiteral("/million.xlsx");
    const double xlsx = TimedExport(db, def, ExportFormat::Excel, path, &rows);
    const long exportPeak = PeakRssMb();
    const bool ok = reset && xlsx > 0 && rows == n;
    const long peak = std::max(reportPeak, exportPeak);
    std::printf(
        "reports million (%s): %lld rows filled in %.1f s (peak %ld MB); report with totals %.1f s (%lld "
        "rows kept for the page and the exports), peak RSS %ld MB; .xlsx export %.1f s (%lld rows, %lld MB), "
        "peak RSS %ld MB (goal <= 100 "
        "MB)%s\n",
        name, n, filled, afterFill, report, keptRows, reportPeak, xlsx, rows, QFileInfo(path).size() >> 20,
        exportPeak, reset ? "" : " FAILED: the peak could not be reset after the fill");
    bench::Record("million-rss",
                  QStringLiteral("%1 report %2 MB, export %3 MB")
                      .arg(QString::fromLatin1(name))
                      .arg(reportPeak)
                      .arg(exportPeak),
                  bench::Verdict(ok, peak <= 100));
    return ok ? 0 : 1;
}

}  // namespace
}  // namespace tlm

int main(int argc, char** argv) {
    tlm::PinLocalTimeZone();  // as main does
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    const QString mode = args.value(1);
    const qint64 rows = args.value(2, QStringLiteral("100000")).toLongLong();
    if (mode == u"html")
        return tlm::Html(rows);
    if (mode == u"xlsx")
        return tlm::Xlsx(rows);
    if (mode == u"million")
        return tlm::Million(rows, args.value(3, QStringLiteral("sqlite")));
    std::fprintf(stderr, "usage: bench_reports html|xlsx|million <rows> [sqlite|pg]\n");
    return 2;
}
