// The film of a plug-in's renders in the list of pictures; picture files; picking.
#include "c4d_render.h"
#include "display_transform.h"
#include "film.h"
#include "film_picking.h"
#include "layer_table.h"
#include "plugin_registry.h"
#include "render_settings.h"
#include "session_fixture.h"
#include "thread_context.h"

namespace {

using namespace host;

class ViewerFilmTest : public SessionFixture {
 protected:
  ViewerFilmTest() {
    openScene();
    edits().apply("Settings", [](BaseDocument& d) {
      setRenderValue(d, RDATA_MAXSAMPLES, GeData(LONG(1)));
      newObject(d, Osky);
    });
    runAll();
  }

  /// A render as a plug-in makes it.
  RENDERRESULT render(BaseBitmap& bitmap, BaseThread* thread = nullptr, unsigned layers = 0) {
    const ContextScope scope({nullptr, &unit, nullptr});
    BaseContainer settings = document().GetActiveRenderData()->GetData();
    settings.SetLong(render::layersSetting, static_cast<LONG>(layers));
    const RENDERRESULT result =
        RenderDocument(&document(), settings, nullptr, nullptr, &bitmap, RENDERFLAGS_EXTERNAL, thread);
    return result;
  }
  const PictureList::Picture* live() { return session->pictures().live(); }

  PluginUnit unit;
};

TEST_F(ViewerFilmTest, IsOneEntryThatDrawingOverDoesNotTouch) {
  const SharedBitmap bitmap = makeBitmap(32, 20);
  int news = 0;
  std::vector<int> stages;
  const Subscription heard = session->viewerFilm().rendered.add([&](const FilmNews& render) {
    stages.push_back(static_cast<int>(render.stage));
    EXPECT_TRUE(render.byPlugin);
    ++news;
  });
  EXPECT_EQ(live(), nullptr);
  EXPECT_EQ(render(*bitmap), RENDERRESULT_OK);
  runAll();
  EXPECT_EQ(stages, (std::vector<int>{0, 1, 2}));
  ASSERT_NE(live(), nullptr);
  EXPECT_FALSE(live()->running);
  EXPECT_TRUE(live()->filmOnly);
  EXPECT_EQ(live()->name, "Viewer");
  EXPECT_EQ(session->pictures().current(), live()->id);
  EXPECT_EQ(filmOf(*live()->bitmap), filmOf(*bitmap));
  bitmap->Clear(1, 2, 3); // a stamp over all
  float rgba[4];
  filmOf(*bitmap)->getShown(7, 7, rgba);
  UWORD r, g, b;
  live()->bitmap->GetPixel(7, 7, &r, &g, &b);
  EXPECT_EQ(r, toDisplay(rgba[0]));
  EXPECT_EQ(b, toDisplay(rgba[2]));
  const PictureList::Id id = live()->id;
  render(*bitmap);
  runAll();
  EXPECT_EQ(session->pictures().pictures().size(), 1u);
  EXPECT_EQ(live()->id, id);
}

TEST_F(ViewerFilmTest, AResizeKeepsTheLastFilmUntilTheNewOneHasAPicture) {
  const SharedBitmap bitmap = makeBitmap(32, 20);
  render(*bitmap);
  runAll();
  const std::shared_ptr<Film> first = filmOf(*bitmap);
  bitmap->Init(48, 30, 24);
  EXPECT_EQ(filmOf(*live()->bitmap), first) << "the plug-in's bitmap is black now";
  bool sawBegin = false, sawVisible = false;
  const Subscription heard = session->viewerFilm().rendered.add([&](const FilmNews& render) {
    if (render.stage == FilmNews::Stage::begun) {
      EXPECT_EQ(filmOf(*live()->bitmap), first);
      sawBegin = true;
    }
    if (render.stage == FilmNews::Stage::visible) {
      EXPECT_EQ(live()->bitmap->GetBw(), 48);
      EXPECT_TRUE(live()->running);
      sawVisible = true;
    }
  });
  render(*bitmap);
  runAll();
  EXPECT_TRUE(sawBegin && sawVisible);
  EXPECT_EQ(filmOf(*live()->bitmap), filmOf(*bitmap));
}

TEST_F(ViewerFilmTest, ARenderThatIsStoppedBeforeItsFirstPictureLeavesTheLastFilm) {
  const SharedBitmap bitmap = makeBitmap(32, 20);
  render(*bitmap);
  runAll();
  const std::shared_ptr<Film> first = filmOf(*bitmap);
  bitmap->Init(48, 30, 24);
  class Stopped : public C4DThread {
    void Main() override {}
    const CHAR* GetThreadName() override { return reinterpret_cast<const CHAR*>("stopped"); }
    Bool TestDBreak() override { return TRUE; }
  } stopped;
  EXPECT_EQ(render(*bitmap, stopped.Get()), RENDERRESULT_USERBREAK);
  runAll();
  EXPECT_EQ(filmOf(*live()->bitmap), first);
  EXPECT_FALSE(live()->running);
}

TEST_F(ViewerFilmTest, ALookAtAnotherPictureGoesOn) {
  const SharedBitmap bitmap = makeBitmap(32, 20), other = makeBitmap(8, 8);
  const PictureList::Id shown = session->pictures().show(*other, "other");
  render(*bitmap);
  runAll();
  EXPECT_EQ(session->pictures().current(), shown);
  ASSERT_NE(live(), nullptr);
  for (int i = 0; i < 40; ++i)
    session->pictures().show(*other, "more");
  EXPECT_NE(live(), nullptr) << "the viewer's entry is not trimmed";
}

TEST_F(ViewerFilmTest, APictureThatWasKeptStaysWhenTheViewerRendersAgain) {
  const SharedBitmap bitmap = makeBitmap(32, 20);
  render(*bitmap, nullptr, objectLayer);
  session->pictures().show(*bitmap, "kept");
  const SharedBitmap kept = session->pictures().pictures().back().bitmap;
  const std::shared_ptr<Film> film = filmOf(*kept);
  ASSERT_NE(film, nullptr);
  EXPECT_NE(film, filmOf(*bitmap));
  EXPECT_FALSE(film->nodes("object_id").empty());
  EXPECT_TRUE(film->notes().contains("object_id/names"));
  EXPECT_EQ(film->origin(), filmOf(*bitmap)->origin());
}

TEST_F(ViewerFilmTest, OwnRendersAreNotTheViewers) {
  session->renders().renderView(16, 16);
  session->renders().finish();
  runAll();
  EXPECT_EQ(live(), nullptr);
}

TEST_F(ViewerFilmTest, PicksTheObjectAndItsMaterial) {
  const SharedBitmap bitmap = makeBitmap(64, 48);
  render(*bitmap, nullptr, objectLayer | materialLayer);
  const std::shared_ptr<Film> film = filmOf(*bitmap);
  const FilmLayerPtr numbers = film->findLayer("object_id");
  ASSERT_NE(numbers, nullptr);
  const std::vector<std::uint64_t> nodes = film->nodes("object_id");
  EXPECT_NE(std::find(nodes.begin(), nodes.end(), id("body")), nodes.end());
  // The scene's camera may see nothing: a number that a pixel could have.
  const float number =
                  static_cast<float>(std::find(nodes.begin(), nodes.end(), id("arm")) - nodes.begin() + 1),
              none = 0;
  numbers->set(film->pixelAt(3, 4), &number);
  numbers->set(film->pixelAt(5, 4), &none);
  const FilmPick arm = pickNode(*film, 3, 4, PickTarget::object, &document());
  EXPECT_EQ(arm.node, id("arm")) << arm.sentence;
  EXPECT_EQ(arm.name, "arm");
  EXPECT_EQ(pickNode(*film, 5, 4, PickTarget::object, &document()).sentence,
            "There is no object at this pixel.");
  const std::vector<std::uint64_t> materials = film->nodes("material_id");
  const auto red = std::find(materials.begin(), materials.end(), material("red"));
  ASSERT_NE(red, materials.end());
  const float redNumber = static_cast<float>(red - materials.begin() + 1);
  film->findLayer("material_id")->set(film->pixelAt(3, 4), &redNumber);
  EXPECT_EQ(pickNode(*film, 3, 4, PickTarget::material, &document()).node, material("red"));

  session->hub().replace(scene(), Replacement::opened);
  runAll();
  const FilmPick gone = pickNode(*film, 3, 4, PickTarget::object, &document());
  EXPECT_EQ(gone.node, 0u);
  EXPECT_NE(gone.sentence.find("no longer open"), std::string::npos) << gone.sentence;
  film->setNodes("object_id", {});
  EXPECT_NE(pickNode(*film, 3, 4, PickTarget::object, &document()).sentence.find("file"), std::string::npos);
  film->removeLayer("object_id");
  EXPECT_NE(pickNode(*film, 3, 4, PickTarget::object, &document()).sentence.find("Multi-Pass"),
            std::string::npos);
}

TEST_F(ViewerFilmTest, FilesAreOpenedWithTheirLayers) {
  const SharedBitmap bitmap = makeBitmap(16, 12);
  render(*bitmap, nullptr, depthLayer | normalLayer);
  runAll();
  ASSERT_TRUE(savePicture(*bitmap, folder / "a.exr", nullptr));
  ASSERT_TRUE(savePicture(*bitmap, folder / "a.png", nullptr));
  std::vector<std::string> errors;
  for (const char* name : {"a.exr", "a.png", "none.exr"})
    session->pictureOpener().open(folder / name, [&](const std::string& error) { errors.push_back(error); });
  session->pictureOpener().finish();
  ASSERT_EQ(errors.size(), 3u);
  EXPECT_EQ(errors[0], "");
  EXPECT_EQ(errors[1], "");
  EXPECT_NE(errors[2], "");
  const auto& list = session->pictures().pictures();
  ASSERT_EQ(list.size(), 3u) << "and the viewer's";
  const auto find = [&](const char* name) {
    return *std::find_if(list.begin(), list.end(), [&](const auto& one) { return one.name == name; });
  };
  EXPECT_TRUE(find("a.exr").filmOnly);
  EXPECT_NE(filmOf(*find("a.exr").bitmap)->findLayer("depth"), nullptr);
  EXPECT_FALSE(find("a.png").filmOnly);
}

} // namespace
