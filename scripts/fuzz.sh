#!/usr/bin/env bash
# Builds the libFuzzer targets of tests/fuzz (clang++, build/fuzz) and runs each of them.
#
#   scripts/fuzz.sh            every target for FUZZ_S seconds (default 60) on its corpus in
#                              build/fuzz/corpus/<target>, grown from the seeds and kept between runs
#   scripts/fuzz.sh --short    every target for FUZZ_SHORT_S seconds (default 3) on a fresh copy of its
#                              seeds: the quick check of `make test`
#   FUZZ_TARGETS="fuzz_vcard fuzz_codecs" picks targets; FUZZ_JOBS sets the build's parallel jobs;
#   FUZZ_RUNS=N runs each target for N inputs instead of FUZZ_S seconds.
#
# Every input under tests/fuzz/regressions/<target>/ is run once first; one that fails counts as a
# finding and is left out of the fuzzing corpus (libFuzzer would stop on it at once). New findings
# are written to build/fuzz/findings/<target>/. Ends non-zero when anything was found.
set -euo pipefail

ROOT="$(cd "$(dirname "$0")/.." && pwd)"
BUILD="$ROOT/build/fuzz"
SRC="$ROOT/tests/fuzz"
SECONDS_EACH="${FUZZ_S:-60}"
MODE=full
for arg in "$@"; do
  case "$arg" in
    --short) MODE=short; SECONDS_EACH="${FUZZ_SHORT_S:-3}" ;;
    *) echo "fuzz.sh: unknown argument $arg" >&2; exit 2 ;;
  esac
done

for tool in clang++ cmake; do
  command -v "$tool" >/dev/null || { echo "fuzz.sh: $tool is missing (make deps)" >&2; exit 2; }
done

build_start=$(date +%s)
if [ ! -f "$BUILD/CMakeCache.txt" ]; then
  cmake -S "$ROOT" -B "$BUILD" -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DTLM_FUZZ=ON -DTLM_BUILD_TESTS=OFF >/dev/null
fi
nice -n 10 cmake --build "$BUILD" --target fuzzers -j "${FUZZ_JOBS:-1}" >"$BUILD/build.log" 2>&1 || {
  tail -40 "$BUILD/build.log" >&2
  echo "fuzz.sh: the fuzz build failed (whole log: $BUILD/build.log)" >&2
  exit 1
}
build_secs=$(($(date +%s) - build_start))

targets="${FUZZ_TARGETS:-$(cat "$BUILD/tests/fuzz/targets.txt")}"

# Files the targets write (settings, outbox, cards) go to a private folder, on tmpfs when there is one:
# the settings target syncs a file per input.
if [ -d /dev/shm ] && [ -w /dev/shm ]; then
  TMP_ROOT="$(mktemp -d /dev/shm/tlm-fuzz.XXXXXX)"
else
  mkdir -p "$BUILD/tmp"
  TMP_ROOT="$(mktemp -d "$BUILD/tmp/run.XXXXXX")"
fi
trap 'rm -rf "$TMP_ROOT"' EXIT
export TMPDIR="$TMP_ROOT"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1}"

# Inputs are kept short where a check is quadratic in their length.
max_len_of() {
  case "$1" in
    fuzz_sql_dialect | fuzz_sql_compose) echo "-max_len=512" ;;
    *) echo "" ;;
  esac
}

mkdir -p "$BUILD/logs" "$BUILD/findings"
printf '%-22s %12s %9s %9s %12s\n' target inputs exec/s findings regressions
status=0
fuzz_start=$(date +%s)
for t in $targets; do
  bin="$BUILD/tests/fuzz/bin/$t"
  findings="$BUILD/findings/$t"
  log="$BUILD/logs/$t.log"
  mkdir -p "$findings"
  marker="$TMP_ROOT/$t.start"
  touch "$marker"
  dict=()
  [ -f "$SRC/dict/$t.dict" ] && dict=(-dict="$SRC/dict/$t.dict")
  read -r -a max_len <<<"$(max_len_of "$t")"

  # Regression inputs, each once.
  passing=()
  failing=0
  total=0
  : >"$log"
  if [ -d "$SRC/regressions/$t" ]; then
    for input in "$SRC/regressions/$t"/*; do
      [ -f "$input" ] || continue
      total=$((total + 1))
      if nice -n 10 "$bin" "${max_len[@]}" "$input" >>"$log" 2>&1; then
        passing+=("$input")
      else
        failing=$((failing + 1))
        cp "$input" "$findings/regression-$(basename "$input")"
        echo "FAILED regression input $input" >>"$log"
      fi
    done
  fi

  # The corpus: the seeds and the passing regression inputs.
  if [ "$MODE" = short ]; then
    corpus="$TMP_ROOT/corpus-$t"
  else
    corpus="$BUILD/corpus/$t"
  fi
  mkdir -p "$corpus"
  cp -n "$SRC/corpus/$t"/* "$corpus"/ 2>/dev/null || true
  [ ${#passing[@]} -gt 0 ] && cp -n "${passing[@]}" "$corpus"/

  limit=(-max_total_time="$SECONDS_EACH")
  [ -n "${FUZZ_RUNS:-}" ] && limit=(-runs="$FUZZ_RUNS")
  nice -n 10 "$bin" "$corpus" "${limit[@]}" -print_final_stats=1 -timeout=25 \
    -rss_limit_mb=3072 -artifact_prefix="$findings/" "${dict[@]}" "${max_len[@]}" >>"$log" 2>&1 || true

  runs=$(grep -o 'stat::number_of_executed_units: *[0-9]*' "$log" | tail -1 | awk '{print $2}')
  rate=$(grep -o 'stat::average_exec_per_sec: *[0-9]*' "$log" | tail -1 | awk '{print $2}')
  found=$(find "$findings" -maxdepth 1 -type f -newer "$marker" ! -name 'regression-*' | wc -l)
  if [ -z "$runs" ]; then
    # No statistics: the target did not start or died without libFuzzer noticing.
    runs="?"
    rate="?"
    found=$((found + 1))
  fi
  printf '%-22s %12s %9s %9s %12s\n' "$t" "$runs" "$rate" "$found" "$failing/$total failed"
  if [ "$found" -gt 0 ] || [ "$failing" -gt 0 ]; then
    status=1
  fi
done
fuzz_secs=$(($(date +%s) - fuzz_start))
[ -n "${FUZZ_RUNS:-}" ] && echo "each target ran for ${FUZZ_RUNS} inputs"
echo "build ${build_secs}s, runs ${fuzz_secs}s; logs in build/fuzz/logs, findings in build/fuzz/findings"
if [ "$status" -ne 0 ]; then
  echo "fuzz.sh: something was found; see the logs above the findings' names" >&2
fi
exit "$status"
