// Whose the wheel is over a field. Main thread.
#pragma once

class QWidget;

namespace host {

/// True when the widget has no focus and lies in a scroll area that can scroll: then the wheel moves that,
/// and not a value by accident.
bool wheelBelongsToScrollArea(const QWidget& widget);

} // namespace host
