// Decides whether the wheel changes the field under the pointer or scrolls the panel. Main thread.
#pragma once

class QWidget;

namespace host {

/// True when the widget has no focus and lies in a scroll area that can scroll: the wheel then scrolls the
/// area and does not change a value by accident.
bool wheelBelongsToScrollArea(const QWidget& widget);

} // namespace host
