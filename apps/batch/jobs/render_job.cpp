#include "render_job.h"

#include "c4d_render.h"
#include "interrupt.h"
#include "lm_stamps.h"
#include "lm_thread.h"
#include "main_loop.h"
#include "plugin_unit.h"
#include "run_settings.h"
#include "scene_setup.h"
#include "thread_context.h"

namespace batch {
namespace {

constexpr host::Milliseconds pollPeriod = 20;

void setRegion(lmThread& thread, const std::optional<PixelRegion>& region) {
  if (!region) return;
  thread.region = TRUE;
  thread.regionLeft = region->left;
  thread.regionTop = region->top;
  thread.regionRight = region->right;
  thread.regionBottom = region->bottom;
}

void waitFor(lmThread& thread, const LMTHREAD_DATA& status, Messages& messages) {
  messages.begin("Rendering");
  while (thread.IsRunning()) {
    host::mainLoop().waitAndRun(host::clock().now() + pollPeriod);
    // A request that comes before the thread's first step is lost, so it is repeated.
    if (interrupted()) thread.CancelRender();
    messages.progress(status.progress);
  }
  thread.Wait(TRUE);
  messages.end();
}

} // namespace

void fillStatus(BaseDocument& document, LMTHREAD_DATA& status) {
  status.documentName = document.GetDocumentName().GetString();
  if (const BaseObject* camera = renderCamera(document)) status.cameraName = camera->GetName();
  status.frameTime = document.GetTime();
  status.fps = document.GetFps();
}

JobResult runJob(BaseDocument& document, BaseBitmap& bitmap, lmSettings& settings,
                 const std::optional<PixelRegion>& region, Messages& messages) {
  LMTHREAD_DATA status;
  fillStatus(document, status);

  const host::PluginScope plugin(startedPlugin()); // the thread is the plug-in's and finds its pictures
  lmThread thread;
  thread.settings = &settings;
  thread.data = &status;
  thread.bitmap = &bitmap;
  setRegion(thread, region);
  if (!thread.Start()) {
    throw Stop(ExitCode::renderFailed,
               "the render could not be started: the system gives no thread; close other programs");
  }
  waitFor(thread, status, messages);

  JobResult job;
  job.rendered = status.progress == 1.0;
  job.result = status.result;
  job.seconds = status.renderTime;
  const bool finished = job.result == RENDERRESULT_OK || job.result == RENDERRESULT_ASSETMISSING;
  if (job.rendered && finished && stampsWanted(settings)) {
    DrawStamps(&bitmap, &settings, bitmap.GetBw(), bitmap.GetBh(), &status);
  }
  return job;
}

} // namespace batch
