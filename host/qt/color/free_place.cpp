#include "free_place.h"

#include <QApplication>
#include <algorithm>
#include <array>
#include <cstdlib>
#include <tuple>

namespace host {

namespace {

constexpr int gap = 8;
constexpr const char* mark = "showsPicture";

qint64 shared(const QRect& a, const QRect& b) {
  const QRect both = a & b;
  return both.isEmpty() ? 0 : static_cast<qint64>(both.width()) * both.height();
}

int between(int fromA, int toA, int fromB, int toB) {
  return std::max({0, fromB - toA, fromA - toB});
}

} // namespace

QRect freePlace(QSize size, const QRect& control, const QRect& screen, std::span<const QRect> pictures) {
  const int w = size.width(), h = size.height();
  std::vector<int> across{control.left(), control.right() - w + 1, screen.left() + gap,
                          screen.right() - w - gap},
      down{control.bottom() + gap, control.top() - h - gap, control.top(), screen.top() + gap,
           screen.bottom() - h - gap};
  const auto beside = [&](const QRect& r) {
    across.insert(across.end(), {r.left() - w - gap, r.right() + gap});
    down.insert(down.end(), {r.top() - h - gap, r.bottom() + gap});
  };
  beside(control);
  for (const QRect& picture : pictures)
    beside(picture);
  QRect best;
  std::tuple<qint64, qint64, int> least{-1, 0, 0};
  for (const int x : across)
    for (const int y : down) {
      const QRect place(std::max(screen.left(), std::min(x, screen.right() - w + 1)),
                        std::max(screen.top(), std::min(y, screen.bottom() - h + 1)), w, h);
      qint64 hidden = 0;
      for (const QRect& picture : pictures)
        hidden += shared(place, picture);
      const int far = between(place.left(), place.right(), control.left(), control.right()) +
                      between(place.top(), place.bottom(), control.top(), control.bottom());
      const std::tuple<qint64, qint64, int> cost{hidden, shared(place, control), far};
      if (std::get<0>(least) < 0 || cost < least) least = cost, best = place;
    }
  return best;
}

void setShowsPicture(QWidget& widget) {
  widget.setProperty(mark, true);
}

std::vector<QRect> shownPictures() {
  std::vector<QRect> found;
  for (const QWidget* widget : QApplication::allWidgets())
    if (widget->isVisible() && widget->property(mark).toBool()) {
      const QRect part = widget->visibleRegion().boundingRect();
      if (!part.isEmpty()) found.push_back(part.translated(widget->mapToGlobal(QPoint())));
    }
  return found;
}

} // namespace host
