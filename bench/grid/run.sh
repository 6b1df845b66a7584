#!/usr/bin/env bash
# Loading, sorting and reading back 10k and 100k rows of eight mixed columns in the shared grid.
set -euo pipefail
build=${1:?bench build folder}
QT_QPA_PLATFORM=offscreen "$build/bench/grid/bench_grid" --benchmark_min_time=0.1
