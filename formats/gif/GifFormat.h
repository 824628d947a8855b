// GIF structures shared by the reader and the writer: block introducers,
// extension labels, the "GIFInfo" information family and the sub-block
// adapters that carry LZW data (GifBlockSource on reading, GifBlockSink on
// writing). Failures are GIFERROR values (core/Errors.h).
#pragma once

#include <cstdint>
#include <string_view>

#include "codecs/StreamCodec.h"
#include "core/FormatTag.h"
#include "core/ImageInfo.h"
#include "core/InFile.h"
#include "core/Messages.h"
#include "core/OutFile.h"
#include "formats/FormatInfo.h"

namespace vivark {

// The family's errors; the values are fixed.
enum class GIFERROR : uint32_t {
    Unknown = 0,
    PrematureEnd = 1,    // the data sub-blocks ended before the image was complete
    NoColourMap = 2,     // neither a global nor a local colour table
    BadLzwCodeSize = 3,  // the LZW minimum code size is out of range
};

namespace msg {
inline constexpr MessageId GifPrematureEnd = 11181;
inline constexpr MessageId GifNoColourMap = 11182;
inline constexpr MessageId GifBadCodeSize = 11183;
}  // namespace msg

// The keys of the family's save options.
namespace saveKey {
inline constexpr std::string_view GifGif89a = "SaveOptions\\GIF\\GIF89a";
inline constexpr std::string_view GifInterlace = "SaveOptions\\GIF\\Interlace";
inline constexpr std::string_view GifTransparent = "SaveOptions\\GIF\\Transparent";
inline constexpr std::string_view GifTransparentIndex = "SaveOptions\\GIF\\Transparent Index";
inline constexpr std::string_view GifBackground = "SaveOptions\\GIF\\Background";
inline constexpr std::string_view GifBackgroundIndex = "SaveOptions\\GIF\\Background Index";
}  // namespace saveKey

// The identify tests (see formats/Identify.h for their contract).
bool identifyGif(InFile& file, FormatInfo* info);

}  // namespace vivark

namespace vivark::gif {

constexpr FormatTag kTag = makeTag("GIF ");
constexpr uint8_t kImageIntroducer = 0x2C;
constexpr uint8_t kExtensionIntroducer = 0x21;
constexpr uint8_t kTrailer = 0x3B;
constexpr uint8_t kGraphicControlLabel = 0xF9;
constexpr uint8_t kCommentLabel = 0xFE;
constexpr uint8_t kApplicationLabel = 0xFF;

// Kinds of GIFInfo items.
enum InfoKind : uint32_t {
    kVersion = 0,
    kInterlaced = 1,
    kDisposal = 2,
    kDelay = 3,
    kTransparent = 4,
    kTransparencyIndex = 5,
    kLocalColourMap = 6,
    kGlobalColourMap = 7,
    kBackgroundIndex = 8,
};

extern const InfoFamily kGifInfo;

inline InfoItem infoItem(InfoKind kind, uint32_t value) {
    return InfoItem{&kGifInfo, kind, value, {}};
}

// The bytes of an image's data sub-blocks without their length bytes. A
// length of 0 while data is still wanted throws GIFERROR::PrematureEnd. The
// window never reaches past the current sub-block.
class GifBlockSource final : public ByteSource {
  public:
    explicit GifBlockSource(InFile& file) : file_(file) {}
    void begin() override { cursor = end = block_; }
    void refill() override;
    // Skips what is left of the sub-blocks, up to and including the 0 length.
    void skipRest();

  private:
    InFile& file_;
    uint8_t block_[255];
};

// Sub-blocks of up to 255 bytes, each written behind its length byte when
// the window is full or the sink is finished. Does not write the terminator.
class GifBlockSink final : public ByteSink {
  public:
    explicit GifBlockSink(OutFile& file) : file_(file) {}
    void begin() override {
        cursor = block_ + 1;
        end = block_ + sizeof block_;
    }
    void flush() override;
    void finish() override { flush(); }

  private:
    OutFile& file_;
    uint8_t block_[256];
};

// Skips sub-blocks up to and including the 0 length.
void skipSubBlocks(InFile& file);

}  // namespace vivark::gif
