// The handles of the tools on the editor view. Main thread.
#pragma once

#include <vector>

#include "gizmo.h"

class QPainter;
class QPointF;
class QString;

namespace host {

/// `marked` is drawn in the accent colour.
void paintGizmo(QPainter& painter, const std::vector<GizmoHandle>& handles, GizmoPart marked);
/// A label beside the pointer.
void paintGizmoText(QPainter& painter, const QPointF& pointer, const QString& text);

} // namespace host
