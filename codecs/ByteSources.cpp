// InFile and memory byte sources.
#include "codecs/ByteSources.h"

#include <algorithm>

#include "core/Errors.h"

namespace vivark {

void InFileSource::begin() {
    auto window = file_.window();
    cursor = window.data();
    end = cursor + window.size();
}

void InFileSource::release() {
    if (cursor == nullptr) return;
    auto window = file_.window();
    file_.consume(static_cast<size_t>(cursor - window.data()));
    cursor = end = nullptr;
}

void InFileSource::refill() {
    release();
    if (file_.window().empty()) file_.refill();
    begin();
}

void InFileRangeSource::begin() {
    cursor = end = nullptr;
}

void InFileRangeSource::release() {
    if (cursor == nullptr) return;
    auto window = file_.window();
    file_.consume(static_cast<size_t>(cursor - window.data()));
    remaining_ += available();  // bytes handed out but not consumed go back to the range
    cursor = end = nullptr;
}

void InFileRangeSource::refill() {
    release();
    if (remaining_ == 0) throw INFILEERROR::UnexpectedEnd;
    if (file_.window().empty()) file_.refill();
    auto window = file_.window();
    size_t n = static_cast<size_t>(std::min<uint64_t>(window.size(), remaining_));
    cursor = window.data();
    end = cursor + n;
    remaining_ -= n;
}

void MemorySource::begin() {
    handedOut_ = false;
    cursor = end = nullptr;
}

void MemorySource::refill() {
    if (handedOut_ || data_.empty()) throw INFILEERROR::UnexpectedEnd;
    handedOut_ = true;
    cursor = data_.data();
    end = cursor + data_.size();
}

}  // namespace vivark
