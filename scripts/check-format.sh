#!/usr/bin/env bash
# Fails when a C++ source differs from what .clang-format makes of it.
#   scripts/check-format.sh --fix   rewrites the files instead
set -euo pipefail
cd "$(dirname "$0")/.."

mapfile -t files < <(git ls-files '*.cpp' '*.h' 2>/dev/null || find . -name '*.cpp' -o -name '*.h')
((${#files[@]})) || exit 0
if [[ "${1:-}" == "--fix" ]]; then
  clang-format -i "${files[@]}"
else
  clang-format --dry-run --Werror "${files[@]}"
fi
