#!/usr/bin/env bash
# Runs a command on a display of its own: starts Xvfb on a free display
# number, runs the command with DISPLAY set to it, and stops the server.
# Listing a test program's cases needs no display, so that runs directly.
set -euo pipefail

for arg in "$@"; do
  if [ "$arg" = "--gtest_list_tests" ]; then exec "$@"; fi
done

if ! command -v Xvfb >/dev/null; then
  echo "with_xvfb.sh: Xvfb is not installed (scripts/setup installs it)" >&2
  exit 1
fi

numberFile=$(mktemp)
# Xvfb picks a free display number itself and writes it once it accepts
# connections.
Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp -noreset 3>"$numberFile" 2>/dev/null &
server=$!
cleanup() {
  kill "$server" 2>/dev/null || true
  wait "$server" 2>/dev/null || true
  rm -f "$numberFile"
}
trap cleanup EXIT

for _ in $(seq 1 100); do
  [ -s "$numberFile" ] && break
  if ! kill -0 "$server" 2>/dev/null; then
    echo "with_xvfb.sh: Xvfb did not start" >&2
    exit 1
  fi
  sleep 0.05
done
if [ ! -s "$numberFile" ]; then
  echo "with_xvfb.sh: Xvfb did not report a display within 5 seconds" >&2
  exit 1
fi

export DISPLAY=":$(head -n1 "$numberFile")"
status=0
"$@" || status=$?
exit "$status"
