#!/usr/bin/env bash
# Codec throughput; then start-up: `tlm-manager 3` over a database holding the demo data
# (`tlm-manager demo`), to the first paint of the members list with the event loop idle
# (bench_startup: main's objects and Main, ended there), against the smallest Qt widget program ended
# the same way (goal: ratio <= 1.5). Medians of $TLM_STARTUP_RUNS runs (default 11), in turns, after
# one warm-up each. A crash, a non-zero exit or a run past 60 s fails the figure. The real
# tlm-manager is run too, ended at its first shown window (TLM_EXIT_AT_FIRST_WINDOW), and must exit 0.
set -euo pipefail
build=${1:?bench build folder}
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=bench/support/record.sh
source "$here/../support/record.sh"
"$build/bench/core/bench_core" --benchmark_min_time=0.2

runs=${TLM_STARTUP_RUNS:-11}
home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
mkdir -p "$home/runtime" "$home/data" && chmod 700 "$home/runtime"
export QT_QPA_PLATFORM=offscreen XDG_CONFIG_HOME="$home/config" XDG_DATA_HOME="$home/data" \
       XDG_RUNTIME_DIR="$home/runtime" TLM_DEFAULT_DATA_DIR="$home/data"
fail() {
  echo "startup: FAILED: $*"
  record startup "run failed: $*" failed
  exit 1
}
"$build/src/tlm-manager" demo > "$home/demo.log" 2>&1 || { cat "$home/demo.log"; fail "tlm-manager demo exited non-zero"; }
tail -1 "$home/demo.log"

# run_ms COMMAND...: wall ms of one run; the run must end with code 0 within 60 s
run_ms() {
  local start end rc=0
  start=$(date +%s%N)
  timeout 60 "$@" > /dev/null 2> "$home/stderr" || rc=$?
  end=$(date +%s%N)
  if [ "$rc" -ne 0 ]; then
    cat "$home/stderr" >&2
    fail "$(basename "$1") ended with code $rc"
  fi
  echo $(((end - start) / 1000000))
}

shown=$(TLM_EXIT_AT_FIRST_WINDOW=1 run_ms "$build/src/tlm-manager" 3)
v=$(run_ms "$build/bench/core/bench_startup" 3)
v=$(run_ms "$build/bench/core/minimal_window")
app=() base=()
for _ in $(seq "$runs"); do
  v=$(run_ms "$build/bench/core/bench_startup" 3)
  app+=("$v")
  v=$(run_ms "$build/bench/core/minimal_window")
  base+=("$v")
done
a=$(median "${app[@]}"); b=$(median "${base[@]}")
ratio=$(awk -v a="$a" -v b="$b" 'BEGIN { printf "%.2f", a / (b > 0 ? b : 1) }')
echo "startup: tlm-manager 3 (demo data) to the first paint of the members list, idle: median ${a} ms of ${app[*]}"
echo "startup: minimal Qt window to its first paint, idle: median ${b} ms of ${base[*]}"
echo "startup: the real tlm-manager 3 to its first shown window (exit 0): ${shown} ms"
echo "startup ratio: ${ratio}x (goal <= 1.5)"
record startup "${ratio}x (${a} ms vs ${b} ms)" "$(verdict "$ratio" 1.5)"
