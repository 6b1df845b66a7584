# SMTP sink for the tests: scripts/smtp_sink.py on loopback, a free port, mail filed under
# build/servers/smtp-spool. Uses the system Python, which has aiosmtpd from the Debian package.
smtp_python() { if [ -x /usr/bin/python3 ]; then echo /usr/bin/python3; else command -v python3; fi; }

start_smtp() {
  local port spool py up=0
  py=$(smtp_python)
  "$py" -c 'import aiosmtpd' 2>/dev/null || { echo "test-servers: python3-aiosmtpd is not installed" >&2; return 1; }
  spool="$state/smtp-spool"
  rm -rf "$spool"; mkdir -p "$spool"
  port=$(free_port)
  "$py" "$here/scripts/smtp_sink.py" --port "$port" --spool "$spool" \
    --user tlm-mailer --password smtp-test-pw >"$state/smtp.log" 2>&1 &
  echo $! >"$state/smtp.pid"
  for _ in $(seq 1 100); do
    if "$py" -c 'import socket,sys; s=socket.create_connection(("127.0.0.1",int(sys.argv[1])),0.2); s.close()' \
      "$port" 2>/dev/null; then
      up=1; break
    fi
    if ! kill -0 "$(cat "$state/smtp.pid")" 2>/dev/null; then
      echo "test-servers: the SMTP sink did not start, see $state/smtp.log" >&2; return 1
    fi
    sleep 0.1
  done
  [ "$up" -eq 1 ] || { echo "test-servers: the SMTP sink does not answer on $port" >&2; return 1; }
  {
    echo "export TLM_TEST_SMTP_PORT=$port"
    echo "export TLM_TEST_SMTP_SPOOL='$spool'"
    echo "export TLM_TEST_SMTP_USER=tlm-mailer"
    echo "export TLM_TEST_SMTP_PASSWORD=smtp-test-pw"
  } >>"$envfile"
}

stop_smtp() {
  local pid
  [ -f "$state/smtp.pid" ] || return 0
  pid=$(cat "$state/smtp.pid")
  kill "$pid" 2>/dev/null || true
  for _ in $(seq 1 50); do kill -0 "$pid" 2>/dev/null || break; sleep 0.1; done
  kill -9 "$pid" 2>/dev/null || true
  rm -f "$state/smtp.pid"
}
