// The tour of the first start.
#include "tour.h"

#include <QLabel>
#include <QPushButton>

#include "c4d_file.h"
#include "main_kit.h"

namespace {

class TourTest : public StudioTest {
 protected:
  TourTest() {
    qunsetenv("LUMENARA_TOUR");
    startStudio();
  }
  host::Tour* tour() { return window().findChild<host::Tour*>("tour"); }
  QPushButton& button(const char* name) { return *tour()->findChild<QPushButton*>(QLatin1String(name)); }
  QString title() { return tour()->findChild<QLabel*>("tour-title")->text(); }
  bool gone() {
    settle(); // deletes it
    return tour() == nullptr;
  }
};

TEST_F(TourTest, ThreeStepsForwardAndBack) {
  window().show();
  choose("help.tour");
  ASSERT_NE(tour(), nullptr);
  EXPECT_EQ(title(), "Look around");
  EXPECT_FALSE(button("tour-back").isVisible());
  QTest::keyClick(&button("tour-next"), Qt::Key_Return);
  EXPECT_EQ(title(), "See it rendered");
  button("tour-back").click();
  EXPECT_EQ(title(), "Look around");
  button("tour-next").click();
  button("tour-next").click();
  EXPECT_EQ(title(), "Find any command");
  EXPECT_TRUE(tour()->findChild<QLabel*>("tour-text")->text().contains("Ctrl+Shift+P"));
  QTest::keyClick(&button("tour-next"), Qt::Key_Return);
  EXPECT_TRUE(gone());
}

TEST_F(TourTest, StaysInTheWindow) {
  window().show();
  choose("help.tour");
  for (const QSize size : {QSize(1200, 800), QSize(700, 500), QSize(1600, 900)}) {
    window().resize(size);
    settle();
    for (int step = 0; step < 3; ++step) {
      EXPECT_TRUE(window().rect().contains(tour()->geometry())) << size.width() << " " << step;
      if (step < 2) button("tour-next").click();
    }
    button("tour-back").click();
    button("tour-back").click();
  }
}

TEST_F(TourTest, OnceClosedItNeverComesBack) {
  EXPECT_FALSE(host::Tour::isPending()) << "no demo scene, no first start";
  host::Tour::begin();
  EXPECT_TRUE(host::Tour::isPending());
  startStudio().start();
  ASSERT_NE(tour(), nullptr) << "it was not closed";
  startStudio().start();
  ASSERT_NE(tour(), nullptr) << "nor now";
  QTest::keyClick(&button("tour-next"), Qt::Key_Escape);
  EXPECT_TRUE(gone());
  EXPECT_FALSE(host::Tour::isPending());
  startStudio().start();
  EXPECT_EQ(tour(), nullptr);
}

TEST_F(TourTest, TheEnvironmentKeepsItAway) {
  host::Tour::begin();
  qputenv("LUMENARA_TOUR", "0");
  startStudio().start();
  EXPECT_EQ(tour(), nullptr);
  qunsetenv("LUMENARA_TOUR");
}

} // namespace
