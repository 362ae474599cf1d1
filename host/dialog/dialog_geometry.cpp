#include "dialog_geometry.h"

#include <algorithm>

#include "access.h"
#include "area_state.h"
#include "grid_layout.h"

namespace host {

namespace {

constexpr LONG characterWidth = 7, controlHeight = 24, textHeight = 16, titleHeight = 20, checkWidth = 22;

bool isGroup(const Gadget& gadget) {
  return gadget.kind == GadgetKind::group || gadget.kind == GadgetKind::scrollGroup;
}

LONG textWidth(const String& text) {
  return std::min<LONG>(text.GetLength(), 4000) * characterWidth;
}

// Minimum size of a control, whatever its initial size.
Place leafMinimum(const Gadget& gadget) {
  switch (gadget.kind) {
  case GadgetKind::staticText:
    return {0, 0, textWidth(gadget.text), textHeight};
  case GadgetKind::button:
    return {0, 0, textWidth(gadget.text) + 2 * characterWidth, controlHeight};
  case GadgetKind::checkBox:
    return {0, 0, textWidth(gadget.text) + checkWidth, controlHeight};
  case GadgetKind::separatorH:
    return {0, 0, 8, 8};
  case GadgetKind::separatorV:
    return {0, 0, 8, controlHeight};
  case GadgetKind::editSlider:
    return {0, 0, 140, controlHeight};
  default:
    return {0, 0, 40, controlHeight};
  }
}

Place areaMinimum(const Gadget& gadget) {
  const AreaState* area = gadget.area ? Access::state(*gadget.area) : nullptr;
  if (area && area->stage != AreaState::Stage::idle) return {0, 0, area->minWidth, area->minHeight};
  return {0, 0, gadget.initWidth, gadget.initHeight};
}

LONG titleSpace(const Gadget& group) {
  return group.border != BORDER_NONE && group.text.Content() ? titleHeight : 0;
}

std::vector<GridItem> itemsOf(const Gadget& group) {
  std::vector<GridItem> items;
  for (const auto& child : group.children) {
    const Place least = gadgetMinimum(*child);
    items.push_back(
        {child->flags, least.width, least.height, child->hidden, child->kind == GadgetKind::userArea});
  }
  return items;
}

Grid gridOf(const Gadget& group) {
  return {group.columns, group.rows, group.spaceX, group.spaceY};
}

// The size of a group's children and borders.
Place contentMinimum(const Gadget& group) {
  Place size = gridMinimum(gridOf(group), itemsOf(group));
  size.width += group.borderLeft + group.borderRight;
  size.height += group.borderTop + group.borderBottom + titleSpace(group);
  return size;
}

bool placeIn(const Gadget& group, const Place& room, const Gadget& wanted, Place& place) {
  Place inner = room;
  inner.x += group.borderLeft;
  inner.y += group.borderTop + titleSpace(group);
  inner.width -= group.borderLeft + group.borderRight;
  inner.height -= group.borderTop + group.borderBottom + titleSpace(group);
  const std::vector<Place> places = layoutGrid(gridOf(group), itemsOf(group), inner);
  for (std::size_t i = 0; i < places.size(); ++i) {
    const Gadget& child = *group.children[i];
    if (child.hidden) continue;
    if (&child == &wanted) return place = places[i], true;
    if (isGroup(child) && placeIn(child, places[i], wanted, place)) return true;
  }
  return false;
}

} // namespace

Place scrollContent(const Gadget& gadget) {
  return contentMinimum(gadget);
}

Place gadgetMinimum(const Gadget& gadget) {
  if (gadget.hidden) return {};
  if (gadget.kind == GadgetKind::userArea) return areaMinimum(gadget);
  Place size = leafMinimum(gadget);
  const bool scrolls = gadget.kind == GadgetKind::scrollGroup;
  if (isGroup(gadget)) size = contentMinimum(gadget);
  if (scrolls && (gadget.scroll & SCROLLGROUP_HORIZ) && gadget.initWidth > 0) size.width = gadget.initWidth;
  if (scrolls && (gadget.scroll & SCROLLGROUP_VERT) && gadget.initHeight > 0) size.height = gadget.initHeight;
  size.width = std::max(size.width, gadget.initWidth);
  size.height = std::max(size.height, gadget.initHeight);
  return size;
}

bool computePlace(const DialogState& state, const Gadget& gadget, Place& place) {
  Place window = gadgetMinimum(state.model.root);
  window.width = std::max(window.width, state.askedWidth);
  window.height = std::max(window.height, state.askedHeight);
  if (&gadget == &state.model.root) return place = window, true;
  return placeIn(state.model.root, window, gadget, place);
}

bool gadgetPlace(const DialogState& state, const Gadget& gadget, Place& place) {
  if (state.view && state.view->place(gadget, place)) return true;
  return computePlace(state, gadget, place);
}

bool windowOrigin(const DialogState& state, LONG& x, LONG& y) {
  x = y = 0;
  return !state.view || state.view->origin(x, y);
}

} // namespace host
