// Set resolution: the dots per inch or per centimetre an image states, the
// pixels untouched (they are shared with the source).
//
// The unit is "english" (dots per inch) or "metric" (dots per centimetre,
// kept in the image as dots per metre, the unit the formats store); a
// vertical value of 0 takes the horizontal one. Values that are not
// positive finite numbers throw OPERROR::BadResolution.
#pragma once

#include "ops/Operation.h"

namespace vivark {

struct ResolutionSetting {
    enum class Unit : uint8_t { English, Metric };
    double horizontal = 72.0;
    double vertical = 0.0;
    Unit unit = Unit::English;
};

OpResult setResolution(const Image& image, const ResolutionSetting& p,
                       ProgressCallback* progress = nullptr, const Limits& limits = Limits{});

}  // namespace vivark
