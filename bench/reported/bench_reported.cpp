// Writing 100k generated reported items through the database layer, on each engine.
#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QMap>
#include <QTemporaryDir>
#include <QUuid>
#include <cstdio>

#include "database/connection.h"
#include "database/provisioning.h"
#include "reported/sample_data.h"

namespace tlm {
namespace {

constexpr qint64 kItems = 100000;

struct Target {
    QString label;
    std::shared_ptr<Connection> connection;
};
std::vector<Target> g_targets;

bool Exec(Connection& c, const QString& sql) {
    Failure f;
    if (c.Execute(sql, {}, false, &f) >= 0)
        return true;
    std::fprintf(stderr, "%s: %s\n", qPrintable(sql), qPrintable(f.description));
    return false;
}

// The lists once, as the review and report benchmarks have them; the items are what is measured.
bool WriteLists(Connection& c) {
    SampleSpec plan;
    plan.reportedItems = 0;
    Failure f;
    if (FillSampleData(c, plan, nullptr, &f))
        return true;
    std::fprintf(stderr, "lists: %s\n", qPrintable(f.description));
    return false;
}

void BM_FillReportedItems(benchmark::State& state, const Target* t) {
    SampleSpec plan;
    plan.reportedItems = kItems;
    for (auto _ : state) {
        state.PauseTiming();
        Exec(*t->connection, QStringLiteral("DELETE FROM tReportedTasks"));
        Exec(*t->connection, QStringLiteral("DELETE FROM tReportedAppointments"));
        state.ResumeTiming();
        SampleCounts counts;
        Failure f;
        if (!FillReportedItems(*t->connection, plan, &counts, &f))
            state.SkipWithError(qPrintable(f.description));
        else if (counts.tasks + counts.appointments != kItems)
            state.SkipWithError("wrong item count");
    }
    state.SetItemsProcessed(state.iterations() * kItems);
}

class TimeReporter : public benchmark::ConsoleReporter {
  public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& r : runs)
            if (!r.error_occurred)
                seconds[QString::fromStdString(r.benchmark_name())] =
                    r.real_accumulated_time / double(qMax<benchmark::IterationCount>(1, r.iterations));
        ConsoleReporter::ReportRuns(runs);
    }
    QMap<QString, double> seconds;
};

}  // namespace
}  // namespace tlm

int main(int argc, char** argv) {
    using namespace tlm;
    QCoreApplication app(argc, argv);
    QTemporaryDir temp;
    const QString file = temp.path() + QStringLiteral("/") + kDatabaseFileName;
    auto sqlite = std::make_shared<Connection>();
    if (!DB::fncCopyNewMDBToFile(file) || !sqlite->Open(SqliteConnectionString(file)) || !WriteLists(*sqlite))
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
        if (!ok || !WriteLists(*c)) {
            std::fprintf(stderr, "PostgreSQL setup failed: %s\n", qPrintable(f.description));
            return 1;
        }
        g_targets.push_back({QStringLiteral("PostgreSQL"), c});
    }

    for (const Target& t : g_targets)
        benchmark::RegisterBenchmark(("FillReportedItems100k/" + t.label.toStdString()).c_str(),
                                     BM_FillReportedItems, &t)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime()
            ->Iterations(2);
    benchmark::Initialize(&argc, argv);
    TimeReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    for (const Target& t : g_targets) {
        double s = 0;
        for (auto it = reporter.seconds.cbegin(); it != reporter.seconds.cend(); ++it)
            if (it.key().startsWith(QStringLiteral("FillReportedItems100k/") + t.label + u'/'))
                s = it.value();
        if (s > 0)
            std::printf("%s: 100k reported items in %.2f s, %.0f items/s%s\n", qPrintable(t.label), s,
                        double(kItems) / s, t.label == QStringLiteral("SQLite") ? " (goal <= 10 s)" : "");
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
