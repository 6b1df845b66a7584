#!/usr/bin/env bash
# Throwaway servers for the tests, on loopback only, under build/servers.
#   start        start them and write build/servers/env
#   stop         stop them
#   env          print the environment lines (source them: eval "$(scripts/test-servers.sh env)")
#   run -- CMD   start, run CMD with the environment and TLM_REQUIRE_TEST_SERVERS=1, stop (pass or
#                fail); exit with CMD's code
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
state="${TLM_SERVERS_DIR:-$here/build/servers}"
envfile="$state/env"

free_port() {
  python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1]); s.close()'
}

# Each server is a file in scripts/servers/ defining start_<name> and stop_<name>; start_<name>
# appends its "export VAR=..." lines to $envfile.
servers=()
for f in "$here"/scripts/servers/*.sh; do
  [ -e "$f" ] || continue
  # shellcheck disable=SC1090
  source "$f"
  servers+=("$(basename "$f" .sh)")
done

start() {
  stop >/dev/null 2>&1 || true
  mkdir -p "$state"
  : >"$envfile"
  for name in "${servers[@]}"; do "start_$name"; done
}

stop() {
  for name in "${servers[@]}"; do "stop_$name" || true; done
  rm -f "$envfile"
}

case "${1:-}" in
  start) start; cat "$envfile" ;;
  stop) stop ;;
  env) [ -f "$envfile" ] && cat "$envfile" ;;
  run)
    shift; [ "${1:-}" = "--" ] && shift
    trap stop EXIT
    start
    # shellcheck disable=SC1090
    source "$envfile"
    # Under this wrapper a test that needs a server and does not find it fails instead of skipping.
    export TLM_REQUIRE_TEST_SERVERS=1
    set +e
    "$@"; rc=$?
    exit $rc ;;
  *) echo "usage: $0 start|stop|env|run -- COMMAND" >&2; exit 2 ;;
esac
