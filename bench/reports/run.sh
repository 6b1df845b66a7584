#!/usr/bin/env bash
# Reports at scale, each run its own process: 100k appointments as the report's HTML against
# `sqlite3 -html -header` on the same seven shown columns (goal <= 2x), and as .xlsx against the bare
# writer of the same cells (printed only; the command line's .xlsx figure is bench/cli); then 1M rows:
# the report with totals and the .xlsx export, each peak RSS from the end of the fill (goal <= 100 MB),
# on SQLite and, when TLM_TEST_PG is set (scripts/test-servers.sh run -- ...), PostgreSQL.
# Usage: run.sh <bench build folder>
set -euo pipefail
build=${1:?bench build folder}
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=bench/support/record.sh
source "$here/../support/record.sh"
bin="$build/bench/reports/bench_reports"
status=0
"$bin" html 100000 || { record report-page "run failed" failed; status=1; }
"$bin" xlsx 100000 || status=1
"$bin" million 1000000 sqlite || { record million-rss "SQLite run failed" failed; status=1; }
"$bin" million 1000000 pg || { record million-rss "PostgreSQL run failed" failed; status=1; }
exit $status
