# Sourced by the run.sh scripts: the shell side of support/record.h.
# record KEY MEASURED VERDICT   appends one line for the closing table (when TLM_BENCH_RESULTS is set)
record() {
  [ -n "${TLM_BENCH_RESULTS:-}" ] && printf '%s\t%s\t%s\n' "$1" "$2" "$3" >> "$TLM_BENCH_RESULTS"
  return 0
}
# median V...   the median of the numbers given
median() {
  printf '%s\n' "$@" | sort -g | awk '{ v[NR] = $1 } END { if (NR == 0) print -1; else if (NR % 2) print v[(NR + 1) / 2]; else print (v[NR / 2] + v[NR / 2 + 1]) / 2 }'
}
# verdict MEASURED GOAL   met when MEASURED <= GOAL, missed otherwise
verdict() {
  awk -v m="$1" -v g="$2" 'BEGIN { print (m <= g ? "met" : "missed") }'
}
