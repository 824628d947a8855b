// The descriptive records an Image carries besides its pixels: resolution,
// labelled information items and the animation record.
//
// An information item is plain data (a family, a kind and a value), so images
// and their copies stay cheap and safe to hand between threads. The family (a
// static object of the reader that records it, such as "GIFInfo") turns kind
// and value into the label and value text that `vivark info` and the viewer
// show. Items whose value is text keep it in `text`.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vivark {

enum class ResolutionUnit : uint8_t {
    None,   // the image states no resolution
    Ratio,  // only the ratio of x to y is known
    PerInch,
    PerMetre,
};

struct Resolution {
    double x = 0.0;
    double y = 0.0;
    ResolutionUnit unit = ResolutionUnit::None;
    bool operator==(const Resolution&) const = default;
};

struct InfoItem;

// How a family of information items is named and shown.
struct InfoFamily {
    const char* name;  // "GIFInfo"
    std::string (*label)(const InfoItem& item);
    std::string (*valueText)(const InfoItem& item);
    // Items of this kind say the image was read from damaged data: what the
    // reader could not decode was filled in. Callers that write the image
    // elsewhere refuse it unless told to accept damage. ~0u: no such kind.
    uint32_t damageKind = ~0u;

    bool marksDamage(const InfoItem& item) const;
};

struct InfoItem {
    const InfoFamily* family = nullptr;
    uint32_t kind = 0;
    uint32_t value = 0;
    std::string text;  // for items whose value is text

    std::string label() const { return family ? family->label(*this) : std::string(); }
    std::string valueText() const { return family ? family->valueText(*this) : text; }
};

inline bool InfoFamily::marksDamage(const InfoItem& item) const {
    return item.family == this && item.kind == damageKind;
}

// One frame of a multi-image file as the file describes it; how frames are
// composed for display belongs to the format's reader.
struct AnimationFrame {
    uint32_t left = 0;
    uint32_t top = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t delayMs = 0;
    uint8_t disposal = 0;
    int32_t transparentIndex = -1;  // -1: none
};

struct Animation {
    int32_t loopCount = 0;  // -1: loop for ever
    std::vector<AnimationFrame> frames;
};

}  // namespace vivark
