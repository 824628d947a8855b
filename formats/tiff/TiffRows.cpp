// The TIFF reader's pixel stage (see TiffRows.h). The row loops are the
// shared ones of core/RowOps.h and core/pixels/; this file owns only the
// choices between them and the TIFF-specific layouts (predictor, YCbCr
// blocks, planes).
#include "formats/tiff/TiffRows.h"

#include <algorithm>
#include <cstring>

#include "core/ByteOrder.h"
#include "core/RowOps.h"
#include "core/pixels/Samples.h"
#include "formats/tiff/TiffFormat.h"
#include "formats/tiff/TiffJpeg.h"

namespace vivark {
namespace {

bool isJpeg(uint32_t compression) {
    return compression == 6 || compression == 7;
}

bool isFax(uint32_t compression) {
    return compression == 2 || compression == 3 || compression == 4 || compression == 32771;
}

uint32_t colourSamplesOf(uint32_t photometric) {
    switch (photometric) {
        case 2:
        case 6:
        case 8:
            return 3;
        case 5:
            return 4;
        default:
            return 1;
    }
}

}  // namespace

uint64_t TiffSampleLayout::rowBytes(uint32_t columns) const {
    if (subH * subV > 1) return (uint64_t{columns} + subH - 1) / subH * (subH * subV + 2);
    const uint64_t perPixel = planar ? 1 : samples;
    return (uint64_t{columns} * perPixel * bits + 7) / 8;
}

TiffSampleLayout tiffSampleLayout(const TiffPageInfo& info, bool bigEndian) {
    TiffSampleLayout l;
    l.width = info.width;
    l.height = info.length;
    if (l.width == 0 || l.height == 0) throw TIFFERROR::DataIntegrity;
    if (info.samplesPerPixel > 256) throw TIFFERROR::BadSamplesPerPixel;
    l.samples = info.samplesPerPixel;
    l.bits = info.bitsPerSample[0];
    for (uint32_t b : info.bitsPerSample)
        if (b != l.bits) throw TIFFERROR::UnsupportedDataType;
    l.bigEndian = bigEndian;

    // A page without PhotometricInterpretation: fax data is white on black's
    // opposite as fax machines send it; one sample is grey (or palette when a
    // colour map is there) and three are RGB, as other readers assume.
    uint32_t photometric = info.photometric;
    if (photometric == 0xFFFFFFFFu) {
        if (isFax(info.compression))
            photometric = 0;
        else if (l.samples == 1)
            photometric = info.colourMap.empty() ? 1 : 3;
        else if (l.samples == 3)
            photometric = 2;
        else
            throw TIFFERROR::MissingPhotometric;
    }
    l.photometric = photometric;

    if (info.compression == 6) {
        for (uint32_t b : info.bitsPerSample)
            if (b != 8) throw TIFFERROR::ZeroBitsPerSample;
    }
    if (photometric == 32844 || photometric == 32845) {
        if (info.compression != 34676 && info.compression != 34677)
            throw TIFFERROR::UnsupportedCompression;
        // The log decoder hands out 8-bit grey or RGB rows, chunky, whatever
        // the page says its samples are in the form its writer was given.
        l.bits = 8;
        l.samples = l.colourSamples = photometric == 32845 ? 3 : 1;
        l.photometric = photometric == 32845 ? 2 : 1;
        if (info.predictor == 2) throw TIFFERROR::UnsupportedPredictor;
        return l;
    } else if (info.compression == 34676 || info.compression == 34677) {
        throw TIFFERROR::UnsupportedPhotometric;
    }
    if (photometric == 5 && info.inkSet != 1) throw TIFFERROR::UnsupportedPhotometric;

    l.colourSamples = colourSamplesOf(photometric);
    if (l.samples < l.colourSamples) throw TIFFERROR::UnsupportedDataType;
    if (l.samples > l.colourSamples && !info.extraSamples.empty() &&
        (info.extraSamples[0] == 1 || info.extraSamples[0] == 2))
        l.alphaSample = static_cast<int32_t>(l.colourSamples);

    const uint32_t format = info.sampleFormat.empty() ? 1 : info.sampleFormat[0];
    l.floating = format == 3;
    if (l.floating && l.bits != 32) throw TIFFERROR::UnsupportedDataType;
    if (l.bits != 1 && l.bits != 2 && l.bits != 4 && l.bits != 8 && l.bits != 16 && l.bits != 32)
        throw TIFFERROR::UnsupportedDataType;
    if (isFax(info.compression) && (l.bits != 1 || l.samples != 1))
        throw TIFFERROR::UnsupportedDataType;
    if (isJpeg(info.compression) && l.bits != 8) throw TIFFERROR::UnsupportedDataType;

    if (photometric == 3) {
        if (l.bits > 8) throw TIFFERROR::ColourMapTooLarge;
        if (info.colourMap.size() < (size_t{3} << l.bits)) throw TIFFERROR::DataIntegrity;
    }
    l.planar = info.planarConfig == 2 && l.samples > 1;
    if (photometric == 6 && !isJpeg(info.compression)) {
        if (l.bits != 8) throw TIFFERROR::UnsupportedDataType;
        auto valid = [](uint32_t s) { return s == 1 || s == 2 || s == 4; };
        if (!valid(info.ycbcrSubH) || !valid(info.ycbcrSubV)) throw TIFFERROR::DataIntegrity;
        l.subH = info.ycbcrSubH;
        l.subV = info.ycbcrSubV;
        if (l.subH * l.subV > 1 && (l.planar || l.samples != 3))
            throw TIFFERROR::UnsupportedPlanarConfig;
    }
    if (isJpeg(info.compression) && l.planar) throw TIFFERROR::UnsupportedPlanarConfig;
    if (info.predictor == 2) {
        if ((l.bits != 8 && l.bits != 16) || l.subH * l.subV > 1)
            throw TIFFERROR::UnsupportedPredictor;
        l.predictor = true;
    }
    // The fax decoder hands out rows 1 = black whatever the photometric value.
    if (isFax(info.compression)) l.photometric = 0;
    // The JPEG library hands out colour as RGB (blue first where it can, as
    // the Image keeps it) and grey as grey.
    if (isJpeg(info.compression) && photometric == 6) l.photometric = 2;
    l.bgr = isJpeg(info.compression) && l.photometric == 2 && TiffJpegDecoder::writesBgr();
    return l;
}

uint32_t TiffRowWriter::outputBits(const TiffSampleLayout& l, uint32_t orientation) {
    if (l.colourSamples != 1) return 24;
    if (l.samples != 1 || l.bits > 8) return 8;
    const uint32_t bits = l.bits == 1 ? 1 : l.bits <= 4 ? 4 : 8;
    return Orientation::of(orientation).upright() ? bits : 8;
}

TiffRowWriter::TiffRowWriter(const TiffSampleLayout& layout, const TiffPageInfo& info, Image& image)
    : layout_(layout),
      image_(image),
      outBits_(outputBits(layout, info.orientation)),
      indices_(layout.colourSamples == 1 && layout.samples == 1 && layout.bits <= 8),
      // Only the JPEG library's rows are taken this way: it writes exactly a
      // row's bytes, where other decoders may run a few bytes past the end.
      asStored_(isJpeg(info.compression) && layout.bits == 8 && !layout.predictor &&
                ((indices_ && outBits_ == 8) || (layout.bgr && layout.samples == 3))),
      orientation_(Orientation::of(info.orientation)),
      rows_((image.plane = orientation_.swap
                               ? PixelPlane(layout.height, layout.width, outBits_, false)
                               : PixelPlane(layout.width, layout.height, outBits_, false),
             image),
            orientation_, outBits_ == 24 ? 3 : 1) {
    const uint32_t w = layout.width;
    luma_ = {info.ycbcrCoefficients[0], info.ycbcrCoefficients[1], info.ycbcrCoefficients[2]};
    const uint32_t maxValue = layout.bits < 8 ? (1u << layout.bits) - 1 : 255;
    for (uint32_t v = 0; v <= maxValue && v < 256; ++v) scale_[v] = uint8_t(v * 255 / maxValue);

    if (layout.photometric == 3) {
        const size_t n = size_t{1} << layout.bits;
        std::vector<uint16_t> map(3 * n);
        // Colour maps of 8-bit values (every entry below 256) are widened, as
        // some writers store them that way.
        bool eightBit = true;
        for (size_t i = 0; i < 3 * n; ++i) {
            map[i] = static_cast<uint16_t>(info.colourMap[i]);
            if (info.colourMap[i] > 255) eightBit = false;
        }
        if (eightBit)
            for (uint16_t& v : map) v = static_cast<uint16_t>(v * 257);
        paletteFrom16BitMaps(map.data(), map.data() + n, map.data() + 2 * n, uint32_t(n),
                             image.palette);
        image.paletteCount = uint32_t(n);
    } else if (outBits_ <= 8) {
        if (indices_)
            image.setGreyPalette(layout.bits);
        else
            image.setGreyPalette();
        if (layout.photometric == 0) {
            std::reverse(image.palette.entries.begin(),
                         image.palette.entries.begin() + image.paletteCount);
        }
    }
    if (layout.alphaSample >= 0) {
        alpha_.plane = orientation_.swap ? PixelPlane(layout.height, layout.width, 8, false)
                                         : PixelPlane(layout.width, layout.height, 8, false);
        alphaRows_ = std::make_unique<OrientedRows>(alpha_, orientation_, 1);
    }
    const size_t samples = size_t{w} * layout.samples;
    samples_.resize(samples);
    pixels_.resize(size_t{w} * 3 + 8);
    extra_.resize(std::max<size_t>(size_t{w} * 4, 4096 * sizeof(float)) + 8);
    if (layout.planar) chunky_.resize(samples);
}

uint8_t* TiffRowWriter::directRow(uint32_t y) {
    return asStored_ ? rows_.directRow(y) : nullptr;
}

void TiffRowWriter::finish() {
    if (layout_.alphaSample < 0) return;
    image_.secondPlane = std::move(alpha_.plane);
    image_.secondPlaneKind = SecondPlane::Alpha;
}

void TiffRowWriter::undoPredictor(uint8_t* row, uint32_t n) {
    const size_t count = size_t{layout_.width} * n;
    if (layout_.bits == 8) {
        // The running sums stay in registers for the common sample counts.
        if (n == 3) {
            uint8_t r = row[0], g = row[1], b = row[2];
            for (size_t i = 3; i + 2 < count; i += 3) {
                row[i] = r = uint8_t(r + row[i]);
                row[i + 1] = g = uint8_t(g + row[i + 1]);
                row[i + 2] = b = uint8_t(b + row[i + 2]);
            }
        } else if (n == 1) {
            uint8_t v = row[0];
            for (size_t i = 1; i < count; ++i) row[i] = v = uint8_t(v + row[i]);
        } else {
            for (size_t i = n; i < count; ++i) row[i] = uint8_t(row[i] + row[i - n]);
        }
        return;
    }
    if (layout_.bigEndian) {
        for (size_t i = n; i < count; ++i)
            storeBE16(row + 2 * i, uint16_t(loadBE16(row + 2 * i) + loadBE16(row + 2 * (i - n))));
    } else {
        for (size_t i = n; i < count; ++i)
            storeLE16(row + 2 * i, uint16_t(loadLE16(row + 2 * i) + loadLE16(row + 2 * (i - n))));
    }
}

void TiffRowWriter::toEightBits(const uint8_t* raw, uint8_t* out, size_t count) {
    switch (layout_.bits) {
        case 8:
            std::memcpy(out, raw, count);
            return;
        case 16:
            if (layout_.photometric == 8) {
                // L*a*b*: a* and b* are signed, so their high bytes are kept as they are.
                const size_t high = layout_.bigEndian ? 0 : 1;
                for (size_t i = 0; i < count; ++i) out[i] = raw[2 * i + high];
            } else {
                scale16To8(raw, out, count, layout_.bigEndian);
            }
            return;
        case 32:
            if (layout_.floating) {
                float* values = reinterpret_cast<float*>(extra_.data());
                const size_t batch = 1024;
                for (size_t done = 0; done < count; done += batch) {
                    const size_t n = std::min(batch, count - done);
                    for (size_t i = 0; i < n; ++i) {
                        const uint8_t* p = raw + 4 * (done + i);
                        const uint32_t bits = layout_.bigEndian ? loadBE32(p) : loadLE32(p);
                        std::memcpy(values + i, &bits, 4);
                    }
                    scaleFloatTo8(values, out + done, n);
                }
            } else {
                const size_t high = layout_.bigEndian ? 0 : 3;
                for (size_t i = 0; i < count; ++i) out[i] = raw[4 * i + high];
            }
            return;
        default:
            unpackIndices(raw, out, uint32_t(count), layout_.bits);
            for (size_t i = 0; i < count; ++i) out[i] = scale_[out[i]];
            return;
    }
}

void TiffRowWriter::write(uint32_t y, uint8_t* const* planes) {
    const uint32_t n = layout_.samples;
    if (layout_.planar) {
        for (uint32_t p = 0; p < n; ++p) {
            if (layout_.predictor) undoPredictor(planes[p], 1);
            toEightBits(planes[p], pixels_.data(), layout_.width);
            for (uint32_t x = 0; x < layout_.width; ++x) samples_[size_t{x} * n + p] = pixels_[x];
        }
        placeColour(y, samples_.data());
        return;
    }
    if (layout_.predictor) undoPredictor(planes[0], n);
    if (layout_.subH * layout_.subV > 1)
        writeYcbcrUnit(y, planes[0]);
    else
        writeRow(y, planes[0]);
}

void TiffRowWriter::writeRow(uint32_t y, const uint8_t* raw) {
    const uint32_t w = layout_.width;
    if (!indices_) {
        // 8-bit samples are used where they lie.
        if (layout_.bits == 8) {
            placeColour(y, raw);
            return;
        }
        toEightBits(raw, samples_.data(), size_t{w} * layout_.samples);
        placeColour(y, samples_.data());
        return;
    }
    const uint32_t bits = layout_.bits;
    if (bits == outBits_ && bits < 8) {
        // Packed rows go in whole: the Image packs pixels as TIFF does.
        std::memcpy(rows_.directRow(y), raw, (size_t{w} * bits + 7) / 8);
    } else if (bits == 8) {
        rows_.place(y, raw);
    } else if (outBits_ == 4) {
        unpackIndices(raw, extra_.data(), w, bits);
        packIndices(extra_.data(), rows_.directRow(y), w, 4);
    } else {
        unpackIndices(raw, pixels_.data(), w, bits);
        rows_.place(y, pixels_.data());
    }
}

void TiffRowWriter::placeColour(uint32_t y, const uint8_t* s) {
    const uint32_t w = layout_.width;
    const uint32_t n = layout_.samples;
    if (alphaRows_) {
        const uint32_t a = uint32_t(layout_.alphaSample);
        for (uint32_t x = 0; x < w; ++x) extra_[x] = s[size_t{x} * n + a];
        alphaRows_->place(y, extra_.data());
    }
    // Rows that need no turning are converted straight into the Image.
    uint8_t* direct = rows_.directRow(y);
    uint8_t* out = direct != nullptr ? direct : pixels_.data();
    // The colour samples, packed without the extra ones.
    auto compact = [&](uint32_t keep) -> const uint8_t* {
        if (n == keep) return s;
        for (uint32_t x = 0; x < w; ++x)
            std::memcpy(extra_.data() + size_t{x} * keep, s + size_t{x} * n, keep);
        return extra_.data();
    };
    switch (layout_.photometric) {
        case 2:
            if (layout_.bgr)
                std::memcpy(out, compact(3), size_t{w} * 3);
            else
                swapRedBlue(compact(3), out, w);
            break;
        case 5:
            cmykToBgr(compact(4), out, w, false);
            break;
        case 8:
            labToBgr(compact(3), out, w);
            break;
        case 6: {
            uint8_t* luma = extra_.data();
            uint8_t* cb = luma + w;
            uint8_t* cr = cb + w;
            for (uint32_t x = 0; x < w; ++x) {
                luma[x] = s[size_t{x} * n];
                cb[x] = s[size_t{x} * n + 1];
                cr[x] = s[size_t{x} * n + 2];
            }
            ycbcrToBgr(luma, cb, cr, 1, out, w, luma_);
            break;
        }
        default:  // grey with extra samples, or of more than 8 bits
            if (n == 1) {
                std::memcpy(out, s, w);
            } else {
                for (uint32_t x = 0; x < w; ++x) out[x] = s[size_t{x} * n];
            }
            break;
    }
    if (direct == nullptr) rows_.place(y, out);
}

void TiffRowWriter::writeYcbcrUnit(uint32_t y, const uint8_t* raw) {
    const uint32_t w = layout_.width, h = layout_.subH, v = layout_.subV;
    const uint32_t blocks = (w + h - 1) / h;
    const size_t blockBytes = size_t{h} * v + 2;
    uint8_t* luma = extra_.data();
    uint8_t* cb = luma + w;
    uint8_t* cr = cb + blocks;
    for (uint32_t b = 0; b < blocks; ++b) {
        cb[b] = raw[b * blockBytes + h * v];
        cr[b] = raw[b * blockBytes + h * v + 1];
    }
    for (uint32_t r = 0; r < v && y + r < layout_.height; ++r) {
        for (uint32_t x = 0; x < w; ++x) luma[x] = raw[(x / h) * blockBytes + r * h + x % h];
        ycbcrToBgr(luma, cb, cr, h, pixels_.data(), w, luma_);
        rows_.place(y + r, pixels_.data());
    }
}

}  // namespace vivark
