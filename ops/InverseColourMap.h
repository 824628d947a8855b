// InverseColourMap: the nearest palette entry of every colour, found lazily
// in a 64 x 64 x 64 grid.
//
// The map works in one three-coordinate space, each coordinate 0..255 (plain
// red, green, blue for adaptive palettes; luminance and colour differences
// for fixed and cube palettes: the caller transforms both the palette and
// the colours it looks up). A cell covers four values of each coordinate and
// holds palette index + 1, 0 while not yet computed. The first look-up that
// finds a cell empty fills its whole block of 8 x 8 x 8 cells: the palette
// entries that can be nearest to some cell of the block are gathered first
// (an entry whose closest approach to the block is farther than some other
// entry's farthest point can never win), then each cell's centre (coordinate
// x 4 + 2) takes the nearest of those, the lowest index on a tie. Distance
// is squared Euclidean in the map's space.
//
// The map is valid for one palette and lives for one reduction. Its 524,288
// bytes of cells are allocated (std::bad_alloc, the shared out-of-memory
// condition) or adopted at construction; nothing is allocated while mapping.
#pragma once

#include <array>
#include <cstdint>
#include <memory>

namespace vivark {

// A palette entry as a point of the map's space.
using MapPoint = std::array<int32_t, 3>;

class InverseColourMap {
  public:
    static constexpr unsigned kSide = 64;
    static constexpr unsigned kCells = kSide * kSide * kSide;
    using Cells = std::unique_ptr<uint16_t[]>;

    // Allocates the cells. `count` is 1..256.
    InverseColourMap(const MapPoint* points, unsigned count);
    // Adopts `cells` (kCells of them, such as a histogram no longer needed)
    // and clears them.
    InverseColourMap(Cells cells, const MapPoint* points, unsigned count);

    // Forgets every cell and takes a new palette.
    void reset(const MapPoint* points, unsigned count);

    // The index of the entry nearest to the cell of (a, b, c), each 0..255.
    uint8_t lookup(unsigned a, unsigned b, unsigned c) {
        uint16_t& cell = cells_[(a >> 2) << 12 | (b >> 2) << 6 | (c >> 2)];
        if (cell == 0) fillBlock(a >> 5, b >> 5, c >> 5);
        return static_cast<uint8_t>(cell - 1);
    }

    const MapPoint& point(unsigned index) const { return points_[index]; }
    unsigned count() const { return count_; }

    // Hands the cells back (the map is unusable afterwards).
    Cells releaseCells() { return std::move(cells_); }

  private:
    void fillBlock(unsigned blockA, unsigned blockB, unsigned blockC);

    Cells cells_;
    std::array<MapPoint, 256> points_{};
    unsigned count_ = 0;
    std::array<uint8_t, 256> candidates_{};
};

}  // namespace vivark
