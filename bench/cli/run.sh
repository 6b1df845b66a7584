#!/usr/bin/env bash
# The report command line at scale: 1M appointments written by `tlm-manager report` to .xlsx and to
# .txt, each its own process, with wall time and peak RSS (goal <= 400 MB); the .txt run against
# `sqlite3 -separator` writing the same columns of the same rows to a file (goal <= 2x), and against
# sqlite3 over the report's own query (SELECT *, every column).
# Usage: run.sh <bench build folder> [rows]
set -euo pipefail
build=${1:?bench build folder}
rows=${2:-1000000}
build=$(cd "$build" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/config" "$work/data"
export XDG_CONFIG_HOME="$work/config" XDG_DATA_HOME="$work/data"
unset DISPLAY QT_QPA_PLATFORM
"$build/bench/cli/bench_cli_seed" "$work/data" "$rows"

fields="Subject,Reported By,Reported Date,Project,Activity,Total Cost,Duration"
measure() {  # label, then the command; prints wall seconds and peak RSS
  local label=$1; shift
  /usr/bin/time -f '%e %M' -o "$work/time" "$@"
  read -r wall rss < "$work/time"
  echo "$wall" > "$work/wall-$label"
  printf 'cli %-8s %s rows: %6.2f s, peak RSS %4d MB\n' "$label" "$rows" "$wall" $((rss / 1024))
}
report=("$build/src/tlm-manager" report --type appointments --from 2026-01-01 --to 2026-12-31 --fields "$fields")
measure xlsx "${report[@]}" --out "$work/r.xlsx"
measure txt "${report[@]}" --out "$work/r.txt"
measure sqlite3 sqlite3 -separator $'\t' "$work/data/Tallyloom.db" \
  "SELECT Subject, ReportedBy, ReportedDate, ProjectValue, ActivityValue, TotalCost, Duration
   FROM tReportedAppointments WHERE ReportedDate BETWEEN '2026-01-01 00:00:00' AND '2026-12-31 23:59:00'" \
  > "$work/sqlite.txt"
# The report runs the screen's own query, which reads every column; sqlite3 over that query for scale.
measure sqlite3-all sqlite3 -separator $'\t' "$work/data/Tallyloom.db" \
  "SELECT * FROM tReportedAppointments
   WHERE ReportedDate BETWEEN '2026-01-01 00:00:00' AND '2026-12-31 23:59:00'" > "$work/sqlite-all.txt"
echo "cli txt lines $(wc -l < "$work/r.txt"), sqlite3 lines $(wc -l < "$work/sqlite.txt")"
awk -v a="$(cat "$work/wall-txt")" -v b="$(cat "$work/wall-sqlite3")" \
  'BEGIN { printf "cli txt vs sqlite3 -separator: %.2fx (goal <= 2x)\n", (b > 0 ? a / b : 0) }'
awk -v a="$(cat "$work/wall-txt")" -v b="$(cat "$work/wall-sqlite3-all")" \
  'BEGIN { printf "cli txt vs sqlite3 -separator over SELECT *: %.2fx\n", (b > 0 ? a / b : 0) }'
