// A viewer that follows its window: pictures keep their proportions however it is resized.
#include <gtest/gtest.h>

#include <array>

#include "square_scene.h"

namespace {

class ViewerFitTest : public ViewerFixture {
 protected:
  void SetUp() override {
    ViewerFixture::SetUp();
    BaseContainer* data = document->GetActiveRenderData()->GetDataInstance();
    data->SetLong(RDATA_MAXSAMPLES, 2);
    BaseObject* square = addObject(Opolygon, "square");
    makeGreen(*document, *square);
    const Vector corners[4] = {{-1, 1, 0}, {1, 1, 0}, {1, -1, 0}, {-1, -1, 0}};
    host::stateOf(square)->mesh = squareMesh(corners);
    document->GetActiveBaseDraw()->GetEditorCamera()->SetMg(MatrixMove(Vector(0, 0, 6)));
    setOption(LM_VIEW_SIZE, 0);
    setOption(LM_ENABLED, 1);
    setOption(LM_STAMP_RENDER_TIME, 0);
    host::setScrollSize(*viewer, 1122, 160, 120);
    openViewer();
    advance(1000);
    render();
    expectProportions();
  }
  /// The window has this much room for the picture.
  void resize(LONG width, LONG height) {
    host::setScrollSize(*viewer, 1122, width, height);
    advance(1000);
    EXPECT_LE(width - view().width + height - view().height, 1) << "a pixel at most is given up";
    EXPECT_GE(width, view().width);
    EXPECT_GE(height, view().height);
  }
  void expectProportions() {
    const BaseBitmap& shown = *view().display;
    ASSERT_EQ(shown.GetBw(), view().width);
    EXPECT_EQ(view().image->GetBw(), view().width);
    EXPECT_EQ(view().image->GetBh(), view().height);
    const Rectangle square = greenPart(shown, 0, 0, shown.GetBw() - 1, shown.GetBh() - 1);
    EXPECT_NEAR(square.width(), square.height(), 1);
    EXPECT_GT(square.width(), 30);
  }
};

TEST_F(ViewerFitTest, ARenderAfterAChangeOfOneSideIsNotSquashed) {
  for (const auto& [width, height] : {std::array<LONG, 2>{240, 120}, {240, 150}, {200, 150}, {200, 120}}) {
    SCOPED_TRACE(testing::Message() << width << " x " << height);
    resize(width, height);
    render();
    expectProportions();
  }
}

TEST_F(ViewerFitTest, BackAndForthManyTimesNothingDrifts) {
  for (int round = 0; round < 20; ++round) {
    SCOPED_TRACE(round);
    resize(round % 2 ? 160 : 240, 120);
    if (round % 3 == 0) resize(200, 120); // settled there without a render
    render();
    expectProportions();
  }
}

} // namespace
