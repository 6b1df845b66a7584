#!/usr/bin/env bash
# Generated reported items: 100k tasks and appointments written by FillReportedItems (goal: at most
# 10 s on SQLite), printed as items per second. SQLite always; PostgreSQL when TLM_TEST_PG is set
# (scripts/test-servers.sh run -- ...). Usage: run.sh <bench build folder>
set -euo pipefail
build=${1:?bench build folder}
shift
exec "$build/bench/reported/bench_reported" --benchmark_counters_tabular=true "$@"
