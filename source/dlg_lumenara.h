// The viewer dialog.
#pragma once

#include <atomic>

#include "c4d.h"
#include "dlg_options.h"
#include "lm_settings.h"
#include "lm_thread.h"
#include "lm_userarea.h"
#include "titlebar.h"

/// The viewer: shows renders of the active scene. Commands, input, scene changes and special events become
/// render requests, and the dialog decides which of them start the thread. It lives as long as its command;
/// closing the window neither destroys it nor stops a render. Main thread.
class DlgLumenara : public GeDialog {
 public:
  DlgLumenara();
  ~DlgLumenara() override;

  Bool CreateLayout() override;
  Bool InitValues() override;
  Bool CoreMessage(LONG id, const BaseContainer& msg) override;
  Bool Command(LONG id, const BaseContainer& msg) override;
  Bool AskClose() override;
  void Timer(const BaseContainer& msg) override;
  void DestroyWindow() override;
  LONG Message(const BaseContainer& msg, BaseContainer& result) override;

  /// Adds the cameras among `first`, its descendants and its next siblings to the popup: each name under
  /// POPUP_CAMERA + `count`, its link under POPUP_CAMERA_LINK + `count`. Returns the next count.
  virtual LONG SearchCameras(BaseObject* first, BaseObject* linked, BaseContainer& popup, LONG count);
  /// Opens the menu that chooses the camera of the active document's renders.
  virtual void FindCameras();
  /// Switches the viewer on if it is off.
  virtual void AutoEnable();
  /// Handles a render request: 0 viewer, 1 animation.
  virtual void OnRender(LONG animation);
  /// Loads aspect, size, x and y of the document's region.
  virtual void GetRegionInfo(BaseDocument* doc);
  /// Maps the region to the render: the size of the whole image, and x1 to y2 within it.
  virtual void GetRegion(BaseDraw* bd, BaseDocument* doc, LONG* width, LONG* height);
  /// Writes the viewer's defaults into the settings; called before they are loaded.
  virtual void LoadDefaultSettings();

  static constexpr LONG BUTTON_CAMERA = 1118;
  static constexpr LONG POPUP_CAMERA = 900000;
  static constexpr LONG POPUP_CAMERA_LINK = 910000;

 protected:
  lmSettings settings;
  lmUserArea view;
  DlgOptions options;
  titlebarUA titlebar; // owned, not shown

  Bool busy = FALSE;                     // ignores requests
  std::atomic<LONG> animationRunning{0}; // set when an animation starts; the thread clears it
  LONG pendingRefresh = 0;
  LONG lastRefresh = 0;    // host milliseconds; 0: no refresh yet
  LONG renderStart = 0;    // host milliseconds
  Real compareValue = 0.0; // the slider's value at the last drawing
  lmThread thread;         // renders into the view's image and its status record

  // The region, filled by `GetRegionInfo` and `GetRegion`.
  Real aspect = 1.333334, size = 0.5, x = 0.0, y = 0.0;
  LONG x1 = -1, y1 = -1, x2 = -1, y2 = -1; // pixels of the render, inclusive; -1 without a region
  LONG regionWidth = 0, regionHeight = 0;  // input of `GetRegion`: the view's size

  /// From the Render Animation dialog.
  struct Animation {
    Filename file;
    LONG format = 0;
    LONG from = 0, to = 0, step = 1;
    LONG jpegQuality = 0, photoshop7 = 0, stamp = 0;
  };
  Animation animationJob;

 private:
  /// Facts about the scene for a job.
  struct SceneFacts {
    String documentName, cameraName;
    BaseTime time;
    LONG fps = 0;
    Real xres = 0, yres = 0; // of the active render settings
  };

  /// The camera linked in the document's region record, or null.
  static BaseObject* GetRegionCamera(const BaseDocument* doc);
  void CreateMenus();
  void InitMenus();
  void CheckMode();
  void SetEnabling();
  void ShowEnabled(LONG enabled);
  void HideRegion();
  void HistoryCommand(LONG id);
  Bool SwitchesOff(const BaseContainer& msg) const;
  void SelectImage(LONG button);
  void ToggleEnabled(Bool autoRefresh);
  void SetMode(LONG mode);
  void EditOptions();
  void RenderAnimation();
  void ResetSettings();
  void ZoomRegion(LONG id, Bool autoRefresh);
  void ResetRegion(Bool autoRefresh);
  void StoreRegion(BaseDocument* doc, const BaseContainer& record);
  void ToggleLock();
  void CompareSlider();
  void SetAutoRefresh();
  void GetScreenPosition(LONG gadget, LONG* screenX, LONG* screenY) const;
  void OpenHistoryFolder();
  void ClearHistory();
  Bool TakeRefreshTurn(LONG delayPreset);
  void SceneChanged();
  Bool OptimizationChanged(const BaseContainer& msg);
  Bool IsAutoRefresh() const;
  Bool IsAutoRefresh(const BaseContainer& msg) const;
  SceneFacts CollectFacts() const;
  void FillJob(LONG animation, LONG region, const SceneFacts& facts, LONG width, LONG height);
};
