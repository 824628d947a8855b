// The JFIF reader (see JpegReader.h). Every library call runs through
// guarded(); the pixel work between calls is plain C++.
#include "formats/jpeg/JpegReader.h"

#include <algorithm>
#include <array>
#include <vector>

#include "codecs/jpeg/JpegLibrary.h"
#include "core/Errors.h"
#include "core/Messages.h"
#include "formats/jpeg/JpegExif.h"
#include "formats/jpeg/JpegFormat.h"

namespace vivark {

const InfoFamily kJfifInfo = {
    "JFIFInfo",
    [](const InfoItem&) { return std::string("Library Message"); },
    [](const InfoItem& item) { return std::string(messageText(item.value)); },
};

namespace {

// Where decoded pixel (x, y) of a w x h picture lands in the upright picture
// (both counted from the top left), for EXIF orientations 1 to 8.
struct Placement {
    bool swap = false;  // the upright picture is h x w
    bool mirrorX = false;
    bool mirrorY = false;
};

Placement placementFor(uint8_t orientation) {
    switch (orientation) {
        case 2:
            return {false, true, false};
        case 3:
            return {false, true, true};
        case 4:
            return {false, false, true};
        case 5:
            return {true, false, false};
        case 6:
            return {true, false, true};
        case 7:
            return {true, true, true};
        case 8:
            return {true, true, false};
        default:
            return {};
    }
}

// The CMYK-to-RGB table: T[k][v] = v * k / 255 on the inverted samples.
const std::array<std::array<uint8_t, 256>, 256>& cmykTable() {
    static const auto table = [] {
        std::array<std::array<uint8_t, 256>, 256> t{};
        for (unsigned k = 0; k < 256; ++k)
            for (unsigned v = 0; v < 256; ++v) t[k][v] = static_cast<uint8_t>(v * k / 255);
        return t;
    }();
    return table;
}

class JpegReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;
    void readInto(Image& image, const ReadOptions& options) override;

  private:
    void storeRow(Image& out, const uint8_t* decoded, uint32_t y, const Placement& place,
                  uint32_t components);
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
    if (components == 1 || (components == 3 && kLibraryWritesBgr)) {
        std::copy(s, s + size_t{w} * components, d);
    } else if (components == 3) {
        for (uint32_t x = 0; x < w; ++x, s += 3, d += 3) {
            d[0] = s[2];
            d[1] = s[1];
            d[2] = s[0];
        }
    } else {
        const auto& table = cmykTable();
        for (uint32_t x = 0; x < w; ++x, s += 4, d += 3) {
            const auto& k = table[s[3]];
            d[0] = k[s[2]];
            d[1] = k[s[1]];
            d[2] = k[s[0]];
        }
    }
}

void JpegReader::storeRow(Image& out, const uint8_t* decoded, uint32_t y, const Placement& place,
                          uint32_t components) {
    const uint32_t w = place.swap ? out.height() : out.width();
    const uint32_t h = place.swap ? out.width() : out.height();
    const uint32_t bytes = components == 1 ? 1 : 3;
    uint8_t* const data = out.plane.mutableData();
    const uint32_t sy = place.mirrorY ? h - 1 - y : y;
    if (!place.swap && !place.mirrorX) {
        convertSamples(decoded, data + out.plane.rowOffset(sy), w, components);
        return;
    }
    convertSamples(decoded, pixel_.data(), w, components);
    for (uint32_t x = 0; x < w; ++x) {
        const uint32_t sx = place.mirrorX ? w - 1 - x : x;
        uint8_t* target = place.swap ? data + out.plane.rowOffset(sx) + size_t{sy} * bytes
                                     : data + out.plane.rowOffset(sy) + size_t{sx} * bytes;
        const uint8_t* source = pixel_.data() + size_t{x} * bytes;
        std::copy(source, source + bytes, target);
    }
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
        if (d.state.lastMessage != 0 && image.keepInfo)
            result.info.push_back({&kJfifInfo, 0, jpegMessageId(d.state.lastMessage), {}});
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
    const Placement place = placementFor(orientation);
    const uint32_t bits = components == 1 ? 8 : 24;
    const uint32_t outW = place.swap ? height : width;
    const uint32_t outH = place.swap ? width : height;
    if (!options.limits.allows(outW, outH, bits)) throw IMAGEERROR::TooLarge;
    if (components != 1 && components != 3 && components != 4) throw JPEGERROR::BadHeader;

    Image result(outW, outH, bits, false);  // every row is decoded into it
    if (bits == 8) result.setGreyPalette();
    std::vector<uint8_t> row(size_t{width} * components);
    pixel_.resize(size_t{width} * 3);
    // Rows that need no turning and no conversion are decoded into the Image.
    const bool inPlace = !place.swap && !place.mirrorX &&
                         (components == 1 || (components == 3 && kLibraryWritesBgr));

    guarded(d.state, [&] { jpeg_start_decompress(&c); });
    for (;;) {
        if (buffered) guarded(d.state, [&] { jpeg_start_output(&c, c.input_scan_number); });
        while (c.output_scanline < height) {
            const uint32_t y = c.output_scanline;
            JSAMPROW rows[1] = {
                inPlace ? result.plane.mutableRow(place.mirrorY ? height - 1 - y : y) : row.data()};
            JDIMENSION got = 0;
            guarded(d.state, [&] { got = jpeg_read_scanlines(&c, rows, 1); });
            if (got != 1) throw JPEGERROR::BadHeader;
            if (!inPlace) storeRow(result, row.data(), y, place, components);
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
