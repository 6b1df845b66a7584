#!/usr/bin/env bash
# Reports at scale: 100k appointments as an HTML export against `sqlite3 -html` writing the same rows
# (goal <= 2x) and as .xlsx against a bare libxlsxwriter loop over the same query (goal <= 1.2x); then
# 1M rows: the report with totals and the .xlsx export, peak RSS printed (goal <= 400 MB), on SQLite
# and, when TLM_TEST_PG is set (scripts/test-servers.sh run -- ...), PostgreSQL. Each run is its own
# process, so each peak RSS is its own. Usage: run.sh <bench build folder>
set -euo pipefail
build=${1:?bench build folder}
bin="$build/bench/reports/bench_reports"
"$bin" html 100000
"$bin" xlsx 100000
"$bin" million 1000000 sqlite
"$bin" million 1000000 pg
