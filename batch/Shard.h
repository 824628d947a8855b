// Shards: a deterministic share of a batch's files for one of N independent
// processes, so a cluster scheduler can spread a set over machines with no
// coordination between them.
//
// A file belongs to shard K of N (K from 1) when the 64-bit FNV-1a hash of
// its path relative to its input root, with "/" between components, leaves
// K - 1 when divided by N. The relative path does not depend on where the
// set is mounted, so hosts that see the same tree under different roots
// agree on the split.
//
// From the environment (--shard-from-env), in this order:
// - a Slurm job array: SLURM_ARRAY_TASK_ID, SLURM_ARRAY_TASK_MIN (0 when
//   unset) and SLURM_ARRAY_TASK_COUNT; shard K = ID - MIN + 1, so
//   "--array=0-9" and "--array=1-10" both give shards 1..10 of 10 (arrays
//   with a step such as "0-9:2" are refused by the count check);
// - a Kubernetes Indexed Job: JOB_COMPLETION_INDEX (from 0) gives K; the Job
//   does not tell its pods their count, so it comes from --shard-count or
//   else VIVARK_SHARD_COUNT (set it in the manifest to the job's completions).
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace vivark::batch {

struct Shard {
    uint32_t index = 1;  // K, from 1
    uint32_t count = 1;  // N
};

uint64_t stableHash(std::string_view text);

bool inShard(std::string_view relativePath, const Shard& shard);

// "K/N" with 1 <= K <= N; nothing with `problem` set otherwise.
std::optional<Shard> parseShard(std::string_view text, std::string& problem);

// The shard the scheduler's environment names; `lookup` gives a variable's
// value or null (getenv). `count` is --shard-count (0 when not given).
std::optional<Shard> shardFromEnvironment(const std::function<const char*(const char*)>& lookup,
                                          uint32_t count, std::string& problem);

}  // namespace vivark::batch
