// Writes WordPerfect graphics, version 1: the header, a start record, a
// colour map of the image's 2, 16 or 256 entries, one bitmap record (type
// 11) and the end record. The picture size of the start record is in
// WordPerfect units (1/1200 inch) at the 75 dots per inch the bitmap record
// states.
//
// Rows go top first in the run-length code the reader describes: runs of
// three or more equal bytes (up to 127) as a repeat, the rest as copies of
// up to 127 bytes; every row starts afresh. The bitmap record's length is
// written in its 31-bit form and patched when the rows are out.
#include "formats/wpg/WpgWriter.h"

#include <algorithm>

#include "core/Errors.h"
#include "formats/wpg/WpgFormat.h"

namespace vivark {
namespace {

constexpr uint16_t kDotsPerInch = 75;

// Writes one record's type and its length in the short or 16-bit form.
void writeRecordStart(OutFile& out, uint8_t type, uint32_t length) {
    out.writeByte(type);
    if (length < 0xFF) {
        out.writeByte(static_cast<uint8_t>(length));
    } else {
        out.writeByte(0xFF);
        out.writeLE16(static_cast<uint16_t>(length));
    }
}

// Encodes one row; returns the number of bytes written.
uint32_t encodeRow(OutFile& out, const uint8_t* row, size_t count) {
    uint32_t written = 0;
    size_t at = 0;
    size_t literalStart = 0;
    auto flushLiterals = [&](size_t end) {
        while (literalStart < end) {
            const size_t n = std::min<size_t>(127, end - literalStart);
            out.writeByte(static_cast<uint8_t>(n));
            out.write(row + literalStart, n);
            written += static_cast<uint32_t>(n + 1);
            literalStart += n;
        }
    };
    while (at < count) {
        size_t run = 1;
        while (run < 127 && at + run < count && row[at + run] == row[at]) ++run;
        if (run >= 3) {
            flushLiterals(at);
            out.writeByte(static_cast<uint8_t>(0x80 | run));
            out.writeByte(row[at]);
            written += 2;
            at += run;
            literalStart = at;
        } else {
            at += run;
        }
    }
    flushLiterals(count);
    return written;
}

}  // namespace

void writeWpg(const Image& image, OutFile& out, const SaveOptions&, ProgressCallback* progress) {
    const uint32_t width = image.width(), height = image.height();
    const uint32_t bits = image.bitsPerPixel();
    if (bits > 8 || width == 0 || height == 0 || width > 0xFFFF || height > 0xFFFF)
        throw WPGERROR::InvalidFile;

    static constexpr uint8_t kHeader[16] = {0xFF, 'W',  'P', 'C', 16, 0, 0, 0,
                                            1,    0x16, 1,   0,   0,  0, 0, 0};
    out.write(kHeader, sizeof kHeader);

    const auto units = [](uint32_t pixels) {
        return static_cast<uint16_t>(std::min<uint32_t>(0xFFFF, pixels * (1200 / kDotsPerInch)));
    };
    writeRecordStart(out, wpgRecord::Start, 6);
    out.writeByte(1);  // version
    out.writeByte(0);  // flags: no PostScript
    out.writeLE16(units(width));
    out.writeLE16(units(height));

    const uint32_t entries = 1u << bits;
    writeRecordStart(out, wpgRecord::ColourMap, 4 + 3 * entries);
    out.writeLE16(0);
    out.writeLE16(static_cast<uint16_t>(entries));
    for (uint32_t i = 0; i < entries; ++i) {
        const Colour c = image.palette[i];
        const uint8_t triple[3] = {redOf(c), greenOf(c), blueOf(c)};
        out.write(triple, 3);
    }

    out.writeByte(wpgRecord::Bitmap1);
    out.writeByte(0xFF);
    const int64_t lengthAt = out.tell();
    out.writeLE32(0);  // patched below
    out.writeLE16(static_cast<uint16_t>(width));
    out.writeLE16(static_cast<uint16_t>(height));
    out.writeLE16(static_cast<uint16_t>(bits));
    out.writeLE16(kDotsPerInch);
    out.writeLE16(kDotsPerInch);
    uint64_t length = 10;
    const size_t rowBytes = (size_t{width} * bits + 7) / 8;
    for (uint32_t y = 0; y < height; ++y) {
        length += encodeRow(out, image.plane.row(y), rowBytes);
        if (progressCancelled(progress, y + 1, height)) throw OUTFILEERROR::Cancelled;
    }
    if (length > 0x7FFFFFFF) throw WPGERROR::InvalidFile;
    const int64_t end = out.tell();
    out.seek(lengthAt);
    out.writeLE16(static_cast<uint16_t>(0x8000u | (length >> 16)));
    out.writeLE16(static_cast<uint16_t>(length));
    out.seek(end);

    out.writeByte(wpgRecord::End);
    out.writeByte(0);
}

}  // namespace vivark
