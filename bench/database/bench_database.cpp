// Reading and writing 100k reported tasks through the database layer, against Qt's bare query loop.
#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QDir>
#include <QMap>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTemporaryDir>
#include <QUuid>
#include <cstdio>

#include "core/money.h"
#include "database/connection.h"
#include "database/provisioning.h"
#include "database/recordset.h"

namespace tlm {
namespace {

constexpr int kRows = 100000;
const QString kSelect = QStringLiteral("SELECT * FROM tReportedTasks");

struct Target {
    QString label;
    std::shared_ptr<Connection> connection;
};
std::vector<Target> g_targets;

QVariantList RowValues(int i) {
    const QDateTime day = QDateTime(QDate(2026, 1, 1), QTime(8, 0)).addSecs(qint64(i) * 97);
    return {QStringLiteral("Task %1 of the spring release").arg(i),
            QStringLiteral("Notes for task %1: reviewed the draft, fixed two findings, sent it back.").arg(i),
            QStringLiteral("member%1").arg(i % 40),
            day,
            day.addDays(3),
            QStringLiteral("Project %1").arg(i % 25),
            QStringLiteral("Activity %1").arg(i % 60),
            QVariant::fromValue(Money::fromUnits(qint64(i) * 12345 % 100000000)),
            i % 2,
            i % 480,
            QStringLiteral("Field %1").arg(i % 7)};
}

const QString kInsert = QStringLiteral(
    "INSERT INTO tReportedTasks (Subject, Body, ReportedBy, ReportedDate, DueDate, ProjectValue, "
    "ActivityValue, "
    "TotalCost, Approved, ActualWork, Field1Value) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");

bool Fill(Connection& c, int rows) {
    Failure f;
    c.Execute(QStringLiteral("BEGIN"), {}, false, &f);
    for (int i = 0; i < rows; ++i)
        if (c.Execute(kInsert, RowValues(i), false, &f) < 0) {
            std::fprintf(stderr, "fill failed: %s\n", qPrintable(f.description));
            return false;
        }
    return c.Execute(QStringLiteral("COMMIT"), {}, false, &f) >= 0;
}

void BM_ReadRecordset(benchmark::State& state, const Target* t) {
    for (auto _ : state) {
        Recordset rs(t->connection, LockMode::ReadOnly);
        if (!rs.Open(kSelect))
            state.SkipWithError("open failed");
        benchmark::DoNotOptimize(rs.RecordCount());
    }
    state.SetItemsProcessed(state.iterations() * kRows);
}

// The same rows with every field read through Fields(), converted (money, dates, flags).
void BM_ReadRecordsetAllFields(benchmark::State& state, const Target* t) {
    for (auto _ : state) {
        Recordset rs(t->connection, LockMode::ReadOnly);
        if (!rs.Open(kSelect))
            state.SkipWithError("open failed");
        for (; !rs.Eof(); rs.MoveNext())
            for (int i = 0; i < rs.FieldCount(); ++i)
                benchmark::DoNotOptimize(rs.Fields(i).Value());
    }
    state.SetItemsProcessed(state.iterations() * kRows);
}

void BM_ReadBareQuery(benchmark::State& state, const Target* t) {
    for (auto _ : state) {
        QSqlQuery q = t->connection->NewQuery();
        q.setForwardOnly(t->connection->engine() != Engine::PostgreSQL);
        if (!q.exec(kSelect))
            state.SkipWithError("exec failed");
        const int n = q.record().count();
        std::vector<QVariant> rows;
        rows.reserve(size_t(kRows) * size_t(n));
        while (q.next())
            for (int i = 0; i < n; ++i)
                rows.push_back(q.value(i));
        benchmark::DoNotOptimize(rows.size());
    }
    state.SetItemsProcessed(state.iterations() * kRows);
}

void BM_InsertCommand(benchmark::State& state, const Target* t) {
    for (auto _ : state) {
        state.PauseTiming();
        Failure f;
        t->connection->Execute(QStringLiteral("DELETE FROM tCustomList2"), {}, false, &f);
        state.ResumeTiming();
        Command cmd(t->connection);
        cmd.CommandText = QStringLiteral("INSERT INTO tCustomList2 (CustomFieldName) VALUES (?)");
        for (int i = 0; i < kRows; ++i)
            if (cmd.Execute({QStringLiteral("entry %1").arg(i)}) != 1)
                state.SkipWithError("insert failed");
    }
    state.SetItemsProcessed(state.iterations() * kRows);
}

class RatioReporter : public benchmark::ConsoleReporter {
  public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& r : runs)
            times[QString::fromStdString(r.benchmark_name())] = r.GetAdjustedRealTime();
        ConsoleReporter::ReportRuns(runs);
    }
    QMap<QString, double> times;
};

}  // namespace
}  // namespace tlm

int main(int argc, char** argv) {
    using namespace tlm;
    QCoreApplication app(argc, argv);
    QTemporaryDir temp;
    const QString file = temp.path() + QStringLiteral("/") + kDatabaseFileName;
    if (!DB::fncCopyNewMDBToFile(file))
        return 1;
    auto sqlite = std::make_shared<Connection>();
    if (!sqlite->Open(SqliteConnectionString(file)) || !Fill(*sqlite, kRows))
        return 1;
    g_targets.push_back({QStringLiteral("SQLite"), sqlite});

    const QString pg = qEnvironmentVariable("TLM_TEST_PG");
    const QString pgName = QStringLiteral("tlm_bench_") + QUuid::createUuid().toString(QUuid::Id128).left(8);
    const QString pgServer = fncGetServerConnectionString(pg);
    if (!pg.isEmpty()) {
        auto c = std::make_shared<Connection>();
        Failure f;
        bool ok = c->Open(pgServer, &f);
        QString script = GetSQLScript(1, pg).replace(kDefaultDatabaseName, pgName);
        for (const QString& piece : SplitSqlScript(script))
            if (ok && !piece.trimmed().isEmpty())
                ok = c->Execute(piece, {}, false, &f) >= 0;
        if (!ok || !Fill(*c, kRows)) {
            std::fprintf(stderr, "PostgreSQL setup failed: %s\n", qPrintable(f.description));
            return 1;
        }
        g_targets.push_back({QStringLiteral("PostgreSQL"), c});
    }

    for (const Target& t : g_targets) {
        const std::string l = t.label.toStdString();
        benchmark::RegisterBenchmark(("ReadBareQuery/" + l).c_str(), BM_ReadBareQuery, &t)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("ReadRecordset/" + l).c_str(), BM_ReadRecordset, &t)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("ReadRecordsetAllFields/" + l).c_str(), BM_ReadRecordsetAllFields, &t)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("InsertCommand/" + l).c_str(), BM_InsertCommand, &t)
            ->Unit(benchmark::kMillisecond)
            ->Iterations(1);
    }
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    for (const Target& t : g_targets) {
        const double bare = reporter.times.value(QStringLiteral("ReadBareQuery/") + t.label);
        const double rs = reporter.times.value(QStringLiteral("ReadRecordset/") + t.label);
        const double all = reporter.times.value(QStringLiteral("ReadRecordsetAllFields/") + t.label);
        if (bare > 0)
            std::printf(
                "%s: Recordset/bare query = %.2fx (goal <= 1.3x); reading every field back through Fields() "
                "as well = %.2fx\n",
                qPrintable(t.label), rs / bare, all / bare);
    }
    g_targets.clear();
    if (!pg.isEmpty()) {
        Connection admin;
        Failure f;
        if (admin.Open(pgServer, &f))
            admin.Execute(QStringLiteral("DROP DATABASE IF EXISTS \"%1\" WITH (FORCE)").arg(pgName), {},
                          false, &f);
    }
    return 0;
}
