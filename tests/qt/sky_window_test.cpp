// The browser of made skies.
#include "sky_window.h"

#include <QLabel>
#include <QListWidget>
#include <QPushButton>

#include "made_sky.h"
#include "manager_kit.h"
#include "number_field.h"

using namespace host;

namespace {

class SkyWindowTest : public ManagerTest {
 public:
  SkyWindowTest() {
    window = std::make_unique<SkyWindow>(*session, nullptr);
    window->show();
    window->activateWindow();
    settle();
  }
  ~SkyWindowTest() override { window.reset(); }

  void choose(const QString& name) {
    const auto found = window->list().findItems(name, Qt::MatchExactly);
    ASSERT_EQ(found.size(), 1) << name.toStdString();
    window->list().setCurrentItem(found.front());
  }
  QString sun() { return window->findChild<QLabel*>("skySun")->text(); }
  std::unique_ptr<SkyWindow> window;
};

TEST_F(SkyWindowTest, ShowsAThumbnailOfEverySky) {
  window->finishThumbnails();
  EXPECT_EQ(window->list().count(), static_cast<int>(skyPresets().size()));
  for (int i = 0; i < window->list().count(); ++i)
    EXPECT_FALSE(window->list().item(i)->icon().isNull()) << i;
}

TEST_F(SkyWindowTest, ADoubleClickAppliesItAsOneStep) {
  choose("Softbox");
  emit window->list().itemActivated(window->list().currentItem());
  session->skyMaker().finish();
  settle();
  const auto recipe = skyRecipeOf(document());
  ASSERT_TRUE(recipe);
  EXPECT_EQ(recipe->model, SkyModel::studio);
  EXPECT_EQ(edits().stepCount(), 1u);
  EXPECT_EQ(edits().undoName(), String("Sky Softbox"));
}

TEST_F(SkyWindowTest, PlaceAndTimeMoveTheSun) {
  choose("Summer noon");
  const QString noon = sun();
  window->hour().setFocus();
  window->hour().selectAll();
  QTest::keyClicks(&window->hour(), "6");
  QTest::keyClick(&window->hour(), Qt::Key_Return);
  EXPECT_NE(sun(), noon);
  EXPECT_TRUE(sun().contains("east")) << sun().toStdString();
  window->findChild<QPushButton*>("skyApply")->click();
  session->skyMaker().finish();
  const auto recipe = skyRecipeOf(document());
  ASSERT_TRUE(recipe);
  EXPECT_EQ(recipe->time.hour, 6);
  // Another window begins with the scene's sky.
  SkyWindow other(*session, nullptr);
  other.show();
  settle();
  EXPECT_EQ(other.hour().value(), 6);
  choose("Overcast");
  EXPECT_FALSE(window->latitude().isEnabled()) << "no place and time";
}

} // namespace
