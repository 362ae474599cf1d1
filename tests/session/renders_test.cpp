// The host's renders, thumbnails, playback and pictures.
#include <chrono>
#include <set>
#include <thread>

#include "c4d_plugin.h"
#include "film.h"
#include "preview_scene.h"
#include "render_settings.h"
#include "running_state.h"
#include "session_fixture.h"
#include "status_bar.h"
#include "thread_context.h"

namespace {

using namespace host;

constexpr LONG postId = 1990001;

// A plug-in's video post that looks at the host during a render.
struct Seen {
  std::atomic<int> renders{0}, state2{0}, state3{0}, state5{0};
  std::atomic<bool> hold{false}; // keeps a render from going on until it is asked to stop
};
Seen* seen = nullptr;

class LookingPost final : public VideoPostData {
 public:
  RENDERRESULT Execute(BaseVideoPost*, VideoPostStruct* call) override {
    if (!seen || call->vp != VIDEOPOSTCALL_RENDER || !call->open) return RENDERRESULT_OK;
    ++seen->renders;
    seen->state2 += CheckIsRunning(CHECKISRUNNING_EDITORRENDERING) ? 1 : 0;
    seen->state3 += CheckIsRunning(CHECKISRUNNING_EXTERNALRENDERING) ? 1 : 0;
    seen->state5 += CheckIsRunning(CHECKISRUNNING_MATERIALPREVIEWRUNNING) ? 1 : 0;
    while (seen->hold && !call->thread->TestBreak())
      std::this_thread::yield();
    return RENDERRESULT_OK;
  }
  static NodeData* alloc() { return new LookingPost; }
};

class RendersTest : public SessionFixture {
 protected:
  RendersTest() {
    seen = &looks;
    RegisterVideoPostPlugin(postId, "Looking", 0, LookingPost::alloc, String(), 0, 0);
    openScene();
    edits().apply("Settings", [](BaseDocument& d) {
      setRenderValue(d, RDATA_XRES, GeData(LONG(48)));
      setRenderValue(d, RDATA_YRES, GeData(LONG(32)));
      setRenderValue(d, RDATA_MAXSAMPLES, GeData(LONG(2)));
      addVideoPost(d, postId);
      newObject(d, Osky);
    });
    runAll();
  }
  ~RendersTest() override {
    session.reset();
    seen = nullptr;
  }

  HostRenders& renders() { return session->renders(); }
  MaterialPreviews& previews() { return session->previews(); }
  // Runs the loop until it is so; a deadline ends it.
  template <class Condition>
  bool runUntil(const Condition& condition, int seconds = 60) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    while (!condition()) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      advance(5, 5);
      std::this_thread::yield();
    }
    return true;
  }
  static bool anyLight(const BaseBitmap& bitmap) {
    for (LONG y = 0; y < bitmap.GetBh(); ++y)
      for (LONG x = 0; x < bitmap.GetBw(); ++x) {
        UWORD r = 0, g = 0, b = 0;
        bitmap.GetPixel(x, y, &r, &g, &b);
        if (r + g + b > 60) return true;
      }
    return false;
  }

  Seen looks;
};

TEST_F(RendersTest, AViewRenderHasItsSizeAndState) {
  int finished = 0;
  const Subscription subscription = renders().finished.add([&] { ++finished; });
  ASSERT_TRUE(renders().renderView(60, 40)) << renders().state().error;
  EXPECT_TRUE(renders().isRunning());
  renders().finish();
  EXPECT_EQ(finished, 1);
  const RenderState& state = renders().state();
  EXPECT_FALSE(state.running);
  EXPECT_EQ(state.progress, 1);
  EXPECT_EQ(state.result, RENDERRESULT_OK);
  EXPECT_EQ(state.error, "");
  EXPECT_EQ(state.bitmap->GetBw(), 60);
  EXPECT_EQ(state.bitmap->GetBh(), 40);
  EXPECT_EQ(looks.renders, 1);
  EXPECT_EQ(looks.state2, 1);
  EXPECT_EQ(looks.state3 + looks.state5, 0);
  EXPECT_FALSE(CheckIsRunning(CHECKISRUNNING_EDITORRENDERING));
  EXPECT_TRUE(session->pictures().pictures().empty());
}

TEST_F(RendersTest, APictureRenderGoesToThePictureList) {
  ASSERT_TRUE(renders().renderPicture());
  ASSERT_EQ(session->pictures().pictures().size(), 1u);
  EXPECT_TRUE(session->pictures().pictures()[0].running);
  renders().finish();
  EXPECT_EQ(looks.state3, 1);
  EXPECT_EQ(looks.state2, 0);
  const PictureList::Picture& picture = session->pictures().pictures()[0];
  EXPECT_FALSE(picture.running);
  EXPECT_EQ(picture.bitmap->GetBw(), 48);
  EXPECT_TRUE(anyLight(*picture.bitmap));
  EXPECT_NE(filmOf(*picture.bitmap), nullptr);
}

TEST_F(RendersTest, ARenderCanBeCancelledAndReplaced) {
  looks.hold = true;
  ASSERT_TRUE(renders().renderView(60, 40));
  ASSERT_TRUE(runUntil([&] { return looks.renders == 1; }));
  EXPECT_TRUE(CheckIsRunning(CHECKISRUNNING_EDITORRENDERING));
  renders().cancel();
  EXPECT_FALSE(renders().isRunning());
  EXPECT_EQ(renders().state().result, RENDERRESULT_USERBREAK);
  EXPECT_EQ(renders().state().error, "") << "who cancels knows";
  ASSERT_TRUE(renders().renderView(60, 40));
  ASSERT_TRUE(runUntil([&] { return looks.renders == 2; }));
  const SharedBitmap first = renders().state().bitmap;
  looks.hold = false;
  ASSERT_TRUE(renders().renderPicture());
  EXPECT_NE(renders().state().bitmap, first);
  EXPECT_TRUE(runUntil([&] { return !renders().isRunning(); })) << "the loop brings it to its end";
  EXPECT_EQ(renders().state().result, RENDERRESULT_OK);
}

TEST_F(RendersTest, PluginsMayStopIt) {
  looks.hold = true;
  ASSERT_TRUE(renders().renderPicture());
  ASSERT_TRUE(runUntil([&] { return looks.renders == 1; }));
  EXPECT_TRUE(GeStopBackgroundThreads(10000, 4));
  EXPECT_TRUE(runUntil([&] { return !renders().isRunning(); }));
  EXPECT_EQ(renders().state().result, RENDERRESULT_USERBREAK);
}

TEST_F(RendersTest, TheSceneMayBeEditedMeanwhile) {
  looks.hold = true;
  ASSERT_TRUE(renders().renderView(30, 20));
  ASSERT_TRUE(runUntil([&] { return looks.renders == 1; }));
  edits().apply("Delete", [&](BaseDocument& d) { deleteObjects(d, std::array{id("root")}); });
  looks.hold = false;
  renders().finish();
  EXPECT_EQ(renders().state().result, RENDERRESULT_OK);
}

TEST_F(RendersTest, ASceneWithoutSettingsIsASentence) {
  while (RenderData* data = document().GetFirstRenderData())
    RenderData::Free(data);
  EXPECT_FALSE(renders().renderPicture());
  EXPECT_NE(renders().state().error.find("render settings"), std::string::npos) << renders().state().error;
  EXPECT_FALSE(renders().isRunning());
  EXPECT_TRUE(session->pictures().pictures().empty());
}

// --- thumbnails ---

TEST_F(RendersTest, ThumbnailsComeInTheBackgroundAsState5) {
  std::set<Identity> ready;
  const Subscription subscription = previews().ready.add([&](Identity material) { ready.insert(material); });
  const Identity red = material("red"), blue = material("blue");
  EXPECT_EQ(previews().preview(red, 64), nullptr);
  EXPECT_EQ(previews().preview(blue, 64), nullptr);
  EXPECT_EQ(previews().preview(999999, 64), nullptr);
  EXPECT_EQ(previews().waiting(), 2u) << "the third is not a material";
  ASSERT_TRUE(runUntil([&] { return ready.size() == 2; }));
  EXPECT_EQ(looks.state5, looks.renders.load());
  EXPECT_EQ(looks.state2 + looks.state3, 0);
  const auto picture = previews().preview(red, 64);
  ASSERT_NE(picture, nullptr);
  EXPECT_EQ(picture->GetBw(), 64);
  EXPECT_TRUE(anyLight(*picture));
  EXPECT_EQ(previews().waiting(), 0u) << "nothing changed, nothing is rendered";
}

TEST_F(RendersTest, AThumbnailShowsItsMaterial) {
  const Identity red = material("red"), blue = material("blue");
  edits().apply("Colors", [&](BaseDocument& d) {
    BaseShader* shader = d.SearchMaterial("red")->GetFirstShader();
    shader->SetParameter(param::colorValue, GeData(Vector(1, 0, 0)));
    setAttribute(d, std::array{blue}, AttributeId::materialColor, GeData(Vector(0, 0, 1)));
  });
  previews().preview(red, 32);
  previews().preview(blue, 32);
  previews().finish();
  const auto center = [&](Identity material) {
    UWORD r = 0, g = 0, b = 0;
    previews().preview(material, 32)->GetPixel(16, 16, &r, &g, &b);
    return std::array<int, 3>{r, g, b};
  };
  EXPECT_GT(center(red)[0], 2 * center(red)[2]);
  EXPECT_GT(center(blue)[2], 2 * center(blue)[0]);
}

TEST_F(RendersTest, AnEditMakesTheThumbnailAnew) {
  const Identity red = material("red");
  previews().preview(red, 32);
  previews().finish();
  const auto before = previews().preview(red, 32);
  EXPECT_TRUE(previews().isFresh(red, 32));
  edits().apply("Select", [&](BaseDocument& d) { selectMaterial(d, red); });
  EXPECT_TRUE(previews().isFresh(red, 32)) << "selecting is not a change";
  edits().apply("Metal", [&](BaseDocument& d) {
    setAttribute(d, std::array{red}, AttributeId::materialMetal, GeData(Real(1)));
  });
  EXPECT_FALSE(previews().isFresh(red, 32));
  EXPECT_EQ(previews().preview(red, 32), before) << "the old one until there is a new one";
  EXPECT_TRUE(runUntil([&] { return previews().isFresh(red, 32); }));
  EXPECT_NE(previews().preview(red, 32), before);
  edits().apply("Delete", [&](BaseDocument& d) { deleteMaterial(d, red); });
  runAll();
  EXPECT_EQ(previews().preview(red, 32), nullptr);
}

TEST_F(RendersTest, AThumbnailGivesWayToPluginsAndIsTakenUpAgain) {
  const Identity red = material("red");
  looks.hold = true;
  previews().preview(red, 32);
  ASSERT_TRUE(runUntil([&] { return looks.renders == 1; }));
  EXPECT_TRUE(CheckIsRunning(CHECKISRUNNING_MATERIALPREVIEWRUNNING));
  {
    const PluginScope call(nullptr); // as every command, message and timer of a plug-in
    EXPECT_FALSE(CheckIsRunning(CHECKISRUNNING_MATERIALPREVIEWRUNNING)) << "a plug-in never meets one";
  }
  EXPECT_EQ(previews().stoppedCount(), 1);
  EXPECT_EQ(previews().waiting(), 1u);
  looks.hold = false;
  EXPECT_TRUE(runUntil([&] { return previews().isFresh(red, 32); })) << "taken up again";
}

TEST_F(RendersTest, ThumbnailsWaitForEventsAndRenders) {
  previews().preview(material("red"), 32);
  mainLoop().post([] {});
  // The timers run after what waits; something that comes with each round keeps thumbnails from starting.
  int rounds = 0;
  const std::function<void()> again = [&] {
    if (++rounds < 50) mainLoop().post(again);
  };
  mainLoop().post(again);
  for (int i = 0; i < 40; ++i) {
    clock.advance(20);
    mainLoop().runDue();
    EXPECT_FALSE(previews().isRunning());
  }
  runAll();
  looks.hold = true;
  ASSERT_TRUE(runUntil([&] { return looks.state5 == 1; }));
  ASSERT_TRUE(renders().renderView(30, 20));
  EXPECT_TRUE(CheckIsRunning(CHECKISRUNNING_EDITORRENDERING)) << "from the first moment on";
  EXPECT_FALSE(previews().isRunning()) << "the host's own render ends it";
  ASSERT_TRUE(runUntil([&] { return looks.state2 == 1; }));
  advance(500, 20);
  EXPECT_FALSE(previews().isRunning());
  EXPECT_EQ(looks.state5, 1) << "none ran beside the render";
  looks.hold = false;
  renders().finish();
  EXPECT_TRUE(runUntil([&] { return previews().finishedCount() == 1; }));
}

TEST_F(RendersTest, AnotherDocumentForgetsThumbnails) {
  previews().preview(material("red"), 32);
  previews().finish();
  openScene();
  EXPECT_EQ(previews().waiting(), 0u);
  EXPECT_EQ(previews().preview(material("red"), 32), nullptr);
}

// Mean square difference of the channels.
double noiseOf(const BaseBitmap& a, const BaseBitmap& b) {
  double sum = 0;
  for (LONG y = 0; y < a.GetBh(); ++y) {
    for (LONG x = 0; x < a.GetBw(); ++x) {
      UWORD p[3] = {}, q[3] = {};
      a.GetPixel(x, y, &p[0], &p[1], &p[2]);
      b.GetPixel(x, y, &q[0], &q[1], &q[2]);
      for (int i = 0; i < 3; ++i)
        sum += (p[i] - q[i]) * (p[i] - q[i]);
    }
  }
  return sum / (3.0 * a.GetBw() * a.GetBh());
}

TEST_F(RendersTest, ThumbnailsAreRefinedUntilTheyAreClean) {
  const Identity red = material("red");
  previews().preview(red, 32);
  EXPECT_EQ(previews().samplesOf(red, 32), 0);
  previews().finish();
  const auto first = previews().preview(red, 32);
  EXPECT_EQ(previews().samplesOf(red, 32), 24);
  int told = 0;
  const Subscription counted = previews().ready.add([&](Identity) { ++told; });
  ASSERT_TRUE(runUntil([&] { return previews().samplesOf(red, 32) >= MaterialPreviews::cleanSamples; }));
  const auto clean = previews().preview(red, 32);
  EXPECT_EQ(told, 3) << "at twice as many, and at the end";

  const SharedBitmap reference = makeBitmap(32, 32);
  BaseContainer settings;
  settings.SetLong(RDATA_MAXSAMPLES, 1000);
  settings.SetReal(RDATA_NOISETHRESHOLD, 0);
  settings.SetLong(render::seedSetting, 77777);
  const auto& look = static_cast<const MaterialState&>(*findNode(state(), red));
  const DocumentPtr scene = previewScene(look, nullptr);
  ASSERT_EQ(RenderDocument(scene.get(), settings, nullptr, nullptr, reference.get(), RENDERFLAGS_0, nullptr),
            RENDERRESULT_OK);
  EXPECT_LT(4 * noiseOf(*clean, *reference), noiseOf(*first, *reference)) << "eight times the samples";

  const int renders = looks.renders;
  advance(500, 20);
  EXPECT_EQ(looks.renders, renders) << "then it rests";
  edits().apply("Metal", [&](BaseDocument& d) {
    setAttribute(d, std::array{red}, AttributeId::materialMetal, GeData(Real(1)));
  });
  EXPECT_TRUE(runUntil([&] {
    return previews().isFresh(red, 32) && previews().samplesOf(red, 32) >= MaterialPreviews::cleanSamples;
  })) << "an edit begins anew";
}

TEST_F(RendersTest, RefiningWaitsForAPluginsOwnWork) {
  const Identity red = material("red");
  previews().preview(red, 32);
  previews().finish();
  StatusSetSpin();
  const int renders = looks.renders;
  advance(500, 20);
  EXPECT_EQ(looks.renders, renders);
  EXPECT_EQ(previews().samplesOf(red, 32), 24);
  StatusClear();
  looks.hold = true;
  ASSERT_TRUE(runUntil([&] { return looks.renders > renders; }));
  {
    const PluginScope call(nullptr);
    EXPECT_FALSE(previews().isRunning()) << "it gives way like any thumbnail";
  }
  EXPECT_TRUE(previews().isFresh(red, 32)) << "and what is there stays";
  EXPECT_EQ(previews().waiting(), 0u);
  looks.hold = false;
  EXPECT_TRUE(runUntil([&] { return previews().samplesOf(red, 32) >= MaterialPreviews::cleanSamples; }));
}

// --- pictures ---

TEST_F(RendersTest, PicturesAreCopiedNamedAndBounded) {
  PictureList list(3);
  const SharedBitmap bitmap = makeBitmap(4, 3);
  bitmap->SetPixel(1, 1, 10, 20, 30);
  const auto first = list.show(*bitmap, "Shot");
  bitmap->SetPixel(1, 1, 0, 0, 0);
  UWORD r = 0, g = 0, b = 0;
  list.find(first)->bitmap->GetPixel(1, 1, &r, &g, &b);
  EXPECT_EQ(r, 10) << "a copy";
  list.show(*bitmap, "Shot");
  EXPECT_EQ(list.pictures()[1].name, String("Shot 2"));
  list.choose(first);
  list.show(*bitmap);
  const auto last = list.show(*bitmap);
  EXPECT_EQ(list.pictures().size(), 3u);
  EXPECT_EQ(list.find(first), nullptr) << "the oldest goes";
  EXPECT_EQ(list.current(), last);
  list.remove(last);
  EXPECT_EQ(list.current(), list.pictures().back().id);
  const auto newest = list.show(*makeBitmap(1, 1));
  EXPECT_EQ(newest, list.current());
}

TEST_F(RendersTest, PicturesAreSavedByTheirSuffix) {
  ASSERT_TRUE(renders().renderPicture());
  renders().finish();
  const SharedBitmap picture = session->pictures().find(session->pictures().current())->bitmap;
  std::string error;
  for (const char* name : {"p.png", "p.tif", "p.tiff", "p.jpg", "p.exr"}) {
    EXPECT_TRUE(savePicture(*picture, folder / name, &error)) << name << ": " << error;
    const SharedBitmap loaded = makeBitmap(1, 1);
    EXPECT_EQ(loaded->Init(folder / name), IMAGERESULT_OK) << name;
    EXPECT_EQ(loaded->GetBw(), 48) << name;
  }
  EXPECT_FALSE(savePicture(*picture, folder / "p.xyz", &error));
  EXPECT_NE(error.find(".png"), std::string::npos);
  EXPECT_FALSE(savePicture(*picture, folder / "no folder" + "p.png", &error));
  EXPECT_NE(error.find("no folder"), std::string::npos) << error;
}

// Pixels that do not pack well, so that encoding takes its time.
SharedBitmap noise(LONG width, LONG height) {
  SharedBitmap bitmap = makeBitmap(width, height);
  std::uint32_t state = 1;
  for (LONG y = 0; y < height; ++y)
    for (LONG x = 0; x < width; ++x) {
      state = state * 1664525 + 1013904223;
      bitmap->SetPixel(x, y, static_cast<LONG>(state >> 24), static_cast<LONG>(state >> 16 & 255),
                       static_cast<LONG>(state >> 8 & 255));
    }
  return bitmap;
}

TEST_F(RendersTest, PicturesAreSavedInTheBackgroundOneAfterTheOther) {
  using Clock = std::chrono::steady_clock;
  PictureSaver& saver = session->pictureSaver();
  const SharedBitmap large = noise(2400, 1600), small = noise(8, 8);
  std::vector<std::string> order;
  const auto done = [&](const char* name) {
    return [&order, name](const std::string& error) { order.push_back(name + error); };
  };
  int changes = 0;
  const Subscription counted = saver.changed.add([&] { ++changes; });
  const auto begin = Clock::now();
  saver.save(large, folder / "large.png", done("large"));
  saver.save(small, folder / "small.png", done("small"));
  saver.save(small, folder / "no folder" + "small.png", done("lost "));
  const auto asked = Clock::now() - begin;
  EXPECT_TRUE(saver.isBusy());
  EXPECT_EQ(saver.file(), folder / "large.png");
  EXPECT_TRUE(order.empty());
  EXPECT_FALSE(GeFExist(folder / "small.png"));
  const auto deadline = Clock::now() + std::chrono::seconds(60);
  while (saver.isBusy() && Clock::now() < deadline)
    runAll();
  const auto all = Clock::now() - begin;
  EXPECT_LT(asked * 4, all) << "the encoding was waited for";
  ASSERT_EQ(order.size(), 3u);
  EXPECT_EQ(order[0], "large");
  EXPECT_EQ(order[1], "small");
  EXPECT_EQ(order[2].find("lost Picture"), 0u) << order[2];
  EXPECT_NE(order[2].find("no folder"), std::string::npos) << order[2];
  EXPECT_EQ(changes, 4) << "three beginnings and the end";
  EXPECT_TRUE(GeFExist(folder / "small.png"));
}

TEST_F(RendersTest, TheEndOfTheSessionWaitsForSaves) {
  int told = 0;
  for (const char* name : {"a.png", "b.png"})
    session->pictureSaver().save(noise(600, 400), folder / name, [&](const std::string& error) {
      ++told;
      EXPECT_EQ(error, "");
    });
  session->shutDown();
  EXPECT_EQ(told, 2);
  for (const char* name : {"a.png", "b.png"}) {
    const SharedBitmap loaded = makeBitmap(1, 1);
    EXPECT_EQ(loaded->Init(folder / name), IMAGERESULT_OK) << name;
  }
}

// --- time ---

TEST_F(RendersTest, PlayingFollowsTheClock) {
  Playback& playback = session->playback();
  edits().apply("Range", [](BaseDocument& d) { setTimeRange(d, 25, 5, 54); });
  playback.goTo(5);
  playback.play();
  EXPECT_TRUE(CheckIsRunning(CHECKISRUNNING_ANIMATIONRUNNING));
  advance(1000, 10);
  EXPECT_EQ(playback.frame(), 30);
  EXPECT_NEAR(object("mover")->local.off.x, 10, 1e-6);
  advance(400, 400); // a slow machine leaves frames out
  EXPECT_EQ(playback.frame(), 40);
  advance(1000, 20);
  EXPECT_EQ(playback.frame(), 15) << "round and round: 50 frames";
  playback.stop();
  EXPECT_FALSE(CheckIsRunning(CHECKISRUNNING_ANIMATIONRUNNING));
  advance(1000, 20);
  EXPECT_EQ(playback.frame(), 15);
  playback.step(1);
  EXPECT_EQ(playback.frame(), 16);
  playback.step(1000);
  EXPECT_EQ(playback.frame(), 54);
  playback.play();
  EXPECT_EQ(playback.frame(), 5) << "from the start when it stands at the end";
  playback.goToLast();
  EXPECT_FALSE(playback.isPlaying());
  EXPECT_EQ(playback.frame(), 54);
  playback.goToFirst();
  EXPECT_EQ(playback.frame(), 5);
}

} // namespace
