# PostgreSQL for the tests: a throwaway cluster in $state/pg, loopback only, on a free port.
# TCP logins need the password (scram), so a wrong-password test meets a real refusal; the socket in
# the cluster folder stays trust for the script's own setup.
# PostgreSQL runs as an unprivileged user; root may not own a cluster.
pg_user() { if [ "$(id -u)" -eq 0 ]; then echo postgres; else id -un; fi; }
as_pg() { if [ "$(id -u)" -eq 0 ]; then runuser -u postgres -- "$@"; else "$@"; fi; }
pg_bin() { ls -d /usr/lib/postgresql/*/bin 2>/dev/null | sort -V | tail -n 1; }

start_postgres() {
  local bin port dir password=tlm-test-pw
  bin=$(pg_bin)
  [ -n "$bin" ] || { echo "test-servers: PostgreSQL is not installed" >&2; return 1; }
  dir="$state/pg"
  rm -rf "$dir"; mkdir -p "$dir"
  printf '%s\n' "$password" >"$dir/pwfile"
  if [ "$(id -u)" -eq 0 ]; then chown -R postgres "$dir"; fi
  chmod 600 "$dir/pwfile"
  port=$(free_port)
  as_pg "$bin/initdb" -D "$dir/data" -U tlm --pwfile="$dir/pwfile" --auth-local=trust \
    --auth-host=scram-sha-256 -E UTF8 >"$state/pg-initdb.log" 2>&1
  rm -f "$dir/pwfile"
  as_pg "$bin/pg_ctl" -D "$dir/data" -l "$dir/server.log" -w -t 60 \
    -o "-c listen_addresses=127.0.0.1 -p $port -k $dir -c fsync=off -c synchronous_commit=off -c full_page_writes=off" \
    start >/dev/null
  as_pg "$bin/createdb" -h "$dir" -p "$port" -U tlm tlm_test
  echo "export TLM_TEST_PG='Provider=PostgreSQL;Data Source=127.0.0.1,$port;Initial Catalog=tlm_test;User ID=tlm;Password=$password'" >>"$envfile"
  echo "export TLM_TEST_PG_PORT=$port" >>"$envfile"
}

stop_postgres() {
  local bin; bin=$(pg_bin)
  if [ -n "$bin" ] && [ -d "$state/pg/data" ]; then
    as_pg "$bin/pg_ctl" -D "$state/pg/data" -m immediate -w stop >/dev/null 2>&1 || true
  fi
}
