#!/usr/bin/env bash
# Database benchmarks: 100k rows of tReportedTasks read into a Recordset against a bare QSqlQuery
# loop (goal: at most 1.3 times), and 100k inserts through Command. SQLite always; PostgreSQL when
# TLM_TEST_PG is set (scripts/test-servers.sh run -- ...). Usage: run.sh <bench build folder>
set -euo pipefail
build=${1:?bench build folder}
shift
exec "$build/bench/database/bench_database" --benchmark_counters_tabular=true "$@"
