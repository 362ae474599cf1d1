// Finished pictures that take more samples, and the focus of the camera that they show.
#include "film.h"
#include "film_focus.h"
#include "kept_render.h"
#include "render_settings.h"
#include "session_fixture.h"

namespace {

using namespace host;

class MoreSamplesTest : public SessionFixture {
 protected:
  MoreSamplesTest() {
    openScene();
    edits().apply("Settings", [this](BaseDocument& d) {
      setRenderValue(d, RDATA_XRES, GeData(LONG(48)));
      setRenderValue(d, RDATA_YRES, GeData(LONG(32)));
      setRenderValue(d, RDATA_MAXSAMPLES, GeData(LONG(4)));
      setRenderValue(d, render::spreadSetting, GeData(LONG(1)));
      newObject(d, Osky);
      d.GetRenderBaseDraw()->SetSceneCamera(d.SearchObject("camera"));
    });
    runAll();
  }
  HostRenders& renders() { return session->renders(); }
  SharedBitmap render() {
    EXPECT_TRUE(renders().renderPicture()) << renders().state().error;
    renders().finish();
    runAll();
    return renders().state().bitmap;
  }
  static int samplesOf(const SharedBitmap& bitmap) {
    return render::samplesBehind(filmOf(*bitmap)->samples().get());
  }
  static std::vector<float> colors(const BaseBitmap& bitmap) {
    const auto film = filmOf(bitmap);
    std::vector<float> all;
    for (int y = 0; y < film->height(); ++y)
      for (int x = 0; x < film->width(); ++x) {
        float rgba[4];
        film->getColor(x, y, rgba);
        all.insert(all.end(), rgba, rgba + 4);
      }
    return all;
  }
};

TEST_F(MoreSamplesTest, DoubleThoseOfTheSceneAtThatTime) {
  const SharedBitmap first = render();
  EXPECT_TRUE(renders().hasSamples(first.get()));
  EXPECT_EQ(samplesOf(first), 4);
  const std::vector<float> before = colors(*first);
  edits().apply("Delete", [&](BaseDocument& d) { deleteObjects(d, std::array{id("root")}); });
  ASSERT_TRUE(renders().moreSamples(*first)) << renders().state().error;
  EXPECT_TRUE(renders().state().running);
  renders().finish();
  runAll();
  const SharedBitmap second = renders().state().bitmap;
  ASSERT_NE(first, second) << "the picture itself stays";
  EXPECT_EQ(colors(*first), before);
  EXPECT_EQ(samplesOf(second), 8);
  EXPECT_EQ(session->pictures().pictures().size(), 2u);
  EXPECT_EQ(renders().state().result, RENDERRESULT_OK);
  edits().undo();
  runAll();
  edits().apply("Samples", [](BaseDocument& d) { setRenderValue(d, RDATA_MAXSAMPLES, GeData(LONG(8))); });
  EXPECT_EQ(colors(*render()), colors(*second)) << "as if rendered at once";
  ASSERT_TRUE(renders().moreSamples(*second));
  renders().finish();
  EXPECT_EQ(samplesOf(renders().state().bitmap), 16);
}

TEST_F(MoreSamplesTest, OthersAreRefusedInASentence) {
  const SharedBitmap first = render();
  const SharedBitmap copy = copyBitmap(*first);
  EXPECT_FALSE(renders().hasSamples(copy.get())) << "nobody knows its scene";
  EXPECT_FALSE(renders().hasSamples(nullptr));
  EXPECT_FALSE(renders().moreSamples(*copy));
  EXPECT_NE(renders().state().error.find("Render it again"), std::string::npos);
  EXPECT_FALSE(renders().isRunning());
}

TEST_F(MoreSamplesTest, TheFocusIsWhereThePixelMeetsTheScene) {
  const SharedBitmap bitmap = render();
  const std::shared_ptr<Film> film = filmOf(*bitmap);
  int x = -1, y = -1;
  for (int row = 0; row < 32 && x < 0; ++row)
    for (int column = 0; column < 48 && x < 0; ++column) {
      float rgba[4];
      film->getColor(column, row, rgba);
      if (rgba[3] >= 1) x = column, y = row;
    }
  ASSERT_GE(x, 0) << "no surface covers a pixel";
  const FilmFocus found = focusAt(*film, x, y, &document());
  EXPECT_EQ(found.camera, id("camera")) << found.sentence;
  edits().apply("Pick Focus",
                [&](BaseDocument& d) { EXPECT_TRUE(focusCamera(d, found.camera, found.point)); });
  // The camera stands at z = 8 and looks along -z.
  GeData value;
  document().SearchObject("camera")->GetParameter(param::cameraFocusDistance, value);
  EXPECT_NEAR(value.GetReal(), 8 - found.point.z, 1e-4);
  EXPECT_GT(value.GetReal(), 0.1);

  EXPECT_EQ(focusAt(*film, 0, 0, &document()).camera, 0u);
  EXPECT_EQ(focusAt(*film, x, y, nullptr).camera, 0u);
  EXPECT_EQ(focusAt(Film(4, 4), 1, 1, &document()).camera, 0u) << "from a file";
  edits().apply("Delete", [&](BaseDocument& d) { deleteObjects(d, std::array{id("camera")}); });
  EXPECT_NE(focusAt(*film, x, y, &document()).sentence.find("not an object"), std::string::npos);
}

} // namespace
