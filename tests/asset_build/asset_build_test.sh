#!/usr/bin/env bash
# examples/asset-build configured and built with CMake and Ninja against
# kvlexp installed from this build, as a game team's build uses it: the
# first build exports every scene, a build with no change runs nothing,
# touching one scene's material library exports that scene alone, the same
# settings touched export nothing while new values export everything, and
# two builds in different folders write the same bytes.
set -euo pipefail
build_dir=$1 source_dir=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "asset_build: $*" >&2; exit 1; }

cmake --install "$build_dir" --prefix "$work/prefix" >/dev/null
for copy in one two; do
  mkdir -p "$work/$copy"
  cp -r "$source_dir/examples" "$work/$copy/"
  cmake -S "$work/$copy/examples/asset-build" -B "$work/$copy/build" -G Ninja \
    -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
  ninja -C "$work/$copy/build" >"$work/$copy/build.log" || { cat "$work/$copy/build.log"; fail "$copy: the build failed"; }
done
examples=$work/one/examples
kvl=$work/one/build/kvl

# What each build ran: the commands' descriptions, one per line.
exports() { ninja -C "$work/one/build" | sed -n 's/^\[[0-9]*\/[0-9]*\] //p'; }
expect_run() {
  local got
  got=$(exports)
  [ "$got" = "$2" ] || fail "$1: expected to run [$2], ran [$got]"
}

for file in crate.kvl demo.kvl model.kvl model_texture0.png kvlexp.ini; do
  cmp -s "$kvl/$file" "$work/two/build/kvl/$file" || fail "$file differs between two build folders"
done
for file in crate.kvl demo.kvl model.kvl; do
  "$work/prefix/bin/kvlexp" validate "$kvl/$file" >/dev/null || fail "$file does not validate"
done
expected_deps="$kvl/crate.kvl: \\
  $examples/crate.obj \\
  $examples/crate.mtl \\
  $kvl/kvlexp.ini"
[ "$(cat "$kvl/crate.kvl.d")" = "$expected_deps" ] || fail "crate.kvl.d: $(cat "$kvl/crate.kvl.d")"

expect_run "a build with no change" ""
before=$(stat -c '%n %y' "$kvl/demo.kvl" "$kvl/model.kvl")
touch "$examples/crate.mtl"
expect_run "crate.mtl touched" "Exporting ../crate.obj to crate.kvl"
[ "$(stat -c '%n %y' "$kvl/demo.kvl" "$kvl/model.kvl")" = "$before" ] || fail "outputs of untouched scenes were written"
touch "$examples/asset-build/kvlexp.ini"
expect_run "the settings touched, not changed" "Settings for the scenes of assets"
sed -i 's/^scale = .*/scale = 2.000000/' "$examples/asset-build/kvlexp.ini"
ran=$(exports | sort)
[ "$ran" = "$(printf '%s\n' 'Exporting ../crate.obj to crate.kvl' 'Exporting ../demo.json to demo.kvl' \
  'Exporting ../model.gltf to model.kvl' 'Settings for the scenes of assets')" ] || fail "new settings ran [$ran]"
grep -qx 'scale = 2.000000' "$kvl/kvlexp.ini" || fail "the new settings did not reach the outputs' folder"
expect_run "a build after that" ""
echo "asset_build: all checks passed"
