// The EPS writer: the DSC header, the page's program, the sample rows through
// the chosen coder and ASCII85, the trailer; with a preview, the binary
// header first (its section lengths patched in at the end) and the TIFF
// after the PostScript.
#include "formats/eps/EpsWriter.h"

#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "codecs/ZipEncoder.h"
#include "core/Errors.h"
#include "core/RowOps.h"
#include "formats/eps/EpsFilters.h"
#include "formats/eps/EpsFormat.h"
#include "formats/tiff/TiffWriter.h"

namespace vivark {
namespace {

constexpr uint32_t kBinaryHeaderSize = 30;
constexpr uint8_t kBinaryMagic[4] = {0xC5, 0xD0, 0xD3, 0xC6};

enum class Samples { Bilevel, Grey, Colour };

struct Layout {
    Samples samples;
    bool inverted = false;  // a bilevel image whose entry 0 is white
    uint32_t rowBytes = 0;  // of one row of samples, padded to a byte
};

Layout layoutOf(const Image& image) {
    const uint32_t w = image.width();
    if (!image.hasPalette()) return {Samples::Colour, false, 3 * w};
    const Colour black = rgb(0, 0, 0), white = rgb(255, 255, 255);
    if (image.bitsPerPixel() == 1) {
        const Colour c0 = image.palette[0] & 0xFFFFFF, c1 = image.palette[1] & 0xFFFFFF;
        if ((c0 == black && c1 == white) || (c0 == white && c1 == black))
            return {Samples::Bilevel, c0 == white, (w + 7) / 8};
    }
    if (image.isGrey()) return {Samples::Grey, false, w};
    return {Samples::Colour, false, 3 * w};
}

// The points an image covers on one axis.
double pointsOf(uint32_t pixels, double resolution, ResolutionUnit unit) {
    double perInch = 72.0;
    if (resolution > 0 && unit == ResolutionUnit::PerInch) perInch = resolution;
    if (resolution > 0 && unit == ResolutionUnit::PerMetre) perInch = resolution * 0.0254;
    return pixels * 72.0 / perInch;
}

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.4f", value);
    std::string s = text;
    while (s.back() == '0') s.pop_back();
    if (s.back() == '.') s.pop_back();
    return s;
}

// A DSC text value: printable ASCII, in parentheses with their escapes.
std::string dscText(const std::string& text) {
    std::string out = "(";
    for (char c : text) {
        if (c == '(' || c == ')' || c == '\\') out += '\\';
        out += (c >= 0x20 && c < 0x7F) ? c : '?';
    }
    return out + ")";
}

void writeText(OutFile& out, const std::string& text) {
    out.write(text.data(), text.size());
}

void writeProgram(const Image& image, const Layout& layout, bool flate, OutFile& out) {
    const uint32_t w = image.width(), h = image.height();
    const double wide = pointsOf(w, image.resolution.x, image.resolution.unit);
    const double high = pointsOf(h, image.resolution.y, image.resolution.unit);
    const std::string title = out.name().empty() ? "Untitled" : out.name();
    const bool colour = layout.samples == Samples::Colour;
    std::string ps = "%!PS-Adobe-3.0 EPSF-3.0\n%%Creator: Vivark\n%%Title: " + dscText(title) +
                     "\n%%BoundingBox: 0 0 " + std::to_string(int64_t(std::ceil(wide))) + " " +
                     std::to_string(int64_t(std::ceil(high))) + "\n%%HiResBoundingBox: 0 0 " +
                     number(wide) + " " + number(high) +
                     "\n%%LanguageLevel: " + (flate ? "3" : "2") +
                     "\n%%Pages: 1\n%%DocumentData: Clean7Bit\n%%EndComments\n"
                     "%%BeginProlog\n%%EndProlog\n%%Page: 1 1\n";
    // The data stream's filters are kept by name so that, after the image,
    // whatever the image operator left unread (the end-of-data codes) is
    // read up to the ASCII85 end mark before the program goes on.
    ps +=
        "save\n4 dict begin\n/vivarkText currentfile /ASCII85Decode filter def\n"
        "/vivarkData vivarkText /" +
        std::string(flate ? "FlateDecode" : "RunLengthDecode") + " filter def\n" + number(wide) +
        " " + number(high) + " scale\n/Device" + (colour ? "RGB" : "Gray") +
        " setcolorspace\n<<\n/ImageType 1\n/Width " + std::to_string(w) + "\n/Height " +
        std::to_string(h) + "\n/BitsPerComponent " +
        (layout.samples == Samples::Bilevel ? "1" : "8") + "\n/Decode [" +
        (colour            ? "0 1 0 1 0 1"
         : layout.inverted ? "1 0"
                           : "0 1") +
        "]\n/ImageMatrix [" + std::to_string(w) + " 0 0 -" + std::to_string(h) + " 0 " +
        std::to_string(h) + "]\n/DataSource vivarkData\n>> image\n";
    writeText(out, ps);
}

void writeSamples(const Image& image, const Layout& layout, bool flate, OutFile& out,
                  ProgressCallback* progress) {
    const uint32_t w = image.width(), h = image.height();
    eps::Ascii85Sink sink(out);
    std::unique_ptr<StreamEncoder> coder;
    if (flate)
        coder = std::make_unique<ZipEncoder>(9, 8, 15, 8, 0);
    else
        coder = std::make_unique<eps::RunLengthEncoder>();
    coder->attach(&sink);
    coder->reset();
    std::vector<uint8_t> row(layout.rowBytes);
    std::vector<uint8_t> indices(image.hasPalette() ? w : 0);
    for (uint32_t y = 0; y < h; ++y) {
        const uint8_t* pixels = image.plane.row(y);
        if (layout.samples == Samples::Bilevel) {
            std::copy(pixels, pixels + layout.rowBytes, row.begin());
        } else if (!image.hasPalette()) {
            for (uint32_t x = 0; x < w; ++x) {
                row[3 * x] = pixels[3 * x + 2];
                row[3 * x + 1] = pixels[3 * x + 1];
                row[3 * x + 2] = pixels[3 * x];
            }
        } else {
            unpackIndices(pixels, indices.data(), w, image.bitsPerPixel());
            for (uint32_t x = 0; x < w; ++x) {
                const Colour c = image.palette[indices[x]];
                if (layout.samples == Samples::Grey) {
                    row[x] = redOf(c);
                } else {
                    row[3 * x] = redOf(c);
                    row[3 * x + 1] = greenOf(c);
                    row[3 * x + 2] = blueOf(c);
                }
            }
        }
        coder->encode(row.data(), row.size());
        if (progressCancelled(progress, y + 1, h)) throw OUTFILEERROR::Cancelled;
    }
    coder->finish();
    coder->close();
}

// The preview: the TIFF writer's file of the image, with the user's TIFF
// options, made in a temporary file (its offsets count from its own start).
std::vector<uint8_t> tiffPreview(const Image& image, const SaveOptions& options) {
    std::unique_ptr<FILE, int (*)(FILE*)> file(std::tmpfile(), std::fclose);
    if (!file) throw OUTFILEERROR::WriteFailed;
    OutFile tiff;
    tiff.attach(fileno(file.get()), false);
    writeTiff(image, tiff, options, nullptr);
    tiff.close();
    std::fseek(file.get(), 0, SEEK_END);
    const long size = std::ftell(file.get());
    if (size <= 0) throw OUTFILEERROR::WriteFailed;
    std::vector<uint8_t> bytes(static_cast<size_t>(size));
    std::rewind(file.get());
    if (std::fread(bytes.data(), 1, bytes.size(), file.get()) != bytes.size())
        throw OUTFILEERROR::WriteFailed;
    return bytes;
}

}  // namespace

void writeEps(const Image& image, OutFile& out, const SaveOptions& options,
              ProgressCallback* progress) {
    const bool flate = options.integer(saveKey::EpsCompression) == 1;
    const bool preview = options.integer(saveKey::EpsPreview) == 1;
    const Layout layout = layoutOf(image);
    const int64_t start = out.tell();
    if (preview) {
        const uint8_t blank[kBinaryHeaderSize] = {};
        out.write(blank, sizeof blank);  // filled in below
    }
    writeProgram(image, layout, flate, out);
    writeSamples(image, layout, flate, out, progress);
    writeText(
        out,
        "vivarkData flushfile vivarkText flushfile\nend\nrestore\nshowpage\n%%Trailer\n%%EOF\n");
    if (!preview) return;

    const int64_t postScriptEnd = out.tell();
    const std::vector<uint8_t> tiff = tiffPreview(image, options);
    out.write(tiff.data(), tiff.size());
    const int64_t end = out.tell();
    if (end - start > UINT32_MAX) throw SAVEERROR::TooLargeForFormat;
    out.seek(start);
    out.write(kBinaryMagic, sizeof kBinaryMagic);
    out.writeLE32(kBinaryHeaderSize);
    out.writeLE32(static_cast<uint32_t>(postScriptEnd - start - kBinaryHeaderSize));
    out.writeLE32(0);  // no Windows metafile
    out.writeLE32(0);
    out.writeLE32(static_cast<uint32_t>(postScriptEnd - start));
    out.writeLE32(static_cast<uint32_t>(tiff.size()));
    out.writeLE16(0xFFFF);  // no checksum
    out.seek(end);
}

}  // namespace vivark
