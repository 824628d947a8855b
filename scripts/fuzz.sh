#!/usr/bin/env bash
# Runs every libFuzzer harness of build/fuzz for a number of seconds each,
# starting from its seed corpus in fuzz/corpus/NAME and replaying the saved
# crash inputs in fuzz/crash/NAME first. New findings land in build/fuzz/findings.
#   scripts/fuzz.sh [SECONDS]
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-20}
[[ "$seconds" == 0 ]] && { echo "fuzz: skipped"; exit 0; }
mkdir -p build/fuzz/findings
status=0
# Undefined behaviour stops a harness like a memory error does, with the
# stack that led to it, so the input is saved as a finding.
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
while IFS= read -r harness; do
  name=$(basename "$harness")
  corpus=build/fuzz/corpus/$name
  mkdir -p "$corpus"
  seeds=fuzz/corpus/$name
  crashes=fuzz/crash/$name
  if [[ -d "$crashes" ]] && compgen -G "$crashes/*" > /dev/null; then
    "$harness" -runs=0 "$crashes"/* > /dev/null 2>&1 || { echo "fuzz: $name fails on a saved crash"; status=1; }
  fi
  # The readers' harness covers every format: it gets the time the
  # per-format harnesses it replaced had between them.
  run=$seconds
  [[ "$name" == ReadersFuzz ]] && run=$((seconds * 4))
  args=(-max_total_time="$run" -rss_limit_mb=2048 -max_len=65536 -print_final_stats=1
        -artifact_prefix=build/fuzz/findings/"$name"- "$corpus")
  [[ -d "$seeds" ]] && args+=("$seeds")
  echo "fuzz: $name for ${run}s"
  log=build/fuzz/findings/$name.log
  "$harness" "${args[@]}" > "$log" 2>&1 || true
  grep -E '^(stat::number_of_executed_units|stat::average_exec_per_sec|==[0-9]+==ERROR|SUMMARY)|runtime error' "$log" || true
  if compgen -G "build/fuzz/findings/$name-*" > /dev/null; then
    echo "fuzz: $name found a failing input:"; ls build/fuzz/findings/"$name"-*
    grep -E -A30 '==[0-9]+==ERROR|runtime error' "$log" | head -60 || true
    status=1
  fi
done < <(find build/fuzz/fuzz -type f -executable -name '*Fuzz' | sort)
exit $status
