#!/usr/bin/env bash
# Decoding text-encoded files as whole processes: vivark extract on a 50 MB
# yEnc posting and a 50 MB base64 message, side by side with uudeview
# (uudeview -i -o) on both and coreutils' base64 -d on the base64 body, in
# one run. Prints the median wall time of each command over RUNS runs, the
# decoded megabytes per second and the ratio vivark / peer (below 1.0:
# vivark is faster).
#
# Usage: bench/textimg/textimg-bench.sh [BUILD_DIR]   (default build/release)
# The 50 MB (50 * 2^20 bytes) are random; uuenview -y writes the posting,
# base64 the message body (76-character lines) under MIME headers.
set -euo pipefail

root=$(cd "$(dirname "$0")/../.." && pwd)
build=${1:-$root/build/release}
vivark=$build/app/vivark
runs=${RUNS:-5}
[[ -x $vivark ]] || { echo "textimg-bench: $vivark is missing" >&2; exit 1; }
for tool in uuenview uudeview base64 bc /usr/bin/time; do
  command -v $tool >/dev/null || { echo "textimg-bench: $tool is missing (scripts/setup.sh)" >&2; exit 1; }
done

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
megabytes=50
head -c $((megabytes * 1048576)) /dev/urandom > "$work/data.bin"
uuenview -y "$work/data.bin" > "$work/posting.yenc" 2>/dev/null
{
  printf 'Subject: data\nMIME-Version: 1.0\nContent-Type: application/octet-stream; name="data.bin"\n'
  printf 'Content-Transfer-Encoding: base64\n\n'
  base64 "$work/data.bin"
} > "$work/message.b64"
base64 "$work/data.bin" > "$work/body.b64"
mkdir -p "$work/out"

# The median over RUNS runs of a command's processor time (user + system,
# children included), in seconds, and of its wall time: "CPU WALL". On a
# shared machine the wall time mostly measures waiting for a processor, so
# the ratios are taken on processor time. The output folder is emptied
# before each run, outside the timing.
median() {
  local cpu=() wall=()
  for ((i = 0; i < runs; ++i)); do
    rm -rf "$work/out"/* "$work/peer.bin"
    /usr/bin/time -f '%U %S %e' -o "$work/time" "$@" > /dev/null 2>&1
    read -r user sys elapsed < "$work/time"
    cpu+=("$(echo "$user + $sys" | bc)")
    wall+=("$elapsed")
  done
  local mid=$(((runs + 1) / 2))
  echo "$(printf '%s\n' "${cpu[@]}" | sort -n | sed -n "${mid}p") $(printf '%s\n' "${wall[@]}" | sort -n | sed -n "${mid}p")"
}

check() {
  cmp -s "$1" "$work/data.bin" || { echo "textimg-bench: $2 decoded differently" >&2; exit 1; }
}

row() {
  local name=$1 peer=$3
  local ours theirs ours_wall theirs_wall
  read -r ours ours_wall <<< "$2"
  read -r theirs theirs_wall <<< "$4"
  # A run too short for the clock's 10 ms counts as 10 ms.
  [[ $(echo "$ours < 0.01" | bc) == 1 ]] && ours=0.01
  [[ $(echo "$theirs < 0.01" | bc) == 1 ]] && theirs=0.01
  printf '%-7s %-15s %7.2fs %7.1f %6.2fs | %7.2fs %7.1f %6.2fs | %6.2f\n' "$name" "$peer" \
    "$ours" "$(echo "$megabytes / $ours" | bc -l)" "$ours_wall" \
    "$theirs" "$(echo "$megabytes / $theirs" | bc -l)" "$theirs_wall" \
    "$(echo "$ours / $theirs" | bc -l)"
}

"$vivark" extract --out "$work/out" "$work/posting.yenc" > /dev/null && check "$work/out/data.bin" "vivark (yEnc)"
rm -rf "$work/out"/*
"$vivark" extract --out "$work/out" "$work/message.b64" > /dev/null && check "$work/out/data.bin" "vivark (base64)"
(cd "$work/out" && rm -f ./* && uudeview -i -o -q "$work/posting.yenc" > /dev/null 2>&1) && check "$work/out/data.bin" "uudeview (yEnc)"
base64 -d "$work/body.b64" > "$work/peer.bin" && check "$work/peer.bin" "base64 -d"

yenc_ours=$(median "$vivark" extract --out "$work/out" "$work/posting.yenc")
yenc_uud=$(median sh -c "cd '$work/out' && uudeview -i -o -q '$work/posting.yenc'")
b64_ours=$(median "$vivark" extract --out "$work/out" "$work/message.b64")
b64_uud=$(median sh -c "cd '$work/out' && uudeview -i -o -q '$work/message.b64'")
b64_core=$(median sh -c "base64 -d '$work/body.b64' > '$work/peer.bin'")

echo "decoding $megabytes MB; cpu = user + system seconds (median of $runs), MB/s on cpu, wall seconds"
printf '%-7s %-15s %8s %7s %7s | %8s %7s %7s | %6s\n' input peer "vivark" MB/s wall "peer" MB/s wall "ratio"
row yEnc "$yenc_ours" "uudeview -i -o" "$yenc_uud"
row base64 "$b64_ours" "uudeview -i -o" "$b64_uud"
row base64 "$b64_ours" "base64 -d" "$b64_core"
