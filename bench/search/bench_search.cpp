// Keyword search over 100k reported items (tasks and appointments, about half each): the program's
// search (query composed, rows read into records, result list filled) against the database's own
// command-line client running the same statements on the same data, printed as a ratio.
#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QUuid>
#include <algorithm>
#include <cstdio>
#include <vector>

#include "database/connection.h"
#include "database/provisioning.h"
#include "database/recordset.h"
#include "reported/sample_data.h"
#include "search/search_form.h"

namespace tlm {
namespace {

constexpr int kItems = 100000;
constexpr int kRuns = 5;
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

double Median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

struct Target {
    QString label;
    std::shared_ptr<Connection> connection;
    qint32 dbChoice;
    QString program;          // the command-line client
    QStringList arguments;    // its arguments before the statements file
    QProcessEnvironment env;  // its environment
};

// The program's search, as the Search button runs it: query, records, list.
double TimeProgram(const Target& t, const SearchCriteria& criteria, int* found) {
    SearchListModel list;
    std::vector<double> ms;
    for (int r = 0; r < kRuns; ++r) {
        QElapsedTimer timer;
        timer.start();
        SearchResults results;
        if (!RunSearch(t.connection, criteria, t.dbChoice, results))
            return -1;
        list.Fill(results);
        ms.push_back(double(timer.nsecsElapsed()) / 1e6);
        *found = list.rowCount();
    }
    return Median(ms);
}

// The client on the same statements, each already in the engine's own form, output thrown away.
double TimeClient(const Target& t, const QString& statementsFile) {
    std::vector<double> ms;
    for (int r = 0; r < kRuns; ++r) {
        QProcess p;
        p.setProcessEnvironment(t.env);
        p.setStandardOutputFile(QProcess::nullDevice());
        p.setStandardInputFile(statementsFile);
        QElapsedTimer timer;
        timer.start();
        p.start(t.program, t.arguments);
        if (!p.waitForFinished(300000) || p.exitCode() != 0) {
            std::fprintf(stderr, "%s failed: %s\n", qPrintable(t.program),
                         p.readAllStandardError().constData());
            return -1;
        }
        ms.push_back(double(timer.nsecsElapsed()) / 1e6);
    }
    return Median(ms);
}

void Compare(const Target& t, const QString& dir) {
    SearchCriteria criteria;
    criteria.searchBy = QStringLiteral("Keyword");
    criteria.keyword = kKeyword;
    criteria.itemsTypeIndex = 2;  // both
    const SqlText sql = *ComposeSearchSQL(criteria, t.dbChoice);
    const QString statements = dir + QStringLiteral("/search-") + t.label + QStringLiteral(".sql");
    QFile file(statements);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return;
    for (bool appointments : {false, true})
        file.write((t.connection->dialect().Translate(SearchSQLForTable(sql, appointments).sql()) +
                    QStringLiteral(";\n"))
                       .toUtf8());
    file.close();

    int found = 0;
    const double program = TimeProgram(t, criteria, &found);
    // Where the program's time goes: the statements through the recordset alone, then the list alone.
    std::vector<double> read, fill;
    for (int r = 0; r < kRuns; ++r) {
        QElapsedTimer timer;
        timer.start();
        for (bool appointments : {false, true}) {
            Recordset rs(t.connection, LockMode::ReadOnly);
            rs.Open(SearchSQLForTable(sql, appointments));
        }
        read.push_back(double(timer.nsecsElapsed()) / 1e6);
        SearchResults results;
        RunSearch(t.connection, criteria, t.dbChoice, results);
        SearchListModel list;
        timer.restart();
        list.Fill(results);
        fill.push_back(double(timer.nsecsElapsed()) / 1e6);
    }
    const double client = TimeClient(t, statements);
    if (program < 0 || client < 0) {
        std::printf("%s: search failed\n", qPrintable(t.label));
        return;
    }
    std::printf(
        "%s: keyword search over %d items, %d found: program %.1f ms (query and list), %s %.1f ms, "
        "ratio %.2fx (goal <= 1.5x)\n",
        qPrintable(t.label), kItems, found, program, qPrintable(t.program), client, program / client);
    std::printf("%s: of the program's time, the statements through the recordset %.1f ms, the list %.1f ms\n",
                qPrintable(t.label), Median(read), Median(fill));
}

}  // namespace
}  // namespace tlm

int main(int argc, char** argv) {
    using namespace tlm;
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
        targets.push_back({QStringLiteral("PostgreSQL"), c, 1, QStringLiteral("psql"), args, env});
    }

    for (const Target& t : targets)
        Compare(t, temp.path());
    targets.clear();
    if (!pg.isEmpty()) {
        Connection admin;
        Failure f;
        if (admin.Open(pgServer, &f))
            admin.Execute(QStringLiteral("DROP DATABASE IF EXISTS \"%1\" WITH (FORCE)").arg(pgName), {},
                          false, &f);
    }
    return 0;
}
