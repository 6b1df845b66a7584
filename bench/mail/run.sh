#!/usr/bin/env bash
# Mails per second to the SMTP sink. $1: the bench build folder. Starts the sink (with the other
# test servers) when TLM_TEST_SMTP_PORT is not set already.
set -euo pipefail
build=${1:?bench build folder}
here=$(cd "$(dirname "$0")/../.." && pwd)
bin="$build/bench/mail/bench_mail_send"
[ -x "$bin" ] || { echo "bench/mail: $bin is not built" >&2; exit 1; }
if [ -n "${TLM_TEST_SMTP_PORT:-}" ]; then
  "$bin" 200
else
  bash "$here/scripts/test-servers.sh" run -- "$bin" 200
fi
