#!/usr/bin/env bash
# Resampled resize and rotation: vivark against libvips, ImageMagick 6 and
# GraphicsMagick, whole processes side by side on one 2560 x 1600 photo-like
# picture, every tool on one thread.
#
# Usage: bench/ops/resize-bench.sh [BUILD_DIR]   (default build/release)
#
# Three jobs: to 50% and to 1000 x 625 through a Mitchell filter, and a turn
# by 10 degrees with bicubic (vivark: Mitchell) resampling. Input and output
# are binary PPM for every tool, so that no compression codec dominates the
# time; each time is the best of five runs of the whole command (read,
# operate, write), counted as processor time (user + system, every thread of
# the process), which a busy shared machine does not inflate the way it does
# wall time; the wall time of the same best run is shown beside it. The ratio
# is the peer's processor time over vivark's: above 1, vivark is faster.
# Threads: VIPS_CONCURRENCY=1, ImageMagick -limit thread 1, GraphicsMagick
# OMP_NUM_THREADS=1; vivark always uses one.
set -euo pipefail

root=$(cd "$(dirname "$0")/../.." && pwd)
build=${1:-$root/build/release}
vivark=$build/app/vivark
if [[ ! -x $vivark ]]; then
  echo "resize-bench: $vivark is missing; build the vivark target first" >&2
  exit 1
fi
for tool in vips convert-im6.q16 gm; do
  if ! command -v $tool >/dev/null; then
    echo "resize-bench: $tool is missing; run scripts/setup.sh" >&2
    exit 1
  fi
done
export VIPS_CONCURRENCY=1 OMP_NUM_THREADS=1

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
picture=$work/photo.ppm
convert-im6.q16 -size 2560x1600 -seed 11 plasma:fractal -blur 0x1.5 \
  -fill '#f0d040' -draw "circle 1800,500 1800,700" \
  -seed 11 -attenuate 0.4 +noise Gaussian -depth 8 "$picture"

# best_time JOB TOOL: "CPU WALL" seconds of the run with the least processor
# time among five.
best_time() {
  local best= times=$work/times
  for ((i = 0; i < 5; ++i)); do
    /usr/bin/time -o "$times" -f "%U %S %e" bash -c "$(declare -f "$2_job"); $2_job \"\$1\"" \
      _ "$1" >/dev/null 2>&1
    best=$(awk -v b="$best" '{ t = $1 + $2; w = $3 }
      END{ split(b, o, " "); if (b == "" || t < o[1]) print t, w; else print b }' "$times")
  done
  echo "$best"
}

out=$work/out.ppm
# The same three jobs in each tool's words.
jobs=("50%" "1000x625" "rotate 10")
vivark_job() {
  case $1 in
    "50%") "$vivark" convert "$picture" "$out" --resize 50% ;;
    "1000x625") "$vivark" convert "$picture" "$out" --resize 1000x625 ;;
    "rotate 10") "$vivark" convert "$picture" "$out" --rotate 10 ;;
  esac
}
vips_job() {
  case $1 in
    "50%") vips resize "$picture" "$out" 0.5 --kernel mitchell ;;
    "1000x625") vips resize "$picture" "$out" 0.390625 --kernel mitchell ;;
    "rotate 10") vips similarity "$picture" "$out" --angle 10 \
      --interpolate bicubic ;;
  esac
}
im_job() {
  case $1 in
    "50%") convert-im6.q16 -limit thread 1 "$picture" -filter Mitchell -resize 50% "$out" ;;
    "1000x625") convert-im6.q16 -limit thread 1 "$picture" -filter Mitchell \
      -resize 1000x625 "$out" ;;
    "rotate 10") convert-im6.q16 -limit thread 1 "$picture" -rotate 10 "$out" ;;
  esac
}
gm_job() {
  case $1 in
    "50%") gm convert "$picture" -filter Mitchell -resize 50% "$out" ;;
    "1000x625") gm convert "$picture" -filter Mitchell -resize 1000x625 "$out" ;;
    "rotate 10") gm convert "$picture" -rotate 10 "$out" ;;
  esac
}

export picture out vivark
printf '2560x1600 PPM in, PPM out; best of 5 whole-process runs, one thread each.\n'
printf 'processor seconds (wall seconds)\n'
printf '%-10s %15s %15s %15s %15s   %s\n' job vivark vips im6 gm \
  'ratio (peer / vivark processor time)'
for job in "${jobs[@]}"; do
  read -r cv wv <<<"$(best_time "$job" vivark)"
  read -r cvips wvips <<<"$(best_time "$job" vips)"
  read -r cim wim <<<"$(best_time "$job" im)"
  read -r cgm wgm <<<"$(best_time "$job" gm)"
  printf '%-10s %6.2f (%6.2f) %6.2f (%6.2f) %6.2f (%6.2f) %6.2f (%6.2f)   vips %.2f  im6 %.2f  gm %.2f\n' \
    "$job" "$cv" "$wv" "$cvips" "$wvips" "$cim" "$wim" "$cgm" "$wgm" \
    "$(awk -v a="$cvips" -v b="$cv" 'BEGIN{print a/b}')" \
    "$(awk -v a="$cim" -v b="$cv" 'BEGIN{print a/b}')" \
    "$(awk -v a="$cgm" -v b="$cv" 'BEGIN{print a/b}')"
done
