// The readers of raw Group 3 fax streams and structured fax (SFF) files.
//
// Both make 1-bit images, index 0 white and index 1 black, which is the bit
// value CcittDecoder hands out. Rows damaged in the coded data are counted
// and recorded as a "FaxInfo" item (kind 0, the number of damaged rows) when
// the image keeps its information items; the rest of the page is read.
//
// Raw fax: the width is measured from the first two rows (measureRawFax) and
// the rows are decoded up to the end-of-page code, or up to the end of the
// data, which many fax programs write without one. The height is not known
// before, so the rows are collected first, checked against the limits as they
// grow.
//
// SFF: a document header ("Sfff", version 1, the offset of the first page
// header), then per page a page header (record type 254: vertical resolution,
// horizontal resolution, coding, line length and page length) and records:
// 1 to 216, a coded line of that many bytes; 0, a coded line whose length
// follows as a 16-bit number; 217 to 253, that many less 216 white lines;
// 255 with a length byte, 0 for a line coded in error (it repeats the line
// before, as fax receivers show it) or user data to skip; 254, the next page
// header. A page header whose length byte is 0 or whose vertical resolution
// is 255 ends the document. Each line is modified Huffman without end of
// line, decoded on its own. A page that gives no page length gets the number
// of lines its records hold.
#include <algorithm>
#include <cstring>
#include <vector>

#include "codecs/ByteSources.h"
#include "codecs/CcittDecoder.h"
#include "core/ByteOrder.h"
#include "core/Errors.h"
#include "core/FormatTag.h"
#include "core/ImageInfo.h"
#include "formats/fax/FaxFormat.h"

namespace vivark {

const InfoFamily kFaxInfo = {
    "FaxInfo",
    [](const InfoItem&) { return std::string("Damaged rows"); },
    [](const InfoItem& item) { return std::to_string(item.value); },
};

namespace {

void setFaxPalette(Image& image) {
    image.palette[0] = 0xFFFFFF;
    image.palette[1] = 0x000000;
    image.paletteCount = 2;
}

void noteDamage(Image& image, uint32_t damaged, const ReadOptions& options) {
    if (damaged != 0 && options.keepInfo) image.info.push_back({&kFaxInfo, 0, damaged, {}});
}

class Fax3Reader final : public ImageReader {
  public:
    using ImageReader::ImageReader;

    void readInto(Image& image, const ReadOptions& options) override {
        InFile& file = *file_;
        file.seek(0);
        const uint32_t width = measureRawFax(file);
        if (width == 0) throw FAX3ERROR::DataIntegrity;
        if (!options.limits.allows(width, 1, 1)) throw IMAGEERROR::TooLarge;
        file.seek(0);
        InFileSource source(file);
        CcittDecoder decoder(width, kRawFaxMode);
        decoder.attach(&source);
        decoder.reset();
        const size_t rowBytes = decoder.rowBytes();
        std::vector<uint8_t> rows;
        uint32_t height = 0;
        try {
            for (;;) {
                if (!options.limits.allows(width, height + 1, 1)) throw IMAGEERROR::TooLarge;
                rows.resize((size_t{height} + 1) * rowBytes);
                if (!decoder.decodeRow(rows.data() + size_t{height} * rowBytes)) break;
                ++height;
            }
        } catch (INFILEERROR error) {
            if (error != INFILEERROR::UnexpectedEnd) throw;  // a stream without an end-of-page code
        }
        decoder.finish();
        if (height == 0) throw FAX3ERROR::DataIntegrity;

        Image result(width, height, 1, false);
        setFaxPalette(result);
        for (uint32_t y = 0; y < height; ++y) {
            std::memcpy(result.plane.mutableRow(y), rows.data() + size_t{y} * rowBytes, rowBytes);
            if (progressCancelled(options.progress, y + 1, height)) throw INFILEERROR::Cancelled;
        }
        noteDamage(result, decoder.damagedRows(), options);
        result.formatTag = makeTag("FAX3");
        result.keepRequestOf(image);
        image = std::move(result);
    }
};

constexpr uint32_t kSffMagic = 0x53666666u;  // "Sfff"
constexpr uint8_t kPageRecord = 254;
constexpr uint8_t kEndOfDocument = 255;  // as a page's vertical resolution

struct SffPage {
    uint8_t verticalResolution = 0;
    uint8_t coding = 0;
    uint32_t width = 0;
    uint32_t height = 0;
};

// Reads the page header whose type byte was just read; false at the end of
// the document.
bool readPageHeader(InFile& file, SffPage& page) {
    const uint8_t length = file.readByte();
    if (length == 0) return false;
    uint8_t header[255];
    file.read(header, length);
    if (length < 8) throw SFFERROR::DataIntegrity;
    if (header[0] == kEndOfDocument) return false;
    page.verticalResolution = header[0];
    page.coding = header[2];
    page.width = loadLE16(header + 4);
    page.height = loadLE16(header + 6);
    return true;
}

// Skips the records of one page, up to and including the next page header's
// type byte; returns the number of lines they hold, and false in `more` when
// the data ended instead.
uint32_t skipPage(InFile& file, bool& more) {
    uint32_t lines = 0;
    more = false;
    try {
        for (;;) {
            const uint8_t type = file.readByte();
            if (type == 0) {
                file.skip(file.readLE16());
                ++lines;
            } else if (type <= 216) {
                file.skip(type);
                ++lines;
            } else if (type <= 253) {
                lines += type - 216u;
            } else if (type == kPageRecord) {
                more = true;
                return lines;
            } else {
                const uint8_t length = file.readByte();
                if (length == 0) ++lines;
                file.skip(length);
            }
        }
    } catch (INFILEERROR error) {
        if (error != INFILEERROR::UnexpectedEnd) throw;
    }
    return lines;
}

class SffReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;

    void readInto(Image& image, const ReadOptions& options) override {
        InFile& file = *file_;
        file.seek(0);
        uint8_t header[20];
        file.read(header, sizeof header);
        if (loadBE32(header) != kSffMagic || header[4] != 1) throw SFFERROR::InvalidFile;
        const int64_t firstPage = loadLE16(header + 10);

        // Count the pages and find the one asked for.
        file.seek(firstPage);
        if (file.readByte() != kPageRecord) throw SFFERROR::NoPageHeader;
        uint32_t pages = 0;
        int64_t chosenAt = -1;
        SffPage chosen;
        uint32_t chosenLines = 0;
        for (bool more = true; more;) {
            SffPage page;
            if (!readPageHeader(file, page)) break;
            ++pages;
            const int64_t recordsAt = file.tell();
            const uint32_t lines = skipPage(file, more);
            if (pages == image.pageNumber) {
                chosen = page;
                chosenAt = recordsAt;
                chosenLines = lines;
            }
        }
        if (pages == 0) throw SFFERROR::NoPageHeader;
        image.pageCount = pages;
        if (chosenAt < 0) throw SFFERROR::NoPageHeader;
        if (chosen.coding != 0) throw SFFERROR::UnknownCoding;
        if (chosen.width == 0) throw SFFERROR::DataIntegrity;
        const uint32_t width = chosen.width;
        const uint32_t height = chosen.height != 0 ? chosen.height : chosenLines;
        if (height == 0) throw SFFERROR::DataIntegrity;
        if (!options.limits.allows(width, height, 1)) throw IMAGEERROR::TooLarge;

        Image result(width, height, 1, true);
        setFaxPalette(result);
        // Horizontal resolution 0 is 203 dots per inch; vertical 0 is 98 lines
        // per inch (normal), 1 is 196 (fine).
        if (chosen.verticalResolution <= 1) {
            result.resolution = {203.0, chosen.verticalResolution == 0 ? 98.0 : 196.0,
                                 ResolutionUnit::PerInch};
        }
        if (!options.headerOnly) {
            file.seek(chosenAt);
            decodeLines(file, result, options);
        }
        result.pageNumber = image.pageNumber;
        result.pageCount = pages;
        result.formatTag = makeTag("SFF ");
        result.keepRequestOf(image);
        image = std::move(result);
    }

  private:
    void decodeLines(InFile& file, Image& result, const ReadOptions& options) {
        const uint32_t width = result.width();
        const uint32_t height = result.height();
        CcittDecoder decoder(width, ccitt::kMinIsWhite);
        const size_t rowBytes = decoder.rowBytes();
        std::vector<uint8_t> coded(65535);
        uint32_t y = 0;
        uint32_t damaged = 0;
        auto next = [&]() {
            if (progressCancelled(options.progress, y + 1, height)) throw INFILEERROR::Cancelled;
            ++y;
        };
        try {
            while (y < height) {
                const uint8_t type = file.readByte();
                if (type == kPageRecord) break;
                if (type >= 217 && type <= 253) {
                    for (uint32_t n = type - 216u; n != 0 && y < height; --n) next();  // white
                    continue;
                }
                uint32_t length = type;
                if (type == 255) {
                    length = file.readByte();
                    if (length == 0) {
                        // A line received in error: the line before stands for it.
                        if (y != 0)
                            std::memcpy(result.plane.mutableRow(y), result.plane.row(y - 1),
                                        rowBytes);
                        ++damaged;
                        next();
                    } else {
                        file.skip(length);
                    }
                    continue;
                }
                if (type == 0) length = file.readLE16();
                file.read(coded.data(), length);
                MemorySource source({coded.data(), length});
                decoder.attach(&source);
                decoder.reset();
                uint8_t* row = result.plane.mutableRow(y);
                try {
                    decoder.decodeRow(row);
                } catch (CCITTERROR) {
                    std::memset(row, 0, rowBytes);
                    ++damaged;
                } catch (INFILEERROR error) {
                    if (error != INFILEERROR::UnexpectedEnd) throw;
                    std::memset(row, 0, rowBytes);  // the line's bytes end inside a row
                    ++damaged;
                }
                next();
            }
        } catch (INFILEERROR error) {
            // A file cut short keeps the lines read; the rest stay white.
            if (error != INFILEERROR::UnexpectedEnd || y == 0) throw;
            damaged += height - y;
        }
        noteDamage(result, damaged, options);
    }
};

}  // namespace

std::unique_ptr<ImageReader> makeFax3Reader(InFile& file) {
    return std::make_unique<Fax3Reader>(file);
}
std::unique_ptr<ImageReader> makeSffReader(InFile& file) {
    return std::make_unique<SffReader>(file);
}

}  // namespace vivark
