// Decoding of OS/2 boot logos: the 32-byte header (the plane size 76800 and
// the file size 230432, then reserved bytes) and three planes of 320 × 240
// bytes, red, green and blue, rows top first. The boot screen shows each
// pixel doubled to 640 × 480; the image is the picture as stored.
//
// LGOERROR::DataIntegrity for a header whose sizes are not those.
#include <vector>

#include "core/Errors.h"
#include "core/FormatTag.h"
#include "formats/IdentifySupport.h"
#include "formats/ReadRows.h"
#include "formats/logo/LogoReader.h"

namespace vivark {
namespace {

class BootLogoReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;
    void readInto(Image& image, const ReadOptions& options) override {
        InFile& file = *file_;
        uint8_t header[kBootLogoHeaderBytes];
        file.read(header, sizeof header);
        if (loadLE32(header) != kBootLogoPlaneBytes || loadLE32(header + 4) != kBootLogoFileBytes)
            throw LGOERROR::DataIntegrity;
        constexpr uint32_t width = kBootLogoWidth, height = kBootLogoHeight;
        if (!options.limits.allows(width, height, 24)) throw IMAGEERROR::TooLarge;
        if (options.headerOnly) {
            image.formatTag = makeTag("LOGO");
            return;
        }
        std::vector<uint8_t> planes(3 * size_t{kBootLogoPlaneBytes});
        file.read(planes.data(), planes.size());
        Image result(width, height, 24, false);
        readRowsTopFirst(result, options.progress, [&](uint32_t y, uint8_t* row) {
            const size_t at = size_t{y} * width;
            for (uint32_t x = 0; x < width; ++x) {
                row[3 * x] = planes[2 * size_t{kBootLogoPlaneBytes} + at + x];
                row[3 * x + 1] = planes[kBootLogoPlaneBytes + at + x];
                row[3 * x + 2] = planes[at + x];
            }
        });
        handOverImage(image, std::move(result), makeTag("LOGO"));
    }
};

}  // namespace

std::unique_ptr<ImageReader> makeBootLogoReader(InFile& file) {
    return std::make_unique<BootLogoReader>(file);
}

}  // namespace vivark
