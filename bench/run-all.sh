#!/usr/bin/env bash
# Runs every benchmark script bench/<subsystem>/run.sh with the bench build folder as argument, then
# prints one table of the figures that have goals: figure, goal, measured, verdict (met, missed,
# failed; "not run" when nothing measured it). The benchmarks leave their lines in
# $TLM_BENCH_RESULTS (support/record.h, support/record.sh). The table is also written to
# <build>/bench-table.md. TLM_BENCH_ONLY="cli reports" runs only those subsystems.
# Usage: run-all.sh <bench build folder>
set -uo pipefail
build=${1:?build folder}
here=$(cd "$(dirname "$0")" && pwd)
results=$(mktemp)
trap 'rm -f "$results"' EXIT
export TLM_BENCH_RESULTS=$results
status=0
declare -A rc
began=$(date +%s)
for script in "$here"/*/run.sh; do
  [ -e "$script" ] || continue
  name=$(basename "$(dirname "$script")")
  if [ -n "${TLM_BENCH_ONLY:-}" ] && [[ " $TLM_BENCH_ONLY " != *" $name "* ]]; then
    continue
  fi
  echo "== $name"
  start=$(date +%s)
  bash "$script" "$build"
  rc[$name]=$?
  [ "${rc[$name]}" -eq 0 ] || status=1
  echo "== $name: exit ${rc[$name]}, $(($(date +%s) - start)) s"
done

# key, the subsystems that measure it, figure, goal
figures=(
  "cli-txt|cli|command line 1M rows .txt, against \`sqlite3 -separator\` on the same columns|≤ 2×"
  "cli-xlsx|cli|command line 1M rows .xlsx, against a fair bare libxlsxwriter writer of the same cells|≤ 1.3×"
  "report-page|reports|report page 100k rows, against \`sqlite3 -html\` on the shown columns|≤ 2×"
  "search|search|keyword search over 100k items, against sqlite3 and psql, process to process|≤ 1.5×"
  "review|review|review of 100k unapproved rows, query and fill, against the bare query; peak memory|≤ 2×; ≤ 150 MB"
  "startup|core|start-up to the first paint of section 3 with data, against a minimal Qt window|≤ 1.5×"
  "list|admin|list load+save 100k/10k (run at 30k/3k: the window refuses a save above 32,767 rows)|≤ 12.5"
  "mail-save|mail|save of 200 notifying rows with the mail server down, against mail off|≤ 1.5×"
  "million-rss|reports cli|1M-row report and export, peak RSS|≤ 100 MB"
)
table="$build/bench-table.md"
{
  echo "| Figure | Goal | Measured | Verdict |"
  echo "|---|---|---|---|"
  for row in "${figures[@]}"; do
    IFS='|' read -r key subsystems figure goal <<< "$row"
    measured=$(awk -F'\t' -v k="$key" '$1 == k { printf "%s%s", (n++ ? "; " : ""), $2 }' "$results")
    verdict=$(awk -F'\t' -v k="$key" '$1 == k { v[$3] = 1 }
      END { print (v["failed"] ? "failed" : v["missed"] ? "missed" : v["met"] ? "met" : "not run") }' "$results")
    # A benchmark that ended badly fails its figures; one not run leaves them so.
    why="not run (not in TLM_BENCH_ONLY)"
    for s in $subsystems; do
      if [ -n "${rc[$s]:-}" ] && [ "${rc[$s]}" -ne 0 ]; then
        verdict=failed
        measured="${measured:+$measured; }bench/$s ended with code ${rc[$s]}"
      elif [ -n "${rc[$s]:-}" ]; then
        why="not measured"
      fi
    done
    measured=${measured:-$why}
    [ "$verdict" = failed ] && status=1
    echo "| $figure | $goal | $measured | $verdict |"
  done
} > "$table"
echo
echo "== all benchmarks: $(($(date +%s) - began)) s"
cat "$table"
exit $status
