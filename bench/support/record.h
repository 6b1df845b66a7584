#pragma once
// The line a benchmark leaves for the closing table of bench/run-all.sh: the figure's key, what was
// measured and the verdict (met, missed or failed), tab-separated, appended to $TLM_BENCH_RESULTS.
// Without that variable (a benchmark run by hand) nothing is written.
#include <QByteArray>
#include <QString>
#include <algorithm>
#include <cstdio>
#include <vector>

namespace tlm::bench {

inline void Record(const char* key, const QString& measured, const char* verdict) {
    const QByteArray path = qgetenv("TLM_BENCH_RESULTS");
    if (path.isEmpty())
        return;
    if (FILE* f = std::fopen(path.constData(), "a")) {
        std::fprintf(f, "%s\t%s\t%s\n", key, measured.toUtf8().constData(), verdict);
        std::fclose(f);
    }
}

inline const char* Verdict(bool ok, bool met) {
    return !ok ? "failed" : met ? "met" : "missed";
}

inline double Median(std::vector<double> v) {
    if (v.empty())
        return -1;
    std::sort(v.begin(), v.end());
    const size_t n = v.size();
    return n % 2 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2;
}

}  // namespace tlm::bench
