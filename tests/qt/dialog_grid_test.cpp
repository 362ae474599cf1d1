// The layout of groups: how often it asks for sizes.
#include <QWidget>

#include "grid_box.h"
#include "qt_fixture.h"

namespace {

class Leaf : public QWidget {
 public:
  using QWidget::QWidget;
  QSize sizeHint() const override {
    ++asked;
    return size;
  }
  QSize size{30, 10};
  mutable int asked = 0;
};

struct Nest {
  QWidget top;
  QWidget* inner = &top;
  Leaf* leaf = nullptr;

  explicit Nest(int levels) {
    auto* layout = new host::GridBox(inner);
    for (int i = 0; i < levels; ++i) {
      auto* group = new QWidget;
      layout->add(group, BFH_SCALEFIT | BFV_SCALEFIT);
      inner = group;
      layout = new host::GridBox(group);
    }
    leaf = new Leaf;
    layout->add(leaf, BFH_SCALEFIT | BFV_SCALEFIT);
  }
};

TEST(GridBox, NestedGroupsMeasureEachLevelOnce) {
  Nest nest(12);
  EXPECT_EQ(nest.top.sizeHint(), QSize(30, 10));
  EXPECT_LE(nest.leaf->asked, 4) << "not twice for each level";
}

TEST(GridBox, AChangedSizeReachesTheTop) {
  Nest nest(4);
  EXPECT_EQ(nest.top.sizeHint(), QSize(30, 10));
  nest.leaf->size = {50, 20};
  nest.leaf->updateGeometry();
  EXPECT_EQ(nest.top.sizeHint(), QSize(50, 20)) << "at once, also of a window that is not shown yet";
}

} // namespace
