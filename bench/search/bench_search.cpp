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

#include "core/money.h"
#include "database/connection.h"
#include "database/provisioning.h"
#include "database/recordset.h"
#include "search/search_form.h"

namespace tlm {
namespace {

constexpr int kItems = 100000;
constexpr int kRuns = 5;
// About one item in twelve holds it, in the subject or the member name.
const QString kKeyword = QStringLiteral("harbour");

const char* const kWords[] = {"release", "review", "harbour", "budget",    "kick-off", "audit",
                              "invoice", "design", "support", "migration", "training", "planning"};
const char* const kMembers[] = {"Robin Hale", "Kim Park",      "Lee Chan",  "Zoë Ångström", "Sam Reyes",
                                "Ana Silva",  "Harbour Mills", "Jo Tanaka", "Max Weber",    "Ida Berg"};

bool Fill(Connection& c) {
    Failure f;
    const QString cols = QStringLiteral(
        " (Subject, Body, ReportedBy, ReportedDate, %1, ProjectValue, ActivityValue, TotalCost, Field1Value, "
        "Field2Value, Categories) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    const QString task = QStringLiteral("INSERT INTO tReportedTasks") + cols.arg(QStringLiteral("DueDate"));
    const QString appt =
        QStringLiteral("INSERT INTO tReportedAppointments") + cols.arg(QStringLiteral("EndDate"));
    if (c.Execute(QStringLiteral("BEGIN"), {}, false, &f) < 0)
        return false;
    for (int i = 0; i < kItems; ++i) {
        const QDateTime day = QDateTime(QDate(2025, 12, 1), QTime(8, 0)).addSecs(qint64(i) * 311);
        const QString word = QString::fromUtf8(kWords[i % 12]);
        const QVariantList values = {
            QStringLiteral("Item %1: %2 of the spring plan").arg(i).arg(word),
            QStringLiteral("Notes %1: went through the %2 items, fixed two findings and sent it back.")
                .arg(i)
                .arg(word),
            QString::fromUtf8(kMembers[(i / 7) % 10]),
            day,
            day.addDays(3),
            QStringLiteral("Project %1").arg(i % 25),
            QStringLiteral("Activity %1").arg(i % 60),
            QVariant::fromValue(Money::fromUnits(qint64(i) * 12345 % 100000000)),
            QStringLiteral("Region %1").arg(i % 6),
            QStringLiteral("Team %1").arg(i % 4),
            QStringLiteral("Category %1").arg(i % 9)};
        if (c.Execute(i % 2 ? appt : task, values, false, &f) < 0) {
            std::fprintf(stderr, "fill failed: %s\n", qPrintable(f.description));
            return false;
        }
    }
    return c.Execute(QStringLiteral("COMMIT"), {}, false, &f) >= 0;
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
    const QString sql = *ComposeSearchSQL(criteria, t.dbChoice);
    const QString statements = dir + QStringLiteral("/search-") + t.label + QStringLiteral(".sql");
    QFile file(statements);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return;
    for (bool appointments : {false, true})
        file.write(
            (t.connection->dialect().Translate(SearchSQLForTable(sql, appointments)) + QStringLiteral(";\n"))
                .toUtf8());
    file.close();

    int found = 0;
    const double program = TimeProgram(t, criteria, &found);
    const double client = TimeClient(t, statements);
    if (program < 0 || client < 0) {
        std::printf("%s: search failed\n", qPrintable(t.label));
        return;
    }
    std::printf(
        "%s: keyword search over %d items, %d found: program %.1f ms (query and list), %s %.1f ms, "
        "ratio %.2fx (goal <= 1.5x)\n",
        qPrintable(t.label), kItems, found, program, qPrintable(t.program), client, program / client);
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
