// The TIFF directory walk: header mark, directory chain, entries and their
// values (see TiffDirectory.h).
#include "formats/tiff/TiffDirectory.h"

#include <algorithm>
#include <cstring>

#include "core/ByteOrder.h"

namespace vivark {
namespace {

constexpr uint8_t kTypeSizes[13] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8};
// A chain longer than this is taken as damaged and ends there.
constexpr size_t kMaxDirectories = 65536;

}  // namespace

uint32_t tiffTypeSize(uint32_t type) {
    return type <= 12 ? kTypeSizes[type] : 0;
}

TiffDirectoryReader::TiffDirectoryReader(InFile& file) : file_(file) {
    const int64_t total = static_cast<int64_t>(file.size()) - file.origin();
    fileLength_ = total > 0 ? static_cast<uint64_t>(total) : 0;
}

uint16_t TiffDirectoryReader::u16(const uint8_t* p) const {
    return bigEndian_ ? loadBE16(p) : loadLE16(p);
}

uint32_t TiffDirectoryReader::u32(const uint8_t* p) const {
    return bigEndian_ ? loadBE32(p) : loadLE32(p);
}

bool TiffDirectoryReader::checkHeader() {
    uint8_t mark[4];
    file_.seek(0);
    file_.read(mark, sizeof mark);
    const uint32_t value = loadBE32(mark);
    if (value == 0x49492A00u) {
        bigEndian_ = false;
        return true;
    }
    if (value == 0x4D4D002Au) {
        bigEndian_ = true;
        return true;
    }
    return false;
}

bool TiffDirectoryReader::enterDirectory(uint32_t offset) {
    directoryOpen_ = false;
    if (offset == 0 || uint64_t{offset} + 2 > fileLength_) return false;
    if (visited_.size() >= kMaxDirectories) return false;
    if (!visited_.insert(offset).second) return false;
    file_.seek(offset);
    uint8_t count[2];
    file_.read(count, 2);
    directoryOffset_ = offset;
    // Entries that would run past the end of the file are not walked.
    const uint64_t room = (fileLength_ - offset - 2) / 12;
    entryCount_ = static_cast<uint32_t>(std::min<uint64_t>(u16(count), room));
    entryIndex_ = 0;
    directoryOpen_ = true;
    return true;
}

bool TiffDirectoryReader::firstDirectory() {
    uint8_t offset[4];
    file_.seek(4);
    file_.read(offset, 4);
    visited_.clear();
    return enterDirectory(u32(offset));
}

bool TiffDirectoryReader::openDirectory(uint32_t offset) {
    visited_.clear();
    return enterDirectory(offset);
}

bool TiffDirectoryReader::nextDirectory() {
    if (!directoryOpen_) return false;
    // The next-directory offset follows the entries the directory declares.
    file_.seek(directoryOffset_);
    uint8_t bytes[4];
    file_.read(bytes, 2);
    const uint64_t at = uint64_t{directoryOffset_} + 2 + uint64_t{u16(bytes)} * 12;
    if (at + 4 > fileLength_) {
        directoryOpen_ = false;
        return false;
    }
    file_.seek(static_cast<int64_t>(at));
    file_.read(bytes, 4);
    return enterDirectory(u32(bytes));
}

bool TiffDirectoryReader::nextEntry() {
    if (!directoryOpen_ || entryIndex_ >= entryCount_) return false;
    file_.seek(int64_t{directoryOffset_} + 2 + int64_t{entryIndex_} * 12);
    uint8_t entry[12];
    file_.read(entry, sizeof entry);
    tag_ = u16(entry);
    type_ = u16(entry + 2);
    count_ = u32(entry + 4);
    std::memcpy(inline_, entry + 8, 4);
    const uint32_t size = tiffTypeSize(type_);
    if (size == 0) {
        entryIndex_ = entryCount_;
        return false;
    }
    const uint64_t dataSize = uint64_t{count_} * size;
    if (dataSize <= 4) {
        valueOffset_ = directoryOffset_ + 2 + entryIndex_ * 12 + 8;
    } else {
        valueOffset_ = u32(entry + 8);
        if (dataSize > fileLength_ || valueOffset_ + dataSize > fileLength_) {
            entryIndex_ = entryCount_;
            return false;
        }
    }
    ++entryIndex_;
    return true;
}

void TiffDirectoryReader::rawValue(std::vector<uint8_t>& out, uint64_t limit) {
    const uint64_t size = std::min<uint64_t>(uint64_t{count_} * tiffTypeSize(type_), limit);
    out.resize(static_cast<size_t>(size));
    if (size == 0) return;
    if (uint64_t{count_} * tiffTypeSize(type_) <= 4) {
        std::memcpy(out.data(), inline_, out.size());
        return;
    }
    file_.seek(valueOffset_);
    file_.read(out.data(), out.size());
}

uint32_t TiffDirectoryReader::integer() {
    if (count_ == 0) return 0;
    std::vector<uint8_t> raw;
    const uint32_t size = tiffTypeSize(type_);
    if (uint64_t{count_} * size <= 4) {
        raw.assign(inline_, inline_ + 4);
    } else {
        raw.resize(size);
        file_.seek(valueOffset_);
        file_.read(raw.data(), size);
    }
    switch (type_) {
        case 1:
        case 6:
        case 7:
            return raw[0];
        case 3:
        case 8:
            return u16(raw.data());
        case 4:
        case 9:
            return u32(raw.data());
        default:
            return 0;
    }
}

std::vector<uint32_t> TiffDirectoryReader::integers() {
    std::vector<uint8_t> raw;
    rawValue(raw, fileLength_);
    const uint32_t size = tiffTypeSize(type_);
    std::vector<uint32_t> values(count_);
    for (uint32_t i = 0; i < count_; ++i) {
        const uint8_t* p = raw.data() + size_t{i} * size;
        switch (type_) {
            case 1:
            case 6:
            case 7:
                values[i] = p[0];
                break;
            case 3:
            case 8:
                values[i] = u16(p);
                break;
            case 4:
            case 9:
                values[i] = u32(p);
                break;
            default:
                values[i] = 0;
                break;
        }
    }
    return values;
}

std::vector<double> TiffDirectoryReader::rationals() {
    std::vector<double> values;
    if (type_ != 5 && type_ != 10) return values;
    std::vector<uint8_t> raw;
    rawValue(raw, fileLength_);
    values.resize(count_);
    for (uint32_t i = 0; i < count_; ++i) {
        const uint8_t* p = raw.data() + size_t{i} * 8;
        const uint32_t n = u32(p), d = u32(p + 4);
        if (d == 0) {
            values[i] = 0.0;
        } else if (type_ == 10) {
            values[i] = double(int32_t(n)) / double(int32_t(d));
        } else {
            values[i] = double(n) / double(d);
        }
    }
    return values;
}

std::vector<uint8_t> TiffDirectoryReader::bytes(uint32_t limit) {
    std::vector<uint8_t> raw;
    rawValue(raw, limit);
    return raw;
}

}  // namespace vivark
