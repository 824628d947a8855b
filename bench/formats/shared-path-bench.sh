#!/usr/bin/env bash
# The shared load path as whole processes: vivark converting a 2560 x 1600
# photo to PPM from JPEG, GIF and PNG, side by side with libjpeg-turbo's
# djpeg, netpbm's giftopnm and pngtopnm doing the same, in one run. Prints
# the median wall time of each command over RUNS runs and the ratio
# vivark / peer (below 1.0: vivark is faster).
#
# Usage: bench/formats/shared-path-bench.sh [BUILD_DIR]   (default build/release)
# The picture is made with ImageMagick (a blurred fractal plasma), then
# encoded by cjpeg -quality 90, by ImageMagick as PNG and as a 256-colour GIF.
set -euo pipefail

root=$(cd "$(dirname "$0")/../.." && pwd)
build=${1:-$root/build/release}
vivark=$build/app/vivark
runs=${RUNS:-7}
[[ -x $vivark ]] || { echo "shared-path-bench: $vivark is missing" >&2; exit 1; }
for tool in convert-im6.q16 cjpeg djpeg giftopnm pngtopnm; do
  command -v $tool >/dev/null || { echo "shared-path-bench: $tool is missing (scripts/setup.sh)" >&2; exit 1; }
done

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
convert-im6.q16 -seed 7 -size 2560x1600 plasma:fractal -blur 0x1 "$work/photo.ppm"
cjpeg -quality 90 "$work/photo.ppm" > "$work/photo.jpg"
convert-im6.q16 "$work/photo.ppm" "$work/photo.png"
convert-im6.q16 "$work/photo.ppm" -colors 256 "$work/photo.gif"

# The median of RUNS wall times of a command whose standard output goes to
# the file OUT, in seconds: median OUT COMMAND... Each run writes new files
# (the outputs of the run before are removed first, outside the timing):
# replacing an existing file costs both sides a file-system flush that
# differs from one file system to another and would drown the decoding.
median() {
  local out=$1 times=()
  shift
  for ((i = 0; i < runs; ++i)); do
    local start end
    rm -f "$work/out.ppm" "$work/peer.ppm"
    start=$(date +%s.%N)
    "$@" > "$out"
    end=$(date +%s.%N)
    times+=("$(echo "$end - $start" | bc)")
  done
  printf '%s\n' "${times[@]}" | sort -n | awk '{a[NR]=$1} END {print a[int((NR+1)/2)]}'
}

printf '%-6s %12s %12s %8s\n' input vivark peer ratio
for kind in jpg gif png; do
  case $kind in
    jpg) peer=(djpeg -pnm "$work/photo.jpg") ;;
    gif) peer=(giftopnm "$work/photo.gif") ;;
    png) peer=(pngtopnm "$work/photo.png") ;;
  esac
  ours=$(median /dev/null "$vivark" convert "$work/photo.$kind" "$work/out.ppm")
  theirs=$(median "$work/peer.ppm" "${peer[@]}")
  printf '%-6s %11.3fs %11.3fs %8.2f\n' "$kind" "$ours" "$theirs" "$(echo "$ours / $theirs" | bc -l)"
done
