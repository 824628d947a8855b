// The sixteen colours of the IBM PC's text and CGA/EGA modes (dark yellow
// shown as brown), which the DOS-era formats (PC Paint/Pictor, WordPerfect
// graphics) take as their default palette.
#pragma once

#include "core/Palette.h"

namespace vivark {

inline constexpr Colour kPcColours[16] = {
    rgb(0, 0, 0),     rgb(0, 0, 170),    rgb(0, 170, 0),    rgb(0, 170, 170),
    rgb(170, 0, 0),   rgb(170, 0, 170),  rgb(170, 85, 0),   rgb(170, 170, 170),
    rgb(85, 85, 85),  rgb(85, 85, 255),  rgb(85, 255, 85),  rgb(85, 255, 255),
    rgb(255, 85, 85), rgb(255, 85, 255), rgb(255, 255, 85), rgb(255, 255, 255)};

}  // namespace vivark
