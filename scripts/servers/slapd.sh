# LDAP directory for the tests: a throwaway slapd (mdb backend, slapd.conf of its own) under
# $state/ldap, loopback only, on a free port. The system's slapd and its configuration are never used.
# The tests bind as a plain reader, not as the root DN, because the root DN has no size limit:
# the reader's 500-entry limit is what makes the 2,000 bulk people need the paged search.
slapd_bin() { if [ -x /usr/sbin/slapd ]; then echo /usr/sbin/slapd; else command -v slapd; fi; }
slapadd_bin() { if [ -x /usr/sbin/slapadd ]; then echo /usr/sbin/slapadd; else command -v slapadd; fi; }

# The people, groups and bulk entries the directory tests read.
slapd_test_ldif() {
  local base=$1 reader_pw=$2 i n
  cat <<EOF
dn: $base
objectClass: dcObject
objectClass: organization
dc: tlm
o: Tally Loom Test

dn: ou=people,$base
objectClass: organizationalUnit
ou: people

dn: ou=groups,$base
objectClass: organizationalUnit
ou: groups

dn: ou=bulk,$base
objectClass: organizationalUnit
ou: bulk

dn: cn=reader,$base
objectClass: applicationProcess
objectClass: simpleSecurityObject
cn: reader
userPassword: $reader_pw

EOF
  # name|mail|department; an empty mail leaves the attribute out.
  while IFS='|' read -r cn mail dept; do
    echo "dn: cn=$cn,ou=people,$base"
    echo "objectClass: inetOrgPerson"
    echo "cn: $cn"
    echo "sn: ${cn##* }"
    [ -n "$mail" ] && echo "mail: $mail"
    [ -n "$dept" ] && echo "departmentNumber: $dept"
    echo
  done <<'EOF'
Ann Lee|ann.lee@example.org|Finance
Bo Chen|bo.chen@example.org|Engineering
Chloé Dubois|chloe.dubois@example.org|Engineering
Dana Kim|dana.kim@example.org|Sales
Eli Noor||Support
Jürgen Groß|juergen.gross@example.org|Einkauf
EOF
  cat <<EOF
dn: cn=Project Team,ou=groups,$base
objectClass: groupOfNames
cn: Project Team
member: cn=Ann Lee,ou=people,$base
member: cn=Bo Chen,ou=people,$base
member: cn=Chloé Dubois,ou=people,$base

dn: cn=All Staff,ou=groups,$base
objectClass: groupOfNames
cn: All Staff
member: cn=Project Team,ou=groups,$base
member: cn=Dana Kim,ou=people,$base

dn: cn=Ops Crew,ou=groups,$base
objectClass: groupOfUniqueNames
cn: Ops Crew
uniqueMember: cn=Eli Noor,ou=people,$base
uniqueMember: cn=Dana Kim,ou=people,$base

dn: cn=Head Office,ou=groups,$base
objectClass: organizationalRole
cn: Head Office

EOF
  for i in $(seq 1 2000); do
    n=$(printf '%04d' "$i")
    printf 'dn: cn=Bulk Person %s,ou=bulk,%s\nobjectClass: inetOrgPerson\ncn: Bulk Person %s\nsn: Person\nmail: bulk%s@example.org\ndepartmentNumber: Bulk\n\n' \
      "$n" "$base" "$n" "$n"
  done
}

start_slapd() {
  local bin add port dir base="dc=tlm,dc=test" rootpw=ldap-root-pw readerpw=ldap-reader-pw up=0
  bin=$(slapd_bin); add=$(slapadd_bin)
  [ -n "$bin" ] && [ -n "$add" ] || { echo "test-servers: slapd is not installed" >&2; return 1; }
  dir="$state/ldap"
  rm -rf "$dir"; mkdir -p "$dir/db"
  port=$(free_port)
  cat >"$dir/slapd.conf" <<EOF
include /etc/ldap/schema/core.schema
include /etc/ldap/schema/cosine.schema
include /etc/ldap/schema/inetorgperson.schema
modulepath /usr/lib/ldap
moduleload back_mdb
pidfile $dir/slapd.pid
argsfile $dir/slapd.args
sizelimit 500
database mdb
maxsize 104857600
suffix "$base"
rootdn "cn=admin,$base"
rootpw $rootpw
directory $dir/db
index objectClass eq
index cn,mail eq,sub
limits users size.soft=500 size.hard=500 size.prtotal=unlimited
access to attrs=userPassword by anonymous auth by * none
access to * by users read by * none
EOF
  slapd_test_ldif "$base" "$readerpw" >"$dir/data.ldif"
  "$add" -q -f "$dir/slapd.conf" -l "$dir/data.ldif" >"$state/slapadd.log" 2>&1 ||
    { echo "test-servers: slapadd failed, see $state/slapadd.log" >&2; return 1; }
  "$bin" -f "$dir/slapd.conf" -h "ldap://127.0.0.1:$port/" >"$state/slapd.log" 2>&1 ||
    { echo "test-servers: slapd did not start, see $state/slapd.log" >&2; return 1; }
  for _ in $(seq 1 100); do
    if ldapsearch -x -LLL -H "ldap://127.0.0.1:$port/" -D "cn=reader,$base" -w "$readerpw" \
      -b "$base" -s base dn >/dev/null 2>&1; then
      up=1; break
    fi
    sleep 0.1
  done
  [ "$up" -eq 1 ] || { echo "test-servers: slapd does not answer on $port" >&2; return 1; }
  {
    echo "export TLM_TEST_LDAP_URI=ldap://127.0.0.1:$port"
    echo "export TLM_TEST_LDAP_BASE='$base'"
    echo "export TLM_TEST_LDAP_BIND_DN='cn=reader,$base'"
    echo "export TLM_TEST_LDAP_PASSWORD=$readerpw"
  } >>"$envfile"
}

stop_slapd() {
  local pid
  [ -f "$state/ldap/slapd.pid" ] || return 0
  pid=$(cat "$state/ldap/slapd.pid")
  kill "$pid" 2>/dev/null || true
  for _ in $(seq 1 50); do kill -0 "$pid" 2>/dev/null || break; sleep 0.1; done
  kill -9 "$pid" 2>/dev/null || true
  rm -f "$state/ldap/slapd.pid"
}
