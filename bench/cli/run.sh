#!/usr/bin/env bash
# The report command line at scale: 1M appointments written by `tlm-manager report` as .txt and as
# .xlsx, each run its own process, wall time and peak RSS. Baselines, each a process of its own too:
# for .txt, `sqlite3 -separator <tab> -header` writing the same seven columns of the same rows to a
# file (goal <= 2x); for .xlsx, bench_cli_bare_xlsx writing the same cells with the same date parse
# (goal <= 1.3x). Each side runs $TLM_CLI_RUNS times (default 3), in turns; medians are compared.
# Usage: run.sh <bench build folder> [rows]
set -euo pipefail
build=${1:?bench build folder}
rows=${2:-1000000}
runs=${TLM_CLI_RUNS:-3}
build=$(cd "$build" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=bench/support/record.sh
source "$here/../support/record.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/config" "$work/data"
export XDG_CONFIG_HOME="$work/config" XDG_DATA_HOME="$work/data"
unset DISPLAY QT_QPA_PLATFORM
db="$work/data/Tallyloom.db"
fail() {
  echo "cli: FAILED: $*"
  record cli-txt "run failed: $*" failed
  record cli-xlsx "run failed: $*" failed
  exit 1
}
"$build/bench/cli/bench_cli_seed" "$work/data" "$rows" || fail "seeding"

fields="Subject,Reported By,Reported Date,Project,Activity,Total Cost,Duration"
columns="Subject, ReportedBy, ReportedDate, ProjectValue, ActivityValue, TotalCost, Duration"
where="WHERE ReportedDate BETWEEN '2026-01-01 00:00:00' AND '2026-12-31 23:59:00'"
report=("$build/src/tlm-manager" report --type appointments --from 2026-01-01 --to 2026-12-31 --fields "$fields")
declare -A walls rss_max
# measure LABEL COMMAND...: one timed run (stdout to $work/out-LABEL); a non-zero exit or a signal fails
measure() {
  local label=$1; shift
  /usr/bin/time -f '%e %M' -o "$work/time" "$@" > "$work/out-$label" || fail "$label exited non-zero"
  local wall rss
  read -r wall rss < "$work/time"
  walls[$label]="${walls[$label]:-} $wall"
  rss=$((rss / 1024))
  [ "$rss" -gt "${rss_max[$label]:-0}" ] && rss_max[$label]=$rss
  return 0
}
for _ in $(seq "$runs"); do
  measure txt "${report[@]}" --out "$work/r.txt"
  measure sqlite3 sqlite3 -separator $'\t' -header "$db" "SELECT $columns FROM tReportedAppointments $where"
  measure xlsx "${report[@]}" --out "$work/r.xlsx"
  measure bare "$build/bench/cli/bench_cli_bare_xlsx" "$db" "$work/bare.xlsx"
done
# Same rows and columns on both sides: the report adds a totals line, both write a heading.
txt_lines=$(wc -l < "$work/r.txt")
sql_lines=$(wc -l < "$work/out-sqlite3")
txt_cols=$(head -1 "$work/r.txt" | tr -d '\r' | awk -F'\t' '{ print NF }')
sql_cols=$(head -1 "$work/out-sqlite3" | awk -F'\t' '{ print NF }')
bare_rows=$(cat "$work/out-bare")
echo "cli: .txt $txt_lines lines of $txt_cols columns, sqlite3 $sql_lines lines of $sql_cols columns," \
  "bare .xlsx $bare_rows rows; .xlsx $(($(stat -c %s "$work/r.xlsx") >> 20)) MB," \
  "bare $(($(stat -c %s "$work/bare.xlsx") >> 20)) MB"
[ "$txt_lines" -eq $((rows + 2)) ] && [ "$sql_lines" -eq $((rows + 1)) ] && [ "$txt_cols" -eq 7 ] &&
  [ "$sql_cols" -eq 7 ] && [ "$bare_rows" -eq "$rows" ] || fail "the outputs do not hold the same rows and columns"

# The report's own query reads every column; sqlite3 over that query once, for scale only.
measure sqlite3all sqlite3 -separator $'\t' -header "$db" "SELECT * FROM tReportedAppointments $where"

# shellcheck disable=SC2086
txt=$(median ${walls[txt]}); sql=$(median ${walls[sqlite3]}); xlsx=$(median ${walls[xlsx]}); bare=$(median ${walls[bare]})
for label in txt sqlite3 xlsx bare sqlite3all; do
  printf 'cli %-10s %s rows: median %6.2f s of%s; peak RSS %4d MB\n' "$label" "$rows" \
    "$(median ${walls[$label]})" "${walls[$label]}" "${rss_max[$label]}"
done
rt=$(awk -v a="$txt" -v b="$sql" 'BEGIN { printf "%.2f", a / b }')
rx=$(awk -v a="$xlsx" -v b="$bare" 'BEGIN { printf "%.2f", a / b }')
echo "cli .txt vs sqlite3 -separator on the same 7 columns: ${rt}x (goal <= 2x)"
echo "cli .xlsx vs bare libxlsxwriter writer of the same cells: ${rx}x (goal <= 1.3x)"
record cli-txt "${rt}x ($txt s vs $sql s)" "$(verdict "$rt" 2)"
record cli-xlsx "${rx}x ($xlsx s vs $bare s)" "$(verdict "$rx" 1.3)"
peak=$((rss_max[txt] > rss_max[xlsx] ? rss_max[txt] : rss_max[xlsx]))
record million-rss "command line .txt ${rss_max[txt]} MB, .xlsx ${rss_max[xlsx]} MB" "$(verdict "$peak" 100)"
