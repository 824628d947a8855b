// The IDAT byte source of the PNG reader.
#include "formats/png/IdatSource.h"

#include <algorithm>

#include "core/Errors.h"
#include "formats/png/PngFormat.h"

namespace vivark::png {

void IdatSource::release() {
    if (start_ == nullptr) return;
    const size_t used = static_cast<size_t>(cursor - start_);
    chunks_.took(start_, used);
    chunks_.file().consume(used);
    start_ = cursor = end = nullptr;
}

void IdatSource::refill() {
    release();
    while (chunks_.left() == 0) {
        chunks_.end();
        if (chunks_.begin() != kIdat) throw PNGERROR::BadIdatLength;
    }
    InFile& file = chunks_.file();
    if (file.window().empty()) file.refill();
    const auto window = file.window();
    start_ = cursor = window.data();
    end = cursor + std::min<size_t>(window.size(), chunks_.left());
}

}  // namespace vivark::png
