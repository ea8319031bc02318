#!/usr/bin/env bash
# Many small scenes, three ways: one `kvlexp export` after another, as a
# naive script runs them; `kvlexp export --each --jobs N`; and a Ninja build
# made by kvl_export_scenes (the installed CMake module). Prints each wall
# time, and checks that the three ways wrote the same bytes.
#
#   bench/many_scenes.sh [BUILD_DIR] [SCENES] [JOBS]     (default build 200 2)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "${1:-$root/build}" && pwd)
count=${2:-200}
jobs=${3:-2}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Scenes of a few nodes each, all different: a box per node, moved and
# scaled by the scene's number.
mkdir -p "$work/scenes"
python3 - "$work/scenes" "$count" <<'PY'
import json, sys
folder, count = sys.argv[1], int(sys.argv[2])
box = [[x, y, z] for z in (0, 1) for y in (0, 1) for x in (0, 1)]
faces = [[0, 2, 3], [0, 3, 1], [4, 5, 7], [4, 7, 6], [0, 1, 5], [0, 5, 4],
         [2, 6, 7], [2, 7, 3], [0, 4, 6], [0, 6, 2], [1, 3, 7], [1, 7, 5]]
for i in range(count):
    nodes = []
    for k in range(1 + i % 5):
        s = 1 + (i + k) % 7
        nodes.append({"name": "Box%d" % k, "material": "paint",
                      "transform": {"position": [k * 2.0, i * 0.5, 0]},
                      "object": {"type": "mesh", "vertices": [[c * s for c in v] for v in box],
                                 "faces": [{"v": f, "smoothing": 1 << (j // 2)} for j, f in enumerate(faces)]}})
    scene = {"format": "kvl-scene", "version": 1,
             "materials": {"paint": {"type": "standard", "diffuse": [(i % 10) / 10, 0.5, 0.25]}},
             "nodes": nodes}
    with open("%s/scene%03d.json" % (folder, i), "w") as f:
        json.dump(scene, f)
PY
kvlexp=$build/kvlexp
seconds() { date +%s.%N; }
elapsed() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", b - a }'; }

mkdir -p "$work/one-by-one"
start=$(seconds)
for scene in "$work"/scenes/*.json; do
  (cd "$work/one-by-one" && "$kvlexp" export "$scene" "$(basename "$scene" .json).kvl" --set displaylog=0 >/dev/null)
done
single=$(elapsed "$start" "$(seconds)")

mkdir -p "$work/each"
cp "$work/one-by-one/kvlexp.ini" "$work/each/"
start=$(seconds)
(cd "$work/each" && "$kvlexp" export --each "$work"/scenes/*.json --out-dir . --jobs "$jobs" >/dev/null 2>"$work/each.log") || { cat "$work/each.log" >&2; exit 1; }
each=$(elapsed "$start" "$(seconds)")

cmake --install "$build" --prefix "$work/prefix" >/dev/null
mkdir -p "$work/project"
{
  echo 'cmake_minimum_required(VERSION 3.25)'
  echo 'project(many NONE)'
  echo 'find_package(kvlexp REQUIRED)'
  echo 'file(GLOB scenes ${CMAKE_CURRENT_SOURCE_DIR}/../scenes/*.json)'
  echo 'kvl_export_scenes(TARGET scenes SCENES ${scenes} OUTPUT_DIR kvl SETTINGS ../each/kvlexp.ini)'
} >"$work/project/CMakeLists.txt"
cmake -S "$work/project" -B "$work/ninja" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
start=$(seconds)
ninja -C "$work/ninja" -j "$jobs" >/dev/null
ninja_build=$(elapsed "$start" "$(seconds)")
start=$(seconds)
ninja -C "$work/ninja" -j "$jobs" >/dev/null
ninja_again=$(elapsed "$start" "$(seconds)")

for output in "$work"/one-by-one/*.kvl; do
  name=$(basename "$output")
  cmp -s "$output" "$work/each/$name" || { echo "many_scenes: $name differs under --each" >&2; exit 1; }
  cmp -s "$output" "$work/ninja/kvl/$name" || { echo "many_scenes: $name differs in the Ninja build" >&2; exit 1; }
done

echo "$count scenes on $(nproc) cores, $jobs at a time (same bytes all three ways)"
echo "| run | wall |"
echo "|---|---|"
echo "| one kvlexp export after another | $single s |"
echo "| kvlexp export --each --jobs $jobs | $each s |"
echo "| Ninja build (kvl_export_scenes), -j $jobs | $ninja_build s |"
echo "| the same Ninja build again, nothing changed | $ninja_again s |"
