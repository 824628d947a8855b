// The memory a batch's workers may hold in decoded pixels at once. A worker
// asks for its image's estimate before decoding and waits while the others
// hold too much; one image alone is always let through, however large, so a
// picture bigger than the budget is converted rather than refused.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace vivark::batch {

class MemoryBudget {
  public:
    explicit MemoryBudget(uint64_t bytes) : limit_(bytes) {}

    void acquire(uint64_t bytes) {
        std::unique_lock lock(mutex_);
        freed_.wait(lock, [&] { return used_ == 0 || used_ + bytes <= limit_; });
        used_ += bytes;
    }
    void release(uint64_t bytes) {
        {
            std::lock_guard lock(mutex_);
            used_ -= bytes;
        }
        freed_.notify_all();
    }

  private:
    uint64_t limit_;
    uint64_t used_ = 0;
    std::mutex mutex_;
    std::condition_variable freed_;
};

}  // namespace vivark::batch
