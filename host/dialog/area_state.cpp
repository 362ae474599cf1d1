#include "area_state.h"

#include <algorithm>
#include <array>
#include <utility>

#include "access.h"
#include "dialog_state.h"
#include "gadget_actions.h"
#include "plugin_call.h"
#include "plugin_renders.h"

namespace host {

namespace {

constexpr LONG largestSide = 32768; // of a surface
std::uint32_t colorOfWindows = 0xff2b2b2e;

DialogState* dialogOf(const AreaState& state) {
  return state.dialog ? Access::state(*state.dialog) : nullptr;
}

void stopTimer(TimerId& timer) {
  mainLoop().removeTimer(timer);
  timer = 0;
}

void startTimer(AreaState& state) {
  stopTimer(state.timer);
  if (!isLive(state) || state.timerPeriod <= 0) return;
  const auto run = [&state] { callPlugin(state.plugin, [&] { state.area.Timer(BaseContainer()); }); };
  state.timer = mainLoop().addTimer(state.timerPeriod, run, Urgency::painting);
}

// Posts a task; it does nothing if the area has been destroyed by then.
void postFor(AreaState& state, void (*work)(AreaState&)) {
  const auto run = [work, area = state.lifetime.ref()] {
    if (area) work(*area.get());
  };
  mainLoop().post(run, Urgency::painting);
}

// Notes the size of the bitmap after a render: a viewer keeps the old one when only one side differs.
void noteRender(AreaState& state) {
  if (state.rendersSeen == pluginRenders()) return;
  state.rendersSeen = pluginRenders();
  const bool both = state.width != state.renderedWidth && state.height != state.renderedHeight;
  if (state.rendered && !both) return;
  state.rendered = true;
  state.renderedWidth = state.width;
  state.renderedHeight = state.height;
}

// The scroll group whose visible part the area alone fills; null otherwise.
Gadget* filledGroup(const AreaState& state) {
  Gadget* group = state.gadget->parent;
  if (!group || group->kind != GadgetKind::scrollGroup || group->children.size() != 1) return nullptr;
  LONG left = 0, top = 0, right = 0, bottom = 0;
  const bool known = state.dialog->GetVisibleArea(group->id, &left, &top, &right, &bottom) != FALSE;
  return known && right - left == state.width && bottom - top == state.height ? group : nullptr;
}

// Sets the group's free pixels. True when the area gets another size; an area of fixed size does not.
bool keepFree(AreaState& state, Gadget& group, LONG width, LONG height) {
  const LONG widthBefore = state.width, heightBefore = state.height;
  const LONG freeWidth = std::exchange(group.freeWidth, width);
  const LONG freeHeight = std::exchange(group.freeHeight, height);
  const WeakRef alive = state.lifetime.ref();
  DialogView* view = dialogOf(state)->view;
  if (view) view->layoutChanged(group);
  if (alive) relayoutArea(state);
  if (!alive || !state.gadget) return true;
  if (view) return state.width != widthBefore || state.height != heightBefore;
  if (state.minWidth != widthBefore || state.minHeight != heightBefore) return true;
  group.freeWidth = freeWidth;
  group.freeHeight = freeHeight;
  return false;
}

// A viewer keeps a bitmap that differs from its size in one side only, and would show it squashed. So when
// only one side has changed, the group frees or regains one pixel of the other side. True: the area gets
// another size.
bool evenOut(AreaState& state) {
  Gadget* group = filledGroup(state);
  if (!group) return false;
  noteRender(state);
  const LONG width = state.width + group->freeWidth, height = state.height + group->freeHeight;
  constexpr std::array<std::array<LONG, 2>, 3> choices{{{0, 0}, {0, 1}, {1, 0}}};
  for (const auto& [across, down] : choices) {
    const bool otherWidth = width - across != state.renderedWidth;
    const bool otherHeight = height - down != state.renderedHeight;
    if (otherWidth != otherHeight) continue;
    if (across == group->freeWidth && down == group->freeHeight) return false;
    return keepFree(state, *group, across, down);
  }
  return false;
}

// Sends BFM_SIZED to the area, then to its dialog.
void sendSizeMessage(AreaState& state) {
  stopTimer(state.sizedTimer);
  if (!isLive(state) || (state.width == state.toldWidth && state.height == state.toldHeight)) return;
  if (evenOut(state)) return; // the new size is reported instead
  state.toldWidth = state.width;
  state.toldHeight = state.height;
  BaseContainer message(BFM_SIZED), result;
  message.SetLong(BFM_ACTION_ID, state.gadget->id);
  GeDialog& dialog = *state.dialog;
  const WeakRef there = Access::state(dialog)->lifetime.ref();
  callPlugin(state.plugin, [&] { state.area.Message(message, result); });
  if (there && dialog.IsOpen()) sendMessage(dialog, message);
}

void scheduleSizeMessage(AreaState& state) {
  stopTimer(state.sizedTimer);
  state.sizedTimer = mainLoop().addTimer(
      sizedDelay, [&state] { sendSizeMessage(state); }, Urgency::normal, state.dialog);
}

void sizeToMinimum(AreaState& state) {
  state.sizeWaits = false;
  if (isLive(state) && !dialogOf(state)->view)
    sizeArea(state.area, state.minWidth, state.minHeight, state.surface.ratio());
}

} // namespace

AreaState::AreaState(GeUserArea& owner) : area(owner) {
}

AreaState::~AreaState() {
  detachArea(*this);
}

bool isLive(const AreaState& state) noexcept {
  const DialogState* dialog = dialogOf(state);
  return dialog && dialog->open && state.stage >= AreaState::Stage::started;
}

void startArea(AreaState& state) {
  const DialogState* dialog = dialogOf(state);
  if (!dialog || !dialog->open || state.stage != AreaState::Stage::idle) return;
  state.minWidth = state.gadget->initWidth;
  state.minHeight = state.gadget->initHeight;
  state.minKnown = state.painted = false;
  state.stage = AreaState::Stage::started;
  const bool works = callPlugin(
      state.plugin, [&] { return state.area.Init() != FALSE; }, false);
  if (!works) {
    state.stage = AreaState::Stage::failed;
    stopTimer(state.timer);
    return;
  }
  if (state.timer == 0) startTimer(state);
}

void stopArea(AreaState& state) {
  stopTimer(state.timer);
  stopTimer(state.paintTimer);
  stopTimer(state.sizedTimer);
  state.redrawWaits = state.sizeWaits = false;
  state.stage = AreaState::Stage::idle;
}

void detachArea(AreaState& state) {
  if (!state.gadget) return;
  stopArea(state);
  state.gadget->area = nullptr;
  state.gadget = nullptr;
  state.dialog = nullptr;
}

void attachArea(AreaState& state, GeDialog& dialog, Gadget& gadget) {
  if (gadget.area) detachArea(*Access::state(*gadget.area));
  detachArea(state);
  gadget.area = &state.area;
  state.gadget = &gadget;
  state.dialog = &dialog;
  const DialogState& owner = *Access::state(dialog);
  if (!owner.open) return;
  if (owner.view)
    owner.view->layoutChanged(gadget);
  else
    postFor(state, [](AreaState& area) {
      if (area.dialog) layoutWithoutView(*area.dialog);
    });
}

void askMinSize(AreaState& state) {
  if (!isLive(state) || state.askingMin) return;
  state.askingMin = true;
  LONG width = state.gadget->initWidth, height = state.gadget->initHeight;
  const bool told = callPlugin(
      state.plugin, [&] { return state.area.GetMinSize(width, height) != FALSE; }, false);
  state.askingMin = false;
  if (!state.gadget) return;
  state.minWidth = std::clamp<LONG>(told ? width : state.gadget->initWidth, 0, largestSide);
  state.minHeight = std::clamp<LONG>(told ? height : state.gadget->initHeight, 0, largestSide);
  state.minKnown = true;
}

void relayoutArea(AreaState& state) {
  if (!isLive(state) || state.askingMin) return;
  askMinSize(state);
  if (!isLive(state)) return;
  if (DialogView* view = dialogOf(state)->view) {
    view->layoutChanged(*state.gadget);
  } else if (!state.sizeWaits) {
    state.sizeWaits = true;
    postFor(state, sizeToMinimum);
  }
}

void requestPaint(AreaState& state) {
  if (!isLive(state) || state.redrawWaits) return;
  state.redrawWaits = true;
  const Milliseconds since = clock().now() - state.lastPaint;
  if (!state.painted || since >= frameTime)
    return postFor(state, [](AreaState& area) { paintArea(area.area); });
  state.paintTimer = mainLoop().addTimer(
      frameTime - since, [&state] { paintArea(state.area); }, Urgency::painting);
}

void paintNow(AreaState& state) {
  if (state.drawing || state.stage != AreaState::Stage::shown) return;
  stopTimer(state.paintTimer);
  state.redrawWaits = false;
  state.painted = true;
  state.lastPaint = clock().now();
  state.surface.fill(windowColor());
  if (state.width > 0 && state.height > 0) {
    const WeakRef alive = state.lifetime.ref();
    state.drawing = true;
    state.pen = Vector();
    callPlugin(state.plugin,
               [&] { state.area.DrawMsg(0, 0, state.width - 1, state.height - 1, BaseContainer()); });
    if (!alive) return;
    state.drawing = false;
  }
  const DialogState* dialog = dialogOf(state);
  if (dialog && dialog->view) dialog->view->areaPainted(*state.gadget);
}

void setAreaTimer(AreaState& state, LONG milliseconds) {
  state.timerPeriod = milliseconds;
  startTimer(state);
}

// ---- Calls from views and tests

void areaMinSize(GeUserArea& area, LONG& width, LONG& height) {
  AreaState& state = *Access::state(area);
  startArea(state);
  if (!state.minKnown) askMinSize(state);
  width = state.minWidth;
  height = state.minHeight;
}

void sizeArea(GeUserArea& area, LONG width, LONG height, double pixelRatio) {
  AreaState& state = *Access::state(area);
  const DialogState* dialog = dialogOf(state);
  if (!dialog || !dialog->open) return;
  const WeakRef alive = state.lifetime.ref();
  startArea(state);
  if (isLive(state) && !state.minKnown) askMinSize(state);
  width = std::clamp<LONG>(width, 0, largestSide);
  height = std::clamp<LONG>(height, 0, largestSide);
  const bool first = state.stage != AreaState::Stage::shown;
  const bool sized = first || width != state.width || height != state.height;
  if (!sized && pixelRatio == state.surface.ratio()) return;
  if (sized && state.width > 0) noteRender(state);
  if (first && state.renderedWidth == 0) {
    state.renderedWidth = width;
    state.renderedHeight = height;
    state.rendersSeen = pluginRenders();
  }
  state.surface.resize(width, height, pixelRatio, windowColor());
  state.width = width;
  state.height = height;
  if (!isLive(state)) return;
  if (sized) callPlugin(state.plugin, [&] { area.Sized(width, height); });
  if (!alive) return;
  if (first && isLive(state)) {
    state.stage = AreaState::Stage::shown;
    state.toldWidth = width;
    state.toldHeight = height;
    callPlugin(state.plugin, [&] { area.InitValues(); });
  } else if (sized && isLive(state)) {
    scheduleSizeMessage(state);
  }
  if (alive && isLive(state)) paintNow(state);
}

const Surface& areaSurface(const GeUserArea& area) {
  return Access::state(area)->surface;
}

void paintArea(GeUserArea& area) {
  AreaState& state = *Access::state(area);
  stopTimer(state.paintTimer);
  if (!state.redrawWaits) return;
  if (state.drawing) return postFor(state, [](AreaState& waiting) { paintArea(waiting.area); });
  state.redrawWaits = false;
  if (isLive(state)) paintNow(state);
}

void layoutWithoutView(GeDialog& dialog) {
  DialogState& state = *Access::state(dialog);
  if (!state.open || state.view) return;
  std::vector<WeakRef<AreaState>> areas;
  forEachGadget(state.model.root, [&](Gadget& gadget) {
    if (gadget.area) areas.push_back(Access::state(*gadget.area)->lifetime.ref());
  });
  for (const WeakRef<AreaState>& area : areas) {
    if (!area || area->stage != AreaState::Stage::idle) continue;
    LONG width = 0, height = 0;
    areaMinSize(area->area, width, height);
    if (area) sizeArea(area->area, width, height);
  }
}

std::uint32_t windowColor() noexcept {
  return colorOfWindows;
}

void setWindowColor(std::uint32_t color) {
  if (color == colorOfWindows) return;
  colorOfWindows = color;
  for (GeDialog* dialog : openDialogs())
    forEachGadget(Access::state(*dialog)->model.root, [](Gadget& gadget) {
      if (gadget.area) requestPaint(*Access::state(*gadget.area));
    });
}

} // namespace host
