// ProgressCallback: how long scans, readers, writers and operations report
// (rows done, rows total) once per row and learn whether to stop.
//
// The callback answers true to cancel. What cancelling means belongs to the
// caller of the callback: a reader throws INFILEERROR::Cancelled, a writer
// OUTFILEERROR::Cancelled, an operation leaves its image unchanged.
#pragma once

#include <cstdint>
#include <utility>

namespace vivark {

class ProgressCallback {
  public:
    virtual ~ProgressCallback() = default;
    // Returns true when the work should stop.
    virtual bool progress(uint32_t done, uint32_t total) = 0;
};

// A ProgressCallback over any callable bool(uint32_t, uint32_t).
template <class Function>
class ProgressFunction final : public ProgressCallback {
  public:
    explicit ProgressFunction(Function function) : function_(std::move(function)) {}
    bool progress(uint32_t done, uint32_t total) override { return function_(done, total); }

  private:
    Function function_;
};

// Asks `callback` when there is one; no callback never cancels.
inline bool progressCancelled(ProgressCallback* callback, uint32_t done, uint32_t total) {
    return callback != nullptr && callback->progress(done, total);
}

}  // namespace vivark
