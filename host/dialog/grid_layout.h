// The arithmetic of groups: where children lie in a grid of columns and rows. Any thread.
#pragma once

#include <vector>

#include "gadget.h"

namespace host {

struct GridItem {
  LONG flags = 0; // BFH_, BFV_
  LONG minWidth = 0, minHeight = 0;
  bool hidden = false; // keeps its cell, takes no room
  bool fixed = false;  // never larger than its minimum
};

struct Grid {
  LONG columns = 0, rows = 0; // 0: as many as come
  LONG spaceX = 0, spaceY = 0;
};

struct GridCell {
  LONG column = 0, row = 0;
};

/// The cell of the child at `index`: with `columns` row by row, else with `rows` column by column, else one
/// below the other.
GridCell gridCell(LONG columns, LONG rows, std::size_t index) noexcept;

/// The size that holds every item at its minimum.
Place gridMinimum(const Grid& grid, const std::vector<GridItem>& items);

/// Lays them out in `room` (the minimum at least). A column (row) is as wide (high) as its largest minimum;
/// what is left over goes in equal shares to the columns (rows) that have an item with BFH_SCALE (BFV_SCALE),
/// odd pixels to the first of them. Columns and rows with nothing but hidden items have no size and no space.
std::vector<Place> layoutGrid(const Grid& grid, const std::vector<GridItem>& items, Place room);

} // namespace host
