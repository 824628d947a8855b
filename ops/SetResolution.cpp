// Stating a new resolution for an image.
#include "ops/SetResolution.h"

#include <cmath>

namespace vivark {

OpResult setResolution(const Image& image, const ResolutionSetting& p, ProgressCallback* progress,
                       const Limits& limits) {
    const double vertical = p.vertical == 0.0 ? p.horizontal : p.vertical;
    // Beyond a million dots per unit no device or format has a use for it.
    auto valid = [](double v) { return std::isfinite(v) && v > 0.0 && v <= 1e6; };
    if (!valid(p.horizontal) || !valid(vertical)) throw OPERROR::BadResolution;
    checkResultSize(image.width(), image.height(), image.bitsPerPixel(), limits);
    Image result = image;
    if (p.unit == ResolutionSetting::Unit::Metric)
        result.resolution = {p.horizontal * 100.0, vertical * 100.0, ResolutionUnit::PerMetre};
    else
        result.resolution = {p.horizontal, vertical, ResolutionUnit::PerInch};
    if (progressCancelled(progress, image.height(), image.height())) return std::nullopt;
    return result;
}

}  // namespace vivark
