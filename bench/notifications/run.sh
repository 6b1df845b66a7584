#!/usr/bin/env bash
# Template filling for 10000 records, then 200 notifications to the SMTP sink. $1: the bench
# build folder. Starts the sink (with the other test servers) when TLM_TEST_SMTP_PORT is not set.
set -euo pipefail
build=${1:?bench build folder}
here=$(cd "$(dirname "$0")/../.." && pwd)
bin="$build/bench/notifications/bench_notifications"
[ -x "$bin" ] || { echo "bench/notifications: $bin is not built" >&2; exit 1; }
if [ -n "${TLM_TEST_SMTP_PORT:-}" ]; then
  "$bin" 10000 200
else
  bash "$here/scripts/test-servers.sh" run -- "$bin" 10000 200
fi
