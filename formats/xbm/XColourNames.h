// The X Window System's colour names, as X pixmaps name their colours.
#pragma once

#include <optional>
#include <string_view>

#include "core/Palette.h"

namespace vivark {

// The colour of an X colour name ("Light Grey", "navy", "grey50"), ignoring
// case and blanks; nothing for an unknown name.
std::optional<Colour> xColourByName(std::string_view name);

}  // namespace vivark
