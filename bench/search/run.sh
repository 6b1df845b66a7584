#!/usr/bin/env bash
# Keyword search over 100k reported items: the program's search (query and result list) against the
# sqlite3 command line on the same file, and against psql when TLM_TEST_PG is set
# (scripts/test-servers.sh run -- ...). Goal: at most 1.5 times. Usage: run.sh <bench build folder>
set -euo pipefail
build=${1:?bench build folder}
shift
QT_QPA_PLATFORM=offscreen exec "$build/bench/search/bench_search" "$@"
