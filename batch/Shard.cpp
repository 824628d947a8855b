// Shard arithmetic and the scheduler variables that choose a shard.
#include "batch/Shard.h"

#include <charconv>

namespace vivark::batch {
namespace {

std::optional<int64_t> wholeNumber(std::string_view text) {
    int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

std::optional<Shard> checked(int64_t index, int64_t count, std::string& problem) {
    if (count < 1 || count > 1000000 || index < 1 || index > count) {
        problem = "shard " + std::to_string(index) + "/" + std::to_string(count) +
                  " is not one of 1/N to N/N";
        return std::nullopt;
    }
    return Shard{uint32_t(index), uint32_t(count)};
}

}  // namespace

uint64_t stableHash(std::string_view text) {
    uint64_t hash = 0xcbf29ce484222325ULL;
    for (const char c : text) {
        hash ^= uint8_t(c);
        hash *= 0x100000001b3ULL;
    }
    return hash;
}

bool inShard(std::string_view relativePath, const Shard& shard) {
    return stableHash(relativePath) % shard.count == shard.index - 1;
}

std::optional<Shard> parseShard(std::string_view text, std::string& problem) {
    const size_t slash = text.find('/');
    const auto index = wholeNumber(text.substr(0, slash));
    const auto count =
        slash == std::string_view::npos ? std::nullopt : wholeNumber(text.substr(slash + 1));
    if (!index || !count) {
        problem = "expected --shard K/N (got '" + std::string(text) + "')";
        return std::nullopt;
    }
    return checked(*index, *count, problem);
}

std::optional<Shard> shardFromEnvironment(const std::function<const char*(const char*)>& lookup,
                                          uint32_t count, std::string& problem) {
    const auto number = [&](const char* name) -> std::optional<int64_t> {
        const char* value = lookup(name);
        return value ? wholeNumber(value) : std::nullopt;
    };
    const auto invalid = [&](const char* name) {
        problem = std::string(name) + " is not a whole number";
        return std::nullopt;
    };
    if (lookup("SLURM_ARRAY_TASK_ID")) {
        const auto id = number("SLURM_ARRAY_TASK_ID");
        if (!id) return invalid("SLURM_ARRAY_TASK_ID");
        const auto minimum = lookup("SLURM_ARRAY_TASK_MIN") ? number("SLURM_ARRAY_TASK_MIN")
                                                            : std::optional<int64_t>(0);
        if (!minimum) return invalid("SLURM_ARRAY_TASK_MIN");
        std::optional<int64_t> total = count;
        if (count == 0) {
            total = number("SLURM_ARRAY_TASK_COUNT");
            if (!total) return invalid("SLURM_ARRAY_TASK_COUNT");
        }
        return checked(*id - *minimum + 1, *total, problem);
    }
    if (lookup("JOB_COMPLETION_INDEX")) {
        const auto index = number("JOB_COMPLETION_INDEX");
        if (!index) return invalid("JOB_COMPLETION_INDEX");
        std::optional<int64_t> total = count;
        if (count == 0) {
            if (!lookup("VIVARK_SHARD_COUNT")) {
                problem =
                    "JOB_COMPLETION_INDEX needs the count: --shard-count N or "
                    "VIVARK_SHARD_COUNT";
                return std::nullopt;
            }
            total = number("VIVARK_SHARD_COUNT");
            if (!total) return invalid("VIVARK_SHARD_COUNT");
        }
        return checked(*index + 1, *total, problem);
    }
    problem = "--shard-from-env: neither SLURM_ARRAY_TASK_ID nor JOB_COMPLETION_INDEX is set";
    return std::nullopt;
}

}  // namespace vivark::batch
