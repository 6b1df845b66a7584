// Keyword search over 100k reported items (tasks and appointments, about half each): the program's
// search (query composed, rows read into records, result list filled) against the database's own
// command-line client running the same statements on the same data. The headline is process to
// process (bench_search_run, a process of its own, against sqlite3 or psql); warm to warm (the search
// on an open connection against the bare statements on it) is printed beside it.
#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTemporaryDir>
#include <QUuid>
#include <algorithm>
#include <cstdio>
#include <vector>

#include "core/codecs.h"
#include "database/connection.h"
#include "database/provisioning.h"
#include "database/recordset.h"
#include "reported/sample_data.h"
#include "search/search_form.h"
#include "support/record.h"

namespace tlm {
namespace {

constexpr int kItems = 100000;
// A word of the generated subjects and bodies; see the count found that the run prints.
const QString kKeyword = QStringLiteral("risk register");

// The generated items and their lists, as the program would find them.
bool Fill(Connection& c) {
    SampleSpec plan;
    plan.reportedItems = kItems;
    SampleCounts counts;
    Failure f;
    if (!FillSampleData(c, plan, &counts, &f)) {
        std::fprintf(stderr, "fill failed: %s\n", qPrintable(f.description));
        return false;
    }
    return true;
}

constexpr int kRuns = 5;

struct Target {
    QString label;
    std::shared_ptr<Connection> connection;
    qint32 dbChoice;
    QString connectionString;  // for the program's search as its own process
    QString program;           // the command-line client
    QStringList arguments;     // its arguments before the statements file
    QProcessEnvironment env;   // its environment
};

// One process run to its end; seconds, or -1 when it failed. Its standard output goes to out.
double TimeProcess(const QString& program, const QStringList& arguments, const QProcessEnvironment& env,
                   const QString& input, const QString& out) {
    QProcess p;
    p.setProcessEnvironment(env);
    p.setStandardOutputFile(out);
    if (!input.isEmpty())
        p.setStandardInputFile(input);
    QElapsedTimer timer;
    timer.start();
    p.start(program, arguments);
    if (!p.waitForFinished(300000) || p.exitStatus() != QProcess::NormalExit || p.exitCode() != 0) {
        std::fprintf(stderr, "%s failed: %s\n", qPrintable(program), p.readAllStandardError().constData());
        return -1;
    }
    return double(timer.nsecsElapsed()) / 1e9;
}

qint64 LinesOf(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll().count('\n') : -1;
}

// What the figure line holds for one engine, and whether it met the goal.
struct Outcome {
    QString measured;
    bool ok = false;
    bool met = false;
};

Outcome Compare(const Target& t, const QString& dir, const QString& driver) {
    Outcome o;
    SearchCriteria criteria;
    criteria.searchBy = QStringLiteral("Keyword");
    criteria.keyword = kKeyword;
    criteria.itemsTypeIndex = 2;  // both
    const SqlText sql = *ComposeSearchSQL(criteria, t.dbChoice);
    const QString statements = dir + QStringLiteral("/search-") + t.label + QStringLiteral(".sql");
    QStringList translated;
    {
        QFile file(statements);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return o;
        for (bool appointments : {false, true}) {
            translated << t.connection->dialect().Translate(SearchSQLForTable(sql, appointments).sql());
            file.write((translated.back() + QStringLiteral(";\n")).toUtf8());
        }
    }
    const QString driverOut = dir + QStringLiteral("/driver.out");
    const QString clientOut = dir + QStringLiteral("/client.out");
    const QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    const QStringList driverArgs = {QString::number(t.dbChoice), t.connectionString, kKeyword};

    // Taken in turns, one warm-up each first: the program's search and the client, each its own process;
    // then the program's search on an open connection and the bare statements on the same connection.
    std::vector<double> procProgram, procClient, warmProgram, warmBare;
    int found = -1, bareRows = -1;
    TimeProcess(driver, driverArgs, env, QString(), driverOut);
    TimeProcess(t.program, t.arguments, t.env, statements, clientOut);
    for (int r = 0; r < kRuns; ++r) {
        procProgram.push_back(TimeProcess(driver, driverArgs, env, QString(), driverOut));
        procClient.push_back(TimeProcess(t.program, t.arguments, t.env, statements, clientOut));

        QElapsedTimer timer;
        timer.start();
        SearchResults results;
        const bool ran = RunSearch(t.connection, criteria, t.dbChoice, results);
        SearchListModel list;
        list.Fill(results);
        warmProgram.push_back(ran ? double(timer.nsecsElapsed()) / 1e9 : -1);
        found = list.rowCount();

        // The bare read: each statement forward-only, every value of every row fetched.
        timer.restart();
        bareRows = 0;
        for (const QString& statement : translated) {
            QSqlQuery q = t.connection->NewQuery();
            q.setForwardOnly(true);
            if (!q.exec(statement)) {
                bareRows = -1;
                break;
            }
            const int columns = q.record().count();
            while (q.next()) {
                for (int c = 0; c < columns; ++c)
                    (void)q.value(c);
                ++bareRows;
            }
        }
        warmBare.push_back(double(timer.nsecsElapsed()) / 1e9);
    }
    QFile out(driverOut);
    const int driverFound = out.open(QIODevice::ReadOnly) ? out.readAll().trimmed().toInt() : -1;
    const qint64 clientLines = LinesOf(clientOut);
    const auto failed = [](const std::vector<double>& v) {
        return *std::min_element(v.begin(), v.end()) < 0;
    };
    if (failed(procProgram) || failed(procClient) || failed(warmProgram) || bareRows < 0 || found <= 0 ||
        driverFound != found || bareRows != found) {
        std::printf("%s: keyword search FAILED (list rows %d, as a process %d, bare rows %d)\n",
                    qPrintable(t.label), found, driverFound, bareRows);
        o.measured = t.label + QStringLiteral(" run failed");
        return o;
    }
    const double pp = bench::Median(procProgram), pc = bench::Median(procClient);
    const double wp = bench::Median(warmProgram), wb = bench::Median(warmBare);
    const double ratio = pp / pc;
    std::printf(
        "%s: keyword search over %d items, %d found (%s printed %lld lines), median of %d:\n"
        "%s:   process to process: program's search %.1f ms vs %s %.1f ms: %.2fx (goal <= 1.5x)\n"
        "%s:   warm to warm: search and list on an open connection %.1f ms vs the bare statements on it "
        "%.1f ms: %.2fx\n",
        qPrintable(t.label), kItems, found, qPrintable(t.program), clientLines, kRuns, qPrintable(t.label),
        pp * 1e3, qPrintable(t.program), pc * 1e3, ratio, qPrintable(t.label), wp * 1e3, wb * 1e3, wp / wb);
    o.ok = true;
    o.met = ratio <= 1.5;
    o.measured = QStringLiteral("%1 %2x (%3 vs %4 ms; warm %5x)")
                     .arg(t.program)
                     .arg(ratio, 0, 'f', 2)
                     .arg(pp * 1e3, 0, 'f', 0)
                     .arg(pc * 1e3, 0, 'f', 0)
                     .arg(wp / wb, 0, 'f', 2);
    return o;
}

}  // namespace
}  // namespace tlm

int main(int argc, char** argv) {
    using namespace tlm;
    PinLocalTimeZone();  // as main does; without it every local date re-reads the zone file
    QApplication app(argc, argv);
    QTemporaryDir temp;
    const QString file = temp.path() + QStringLiteral("/") + kDatabaseFileName;
    if (!DB::fncCopyNewMDBToFile(file))
        return 1;
    auto sqlite = std::make_shared<Connection>();
    if (!sqlite->Open(SqliteConnectionString(file)) || !Fill(*sqlite))
        return 1;
    std::vector<Target> targets;
    targets.push_back({QStringLiteral("SQLite"),
                       sqlite,
                       0,
                       SqliteConnectionString(file),
                       QStringLiteral("sqlite3"),
                       {file},
                       QProcessEnvironment::systemEnvironment()});

    const QString pg = qEnvironmentVariable("TLM_TEST_PG");
    const QString pgName = QStringLiteral("tlm_bench_") + QUuid::createUuid().toString(QUuid::Id128).left(8);
    const QString pgServer = fncGetServerConnectionString(pg);
    if (!pg.isEmpty()) {
        auto c = std::make_shared<Connection>();
        Failure f;
        bool ok = c->Open(pgServer, &f);
        const QString script = GetSQLScript(1, pg).replace(kDefaultDatabaseName, pgName);
        for (const QString& piece : SplitSqlScript(script))
            if (ok && !piece.trimmed().isEmpty())
                ok = c->Execute(piece, {}, false, &f) >= 0;
        if (!ok || !Fill(*c)) {
            std::fprintf(stderr, "PostgreSQL setup failed: %s\n", qPrintable(f.description));
            return 1;
        }
        Failure analyze;
        c->Execute(QStringLiteral("ANALYZE"), {}, false, &analyze);
        const ConnectionTarget target = ParseConnectionString(pg);
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("PGPASSWORD"), target.password);
        QStringList args = {QStringLiteral("-X"), QStringLiteral("-q"),
                            QStringLiteral("-A"), QStringLiteral("-t"),
                            QStringLiteral("-v"), QStringLiteral("ON_ERROR_STOP=1"),
                            QStringLiteral("-h"), target.host,
                            QStringLiteral("-d"), pgName};
        if (target.port)
            args << QStringLiteral("-p") << QString::number(target.port);
        if (!target.user.isEmpty())
            args << QStringLiteral("-U") << target.user;
        targets.push_back({QStringLiteral("PostgreSQL"), c, 1,
                           pgServer + QStringLiteral(";Initial Catalog=") + pgName, QStringLiteral("psql"),
                           args, env});
    }

    const QString driver = QCoreApplication::applicationDirPath() + QStringLiteral("/bench_search_run");
    QStringList measured;
    bool ok = true, met = true;
    for (const Target& t : targets) {
        const Outcome o = Compare(t, temp.path(), driver);
        measured << o.measured;
        ok = ok && o.ok;
        met = met && o.met;
    }
    if (pg.isEmpty())
        measured << QStringLiteral("psql not run (no TLM_TEST_PG)");
    bench::Record("search", measured.join(QStringLiteral("; ")), bench::Verdict(ok, met));
    targets.clear();
    if (!pg.isEmpty()) {
        Connection admin;
        Failure f;
        if (admin.Open(pgServer, &f))
            admin.Execute(QStringLiteral("DROP DATABASE IF EXISTS \"%1\" WITH (FORCE)").arg(pgName), {},
                          false, &f);
    }
    return ok ? 0 : 1;
}
