#!/usr/bin/env bash
# Checks the shard arithmetic of "vivark batch" as the cluster recipes of
# docs/batch.md use it: shards 1/3, 2/3 and 3/3 are disjoint and together
# the whole set; the Slurm array variables and a Kubernetes Indexed Job's
# JOB_COMPLETION_INDEX choose the same shards as --shard; GNU parallel (when
# installed) running the three shards as separate processes converts every
# file once.
#   tests/batch/shards-check.sh path/to/vivark
set -euo pipefail
vivark=$(realpath "$1")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

mkdir -p set/a set/b/c
for i in $(seq 1 40); do printf 'x' > "set/a/f$i.img"; done
for i in $(seq 1 25); do printf 'x' > "set/b/c/g$i.img"; done
printf 'x' > "set/top.img"

inputs() { # the inputs a dry run plans, one a line, sorted
  "$vivark" batch set -r --to png --out out --dry-run --json "$@" |
    sed -n 's/^{"input":"\([^"]*\)".*/\1/p' | sort
}
fail() { echo "shards-check: $*" >&2; exit 1; }

inputs > all
[ "$(wc -l < all)" -eq 66 ] || fail "the whole set is not 66 files"
for k in 1 2 3; do
  inputs --shard "$k/3" > "shard$k"
  [ -s "shard$k" ] || fail "shard $k/3 is empty"
done
sort -m shard1 shard2 shard3 > union
cmp -s union all || fail "the shards together are not the whole set"
[ -z "$(sort shard1 shard2 shard3 | uniq -d)" ] || fail "a file is in two shards"

# Slurm: --array=1-3 (MIN 1) and --array=0-2 (MIN 0) give the same shards.
for k in 1 2 3; do
  SLURM_ARRAY_TASK_ID=$k SLURM_ARRAY_TASK_MIN=1 SLURM_ARRAY_TASK_COUNT=3 inputs --shard-from-env > slurm
  cmp -s slurm "shard$k" || fail "Slurm task $k of 1-3 differs from --shard $k/3"
  SLURM_ARRAY_TASK_ID=$((k - 1)) SLURM_ARRAY_TASK_COUNT=3 inputs --shard-from-env > slurm
  cmp -s slurm "shard$k" || fail "Slurm task $((k - 1)) of 0-2 differs from --shard $k/3"
  JOB_COMPLETION_INDEX=$((k - 1)) VIVARK_SHARD_COUNT=3 inputs --shard-from-env > k8s
  cmp -s k8s "shard$k" || fail "Indexed Job index $((k - 1)) differs from --shard $k/3"
done
if JOB_COMPLETION_INDEX=0 "$vivark" batch set --to png --out out --dry-run --shard-from-env \
  > /dev/null 2>&1; then
  fail "JOB_COMPLETION_INDEX without a count was accepted"
fi

# The recipe of docs/batch.md with GNU parallel, on this one host: three
# processes, one shard each, real conversions.
if command -v parallel > /dev/null; then
  mkdir photos
  for i in $(seq 1 12); do
    printf 'P2\n2 2\n255\n0 %d 200 255\n' "$i" > "photos/p$i.pgm"
  done
  parallel --will-cite -j3 "$vivark" batch photos --to png --out converted --shard {}/3 ::: 1 2 3
  [ "$(ls converted/*.png | wc -l)" -eq 12 ] || fail "GNU parallel over 3 shards did not convert 12 files"
  [ "$(cat converted/.vivark-journal-*-of-3.jsonl | wc -l)" -eq 12 ] ||
    fail "the shards' journals do not hold 12 records"
fi
echo "shards-check: shards 1/3..3/3 disjoint and complete (66 files)"
