#!/usr/bin/env bash
# The Debian package `make package` built: lintian finds nothing, it holds the files a desktop
# program installs, and the program unpacked from it runs: --version, report --help, the demo data
# and a report on it. The menu entries and the AppStream metadata validate.
#   check_package.sh PACKAGE_DIR
# Run alone, a missing package or tool skips (77); under `make test` (TLM_REQUIRE_TEST_SERVERS=1)
# it fails.
set -uo pipefail
package_dir=$1
failures=0

missing() {
  echo "check_package: $1"
  if [ "${TLM_REQUIRE_TEST_SERVERS:-}" = 1 ]; then exit 1; fi
  echo "check_package: skipped (make package builds it; make deps installs the tools)"
  exit 77
}
fail() {
  echo "FAIL: $*"
  failures=$((failures + 1))
}

for tool in dpkg-deb lintian desktop-file-validate appstreamcli man; do
  command -v "$tool" >/dev/null || missing "$tool is not installed"
done
shopt -s nullglob
debs=("$package_dir"/tlm-manager_*.deb)
[ ${#debs[@]} -eq 1 ] || missing "expected one tlm-manager_*.deb in $package_dir, found ${#debs[@]}"
deb=${debs[0]}
echo "check_package: $deb"

tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

# Warnings count: one that is no fault is overridden in packaging/lintian-overrides, with why.
if ! lintian --fail-on error,warning --display-info "$deb" >"$tmp/lintian.txt" 2>&1; then
  fail "lintian:"
fi
cat "$tmp/lintian.txt"

dpkg-deb -c "$deb" | awk '{print $6}' | sed 's|^\./|/|' >"$tmp/contents.txt"
for path in /usr/bin/tlm-manager /usr/share/man/man1/tlm-manager.1.gz \
  /usr/share/bash-completion/completions/tlm-manager /usr/share/doc/tlm-manager/copyright \
  /usr/share/doc/tlm-manager/changelog.Debian.gz; do
  grep -qx "$path" "$tmp/contents.txt" || fail "$path is not in the package"
done
version=$(dpkg-deb -f "$deb" Version)
depends=$(dpkg-deb -f "$deb" Depends)
# The libraries come from dpkg-shlibdeps, the database driver from the list of plugins.
for dep in libqt6widgets6 libqt6sql6 libc6 libqt6sql6-sqlite; do
  [[ ",$depends," =~ [,\ ]$dep[\ ,\(] ]] || fail "Depends lacks $dep: $depends"
done

root=$tmp/root
dpkg-deb -x "$deb" "$root"
bin=$root/usr/bin/tlm-manager
home=$tmp/home
mkdir -p "$home/config" "$home/data" "$home/db" "$home/runtime"
chmod 700 "$home/runtime"
run() {
  env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM XDG_CONFIG_HOME="$home/config" \
    XDG_DATA_HOME="$home/data" XDG_RUNTIME_DIR="$home/runtime" TLM_DEFAULT_DATA_DIR="$home/db" "$bin" "$@"
}

# The program's version is the upstream part of the package's.
shown=$(run --version) || fail "--version ended with $?"
[[ $shown == "tlm-manager "* && $version == "${shown#tlm-manager }"* ]] ||
  fail "--version says \"$shown\", the package is $version"
run report --help >"$tmp/help.txt" || fail "report --help ended with $?"
grep -q '^Usage: tlm-manager report' "$tmp/help.txt" || fail "report --help: $(head -1 "$tmp/help.txt")"

run demo >"$tmp/demo.txt" 2>&1 || fail "demo ended with $?: $(cat "$tmp/demo.txt")"
grep -q '^Added 12 projects' "$tmp/demo.txt" || fail "demo: $(cat "$tmp/demo.txt")"
[ -f "$home/db/Tallyloom.db" ] || fail "demo made no database in TLM_DEFAULT_DATA_DIR"
run report --type tasks --from "$(date -d '-1 year' +%F)" --to "$(date +%F)" \
  --fields "Subject,Actual Work,Total Cost,Reported By" --format txt --out "$tmp/tasks.txt" 2>"$tmp/err.txt" ||
  fail "report ended with $?: $(cat "$tmp/err.txt")"
rows=$(wc -l <"$tmp/tasks.txt" 2>/dev/null || echo 0)
[ "$rows" -gt 100 ] || fail "the report of a year of demo tasks has $rows lines"
head -1 "$tmp/tasks.txt" | grep -q 'Subject' || fail "the report has no Subject column: $(head -1 "$tmp/tasks.txt")"

# The installed completion offers the periods the program takes (all but the date range).
run report --period bogus --out - --fields Subject 2>"$tmp/err.txt"
periods=$(sed -n 's/.*the periods are: //p' "$tmp/err.txt" | tr ',' '\n' | sed 's/^ //' | grep -v '\.\.$' | sort)
[ -n "$periods" ] || fail "an unknown period lists no periods: $(cat "$tmp/err.txt")"
for tool in report remind; do
  offered=$(bash -c 'source "$1"; COMP_WORDS=(tlm-manager "$2" --period ""); COMP_CWORD=3
    _tlm_manager 2>/dev/null; printf "%s\n" "${COMPREPLY[@]}"' bash \
    "$root/usr/share/bash-completion/completions/tlm-manager" "$tool" | sort)
  [ "$offered" = "$periods" ] || fail "$tool --period completes to [$offered], the program takes [$periods]"
done

# Each menu entry opens the section the --help table names for it; its icon is in the package.
desktops=("$root"/usr/share/applications/*.desktop)
[ ${#desktops[@]} -eq 4 ] || fail "${#desktops[@]} menu entries, expected Review, Reports, Search, Settings"
desktop-file-validate "${desktops[@]}" || fail "desktop-file-validate"
table=$(run --help)
for entry in Review Reports Search Settings; do
  file=$(ls "$root"/usr/share/applications/*."$entry".desktop 2>/dev/null)
  [ -n "$file" ] || { fail "no menu entry for $entry"; continue; }
  section=$(sed -n 's/^Exec=tlm-manager \([0-9]*\)$/\1/p' "$file" | head -1)
  grep -Eq "^ +$section  .*\b$entry\b" <<<"$table" || fail "$entry runs section \"$section\", which is not $entry"
  icon=$(sed -n 's/^Icon=//p' "$file")
  [ -f "$root/usr/share/icons/hicolor/scalable/apps/$icon.svg" ] || fail "$entry: icon $icon is not in the package"
done
metainfo=("$root"/usr/share/metainfo/*.metainfo.xml)
[ ${#metainfo[@]} -eq 1 ] || fail "${#metainfo[@]} metainfo files"
# The tree check also finds the menu entries and the icon the metadata names.
appstreamcli validate-tree --no-net "$root" || fail "appstreamcli validate-tree"

MANWIDTH=80 man -l "$root/usr/share/man/man1/tlm-manager.1.gz" 2>&1 | grep -q '^NAME' || fail "man -l shows no NAME"

if [ $failures -gt 0 ]; then
  echo "check_package: $failures failures"
  exit 1
fi
echo "check_package: $version passes"
