// Lossless transformation of a JPEG file in place: flips, transposition and
// rotations done on the DCT coefficients, so no generation loss.
//
// The work is TurboJPEG's tjTransform (the packaged libjpeg does not export
// its transformation helpers): edge blocks that cannot be transformed are
// trimmed, markers are copied, and a progressive source gives a progressive
// result. Code 0 takes the operation from the EXIF orientation; when there is
// none, or it is 1, nothing is written and the call succeeds. In that mode the
// copied EXIF block's orientation entry is reset to type SHORT, count 1,
// value 1. The result goes to a temporary file beside the source
// (".NAME.vivark-XXXXXX") that replaces the source only when complete, so a
// failure never harms the source. TurboJPEG 2.1 offers no choice of Huffman
// optimisation for transforms, so the Entropy setting does not apply here.
#pragma once

#include <filesystem>
#include <string>

#include "core/Messages.h"
#include "core/Progress.h"

namespace vivark {

// 0 automatic, 1 flip horizontal, 2 flip vertical, 3 transpose, 4 transverse,
// 5 rotate 90 clockwise, 6 rotate 180, 7 rotate 270 clockwise.
enum class JpegTransformCode : int {
    Automatic = 0,
    FlipHorizontal = 1,
    FlipVertical = 2,
    Transpose = 3,
    Transverse = 4,
    Rotate90 = 5,
    Rotate180 = 6,
    Rotate270 = 7,
};

struct JpegTransformResult {
    bool success = false;
    bool written = false;           // false when automatic mode found nothing to do
    MessageId message = msg::None;  // CannotCreateTemp or CannotReplaceFile, or a read failure
    std::string text;               // the message for the user, name filled in
    // The picture's size before and after; they differ (beyond the swap of a
    // quarter turn) when partial edge blocks were trimmed.
    uint32_t width = 0, height = 0;
    uint32_t newWidth = 0, newHeight = 0;
    bool trimmed = false;
};

// How the transformation treats edge blocks it cannot move: Trim drops them
// (the picture loses up to one block row or column), Perfect refuses such a
// transformation and writes nothing.
enum class JpegEdges { Trim, Perfect };

JpegTransformResult transformLossless(const std::filesystem::path& path, JpegTransformCode code,
                                      ProgressCallback* progress = nullptr,
                                      JpegEdges edges = JpegEdges::Trim);

// The operation that makes a picture with this EXIF orientation upright
// (Automatic when there is nothing to do).
JpegTransformCode transformForOrientation(int orientation);

}  // namespace vivark
