// OutFile and memory byte sinks.
#include "codecs/ByteSinks.h"

namespace vivark {

void OutFileSink::begin() {
    auto space = file_.space();
    windowStart_ = cursor = space.data();
    end = cursor + space.size();
}

void OutFileSink::release() {
    if (windowStart_ == nullptr) return;
    file_.advance(static_cast<size_t>(cursor - windowStart_));
    windowStart_ = cursor = end = nullptr;
}

void OutFileSink::flush() {
    release();
    begin();
}

void OutFileSink::finish() {
    release();
}

void MemorySink::begin() {
    used_ = out_.size();
    if (out_.capacity() - used_ < 4096) out_.reserve(used_ + 4096);
    out_.resize(out_.capacity());
    cursor = out_.data() + used_;
    end = out_.data() + out_.size();
}

void MemorySink::release() {
    if (cursor == nullptr) return;
    used_ = static_cast<size_t>(cursor - out_.data());
    out_.resize(used_);
    cursor = end = nullptr;
}

void MemorySink::flush() {
    release();
    out_.reserve(out_.size() * 2);
    begin();
}

void MemorySink::finish() {
    release();
}

}  // namespace vivark
