// The reader of Kodak Photo CD image packs. Identification lives in
// PcdIdentify.cpp, the residual decoding of the upper levels in PcdResidual.
#pragma once

#include <cstdint>
#include <memory>

#include "core/ImageInfo.h"
#include "formats/ImageReader.h"
#include "formats/pcd/PcdFormat.h"

namespace vivark {

// The resolutions of an image pack, in the order of the choices of
// "LoadOptions\\PhotoCD\\Resolution".
enum class PcdLevel : uint32_t {
    Base16 = 0,       // 192 x 128
    Base4 = 1,        // 384 x 256
    Base = 2,         // 768 x 512
    FourBase = 3,     // 1536 x 1024
    SixteenBase = 4,  // 3072 x 2048
};

// The information items the reader records: kind 0 lists the levels the pack
// carries (value: the highest), kind 1 the level read, kind 2 the rotation
// in degrees clockwise, kind 3 the residual rows that were damaged.
extern const InfoFamily kPcdInfo;

// The reader that loads the level the user's setting asks for.
std::unique_ptr<ImageReader> makePcdReader(InFile& file);
// The reader that loads `level`, or the highest level below it the pack carries.
std::unique_ptr<ImageReader> makePcdReader(InFile& file, PcdLevel level);

}  // namespace vivark
