// The marker walk shared by the JPEG and Seattle FilmWorks identify tests.
#pragma once

#include "core/InFile.h"
#include "formats/FormatInfo.h"

namespace vivark {

// Follows markers from the current position (at a 0xFF) to the first start
// of frame and fills `info` (but not its tag) from it. Fill bytes 0xFF are
// skipped; the start-of-frame markers are 0xC0 to 0xCF except 0xC4 and 0xCC;
// 0x01 and, when `restartsStandAlone`, 0xD0 to 0xD7 carry no segment; an end
// of image or start of scan before a frame, or a byte other than 0xFF where a
// marker belongs, answers false.
bool measureJpegFrame(InFile& file, FormatInfo& info, bool restartsStandAlone);

}  // namespace vivark
