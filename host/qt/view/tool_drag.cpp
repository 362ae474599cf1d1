#include "tool_drag.h"

#include <algorithm>
#include <cmath>

#include "editor_view.h"
#include "preferences.h"
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

constexpr const char* keptName = "tools"; // of the preferences

std::optional<GizmoKind> kindOf(ViewTool tool) {
  switch (tool) {
  case ViewTool::move:
    return GizmoKind::move;
  case ViewTool::turn:
    return GizmoKind::turn;
  case ViewTool::scale:
    return GizmoKind::scale;
  default:
    return std::nullopt;
  }
}

const char* stepName(ViewTool tool) {
  return tool == ViewTool::move ? "Move" : tool == ViewTool::turn ? "Turn" : "Scale";
}

} // namespace

ToolChoices ToolChoices::kept() {
  ToolChoices choices;
  const Preferences* all = preferences();
  const BaseContainer* values = all ? all->getNamed(keptName) : nullptr;
  if (!values) return choices;
  choices.objectAxes = values->GetBool(1) != FALSE;
  const auto take = [values](LONG id, double& step, double most) {
    const double value = values->GetReal(id);
    if (std::isfinite(value) && value > 0 && value <= most) step = value;
  };
  take(2, choices.steps.move, 1e6);
  take(3, choices.steps.turn, 180);
  take(4, choices.steps.scale, 1000);
  return choices;
}

void ToolChoices::keep() const {
  Preferences* all = preferences();
  if (!all) return;
  BaseContainer values;
  values.SetBool(1, objectAxes ? TRUE : FALSE);
  values.SetReal(2, steps.move);
  values.SetReal(3, steps.turn);
  values.SetReal(4, steps.scale);
  all->setNamed(keptName, values);
}

// In the middle of the selected objects, with the axes of the first.
std::optional<Gizmo> ToolDrag::gizmo(ViewTool tool) const {
  const auto kind = kindOf(tool);
  const BaseDocument* document = session_.document();
  if (!kind || !document) return std::nullopt;
  Gizmo gizmo;
  gizmo.kind = *kind;
  int count = 0;
  for (const Identity identity : topmost(*document, selectedObjects(*document))) {
    const BaseObject* object = findObject(*document, identity);
    if (!object) continue;
    const Matrix world = object->GetMg();
    if (count++ == 0 && (*kind == GizmoKind::scale || ToolChoices::kept().objectAxes))
      gizmo.axes = unitAxes(world);
    gizmo.place = gizmo.place + world.off;
  }
  if (count == 0) return std::nullopt;
  gizmo.place = gizmo.place * (1.0 / count);
  return gizmo;
}

std::vector<GizmoHandle> ToolDrag::handles(ViewTool tool) const {
  const BaseDraw* draw = session_.document() ? session_.document()->GetActiveBaseDraw() : nullptr;
  const auto one = gizmo(tool);
  if (!draw || !one) return {};
  return gizmoHandles(*one, viewCameraOf(*draw));
}

bool ToolDrag::hover(ViewTool tool, const QPointF& at) {
  const GizmoPart now = gizmoPartAt(handles(tool), at.x(), at.y());
  return std::exchange(under_, now) != now;
}

void ToolDrag::hold(Grip grip) {
  const BaseDocument& document = *session_.document();
  for (const Identity identity : topmost(document, selectedObjects(document)))
    if (const BaseObject* one = findObject(document, identity))
      grip.objects.emplace_back(identity, one->GetMg());
  grip_ = std::move(grip);
}

bool ToolDrag::grab(ViewTool tool, const QPointF& at) {
  grip_.reset();
  const GizmoPart part = gizmoPartAt(handles(tool), at.x(), at.y());
  if (part == GizmoPart::none) return false;
  Grip grip;
  grip.tool = tool;
  grip.start = grip.at = at;
  grip.part = part;
  grip.gizmo = gizmo(tool);
  grip.steps = ToolChoices::kept().steps;
  grip.drag.emplace(*grip.gizmo, part, viewCameraOf(*session_.document()->GetActiveBaseDraw()), at.x(),
                    at.y());
  hold(std::move(grip));
  return true;
}

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
  grip.start = grip.at = at;
  grip.place = anchor->GetMg().off;
  hold(std::move(grip));
}

Matrix ToolDrag::change(Grip& grip, const QPointF& at, bool snap) const {
  if (grip.drag) {
    const GizmoChange change = grip.drag->to(at.x(), at.y(), snap ? &grip.steps : nullptr);
    grip.text = QString::fromStdString(gizmoText(*grip.gizmo, grip.part, change));
    return change.by;
  }
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

void ToolDrag::drag(const QPointF& at, bool snap) {
  if (!grip_) return;
  grip_->at = at;
  if (!grip_->running) {
    const QPointF moved = at - grip_->start;
    if (std::hypot(moved.x(), moved.y()) <= clickReach) return;
    grip_->running = session_.edits().begin(stepName(grip_->tool));
    if (!grip_->running) return grip_.reset();
  }
  const Matrix by = change(*grip_, at, snap);
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
