#!/usr/bin/env bash
# Configures and builds one variant of Vivark.
#   scripts/build.sh release    optimised build with tests and benchmarks (build/release)
#   scripts/build.sh sanitize   AddressSanitizer + UndefinedBehaviorSanitizer (build/sanitize)
#   scripts/build.sh fuzz       libFuzzer harnesses, built with clang (build/fuzz)
set -euo pipefail
cd "$(dirname "$0")/.."

variant=${1:-release}
jobs=${VIVARK_JOBS:-$(nproc)}
# The project's own builds treat warnings as errors. A compiler cache, where
# installed, is shared by every work tree under one base folder, so a second
# checkout builds from the first one's objects.
options=(-DVIVARK_WERROR=ON)
if command -v ccache >/dev/null; then
  export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$(cd .. && pwd)}
  options+=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
case "$variant" in
  release)
    cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVIVARK_BENCH=ON "${options[@]}" ;;
  sanitize)
    cmake -S . -B build/sanitize -G Ninja -DCMAKE_BUILD_TYPE=Debug -DVIVARK_SANITIZE=ON "${options[@]}" ;;
  fuzz)
    cmake -S . -B build/fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
      -DCMAKE_CXX_COMPILER=clang++ -DVIVARK_FUZZ=ON -DVIVARK_TESTS=OFF -DVIVARK_VIEWER=OFF "${options[@]}" ;;
  *)
    echo "usage: scripts/build.sh release|sanitize|fuzz" >&2; exit 2 ;;
esac
cmake --build "build/$variant" -j "$jobs"
