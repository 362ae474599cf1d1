// The image view of the viewer dialog, with the image history.
#pragma once

#include <vector>

#include "c4d.h"
#include "lm_settings.h"
#include "lm_status.h"

class lmThread;

/// Shows the latest render at its own size, with the progress of the one that runs, or two pictures of the
/// history beside each other. It polls the status record and the image, which the render side writes, and
/// sends nothing back but `stampsPending` and, between jobs, `progress`. It also keeps the history: a folder
/// of pictures, from which the slots A and B are filled. Main thread.
class lmUserArea : public GeUserArea {
 public:
  /// Neither is owned; both must outlive the view. The owner is the dialog that holds the slider
  /// (GADGET_SLIDER) and the scroll group (GADGET_IMAGE_GROUP).
  lmUserArea(GeDialog* owner, lmSettings* store);

  Bool InitValues() override;
  Bool GetMinSize(LONG& w, LONG& h) override;
  void Sized(LONG w, LONG h) override;
  void DrawMsg(LONG x1, LONG y1, LONG x2, LONG y2, const BaseContainer& msg) override;
  void Timer(const BaseContainer& msg) override;

  /// Composes A and B into the display bitmap. `slider` is -1 (A only) to 1 (B only); `style` is one of
  /// LM_COMPARE_STYLE's, or COMPARE_DIFFERENCE, which ignores the slider and opens the result in the host's
  /// Picture Viewer. Any other style changes nothing.
  virtual void HistoryPrepare(Real slider, LONG style);
  /// The decimal text of `number`, filled up with "0" on its left.
  virtual String StrPad(LONG number, LONG length);
  /// Loads the second newest picture of the history into A and the newest into B; with fewer than two it
  /// does nothing.
  virtual void AutoloadRecent();
  virtual LONG GetHistoryCount();
  /// Deletes the oldest pictures until `keep` are left.
  virtual void CleanupHistory(LONG keep);
  virtual void ClearHistory();
  /// Lets the user choose a picture of the history, or any other, for A or B; a screen position.
  virtual void SelectImagePopup(LONG x, LONG y, Bool toA);
  virtual void HistorySwap();
  /// `folder` + prefix + "[" + the first free number from 1 up + "].tif". An empty prefix is the rendered
  /// document's name.
  virtual Filename GetNextFilename(const Filename& folder, const String& prefix);
  /// Moves the host's last render, as the capture post effect left it, into the history.
  virtual void AddLastRender();
  /// Saves the display bitmap, the picture as shown, into the history, which keeps its size. Before something
  /// was composed since the view was opened there is no picture, and nothing is added or deleted.
  virtual void AddToHistory();
  /// Opens the picture as shown in the host's Picture Viewer.
  virtual void SaveToPictureViewer();

  struct HistoryImage {
    LocalFileTime time; // of the last change
    Filename name;
  };
  /// The pictures of the history, oldest first; none when the folder cannot be browsed.
  std::vector<HistoryImage> ListHistory();

  static constexpr LONG GADGET_SLIDER = 1108;
  static constexpr LONG GADGET_IMAGE_GROUP = 1122;
  static constexpr LONG COMPARE_COLUMNS = 0, COMPARE_ROWS = 1, COMPARE_BLEND = 2, COMPARE_DIFFERENCE = 9999;

 private:
  GeDialog* dialog;
  lmSettings* settings;

 public:
  LONG enabled = 0; // mirrors LM_ENABLED

  AutoAlloc<BaseBitmap> splash;  // shown while disabled
  AutoAlloc<BaseBitmap> display; // 32 bits, of the area's size; everything is composed here
  AutoAlloc<BaseBitmap> image;   // 24 bits; the job's target, shaped by the dialog between jobs
  AutoAlloc<GeClipMap> strip;    // the frames of the progress animation, one below the other
  LONG stripFrames = 0;
  AutoAlloc<BaseBitmap> imageA, imageB;
  LONG width = 120, height = 90; // of the area
  /// The part of the image that Region mode shows; set by the dialog when it starts a render.
  LONG regionLeft = -1, regionTop = -1, regionRight = -1, regionBottom = -1;
  LMTHREAD_DATA data;
  const lmThread* job = nullptr; // the one that was started last; null before the first
  LONG imageIsNew = 0;           // the image was made anew and no job has begun since
  LONG composed = 0;             // something was composed into `display` since the view was opened
  LONG lastCompose = 0;          // host milliseconds; 0: nothing since Compare mode was entered
  LONG stripCounter = 0;         // one more for each drawing while a render runs
  Filename dataFolder, historyFolder;

 private:
  void DrawCompare();
  Bool HasRender() const;
  void DrawRender(LONG mode);
  void DrawProgressBar();
  void DrawProgressStrip();
  void PrepareSlot(const BaseBitmap& slot, BaseBitmap& work) const;
  std::vector<HistoryImage> ListHistory(BrowseFiles& browser);
  Bool LoadSlot(BaseBitmap& slot, const Filename& name, const String& error);
};
