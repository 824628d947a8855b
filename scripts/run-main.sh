#!/usr/bin/env bash
# Installs the dependencies, builds Vivark and runs its main job on the sample
# images in examples/.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh
bash scripts/build.sh release
vivark=build/release/app/vivark

"$vivark" --version
"$vivark" --help

out=build/examples-out
mkdir -p "$out"
for sample in examples/*.bmp examples/*.pgm examples/*.pbm; do
  name=$(basename "${sample%.*}")
  "$vivark" convert "$sample" "$out/$name.bmp"
  "$vivark" convert "$sample" "$out/$name.pnm"
done
"$vivark" info "$out"/*
