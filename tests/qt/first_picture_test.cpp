// The picture of --viewer waits for the scene and for a window that keeps its size.
#include <QTimer>

#include "c4d_file.h"
#include "first_picture.h"
#include "main_kit.h"

namespace {

class FirstPictureTest : public StudioTest {
 protected:
  FirstPictureTest() { startStudio(); }

  std::unique_ptr<host::FirstPicture> wanted() {
    auto made = std::make_unique<host::FirstPicture>(session().files(), window(), [this] { ++asked; });
    timer = made->findChild<QTimer*>();
    return made;
  }

  int asked = 0;
  QTimer* timer = nullptr;
};

TEST_F(FirstPictureTest, IsAskedForOnce) {
  const auto first = wanted();
  EXPECT_TRUE(waitFor([&] { return asked > 0; }));
  openScene(smallScene());
  window().resize(window().size() + QSize(40, 30));
  settle();
  EXPECT_FALSE(timer->isActive());
  EXPECT_EQ(asked, 1);
}

TEST_F(FirstPictureTest, AResizeDelaysIt) {
  const auto first = wanted();
  timer->stop();
  settle();
  EXPECT_FALSE(timer->isActive());
  window().resize(window().size() + QSize(40, 30));
  EXPECT_TRUE(waitFor([&] { return timer->isActive(); }));
  EXPECT_TRUE(waitFor([&] { return asked == 1; }));
}

TEST_F(FirstPictureTest, TheSceneIsLoadedBefore) {
  ASSERT_TRUE(session().files().open(smallScene()));
  const auto first = wanted();
  timer->stop();
  QMetaObject::invokeMethod(timer, "timeout"); // the window stands before the scene is loaded
  EXPECT_EQ(asked, 0);
  EXPECT_TRUE(waitFor([&] { return asked == 1; }));
  EXPECT_EQ(session().files().title(), String("small.gltf"));
}

} // namespace
