// The viewer's render requests: their pacing, and the start of a render.

#include <algorithm>

#include "dlg_lumenara.h"
#include "lm_keys.h"

namespace {

constexpr LONG TIMER_INTERVAL = 500;
constexpr LONG STOP_TIMEOUT = 1000, STOP_FLAGS = 4;

} // namespace

// ---- Scene changes and their pacing

// Whether a refresh may start now; if so, it counts as the last one.
Bool DlgLumenara::TakeRefreshTurn(LONG delayPreset) {
  if (settings.GetValue(LM_REFRESH_WAIT, 1) == 1) return !thread.IsRunning();
  const LLONG delay = settings.GetValue(LM_REFRESH_DELAY, delayPreset);
  if (lastRefresh && MillisecondsSince(lastRefresh) <= delay) return FALSE; // 0: no refresh yet
  lastRefresh = GeGetTimer();
  return TRUE;
}

// Renders now, or leaves the request pending for the timer.
void DlgLumenara::SceneChanged() {
  pendingRefresh = !TakeRefreshTurn(250);
  if (!pendingRefresh) OnRender(0);
}

Bool DlgLumenara::IsAutoRefresh() const {
  return settings.GetValue(LM_AUTO_REFRESH, 0) == 1;
}

Bool DlgLumenara::IsAutoRefresh(const BaseContainer& msg) const {
  return IsAutoRefresh() && CheckCoreMessage(msg) && !busy;
}

// False for a key that does not belong to an optimization.
Bool DlgLumenara::OptimizationChanged(const BaseContainer& msg) {
  const auto key = static_cast<LONG>(msg.GetLLong(BFM_CORE_PAR1));
  const auto value = static_cast<LONG>(msg.GetLLong(BFM_CORE_PAR2));
  if (key == 0 && value == 0) {
    settings.Save();
    return TRUE;
  }
  if (key < 15001 || key > 15060) return FALSE;

  switch (key) {
  case LM_OPT_LOD:
    settings.SetValue(key, value * 0.01);
    break;
  case LM_STEREO_SEPARATION:
    settings.SetValue(key, value * 0.0001);
    break;
  case LM_STEREO_SCALE:
    settings.SetValue(key, value * 0.01);
    break;
  default:
    settings.SetValue(key, value);
    break;
  }
  settings.Save();
  if (IsAutoRefresh(msg)) {
    pendingRefresh = 1;
    OnRender(0);
  }
  return TRUE;
}

// Runs the pending refresh.
void DlgLumenara::Timer(const BaseContainer&) {
  if (!pendingRefresh || !TakeRefreshTurn(0)) return;
  pendingRefresh = 0;
  OnRender(0);
}

// ---- Start of a render

void DlgLumenara::OnRender(LONG animation) {
  if (CheckIsRunning(CHECKISRUNNING_MATERIALPREVIEWRUNNING)) {
    GeStopBackgroundThreads(STOP_TIMEOUT, STOP_FLAGS);
    return;
  }
  SetTimer(TIMER_INTERVAL);

  if (animationRunning && thread.IsRunning()) {
    if (QuestionDialog("Are you sure you want to cancel the animation?")) {
      thread.CancelRender();
      thread.End(TRUE);
      thread.Wait(FALSE);
    }
    return;
  }
  if (busy) return;

  const LONG mode = settings.GetValue(LM_MODE, LM_MODE_NORMAL);
  if (!animation && (settings.GetValue(LM_ENABLED, 1) != 1 || settings.GetValue(LM_REGION_SHOWN, 1) != 1 ||
                     mode == LM_MODE_COMPARE)) {
    thread.End(TRUE);
    return;
  }

  const LONG divisor = std::max(settings.GetValue(LM_OPT_RES_DIVISOR, 1), 1);
  LONG width = view.width / divisor, height = view.height / divisor;

  x1 = y1 = x2 = y2 = -1;
  if (mode == LM_MODE_REGION) {
    BaseDocument* doc = GetActiveDocument();
    BaseDraw* bd = doc ? doc->GetRenderBaseDraw() : nullptr;
    if (!bd) return;
    regionWidth = view.width;
    regionHeight = view.height;
    GetRegion(bd, doc, &width, &height);
  }

  const SceneFacts facts = CollectFacts();
  if (thread.IsRunning()) {
    thread.End(TRUE);
    thread.Wait(TRUE);
  }
  FillJob(animation, mode == LM_MODE_REGION, facts, width, height);
  thread.Start(THREADMODE_ASYNC);
  renderStart = GeGetTimer();
}

DlgLumenara::SceneFacts DlgLumenara::CollectFacts() const {
  SceneFacts facts;
  BaseDocument* doc = GetActiveDocument();
  if (!doc) return facts;
  facts.documentName = doc->GetDocumentName().GetString();
  facts.time = doc->GetTime();
  facts.fps = doc->GetFps();

  BaseObject* camera = GetRegionCamera(doc);
  BaseDraw* bd = doc->GetRenderBaseDraw();
  if (!camera && bd) camera = bd->GetSceneCamera(doc);
  if (!camera && bd) camera = bd->GetEditorCamera();
  if (camera) facts.cameraName = camera->GetName();

  if (const RenderData* renderData = doc->GetActiveRenderData()) {
    const BaseContainer rdata = renderData->GetData();
    facts.xres = rdata.GetReal(RDATA_XRES);
    facts.yres = rdata.GetReal(RDATA_YRES);
  }
  return facts;
}

// Writes everything that is shared with the thread, while it does not run.
void DlgLumenara::FillJob(LONG animation, LONG region, const SceneFacts& facts, LONG width, LONG height) {
  LMTHREAD_DATA& data = view.data;
  data.documentName = facts.documentName;
  data.cameraName = facts.cameraName;
  data.frameTime = facts.time;
  data.fps = facts.fps;

  thread.settings = &settings;
  thread.data = &data;
  thread.region = region;
  thread.regionLeft = view.regionLeft = x1;
  thread.regionTop = view.regionTop = y1;
  thread.regionRight = view.regionRight = x2;
  thread.regionBottom = view.regionBottom = y2;

  thread.animation = animation;
  animationRunning = animation;
  thread.animationRunning = &animationRunning;
  thread.frameFrom = animationJob.from;
  thread.frameTo = animationJob.to;
  thread.frameStep = animationJob.step;
  thread.outputFile = animationJob.file;
  thread.format = animationJob.format;
  thread.jpegQuality = animationJob.jpegQuality;
  thread.photoshop7 = animationJob.photoshop7;
  thread.stamps = animationJob.stamp;

  // A bitmap that differs in only one side is kept.
  thread.bitmap = view.image;
  if (thread.begun) view.imageIsNew = 0;
  if (view.image && view.image->GetBw() != width && view.image->GetBh() != height) {
    view.image->FlushAll();
    view.image->Init(width, height, 24);
    view.imageIsNew = 1;
  }
  thread.begun = 0;
  view.job = &thread;
}
