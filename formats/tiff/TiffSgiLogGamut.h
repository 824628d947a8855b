// The chroma cells of packed 24-bit LogLuv pixels: a 14-bit index names one
// square of a 0.0035 grid in CIE 1976 u'v' that lies in the gamut of visible
// colours, counted row by row upward in v' and left to right in u'. The
// table of rows is built once, on first use, from the CIE 1931 standard
// observer (see TiffSgiLogGamut.cpp for how the rows are laid).
#pragma once

#include <cstdint>

namespace vivark {

// The centre (u', v') of the cell `index` names. Indices past the last cell
// carry no colour of their own and give the neutral point (u' = 4/19,
// v' = 9/19), the chroma of grey.
void logLuvCellCentre(uint32_t index, double& u, double& v);

// How many cells the table holds (every index below it names a cell).
uint32_t logLuvCellCount();

}  // namespace vivark
