#!/usr/bin/env bash
# Mails per second to the SMTP sink (per mail and in a batch), and the time of a save that sends
# mail while the server is unreachable against the same save with mail off. $1: the bench build
# folder. Starts the sink (with the other test servers) when TLM_TEST_SMTP_PORT is not set already.
set -euo pipefail
build=${1:?bench build folder}
here=$(cd "$(dirname "$0")/../.." && pwd)
send="$build/bench/mail/bench_mail_send"
save="$build/bench/mail/bench_mail_save"
for bin in "$send" "$save"; do
  [ -x "$bin" ] || { echo "bench/mail: $bin is not built" >&2; exit 1; }
done
if [ -n "${TLM_TEST_SMTP_PORT:-}" ]; then
  "$send" 200
else
  bash "$here/scripts/test-servers.sh" run -- "$send" 200
fi
"$save" 200 5
