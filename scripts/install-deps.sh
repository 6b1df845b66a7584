#!/usr/bin/env bash
# Installs every Debian package the product, its tests and its benchmarks need.
# Idempotent: when all packages are present it does nothing and touches no network.
set -euo pipefail

packages=(
  build-essential cmake pkg-config clang-format
  qt6-base-dev qt6-base-dev-tools libqt6sql6-sqlite libqt6sql6-psql libqt6sql6-odbc
  libqt6printsupport6 libqt6opengl6-dev libgl-dev
  libcurl4-openssl-dev libxlsxwriter-dev libldap-dev libgmime-3.0-dev
  slapd ldap-utils openssl postgresql python3-aiosmtpd
  xvfb xauth libgtest-dev libgmock-dev googletest libbenchmark-dev
  unixodbc unixodbc-dev tdsodbc poppler-utils
  python3-openpyxl sqlite3
  # the fuzz targets (scripts/fuzz.sh): clang with libFuzzer and its sanitizer runtimes; SQLite's
  # own statement reader for the cross-check of the one-statement test, and the library the cursor
  # steps large SQLite reads through
  clang libclang-rt-14-dev libsqlite3-dev
  # tools for scripts/screenshots.sh: drives the screens under Xvfb and saves the pictures
  xdotool imagemagick
  # the Debian package (make package; CPack writes root-owned files itself, no fakeroot) and its
  # test: dpkg-shlibdeps for the dependencies, lintian, the menu entries, the metadata, the man page
  dpkg-dev lintian desktop-file-utils appstream man-db groff-base
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "install-deps: installing ${missing[*]}"
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
# slapd asks questions and starts a system server on install; neither is wanted here.
echo "slapd slapd/no_configuration boolean true" | $SUDO debconf-set-selections
$SUDO apt-get update -q
$SUDO apt-get install -y -q --no-install-recommends "${missing[@]}"
