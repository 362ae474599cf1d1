// The viewer with a history folder of its own.
#pragma once

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "viewer_fixture.h"

using Names = std::vector<std::string>;

class HistoryTest : public ViewerFixture {
 protected:
  std::string nextName(const char* prefix = "") {
    const Filename file = view().GetNextFilename(historyFolder(), prefix);
    EXPECT_EQ(file.GetDirectory(), historyFolder());
    return file.GetFile().GetString().GetUTF8();
  }
  /// Opens a view that shows a finished picture of this colour.
  void showPicture(const Rgb& color) {
    openEnabled(16, 12);
    fillBitmap(*view().image, 16, 12, color);
    redraw();
    ASSERT_EQ(view().data.stampsPending, 1);
    ASSERT_TRUE(isFilled(*view().display, color));
  }
  /// Fills the history to its size.
  void fillHistory() {
    for (LONG i = 0; i < 10; ++i)
      addHistoryFile(String("old" + LongToString(i) + ".tif").GetUTF8().c_str(), 10 + i);
  }
  void putLastRender(const Rgb& color) {
    AutoAlloc<BaseBitmap> picture;
    fillBitmap(*picture, 30, 20, color);
    ASSERT_EQ(picture->Save(dataFolder() + "lastRender.tif", FILTER_TIF), IMAGERESULT_OK);
  }
  Rgb savedColor(const char* name) {
    AutoAlloc<BaseBitmap> picture;
    EXPECT_EQ(picture->Init(historyFolder() + name), IMAGERESULT_OK) << name;
    return pixelOf(*picture, 0, 0);
  }
};
