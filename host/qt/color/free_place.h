// A place for a small window beside the pictures. Any thread.
#pragma once

#include <QRect>
#include <QSize>
#include <QWidget>
#include <span>
#include <vector>

namespace host {

/// Where on the screen a window of this size hides least of the pictures, then least of the control that
/// opened it, and then is nearest to it. The result lies on the screen unless it is larger. All in the
/// screen's coordinates.
QRect freePlace(QSize size, const QRect& control, const QRect& screen, std::span<const QRect> pictures);

/// Says that a widget shows a picture, which small windows keep free. Main thread.
void setShowsPicture(QWidget& widget);
/// The visible parts of all such widgets, in the screen's coordinates. Main thread.
std::vector<QRect> shownPictures();

} // namespace host
