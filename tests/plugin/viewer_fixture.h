// The viewer dialog on a small document, with the render thread's renders under the test's control.
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "dlg_lumenara.h"
#include "gadget_actions.h"
#include "thread_fixture.h"

/// The dialog with everything that a test looks at.
class Viewer : public DlgLumenara {
 public:
  using DlgLumenara::animationJob;
  using DlgLumenara::animationRunning;
  using DlgLumenara::busy;
  using DlgLumenara::compareValue;
  using DlgLumenara::lastRefresh;
  using DlgLumenara::pendingRefresh;
  using DlgLumenara::renderStart;
  using DlgLumenara::settings;
  using DlgLumenara::thread;
  using DlgLumenara::view;
  using DlgLumenara::x1;
  using DlgLumenara::x2;
  using DlgLumenara::y1;
  using DlgLumenara::y2;
};

/// A colour of a picture; black outside.
struct Rgb {
  LONG r = 0, g = 0, b = 0;
  friend bool operator==(const Rgb&, const Rgb&) = default;
};
std::ostream& operator<<(std::ostream& out, const Rgb& color);
Rgb pixelOf(const BaseBitmap& bitmap, LONG x, LONG y);
/// The pixel of what an area painted last.
Rgb paintedPixel(const GeUserArea& area, LONG x, LONG y);
/// Makes the bitmap this size, filled.
void fillBitmap(BaseBitmap& bitmap, LONG width, LONG height, const Rgb& color, LONG depth = 24);
/// Every pixel of the bitmap.
bool isFilled(const BaseBitmap& bitmap, const Rgb& color);

class ViewerFixture : public ThreadFixture {
 protected:
  void SetUp() override;
  void TearDown() override;

  lmUserArea& view() { return viewer->view; }
  /// A new dialog, as at the program's start.
  void makeViewer();
  void openViewer();
  /// Opened, switched on, with a view of this size.
  void openEnabled(LONG width = 64, LONG height = 48);
  /// The same, with automatic refresh.
  void openAutomatic() {
    openEnabled();
    setOption(LM_AUTO_REFRESH, 1);
  }
  template <class Value>
  void setOption(LONG key, Value value) {
    viewer->settings.SetValue(key, value);
    viewer->settings.Save();
  }
  LONG option(LONG key, LONG preset = -1) const { return viewer->settings.GetValue(key, preset); }
  LONG storedOption(LONG key) const;

  void choose(LONG entry, const host::ActionInput& input = {});
  void click(LONG gadget, const host::ActionInput& input = {});
  void sendEvent(LONG id, ULLONG p1 = 0, ULLONG p2 = 0); // and dispatches it
  void changeScene();
  bool isChecked(LONG entry) const;
  bool isEntryEnabled(LONG entry) const;

  /// From now on a render stays open until `releaseRender`, or until it is told to end.
  void holdRenders();
  void releaseRender();
  /// Waits until the thread has begun a render that is held.
  void waitForHeldRender();
  /// Starts a render that stays open.
  void startHeldRender() {
    holdRenders();
    click(1109);
    waitForHeldRender();
  }
  /// Waits until the thread has ended.
  void finishRender();
  std::size_t renderCount() const { return probe->renders.size(); }
  /// The same, when the one that runs has been brought to its end.
  std::size_t rendersSoFar() {
    finishRender();
    return renderCount();
  }
  /// Makes every render finish with this picture.
  void paintRenders(const Rgb& color);
  /// Paints the view anew.
  void redraw();
  /// The view's own timer and its drawing, that many times.
  void poll(int times = 1) {
    for (int i = 0; i < times; ++i)
      advance(100);
  }
  /// Refresh, up to the finished picture in the view.
  void render() {
    click(1109);
    finishRender();
    poll();
  }

  Filename historyFolder() const { return home() + "plugins" + "Lumenara" + "history"; }
  Filename dataFolder() const { return home() + "plugins" + "Lumenara"; }
  /// A picture in the history, that many seconds after the first of 2020.
  void addHistoryFile(const char* name, LONG seconds, const Rgb& color = {1, 2, 3}, LONG width = 8,
                      LONG height = 6);
  void setFileTime(const Filename& file, LONG seconds);
  std::vector<std::string> historyNames() const;
  BaseContainer region() const { return document->GetData().GetContainer(LM_REGION); }
  void setRegion(Real x, Real y, Real size);

  std::unique_ptr<Viewer> viewer;

 private:
  std::atomic<bool> hold_{false};
  std::atomic<int> held_{0};
};
