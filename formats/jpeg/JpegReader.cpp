// The JFIF reader (see JpegReader.h). Every library call runs through
// guarded(); the pixel work between calls is plain C++.
#include "formats/jpeg/JpegReader.h"

#include <algorithm>
#include <array>
#include <vector>

#include "codecs/jpeg/JpegLibrary.h"
#include "core/Errors.h"
#include "core/Messages.h"
#include "core/RowOps.h"
#include "core/pixels/ColourSpaces.h"
#include "core/pixels/Orientation.h"
#include "formats/jpeg/JpegExif.h"
#include "formats/jpeg/JpegFormat.h"

namespace vivark {

const InfoFamily kJfifInfo = {
    "JFIFInfo",
    [](const InfoItem& item) {
        return std::string(item.kind == kJfifDamage ? "Damaged" : "Library Warning");
    },
    [](const InfoItem& item) { return item.text; },
    kJfifDamage,
};

namespace {

class JpegReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;
    void readInto(Image& image, const ReadOptions& options) override;

  private:
    std::vector<uint8_t> pixel_;
};

// Colour output in the Image's own sample order where the library offers it
// (libjpeg-turbo's extended colour spaces), so rows decode in place.
#ifdef JCS_EXTENSIONS
constexpr J_COLOR_SPACE kColourOutput = JCS_EXT_BGR;
constexpr bool kLibraryWritesBgr = true;
#else
constexpr J_COLOR_SPACE kColourOutput = JCS_RGB;
constexpr bool kLibraryWritesBgr = false;
#endif

// Decoded samples (grey, colour in kColourOutput's order, or inverted CMYK)
// as the Image stores them: grey bytes or blue, green, red.
void convertSamples(const uint8_t* s, uint8_t* d, uint32_t w, uint32_t components) {
    if (components == 1 || (components == 3 && kLibraryWritesBgr))
        std::copy(s, s + size_t{w} * components, d);
    else if (components == 3)
        swapRedBlue(s, d, w);
    else
        cmykToBgr(s, d, w, true);  // libjpeg hands Adobe's inverted inks through
}

void JpegReader::readInto(Image& image, const ReadOptions& options) {
    JpegDecompressor d(options.progress);
    JpegInFileSource source;
    jpeg_decompress_struct& c = d.cinfo;
    source.attach(&c, *file_);
    int header = 0;
    guarded(d.state, [&] {
        jpeg_save_markers(&c, JPEG_APP0 + 1, 0xFFFF);
        if (image.keepComment) jpeg_save_markers(&c, JPEG_COM, 0xFFFF);
        header = jpeg_read_header(&c, TRUE);
    });
    if (header != JPEG_HEADER_OK) throw JPEGERROR::BadHeader;

    uint8_t orientation = 1;
    std::shared_ptr<std::vector<uint8_t>> exif;
    std::string comment;
    for (jpeg_saved_marker_ptr m = c.marker_list; m != nullptr; m = m->next) {
        std::span<const uint8_t> data(m->data, m->data_length);
        if (m->marker == JPEG_COM) {
            comment.append(reinterpret_cast<const char*>(data.data()), data.size());
        } else if (!exif) {
            auto block = exifBlockOfApp1(data);
            if (block.empty()) continue;
            exif = std::make_shared<std::vector<uint8_t>>(block.begin(), block.end());
            if (auto found = findExifOrientation(block); found && found->value <= 8)
                orientation = std::max<uint8_t>(found->value, 1);
        }
    }

    // What the headers say, besides the pixels: density, comment, EXIF block.
    auto describe = [&](Image& result) {
        if (c.saw_JFIF_marker && c.X_density != 0 && c.Y_density != 0) {
            const double scale = c.density_unit == 2 ? 100.0 : 1.0;
            result.resolution.x = c.X_density * scale;
            result.resolution.y = c.Y_density * scale;
            result.resolution.unit = c.density_unit == 1   ? ResolutionUnit::PerInch
                                     : c.density_unit == 2 ? ResolutionUnit::PerMetre
                                                           : ResolutionUnit::Ratio;
        }
        if (image.keepComment) result.comment = std::move(comment);
        result.exif = std::move(exif);
        // A damage warning is kept even when information items are not: the
        // caller decides whether a damaged image may be used.
        if (d.state.warningCode != 0 && (image.keepInfo || d.state.warningIsDamage))
            result.info.push_back({&kJfifInfo, d.state.warningIsDamage ? kJfifDamage : 0,
                                   uint32_t(d.state.warningCode), d.state.warningText});
        result.formatTag = makeTag("JFIF");
        result.keepRequestOf(image);
        image = std::move(result);
    };
    if (options.headerOnly) {
        Image header;
        describe(header);
        return;
    }

    const bool preview = options.previewSize != 0;
    if (preview) {
        const uint32_t r = std::max(c.image_width, c.image_height) / options.previewSize;
        c.scale_num = 1;
        c.scale_denom = r <= 2 ? 1 : r <= 4 ? 2 : r <= 8 ? 4 : 8;
    }
    if (c.jpeg_color_space == JCS_GRAYSCALE)
        c.out_color_space = JCS_GRAYSCALE;
    else if (c.jpeg_color_space == JCS_CMYK || c.jpeg_color_space == JCS_YCCK)
        c.out_color_space = JCS_CMYK;
    else
        c.out_color_space = kColourOutput;
    const bool buffered = !preview && jpeg_has_multiple_scans(&c);
    c.buffered_image = buffered ? TRUE : FALSE;
    guarded(d.state, [&] { jpeg_calc_output_dimensions(&c); });

    const uint32_t components = static_cast<uint32_t>(c.output_components);
    const uint32_t width = c.output_width;
    const uint32_t height = c.output_height;
    const Orientation place = Orientation::of(orientation);
    const uint32_t bits = components == 1 ? 8 : 24;
    const uint32_t outW = place.swap ? height : width;
    const uint32_t outH = place.swap ? width : height;
    if (!options.limits.allows(outW, outH, bits)) throw IMAGEERROR::TooLarge;
    if (components != 1 && components != 3 && components != 4) throw JPEGERROR::BadHeader;

    Image result(outW, outH, bits, false);  // every row is decoded into it
    if (bits == 8) result.setGreyPalette();
    std::vector<uint8_t> row(size_t{width} * components);
    pixel_.resize(size_t{width} * 3);
    OrientedRows rows(result, place, bits / 8);
    // Rows that need no turning and no conversion are decoded into the Image.
    const bool inPlace = !place.swap && !place.mirrorX &&
                         (components == 1 || (components == 3 && kLibraryWritesBgr));

    guarded(d.state, [&] { jpeg_start_decompress(&c); });
    for (;;) {
        if (buffered) guarded(d.state, [&] { jpeg_start_output(&c, c.input_scan_number); });
        while (c.output_scanline < height) {
            const uint32_t y = c.output_scanline;
            JSAMPROW target[1] = {inPlace ? rows.directRow(y) : row.data()};
            JDIMENSION got = 0;
            guarded(d.state, [&] { got = jpeg_read_scanlines(&c, target, 1); });
            if (got != 1) throw JPEGERROR::BadHeader;
            if (!inPlace) {
                convertSamples(row.data(), pixel_.data(), width, components);
                rows.place(y, pixel_.data());
            }
            if (progressCancelled(options.progress, y + 1, height)) throw INFILEERROR::Cancelled;
        }
        if (!buffered) break;
        bool complete = false;
        guarded(d.state, [&] {
            jpeg_finish_output(&c);
            complete = jpeg_input_complete(&c);
        });
        if (complete) break;
    }
    guarded(d.state, [&] { jpeg_finish_decompress(&c); });
    source.settle();

    describe(result);
}

}  // namespace

std::unique_ptr<ImageReader> makeJpegReader(InFile& file) {
    return std::make_unique<JpegReader>(file);
}

}  // namespace vivark
