#!/usr/bin/env bash
# Installs the dependencies, builds Vivark and runs its main job on the sample
# images in examples/.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh
# The tool alone: tests, benchmarks and fuzz harnesses are the test command's.
cmake -S . -B build/tool -G Ninja -DCMAKE_BUILD_TYPE=Release -DVIVARK_TESTS=OFF
cmake --build build/tool --target vivark -j "${VIVARK_JOBS:-$(nproc)}"
vivark=build/tool/app/vivark

"$vivark" --version
"$vivark" --help

out=build/examples-out
mkdir -p "$out"
for sample in examples/*.bmp examples/*.pgm examples/*.pbm examples/*.png; do
  name=$(basename "${sample%.*}")
  "$vivark" convert "$sample" "$out/$name.bmp"
  "$vivark" convert "$sample" "$out/$name.pnm"
  "$vivark" convert "$sample" "$out/$name.png"
done
# Colour reduction: the user's default palette for a GIF, and explicit choices.
"$vivark" convert examples/scene.png "$out/scene.gif"
"$vivark" convert examples/scene.png "$out/scene-system16.bmp" --colors 16 --palette system --dither diffusion
"$vivark" convert examples/gradient.bmp "$out/gradient-cube.png" --colors 256 --palette 884 --dither ordered
# A multi-page-capable format, and operations run in the order given.
"$vivark" convert examples/scene.png "$out/scene.tif"
"$vivark" convert examples/scene.png "$out/scene-thumb.png" --resize 96x96 --letterbox --fill white --sharpen 20
"$vivark" convert examples/scene.png "$out/scene-turned.jpg" --rotate 10 --fill white --brightness 10
"$vivark" info "$out"/*
echo "run-main: the converted samples are in $out/"
