#include "grid_box.h"

#include "grid_layout.h"

namespace host {

namespace {

// The least size of an item; with `hint`, its preferred size.
QSize needOf(const QLayoutItem& item, bool hint) {
  const QWidget* widget = item.widget();
  if (!hint && qobject_cast<const QAbstractScrollArea*>(widget)) return item.minimumSize();
  if (!hint && widget && widget->layout()) return item.minimumSize();
  return item.sizeHint().expandedTo(item.minimumSize());
}

} // namespace

GridBox::GridBox(QWidget* parent) : QLayout(parent) {
  setContentsMargins(0, 0, 0, 0);
}

GridBox::~GridBox() {
  for (const Entry& entry : entries_)
    delete entry.item;
}

void GridBox::setGroup(LONG columns, LONG rows, LONG spaceX, LONG spaceY) {
  columns_ = columns;
  rows_ = rows;
  spaceX_ = spaceX;
  spaceY_ = spaceY;
  invalidate();
}

void GridBox::add(QWidget* widget, LONG flags) {
  addChildWidget(widget);
  entries_.push_back({new QWidgetItem(widget), flags});
  invalidate();
}

void GridBox::addItem(QLayoutItem* item) {
  entries_.push_back({item, BFH_LEFT | BFV_TOP});
  invalidate();
}

int GridBox::count() const {
  return static_cast<int>(entries_.size());
}

QLayoutItem* GridBox::itemAt(int index) const {
  return index >= 0 && index < count() ? entries_[static_cast<std::size_t>(index)].item : nullptr;
}

QLayoutItem* GridBox::takeAt(int index) {
  QLayoutItem* item = itemAt(index);
  if (item) entries_.erase(entries_.begin() + index);
  return item;
}

Qt::Orientations GridBox::expandingDirections() const {
  Qt::Orientations directions;
  for (const Entry& entry : entries_) {
    if (entry.flags & BFH_SCALE) directions |= Qt::Horizontal;
    if (entry.flags & BFV_SCALE) directions |= Qt::Vertical;
  }
  return directions;
}

QSize GridBox::measure(bool hints) const {
  std::vector<GridItem> items;
  for (const Entry& entry : entries_) {
    const bool hidden = entry.item->isEmpty();
    const QSize need = hidden ? QSize(0, 0) : needOf(*entry.item, hints);
    items.push_back({entry.flags, need.width(), need.height(), hidden, false});
  }
  const Place least = gridMinimum({columns_, rows_, spaceX_, spaceY_}, items);
  const QMargins margins = contentsMargins();
  return {least.width + margins.left() + margins.right(), least.height + margins.top() + margins.bottom()};
}

// Each level asks for both sizes of the level below: without keeping them, the time doubles with each level.
QSize GridBox::sizeHint() const {
  if (!hint_.isValid()) hint_ = measure(true);
  return hint_;
}

QSize GridBox::minimumSize() const {
  if (!minimum_.isValid()) minimum_ = measure(false);
  return minimum_;
}

void GridBox::invalidate() {
  // The groups around this one as well: Qt tells them only once they are visible.
  for (const QWidget* widget = parentWidget(); widget; widget = widget->parentWidget())
    if (auto* box = dynamic_cast<GridBox*>(widget->layout())) box->hint_ = box->minimum_ = QSize();
  QLayout::invalidate();
}

void GridBox::setGeometry(const QRect& rect) {
  QLayout::setGeometry(rect);
  const QRect room = rect.marginsRemoved(contentsMargins());
  // Size hints where they all fit, minimum sizes where they do not.
  const QSize hint = sizeHint();
  const bool hints = room.width() >= hint.width() && room.height() >= hint.height();
  std::vector<GridItem> items;
  for (const Entry& entry : entries_) {
    const bool hidden = entry.item->isEmpty();
    const QSize need = hidden ? QSize(0, 0) : needOf(*entry.item, hints);
    items.push_back({entry.flags, need.width(), need.height(), hidden, false});
  }
  const std::vector<Place> places = layoutGrid({columns_, rows_, spaceX_, spaceY_}, items,
                                               {room.x(), room.y(), room.width(), room.height()});
  for (std::size_t i = 0; i < places.size(); ++i)
    if (!items[i].hidden)
      entries_[i].item->setGeometry({places[i].x, places[i].y, places[i].width, places[i].height});
}

} // namespace host
