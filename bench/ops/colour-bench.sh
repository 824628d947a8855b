#!/usr/bin/env bash
# 24-bit to 256-colour reduction: vivark against ImageMagick 6 (-colors) and
# netpbm's median cut (pnmquant) on one photo-like picture, time and mean
# squared error side by side.
#
# Usage: bench/ops/colour-bench.sh [BUILD_DIR]   (default build/release)
#
# The picture (1920 x 1280) is made deterministically with ImageMagick: a
# blurred fractal plasma sky under a radial fall-off, a shaded ground, a
# bright disc and light Gaussian noise. Every result is written as GIF and
# compared with the original by `compare -metric MSE`; the MSE printed is per
# channel in 8-bit units (the normalised figure x 255^2). Times are the best
# of three runs of the whole command (read, reduce, write GIF; netpbm, much
# slower, runs once and writes PPM). ImageMagick may use several threads;
# vivark uses one.
set -euo pipefail

root=$(cd "$(dirname "$0")/../.." && pwd)
build=${1:-$root/build/release}
vivark=$build/app/vivark
if [[ ! -x $vivark ]]; then
  echo "colour-bench: $vivark is missing; build the vivark target first" >&2
  exit 1
fi

missing=()
command -v convert-im6.q16 >/dev/null && command -v compare-im6.q16 >/dev/null ||
  missing+=(imagemagick-6.q16)
command -v pnmquant >/dev/null || missing+=(netpbm)
if ((${#missing[@]})); then
  echo "colour-bench: installing ${missing[*]}"
  if [[ $(id -u) -ne 0 ]]; then sudo=sudo; else sudo=; fi
  export DEBIAN_FRONTEND=noninteractive
  $sudo apt-get update -qq
  $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
picture=$work/picture.ppm
convert-im6.q16 -size 1920x1280 -seed 7 plasma:fractal -blur 0x2 \
  \( -size 1920x1280 radial-gradient:'#ffffff'-'#707070' \) -compose multiply -composite \
  \( -size 1920x420 gradient:'#4d8a3e'-'#0c2208' \) -geometry +0+860 -compose over -composite \
  -fill '#e06030' -draw "circle 1400,400 1400,560" -blur 0x1.5 \
  -seed 7 -attenuate 0.3 +noise Gaussian -depth 8 "$picture"

# best_time RUNS COMMAND...: runs the command RUNS times, prints the least
# wall time in seconds.
best_time() {
  local best= runs=$1
  shift
  for ((i = 0; i < runs; ++i)); do
    local start end
    start=$(date +%s.%N)
    "$@" >/dev/null
    end=$(date +%s.%N)
    best=$(awk -v b="$best" -v t="$(awk -v s="$start" -v e="$end" 'BEGIN{print e-s}')" \
      'BEGIN{ if (b == "" || t < b) print t; else print b }')
  done
  echo "$best"
}

mse() {
  local normalised
  # compare prints "MSE (normalised MSE)" on stderr and exits 1 when the
  # images differ.
  normalised=$({ compare-im6.q16 -metric MSE "$picture" "$1" null: 2>&1 || true; } |
    sed -n 's/.*(\(.*\)).*/\1/p')
  awk -v n="$normalised" 'BEGIN{printf "%.2f", n * 65025}'
}

colours() {
  identify-im6.q16 -format '%k' "$1"
}

printf '%-44s %8s %8s %8s\n' "method (1920x1280, 256 colours, to GIF)" "time s" "MSE" "colours"
row() {
  local name=$1 out=$2
  shift 2
  local t
  t=$(best_time "${RUNS:-3}" "$@")
  printf '%-44s %8.3f %8s %8s\n' "$name" "$t" "$(mse "$out")" "$(colours "$out")"
}
row "vivark adaptive, diffusion" "$work/a.gif" \
  "$vivark" convert "$picture" "$work/a.gif" --colors 256 --palette adaptive --dither diffusion
row "vivark adaptive, no dither" "$work/b.gif" \
  "$vivark" convert "$picture" "$work/b.gif" --colors 256 --palette adaptive --dither none
row "vivark 8x8x4 cube, ordered" "$work/c.gif" \
  "$vivark" convert "$picture" "$work/c.gif" --colors 256 --palette 884 --dither ordered
row "vivark system palette, diffusion" "$work/d.gif" \
  "$vivark" convert "$picture" "$work/d.gif" --colors 256 --palette system --dither diffusion
row "ImageMagick -colors 256 (default dither)" "$work/e.gif" \
  convert-im6.q16 "$picture" -colors 256 "$work/e.gif"
row "ImageMagick -dither None -colors 256" "$work/f.gif" \
  convert-im6.q16 "$picture" -dither None -colors 256 "$work/f.gif"
row "ImageMagick -dither FloydSteinberg" "$work/g.gif" \
  convert-im6.q16 "$picture" -dither FloydSteinberg -colors 256 "$work/g.gif"
row "copy to GIF of the reduced image (baseline)" "$work/h.gif" \
  "$vivark" convert "$work/b.gif" "$work/h.gif"
RUNS=1 row "netpbm pnmquant -nofloyd 256 (median cut)" "$work/i.ppm" \
  sh -c 'pnmquant -nofloyd 256 "$1" >"$2" 2>/dev/null' sh "$picture" "$work/i.ppm"
RUNS=1 row "netpbm pnmquant -floyd 256 (median cut)" "$work/j.ppm" \
  sh -c 'pnmquant -floyd 256 "$1" >"$2" 2>/dev/null' sh "$picture" "$work/j.ppm"
