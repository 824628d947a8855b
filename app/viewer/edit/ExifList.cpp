// Walking an EXIF block's directories and naming their entries.
#include "app/viewer/edit/ExifList.h"

#include <cmath>
#include <cstdio>
#include <set>

namespace vivark::viewer {
namespace {

struct TagName {
    uint16_t tag;
    const char* name;
};
constexpr TagName kNames[] = {
    {0x010E, "Image description"},  {0x010F, "Camera make"},
    {0x0110, "Camera model"},       {0x0112, "Orientation"},
    {0x011A, "X resolution"},       {0x011B, "Y resolution"},
    {0x0128, "Resolution unit"},    {0x0131, "Software"},
    {0x0132, "Date and time"},      {0x013B, "Artist"},
    {0x8298, "Copyright"},          {0x829A, "Exposure time"},
    {0x829D, "F-number"},           {0x8822, "Exposure program"},
    {0x8827, "ISO speed"},          {0x9000, "Exif version"},
    {0x9003, "Date taken"},         {0x9004, "Date digitized"},
    {0x9201, "Shutter speed"},      {0x9202, "Aperture"},
    {0x9204, "Exposure bias"},      {0x9205, "Maximum aperture"},
    {0x9206, "Subject distance"},   {0x9207, "Metering mode"},
    {0x9208, "Light source"},       {0x9209, "Flash"},
    {0x920A, "Focal length"},       {0x9286, "User comment"},
    {0xA001, "Colour space"},       {0xA002, "Pixel width"},
    {0xA003, "Pixel height"},       {0xA402, "Exposure mode"},
    {0xA403, "White balance"},      {0xA405, "Focal length (35 mm)"},
    {0xA406, "Scene type"},         {0xA430, "Camera owner"},
    {0xA431, "Body serial number"}, {0xA433, "Lens make"},
    {0xA434, "Lens model"},         {0x0001, "GPS latitude reference"},
    {0x0002, "GPS latitude"},       {0x0003, "GPS longitude reference"},
    {0x0004, "GPS longitude"},      {0x0005, "GPS altitude reference"},
    {0x0006, "GPS altitude"},       {0x001D, "GPS date"},
};

constexpr uint16_t kExifPointer = 0x8769;
constexpr uint16_t kGpsPointer = 0x8825;

class Reader {
  public:
    explicit Reader(std::span<const uint8_t> data) : data_(data) {
        big_ = data.size() >= 2 && data[0] == 'M';
    }
    bool has(uint64_t offset, uint64_t size) const { return offset + size <= data_.size(); }
    uint32_t u16(uint64_t at) const {
        return big_ ? uint32_t(data_[at] << 8 | data_[at + 1])
                    : uint32_t(data_[at] | data_[at + 1] << 8);
    }
    uint32_t u32(uint64_t at) const {
        return big_ ? u16(at) << 16 | u16(at + 2) : u16(at) | u16(at + 2) << 16;
    }
    uint8_t byte(uint64_t at) const { return data_[at]; }

  private:
    std::span<const uint8_t> data_;
    bool big_ = false;
};

std::string nameOf(uint16_t tag, bool gps) {
    for (const TagName& n : kNames)
        if (n.tag == tag && (tag < 0x100) == gps) return n.name;
    char text[16];
    std::snprintf(text, sizeof text, "Tag 0x%04X", unsigned(tag));
    return text;
}

std::string valueOf(const Reader& r, uint32_t type, uint32_t count, uint64_t at) {
    static constexpr uint32_t kSizes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8};
    const uint32_t size = type < 11 ? kSizes[type] : 0;
    if (size == 0) return std::string(1, '(').append(std::to_string(count)).append(" values)");
    const uint64_t bytes = uint64_t{size} * count;
    const uint64_t where = bytes <= 4 ? at : r.u32(at);
    if (!r.has(where, bytes)) return "(damaged)";
    if (type == 2 || type == 7) {
        std::string text;
        for (uint32_t i = 0; i < count && i < 256; ++i) {
            const uint8_t c = r.byte(where + i);
            if (c == 0 && type == 2) break;
            text += (c >= 32 && c < 127) ? char(c) : '.';
        }
        return text;
    }
    std::string text;
    for (uint32_t i = 0; i < count && i < 16; ++i) {
        if (i) text += ", ";
        const uint64_t p = where + uint64_t{i} * size;
        char one[48];
        switch (type) {
            case 1:
                std::snprintf(one, sizeof one, "%u", unsigned(r.byte(p)));
                break;
            case 3:
                std::snprintf(one, sizeof one, "%u", r.u16(p));
                break;
            case 4:
                std::snprintf(one, sizeof one, "%u", r.u32(p));
                break;
            case 9:
                std::snprintf(one, sizeof one, "%d", int32_t(r.u32(p)));
                break;
            case 5:
            case 10: {
                const double num = type == 5 ? double(r.u32(p)) : double(int32_t(r.u32(p)));
                const double den = type == 5 ? double(r.u32(p + 4)) : double(int32_t(r.u32(p + 4)));
                if (den == 0)
                    std::snprintf(one, sizeof one, "%g/0", num);
                else if (num != 0 && std::abs(num) < std::abs(den) &&
                         std::abs(den / num) == int64_t(den / num))
                    std::snprintf(one, sizeof one, "1/%g", den / num);
                else
                    std::snprintf(one, sizeof one, "%g", num / den);
                break;
            }
            default:
                std::snprintf(one, sizeof one, "?");
        }
        text += one;
    }
    if (count > 16) text += ", ...";
    return text;
}

// Directories nest two deep in a sound block (first, then Exif or GPS); a
// deeper chain of pointers is not followed.
constexpr int kMaxDepth = 3;

void walk(const Reader& r, uint64_t offset, bool gps, int depth, std::set<uint64_t>& seen,
          std::vector<std::pair<std::string, std::string>>& out) {
    if (depth > kMaxDepth || !seen.insert(offset).second || !r.has(offset, 2)) return;
    const uint32_t count = r.u16(offset);
    for (uint32_t i = 0; i < count && out.size() < 1000; ++i) {
        const uint64_t entry = offset + 2 + uint64_t{i} * 12;
        if (!r.has(entry, 12)) return;
        const uint16_t tag = uint16_t(r.u16(entry));
        const uint32_t type = r.u16(entry + 2), values = r.u32(entry + 4);
        if (!gps && (tag == kExifPointer || tag == kGpsPointer)) {
            walk(r, r.u32(entry + 8), tag == kGpsPointer, depth + 1, seen, out);
            continue;
        }
        out.emplace_back(nameOf(tag, gps), valueOf(r, type, values, entry + 8));
    }
}

}  // namespace

std::vector<std::pair<std::string, std::string>> exifEntries(std::span<const uint8_t> tiff) {
    std::vector<std::pair<std::string, std::string>> out;
    if (tiff.size() < 8 ||
        !((tiff[0] == 'I' && tiff[1] == 'I') || (tiff[0] == 'M' && tiff[1] == 'M')))
        return out;
    const Reader r(tiff);
    std::set<uint64_t> seen;
    walk(r, r.u32(4), false, 1, seen, out);
    return out;
}

}  // namespace vivark::viewer
