#!/usr/bin/env bash
# The review window's query and fill of 10k and 100k generated unapproved rows, offscreen, against
# the bare query of the same rows through the database layer (goal: at most 3 times), and the
# 100k/10k ratio (goal: at most 12). SQLite always; PostgreSQL when TLM_TEST_PG is set.
# Usage: bench/review/run.sh <bench-build-dir> [rows...]
set -euo pipefail
build="${1:?usage: run.sh <bench-build-dir> [rows...]}"
shift
QT_QPA_PLATFORM=offscreen exec "$build/bench/review/bench_review" "$@"
