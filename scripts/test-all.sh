#!/usr/bin/env bash
# Installs the dependencies, then builds and runs every test: the unit tests
# in an optimised build and again under AddressSanitizer and
# UndefinedBehaviorSanitizer, the fuzz harnesses briefly (libFuzzer), and the
# source format check.
#   VIVARK_FUZZ_SECONDS  seconds per fuzz harness (default 20; 0 skips fuzzing)
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh

echo "== format check"
bash scripts/check-format.sh

echo "== release build and tests"
bash scripts/build.sh release
ctest --test-dir build/release --output-on-failure --no-tests=error -j "$(nproc)"

echo "== sanitizer build and tests"
bash scripts/build.sh sanitize
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1 \
  ctest --test-dir build/sanitize --output-on-failure --no-tests=error -j "$(nproc)"

echo "== fuzzing"
bash scripts/build.sh fuzz
bash scripts/fuzz.sh "${VIVARK_FUZZ_SECONDS:-20}"

echo "== all tests passed"
