#!/usr/bin/env bash
# Runs the domain benchmark from a bench build folder: bench/domain/run.sh <build-dir> [sizes...]
set -euo pipefail
build="${1:?usage: run.sh <bench-build-dir> [sizes...]}"
shift
exec "$build/bench/domain/bench_domain" "$@"
