// The vivark tool as people use it, run as a process on files made here:
// failures name their file and the system's reason, known formats that
// cannot be written are named, damaged JPEG sources are refused unless
// allowed, losses are warned of once (and --quiet silences them), option
// combinations that cannot work are refused, --colors is an upper bound,
// few colours survive a palette format exactly, jpeg-transform says when it
// trims, settings are checked against their ranges, info describes samples
// and animations, and icons with PNG entries are read entry by entry.
#include <sys/wait.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "core/ByteOrder.h"
#include "formats/SaveDispatch.h"
#include "formats/bmp/BmpReader.h"
#include "formats/gif/GifReader.h"
#include "formats/jpeg/JpegReader.h"
#include "formats/pnm/PnmReader.h"
#include "support/ImageTestUtil.h"

namespace vivark {
namespace {

using namespace test;

struct Ran {
    int status = -1;
    std::string out, err;
};

// Runs the tool with `args` (each quoted), in `dir`, with its own settings.
Ran runTool(const TempDir& dir, const std::vector<std::string>& args) {
    std::string command = "cd '" + dir.path().string() + "' && VIVARK_CONFIG_HOME=config '" +
                          std::string(VIVARK_TOOL) + "'";
    for (const std::string& arg : args) command += " '" + arg + "'";
    command += " >stdout.txt 2>stderr.txt </dev/null";
    const int result = std::system(command.c_str());
    Ran ran;
    ran.status = WIFEXITED(result) ? WEXITSTATUS(result) : -1;
    ran.out = readWholeFile(dir / "stdout.txt");
    ran.err = readWholeFile(dir / "stderr.txt");
    return ran;
}

std::string ppm(uint32_t width, uint32_t height, const std::function<Colour(uint32_t)>& pixel) {
    std::string bytes = "P6\n" + std::to_string(width) + " " + std::to_string(height) + "\n255\n";
    for (uint32_t i = 0; i < width * height; ++i) {
        const Colour c = pixel(i);
        bytes += char(redOf(c));
        bytes += char(greenOf(c));
        bytes += char(blueOf(c));
    }
    return bytes;
}

std::string saved(const Image& image, const char* writerName) {
    StoredSaveOptions options;
    return writeToBytes(image, findWriterByName(writerName)->write, options);
}

// A Windows icon of two entries: a 16x16 24-bit bitmap with its AND mask
// first, then a 32x32 PNG with alpha.
std::string iconFile(const std::string& png) {
    std::string bitmap(40, '\0');
    auto* h = reinterpret_cast<uint8_t*>(bitmap.data());
    storeLE32(h, 40);
    storeLE32(h + 4, 16);
    storeLE32(h + 8, 32);  // picture and mask
    storeLE16(h + 12, 1);
    storeLE16(h + 14, 24);
    bitmap += std::string(16 * 48, '\x40') + std::string(16 * 4, '\0');
    std::string file(6 + 2 * 16, '\0');
    auto* d = reinterpret_cast<uint8_t*>(file.data());
    storeLE16(d + 2, 1);
    storeLE16(d + 4, 2);
    const uint32_t sizes[2] = {uint32_t(bitmap.size()), uint32_t(png.size())};
    const uint8_t sides[2] = {16, 32};
    const uint16_t depths[2] = {24, 32};
    uint32_t offset = uint32_t(file.size());
    for (int i = 0; i < 2; ++i) {
        uint8_t* e = d + 6 + 16 * i;
        e[0] = e[1] = sides[i];
        storeLE16(e + 4, 1);
        storeLE16(e + 6, depths[i]);
        storeLE32(e + 8, sizes[i]);
        storeLE32(e + 12, offset);
        offset += sizes[i];
    }
    return file + bitmap + png;
}

std::set<Colour> coloursOf(const Image& image) {
    std::set<Colour> colours;
    for (uint32_t y = 0; y < image.height(); ++y)
        for (uint32_t x = 0; x < image.width(); ++x) colours.insert(colourAt(image, x, y));
    return colours;
}

class CliUse : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        dir_ = new TempDir;
        const TempDir& dir = *dir_;
        // 200 colours in 100 pairs one level apart.
        dir.write("pairs.ppm", ppm(40, 20, [](uint32_t i) {
                      const uint32_t c = i % 200;
                      return rgb(uint8_t(c / 2 * 2), uint8_t(100 + c % 2), uint8_t(c));
                  }));
        dir.write("photo.ppm", ppm(400, 250, [](uint32_t i) {
                      return rgb(uint8_t(i % 400), uint8_t(i / 400), uint8_t(i * 7));
                  }));
        Image rgba = patternImage(32, 32, 24);
        rgba.secondPlane = PixelPlane(32, 32, 8, true);
        rgba.secondPlaneKind = SecondPlane::Alpha;
        for (uint32_t y = 0; y < 32; ++y) rgba.secondPlane.mutableRow(y)[y] = 255;
        const std::string png = saved(rgba, "png");
        dir.write("rgba.png", png);
        dir.write("icon.ico", iconFile(png));
        ASSERT_EQ(runTool(dir, {"convert", "photo.ppm", "photo.jpg"}).status, 0);
        std::string jpeg = readWholeFile(dir / "photo.jpg");
        dir.write("cut.jpg", jpeg.substr(0, jpeg.size() / 2));
        std::filesystem::create_directory(dir / "folder");
        dir.write("wide.pbm", "P4\n300 2\n" + std::string(38 * 2, '\x0F'));
    }
    static void TearDownTestSuite() {
        delete dir_;
        dir_ = nullptr;
    }
    static TempDir* dir_;
};
TempDir* CliUse::dir_ = nullptr;

TEST_F(CliUse, EachCaseEndsWithItsStatusAndWords) {
    const struct {
        const char* what;
        std::vector<std::string> args;
        int status;
        const char* err;  // a line of stderr starts with it; null: stderr empty
        const char* out = "";
    } cases[] = {
        {"a missing file names the system's reason",
         {"convert", "none.png", "x.bmp"},
         1,
         "vivark: none.png: File I/O error: No such file or directory"},
        {"a directory as input",
         {"convert", "folder", "x.bmp"},
         1,
         "vivark: folder: File I/O error: Is a directory"},
        {"an output that cannot be created names the output",
         {"convert", "rgba.png", "nowhere/out.png"},
         1,
         "vivark: nowhere/out.png: Cannot save file: No such file or directory"},
        {"a full disk names the output",
         {"convert", "rgba.png", "/dev/full", "--to", "png"},
         1,
         "vivark: /dev/full: Disk is full: No space left on device"},
        {"a known format without a writer is named",
         {"convert", "rgba.png", "out.pcd"},
         2,
         "vivark: out.pcd: Kodak Photo CD cannot be written"},
        {"an unknown extension keeps its message",
         {"convert", "rgba.png", "out.xyz"},
         2,
         "vivark: cannot tell the format from 'out.xyz'"},
        {"a damaged JPEG is refused with the library's words",
         {"convert", "cut.jpg", "cut.bmp"},
         1,
         "vivark: cut.jpg: Premature end of JPEG file"},
        {"--allow-damaged writes it with a warning",
         {"convert", "cut.jpg", "cut.bmp", "--allow-damaged"},
         0,
         "vivark: cut.jpg: damaged: Premature end of JPEG file"},
        {"alpha dropped is said once",
         {"convert", "rgba.png", "flat.bmp"},
         0,
         "vivark: rgba.png: alpha dropped: Windows Bitmap cannot store it"},
        {"a fixed-page format says what it cut off",
         {"convert", "wide.pbm", "wide.rlec"},
         0,
         "vivark: wide.pbm: cropped to 256x192: Compuserve RLE holds no larger picture"},
        {"--quiet silences warnings", {"convert", "rgba.png", "quiet.bmp", "--quiet"}, 0, nullptr},
        {"--verbose says what was written",
         {"convert", "rgba.png", "loud.png", "-v"},
         0,
         "vivark: loud.png: written as Portable Network Graphics, 32x32"},
        {"colours a palette format cannot hold are reported",
         {"convert", "photo.ppm", "photo.gif"},
         0,
         "vivark: photo.ppm: colours reduced from"},
        {"--dither without a reduction to make is refused",
         {"convert", "photo.ppm", "d.png", "--dither", "diffusion"},
         2,
         "vivark: --palette and --dither apply to a colour reduction"},
        {"ordered dither needs a cube",
         {"convert", "photo.ppm", "o.gif", "--colors", "16", "--dither", "ordered"},
         2,
         "vivark: --dither ordered needs a cube palette"},
        {"--colors at most N, even with a larger cube",
         {"convert", "photo.ppm", "two.gif", "--colors", "2", "--palette", "884"},
         0,
         nullptr},
        {"a dither alone shapes the reduction the target forces",
         {"convert", "photo.ppm", "forced.gif", "--dither", "none", "-q"},
         0,
         nullptr},
        {"few colours survive a palette format exactly",
         {"convert", "pairs.ppm", "pairs.gif"},
         0,
         nullptr},
        {"a save option out of range",
         {"convert", "photo.ppm", "q.jpg", "--set", "JFIF\\Quality=101"},
         2,
         "vivark: SaveOptions\\JFIF\\Quality must be from 1 to 100, not 101"},
        {"a writer's short name in --set",
         {"convert", "photo.ppm", "q.jpg", "--set", "jpg\\Quality=30"},
         0,
         nullptr},
        {"an unknown save option lists the nearest",
         {"convert", "photo.ppm", "q.jpg", "--set", "JFIF\\Qualty=30"},
         2,
         "vivark: unknown save option 'JFIF\\Qualty'; did you mean JFIF\\Quality"},
        {"settings set checks the range",
         {"settings", "set", "SaveOptions\\JFIF\\Quality", "500"},
         2,
         "vivark: SaveOptions\\JFIF\\Quality: must be from 1 to 100, not 500"},
        {"settings set takes the short name",
         {"settings", "set", "jpg\\Quality", "90"},
         0,
         nullptr},
        {"settings alone lists what differs",
         {"settings"},
         0,
         nullptr,
         "SaveOptions\\JFIF\\Quality = 90"},
        {"info describes alpha",
         {"info", "rgba.png"},
         0,
         nullptr,
         "rgba.png: Portable Network Graphics (PNG), 32x32, 24 bits per pixel, RGBA, 8 bits per "
         "sample"},
        {"info JSON names the message identifier",
         {"info", "--json", "none.png"},
         1,
         nullptr,
         "  {\"file\":\"none.png\",\"error\":\"File I/O error: No such file or "
         "directory\",\"messageId\":11005}"},
        {"info lists an icon's entries, the largest first",
         {"info", "icon.ico"},
         0,
         nullptr,
         "  Entry 1: 32x32, 32 bits, PNG"},
        {"an icon's default entry is its largest; the other is said to be dropped",
         {"convert", "icon.ico", "big.png"},
         0,
         "vivark: icon.ico: page 2 dropped: Portable Network Graphics holds one image"},
        {"--page picks another entry",
         {"convert", "icon.ico", "small.bmp", "--page", "2"},
         0,
         "vivark: icon.ico: icon mask dropped"},
        {"a page the icon does not have",
         {"convert", "icon.ico", "none.bmp", "--page", "3"},
         1,
         "vivark: icon.ico: page 3 does not exist: the file has 2 pages"},
        {"a transform that trims says so",
         {"jpeg-transform", "--rotate", "90", "turned.jpg"},
         0,
         "vivark: turned.jpg: edges trimmed to whole blocks: 400x250 became 240x400"},
        {"--perfect refuses to trim",
         {"jpeg-transform", "--rotate", "90", "--perfect", "kept.jpg"},
         1,
         "vivark: kept.jpg: the transformation would trim the picture from 400x250 to 240x400"},
        {"jpeg-transform gives the system's reason",
         {"jpeg-transform", "--flip", "h", "gone.jpg"},
         1,
         "vivark: gone.jpg: File I/O error: No such file or directory"},
        {"jpeg-transform speaks with the tool's name",
         {"jpeg-transform", "kept.jpg"},
         2,
         "vivark: jpeg-transform: choose exactly one operation"},
    };
    const TempDir& dir = *dir_;
    std::filesystem::copy_file(dir / "photo.jpg", dir / "turned.jpg");
    std::filesystem::copy_file(dir / "photo.jpg", dir / "kept.jpg");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const Ran ran = runTool(dir, c.args);
        EXPECT_EQ(ran.status, c.status) << ran.err;
        if (c.err == nullptr) {
            EXPECT_EQ(ran.err, "");
        } else {
            EXPECT_TRUE(ran.err.rfind(c.err, 0) == 0 ||
                        ran.err.find(std::string("\n") + c.err) != std::string::npos)
                << ran.err;
            // One line per thing said.
            EXPECT_EQ(std::count(ran.err.begin(), ran.err.end(), '\n'), 1) << ran.err;
        }
        if (*c.out != '\0') {
            EXPECT_NE(ran.out.find(c.out), std::string::npos) << ran.out;
        }
    }

    // What the files hold, read by our readers and, for the colours that
    // must survive, by netpbm.
    const Image two = readFromBytes(readWholeFile(dir / "two.gif"), makeGifReader);
    EXPECT_LE(coloursOf(two).size(), 2u);
    EXPECT_EQ(readWholeFile(dir / "kept.jpg"), readWholeFile(dir / "photo.jpg"));
    EXPECT_EQ(readFromBytes(readWholeFile(dir / "turned.jpg"), makeJpegReader).width(), 240u);
    EXPECT_EQ(readFromBytes(readWholeFile(dir / "small.bmp"), makeBmpReader).width(), 16u);
    const Ran big = runTool(dir, {"info", "big.png"});
    EXPECT_NE(big.out.find("32x32, 24 bits per pixel, RGBA"), std::string::npos) << big.out;
    if (std::system("command -v giftopnm >/dev/null") == 0) {
        const std::string decoded = "giftopnm '" + (dir / "pairs.gif").string() + "' >'" +
                                    (dir / "pairs-back.ppm").string() + "' 2>/dev/null";
        ASSERT_EQ(std::system(decoded.c_str()), 0);
        EXPECT_TRUE(samePixels(readFromBytes(readWholeFile(dir / "pairs-back.ppm"), makePnmReader),
                               readFromBytes(readWholeFile(dir / "pairs.ppm"), makePnmReader)));
    }
}

}  // namespace
}  // namespace vivark
