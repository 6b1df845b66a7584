#!/usr/bin/env bash
# Opens the members list of 10k rows in the administration window offscreen and saves it with 1 %
# changed; compares the save with the same save done by the engine alone.
# Usage: bench/admin/run.sh <bench-build-dir> [members]
set -euo pipefail
build="${1:?usage: run.sh <bench-build-dir> [members]}"
shift
QT_QPA_PLATFORM=offscreen exec "$build/bench/admin/bench_admin" "$@"
