#!/usr/bin/env bash
# Whole-process comparison of "vivark batch" with mogrify and vips over a set
# of photo-sized JPEGs: JPEG to PNG, and JPEG resized to 1024 pixels wide to
# JPEG, each with 1 and 2 jobs. mogrify and vips run one process per file
# under GNU parallel with the same job count; each of their processes is
# held to one thread (MAGICK_THREAD_LIMIT, VIPS_CONCURRENCY), as each vivark
# worker converts one image on one thread. Prints a table of wall times and
# of the peers' times over vivark's.
#
#   bench/batch/batch-bench.sh [VIVARK] [COUNT] [WIDTHxHEIGHT]
#
# The photos are made once with ImageMagick (plasma fractals with fixed
# seeds, blurred a little and saved at quality 90, which compresses like a
# photograph rather than like flat synthetic colour) and kept in
# ${VIVARK_BENCH_PHOTOS:-/tmp/vivark-bench-photos-COUNT-SIZE}.
set -euo pipefail
vivark=$(realpath "${1:-build/release/app/vivark}")
count=${2:-48}
size=${3:-3000x2000}
photos=${VIVARK_BENCH_PHOTOS:-/tmp/vivark-bench-photos-$count-$size}
for tool in convert-im6.q16 mogrify vips parallel; do
  command -v "$tool" > /dev/null || { echo "batch-bench: $tool is not installed" >&2; exit 1; }
done

if [ ! -f "$photos/.complete" ]; then
  mkdir -p "$photos"
  echo "making $count photos of $size in $photos" >&2
  seq 1 "$count" | parallel --will-cite -j2 \
    convert-im6.q16 -seed {} -size "$size" plasma:fractal -blur 0x1 -quality 90 \
    "$photos/photo{}.jpg"
  touch "$photos/.complete"
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export MAGICK_THREAD_LIMIT=1 VIPS_CONCURRENCY=1

seconds() { # runs "$@", prints its wall time in seconds
  local start end
  start=$(date +%s.%N)
  "$@" > /dev/null 2>&1 || { echo "batch-bench: failed: $*" >&2; exit 1; }
  end=$(date +%s.%N)
  echo "$end - $start" | bc -l
}

# One tool on one task: a fresh output folder each run.
run() { # TOOL TASK JOBS
  local out="$work/out-$1-$2-$3"
  rm -rf "$out"; mkdir -p "$out"
  case "$1-$2" in
    vivark-png) seconds "$vivark" batch "$photos" --to png --out "$out" --jobs "$3" ;;
    vivark-resize)
      seconds "$vivark" batch "$photos" --to jpeg --out "$out" --jobs "$3" \
        --step "Resize;width=1024" ;;
    mogrify-png)
      seconds parallel --will-cite -j"$3" mogrify -path "$out" -format png {} ::: "$photos"/*.jpg ;;
    mogrify-resize)
      seconds parallel --will-cite -j"$3" mogrify -path "$out" -resize 1024x -quality 75 {} \
        ::: "$photos"/*.jpg ;;
    vips-png)
      seconds parallel --will-cite -j"$3" vips copy {} "$out/{/.}.png" ::: "$photos"/*.jpg ;;
    vips-resize)
      seconds parallel --will-cite -j"$3" vipsthumbnail {} --size 1024x -o "$out/%s.jpg[Q=75]" \
        ::: "$photos"/*.jpg ;;
  esac
}

printf '%-28s %5s %9s %9s %9s %9s %9s\n' "task ($count x $size)" jobs vivark mogrify vips \
  mog/viv vips/viv
for task in png resize; do
  for jobs in 1 2; do
    v=$(run vivark "$task" "$jobs")
    m=$(run mogrify "$task" "$jobs")
    s=$(run vips "$task" "$jobs")
    label=$([ "$task" = png ] && echo "JPEG -> PNG" || echo "JPEG -> 1024 wide JPEG")
    printf '%-28s %5s %8.2fs %8.2fs %8.2fs %9.2f %9.2f\n' "$label" "$jobs" "$v" "$m" "$s" \
      "$(echo "$m / $v" | bc -l)" "$(echo "$s / $v" | bc -l)"
  done
done
