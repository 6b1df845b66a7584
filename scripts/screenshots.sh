#!/usr/bin/env bash
# Takes the README's screenshots again: a throwaway settings folder and database filled with the demo
# data, a virtual display (Xvfb), each daily screen opened at the first start's size (800x533) and at
# a large one (1280x800), in the light and the dark palette (TLM_PALETTE), driven with xdotool where
# it needs input, and saved with imagemagick's `import` as docs/screen-<name>-<size>-<palette>.png.
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
unset QT_QPA_PLATFORM QT_QPA_PLATFORMTHEME

display=:$((90 + RANDOM % 400))
Xvfb "$display" -screen 0 1400x900x24 -nolisten tcp > "$work/xvfb.log" 2>&1 &
xvfb=$!
export DISPLAY=$display
sleep 2

"$bin" demo

# open SECTION WIDTH HEIGHT: starts the screen and leaves its window, moved to the corner at that
# size, in $win. The controls used below sit at the top left, where a larger window keeps them.
open() {
  "$bin" "$1" > "$work/screen-$1.log" 2>&1 &
  app=$!
  win=$(timeout 120 xdotool search --sync --onlyvisible --pid "$app" | head -1)
  xdotool windowmove "$win" 0 0
  xdotool windowsize "$win" "$2" "$3"
  sleep 2
}
click() { xdotool mousemove --window "$win" "$1" "$2" click 1; sleep "${3:-0.4}"; }
keys() { xdotool key --window "$win" --delay 60 "$@"; sleep 0.4; }
# Types a word into the focused list (its type-ahead finds the entry) and ticks the entry with Space.
tick() { xdotool type --window "$win" --delay 40 "$1"; sleep 0.2; keys space; sleep 0.5; }
# Waits until the screen's work is done: the program has used no processor time for a second (at
# most two minutes; a report of a year runs a while under the sanitizers).
settle() {
  local prev=-1 now
  sleep 1
  for _ in $(seq 120); do
    now=$(awk '{print $14 + $15}' "/proc/$app/stat")
    [ "$now" = "$prev" ] && break
    prev=$now
    sleep 1
  done
}
shot() {
  sleep 1
  import -window "$win" -strip -colors 256 "PNG8:$out/$1.png"   # a palette keeps the files small
  kill "$app"
  wait "$app" 2> /dev/null || true
  app=""
  echo "screenshots: $out/$1.png"
}

for palette in light dark; do
  export TLM_PALETTE=$palette
  for size in 800x533 1280x800; do
    w=${size%x*}
    h=${size#*x}
    tag=$size-$palette

    open 22 "$w" "$h"           # review: OK (the default button) loads the unapproved timesheets
    keys Return
    settle
    shot "screen-review-$tag"

    open 20 "$w" "$h"           # search: a keyword, Search, the first result previewed
    click 113 111
    xdotool type --delay 20 "floor"
    keys Return
    settle
    click 300 92 2
    shot "screen-search-$tag"

    open 21 "$w" "$h"           # reports: this year's appointments with a few fields and the chart
    click 146 165 1
    keys Down Down Down Down Down Down Return   # This Year
    click 60 292                # the field list (its first entry), then the fields by their names
    for field in Duration Subject Project Total; do tick "$field"; done
    click 100 $((h - 21))       # Generate Report
    settle
    shot "screen-reports-$tag"

    open 3 "$w" "$h"            # the members list
    shot "screen-members-$tag"
    open 4 "$w" "$h"            # the notification templates
    shot "screen-templates-$tag"
  done
done

export TLM_PALETTE=light
open 25 800 533                 # an option panel, for the README
shot screen-reporting-options-800x533-light
