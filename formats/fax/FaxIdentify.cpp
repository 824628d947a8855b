// Identifies the fax formats: structured fax files and raw Group 3 streams.
//
// Structured fax (SFF): the document header ("Sfff", version 1, the offset of
// the first page header at least 20) and the first page header (record type
// 254 with at least 16 further bytes, a resolution other than the end-of-
// document value 255, modified Huffman coding 0, a non-zero line length).
// When the page header gives no page length, the rows are counted from the
// page's records, up to the next page header or the end of the data.
//
// Raw fax: a trial decoding with CcittDecoder. The stream must begin with an
// end-of-line code and every row must be preceded by one; the first two rows
// are measured (their runs up to the next end of line) and must have the same
// width; then the trial must run 20 steps, a step being one row of that width
// measured without an invalid code. The height reported is the number of rows
// up to the end of the page, the end of the data or the first damaged row, at
// most kMaxCountedRows. Rows wider than kMaxProbeWidth are not taken for a
// fax (fax pages are 1728 to 4864 pixels wide).
#include <array>

#include "codecs/ByteSources.h"
#include "codecs/CcittDecoder.h"
#include "formats/IdentifySupport.h"
#include "formats/fax/FaxFormat.h"

namespace vivark {
namespace {

constexpr uint32_t kTrialRows = 20;
constexpr uint32_t kMaxCountedRows = 8192;
constexpr uint32_t kMaxProbeWidth = 32768;
// Records examined while counting a structured fax page's rows.
constexpr uint32_t kMaxRecords = 65536;

uint32_t countSffRows(InFile& file) {
    uint32_t rows = 0;
    try {
        for (uint32_t record = 0; record < kMaxRecords; ++record) {
            const uint8_t type = file.readByte();
            if (type == 0) {
                file.skip(file.readLE16());
                ++rows;
            } else if (type <= 216) {
                file.skip(type);
                ++rows;
            } else if (type <= 253) {
                rows += type - 216u;
            } else if (type == 254) {
                break;  // the next page
            } else {
                const uint8_t length = file.readByte();
                if (length == 0) ++rows;  // a row coded in error
                file.skip(length);
            }
        }
    } catch (INFILEERROR error) {
        if (error != INFILEERROR::UnexpectedEnd) throw;
    }
    return rows;
}

}  // namespace

bool identifySff(InFile& file, FormatInfo* info) {
    uint8_t header[20];
    file.read(header, sizeof header);
    if (loadBE32(header) != 0x53666666u || header[4] != 1) return false;
    const uint16_t firstPage = loadLE16(header + 10);
    if (firstPage < sizeof header) return false;
    file.seek(firstPage);
    uint8_t page[18];
    file.read(page, sizeof page);
    if (page[0] != 254 || page[1] < 16 || page[2] == 255 || page[4] != 0) return false;
    const uint32_t width = loadLE16(page + 6);
    uint32_t height = loadLE16(page + 8);
    if (width == 0) return false;
    if (height == 0) {
        file.seek(firstPage + 2 + page[1]);
        height = countSffRows(file);
    }
    return accept(info, width, height, 1, makeTag("SFF "));
}

uint32_t measureRawFax(InFile& file) {
    InFileSource source(file);
    CcittDecoder decoder(kMaxProbeWidth, kRawFaxMode);
    decoder.attach(&source);
    decoder.reset();
    try {
        const uint32_t width = decoder.measureRow();
        return width != 0 && decoder.measureRow() == width ? width : 0;
    } catch (CCITTERROR) {
        return 0;
    }
}

bool identifyFax3(InFile& file, FormatInfo* info) {
    const uint32_t width = measureRawFax(file);
    if (width == 0) return false;
    file.seek(0);
    InFileSource source(file);
    CcittDecoder decoder(width, kRawFaxMode);
    decoder.attach(&source);
    decoder.reset();
    try {
        while (decoder.rowsDecoded() < kTrialRows) {
            if (decoder.measureRow() != width) return false;
        }
    } catch (CCITTERROR) {
        return false;
    }
    uint32_t height = kTrialRows;
    try {
        while (height < kMaxCountedRows && decoder.measureRow() == width) ++height;
    } catch (CCITTERROR) {
    } catch (INFILEERROR error) {
        if (error != INFILEERROR::UnexpectedEnd) throw;
    }
    return accept(info, width, height, 1, makeTag("FAX3"));
}

}  // namespace vivark
