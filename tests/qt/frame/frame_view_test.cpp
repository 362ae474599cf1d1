// The frame buffer's view bar: what is on screen, what is saved, what goes with the scene.
#include <QComboBox>
#include <QImage>
#include <QLabel>

#include "display_transform.h"
#include "film.h"
#include "frame_buffer.h"
#include "main_loop.h"
#include "manager_kit.h"
#include "number_field.h"
#include "picture_canvas.h"
#include "picture_source.h"
#include "view_bar.h"
#include "view_setting.h"
#include "view_transform.h"

using namespace host;

namespace {

class FrameViewTest : public ManagerTest {
 public:
  FrameViewTest() {
    frame = std::make_unique<FrameBuffer>(*session);
    frame->resize(1200, 600);
    frame->show();
    frame->activateWindow();
    settle();
  }
  ~FrameViewTest() override { frame.reset(); }

  /// A picture with a film: light rises to the right up to 2; the lowest row is black.
  static SharedBitmap lit(int width = 32, int height = 8, int depth = 24) {
    SharedBitmap bitmap = makeBitmap(width, height, depth);
    const auto film = std::make_shared<Film>(width, height);
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x) {
        const float light = y == height - 1 ? 0 : 2 * static_cast<float>(x) / static_cast<float>(width);
        const float rgba[4] = {light, light / 2, light / 4, 1};
        film->setColor(x, y, rgba);
        bitmap->SetPixel(x, y, toDisplay(rgba[0]), toDisplay(rgba[1]), toDisplay(rgba[2]));
        if (depth == 32) bitmap->SetAlpha(x, y, 255);
      }
    setFilm(*bitmap, film);
    return bitmap;
  }
  void showPicture(const SharedBitmap& bitmap) {
    session->pictures().show(*bitmap, "picture");
    settle();
  }
  /// The colour on screen once the look's image is made.
  QColor seen(int x, int y) {
    EXPECT_TRUE(waitFor([this] { return !frame->picture().isMaking(); }, 20000));
    return frame->canvas().shownColor({x, y});
  }
  static QColor expected(const ViewSettings& settings, const BaseBitmap& bitmap, int x, int y) {
    float rgba[4];
    filmOf(bitmap)->getShown(x, y, rgba);
    unsigned char codes[3];
    ViewTransform(settings).show(rgba, codes, 1);
    return {codes[0], codes[1], codes[2]};
  }
  void choose(const char* view) {
    QComboBox& box = frame->viewBar().views();
    box.setCurrentText(QLatin1String(view));
    emit box.activated(box.currentIndex());
  }
  void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    frame->canvas().setFocus();
    QTest::keyClick(&frame->canvas(), key, modifiers);
    settle();
  }
  ViewSettings ofScene() { return render::readView(document().GetActiveRenderData()->GetData(), nullptr); }

  std::unique_ptr<FrameBuffer> frame;
};

TEST_F(FrameViewTest, TheScreenShowsTheViewOfTheFilm) {
  const SharedBitmap bitmap = lit();
  showPicture(bitmap);
  for (const int x : {0, 5, 31})
    EXPECT_EQ(seen(x, 2), expected({}, *bitmap, x, 2)) << x;
  choose("ACES SDR");
  for (const int x : {0, 5, 31})
    EXPECT_EQ(seen(x, 2), expected({"ACES SDR"}, *bitmap, x, 2)) << x;
  frame->viewBar().setView({"Filmic", -1, 1.5, 4000});
  EXPECT_EQ(seen(9, 2), expected({"Filmic", -1, 1.5, 4000}, *bitmap, 9, 2));
  EXPECT_EQ(frame->viewBar().views().currentText(), "Filmic");
  EXPECT_EQ(frame->viewBar().exposure().value(), -1);
  keepPicture(*frame, QStringLiteral("pictures-view"));
  frame->viewBar().setView({});
  EXPECT_EQ(seen(9, 2), expected({}, *bitmap, 9, 2));
}

// A window wider than the bar: the rest of the width goes to the end, not between labels and their fields.
TEST_F(FrameViewTest, LabelsStayAtTheirFields) {
  frame->resize(1900, 640);
  settle();
  for (const char* name : {"viewExposure", "viewGamma", "viewWhite"}) {
    const auto* field = frame->findChild<QWidget*>(QLatin1String(name));
    ASSERT_TRUE(field) << name;
    const auto* label = field->parentWidget()->findChild<QLabel*>({}, Qt::FindDirectChildrenOnly);
    ASSERT_TRUE(label) << name;
    EXPECT_LE(label->width(), label->sizeHint().width() + 2) << name;
  }
  keepPicture(*frame, QStringLiteral("frame-wide-bar"));
}

TEST_F(FrameViewTest, KeysChangeChannelsClippingAndExposure) {
  const SharedBitmap bitmap = lit(32, 8, 32);
  showPicture(bitmap);
  const QColor all = seen(8, 2);
  press(Qt::Key_G);
  EXPECT_EQ(seen(8, 2), QColor(all.green(), all.green(), all.green()));
  press(Qt::Key_R);
  EXPECT_EQ(seen(8, 2), QColor(all.red(), all.red(), all.red()));
  press(Qt::Key_A);
  EXPECT_EQ(seen(8, 2), QColor(255, 255, 255));
  press(Qt::Key_L);
  EXPECT_NEAR(seen(8, 2).red(), 0.2126 * all.red() + 0.7152 * all.green() + 0.0722 * all.blue(), 1.5);
  press(Qt::Key_L);
  EXPECT_EQ(seen(8, 2), all) << "the same key shows all again";
  press(Qt::Key_C);
  EXPECT_EQ(seen(31, 2), QColor(255, 0, 0)) << "red is at 255";
  EXPECT_EQ(seen(31, 7), QColor(0, 0, 255)) << "black";
  EXPECT_EQ(seen(8, 2), all);
  press(Qt::Key_C);
  press(Qt::Key_E);
  press(Qt::Key_E);
  EXPECT_EQ(frame->viewBar().look().view.exposure, 1);
  EXPECT_EQ(seen(8, 2), expected({"sRGB", 1}, *bitmap, 8, 2));
  press(Qt::Key_E, Qt::ShiftModifier);
  EXPECT_EQ(frame->viewBar().look().view.exposure, 0.5);
}

TEST_F(FrameViewTest, ADragKeepsTheLastWishAndLosesNoTime) {
  const SharedBitmap bitmap = lit(320, 200);
  showPicture(bitmap);
  for (int i = 1; i <= 200; ++i)
    frame->viewBar().exposure().field().valueChanged(i * 0.01);
  EXPECT_TRUE(frame->picture().isMaking()) << "nothing was waited for";
  EXPECT_EQ(seen(50, 3), expected({"sRGB", 2.0}, *bitmap, 50, 3));
}

TEST_F(FrameViewTest, APictureWithoutLightKeepsItsColours) {
  SharedBitmap bitmap = makeBitmap(10, 10);
  bitmap->Clear(10, 20, 30);
  showPicture(bitmap);
  EXPECT_FALSE(frame->viewBar().views().isEnabled());
  frame->viewBar().setView({"Filmic", 3});
  EXPECT_EQ(seen(2, 2), QColor(10, 20, 30));
  press(Qt::Key_B);
  EXPECT_EQ(seen(2, 2), QColor(30, 30, 30)) << "channels are for all pictures";
  showPicture(lit());
  EXPECT_TRUE(frame->viewBar().views().isEnabled());
}

TEST_F(FrameViewTest, SavedPicturesAreTheOnesOnScreen) {
  for (const int depth : {24, 32}) {
    showPicture(lit(32, 8, depth));
    frame->viewBar().setView({"ACES SDR", 1});
    seen(0, 0);
    const Filename file = folder / (depth == 24 ? "saved24.png" : "saved32.png");
    frame->save(file);
    session->pictureSaver().finish();
    const QImage saved(toQt(file.GetString()));
    ASSERT_EQ(saved.size(), QSize(32, 8));
    for (int y = 0; y < 8; ++y)
      for (int x = 0; x < 32; ++x)
        ASSERT_EQ(saved.pixelColor(x, y), seen(x, y)) << x << " " << y;
  }
}

TEST_F(FrameViewTest, TheSceneKeepsItsView) {
  showPicture(lit());
  frame->viewBar().setView({"Neutral", 0.5, 1.2, 5000});
  EXPECT_EQ(ofScene(), ViewSettings());
  emit frame->viewBar().keepWanted();
  EXPECT_EQ(ofScene(), (ViewSettings{"Neutral", 0.5, 1.2, 5000}));
  EXPECT_EQ(edits().stepCount(), 1u);
  edits().undo();
  settle();
  EXPECT_EQ(frame->viewBar().look().view, ViewSettings()) << "the window follows the scene";
  edits().redo();
  settle();
  EXPECT_EQ(frame->viewBar().look().view, (ViewSettings{"Neutral", 0.5, 1.2, 5000}));
  frame->viewBar().setView({"Raw"});
  select({id("body")});
  EXPECT_EQ(frame->viewBar().look().view, ViewSettings{"Raw"}) << "other edits leave the window's view";
  session->hub().replace(scene(), Replacement::opened);
  settle();
  EXPECT_EQ(frame->viewBar().look().view, ViewSettings()) << "another scene has its own";
}

} // namespace
