#!/usr/bin/env bash
# Codec throughput, and the start-up of tlm-manager to its first shown window against the
# smallest Qt widget program (goal: ratio <= 1.5).
set -euo pipefail
build=${1:?bench build folder}
"$build/bench/core/bench_core" --benchmark_min_time=0.2

runs=${TLM_STARTUP_RUNS:-20}
home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
mkdir -p "$home/runtime" && chmod 700 "$home/runtime"
export QT_QPA_PLATFORM=offscreen XDG_CONFIG_HOME="$home/config" XDG_DATA_HOME="$home/data" \
       XDG_RUNTIME_DIR="$home/runtime" TLM_EXIT_AT_FIRST_WINDOW=1

mean_ms() {  # command... : mean wall time in ms over $runs runs, after one warm-up
  "$@" >/dev/null 2>&1 || true
  local total=0 start end
  for _ in $(seq "$runs"); do
    start=$(date +%s%N)
    "$@" >/dev/null 2>&1 || true
    end=$(date +%s%N)
    total=$((total + (end - start) / 1000))
  done
  echo $((total / runs / 1000))
}

app=$(mean_ms "$build/src/tlm-manager" 3)
base=$(mean_ms "$build/bench/core/minimal_window")
echo "startup: tlm-manager 3 to first window ${app} ms, minimal Qt window ${base} ms"
python3 -c "import sys; a,b=$app,max($base,1); r=a/b; print(f'startup ratio: {r:.2f} (goal <= 1.5)')"
