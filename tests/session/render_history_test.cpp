// The history of the session's renders: entries, memory, disk, restoring.
#include "history_kit.h"
#include "kept_bitmap.h"
#include "plugin_pictures.h"
#include "render_history.h"
#include "render_notices.h"
#include "render_settings.h"

namespace {

using namespace host;

class RenderHistoryTest : public SessionFixture {
 protected:
  RenderHistoryTest() {
    openScene();
    make();
  }

  Filename place() const { return folder / "renders"; }
  void make(const HistoryLimits& limits = {}, BlobStore::WriteFile write = {}) {
    history.reset();
    history = std::make_unique<RenderHistory>(session->hub(), edits(), place(), limits, std::move(write));
    settle();
  }
  void settle() {
    do
      history->finish();
    while (runAll() > 0);
  }
  /// A render of the scene as it is now; `change` happens while it runs.
  RenderHistory::Id render(float first = 0, const std::function<void()>& change = {},
                           RENDERRESULT result = RENDERRESULT_OK, LONG frame = 0) {
    return renderTo(smallFilm(6, 4, first), change, result, frame);
  }
  RenderHistory::Id renderTo(const std::shared_ptr<Film>& film, const std::function<void()>& change = {},
                             RENDERRESULT result = RENDERRESULT_OK, LONG frame = 0) {
    const DocumentPtr clone = copy();
    BaseContainer settings;
    if (frame != 0) settings.SetTime(RDATA_FRAMEFROM, BaseTime(frame, document().GetFps()));
    settings.SetLong(RDATA_MAXSAMPLES, 64);
    render::RenderNotice notice;
    notice.id = render::newRenderId();
    notice.document = clone.get();
    notice.settings = &settings;
    notice.byPlugin = true;
    render::tellRenderStarted(notice);
    if (change) change();
    notice.film = film;
    notice.result = result;
    notice.seconds = 2.5;
    render::tellRenderEnded(notice);
    runAll();
    return history->items().empty() ? 0 : history->items().back().entry->id;
  }
  void restart() {
    session->hub().replace(newDocument(), Replacement::created);
    openScene();
    make();
  }
  void setIntensity(Real intensity) {
    edits().apply("Intensity",
                  [&](BaseDocument&) { object("lamp")->data.SetReal(param::lightIntensity, intensity); });
  }
  Real intensity() { return param::real(*object("lamp"), param::lightIntensity); }
  std::string restore(RenderHistory::Id id) {
    std::string outcome = "not called";
    history->restore(id, [&](const std::string& error) { outcome = error; });
    settle();
    return outcome;
  }

  std::unique_ptr<RenderHistory> history;
  ~RenderHistoryTest() override { history.reset(); }
};

TEST_F(RenderHistoryTest, AFinishedRenderBecomesAnEntry) {
  const auto id = render();
  settle();
  ASSERT_EQ(history->items().size(), 1u);
  const RenderHistory::Item& item = *history->find(id);
  EXPECT_EQ(item.entry->name, "room");
  EXPECT_EQ(item.entry->camera, "front");
  EXPECT_EQ(item.entry->frame, 7);
  EXPECT_EQ(item.entry->samples, 64);
  EXPECT_EQ(item.entry->width, 6);
  EXPECT_EQ(item.entry->height, 4);
  EXPECT_EQ(item.entry->seconds, 2.5);
  EXPECT_TRUE(item.entry->byPlugin);
  EXPECT_TRUE(item.thisSession);
  ASSERT_TRUE(item.thumbnail);
  EXPECT_EQ(item.thumbnail->width, 6);
  EXPECT_TRUE(item.entry->onDisk());
  EXPECT_TRUE(history->film(id));
  render(5);
  EXPECT_EQ(history->items()[1].entry->name, "room 2");
}

TEST_F(RenderHistoryTest, FramesOfAnAnimationAreLeftOut) {
  for (const LONG frame : {1, 2, 3})
    render(static_cast<float>(frame), {}, RENDERRESULT_OK, frame);
  settle();
  EXPECT_TRUE(history->items().empty());
  session->hub().setTime(BaseTime(2, document().GetFps()));
  render(0, {}, RENDERRESULT_OK, 2);
  EXPECT_EQ(history->items().size(), 1u) << "the scene at its own time";
}

TEST_F(RenderHistoryTest, TheProgramsOwnRendersAreKept) {
  ASSERT_TRUE(session->renders().renderView(8, 6));
  session->renders().finish();
  settle();
  ASSERT_EQ(history->items().size(), 1u);
  EXPECT_EQ(history->items()[0].entry->width, 8);
  EXPECT_FALSE(history->items()[0].entry->byPlugin);
  EXPECT_EQ(restore(history->items()[0].entry->id), "");
  ASSERT_TRUE(session->renders().renderView(8, 6));
  session->renders().cancel();
  settle();
  EXPECT_EQ(history->items().size(), 1u);
  EXPECT_EQ(session->history().items().size(), 1u) << "the session's own";
}

TEST_F(RenderHistoryTest, StoppedFailedAndForeignRendersAreNoEntries) {
  render(0, {}, RENDERRESULT_USERBREAK);
  render(0, {}, RENDERRESULT_OUTOFMEMORY);
  const DocumentPtr other = scene(); // a plug-in's own
  const BaseContainer settings;
  render::RenderNotice notice;
  notice.id = render::newRenderId();
  notice.document = other.get();
  notice.settings = &settings;
  notice.film = smallFilm();
  render::tellRenderStarted(notice);
  render::tellRenderEnded(notice);
  runAll();
  EXPECT_TRUE(history->items().empty());
}

TEST_F(RenderHistoryTest, TheSceneIsThatOfTheStart) {
  setIntensity(12);
  const auto id = render(0, [this] { setIntensity(8); });
  EXPECT_EQ(intensity(), 8);
  EXPECT_EQ(restore(id), "");
  EXPECT_EQ(intensity(), 12);
}

TEST_F(RenderHistoryTest, RestoringIsOneUndoStep) {
  setIntensity(12);
  edits().apply("Samples",
                [this](BaseDocument&) { state().renderData.first()->data.SetLong(RDATA_MAXSAMPLES, 99); });
  state().renderView->camera = id("camera");
  const DocumentPtr rendered = copy();
  const auto id = render();
  edits().apply("Much", [this](BaseDocument&) {
    object("lamp")->data.SetReal(param::lightIntensity, 3);
    object("camera")->local.off = {5, 5, 5};
    destroyNode(object("arm"));
    stateOf(document().SearchMaterial("red"))->data.SetReal(param::roughness, 0.125);
    state().renderData.first()->data.SetLong(RDATA_MAXSAMPLES, 7);
  });
  session->hub().setTime(BaseTime(20, 30));
  state().renderView->camera = 0;
  state().renderView->editorCamera->local.off = {9, 9, 9};
  const DocumentPtr later = copy();
  const std::size_t steps = edits().stepCount();
  ASSERT_EQ(restore(id), "");
  expectEqual(rendered, "restored");
  EXPECT_EQ(edits().stepCount(), steps + 1);
  EXPECT_EQ(edits().undoName(), "Restore Scene");
  EXPECT_TRUE(edits().undo());
  expectEqual(later, "undone");
  EXPECT_TRUE(edits().redo());
  expectEqual(rendered, "done again");
  EXPECT_EQ(restore(id), "");
  EXPECT_EQ(edits().stepCount(), steps + 1) << "nothing to restore makes no step";
}

TEST_F(RenderHistoryTest, MoreSamplesKeepTheSceneOfTheirPicture) {
  setIntensity(12);
  const DocumentPtr rendered = copy();
  setIntensity(3);
  BaseContainer settings;
  settings.SetLong(render::keepSamplesSetting, static_cast<LONG>(render::SampleKeeping::goOn));
  render::RenderNotice notice;
  notice.id = render::newRenderId();
  notice.document = rendered.get();
  notice.settings = &settings;
  render::tellRenderStarted(notice);
  notice.film = smallFilm(6, 4, 0);
  render::tellRenderEnded(notice);
  settle();
  ASSERT_EQ(restore(history->items().back().entry->id), "");
  EXPECT_EQ(intensity(), 12);
}

TEST_F(RenderHistoryTest, RestoringAfterARestartReadsTheDisk) {
  setIntensity(12);
  const DocumentPtr rendered = copy();
  const auto id = render();
  settle();
  restart();
  ASSERT_EQ(history->items().size(), 1u);
  EXPECT_FALSE(history->items()[0].thisSession);
  EXPECT_TRUE(history->items()[0].thumbnail);
  EXPECT_FALSE(history->film(id));
  std::shared_ptr<Film> film;
  history->readFilm(id, [&](const std::shared_ptr<Film>& read) { film = read; });
  settle();
  ASSERT_TRUE(film);
  expectSameFilm(*smallFilm(), *film);
  const DocumentPtr before = copy();
  ASSERT_EQ(restore(id), "");
  expectEqual(rendered, "restored from disk");
  EXPECT_TRUE(edits().undo());
  expectEqual(before, "undone");
}

TEST_F(RenderHistoryTest, EntriesAreShownAsBitmaps) {
  const auto id = render(0.25f);
  const auto bitmap = [&] {
    SharedBitmap shown;
    history->readBitmap(id, [&](const SharedBitmap& read) { shown = read; });
    settle();
    return shown;
  };
  const SharedBitmap inMemory = bitmap();
  ASSERT_TRUE(inMemory && filmOf(*inMemory));
  UWORD r = 0, g = 0, b = 0;
  inMemory->GetPixel(1, 0, &r, &g, &b); // light of 1.25, 1.5, -1.25
  EXPECT_EQ(r, 255);
  EXPECT_EQ(b, 0);
  restart();
  const SharedBitmap fromDisk = bitmap();
  ASSERT_TRUE(fromDisk);
  expectSameFilm(*filmOf(*inMemory), *filmOf(*fromDisk));
  // It is looked at without joining the list of the session's pictures.
  PictureList& list = session->pictures();
  const std::size_t before = list.pictures().size();
  const PictureList::Id visited = list.visit(fromDisk, "kept");
  EXPECT_EQ(list.current(), visited);
  EXPECT_EQ(list.find(visited)->bitmap, fromDisk);
  EXPECT_EQ(list.pictures().size(), before);
  EXPECT_EQ(list.visit(nullptr, "none"), 0u);
}

TEST_F(RenderHistoryTest, LostScenesAreSaid) {
  const auto id = render();
  settle();
  std::filesystem::remove_all((place() + Filename("content")).GetString().GetUTF8());
  restart();
  EXPECT_EQ(restore(id), "The scene of this picture was not kept, or its files are damaged. Choose another "
                         "picture of the history.");
}

TEST_F(RenderHistoryTest, ChangesBetweenEntriesAndNow) {
  setIntensity(12);
  const auto first = render();
  setIntensity(8);
  const auto second = render(3);
  setIntensity(7);
  const auto changes = [this](RenderHistory::Id from, RenderHistory::Id to) {
    std::vector<std::string> lines;
    history->showChanges(from, to,
                         [&](const std::vector<std::string>& told, const std::string&) { lines = told; });
    settle();
    return lines;
  };
  EXPECT_EQ(changes(first, second), std::vector<std::string>{"lamp intensity 12 cd -> 8 cd"});
  EXPECT_EQ(changes(second, first), std::vector<std::string>{"lamp intensity 8 cd -> 12 cd"});
  EXPECT_EQ(changes(first, 0), std::vector<std::string>{"lamp intensity 12 cd -> 7 cd"});
}

TEST_F(RenderHistoryTest, StarsNotesAndNamesStay) {
  const auto id = render();
  history->setStarred(id, true); // while it is being written
  history->setNote(id, "warmer");
  settle();
  history->rename(id, "Evening");
  history->rename(id, "");
  settle();
  restart();
  ASSERT_EQ(history->items().size(), 1u);
  EXPECT_TRUE(history->items()[0].entry->starred);
  EXPECT_EQ(history->items()[0].entry->note, "warmer");
  EXPECT_EQ(history->items()[0].entry->name, "Evening");
  history->remove(id);
  EXPECT_TRUE(history->items().empty());
  settle();
  restart();
  EXPECT_TRUE(history->items().empty());
}

// A film of 6 x 4 pixels has 24 * (4 + 2 + 3) floats.
TEST_F(RenderHistoryTest, FilmsBeyondTheBudgetLeaveTheMemoryNotTheDisk) {
  make({2 * 864 + 100, std::uint64_t{1} << 40});
  const auto first = render(0), second = render(1), third = render(2);
  settle();
  EXPECT_FALSE(history->film(first));
  EXPECT_TRUE(history->film(second) && history->film(third));
  ASSERT_EQ(history->items().size(), 3u);
  std::shared_ptr<Film> film;
  history->readFilm(first, [&](const std::shared_ptr<Film>& read) { film = read; });
  settle();
  EXPECT_TRUE(film);
  setIntensity(5);
  EXPECT_EQ(restore(first), "");
  EXPECT_NE(intensity(), 5);
}

TEST_F(RenderHistoryTest, AFullDiskIsSaidOnceAndRendersStayInMemory) {
  bool full = true;
  make({}, [&](const Filename& file, std::span<const std::byte> bytes, std::string* error) {
    if (full) *error = std::make_error_code(std::errc::no_space_on_device).message();
    return !full && replaceFile(file, bytes, error);
  });
  console.clear();
  const auto first = render(0), second = render(1);
  settle();
  const auto said = [this] {
    return std::count_if(console.begin(), console.end(), [](const std::string& line) {
      return line.find("No space left on device") != std::string::npos;
    });
  };
  EXPECT_EQ(said(), 1);
  EXPECT_FALSE(history->problem().empty());
  EXPECT_TRUE(history->film(first) && history->film(second));
  EXPECT_EQ(restore(first), "");
  full = false;
  const auto third = render(2);
  settle();
  EXPECT_TRUE(history->problem().empty());
  EXPECT_TRUE(history->find(third)->entry->onDisk());
  EXPECT_EQ(said(), 1);
}

// A plug-in's folder is only read. A copy with a star outlives the picture; one without dies with it.
TEST_F(RenderHistoryTest, CopiesOfPicturesDieWithThemUnlessStarred) {
  const Filename file = folder / "room[001].tif";
  AutoAlloc<BaseBitmap> bitmap;
  ASSERT_EQ(bitmap->Init(8, 5), IMAGERESULT_OK);
  ASSERT_EQ(bitmap->Save(file, FILTER_TIF, nullptr, SAVEBIT_0), IMAGERESULT_OK);
  HistoryEntry entry;
  entry.name = "room[001]";
  entry.source = {"room[001].tif", 5, 6};
  RenderHistory::Id noted = 0, starred = 0;
  history->keepPicture(file, entry, [&](RenderHistory::Id id) { noted = id; });
  entry.starred = true;
  entry.source.file = "room[002].tif";
  history->keepPicture(file, entry, [&](RenderHistory::Id id) { starred = id; });
  history->keepPicture(folder / "missing.tif", entry,
                       [&](RenderHistory::Id id) { EXPECT_EQ(id, RenderHistory::Id{0}); });
  settle();
  ASSERT_TRUE(noted && starred);
  EXPECT_EQ(history->find(starred)->entry->width, 8);
  EXPECT_EQ(history->find(starred)->thumbnail->height, 5);
  std::vector<std::byte> bytes;
  history->readPicture(starred, [&](const std::vector<std::byte>& read) { bytes = read; });
  settle();
  EXPECT_EQ(bytes.size(), std::filesystem::file_size(file.GetString().GetUTF8()));
  history->keepOnlyCopiesOf({{"room[001].tif", 5, 6}});
  EXPECT_TRUE(history->find(noted));
  history->keepOnlyCopiesOf({});
  EXPECT_FALSE(history->find(noted));
  EXPECT_TRUE(history->find(starred));
}

// ---- Pictures of the plug-in's folder

/// Grey noise between black and white.
std::shared_ptr<Film> noisyFilm(std::uint32_t seed) {
  auto film = std::make_shared<Film>(60, 40);
  for (int y = 0; y < 40; ++y)
    for (int x = 0; x < 60; ++x) {
      seed = seed * 1664525u + 1013904223u;
      const float grey = static_cast<float>(seed >> 16) / 65536, rgba[] = {grey, grey, grey, 1};
      film->setColor(x, y, rgba);
    }
  return film;
}

/// The film's picture as the plug-in saves it, with a stamp over `rows` rows.
void savePicture(const Filename& file, const std::shared_ptr<Film>& film, LONG rows) {
  const SharedBitmap bitmap = bitmapOf(film);
  ASSERT_TRUE(bitmap);
  for (LONG y = 0; y < rows; ++y)
    for (LONG x = 0; x < bitmap->GetBw(); ++x)
      bitmap->SetPixel(x, y, 255, 0, 0);
  ASSERT_EQ(bitmap->Save(file, FILTER_TIF, nullptr), IMAGERESULT_OK);
}

TEST_F(RenderHistoryTest, APictureOfThePluginFindsItsRender) {
  const Filename pictures = folder.makeFolder("pictures");
  const auto first = noisyFilm(1), second = noisyFilm(2);
  setIntensity(3);
  const auto id = renderTo(first);
  setIntensity(4);
  const auto other = renderTo(second);
  settle();
  savePicture(pictures + Filename("a[001].tif"), first, 6);
  savePicture(pictures + Filename("a[002].tif"), second, 6);
  savePicture(pictures + Filename("a[003].tif"), noisyFilm(3), 6);
  savePicture(pictures + Filename("a[004].tif"), first, 30);
  const auto linksOf = [&](PluginPictures& list) {
    list.refresh();
    list.finish();
    runAll();
    std::map<std::string, RenderHistory::Id> links;
    for (const PluginPictures::Picture& picture : list.pictures())
      links[picture.source.file] = list.renderOf(picture);
    return links;
  };
  const std::map<std::string, RenderHistory::Id> wanted{
      {"a[001].tif", id}, {"a[002].tif", other}, {"a[003].tif", 0}, {"a[004].tif", 0}};
  {
    PluginPictures list(*history, pictures);
    EXPECT_EQ(linksOf(list), wanted) << "another render, and one that hardly shows";
  }
  restart(); // the link is in the files
  PluginPictures list(*history, pictures);
  EXPECT_EQ(linksOf(list), wanted);
  EXPECT_EQ(restore(linksOf(list)["a[001].tif"]), "");
  EXPECT_EQ(intensity(), 3);
  // A starred copy keeps the way to the scene when the picture goes; without a star nothing stays.
  HistoryEntry copy;
  copy.source = list.pictures()[0].source;
  copy.name = "copy";
  copy.time = copy.source.modified;
  history->keepPicture(list.pictures()[0].file, copy);
  settle();
  const HistoryEntry& kept = *history->items().back().entry;
  EXPECT_EQ(history->renderShownAs(kept.pictureSamples, kept.width, kept.height, kept.time), id);
  GeFKill(pictures + Filename("a[001].tif"));
  linksOf(list);
  settle();
  for (const RenderHistory::Item& item : history->items())
    EXPECT_NE(item.entry->name, "copy");
  history->remove(other);
  settle();
  EXPECT_EQ(linksOf(list)["a[002].tif"], 0U) << "the render was removed";
}

} // namespace
