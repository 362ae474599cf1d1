// A view with finished pictures.
#pragma once

#include <set>

#include "view_kit.h"

class PictureTest : public ViewTest {
 public:
  const host::ViewImage& finish() {
    EXPECT_TRUE(view->finishPicture(60000));
    return view->image();
  }
  static std::size_t colorsIn(const host::ViewImage& image) {
    return std::set<std::uint32_t>(image.pixels.begin(), image.pixels.end()).size();
  }
};
