#!/usr/bin/env bash
# The review window's query and fill of 100k generated unapproved rows, offscreen, against the bare
# query of the same rows through the database layer (goal: at most 2 times), and the peak memory
# (goal: at most 150 MB); each engine its own process. SQLite always; PostgreSQL when TLM_TEST_PG is
# set. Usage: bench/review/run.sh <bench-build-dir> [rows]
set -euo pipefail
build="${1:?usage: run.sh <bench-build-dir> [rows]}"
rows=${2:-100000}
export QT_QPA_PLATFORM=offscreen
status=0
for engine in sqlite pg; do
  "$build/bench/review/bench_review" "$engine" "$rows" || status=1
done
exit $status
