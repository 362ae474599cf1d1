// Layout of a group's children in a grid of columns and rows. Any thread.
#pragma once

#include <vector>

#include "gadget.h"

namespace host {

struct GridItem {
  LONG flags = 0; // BFH_, BFV_
  LONG minWidth = 0, minHeight = 0;
  bool hidden = false; // keeps its cell, has no size
  bool fixed = false;  // never larger than its minimum
};

struct Grid {
  LONG columns = 0, rows = 0; // 0: as many as needed
  LONG spaceX = 0, spaceY = 0;
};

struct GridCell {
  LONG column = 0, row = 0;
};

/// The cell of the child at `index`. With `columns`, cells fill row by row; else with `rows`, column by
/// column; else they form one column.
GridCell gridCell(LONG columns, LONG rows, std::size_t index) noexcept;

/// The smallest size in which every item has its minimum.
Place gridMinimum(const Grid& grid, const std::vector<GridItem>& items);

/// Lays the items out in `room`, at least the minimum. A column (row) is as wide (high) as its largest
/// minimum. Columns (rows) that have an item with BFH_SCALE (BFV_SCALE) share the rest equally; odd pixels go
/// to the first ones. Columns and rows with only hidden items have neither size nor spacing.
std::vector<Place> layoutGrid(const Grid& grid, const std::vector<GridItem>& items, Place room);

} // namespace host
