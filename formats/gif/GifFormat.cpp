// The GIFInfo family's labels and value texts, and the sub-block adapters
// between the LZW codecs and the file.
#include "formats/gif/GifFormat.h"

#include <string>

#include "core/Errors.h"

namespace vivark::gif {
namespace {

std::string label(const InfoItem& item) {
    static const char* const kLabels[] = {
        "GIF Version",     "Interlaced",       "Disposal Method",
        "Delay Time",      "Transparent",      "Transparency Index",
        "Local Color Map", "Global Color Map", "Background Color Index"};
    return item.kind < std::size(kLabels) ? kLabels[item.kind] : "";
}

std::string yesNo(uint32_t value) {
    return value != 0 ? "Yes" : "No";
}

std::string mapSize(uint32_t value) {
    return value != 0 ? std::to_string(value) + " indices" : "Not available";
}

std::string valueText(const InfoItem& item) {
    switch (item.kind) {
        case kVersion:
            return item.value != 0 ? "GIF89a" : "GIF87a";
        case kInterlaced:
        case kTransparent:
            return yesNo(item.value);
        case kDisposal: {
            static const char* const kMethods[] = {"No operation", "Leave as is",
                                                   "Restore to background", "Restore to previous"};
            return item.value < 4 ? kMethods[item.value] : "";
        }
        case kDelay:
            return std::to_string(item.value) + " ms";
        case kTransparencyIndex:
        case kBackgroundIndex:
            return std::to_string(item.value);
        case kLocalColourMap:
        case kGlobalColourMap:
            return mapSize(item.value);
        default:
            return "";
    }
}

}  // namespace

const InfoFamily kGifInfo = {"GIFInfo", label, valueText};

void GifBlockSource::refill() {
    const uint8_t length = file_.readByte();
    if (length == 0) throw GIFERROR::PrematureEnd;
    file_.read(block_, length);
    cursor = block_;
    end = block_ + length;
}

void GifBlockSource::skipRest() {
    cursor = end;
    skipSubBlocks(file_);
}

void skipSubBlocks(InFile& file) {
    for (uint8_t length = file.readByte(); length != 0; length = file.readByte()) file.skip(length);
}

void GifBlockSink::flush() {
    const size_t used = static_cast<size_t>(cursor - (block_ + 1));
    if (used != 0) {
        block_[0] = static_cast<uint8_t>(used);
        file_.write(block_, used + 1);
    }
    cursor = block_ + 1;
}

}  // namespace vivark::gif
