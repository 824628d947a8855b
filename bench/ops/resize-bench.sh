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
# operate, write). The ratio is the peer's time over vivark's: above 1,
# vivark is faster. Threads: VIPS_CONCURRENCY=1, ImageMagick -limit thread 1,
# GraphicsMagick OMP_NUM_THREADS=1; vivark always uses one.
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

# best_time COMMAND...: the least wall time of five runs, in seconds.
best_time() {
  local best=
  for ((i = 0; i < 5; ++i)); do
    local start end
    start=$(date +%s.%N)
    "$@" >/dev/null 2>&1
    end=$(date +%s.%N)
    best=$(awk -v b="$best" -v s="$start" -v e="$end" \
      'BEGIN{ t = e - s; if (b == "" || t < b) print t; else print b }')
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

printf '2560x1600 PPM in, PPM out; best of 5 whole-process runs, one thread each.\n'
printf '%-10s %9s %9s %9s %9s   %s\n' job vivark vips im6 gm \
  'ratio (peer time / vivark time)'
for job in "${jobs[@]}"; do
  tv=$(best_time vivark_job "$job")
  tvips=$(best_time vips_job "$job")
  tim=$(best_time im_job "$job")
  tgm=$(best_time gm_job "$job")
  printf '%-10s %8.3fs %8.3fs %8.3fs %8.3fs   vips %.2f  im6 %.2f  gm %.2f\n' "$job" \
    "$tv" "$tvips" "$tim" "$tgm" \
    "$(awk -v a="$tvips" -v b="$tv" 'BEGIN{print a/b}')" \
    "$(awk -v a="$tim" -v b="$tv" 'BEGIN{print a/b}')" \
    "$(awk -v a="$tgm" -v b="$tv" 'BEGIN{print a/b}')"
done
