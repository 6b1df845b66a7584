#include <benchmark/benchmark.h>

#include <QStringList>

#include "core/codecs.h"
#include "core/dictionary.h"
#include "core/money.h"

namespace {

QStringList SampleValues() {
    QStringList v;
    for (int i = 0; i < 1000; ++i)
        v << QStringLiteral("Project %1: phase;%2,rate:%3").arg(i).arg(i % 7).arg(i * 3);
    return v;
}

void BM_EncodeDecode(benchmark::State& state) {
    const QStringList values = SampleValues();
    qint64 bytes = 0;
    for (auto _ : state) {
        for (const QString& v : values) {
            const QString e = tlm::EncodeValue(v);
            benchmark::DoNotOptimize(tlm::DecodeValue(e));
            bytes += v.size() * 2;
        }
    }
    state.SetBytesProcessed(bytes);
    state.SetItemsProcessed(state.iterations() * values.size());
}
BENCHMARK(BM_EncodeDecode);

void BM_DateText(benchmark::State& state) {
    QStringList texts;
    for (int i = 0; i < 1000; ++i)
        texts << QStringLiteral("2026-%1-%2").arg(1 + i % 14).arg(1 + i % 31);
    for (auto _ : state)
        for (const QString& t : texts)
            benchmark::DoNotOptimize(tlm::ToTallyloomDateFormat(tlm::FromTallyloomDateFormat(t)));
    state.SetItemsProcessed(state.iterations() * texts.size());
}
BENCHMARK(BM_DateText);

void BM_MoneyParseFormat(benchmark::State& state) {
    QStringList texts;
    for (int i = 0; i < 1000; ++i)
        texts << QStringLiteral("%1.%2").arg(i * 37).arg(i % 10000, 4, 10, QChar('0'));
    for (auto _ : state)
        for (const QString& t : texts)
            benchmark::DoNotOptimize(tlm::Money::parse(t)->toString(2));
    state.SetItemsProcessed(state.iterations() * texts.size());
}
BENCHMARK(BM_MoneyParseFormat);

void BM_DictionaryAddLookup(benchmark::State& state) {
    const int n = int(state.range(0));
    QStringList keys;
    for (int i = 0; i < n; ++i)
        keys << QStringLiteral("Member.Name.%1").arg(i);
    for (auto _ : state) {
        tlm::Dictionary<int> d;
        for (int i = 0; i < n; ++i)
            d.Add(keys[i], i);
        for (const QString& k : keys)
            benchmark::DoNotOptimize(d.Find(k));
    }
    state.SetItemsProcessed(state.iterations() * n);
    state.SetComplexityN(n);
}
BENCHMARK(BM_DictionaryAddLookup)->Range(1000, 100000)->Complexity();

}  // namespace

BENCHMARK_MAIN();
