// Checks that run over every format of the registry at once, so a new format
// is covered by adding its entry (and, for its reader, a sample):
//  - every writer, at every depth it takes and under each setting that
//    chooses its coding, writes a file that an independent
//    decoder (netpbm, libjpeg's djpeg, ImageMagick, Ghostscript) reads back to
//    the same pixels (within a few levels for JPEG, one for a rendered EPS);
//  - every reader, fed its samples (the files the writers made and the ones
//    committed under tests/formats/*/good/) cut short anywhere, ends with a
//    message of the error model, never a crash or an unmapped error;
//  - a read through a one-byte buffer equals a read of the whole buffer;
//  - identification finds every sample with the size its reader gives;
//  - every reader and writer reports progress and stops at a cancel;
//  - the registry holds every format the converter names: 38 written, 40
//    read, and `vivark convert --help` names every writer.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "core/ByteOrder.h"
#include "core/Errors.h"
#include "core/InFile.h"
#include "formats/FormatTable.h"
#include "formats/Loader.h"
#include "formats/SaveDispatch.h"
#include "support/Commands.h"
#include "support/ImageTestUtil.h"
#include "support/Throws.h"

namespace vivark {
namespace {

struct Sample {
    std::string name;
    std::string bytes;
};

struct Written {
    const WriterEntry* writer;
    uint32_t bits;
    Image source;  // as the save path handed it to the writer
    std::filesystem::path file;
};

// The first extension of the writer, or "bin".
std::string extensionOf(const WriterEntry& writer) {
    return writer.extensions.size() != 0 ? std::string(*writer.extensions.begin()) : "bin";
}

// A picture of odd size (so rows are padded and bits straddle bytes) for a
// writer at `bits`, converted as the save path converts it.
Image sourceFor(const WriterEntry& writer, uint32_t bits) {
    if (writer.formatTag == makeTag("JFIF")) {
        // A lossy writer gets smooth ramps, which it keeps within a few levels.
        Image image(37, 23, bits);
        if (bits == 8) {
            for (uint32_t i = 0; i < 256; ++i) image.palette[i] = rgb(i, 255 - i / 2, i / 3 + 40);
            image.paletteCount = 256;
        }
        for (uint32_t y = 0; y < image.height(); ++y) {
            uint8_t* row = image.plane.mutableRow(y);
            for (uint32_t x = 0; x < image.width(); ++x) {
                if (bits == 8) {
                    row[x] = uint8_t(x * 3 + y * 2);
                } else {
                    row[3 * x] = uint8_t(x * 5);
                    row[3 * x + 1] = uint8_t(y * 8);
                    row[3 * x + 2] = uint8_t(128 + x * 2 - y * 2);
                }
            }
        }
        return image;
    }
    Image image = test::patternImage(37, 23, bits);
    if (writer.colourNeed == ColourNeed::Grey && bits == 8) image.setGreyPalette();
    if (writer.colourNeed == ColourNeed::BlackAndWhite || bits == 1) {
        image.palette[0] = rgb(0, 0, 0);
        image.palette[1] = rgb(255, 255, 255);
    }
    return image;
}

// The stored options, but icons keep the test pictures' sizes (their Size
// option stretches them to a square otherwise).
const SaveOptions& writerOptions() {
    static const StoredSaveOptions stored;
    static const SaveOptionOverlay options = [] {
        SaveOptionOverlay overlay(stored);
        for (const char* key :
             {"SaveOptions\\Windows Icon\\Size", "SaveOptions\\Windows Cursor\\Size",
              "SaveOptions\\OS2 Icon\\Size", "SaveOptions\\OS2 Pointer\\Size"})
            overlay.set(key, 0);
        return overlay;
    }();
    return options;
}

// Whether the registry reads what `writer` writes (Encapsulated PostScript
// is written only).
bool readable(const WriterEntry& writer) {
    for (const FormatEntry* entry : formatTable())
        for (const WriterEntry& w : entry->writers)
            if (&w == &writer) return entry->create != nullptr;
    return false;
}

// The settings that choose a writer's coding, each written once more beside
// the stored values, so that every coding meets the independent decoder and
// the cut-short and one-byte reads. (No peer reads OS/2 2.x bitmaps right,
// nor Targa's right-to-left and interlaced forms: their folders read those
// back.)
struct Variant {
    std::string_view writer;          // its first short name
    const char* assignments[2] = {};  // as the command line's --set takes them
};
const Variant kVariants[] = {
    {"bmp", {"Windows Bitmap\\Encode=yes"}},
    {"iff", {"IFF\\Encode=yes"}},
    {"pbm", {"PBM\\RawData=no"}},
    {"pgm", {"PGM\\RawData=no"}},
    {"ppm", {"PPM\\RawData=no"}},
    {"pnm", {"PNM\\RawData=no"}},
    {"psd", {"PSD\\Encode=no"}},
    {"ras", {"RAS\\Encode=yes"}},
    {"sgi", {"SGI\\Encode=yes"}},
    {"tga", {"TGA\\Encode=yes", "TGA\\BottomToTop=yes"}},
    {"pcx", {"PCX\\Enable24bit=yes"}},
    {"dcx", {"PCX\\Enable24bit=yes"}},
};

// Every writer at every depth it takes (and, where it keeps alpha, 24 bits
// with an alpha plane, "32"; where it takes colour at 8 bits, a grey picture,
// "0"), under the stored settings and each variant, written once into `dir`.
const std::vector<Written>& writtenFiles() {
    static test::TempDir dir;
    static const std::vector<Written> files = [] {
        std::vector<Written> list;
        for (const WriterEntry* writer : writerTable()) {
            const std::string name(*writer->shortNames.begin());
            static const Variant stored{};
            std::vector<const Variant*> variants = {&stored};
            for (const Variant& v : kVariants)
                if (v.writer == name) variants.push_back(&v);
            for (size_t i = 0; i < variants.size(); ++i) {
                SaveOptionOverlay options(writerOptions());
                for (const char* assignment : variants[i]->assignments)
                    if (assignment != nullptr && !options.setAssignment(assignment))
                        ADD_FAILURE() << assignment;
                for (uint32_t bits : {1u, 4u, 8u, 24u, 32u, 0u}) {
                    const bool alpha = bits == 32 && (writer->keeps & kKeepsAlpha) != 0;
                    const bool grey =
                        bits == 0 && writer->accepts(8) && writer->colourNeed == ColourNeed::Any;
                    if (!writer->accepts(bits) && !alpha && !grey) continue;
                    Written w{writer, bits, sourceFor(*writer, alpha ? 24 : grey ? 8 : bits), {}};
                    if (grey) w.source.setGreyPalette();
                    if (alpha) {
                        w.source.secondPlane =
                            PixelPlane(w.source.width(), w.source.height(), 8, false);
                        w.source.secondPlaneKind = SecondPlane::Alpha;
                        for (uint32_t y = 0; y < w.source.height(); ++y)
                            for (uint32_t x = 0; x < w.source.width(); ++x)
                                w.source.secondPlane.mutableRow(y)[x] = uint8_t(x * 7 + y);
                    }
                    w.file = dir / (name + "-" + std::to_string(bits) + "-" + std::to_string(i) +
                                    "." + extensionOf(*writer));
                    w.source = convertForWriter(w.source, *writer, options);
                    saveImage(w.source, w.file, *writer, options);
                    list.push_back(std::move(w));
                }
            }
        }
        return list;
    }();
    return files;
}

const std::vector<Sample>& samples() {
    static const std::vector<Sample> list = [] {
        std::vector<Sample> all;
        for (const Written& w : writtenFiles())
            if (readable(*w.writer))
                all.push_back({w.file.filename().string(), test::readWholeFile(w.file)});
        const std::filesystem::path root = std::filesystem::path(VIVARK_TEST_DATA) / "formats";
        for (const auto& family : std::filesystem::directory_iterator(root)) {
            const auto good = family.path() / "good";
            if (!std::filesystem::is_directory(good)) continue;
            for (const auto& file : std::filesystem::directory_iterator(good)) {
                if (file.path().extension() == ".md") continue;
                all.push_back(
                    {family.path().filename().string() + "/" + file.path().filename().string(),
                     test::readWholeFile(file.path())});
            }
        }
        return all;
    }();
    return list;
}

LoadResult loadBytes(Image& image, const std::string& bytes, size_t bufferSize = 0) {
    auto file = InFile::overMemory({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()},
                                   bufferSize);
    return load(image, *file, ReadOptions{});
}

// A raw PNM (P4, P5, P6, maxval 255) as colours, top row first.
struct Decoded {
    uint32_t width = 0, height = 0;
    std::vector<Colour> pixels;
};

bool parsePnm(const std::string& text, Decoded& out) {
    size_t at = 0;
    auto token = [&]() {
        for (;;) {
            while (at < text.size() && isspace(static_cast<unsigned char>(text[at]))) ++at;
            if (at < text.size() && text[at] == '#') {
                while (at < text.size() && text[at] != '\n') ++at;
                continue;
            }
            break;
        }
        const size_t start = at;
        while (at < text.size() && !isspace(static_cast<unsigned char>(text[at]))) ++at;
        return text.substr(start, at - start);
    };
    const std::string magic = token();
    if (magic != "P4" && magic != "P5" && magic != "P6") return false;
    out.width = std::stoul(token());
    out.height = std::stoul(token());
    if (magic != "P4" && token() != "255") return false;
    ++at;  // the one whitespace before the raster
    const size_t rowBytes =
        magic == "P4" ? (out.width + 7) / 8 : out.width * (magic == "P6" ? 3 : 1);
    if (text.size() < at + rowBytes * out.height) return false;
    for (uint32_t y = 0; y < out.height; ++y) {
        const auto* row = reinterpret_cast<const uint8_t*>(text.data() + at + y * rowBytes);
        for (uint32_t x = 0; x < out.width; ++x) {
            if (magic == "P4") {
                const bool black = (row[x / 8] >> (7 - x % 8)) & 1;
                out.pixels.push_back(black ? rgb(0, 0, 0) : rgb(255, 255, 255));
            } else if (magic == "P5") {
                out.pixels.push_back(rgb(row[x], row[x], row[x]));
            } else {
                out.pixels.push_back(rgb(row[3 * x], row[3 * x + 1], row[3 * x + 2]));
            }
        }
    }
    return true;
}

// The independent decoder of a writer's files: netpbm's converter for the
// format where it has one (ImageMagick 6 turns some bottom-up files over),
// libjpeg's djpeg for JPEG, libtiff's fax2tiff for raw fax, Pillow for
// Microsoft Paint, ImageMagick otherwise; empty where none of them reads the
// format (structured fax, Compuserve RLE, PC Paint/Pictor, Softimage pictures
// and OS/2 boot logos, checked in their folders against files built by hand).
std::string decoderCommand(const WriterEntry& writer, const std::filesystem::path& file,
                           const Image& source) {
    static const std::map<std::string, std::string> kNetpbm = {
        {"gif", "giftopnm"},   {"bmp", "bmptopnm"},   {"pcx", "pcxtoppm"},  {"tga", "tgatoppm"},
        {"png", "pngtopnm"},   {"pbm", "pamtopnm"},   {"pgm", "pamtopnm"},  {"ppm", "pamtopnm"},
        {"pnm", "pamtopnm"},   {"jpg", "djpeg -pnm"}, {"xbm", "xbmtopbm"},  {"xpm", "xpmtoppm"},
        {"wbmp", "wbmptopbm"}, {"xwd", "xwdtopnm"},   {"ras", "rasttopnm"}, {"tif", "tifftopnm"},
        {"sgi", "sgitopnm"},   {"iff", "ilbmtoppm"},  {"img", "gemtopnm"},  {"rle", "rletopnm"}};
    const std::string ext = extensionOf(writer);
    const auto found = kNetpbm.find(ext);
    const std::string quoted = test::shellQuoted(file.string());
    // xwdtopnm gives colour-mapped dumps 16 bits a sample.
    // gemtopnm knows no XIMG palette; tests/formats/gem reads the planes of
    // our XIMG files through it.
    if (ext == "img" && source.bitsPerPixel() != 1) return {};
    if (ext == "xwd") return "xwdtopnm " + quoted + " 2>/dev/null | pamdepth 255 2>/dev/null";
    if (found != kNetpbm.end()) return found->second + " " + quoted + " 2>/dev/null";
    if (ext == "sff" || ext == "rlec" || ext == "pic" || ext == "si" || ext == "lgo") return {};
    // A MacPaint page is 576 × 720 with the picture at its centre.
    if (ext == "mac") {
        const uint32_t w = source.width(), h = source.height();
        return "macptopbm " + quoted + " 2>/dev/null | pamcut -left " +
               std::to_string((576 - w) / 2) + " -top " + std::to_string((720 - h) / 2) +
               " -width " + std::to_string(w) + " -height " + std::to_string(h);
    }
    // No peer reads OS/2 icons and pointers; tests/formats/bmp reads them back.
    if (writer.formatTag == makeTag("ICO ") || writer.formatTag == makeTag("PTR ")) return {};
    // Ghostscript renders the page at one pixel a point, cropped to its box.
    if (ext == "eps")
        return "gs -q -dNOPAUSE -dBATCH -dSAFER -sDEVICE=ppmraw -r72 -dEPSCrop -sOutputFile=- " +
               quoted + " 2>/dev/null";
    // Pillow reads both versions of Microsoft Paint.
    if (ext == "msp")
        return "/usr/bin/python3 -c \"import sys; from PIL import Image; "
               "Image.open(sys.argv[1]).convert('L').save(sys.stdout.buffer, 'PPM')\" " +
               quoted + " 2>/dev/null";
    if (ext == "g3") {
        // A raw fax states no width; fax2tiff also counts the end-of-page
        // code's end-of-line codes as rows, which pamcut drops.
        return "fax2tiff -M -X " + std::to_string(source.width()) + " -o " + quoted + ".tif " +
               quoted + " >/dev/null 2>&1 && tifftopnm " + quoted +
               ".tif 2>/dev/null | pamcut -height " + std::to_string(source.height());
    }
    // FITS stores the bottom row first, and fitstopnm prints the rows as stored.
    if (ext == "fits")
        return "fitstopnm -omaxval=255 " + quoted + " 2>/dev/null | pamflip -topbottom";
    if (ext == "dcx") {
        // A DCX holds PCX pages: its first page, from the offset at byte 4,
        // goes to netpbm's PCX decoder.
        const std::string bytes = test::readWholeFile(file);
        const uint32_t offset =
            bytes.size() >= 8 ? loadLE32(reinterpret_cast<const uint8_t*>(bytes.data()) + 4) : 0;
        return "tail -c +" + std::to_string(offset + 1) + " " + quoted + " | pcxtoppm 2>/dev/null";
    }
    return "convert-im6.q16 " + quoted + "[0] -depth 8 ppm:- 2>/dev/null";
}

TEST(RegistryChecks, EveryWriterIsReadBackByAnIndependentDecoder) {
    if (std::system("command -v pamtopnm >/dev/null && command -v convert-im6.q16 >/dev/null") != 0)
        GTEST_SKIP() << "netpbm and ImageMagick are needed (scripts/setup.sh)";
    ASSERT_FALSE(writtenFiles().empty());
    for (const Written& w : writtenFiles()) {
        SCOPED_TRACE(w.file.filename().string());
        const std::string command = decoderCommand(*w.writer, w.file, w.source);
        if (command.empty()) continue;
        // ImageMagick 6.9 refuses every indexed Photoshop document (its own
        // too: it asks three channels of all but grey ones), and no other
        // decoder is at hand; tests/formats/PeerToolFilesTest.cpp reads its
        // indexed files instead.
        if (extensionOf(*w.writer) == "psd" && w.source.hasPalette() && !w.source.isGrey())
            continue;
        // tifftopnm blends the colour with the alpha; the alpha test above
        // reads TIFF alpha through ImageMagick.
        if (extensionOf(*w.writer) == "tif" && w.source.secondPlaneKind == SecondPlane::Alpha)
            continue;
        Decoded decoded;
        ASSERT_TRUE(parsePnm(test::commandOutput(command), decoded));
        ASSERT_EQ(decoded.width, w.source.width());
        ASSERT_EQ(decoded.height, w.source.height());
        const bool lossy = w.writer->formatTag == makeTag("JFIF");
        // A rendered page may round a level.
        const int tolerance = w.writer->formatTag == makeTag("EPS ") ? 1 : 0;
        int worst = 0;
        double total = 0;
        for (uint32_t y = 0; y < decoded.height; ++y) {
            for (uint32_t x = 0; x < decoded.width; ++x) {
                const Colour want = test::colourAt(w.source, x, y);
                const Colour got = decoded.pixels[size_t{y} * decoded.width + x];
                for (int shift : {0, 8, 16}) {
                    const int error =
                        std::abs(int(want >> shift & 0xFF) - int(got >> shift & 0xFF));
                    worst = std::max(worst, error);
                    total += error;
                }
            }
        }
        if (lossy) {
            // Smooth ramps come back within a few levels on average; a
            // swapped channel, a flipped image or a shifted row does not.
            EXPECT_LE(total / (3.0 * decoded.width * decoded.height), 4.0);
        } else {
            EXPECT_LE(worst, tolerance);
        }
    }
}

// Alpha and transparency survive our writers and readers, checked both ways
// against ImageMagick: what it reads from our files, and what we read from
// its files.
TEST(RegistryChecks, AlphaAndTransparentIndexAreKeptByTheFormatsThatStoreThem) {
    if (std::system("command -v convert-im6.q16 >/dev/null") != 0)
        GTEST_SKIP() << "ImageMagick is needed (scripts/setup.sh)";
    test::TempDir dir;
    Image rgba = test::patternImage(29, 17, 24);
    rgba.secondPlane = PixelPlane(29, 17, 8, false);
    rgba.secondPlaneKind = SecondPlane::Alpha;
    for (uint32_t y = 0; y < 17; ++y)
        for (uint32_t x = 0; x < 29; ++x) rgba.secondPlane.mutableRow(y)[x] = uint8_t(x * 9 + y);
    Image indexed = test::patternImage(29, 17, 8);
    indexed.transparentIndex = 3;
    indexed.palette[3] = rgb(1, 2, 3);  // a colour of its own
    const SaveOptions& options = writerOptions();

    // What ImageMagick says the alpha of a file is, top row first.
    auto alphaOf = [&](const std::filesystem::path& file) {
        Decoded alpha;
        EXPECT_TRUE(parsePnm(test::commandOutput("convert-im6.q16 '" + file.string() +
                                                 "' -alpha extract -depth 8 pgm:-"),
                             alpha));
        return alpha;
    };
    auto expectAlpha = [&](const Image& image, const Decoded& alpha, auto opaqueAt) {
        ASSERT_EQ(alpha.width, image.width());
        for (uint32_t y = 0; y < image.height(); ++y)
            for (uint32_t x = 0; x < image.width(); ++x)
                ASSERT_EQ(alpha.pixels[size_t{y} * alpha.width + x] & 0xFF, opaqueAt(x, y))
                    << x << "," << y;
    };
    auto planeAlpha = [&](const Image& image) {
        return [&image](uint32_t x, uint32_t y) -> uint32_t { return image.secondPlane.row(y)[x]; };
    };
    auto indexAlpha = [&](uint32_t x, uint32_t y) -> uint32_t {
        return indexed.plane.row(y)[x] == 3 ? 0 : 255;
    };

    for (const char* ext : {"png", "tga", "tif", "sgi"}) {
        SCOPED_TRACE(ext);
        const auto ours = dir / (std::string("ours.") + ext);
        saveImage(rgba, ours, *findWriterByExtension(ext), options);
        expectAlpha(rgba, alphaOf(ours), planeAlpha(rgba));
        // ImageMagick's own file of the same picture, read by us.
        const auto theirs = dir / (std::string("theirs.") + ext);
        ASSERT_EQ(std::system(("convert-im6.q16 '" + ours.string() +
                               "' -define "
                               "png:color-type=6 '" +
                               theirs.string() + "'")
                                  .c_str()),
                  0);
        Image read;
        ASSERT_TRUE(loadFile(read, theirs.string(), ReadOptions{}).completed);
        ASSERT_EQ(read.secondPlaneKind, SecondPlane::Alpha);
        expectAlpha(read, alphaOf(theirs), planeAlpha(read));
    }
    // A 32-bit icon keeps the alpha channel (beside its AND mask).
    for (const char* ext : {"ico", "cur"}) {
        SCOPED_TRACE(ext);
        const auto ours = dir / (std::string("ours.") + ext);
        saveImage(rgba, ours, *findWriterByExtension(ext), options);
        expectAlpha(rgba, alphaOf(ours), planeAlpha(rgba));
    }
    // A transparent index: as the index where the format names one, as alpha
    // where it stores alpha.
    for (const char* ext : {"png", "gif", "ico", "cur", "tga", "tif", "sgi"}) {
        SCOPED_TRACE(ext);
        const auto ours = dir / (std::string("indexed.") + ext);
        saveImage(indexed, ours, *findWriterByExtension(ext), options);
        expectAlpha(indexed, alphaOf(ours), indexAlpha);
    }
    // An icon's AND mask: set where ImageMagick sees the icon transparent.
    const auto icon = std::filesystem::path(VIVARK_TEST_DATA) / "formats/bmp/good/im-icon.ico";
    Image read;
    ASSERT_TRUE(loadFile(read, icon.string(), ReadOptions{}).completed);
    ASSERT_EQ(read.secondPlaneKind, SecondPlane::AndMask);
    expectAlpha(read, alphaOf(icon), [&](uint32_t x, uint32_t y) -> uint32_t {
        return (read.secondPlane.row(y)[x / 8] >> (7 - x % 8) & 1) ? 0 : 255;
    });
}

TEST(RegistryChecks, EverySampleCutShortEndsWithAMessageOfTheErrorModel) {
    size_t loads = 0;
    for (const Sample& sample : samples()) {
        SCOPED_TRACE(sample.name);
        Image whole;
        const LoadResult full = loadBytes(whole, sample.bytes);
        ASSERT_TRUE(full.completed) << messageText(full.message);
        const size_t size = sample.bytes.size();
        const size_t step = std::max<size_t>(1, size / 97);
        for (size_t length = 0; length < size; length += step) {
            Image image;
            // Buffers of 1 to 3 bytes too, so the cut falls inside refills.
            const LoadResult cut = loadBytes(image, sample.bytes.substr(0, length), length % 4);
            ++loads;
            if (cut.completed) continue;  // a format that reads a short file
            EXPECT_NE(cut.message, msg::Unknown) << "cut after " << length;
            EXPECT_FALSE(messageText(cut.message).empty()) << "cut after " << length;
        }
    }
    EXPECT_GT(samples().size(), 80u);
    EXPECT_GT(loads, 5000u);
}

TEST(RegistryChecks, OneByteReadsGiveTheWholeBufferResult) {
    for (const Sample& sample : samples()) {
        SCOPED_TRACE(sample.name);
        Image whole, trickle;
        const LoadResult a = loadBytes(whole, sample.bytes);
        const LoadResult b = loadBytes(trickle, sample.bytes, 1);
        ASSERT_EQ(a.completed, b.completed);
        EXPECT_EQ(a.message, b.message);
        if (!a.completed) continue;
        EXPECT_EQ(whole.bitsPerPixel(), trickle.bitsPerPixel());
        EXPECT_TRUE(test::samePixels(whole, trickle));
        EXPECT_EQ(whole.info.size(), trickle.info.size());
        EXPECT_EQ(whole.comment, trickle.comment);
        EXPECT_EQ(whole.pageCount, trickle.pageCount);
    }
}

// Identification agrees with the readers: every sample is found, whatever
// the buffer size, with the size its reader gives, and no prefix of its
// header makes the probe throw.
TEST(RegistryChecks, EverySampleIsIdentifiedWithTheSizeItsReaderGives) {
    for (const Sample& sample : samples()) {
        SCOPED_TRACE(sample.name);
        Image image;
        ASSERT_TRUE(loadBytes(image, sample.bytes).completed);
        const auto* data = reinterpret_cast<const uint8_t*>(sample.bytes.data());
        for (size_t bufferSize : {0, 7}) {
            auto file = InFile::overMemory({data, sample.bytes.size()}, bufferSize);
            FormatInfo info;
            ASSERT_NE(identifyFormat(*file, &info), nullptr);
            EXPECT_EQ(info.width, image.width());
            // An OS/2 colour icon or pointer is identified by its first
            // bitmap, the mask, twice the picture's height.
            const bool os2Colour =
                (info.formatTag == makeTag("ICO ") || info.formatTag == makeTag("PTR ")) &&
                image.bitsPerPixel() > 1;
            if (!os2Colour) {
                EXPECT_EQ(info.height, image.height());
            }
        }
        for (size_t length = 0; length < std::min<size_t>(sample.bytes.size(), 600); ++length) {
            auto file = InFile::overMemory({data, length}, 7);
            FormatInfo info;
            EXPECT_NO_THROW(identifyFormat(*file, &info)) << "cut after " << length;
        }
    }
}

// Every reader and writer reports its progress as it goes and stops at the
// first cancel: a cancelled load leaves the caller's image and gives no
// message, a cancelled save throws OUTFILEERROR::Cancelled and leaves no file.
TEST(RegistryChecks, EveryReaderAndWriterReportsProgressAndStopsOnCancel) {
    ProgressFunction cancel([](uint32_t, uint32_t) { return true; });
    for (const Sample& sample : samples()) {
        SCOPED_TRACE(sample.name);
        auto loadWith = [&](Image& image, ProgressCallback* progress) {
            auto file = InFile::overMemory(
                {reinterpret_cast<const uint8_t*>(sample.bytes.data()), sample.bytes.size()});
            ReadOptions options;
            options.progress = progress;
            return load(image, *file, options);
        };
        uint32_t calls = 0;
        ProgressFunction recorder([&](uint32_t done, uint32_t total) {
            EXPECT_LE(done, total);
            ++calls;
            return false;
        });
        Image image;
        ASSERT_TRUE(loadWith(image, &recorder).completed);
        EXPECT_GT(calls, 0u);
        const uint32_t serial = image.serial();
        const LoadResult cancelled = loadWith(image, &cancel);
        EXPECT_FALSE(cancelled.completed);
        EXPECT_EQ(cancelled.message, msg::None);
        EXPECT_EQ(image.serial(), serial);
    }
    test::TempDir dir;
    for (const Written& w : writtenFiles()) {
        SCOPED_TRACE(w.file.filename().string());
        EXPECT_EQ(test::thrownBy<OUTFILEERROR>(
                      [&] { saveImage(w.source, dir / "f", *w.writer, writerOptions(), &cancel); }),
                  std::optional(OUTFILEERROR::Cancelled));
        EXPECT_FALSE(std::filesystem::exists(dir / "f"));
    }
}

// Each writer is one format; an entry with a reader reads every format it
// writes, and a read-only entry (Photo CD, Seattle FilmWorks, PICB) counts
// once. The slide show list has a reader that reads no image.
TEST(RegistryChecks, TheRegistryHoldsEveryFormatTheConverterNames) {
    size_t written = 0, read = 0;
    std::string help;
    ASSERT_EQ(test::runVivark({"convert", "--help"}, &help), 0);
    for (const FormatEntry* entry : formatTable()) {
        written += entry->writers.size();
        if (entry->create != nullptr && entry->formatTag != makeTag("SSHW"))
            read += std::max<size_t>(entry->writers.size(), 1);
        for (const WriterEntry& writer : entry->writers) {
            SCOPED_TRACE(writer.menuName);
            const std::string name(*writer.shortNames.begin());
            bool named = false;
            for (const char* before : {" ", "("})
                for (const char* after : {",", ")"})
                    named = named || help.find(before + name + after) != std::string::npos;
            EXPECT_TRUE(named);
        }
    }
    EXPECT_EQ(written, 38u);
    EXPECT_EQ(read, 40u);
}

}  // namespace
}  // namespace vivark
