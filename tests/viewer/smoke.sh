#!/usr/bin/env bash
# Smoke test of the real viewer: starts vivark-view under a virtual X server
# on sample images, pages through them over its single-instance socket
# (each command is answered once the image is on screen), captures the
# screen with xwd, converts the capture with `vivark convert` and looks for
# each sample's pixels in it (the samples read by netpbm, independently of
# Vivark's readers).
#   smoke.sh VIVARK-VIEW VIVARK [--save-screenshot]
# --save-screenshot keeps the first capture as docs/viewer.png (README).
# Exits 77 (skipped) where xvfb-run, xwd or netpbm is missing.
set -euo pipefail
view=$1
tool=$2
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)

if [ "${3:-}" = --inner ]; then
  work=$4
  "$view" "$work/pics/a-scene.png" >"$work/view.out" 2>&1 &
  pid=$!
  ready=
  for _ in $(seq 100); do
    if "$view" --remote wait >/dev/null 2>&1; then ready=1; break; fi
    sleep 0.1
  done
  [ -n "$ready" ] || { echo "the viewer never answered"; cat "$work/view.out"; exit 1; }
  n=1
  for step in wait next next; do
    [ "$step" = wait ] || "$view" --remote "$step" >/dev/null
    sleep 0.3  # the window system composes the frame after the paint
    xwd -root -silent -out "$work/shot$n.xwd"
    n=$((n + 1))
  done
  "$view" --remote quit >/dev/null || true
  wait "$pid"
  exit 0
fi

command -v xvfb-run >/dev/null && command -v xwd >/dev/null && command -v pngtopnm >/dev/null \
  || { echo "xvfb-run, xwd or netpbm missing: skipped"; exit 77; }
work=$(mktemp -d)
trap '[ -n "${VIVARK_SMOKE_KEEP:-}" ] && cp -r "$work" "$VIVARK_SMOKE_KEEP"; rm -rf "$work"' EXIT
mkdir -p "$work/pics" "$work/run"
chmod 700 "$work/run"
# The three samples in the order the viewer steps through them.
cp "$root/examples/scene.png" "$work/pics/a-scene.png"
cp "$root/examples/gradient.bmp" "$work/pics/b-gradient.bmp"
cp "$root/examples/palette.bmp" "$work/pics/c-palette.bmp"
# Under the sanitizer build, the X and font libraries keep caches for the
# life of the process that LeakSanitizer would report at exit; leaks of
# Vivark's own code are the Qt tests' business, which run with it on.
# The setting is appended, so it holds even when the caller asks for leak
# detection (the test command does, for the unit tests).
export ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0"
export VIVARK_CONFIG_HOME=$work/config VIVARK_LOG=$work/vivark.log TMPDIR=$work XDG_RUNTIME_DIR=$work/run

timeout 45 xvfb-run -a -s "-screen 0 640x480x24" bash "$0" "$view" "$tool" --inner "$work"

for n in 1 2 3; do
  "$tool" convert "$work/shot$n.xwd" "$work/shot$n.png" >/dev/null
  pngtopnm "$work/shot$n.png" >"$work/shot$n.ppm"
done
pngtopnm "$work/pics/a-scene.png" >"$work/sample1.ppm"
bmptopnm "$work/pics/b-gradient.bmp" >"$work/sample2.ppm" 2>/dev/null
bmptopnm "$work/pics/c-palette.bmp" >"$work/sample3.ppm" 2>/dev/null

python3 - "$work" <<'PY'
import re, sys

def read_ppm(path):
    # netpbm writes the plain header "P6 width height 255" and no comments.
    data = open(path, "rb").read()
    header = re.match(rb"P6\s+(\d+)\s+(\d+)\s+255\s", data)
    assert header, path
    width, height = int(header[1]), int(header[2])
    pixels = data[header.end():]
    return width, height, [pixels[y * width * 3:(y + 1) * width * 3] for y in range(height)]

work = sys.argv[1]
failed = False
for n in (1, 2, 3):
    sw, sh, shot = read_ppm(f"{work}/shot{n}.ppm")
    w, h, sample = read_ppm(f"{work}/sample{n}.ppm")
    found = None
    for y in range(sh - h + 1):
        x = shot[y].find(sample[0])
        while x >= 0 and found is None:
            if x % 3 == 0 and all(shot[y + r][x:x + 3 * w] == sample[r] for r in range(h)):
                found = (x // 3, y)
            x = shot[y].find(sample[0], x + 1)
        if found:
            break
    print(f"screen {n}: sample {w}x{h} " + (f"found at {found}" if found else "NOT found"))
    failed |= found is None
sys.exit(1 if failed else 0)
PY

if [ "${3:-}" = --save-screenshot ]; then
  cp "$work/shot1.png" "$root/docs/viewer.png"
  echo "saved docs/viewer.png"
fi
