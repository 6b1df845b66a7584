#!/usr/bin/env bash
# Runs every benchmark script bench/<subsystem>/run.sh with the bench build folder as argument.
set -euo pipefail
build=${1:?build folder}
here=$(cd "$(dirname "$0")" && pwd)
status=0
for script in "$here"/*/run.sh; do
  [ -e "$script" ] || continue
  echo "== $(basename "$(dirname "$script")")"
  bash "$script" "$build" || status=1
done
exit $status
