// The image view of the viewer dialog, with the image history.
#pragma once

#include <vector>

#include "c4d.h"
#include "lm_settings.h"
#include "lm_status.h"

class lmThread;

/// Shows the latest render, scaled to the area, with the progress of a running one, or compares two pictures
/// of the history. It polls the status record and the image, which the render side writes; of the record it
/// writes only `stampsPending` and, between jobs, `progress`. It also keeps the history: a folder of pictures
/// that fill the slots A and B. Main thread.
class lmUserArea : public GeUserArea {
 public:
  /// Both must outlive the view. The owner is the dialog with the slider (GADGET_SLIDER) and the scroll group
  /// (GADGET_IMAGE_GROUP).
  lmUserArea(GeDialog* owner, lmSettings* store);

  Bool InitValues() override;
  Bool GetMinSize(LONG& w, LONG& h) override;
  void Sized(LONG w, LONG h) override;
  void DrawMsg(LONG x1, LONG y1, LONG x2, LONG y2, const BaseContainer& msg) override;
  void Timer(const BaseContainer& msg) override;

  /// Composes A and B into the display bitmap. `slider` is -1 (A only) to 1 (B only); `style` is a value
  /// of LM_COMPARE_STYLE, or COMPARE_DIFFERENCE, which ignores the slider and opens the result in the host's
  /// Picture Viewer. Any other style changes nothing.
  virtual void HistoryPrepare(Real slider, LONG style);
  /// The decimal text of `number`, padded with "0" on the left.
  virtual String StrPad(LONG number, LONG length);
  /// Loads the second newest picture of the history into A and the newest into B. Does nothing with fewer
  /// than two.
  virtual void AutoloadRecent();
  virtual LONG GetHistoryCount();
  /// Deletes the oldest pictures until `keep` remain.
  virtual void CleanupHistory(LONG keep);
  virtual void ClearHistory();
  /// Opens a menu at a screen position, in which the user chooses a picture of the history, or any other, for
  /// A or B.
  virtual void SelectImagePopup(LONG x, LONG y, Bool toA);
  virtual void HistorySwap();
  /// `folder` + prefix + "[" + the first free number from 1 up + "].tif". An empty prefix is the rendered
  /// document's name.
  virtual Filename GetNextFilename(const Filename& folder, const String& prefix);
  /// Moves the host's last render, saved by the capture post effect, into the history.
  virtual void AddLastRender();
  /// Saves the picture as shown into the history, and trims the history to its size. Does nothing until a
  /// picture has been composed since the view was opened.
  virtual void AddToHistory();
  /// Opens the picture as shown in the host's Picture Viewer.
  virtual void SaveToPictureViewer();

  struct HistoryImage {
    LocalFileTime time; // of the last change
    Filename name;
  };
  /// The pictures of the history, oldest first; empty when the folder cannot be browsed.
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
  AutoAlloc<BaseBitmap> image;   // 24 bits; the job's target, resized by the dialog between jobs
  AutoAlloc<GeClipMap> strip;    // frames of the progress animation, stacked vertically
  LONG stripFrames = 0;
  AutoAlloc<BaseBitmap> imageA, imageB;
  LONG width = 120, height = 90; // of the area
  /// The part of the image that Region mode shows; set by the dialog when it starts a render.
  LONG regionLeft = -1, regionTop = -1, regionRight = -1, regionBottom = -1;
  LMTHREAD_DATA data;
  const lmThread* job = nullptr; // the last one started; null before the first
  LONG imageIsNew = 0;           // the image was re-created and no job has begun since
  LONG composed = 0;             // `display` was composed since the view was opened
  LONG lastCompose = 0;          // host milliseconds; 0: not since Compare mode was entered
  LONG stripCounter = 0;         // counts the drawings during a render
  Filename dataFolder, historyFolder;

 private:
  void DrawCompare();
  Bool HasRender() const;
  void DrawRender(LONG mode);
  void DrawProgressBar();
  void DrawProgressStrip();
  const BaseBitmap* PrepareSlot(const BaseBitmap* slot, BaseBitmap& work) const;
  void CopySlot(const BaseBitmap& slot, Bool scale, BaseBitmap& work) const;
  std::vector<HistoryImage> ListHistory(BrowseFiles& browser);
  Bool LoadSlot(BaseBitmap& slot, const Filename& name, const String& error);
};
