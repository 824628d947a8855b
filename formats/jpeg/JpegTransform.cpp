// Lossless JPEG transformation through TurboJPEG (see JpegTransform.h).
#include "formats/jpeg/JpegTransform.h"

#include <fcntl.h>
#include <turbojpeg.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "core/InFile.h"
#include "formats/ErrorMessages.h"
#include "formats/jpeg/JpegExif.h"

namespace vivark {
namespace {

struct TjHandle {
    tjhandle handle = tjInitTransform();
    ~TjHandle() {
        if (handle != nullptr) tjDestroy(handle);
    }
};

struct TjBuffer {
    unsigned char* data = nullptr;
    ~TjBuffer() { tjFree(data); }
};

// The data of the first EXIF APP1 before the scan, as offsets into `file`.
struct Segments {
    std::optional<std::pair<size_t, size_t>> exif;  // block start, length
    bool progressive = false;
};

Segments scanSegments(std::span<const uint8_t> file) {
    Segments found;
    size_t p = 2;
    while (p + 4 <= file.size()) {
        if (file[p] != 0xFF) break;
        const uint8_t marker = file[p + 1];
        if (marker == 0xFF) {
            ++p;
            continue;
        }
        if (marker == 0xD8 || marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7)) {
            p += 2;
            continue;
        }
        if (marker == 0xDA || marker == 0xD9) break;
        const size_t length = size_t{file[p + 2]} << 8 | file[p + 3];
        if (length < 2 || p + 2 + length > file.size()) break;
        if (marker == 0xC2 || marker == 0xC6 || marker == 0xCA || marker == 0xCE)
            found.progressive = true;
        if (marker == 0xE1 && !found.exif) {
            auto block = exifBlockOfApp1(file.subspan(p + 4, length - 2));
            if (!block.empty())
                found.exif =
                    std::pair{static_cast<size_t>(block.data() - file.data()), block.size()};
        }
        p += 2 + length;
    }
    return found;
}

int operationOf(JpegTransformCode code) {
    switch (code) {
        case JpegTransformCode::FlipHorizontal:
            return TJXOP_HFLIP;
        case JpegTransformCode::FlipVertical:
            return TJXOP_VFLIP;
        case JpegTransformCode::Transpose:
            return TJXOP_TRANSPOSE;
        case JpegTransformCode::Transverse:
            return TJXOP_TRANSVERSE;
        case JpegTransformCode::Rotate90:
            return TJXOP_ROT90;
        case JpegTransformCode::Rotate180:
            return TJXOP_ROT180;
        case JpegTransformCode::Rotate270:
            return TJXOP_ROT270;
        default:
            return TJXOP_NONE;
    }
}

JpegTransformResult failed(MessageId id, const std::string& name) {
    return {false, false, id, formatMessage(id, name)};
}

// The size after `code`: a flip or turn that moves an edge of partial blocks
// (the picture's size is not a multiple of the block size) onto the other
// side drops that edge, as lossless JPEG tools do.
void resultSize(JpegTransformResult& r, JpegTransformCode code, uint32_t blockW, uint32_t blockH) {
    const uint32_t trimmedW = r.width - r.width % blockW;
    const uint32_t trimmedH = r.height - r.height % blockH;
    uint32_t w = r.width, h = r.height;
    bool swap = false;
    switch (code) {
        case JpegTransformCode::FlipHorizontal:
            w = trimmedW;
            break;
        case JpegTransformCode::FlipVertical:
            h = trimmedH;
            break;
        case JpegTransformCode::Transpose:
            swap = true;
            break;
        case JpegTransformCode::Transverse:
            w = trimmedW, h = trimmedH, swap = true;
            break;
        case JpegTransformCode::Rotate90:
            h = trimmedH, swap = true;
            break;
        case JpegTransformCode::Rotate180:
            w = trimmedW, h = trimmedH;
            break;
        case JpegTransformCode::Rotate270:
            w = trimmedW, swap = true;
            break;
        default:
            break;
    }
    r.trimmed = w != r.width || h != r.height;
    r.newWidth = swap ? h : w;
    r.newHeight = swap ? w : h;
}

bool writeAll(int fd, std::span<const uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t n = ::write(fd, bytes.data(), bytes.size());
        if (n <= 0) return false;
        bytes = bytes.subspan(static_cast<size_t>(n));
    }
    return true;
}

}  // namespace

JpegTransformCode transformForOrientation(int orientation) {
    switch (orientation) {
        case 2:
            return JpegTransformCode::FlipHorizontal;
        case 3:
            return JpegTransformCode::Rotate180;
        case 4:
            return JpegTransformCode::FlipVertical;
        case 5:
            return JpegTransformCode::Transpose;
        case 6:
            return JpegTransformCode::Rotate90;
        case 7:
            return JpegTransformCode::Transverse;
        case 8:
            return JpegTransformCode::Rotate270;
        default:
            return JpegTransformCode::Automatic;
    }
}

JpegTransformResult transformLossless(const std::filesystem::path& path, JpegTransformCode code,
                                      ProgressCallback* progress, JpegEdges edges) {
    std::vector<uint8_t> source;
    try {
        InFile in(32768);
        in.open(path.string());
        source.resize(static_cast<size_t>(in.size()));
        in.read(source.data(), source.size());
    } catch (...) {
        return failed(loadMessageForCurrentException(), path.string());
    }
    const Segments segments = scanSegments(source);
    const bool automatic = code == JpegTransformCode::Automatic;
    if (automatic) {
        if (!segments.exif) return {true, false, msg::None, {}};
        auto block =
            std::span<const uint8_t>(source).subspan(segments.exif->first, segments.exif->second);
        auto orientation = findExifOrientation(block);
        if (!orientation) return {true, false, msg::None, {}};
        code = transformForOrientation(orientation->value);
        if (code == JpegTransformCode::Automatic) return {true, false, msg::None, {}};
    }

    TjHandle tj;
    JpegTransformResult done{true, true, msg::None, {}};
    int width = 0, height = 0, subsampling = 0, colourspace = 0;
    if (tj.handle == nullptr ||
        tjDecompressHeader3(tj.handle, source.data(), static_cast<unsigned long>(source.size()),
                            &width, &height, &subsampling, &colourspace) != 0)
        return {false, false, msg::None, tj.handle ? tjGetErrorStr2(tj.handle) : "TurboJPEG"};
    done.width = static_cast<uint32_t>(width);
    done.height = static_cast<uint32_t>(height);
    const bool knownSampling = subsampling >= 0 && subsampling < TJ_NUMSAMP;
    resultSize(done, code, knownSampling ? uint32_t(tjMCUWidth[subsampling]) : 8u,
               knownSampling ? uint32_t(tjMCUHeight[subsampling]) : 8u);
    if (done.trimmed && edges == JpegEdges::Perfect) {
        done.success = done.written = false;
        done.text = "the transformation would trim the picture from " + std::to_string(done.width) +
                    "x" + std::to_string(done.height) + " to " + std::to_string(done.newWidth) +
                    "x" + std::to_string(done.newHeight) + "; nothing was written";
        return done;
    }

    TjBuffer output;
    unsigned long outputSize = 0;
    tjtransform transform{};
    transform.op = operationOf(code);
    transform.options = TJXOPT_TRIM | (segments.progressive ? TJXOPT_PROGRESSIVE : 0);
    if (tjTransform(tj.handle, source.data(), source.size(), 1, &output.data, &outputSize,
                    &transform, 0) != 0)
        return {false, false, msg::None, tjGetErrorStr2(tj.handle)};

    std::span<uint8_t> result(output.data, outputSize);
    if (automatic) {
        const Segments written = scanSegments(result);
        if (written.exif) {
            auto block = result.subspan(written.exif->first, written.exif->second);
            if (auto found = findExifOrientation(block)) resetExifOrientation(block, *found);
        }
    }

    std::string name(1, '.');  // appended, not `"." + string`: see SafeOutFile.cpp
    name += path.filename().string();
    name += ".vivark-XXXXXX";
    std::string temporary = (path.parent_path() / name).string();
    const int fd = ::mkstemp(temporary.data());
    if (fd < 0) return failed(msg::CannotCreateTemp, temporary);
    const bool complete = writeAll(fd, result) && ::fsync(fd) == 0;
    const bool closed = ::close(fd) == 0;
    std::error_code ignored;
    if (!complete || !closed) {
        std::filesystem::remove(temporary, ignored);
        return failed(msg::CannotReplaceFile, path.string());
    }
    if (progressCancelled(progress, 1, 1)) {
        std::filesystem::remove(temporary, ignored);
        return {false, false, msg::None, {}};
    }
    // Keep the source's permissions on the replacement.
    std::filesystem::permissions(temporary, std::filesystem::status(path).permissions(), ignored);
    if (std::rename(temporary.c_str(), path.c_str()) != 0) {
        std::filesystem::remove(temporary, ignored);
        return failed(msg::CannotReplaceFile, path.string());
    }
    return done;
}

}  // namespace vivark
