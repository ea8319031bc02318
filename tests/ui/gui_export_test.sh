#!/usr/bin/env bash
# `kvlexp export --gui` as a user runs it. Without a display it must fail at
# once with one line and touch nothing. On a display (run it through
# with_xvfb.sh) xdotool types into the real options window through the X
# server's test extension, presses Return for OK, closes the log window the
# same way, and the output file must be there with the typed setting kept.
# Usage: gui_export_test.sh KVLEXP SCENE WORKDIR
set -euo pipefail
kvlexp=$(realpath "$1") scene=$(realpath "$2") work=$3
rm -rf "$work" && mkdir -p "$work/c"
# The settings file is made beside the output when a Windows path names a
# folder; for this one it lands in the working folder.
cd "$work"
fail() { echo "gui_export_test: $*" >&2; exit 1; }

# No display: one clear line, a non-zero exit, no output file.
set +e
message=$(env -u DISPLAY "$kvlexp" export "$scene" "$work/none.kvl" --gui --drive-c "$work/c" 2>&1)
status=$?
set -e
[ "$status" -ne 0 ] || fail "--gui with no display exited 0"
[[ "$message" == "kvlexp: --gui needs a display"* ]] || fail "unexpected message: $message"
[ "$(printf '%s\n' "$message" | wc -l)" -eq 1 ] || fail "more than one line: $message"
[ ! -e "$work/none.kvl" ] || fail "an output file was written with no display"

[ -n "${DISPLAY:-}" ] || fail "no DISPLAY for the window half (run through with_xvfb.sh)"
command -v xdotool >/dev/null || fail "xdotool is not installed (scripts/setup installs it)"

"$kvlexp" export "$scene" "$work/out.kvl" --gui --drive-c "$work/c" >"$work/stdout" 2>"$work/stderr" &
program=$!
trap 'kill $program 2>/dev/null || true' EXIT

window=$(xdotool search --sync --name '^KVLExp Options$' | head -n1)
# The dialog opens with OK focused; six Tabs along the template's order
# (Cancel, three enabled check boxes, the scale box) reach the sample rate.
xdotool windowfocus --sync "$window"
sleep 0.3
for _ in 1 2 3 4 5 6; do xdotool key Tab; done
xdotool key End BackSpace BackSpace BackSpace
xdotool type 4
xdotool key Return

log=$(xdotool search --sync --name '^Dialog$' | head -n1)
xdotool windowfocus --sync "$log"
sleep 0.3
xdotool key Return

status=0
wait "$program" || status=$?
trap - EXIT
[ "$status" -eq 0 ] || fail "kvlexp exited $status: $(cat "$work/stderr")"
[ -s "$work/out.kvl" ] || fail "no output file"
ini="$work/kvlexp.ini"
[ -f "$ini" ] || fail "no settings file was written after OK"
grep -qx 'samplerate = 4' "$ini" || fail "samplerate 4 not stored in $ini: $(cat "$ini")"
echo "gui export: 1 passed, 0 failed"
