// Report and export at scale, as timed runs of the real code against bare baselines.
//   bench_reports html    <rows>            HTML export vs `sqlite3 -html` writing the same rows (SQLite)
//   bench_reports xlsx    <rows>            .xlsx export vs a bare libxlsxwriter loop over the same query
//   bench_reports million <rows> sqlite|pg  report with totals, then the .xlsx export; peak RSS
#include <sys/resource.h>
#include <xlsxwriter.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTemporaryDir>
#include <QUuid>
#include <cstdio>

#include "core/money.h"
#include "database/connection.h"
#include "database/cursor.h"
#include "database/provisioning.h"
#include "reports/report_export.h"
#include "reports/report_fields.h"
#include "reports/report_query.h"
#include "reports/report_render.h"
#include "settings/global_settings.h"
#include "support/appointment_seed.h"

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

QString DateText(const QDateTime& d) {
    return d.toString(QStringLiteral("M/d/yyyy h:mm:ss AP"));
}

long PeakRssMb() {
    struct rusage u {};
    getrusage(RUSAGE_SELF, &u);
    return u.ru_maxrss / 1024;
}

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

// The bare baseline: the same query, forward-only, the same seven cells per row straight into a
// constant-memory workbook.
double BareXlsx(Connection& c, const QString& sql, const QString& path) {
    QElapsedTimer t;
    t.start();
    lxw_workbook_options options{};
    options.constant_memory = LXW_TRUE;
    lxw_workbook* wb = workbook_new_opt(QFile::encodeName(path).constData(), &options);
    lxw_worksheet* ws = workbook_add_worksheet(wb, nullptr);
    lxw_format* dateFormat = workbook_add_format(wb);
    format_set_num_format(dateFormat, "m/d/yyyy h:mm:ss");
    QSqlQuery q = c.NewQuery();
    q.setForwardOnly(true);
    q.exec(c.dialect().Translate(sql));
    const QSqlRecord r = q.record();
    const int cols[] = {r.indexOf(QStringLiteral("subject")),       r.indexOf(QStringLiteral("reportedby")),
                        r.indexOf(QStringLiteral("reporteddate")),  r.indexOf(QStringLiteral("projectvalue")),
                        r.indexOf(QStringLiteral("activityvalue")), r.indexOf(QStringLiteral("totalcost")),
                        r.indexOf(QStringLiteral("duration"))};
    const char* heads[] = {"Subject",  "Reported By", "Reported Date", "Project",
                           "Activity", "Total Cost",  "Duration"};
    for (int i = 0; i < 7; ++i)
        worksheet_write_string(ws, 0, lxw_col_t(i), heads[i], nullptr);
    lxw_row_t row = 1;
    while (q.next()) {
        for (int i = 0; i < 7; ++i) {
            const QVariant v = q.value(cols[i]);
            if (i == 2) {
                const QDateTime dt =
                    v.typeId() == QMetaType::QDateTime
                        ? v.toDateTime()
                        : QDateTime::fromString(v.toString(), QStringLiteral("yyyy-MM-dd HH:mm:ss"));
                lxw_datetime x{dt.date().year(), dt.date().month(),  dt.date().day(),
                               dt.time().hour(), dt.time().minute(), double(dt.time().second())};
                worksheet_write_datetime(ws, row, lxw_col_t(i), &x, dateFormat);
            } else if (i >= 5) {
                worksheet_write_number(ws, row, lxw_col_t(i), v.toDouble(), nullptr);
            } else {
                worksheet_write_string(ws, row, lxw_col_t(i), v.toString().toUtf8().constData(), nullptr);
            }
        }
        ++row;
    }
    workbook_close(wb);
    return double(t.nsecsElapsed()) / 1e9;
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

double TimedCli(const Db& db, const QString& sql, const QString& out) {
    QProcess cli;
    cli.setStandardOutputFile(out);
    QElapsedTimer t;
    t.start();
    cli.start(QStringLiteral("sqlite3"), {QStringLiteral("-html"), QStringLiteral("-header"), db.file, sql});
    if (!cli.waitForFinished(600000) || cli.exitCode() != 0) {
        std::fprintf(stderr, "sqlite3 failed: %s\n", cli.readAllStandardError().constData());
        return -1;
    }
    return double(t.nsecsElapsed()) / 1e9;
}

// Best of a few runs, so a cold cache or a busy moment does not decide the ratio.
template <class F>
double Best(int runs, F run) {
    double best = -1;
    for (int i = 0; i < runs; ++i) {
        const double s = run();
        if (s < 0)
            return -1;
        if (best < 0 || s < best)
            best = s;
    }
    return best;
}

int Html(qint64 n) {
    Db db;
    if (!OpenSqlite(db, n))
        return 1;
    const ReportDefinition def = Definition(false);
    qint64 rows = 0;
    const QString ours = db.temp.path() + QStringLiteral("/report.htm");
    const QString cliOut = db.temp.path() + QStringLiteral("/cli.html");
    // The same statement the report runs, as the engine receives it: every column of every row.
    const QString same = db.connection->dialect().Translate(def.sql);
    const QString seven = QStringLiteral(
        "SELECT Subject, ReportedBy, ReportedDate, ProjectValue, ActivityValue, TotalCost, Duration FROM "
        "tReportedAppointments WHERE ReportedDate between '2026-01-01 00:00:00' and '2026-12-31 23:59:00'");
    const double mine = Best(3, [&] { return TimedExport(db, def, ExportFormat::Html, ours, &rows); });
    const double bare = Best(3, [&] { return TimedCli(db, same, cliOut); });
    const qint64 cliKb = QFileInfo(cliOut).size() / 1024;
    const double bareSeven = Best(3, [&] { return TimedCli(db, seven, cliOut); });
    if (mine < 0 || bare < 0 || bareSeven < 0)
        return 1;
    std::printf(
        "reports html: %lld rows, HTML export %.2f s (%lld KB) vs sqlite3 -html on the same query %.2f s "
        "(%lld KB): %.2fx (goal <= 2x); sqlite3 -html on the seven shown columns only %.2f s (%.2fx)\n",
        rows, mine, QFileInfo(ours).size() / 1024, bare, cliKb, mine / bare, bareSeven, mine / bareSeven);
    return 0;
}

int Xlsx(qint64 n) {
    Db db;
    if (!OpenSqlite(db, n))
        return 1;
    const ReportDefinition def = Definition(false);
    qint64 rows = 0;
    // Taken in turns, best of three each, so neither side gets the warm cache alone.
    double bare = -1, mine = -1;
    for (int i = 0; i < 3; ++i) {
        const double b = BareXlsx(*db.connection, def.sql, db.temp.path() + QStringLiteral("/bare.xlsx"));
        const double m =
            TimedExport(db, def, ExportFormat::Excel, db.temp.path() + QStringLiteral("/report.xlsx"), &rows);
        if (m < 0)
            return 1;
        bare = bare < 0 ? b : std::min(bare, b);
        mine = mine < 0 ? m : std::min(mine, m);
    }
    std::printf("reports xlsx: %lld rows, export %.2f s vs bare libxlsxwriter %.2f s: %.2fx (goal <= 1.2x)\n",
                rows, mine, bare, mine / bare);
    return mine > 0 ? 0 : 1;
}

int Million(qint64 n, const QString& engine) {
    Db db;
    const bool pg = engine == u"pg";
    QElapsedTimer fill;
    fill.start();
    if (pg ? !OpenPostgres(db, n) : !OpenSqlite(db, n)) {
        std::printf("reports million (%s): skipped, no database\n", qPrintable(engine));
        return pg ? 0 : 1;
    }
    const double filled = double(fill.nsecsElapsed()) / 1e9;
    const long afterFill = PeakRssMb();
    const ReportDefinition def = Definition(pg);
    QElapsedTimer t;
    t.start();
    const ReportRun run =
        RunReport(db.connection, def, QStringLiteral("Reported TimeSheets"), 3000, DateText);
    const double report = double(t.nsecsElapsed()) / 1e9;
    if (!run.ok) {
        std::fprintf(stderr, "report failed: %s\n", qPrintable(run.failure.description));
        return 1;
    }
    qint64 rows = 0;
    const double xlsx =
        TimedExport(db, def, ExportFormat::Excel, db.temp.path() + QStringLiteral("/million.xlsx"), &rows);
    std::printf(
        "reports million (%s): %lld rows filled in %.1f s; report with totals %.1f s (page %lld KB); .xlsx "
        "export %.1f s (%lld rows, %lld MB); peak RSS %ld MB (after the fill %ld MB; goal <= 400 MB)\n",
        pg ? "PostgreSQL" : "SQLite", run.rowCount, filled, report, qint64(run.html.size() * 2 / 1024), xlsx,
        rows, QFileInfo(db.temp.path() + QStringLiteral("/million.xlsx")).size() >> 20, PeakRssMb(),
        afterFill);
    return xlsx > 0 ? 0 : 1;
}

}  // namespace
}  // namespace tlm

int main(int argc, char** argv) {
    // The cursor names the local zone file once (see database/cursor.cpp); the bare baselines get the
    // same, so neither pays for re-reading it at every date.
    if (!qEnvironmentVariableIsSet("TZ"))
        qputenv("TZ", ":/etc/localtime");
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
