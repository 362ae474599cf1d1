// The layout of groups. Main thread.
#pragma once

#include <QLayout>
#include <vector>

#include "gadget.h"

namespace host {

/// Lays out the widgets of a group as `layoutGrid` (grid_layout.h) does, so that a dialog looks the same with
/// and without a display. Hidden widgets keep their cell and take no room. A widget needs its size hint and
/// its minimum size; a scroll area, only its minimum.
class GridBox : public QLayout {
 public:
  explicit GridBox(QWidget* parent);
  ~GridBox() override;

  void setGroup(LONG columns, LONG rows, LONG spaceX, LONG spaceY);
  /// `flags` are BFH_ and BFV_.
  void add(QWidget* widget, LONG flags);

  void addItem(QLayoutItem* item) override;
  int count() const override;
  QLayoutItem* itemAt(int index) const override;
  QLayoutItem* takeAt(int index) override;
  Qt::Orientations expandingDirections() const override;
  QSize sizeHint() const override;
  QSize minimumSize() const override;
  void setGeometry(const QRect& rect) override;
  void invalidate() override;

 private:
  struct Entry {
    QLayoutItem* item;
    LONG flags;
  };
  QSize measure(bool hints) const;

  std::vector<Entry> entries_;
  LONG columns_ = 1, rows_ = 0, spaceX_ = 4, spaceY_ = 4;
  mutable QSize hint_, minimum_; // invalid: to be measured
};

} // namespace host
