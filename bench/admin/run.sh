#!/usr/bin/env bash
# Opens the members list in the administration window offscreen and saves it with 1 % changed, at
# 3,000 and 30,000 rows (the window refuses a save above 32,767 rows); the figure is load+save at
# the larger size over load+save at the smaller (goal <= 12.5). The same save by the engine alone
# is printed beside it. Usage: bench/admin/run.sh <bench-build-dir> [small large]
set -euo pipefail
build="${1:?usage: run.sh <bench-build-dir> [small large]}"
shift
QT_QPA_PLATFORM=offscreen exec "$build/bench/admin/bench_admin" "$@"
