// TIFF decoding and encoding through our reader and writer beside libtiff,
// in one process, on the same files: an RGB picture (2048 x 1536) written by
// our writer with LZW and predictor, Deflate, PackBits and JPEG, and an A4
// page at 300 dpi (2480 x 3508) in Group 4. libtiff decodes each strip with
// TIFFReadEncodedStrip (JPEG colour converted to RGB, as ours is) and
// encodes with TIFFWriteEncodedStrip in strips of the same size. Throughput
// is per decoded pixel.
//
// A reader's job is the whole picture in memory, and ours builds a fresh
// Image every time; so libtiff decodes each strip into its place in a
// whole-page buffer allocated for every run the way an Image's pixels are
// (a PixelBuffer: fresh mapped pages for a block this large, where a plain
// heap block would come back warm from the last run). Its second
// argument 1 gives the old figure instead: every strip into one strip-sized
// buffer that stays in cache, which is kinder to libtiff than any reader can
// be; 2 decodes the whole page with libtiff held to zlib where it would
// inflate whole strips with libdeflate (as Debian's is built).
#include <benchmark/benchmark.h>
#include <tiffio.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "core/Image.h"
#include "core/InFile.h"
#include "core/PixelPlane.h"
#include "core/SafeOutFile.h"
#include "formats/SaveOptions.h"
#include "formats/tiff/TiffReader.h"
#include "formats/tiff/TiffWriter.h"

namespace vivark {
namespace {

// The writer's options for one benchmark, on top of the defaults.
class Options final : public SaveOptions {
  public:
    Options(int32_t bw, int32_t colour, int32_t predictor)
        : bw_(bw), colour_(colour), predictor_(predictor) {}
    bool flag(std::string_view) const override { return false; }
    int32_t integer(std::string_view key) const override {
        if (key.ends_with("BlackWhite")) return bw_;
        if (key.ends_with("Color")) return colour_;
        if (key.ends_with("Predictor")) return predictor_;
        if (key.ends_with("StripSize")) return 3;
        return 0;
    }

  private:
    int32_t bw_, colour_, predictor_;
};

Image colourPicture() {
    Image image(2048, 1536, 24);
    uint32_t s = 7;
    for (uint32_t y = 0; y < image.height(); ++y) {
        uint8_t* row = image.plane.mutableRow(y);
        for (uint32_t x = 0; x < image.width(); ++x) {
            s = s * 1103515245u + 12345u;
            const uint8_t noise = uint8_t(s >> 29);
            row[3 * x] = uint8_t(x / 8 + noise);
            row[3 * x + 1] = uint8_t((x + y) / 12 + noise);
            row[3 * x + 2] = uint8_t(y / 6 + (x * y >> 12));
        }
    }
    return image;
}

// Text-like marks on white: short black runs in lines of "words".
Image faxPage() {
    Image image(2480, 3508, 1);
    image.palette[0] = rgb(0, 0, 0);
    image.palette[1] = rgb(255, 255, 255);
    image.paletteCount = 2;
    uint32_t s = 3;
    for (uint32_t y = 0; y < image.height(); ++y) {
        uint8_t* row = image.plane.mutableRow(y);
        std::memset(row, 0xFF, image.plane.rowStride());
        if (y < 200 || y > 3300 || (y / 12) % 4 == 3) continue;
        for (uint32_t x = 200; x + 8 < 2280; x += 8) {
            s = s * 1103515245u + 12345u;
            if ((x / 40 + y / 48) % 7 != 0) row[x / 8] = uint8_t(s >> 24) | 0x81;
        }
    }
    return image;
}

std::string fileOf(const Image& image, const Options& options) {
    const auto path = std::filesystem::temp_directory_path() / "vivark-tiff-bench.tif";
    {
        SafeOutFile file(path);
        writeTiff(image, file.out(), options, nullptr);
        file.commit();
    }
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

struct Case {
    const char* name;
    bool fax;
    Options options;
};

const Case kCases[] = {
    {"lzw+predictor", false, {1, 2, 2}}, {"deflate", false, {1, 3, 1}},
    {"packbits", false, {1, 1, 1}},      {"jpeg", false, {1, 4, 1}},
    {"group4", true, {5, 1, 1}},
};

const std::string& sample(int index) {
    static std::string files[std::size(kCases)];
    std::string& file = files[index];
    if (file.empty()) {
        const Case& c = kCases[index];
        file = fileOf(c.fax ? faxPage() : colourPicture(), c.options);
    }
    return file;
}

void BM_TiffDecodeOurs(benchmark::State& state) {
    const std::string& bytes = sample(int(state.range(0)));
    uint64_t pixels = 0;
    for (auto _ : state) {
        auto file =
            InFile::overMemory({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
        Image image;
        makeTiffReader(*file)->read(image, ReadOptions{});
        benchmark::DoNotOptimize(image.plane.data());
        pixels += uint64_t{image.width()} * image.height();
    }
    state.SetLabel(kCases[state.range(0)].name);
    state.SetItemsProcessed(int64_t(pixels));
}

// libtiff over the same bytes in memory.
struct MemoryFile {
    const std::string* bytes;
    toff_t at = 0;
};

TIFF* openInMemory(MemoryFile& m) {
    return TIFFClientOpen(
        "memory", "r", &m,
        [](thandle_t h, tdata_t buf, tsize_t size) -> tsize_t {
            auto& f = *static_cast<MemoryFile*>(h);
            const tsize_t n = std::min<tsize_t>(size, tsize_t(f.bytes->size() - f.at));
            std::memcpy(buf, f.bytes->data() + f.at, size_t(n));
            f.at += toff_t(n);
            return n;
        },
        [](thandle_t, tdata_t, tsize_t) -> tsize_t { return 0; },
        [](thandle_t h, toff_t off, int whence) -> toff_t {
            auto& f = *static_cast<MemoryFile*>(h);
            f.at = whence == SEEK_SET   ? off
                   : whence == SEEK_CUR ? f.at + off
                                        : f.bytes->size() + off;
            return f.at;
        },
        [](thandle_t) { return 0; },
        [](thandle_t h) -> toff_t { return static_cast<MemoryFile*>(h)->bytes->size(); },
        [](thandle_t, tdata_t*, toff_t*) { return 0; }, [](thandle_t, tdata_t, toff_t) {});
}

void BM_TiffDecodeLibtiff(benchmark::State& state) {
    const std::string& bytes = sample(int(state.range(0)));
    TIFFSetWarningHandler(nullptr);
    const bool oneStrip = state.range(1) == 1;
    const bool zlibOnly = state.range(1) == 2;
    uint64_t pixels = 0;
    std::vector<uint8_t> stripBuffer;
    for (auto _ : state) {
        MemoryFile m{&bytes};
        TIFF* tif = openInMemory(m);
        uint16_t compression = 1;
        TIFFGetField(tif, TIFFTAG_COMPRESSION, &compression);
        if (compression == COMPRESSION_JPEG)
            TIFFSetField(tif, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        if (zlibOnly) TIFFSetField(tif, TIFFTAG_DEFLATE_SUBCODEC, DEFLATE_SUBCODEC_ZLIB);
        const size_t stripSize = size_t(TIFFStripSize(tif));
        const tstrip_t strips = TIFFNumberOfStrips(tif);
        std::optional<PixelBuffer> page;
        if (oneStrip)
            stripBuffer.resize(stripSize);
        else
            page.emplace(uint32_t(stripSize * strips), false);
        for (tstrip_t s = 0; s < strips; ++s) {
            uint8_t* into = oneStrip ? stripBuffer.data() : page->data() + stripSize * s;
            TIFFReadEncodedStrip(tif, s, into, tsize_t(stripSize));
        }
        uint32_t w = 0, h = 0;
        TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &w);
        TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &h);
        pixels += uint64_t{w} * h;
        TIFFClose(tif);
        benchmark::DoNotOptimize(oneStrip ? stripBuffer.data() : page->data());
    }
    state.SetLabel(std::string(kCases[state.range(0)].name) + (oneStrip   ? " (one strip buffer)"
                                                               : zlibOnly ? " (zlib)"
                                                                          : ""));
    state.SetItemsProcessed(int64_t(pixels));
}

// Encoding: every compression the writer offers, ours through writeTiff and
// libtiff through TIFFWriteEncodedStrip, both to a file in the temp folder,
// with the same rows per strip (8 KiB of rows, JPEG strips rounded up to 16
// rows as ours are) and the same coding choices: predictor 2 for LZW, JPEG
// quality 75 as YCbCr 2x2, and K = 4 for two-dimensional Group 3 (libtiff
// takes it from a resolution above 150 dpi). Our writer always deflates at
// level 9; libtiff is run at its default level 6 ("deflate") and at level 9
// ("deflate-9"). libtiff codes whole Deflate strips with libdeflate where it
// is built with it (as Debian's is), whose output differs from zlib's;
// "deflate-zlib" holds it to zlib at level 6, "deflate-zlib-9" at level 9,
// the bytes ours match.
struct EncodeCase {
    const char* name;
    bool fax;
    Options options;
    uint16_t compression;  // libtiff's
    uint32_t group3Options;
    bool zlibOnly = false;
    int zipQuality = 0;  // libtiff's default when 0
};

const EncodeCase kEncodeCases[] = {
    {"none", false, {1, 0, 1}, COMPRESSION_NONE, 0},
    {"packbits", false, {1, 1, 1}, COMPRESSION_PACKBITS, 0},
    {"lzw+predictor", false, {1, 2, 2}, COMPRESSION_LZW, 0},
    {"deflate", false, {1, 3, 1}, COMPRESSION_ADOBE_DEFLATE, 0},
    {"deflate-zlib", false, {1, 3, 1}, COMPRESSION_ADOBE_DEFLATE, 0, true},
    {"deflate-9", false, {1, 3, 1}, COMPRESSION_ADOBE_DEFLATE, 0, false, 9},
    {"deflate-zlib-9", false, {1, 3, 1}, COMPRESSION_ADOBE_DEFLATE, 0, true, 9},
    {"jpeg", false, {1, 4, 1}, COMPRESSION_JPEG, 0},
    {"group3-1d", true, {3, 1, 1}, COMPRESSION_CCITTFAX3, 0},
    {"group3-2d", true, {4, 1, 1}, COMPRESSION_CCITTFAX3, GROUP3OPT_2DENCODING},
    {"group4", true, {5, 1, 1}, COMPRESSION_CCITTFAX4, 0},
};

void BM_TiffEncodeOurs(benchmark::State& state) {
    const EncodeCase& c = kEncodeCases[state.range(0)];
    const Image image = c.fax ? faxPage() : colourPicture();
    const auto path = std::filesystem::temp_directory_path() / "vivark-tiff-bench-out.tif";
    for (auto _ : state) {
        SafeOutFile file(path);
        writeTiff(image, file.out(), c.options, nullptr);
        file.commit();
    }
    std::filesystem::remove(path);
    state.SetLabel(c.name);
    state.SetItemsProcessed(int64_t(state.iterations()) * image.width() * image.height());
}

void BM_TiffEncodeLibtiff(benchmark::State& state) {
    const EncodeCase& c = kEncodeCases[state.range(0)];
    const Image image = c.fax ? faxPage() : colourPicture();
    const uint32_t w = image.width(), h = image.height();
    const uint32_t spp = c.fax ? 1 : 3, bits = c.fax ? 1 : 8;
    const size_t rowBytes = (size_t{w} * spp * bits + 7) / 8;
    uint32_t rowsPerStrip = uint32_t(std::max<size_t>(1, 8192 / rowBytes));
    if (c.compression == COMPRESSION_JPEG) rowsPerStrip = (rowsPerStrip + 15) / 16 * 16;
    // The rows as TIFF stores them (RGB, or min-is-white bits), made once.
    std::vector<uint8_t> rows(rowBytes * h);
    for (uint32_t y = 0; y < h; ++y) {
        const uint8_t* in = image.plane.row(y);
        uint8_t* out = rows.data() + rowBytes * y;
        if (c.fax) {
            for (size_t i = 0; i < rowBytes; ++i) out[i] = uint8_t(~in[i]);
        } else {
            for (uint32_t x = 0; x < w; ++x) {
                out[3 * x] = in[3 * x + 2];
                out[3 * x + 1] = in[3 * x + 1];
                out[3 * x + 2] = in[3 * x];
            }
        }
    }
    const auto path = std::filesystem::temp_directory_path() / "vivark-tiff-bench-lib.tif";
    for (auto _ : state) {
        TIFF* tif = TIFFOpen(path.c_str(), "w");
        TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, w);
        TIFFSetField(tif, TIFFTAG_IMAGELENGTH, h);
        TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, bits);
        TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, spp);
        TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        TIFFSetField(tif, TIFFTAG_COMPRESSION, c.compression);
        if (c.fax) {
            TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
            TIFFSetField(tif, TIFFTAG_XRESOLUTION, 300.0);
            TIFFSetField(tif, TIFFTAG_YRESOLUTION, 300.0);
            TIFFSetField(tif, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
            if (c.compression == COMPRESSION_CCITTFAX3)
                TIFFSetField(tif, TIFFTAG_GROUP3OPTIONS, c.group3Options);
        } else if (c.compression == COMPRESSION_JPEG) {
            TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_YCBCR);
            TIFFSetField(tif, TIFFTAG_YCBCRSUBSAMPLING, 2, 2);
            TIFFSetField(tif, TIFFTAG_JPEGQUALITY, 75);
            TIFFSetField(tif, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        } else {
            TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
        }
        if (c.compression == COMPRESSION_LZW) TIFFSetField(tif, TIFFTAG_PREDICTOR, 2);
        if (c.zlibOnly) TIFFSetField(tif, TIFFTAG_DEFLATE_SUBCODEC, DEFLATE_SUBCODEC_ZLIB);
        if (c.zipQuality != 0) TIFFSetField(tif, TIFFTAG_ZIPQUALITY, c.zipQuality);
        TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, rowsPerStrip);
        for (uint32_t top = 0, s = 0; top < h; top += rowsPerStrip, ++s) {
            const uint32_t n = std::min(rowsPerStrip, h - top);
            TIFFWriteEncodedStrip(tif, s, rows.data() + rowBytes * top, tsize_t(rowBytes * n));
        }
        TIFFClose(tif);
    }
    std::filesystem::remove(path);
    state.SetLabel(c.name);
    state.SetItemsProcessed(int64_t(state.iterations()) * w * h);
}

BENCHMARK(BM_TiffDecodeOurs)->DenseRange(0, 4)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TiffDecodeLibtiff)
    ->ArgsProduct({benchmark::CreateDenseRange(0, 4, 1), {0, 1, 2}})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TiffEncodeOurs)
    ->DenseRange(0, int(std::size(kEncodeCases)) - 1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TiffEncodeLibtiff)
    ->DenseRange(0, int(std::size(kEncodeCases)) - 1)
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vivark
