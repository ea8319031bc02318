#!/usr/bin/env bash
# kvlexp beside the tools a user would otherwise reach for, in one run:
#
#   - the grid of make_ply.py (one million triangles; normals, texture
#     coordinates and colours per vertex), saved as GLB by `assimp export`:
#     `kvlexp export big.glb out.kvl` and Debian's `gltfpack -noq`;
#   - glTF chains of 50 and 400 nested nodes, each with one rotation track
#     (make_chain.py): `kvlexp export` on both, and Assimp's own conversion
#     of the 400-deep one (`assimp export chain400.gltf x.gltf`).
#
# Every run is a whole process as a user starts it (kvlexp with its
# isolation on), RUNS times, the runs taking turns; the table shows min–max of wall time and of
# peak memory (GNU time's maximum resident set, the isolated export's child
# included). Ratios are of the minimums. Time per node leaves out the time
# of a chain one node deep, which is what any scene costs to start, load
# and write; wall times come from the shell's microsecond clock, since GNU
# time rounds to 10 ms and a 50-deep chain takes a few of those.
#
#   bench/compare_peers.sh [BUILD_DIR] [RUNS]     (default build 5)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "${1:-$root/build}" && pwd)
runs=${2:-5}
kvlexp=$build/kvlexp

for tool in gltfpack assimp python3; do
  command -v "$tool" >/dev/null || { echo "compare_peers: $tool is missing (scripts/setup installs it)" >&2; exit 1; }
done
[ -x /usr/bin/time ] || { echo "compare_peers: /usr/bin/time is missing (package time; scripts/setup installs it)" >&2; exit 1; }
[ -x "$kvlexp" ] || { echo "compare_peers: no kvlexp in $build" >&2; exit 1; }
cache=$build/CMakeCache.txt
build_type=$(sed -n 's/^CMAKE_BUILD_TYPE:[A-Z]*=//p' "$cache")
case "$build_type" in
  Release | RelWithDebInfo) ;;
  *) echo "compare_peers: $build is a '$build_type' build; time a Release or RelWithDebInfo one" >&2; exit 1 ;;
esac
if grep -q '^KVL_SANITIZE:BOOL=ON' "$cache"; then
  echo "compare_peers: $build has the sanitizers in; time a build without them" >&2
  exit 1
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
python3 "$root/bench/make_ply.py" big.ply 1000000 --uv-colours
assimp export big.ply big.glb >/dev/null
rm big.ply
for depth in 1 50 400; do python3 "$root/bench/make_chain.py" "chain$depth.gltf" "$depth"; done

# Runs the command once as the run called NAME and keeps its min and max
# wall time (seconds) and peak memory (MiB). A failing run stops the
# benchmark with its output.
declare -A min_wall max_wall min_mem max_mem
run_once() {
  local name=$1 start end wall mem
  shift
  start=$EPOCHREALTIME
  if ! /usr/bin/time -f '%e %M' -o time.txt "$@" >run.log 2>&1; then
    echo "compare_peers: failed: $*" >&2
    cat run.log >&2
    exit 1
  fi
  end=$EPOCHREALTIME
  wall=$(awk -v a="$start" -v b="$end" 'BEGIN { printf "%.3f", b - a }')
  mem=$(awk 'END { printf "%.0f", $2 / 1024 }' time.txt)
  min_wall[$name]=$(awk -v a="$wall" -v b="${min_wall[$name]:-$wall}" 'BEGIN { print (a < b ? a : b) }')
  max_wall[$name]=$(awk -v a="$wall" -v b="${max_wall[$name]:-$wall}" 'BEGIN { print (a > b ? a : b) }')
  min_mem[$name]=$(awk -v a="$mem" -v b="${min_mem[$name]:-$mem}" 'BEGIN { print (a < b ? a : b) }')
  max_mem[$name]=$(awk -v a="$mem" -v b="${max_mem[$name]:-$mem}" 'BEGIN { print (a > b ? a : b) }')
}

# The runs take turns, so that a busy spell of the machine falls on all of
# them alike rather than on whichever ran then. --set takes every word
# after it, so it comes after the scene and output.
for ((i = 0; i < runs; i++)); do
  run_once pack gltfpack -i big.glb -o out.glb -noq
  run_once big "$kvlexp" export big.glb out.kvl --set displaylog=0
  for depth in 1 50 400; do
    run_once "chain$depth" "$kvlexp" export "chain$depth.gltf" "chain$depth.kvl" --set displaylog=0
  done
  run_once assimp assimp export chain400.gltf x.gltf
done

rows=()
row() { rows+=("| \`$2\` | ${min_wall[$1]}–${max_wall[$1]} s | ${min_mem[$1]}–${max_mem[$1]} MiB |"); }
row pack "gltfpack -i big.glb -o out.glb -noq"
row big "kvlexp export big.glb out.kvl"
for depth in 1 50 400; do row "chain$depth" "kvlexp export chain$depth.gltf chain$depth.kvl"; done
row assimp "assimp export chain400.gltf x.gltf"
pack_wall=${min_wall[pack]} pack_mem=${min_mem[pack]}
big_wall=${min_wall[big]} big_mem=${min_mem[big]}
chain1_wall=${min_wall[chain1]} chain50_wall=${min_wall[chain50]} chain400_wall=${min_wall[chain400]}
assimp_wall=${min_wall[assimp]}

ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", a / b }'; }
per_node() { awk -v t="$1" -v base="$chain1_wall" -v n="$2" 'BEGIN { printf "%.3f", 1000 * (t - base) / (n - 1) }'; }
node50=$(per_node "$chain50_wall" 50)
node400=$(per_node "$chain400_wall" 400)

echo "$(nproc) cores, $(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -1); $runs runs each, min–max"
echo
echo "| run | wall | peak memory |"
echo "|---|---|---|"
printf '%s\n' "${rows[@]}"
echo
echo "| ratio (of the minimums) | value |"
echo "|---|---|"
echo "| 1M triangles, kvlexp / gltfpack, wall | $(ratio "$big_wall" "$pack_wall") |"
echo "| 1M triangles, kvlexp / gltfpack, peak memory | $(ratio "$big_mem" "$pack_mem") |"
echo "| chain 400 deep, kvlexp / assimp, wall | $(ratio "$chain400_wall" "$assimp_wall") |"
echo "| time per node beyond the first: depth 50, depth 400 | $node50 ms, $node400 ms |"
echo "| time per node, depth 400 / depth 50 | $(ratio "$node400" "$node50") |"
