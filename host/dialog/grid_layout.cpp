#include "grid_layout.h"

#include <algorithm>

namespace host {

namespace {

// The columns or the rows of a grid.
struct Line {
  LONG size = 0;
  bool used = false, scales = false;
};

struct Lines {
  std::vector<Line> columns, rows;
};

void grow(std::vector<Line>& lines, LONG index, LONG size, bool hidden, bool scales) {
  if (lines.size() <= static_cast<std::size_t>(index)) lines.resize(static_cast<std::size_t>(index) + 1);
  if (hidden) return;
  Line& line = lines[static_cast<std::size_t>(index)];
  line.size = std::max(line.size, size);
  line.used = true;
  line.scales = line.scales || scales;
}

Lines measure(const Grid& grid, const std::vector<GridItem>& items) {
  Lines lines;
  for (std::size_t i = 0; i < items.size(); ++i) {
    const GridCell cell = gridCell(grid.columns, grid.rows, i);
    const GridItem& item = items[i];
    grow(lines.columns, cell.column, item.minWidth, item.hidden, item.flags & BFH_SCALE);
    grow(lines.rows, cell.row, item.minHeight, item.hidden, item.flags & BFV_SCALE);
  }
  return lines;
}

LONG total(const std::vector<Line>& lines, LONG space) {
  LONG sum = 0;
  int used = 0;
  for (const Line& line : lines) {
    sum += line.size;
    used += line.used;
  }
  return sum + std::max(0, used - 1) * space;
}

void share(std::vector<Line>& lines, LONG left) {
  LONG count = static_cast<LONG>(
      std::count_if(lines.begin(), lines.end(), [](const Line& line) { return line.scales; }));
  for (Line& line : lines) {
    if (!line.scales) continue;
    const LONG part = (left + count - 1) / count;
    line.size += part;
    left -= part;
    --count;
  }
}

std::vector<LONG> starts(const std::vector<Line>& lines, LONG at, LONG space) {
  std::vector<LONG> list;
  for (const Line& line : lines) {
    list.push_back(at);
    if (line.used) at += line.size + space;
  }
  return list;
}

// One axis of a cell: `how`: 0 centre, 1 start, 2 end, 3 fill.
void lie(LONG how, bool fixed, LONG start, LONG room, LONG smallest, LONG& at, LONG& size) {
  size = how == 3 && !fixed ? room : std::min(smallest, room);
  const LONG rest = room - size;
  at = start + (how == 0 ? rest / 2 : how == 2 ? rest : 0);
}

} // namespace

GridCell gridCell(LONG columns, LONG rows, std::size_t index) noexcept {
  const LONG i = static_cast<LONG>(index);
  if (columns > 0) return {i % columns, i / columns};
  if (rows > 0) return {i / rows, i % rows};
  return {0, i};
}

Place gridMinimum(const Grid& grid, const std::vector<GridItem>& items) {
  const Lines lines = measure(grid, items);
  return {0, 0, total(lines.columns, grid.spaceX), total(lines.rows, grid.spaceY)};
}

std::vector<Place> layoutGrid(const Grid& grid, const std::vector<GridItem>& items, Place room) {
  Lines lines = measure(grid, items);
  share(lines.columns, std::max<LONG>(0, room.width - total(lines.columns, grid.spaceX)));
  share(lines.rows, std::max<LONG>(0, room.height - total(lines.rows, grid.spaceY)));
  const std::vector<LONG> left = starts(lines.columns, room.x, grid.spaceX);
  const std::vector<LONG> top = starts(lines.rows, room.y, grid.spaceY);
  std::vector<Place> places(items.size());
  for (std::size_t i = 0; i < items.size(); ++i) {
    const GridCell cell = gridCell(grid.columns, grid.rows, i);
    const auto column = static_cast<std::size_t>(cell.column), row = static_cast<std::size_t>(cell.row);
    const GridItem& item = items[i];
    Place& place = places[i];
    place = {left[column], top[row], 0, 0};
    if (item.hidden) continue;
    lie(item.flags & BFH_FIT, item.fixed, left[column], lines.columns[column].size, item.minWidth, place.x,
        place.width);
    lie((item.flags & BFV_FIT) / BFV_TOP, item.fixed, top[row], lines.rows[row].size, item.minHeight, place.y,
        place.height);
  }
  return places;
}

} // namespace host
