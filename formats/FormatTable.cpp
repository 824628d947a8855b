// The probing order of the readable formats and the probe over it.
//
// The order below is binding: the tests overlap (a Targa header, a WBMP
// header and a raw fax stream accept loosely), so the stricter tests of the
// formats with magic numbers come first. Readers are attached by setting an
// entry's factory to the family's makeXReader.
#include "formats/FormatTable.h"

#include <array>

#include "core/Errors.h"
#include "formats/Identify.h"
#include "formats/bmp/BmpReader.h"
#include "formats/gif/GifReader.h"
#include "formats/jpeg/JpegReader.h"
#include "formats/jpeg/SfwReader.h"
#include "formats/pcx/PcxReader.h"
#include "formats/png/PngReader.h"
#include "formats/pnm/PnmReader.h"
#include "formats/tga/TgaReader.h"

namespace vivark {
namespace {

const std::array<FormatEntry, 33> kFormats = {{
    {"Graphics Interchange Format", makeTag("GIF "), identifyGif, makeGifReader},
    {"JPEG File Interchange Format", makeTag("JFIF"), identifyJpeg, makeJpegReader},
    {"Portable Network Graphics", makeTag("PNG "), identifyPng, makePngReader},
    {"Tagged Image File Format", makeTag("TIFF"), identifyTiff, nullptr},
    {"Adobe Photoshop Document", makeTag("PSD "), identifyPsd, nullptr},
    {"Windows and OS/2 bitmaps, icons, cursors and pointers", makeTag("BMP "), identifyBmp,
     makeBmpReader},
    {"ZSoft Paintbrush", makeTag("PCX "), identifyPcx, makePcxReader},
    {"DCA/Intel DCX", makeTag("DCX "), identifyDcx, makeDcxReader},
    {"Electronic Arts IFF", makeTag("IFF "), identifyIff, nullptr},
    {"Kodak Photo CD", makeTag("PCD "), identifyPcd, nullptr},
    {"slide show list", makeTag("SSHW"), identifySlideShow, nullptr},
    {"Structured Fax File", makeTag("SFF "), identifySff, nullptr},
    {"Seattle FilmWorks", makeTag("SFW "), identifySfw, makeSfwReader},
    {"SGI Image File Format", makeTag("SGI "), identifySgi, nullptr},
    {"Compuserve RLE", makeTag("RLEC"), identifyCompuserveRle, nullptr},
    {"Utah RLE", makeTag("RLEU"), identifyUtahRle, nullptr},
    {"Sun Raster", makeTag("RAS "), identifySunRaster, nullptr},
    {"PBMPlus Portable Anymap", makeTag("PBM "), identifyPnm, makePnmReader},
    {"PC Paint/Pictor", makeTag("PIC "), identifyPictor, nullptr},
    {"Softimage Picture", makeTag("PICS"), identifySoftimage, nullptr},
    {"Microsoft Paint", makeTag("MSP "), identifyMsp, nullptr},
    {"Digital Research GEM Paint", makeTag("GEMP"), identifyGem, nullptr},
    {"WordPerfect Graphics", makeTag("WPG "), identifyWpg, nullptr},
    {"X Window Dump", makeTag("XWD "), identifyXwd, nullptr},
    {"Truevision Targa", makeTag("TGA "), identifyTga, makeTgaReader},
    {"Flexible Image Transport System", makeTag("FITS"), identifyFits, nullptr},
    {"X Pixmap", makeTag("XPM "), identifyXpm, nullptr},
    {"X Bitmap", makeTag("XBM "), identifyXbm, nullptr},
    {"WAP Bitmap", makeTag("WBMP"), identifyWbmp, nullptr},
    {"OS/2 Boot Logo", makeTag("LOGO"), identifyBootLogo, nullptr},
    {"PICB", makeTag("PICB"), identifyPicb, nullptr},
    {"MacPaint", makeTag("PNTG"), identifyMacPaint, nullptr},
    {"CCITT Group 3 Facsimile", makeTag("FAX3"), identifyFax3, nullptr},
}};

}  // namespace

std::span<const FormatEntry> formatTable() {
    return kFormats;
}

const FormatEntry* findFormatEntry(FormatTag tag) {
    for (const FormatEntry& entry : kFormats) {
        if (entry.formatTag == tag) return &entry;
    }
    return nullptr;
}

const FormatEntry* identifyFormat(InFile& file, FormatInfo* info) {
    for (const FormatEntry& entry : kFormats) {
        file.rewind();
        FormatInfo found;
        bool accepted = false;
        try {
            accepted = entry.identify(file, &found);
        } catch (INFILEERROR error) {
            // A short file (or, for the text formats, a binary one) fails this
            // test only; any other read failure ends the probe.
            if (error != INFILEERROR::UnexpectedEnd && error != INFILEERROR::BinaryData) throw;
        }
        if (accepted) {
            if (info != nullptr) *info = found;
            file.rewind();
            return &entry;
        }
    }
    file.rewind();
    return nullptr;
}

}  // namespace vivark
