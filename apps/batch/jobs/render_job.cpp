#include "render_job.h"

#include "c4d_render.h"
#include "interrupt.h"
#include "lm_stamps.h"
#include "lm_thread.h"
#include "plugin_unit.h"
#include "run_settings.h"
#include "scene_setup.h"
#include "thread_context.h"
#include "thread_run.h"

namespace batch {
namespace {

void setRegion(lmThread& thread, const std::optional<PixelRegion>& region) {
  if (!region) return;
  thread.region = TRUE;
  thread.regionLeft = region->left;
  thread.regionTop = region->top;
  thread.regionRight = region->right;
  thread.regionBottom = region->bottom;
}

} // namespace

void fillStatus(BaseDocument& document, LMTHREAD_DATA& status) {
  status.documentName = document.GetDocumentName().GetString();
  if (const BaseObject* camera = renderCamera(document)) status.cameraName = camera->GetName();
  status.frameTime = document.GetTime();
  status.fps = document.GetFps();
}

JobResult runJob(BaseDocument& document, BaseBitmap& bitmap, lmSettings& settings,
                 const std::optional<PixelRegion>& region, Messages& messages,
                 const std::function<void(double)>& watch) {
  LMTHREAD_DATA status;
  fillStatus(document, status);

  const host::PluginScope plugin(startedPlugin()); // the thread finds the plug-in's pictures
  lmThread thread;
  thread.settings = &settings;
  thread.data = &status;
  thread.bitmap = &bitmap;
  setRegion(thread, region);
  messages.begin("Rendering");
  runThread(thread, [&] {
    messages.progress(status.progress);
    if (watch) watch(status.progress);
    return interrupted();
  });
  messages.end();

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
