// Small windows keep the pictures free.
#include "free_place.h"

#include <gtest/gtest.h>

#include <vector>

using host::freePlace;

namespace {

const QRect screen(0, 0, 1920, 1080);

bool hidesAny(const QRect& place, const std::vector<QRect>& pictures) {
  for (const QRect& picture : pictures)
    if (place.intersects(picture)) return true;
  return false;
}

TEST(FreePlace, BelowTheControlWithoutPictures) {
  const QRect control(900, 500, 80, 24);
  EXPECT_EQ(freePlace({300, 360}, control, screen, {}).topLeft(), QPoint(900, 531));
  const QRect low(900, 1000, 80, 24), place = freePlace({300, 360}, low, screen, {});
  EXPECT_TRUE(screen.contains(place)) << "where below is no room";
  EXPECT_FALSE(place.intersects(low));
}

TEST(FreePlace, OverTheManagersRatherThanThePicture) {
  const std::vector<QRect> pictures{QRect(0, 60, 1560, 900)};
  for (int y = 0; y < 1080; y += 60) {
    const QRect control(1700, y, 60, 24);
    const QRect place = freePlace({300, 400}, control, screen, pictures);
    EXPECT_FALSE(hidesAny(place, pictures)) << y;
    EXPECT_TRUE(screen.contains(place)) << y;
    EXPECT_FALSE(place.intersects(control)) << y;
  }
}

TEST(FreePlace, BetweenTwoPictures) {
  const std::vector<QRect> pictures{QRect(0, 0, 800, 1080), QRect(1200, 0, 720, 1080)};
  const QRect place = freePlace({300, 400}, QRect(300, 300, 60, 24), screen, pictures);
  EXPECT_FALSE(hidesAny(place, pictures));
}

TEST(FreePlace, HidesTheLeastWhereNothingIsFree) {
  const std::vector<QRect> pictures{QRect(0, 0, 1920, 900)};
  const QRect place = freePlace({300, 400}, QRect(900, 20, 60, 24), screen, pictures);
  EXPECT_EQ(place.bottom(), screen.bottom()) << "half of it lies below the picture";
}

TEST(FreePlace, ALargeWindowBeginsOnTheScreen) {
  const QRect place = freePlace({3000, 2000}, QRect(900, 500, 80, 24), screen, {});
  EXPECT_EQ(place.topLeft(), screen.topLeft());
}

} // namespace
