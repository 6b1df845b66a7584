#!/usr/bin/env bash
# Takes the README's screenshots again: a throwaway settings folder and database filled with the demo
# data, a virtual display (Xvfb), each screen opened, driven with xdotool where it needs a click, and
# saved with imagemagick's `import` as docs/screen-*.png (1024x700).
# Usage: scripts/screenshots.sh [path of tlm-manager]   (default: build/release/src/tlm-manager)
# Needs xvfb, xdotool and imagemagick (scripts/install-deps.sh installs them).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bin=${1:-$root/build/release/src/tlm-manager}
out=$root/docs
[ -x "$bin" ] || { echo "screenshots: no program at $bin (make build-run first)" >&2; exit 1; }
for tool in Xvfb xdotool import; do
  command -v "$tool" > /dev/null || { echo "screenshots: $tool is missing (scripts/install-deps.sh)" >&2; exit 1; }
done

work=$(mktemp -d)
xvfb=""
app=""
cleanup() {
  [ -n "$app" ] && kill "$app" 2> /dev/null || true
  [ -n "$xvfb" ] && kill "$xvfb" 2> /dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT
mkdir -p "$work/config" "$work/data" "$work/share" "$work/runtime"
chmod 700 "$work/runtime"
export XDG_CONFIG_HOME=$work/config XDG_DATA_HOME=$work/share XDG_RUNTIME_DIR=$work/runtime
export TLM_DEFAULT_DATA_DIR=$work/data ASAN_OPTIONS=detect_leaks=0
unset QT_QPA_PLATFORM

display=:$((90 + RANDOM % 400))
Xvfb "$display" -screen 0 1024x700x24 -nolisten tcp > "$work/xvfb.log" 2>&1 &
xvfb=$!
export DISPLAY=$display
sleep 2

"$bin" demo

# open SECTION: starts the screen and leaves its window, moved to the corner at 1024x700, in $win.
open() {
  "$bin" "$1" > "$work/screen-$1.log" 2>&1 &
  app=$!
  win=$(timeout 120 xdotool search --sync --onlyvisible --pid "$app" | head -1)
  xdotool windowmove "$win" 0 0
  xdotool windowsize "$win" 1024 700
  sleep 2
}
click() { xdotool mousemove --window "$win" "$1" "$2" click 1; sleep "${3:-0.4}"; }
shot() {
  sleep 1
  import -window "$win" -strip -colors 256 "PNG8:$out/$1.png"   # a palette keeps the files small
  kill "$app"
  wait "$app" 2> /dev/null || true
  app=""
  echo "screenshots: $out/$1.png"
}

open 22                       # review: OK loads the unapproved timesheets
click 420 21 5
shot screen-review

open 20                       # search: a keyword, Search, the first result previewed
click 93 114
xdotool type --delay 20 "floor"
click 50 181 5
click 250 95 2
shot screen-search

open 21                       # reports: this year's appointments with a few fields and the chart
click 31 386                  # Duration
click 147 176 1
xdotool key Down Down Down Down Down Down Return   # This Year
xdotool mousemove --window "$win" 150 400
for _ in $(seq 10); do xdotool click 5; done    # the end of the field list
for y in 484 554 582 610; do click 31 "$y"; done   # Subject, Reported By, Project, Total Cost
click 157 668 8
shot screen-reports

open 3
shot screen-members
open 4
shot screen-templates
open 25
shot screen-reporting-options
