#include "tool_drag.h"

#include <algorithm>
#include <cmath>

#include "editor_view.h"
#include "scene_edits.h"
#include "scene_queries.h"
#include "view_camera.h"

namespace host {

namespace {

constexpr double turnPerPixel = 0.01;                  // radians
constexpr double scalePerPixel = 0.006, mostScale = 8; // natural logarithms

Matrix about(const Vector& place, const Matrix& turn) {
  Matrix back, forth;
  back.off = -place;
  forth.off = place;
  return forth * turn * back;
}

Matrix turnedAboutY(double angle) {
  Matrix m;
  m.v1 = Vector(std::cos(angle), 0, -std::sin(angle));
  m.v3 = Vector(std::sin(angle), 0, std::cos(angle));
  return m;
}

Matrix scaled(double factor) {
  Matrix m;
  m.v1 = m.v1 * factor;
  m.v2 = m.v2 * factor;
  m.v3 = m.v3 * factor;
  return m;
}

const char* stepName(ViewTool tool) {
  return tool == ViewTool::move ? "Move" : tool == ViewTool::turn ? "Turn" : "Scale";
}

} // namespace

void ToolDrag::arm(const EditorView& view, ViewTool tool, const QPointF& at) {
  grip_.reset();
  BaseDocument* document = session_.document();
  if (tool == ViewTool::select || !document) return;
  const BaseObject* anchor = view.objectAt(at.x(), at.y());
  while (anchor && !anchor->GetBit(BIT_ACTIVE))
    anchor = anchor->GetUp();
  if (!anchor) return;
  Grip grip;
  grip.tool = tool;
  grip.start = at;
  grip.place = anchor->GetMg().off;
  for (const Identity identity : topmost(*document, selectedObjects(*document)))
    if (const BaseObject* one = findObject(*document, identity))
      grip.objects.emplace_back(identity, one->GetMg());
  grip_ = std::move(grip);
}

Matrix ToolDrag::change(const Grip& grip, const QPointF& at) const {
  const QPointF moved = at - grip.start;
  if (grip.tool == ViewTool::turn) return about(grip.place, turnedAboutY(moved.x() * turnPerPixel));
  if (grip.tool == ViewTool::scale)
    return about(grip.place, scaled(std::exp(std::clamp(moved.x() * scalePerPixel, -mostScale, mostScale))));
  Matrix change;
  if (const BaseDraw* draw = session_.document()->GetActiveBaseDraw()) {
    const ViewCamera eye = viewCameraOf(*draw);
    const double depth = eye.depthOf(grip.place);
    change.off = eye.pointAt(at.x(), at.y(), depth) - eye.pointAt(grip.start.x(), grip.start.y(), depth);
  }
  return change;
}

void ToolDrag::drag(const QPointF& at) {
  if (!grip_) return;
  if (!grip_->running) {
    const QPointF moved = at - grip_->start;
    if (std::hypot(moved.x(), moved.y()) <= clickReach) return;
    grip_->running = session_.edits().begin(stepName(grip_->tool));
    if (!grip_->running) return grip_.reset();
  }
  const Matrix by = change(*grip_, at);
  session_.edits().update([&](BaseDocument& document) {
    for (const auto& [identity, world] : grip_->objects)
      setWorldMatrix(document, identity, by * world);
  });
}

bool ToolDrag::end(bool keep) {
  const bool running = isRunning();
  grip_.reset();
  if (!running) return false;
  if (keep)
    session_.edits().end();
  else
    session_.edits().cancel();
  return true;
}

} // namespace host
