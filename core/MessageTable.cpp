// The system's string table: message identifiers and their texts.
//
// Texts are the system's own words and are kept exactly as the user sees them.
// The table is sorted by identifier (checked at compile time) and looked up by
// binary search; identifiers it lacks go to the registered library provider.
#include <algorithm>
#include <array>
#include <atomic>

#include "core/Messages.h"

namespace vivark {
namespace {

constexpr MessageEntry kMessages[] = {
    {11000, "Unrecognized file format"},
    {11001, "Cannot open file"},
    {11002, "Disk is write protected"},
    {11003, "Disk is full"},
    {11004, "Cannot create new folder"},
    {11005, "File I/O error"},
    {11006, "Unexpected end of file"},
    {11007, "Unexpected binary data encountered in file"},
    {11009, "Invalid or unsupported file"},
    {11012, "Data integrity error"},
    {11015, "An unknown error occurred"},
    {11016, "Cannot save file %s"},
    {11017,
     "Unable to create temporary file %s (Check the setting of the TMP environment variable)."},
    {11018,
     "Unable to write file %s (Check that the file or disk is not write protected and that "
     "there is free space on the disk)"},
    {11019, "Conversion of file %s failed"},
    {11020, "The image has more colors than the format supports; reduce the color depth first"},
    {11108, "Error reading JPEG data header"},
    {11109, "Error reading JPEG data header: Only table data expected"},
    {11110, "Not a PNG file"},
    {11111, "CRC32 Error"},
    {11112, "Invalid IHDR chunk length"},
    {11113, "Image width or height is zero"},
    {11114, "Unknown compression method"},
    {11115, "Unknown interlace method"},
    {11116, "Invalid bit depth"},
    {11117, "Invalid color type"},
    {11118, "Invalid PLTE chunk length (not divisible by 3)"},
    {11119, "Multiple IHDR chunks"},
    {11120, "Multiple PLTE chunks"},
    {11121, "Multiple gAMA chunks"},
    {11122, "Unknown adaptive filter encountered"},
    {11123, "Unknown filter method"},
    {11124, "IHDR chunk is missing"},
    {11125, "PLTE chunk is missing"},
    {11126, "IDAT chunk is missing"},
    {11127, "Invalid IDAT chunk length"},
    {11128, "Unexpected IDAT chunk encountered"},
    {11129, "Error in CCITT compressed data"},
    {11130, "Error in PackBits encoded data"},
    {11131, "Error in LZW compressed data"},
    {11169, "Error in ZIP compressed data: Compression flag modulo check failed"},
    {11170, "Error in ZIP compressed data: Invalid compression method"},
    {11171, "Error in ZIP compressed data: Invalid block type"},
    {11172, "Error in ZIP compressed data: Invalid data"},
    {11173, "Error in ZIP compressed data: Huffman code set incomplete"},
    {11174, "Error in ZIP compressed data: More Huffman codes than bits"},
    {11175, "Error in ZIP compressed data: Adler32 checksum error"},
    {11176, "Error in ZIP compressed data: Image data incomplete"},
    {11177, "Data overrun (superfluous pixel data)"},
    {11178, "Unsupported compression method"},
    {11179, "Unsupported NAXIS value"},
    {11180, "Unsupported BITPIX value"},
    {11181, "Premature end of data blocks. Image data incomplete."},
    {11182, "No color map is defined"},
    {11183, "Invalid LZW code size"},
    {11184, "Not an EA'85 IFF file"},
    {11185, "The file is not a FORM type IFF file"},
    {11186, "Unknown IFF subtype"},
    {11187, "Unknown mask method"},
    {11188, "Unknown compression method"},
    {11189, "Unknown PCHG compression method"},
    {11190, "Insufficient data in PCHG chunk"},
    {11191, "Unsupported PCHG format"},
    {11192, "Insufficient chunk data"},
    {11193, "IFF file contains no BODY chunk (No image data)"},
    {11194, "Required chunk BMHD is missing"},
    {11195, "Unsupported bitcount/plane configuration"},
    {11196, "Invalid or unsupported number of color planes"},
    {11197, "Not a Microsoft Paint (MSP) file"},
    {11198, "Invalid line length"},
    {11199, "Invalid line tag"},
    {11200, "Invalid line number"},
    {11201, "Missing synch mark"},
    {11202, "Error in Huffman table"},
    {11203, "Missing luminance channel"},
    {11204, "Invalid descriptor count"},
    {11205, "Invalid file name count"},
    {11206, "Invalid file count"},
    {11207, "Unsupported bit count"},
    {11208, "Unsupported color mode"},
    {11209, "Unsupported compression type"},
    {11210, "Colormap too large"},
    {11211, "Unsupported number of color channels"},
    {11212, "Unsupported bitcount"},
    {11213, "Unsupported type"},
    {11214, "Unsupported type of colormap"},
    {11215, "Unable to locate page header"},
    {11216, "Unknown coding method"},
    {11217, "This SGI file only holds a color map (no image data)"},
    {11218, "Unsupported color type"},
    {11219, "Unsupported method of storage"},
    {11220, "Unsupported number of bytes per pixel channel"},
    {11221, "Unsupported colormap format"},
    {11222, "Unsupported data type encountered"},
    {11223, "Unsupported fill order"},
    {11224, "Invalid TIFF file"},
    {11225, "Unsupported data: Bits per sample = 0"},
    {11226, "Unsupported data: Samples per pixel is 0 or >256"},
    {11227, "Unsupported photometry"},
    {11228, "Data error: Photometry not specified"},
    {11229, "Unsupported compression predictor"},
    {11230, "Unsupported planar configuration"},
    {11231, "Unsupported JPEG compression method"},
    {11232, "The WPG file contains no raster bitmap data. (Cannot handle vector graphics.)"},
    {11233, "Error in image header"},
    {11234, "Error in color map data"},
    {11235, "The color map contains a color that is not recognized"},
    {11236, "Error in pixel data. The specified pixel cannot be found in the colormap"},
    {11237, "Error in image data"},
    {11238, "Unknown byte order"},
    {11239, "Unknown bit order"},
    {11240, "Unsupported chunk size"},
    {11241, "Unsupported format"},
    {11242, "Invalid bitmask"},
    {11243, "Missing colormap"},
    {11244, "Unknown palette file format"},
    {11245, "Invalid palette data"},
    {11250, "Filter dimensions must be odd (Filter has dimensions %ux%u)"},
    {11251, "Filter too large (Filter has dimensions %ux%u)"},
    {11252, "Divisor must not be zero"},
    {11253, "No filter name specified"},
    {11254, "Filter weights, divisor and bias must be whole numbers from -9999 to 9999"},
    {11255, "The crop rectangle lies outside the image"},
    {11256, "The resolution must be a positive number"},
    {11258, "Image dimension exceeds maximum supported size"},
};

constexpr bool strictlyAscending() {
    for (size_t i = 1; i < std::size(kMessages); ++i)
        if (kMessages[i - 1].id >= kMessages[i].id) return false;
    return true;
}
static_assert(strictlyAscending(), "the message table must be sorted by identifier");

std::atomic<MessageProvider> libraryProvider{nullptr};

}  // namespace

std::span<const MessageEntry> messageTable() {
    return kMessages;
}

void setLibraryMessageProvider(MessageProvider provider) {
    libraryProvider.store(provider);
}

std::string_view messageText(MessageId id) {
    auto it = std::lower_bound(std::begin(kMessages), std::end(kMessages), id,
                               [](const MessageEntry& e, MessageId v) { return e.id < v; });
    if (it != std::end(kMessages) && it->id == id) return it->text;
    if (MessageProvider provider = libraryProvider.load()) return provider(id);
    return {};
}

std::string formatMessage(MessageId id, std::string_view name) {
    std::string_view text = messageText(id);
    if (text.empty()) text = messageText(msg::Unknown);
    std::string out(text);
    if (auto at = out.find("%s"); at != std::string::npos) out.replace(at, 2, name);
    return out;
}

}  // namespace vivark
