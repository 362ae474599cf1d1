#include "quick_repaint.h"

#include <QApplication>

#include "area_widget.h"
#include "plugin_renders.h"

namespace host {

QuickRepaint::QuickRepaint(LiveLink& link, QObject* parent) : QObject(parent), link_(link) {
  timer_.setInterval(period);
  timer_.setTimerType(Qt::PreciseTimer);
  connect(&timer_, &QTimer::timeout, this, &QuickRepaint::repaint);
  changed_ = link_.changed.add([this] { look(); });
}

QuickRepaint::~QuickRepaint() = default;

void QuickRepaint::look() {
  const std::size_t commits = link_.server() ? link_.server()->state().commits : 0;
  if (std::exchange(commits_, commits) < commits) begin();
}

void QuickRepaint::begin() {
  left_ = duration / period;
  if (timer_.isActive()) return;
  renders_ = pluginRenders();
  timer_.start();
}

void QuickRepaint::repaint() {
  if (--left_ <= 0) timer_.stop();
  if (pluginRenders() == renders_) return; // no new pixels
  for (QWidget* widget : QApplication::allWidgets())
    if (auto* area = qobject_cast<AreaWidget*>(widget); area && area->area() && area->isVisible())
      area->area()->Redraw();
}

} // namespace host
