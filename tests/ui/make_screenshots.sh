#!/usr/bin/env bash
# Remakes docs/options-dialog.png and docs/log-dialog.png from the real
# windows, on a private Xvfb server with twm to draw the title bars.
# The log shown is that of a headless export of examples/demo.json.
# Usage: tests/ui/make_screenshots.sh BUILD_DIR   (kvlexp and kvl_dialog_screenshots built there)
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
docs="$here/../../docs"
build=$(realpath "${1:?usage: make_screenshots.sh BUILD_DIR}")
program="$build/tests/ui/kvl_dialog_screenshots"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

(cd "$work" && "$build/kvlexp" export "$here/../../examples/demo.json" demo.kvl --drive-c "$work/c" >log.txt)

# twm's default fonts are not in the base X fonts; "fixed" is.
cat > "$work/twmrc" <<'TWMRC'
TitleFont "fixed"
ResizeFont "fixed"
MenuFont "fixed"
IconFont "fixed"
IconManagerFont "fixed"
NoGrabServer
RandomPlacement
UsePPosition "on"
TWMRC

"$here/with_xvfb.sh" bash -c '
  twm -f "$1/twmrc" >/dev/null 2>&1 & wm=$!
  sleep 0.5
  status=0
  "$0" "$1" "$1/log.txt" || status=$?
  kill $wm 2>/dev/null || true
  exit $status
' "$program" "$work"

for name in options-dialog log-dialog; do
  xwdtopnm "$work/$name.xwd" 2>/dev/null | pnmtopng > "$docs/$name.png"
  echo "wrote docs/$name.png"
done
