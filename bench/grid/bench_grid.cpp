#include <benchmark/benchmark.h>

#include <QApplication>
#include <QDate>

#include "core/money.h"
#include "desktop/grid_view.h"

namespace {

QVector<QVector<QVariant>> Rows(int count) {
    QVector<QVector<QVariant>> rows;
    rows.reserve(count);
    const QDate start(2020, 1, 1);
    for (int i = 0; i < count; ++i) {
        rows.append({QStringLiteral("Project %1").arg(i), QStringLiteral("Member %1").arg(i % 50),
                     QVariant::fromValue(tlm::Money::fromUnits((i * 7919LL) % 10000000)),
                     start.addDays(i % 3000), i % 2, qlonglong(i % 25), QStringLiteral("Notify"),
                     qlonglong(i)});
    }
    return rows;
}

void Setup(tlm::GridWidget& grid) {
    grid.setColumns({"Name", "Manager", "Rate", "Start", "Admin", "Colour", "Notify", "Count"});
    grid.setComboColumn(1, QStringLiteral("Member 1\tMember 2\t "));
    grid.setCurrencyColumn(2);
    grid.setDateColumn(3);
    grid.setCheckColumn(4);
    grid.setColourColumn(5);
    grid.setButtonColumn(6);
    grid.setIntegerColumn(7);
    grid.resize(1000, 600);
    grid.show();
}

void BM_LoadMatrix(benchmark::State& state) {
    const auto rows = Rows(int(state.range(0)));
    for (auto _ : state) {
        tlm::GridWidget grid;
        Setup(grid);
        grid.setMatrix(rows);
        QApplication::processEvents();  // the first paint is part of loading
        benchmark::DoNotOptimize(grid.rowCount());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_LoadMatrix)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

void BM_SortByMoney(benchmark::State& state) {
    tlm::GridWidget grid;
    Setup(grid);
    grid.setMatrix(Rows(int(state.range(0))));
    bool descending = false;
    for (auto _ : state) {
        grid.sortRows({{2, descending ? Qt::DescendingOrder : Qt::AscendingOrder}});
        descending = !descending;
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_SortByMoney)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

void BM_ReadMatrix(benchmark::State& state) {
    tlm::GridWidget grid;
    Setup(grid);
    grid.setMatrix(Rows(int(state.range(0))));
    for (auto _ : state)
        benchmark::DoNotOptimize(grid.matrix());
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ReadMatrix)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
