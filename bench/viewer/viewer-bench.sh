#!/usr/bin/env bash
# Viewer timings: start to first pixel and to the full image for a
# 6000x4000 JPEG and a 100-megapixel PNG, and the latency of "next image"
# through a folder of such JPEGs with and without preloading.
#   bench/viewer/viewer-bench.sh [BUILD-DIR]     (default build/release)
# The images are made once (ImageMagick, vivark convert) into BUILD-DIR/bench-viewer/.
# The viewer runs on Qt's offscreen platform in a window of its default size,
# so "first pixel" is the first paint of image pixels into the window's
# backing store; each figure is the median of three runs.
set -euo pipefail
cd "$(dirname "$0")/../.."
build=${1:-build/release}
view=$build/app/viewer/vivark-view
tool=$build/app/vivark
data=$build/bench-viewer
mkdir -p "$data"
im=convert-im6.q16

if [ ! -f "$data/photo.jpg" ]; then
  echo "making a 6000x4000 JPEG..."
  $im examples/scene.png -resize '6000x4000!' -attenuate 0.4 +noise Gaussian -quality 90 "$data/photo.jpg"
fi
if [ ! -f "$data/huge.png" ]; then
  echo "making a 10000x10000 PNG..."
  # ImageMagick's default resource policy refuses 100 megapixels; our own
  # converter enlarges the photo instead.
  "$tool" convert "$data/photo.jpg" "$data/huge.png" --resize 10000x10000 >/dev/null
fi
mkdir -p "$data/folder"
for i in 1 2 3 4 5 6; do [ -e "$data/folder/p$i.jpg" ] || ln "$data/photo.jpg" "$data/folder/p$i.jpg"; done

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export QT_QPA_PLATFORM=offscreen VIVARK_LOG=off VIVARK_CONFIG_HOME=$work/config

median() { sort -n | sed -n 2p; }

open_times() {  # FILE: prints the medians "first first-cpu full full-cpu" in ms
  local a=() b=() c=() d=()
  for _ in 1 2 3; do
    out=$("$view" --timing --quit-when-shown "$1" 2>/dev/null)
    a+=("$(sed -n 's/^first pixel: \([0-9]*\) ms.*/\1/p' <<<"$out")")
    b+=("$(sed -n 's/^first pixel: .*cpu \([0-9]*\) ms.*/\1/p' <<<"$out")")
    c+=("$(sed -n 's/^full image: .* \([0-9]*\) ms after start.*/\1/p' <<<"$out")")
    d+=("$(sed -n 's/^full image: .*cpu \([0-9]*\) ms.*/\1/p' <<<"$out")")
  done
  for list in "${a[*]}" "${b[*]}" "${c[*]}" "${d[*]}"; do printf '%s ' "$(tr ' ' '\n' <<<"$list" | median)"; done
  echo
}

echo "wall-clock ms from the start of vivark-view (processor ms of the process in brackets)"
for file in photo.jpg huge.png; do
  read -r first firstCpu full fullCpu < <(open_times "$data/$file")
  printf '%-10s first pixel %5s (%5s)   full image %5s (%5s)   %s\n' "$file" "$first" "$firstCpu" \
    "$full" "$fullCpu" "$("$tool" info "$data/$file" | head -1 | sed 's/.*: //')"
done

for preload in 1 0; do
  "$tool" settings set 'FileSequencer\Preload' $preload >/dev/null
  out=$("$view" --step-through "$data/folder/p1.jpg" 2>/dev/null)
  printf 'next image, preload %s: %s\n' "$preload" "$(sed -n 's/^next image: //p' <<<"$out")"
done
