# LDAP directory for the tests: a throwaway slapd (mdb backend, slapd.conf of its own) under
# $state/ldap, loopback only, on free ports: ldap:// (StartTLS) and ldaps://, with a self-signed
# certificate made here, which the clients trust through LDAPTLS_CACERT. The system's slapd and its
# configuration are never used.
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

dn: ou=crowd,$base
objectClass: organizationalUnit
ou: crowd

dn: ou=hidden,$base
objectClass: organizationalUnit
ou: hidden

dn: cn=Hidden Person,ou=hidden,$base
objectClass: inetOrgPerson
cn: Hidden Person
sn: Person
mail: hidden@example.org

dn: cn=Doe\\, John,ou=people,$base
objectClass: inetOrgPerson
cn: Doe, John
sn: Doe
mail: john.doe@example.org

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

dn: cn=Support Desk,ou=groups,$base
objectClass: group
cn: Support Desk
member: cn=Eli Noor,ou=people,$base
member: cn=Doe\\, John,ou=people,$base
member: cn=Gone\\2C Former,ou=people,$base
member: cn=Hidden Person,ou=hidden,$base
member: cn=Ops Crew,ou=groups,$base

EOF
  # printf -v, not $(...): a subshell per entry made the file take most of a minute to write.
  for ((i = 1; i <= 2000; i++)); do
    printf -v n '%04d' "$i"
    printf 'dn: cn=Bulk Person %s,ou=bulk,%s\nobjectClass: inetOrgPerson\ncn: Bulk Person %s\nsn: Person\nmail: bulk%s@example.org\ndepartmentNumber: Bulk\n\n' \
      "$n" "$base" "$n" "$n"
  done
  # A group of 3,000 members, to expand with progress and to cancel partway.
  for ((i = 1; i <= 3000; i++)); do
    printf -v n '%04d' "$i"
    printf 'dn: cn=Crowd Person %s,ou=crowd,%s\nobjectClass: inetOrgPerson\ncn: Crowd Person %s\nsn: Person\nmail: crowd%s@example.org\n\n' \
      "$n" "$base" "$n" "$n"
  done
  printf 'dn: cn=Crowd,ou=groups,%s\nobjectClass: groupOfNames\ncn: Crowd\n' "$base"
  for ((i = 1; i <= 3000; i++)); do
    printf 'member: cn=Crowd Person %04d,ou=crowd,%s\n' "$i" "$base"
  done
  echo
}

# The "group" object class, as directories other than OpenLDAP keep groups (the OID is a UUID arc
# of the tests' own).
slapd_group_schema() {
  cat <<'EOF'
objectclass ( 2.25.198830563046839148497148413393587541261 NAME 'group'
  SUP top STRUCTURAL MUST cn MAY ( member $ mail $ description ) )
EOF
}

# A self-signed certificate for 127.0.0.1 and localhost, its own CA.
slapd_certificate() {
  local tls=$1
  mkdir -p "$tls"; chmod 700 "$tls"
  openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 30 \
    -subj "/CN=127.0.0.1" -addext "subjectAltName=IP:127.0.0.1,DNS:localhost" \
    -addext "basicConstraints=critical,CA:TRUE" \
    -keyout "$tls/key.pem" -out "$tls/cert.pem" >"$tls/openssl.log" 2>&1
}

start_slapd() {
  local bin add port sport dir base="dc=tlm,dc=test" rootpw=ldap-root-pw readerpw=ldap-reader-pw up=0
  bin=$(slapd_bin); add=$(slapadd_bin)
  [ -n "$bin" ] && [ -n "$add" ] || { echo "test-servers: slapd is not installed" >&2; return 1; }
  command -v openssl >/dev/null || { echo "test-servers: openssl is not installed" >&2; return 1; }
  dir="$state/ldap"
  rm -rf "$dir"; mkdir -p "$dir/db"
  port=$(free_port); sport=$(free_port)
  slapd_certificate "$dir/tls" ||
    { echo "test-servers: the LDAP certificate was not made, see $dir/tls/openssl.log" >&2; return 1; }
  slapd_group_schema >"$dir/group.schema"
  cat >"$dir/slapd.conf" <<EOF
include /etc/ldap/schema/core.schema
include /etc/ldap/schema/cosine.schema
include /etc/ldap/schema/inetorgperson.schema
include $dir/group.schema
modulepath /usr/lib/ldap
moduleload back_mdb
pidfile $dir/slapd.pid
argsfile $dir/slapd.args
sizelimit 500
TLSCACertificateFile $dir/tls/cert.pem
TLSCertificateFile $dir/tls/cert.pem
TLSCertificateKeyFile $dir/tls/key.pem
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
access to dn.subtree="ou=hidden,$base" by * none
access to * by users read by * none
EOF
  slapd_test_ldif "$base" "$readerpw" >"$dir/data.ldif"
  "$add" -q -f "$dir/slapd.conf" -l "$dir/data.ldif" >"$state/slapadd.log" 2>&1 ||
    { echo "test-servers: slapadd failed, see $state/slapadd.log" >&2; return 1; }
  "$bin" -f "$dir/slapd.conf" -h "ldap://127.0.0.1:$port/ ldaps://127.0.0.1:$sport/" >"$state/slapd.log" 2>&1 ||
    { echo "test-servers: slapd did not start, see $state/slapd.log" >&2; return 1; }
  for _ in $(seq 1 100); do
    if ldapsearch -x -LLL -H "ldap://127.0.0.1:$port/" -D "cn=reader,$base" -w "$readerpw" \
      -b "$base" -s base dn >/dev/null 2>&1; then
      up=1; break
    fi
    sleep 0.1
  done
  [ "$up" -eq 1 ] || { echo "test-servers: slapd does not answer on $port" >&2; return 1; }
  for uri in "ldap://127.0.0.1:$port/ -ZZ" "ldaps://127.0.0.1:$sport/"; do
    # shellcheck disable=SC2086
    LDAPTLS_CACERT="$dir/tls/cert.pem" ldapsearch -x -LLL -H $uri -D "cn=reader,$base" -w "$readerpw" \
      -b "$base" -s base dn >/dev/null 2>>"$state/slapd.log" ||
      { echo "test-servers: slapd does not take TLS on ${uri%% *}, see $state/slapd.log" >&2; return 1; }
  done
  {
    echo "export TLM_TEST_LDAP_URI=ldap://127.0.0.1:$port"
    echo "export TLM_TEST_LDAPS_URI=ldaps://127.0.0.1:$sport"
    echo "export LDAPTLS_CACERT='$dir/tls/cert.pem'"
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
