// The viewer dialog on a small document; the test controls its renders.
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "dlg_lumenara.h"
#include "gadget_actions.h"
#include "thread_fixture.h"

/// The dialog with its members public.
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

/// A pixel's colour.
struct Rgb {
  LONG r = 0, g = 0, b = 0;
  friend bool operator==(const Rgb&, const Rgb&) = default;
};
std::ostream& operator<<(std::ostream& out, const Rgb& color);
Rgb pixelOf(const BaseBitmap& bitmap, LONG x, LONG y);
/// A pixel of an area's last painting.
Rgb paintedPixel(const GeUserArea& area, LONG x, LONG y);
/// Gives the bitmap this size and colour.
void fillBitmap(BaseBitmap& bitmap, LONG width, LONG height, const Rgb& color, LONG depth = 24);
/// Whether every pixel of the bitmap has the colour.
bool isFilled(const BaseBitmap& bitmap, const Rgb& color);

class ViewerFixture : public ThreadFixture {
 protected:
  void SetUp() override;
  void TearDown() override;

  lmUserArea& view() { return viewer->view; }
  /// Makes a new dialog, as at the program's start.
  void makeViewer();
  void openViewer();
  /// Opens the viewer, switched on, with a view of this size.
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
  void sendEvent(LONG id, ULLONG p1 = 0, ULLONG p2 = 0); // dispatched at once
  void changeScene();
  bool isChecked(LONG entry) const;
  bool isEntryEnabled(LONG entry) const;

  /// From now on renders stay open until `releaseRender`, or until they are cancelled.
  void holdRenders();
  void releaseRender();
  /// Waits until a held render has begun.
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
  /// The same, after the end of the running render.
  std::size_t rendersSoFar() {
    finishRender();
    return renderCount();
  }
  /// Makes every render end with this colour.
  void paintRenders(const Rgb& color);
  /// Repaints the view.
  void redraw();
  /// Runs the view's timer and drawing, that many times.
  void poll(int times = 1) {
    for (int i = 0; i < times; ++i)
      advance(100);
  }
  /// Clicks Refresh and waits for the finished picture in the view.
  void render() {
    click(1109);
    finishRender();
    poll();
  }

  Filename historyFolder() const { return home() + "plugins" + "Lumenara" + "history"; }
  Filename dataFolder() const { return home() + "plugins" + "Lumenara"; }
  /// Adds a picture to the history, dated that many seconds after the start of 2020.
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
