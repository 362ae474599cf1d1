// Between linear light and colours of the screen. Any thread.
#pragma once

#include <QColor>

#include "c4d_math.h"

namespace host {

/// Linear light (Rec. 709 primaries, 0 to 1) as a colour of the screen, and back (IEC 61966-2-1).
QColor screenColor(const Vector& linear);
Vector linearColor(const QColor& color);

} // namespace host
