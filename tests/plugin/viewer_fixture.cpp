#include "viewer_fixture.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <thread>

#include "active_document.h"
#include "gadget.h"

namespace fs = std::filesystem;

namespace {

fs::path pathOf(const Filename& file) {
  return file.GetString().GetUTF8();
}

} // namespace

std::ostream& operator<<(std::ostream& out, const Rgb& color) {
  return out << "(" << color.r << ", " << color.g << ", " << color.b << ")";
}

Rgb pixelOf(const BaseBitmap& bitmap, LONG x, LONG y) {
  UWORD r = 0, g = 0, b = 0;
  bitmap.GetPixel(x, y, &r, &g, &b);
  return {r, g, b};
}

Rgb paintedPixel(const GeUserArea& area, LONG x, LONG y) {
  const std::uint32_t word = host::areaSurface(area).at(x, y);
  return {static_cast<LONG>(word >> 16 & 255), static_cast<LONG>(word >> 8 & 255),
          static_cast<LONG>(word & 255)};
}

void fillBitmap(BaseBitmap& bitmap, LONG width, LONG height, const Rgb& color, LONG depth) {
  ASSERT_EQ(bitmap.Init(width, height, depth), IMAGERESULT_OK);
  bitmap.Clear(color.r, color.g, color.b);
}

bool isFilled(const BaseBitmap& bitmap, const Rgb& color) {
  for (LONG y = 0; y < bitmap.GetBh(); ++y) {
    for (LONG x = 0; x < bitmap.GetBw(); ++x) {
      if (!(pixelOf(bitmap, x, y) == color)) return false;
    }
  }
  return bitmap.GetBw() > 0;
}

void ViewerFixture::SetUp() {
  ThreadFixture::SetUp();
  probe->during = [this](BaseDocument&, VideoPostStruct& call) {
    if (!hold_) return;
    ++held_;
    while (hold_ && !call.thread->TestBreak())
      std::this_thread::yield();
  };
  makeViewer();
}

void ViewerFixture::TearDown() {
  hold_ = false;
  viewer.reset();
  ThreadFixture::TearDown();
}

void ViewerFixture::makeViewer() {
  viewer.reset();
  viewer = std::make_unique<Viewer>();
}

void ViewerFixture::openViewer() {
  ASSERT_TRUE(viewer->Open(DLG_TYPE_ASYNC, ID_LUMENARA, -1, -1, 400, 300, 0));
  runAll();
}

void ViewerFixture::openEnabled(LONG width, LONG height) {
  setOption(LM_VIEW_SIZE, 1);
  setOption(LM_MIN_WIDTH, width);
  setOption(LM_MIN_HEIGHT, height);
  setOption(LM_ENABLED, 1);
  setOption(LM_STAMP_RENDER_TIME, 0);
  openViewer();
  advance(200); // tasks of the first layout
  ASSERT_EQ(viewer->view.width, width);
  ASSERT_EQ(viewer->view.height, height);
  ui.record.clear();
  ui.drawnViews.clear();
}

LONG ViewerFixture::storedOption(LONG key) const {
  const BaseContainer* stored = GetWorldPluginData(ID_LUMENARA);
  return stored ? stored->GetLong(key, -1) : -1;
}

void ViewerFixture::choose(LONG entry, const host::ActionInput& input) {
  EXPECT_TRUE(host::chooseMenu(*viewer, entry, input)) << entry;
}

void ViewerFixture::click(LONG gadget, const host::ActionInput& input) {
  EXPECT_TRUE(host::clickGadget(*viewer, gadget, input)) << gadget;
}

void ViewerFixture::sendEvent(LONG id, ULLONG p1, ULLONG p2) {
  SpecialEventAdd(id, p1, p2);
  runAll();
}

void ViewerFixture::changeScene() {
  EventAdd();
  runAll();
}

bool ViewerFixture::isChecked(LONG entry) const {
  const host::MenuEntry* found = host::findMenuEntry(*viewer, entry);
  EXPECT_NE(found, nullptr) << entry;
  return found && found->checked;
}

bool ViewerFixture::isEntryEnabled(LONG entry) const {
  const host::MenuEntry* found = host::findMenuEntry(*viewer, entry);
  EXPECT_NE(found, nullptr) << entry;
  return found && found->enabled;
}

void ViewerFixture::holdRenders() {
  held_ = 0;
  hold_ = true;
}

void ViewerFixture::releaseRender() {
  hold_ = false;
}

void ViewerFixture::waitForHeldRender() {
  waitUntil([this] { return held_ > 0; });
  held_ = 0;
}

void ViewerFixture::finishRender() {
  hold_ = false;
  viewer->thread.Wait(TRUE);
}

void ViewerFixture::paintRenders(const Rgb& color) {
  probe->finished = [color](BaseBitmap& picture, std::size_t) { picture.Clear(color.r, color.g, color.b); };
}

void ViewerFixture::redraw() {
  viewer->view.Redraw();
  host::paintArea(viewer->view);
}

void ViewerFixture::addHistoryFile(const char* name, LONG seconds, const Rgb& color, LONG width,
                                   LONG height) {
  AutoAlloc<BaseBitmap> picture;
  fillBitmap(*picture, width, height, color);
  const Filename file = historyFolder() + name;
  GeFCreateDirRec(historyFolder());
  ASSERT_EQ(picture->Save(file, FILTER_TIF), IMAGERESULT_OK);
  setFileTime(file, seconds);
}

void ViewerFixture::setFileTime(const Filename& file, LONG seconds) {
  constexpr auto start = std::chrono::sys_days(std::chrono::year(2020) / 1 / 1);
  const auto time = std::chrono::file_clock::from_sys(start + std::chrono::seconds(seconds));
  fs::last_write_time(pathOf(file), time);
}

std::vector<std::string> ViewerFixture::historyNames() const {
  std::vector<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(pathOf(historyFolder())))
    names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

void ViewerFixture::setRegion(Real x, Real y, Real size) {
  BaseContainer record = region();
  record.SetReal(LM_REGION_X, x);
  record.SetReal(LM_REGION_Y, y);
  record.SetReal(LM_REGION_SIZE, size);
  document->GetDataInstance()->SetContainer(LM_REGION, record);
}
