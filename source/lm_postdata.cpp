#include "lm_postdata.h"

#include <new>

#include "lm_folder.h"
#include "lm_keys.h"

namespace {

constexpr LONG INFO_BIT_1 = 2;

} // namespace

NodeData* lmPostData::Alloc() {
  return new (std::nothrow) lmPostData;
}

// Once armed, it stays armed until the render of a material preview.
RENDERRESULT lmPostData::Execute(BaseVideoPost*, VideoPostStruct* vps) {
  const Bool good = *vps->error == RENDERRESULT_OK && !(vps->thread && vps->thread->TestBreak());

  if (vps->vp == VIDEOPOSTCALL_RENDER && vps->open && good) {
    for (const CHECKISRUNNING state : {CHECKISRUNNING_EDITORRENDERING, CHECKISRUNNING_EXTERNALRENDERING}) {
      if (CheckIsRunning(state)) captureNext = 1;
    }
    if (CheckIsRunning(CHECKISRUNNING_MATERIALPREVIEWRUNNING)) captureNext = 0;
    return RENDERRESULT_OK;
  }

  if (vps->vp == VIDEOPOSTCALL_FRAME && !vps->open && good) {
    BaseBitmap* buffer = vps->render->GetBuffer(VPBUFFER_RGBA, -1);
    if (!buffer || !captureNext) return RENDERRESULT_OK;
    buffer->Save(GetDataFolder() + "lastRender.tif", FILTER_TIF);
  }
  return RENDERRESULT_OK;
}

Bool Register_lmPostData() {
  return RegisterVideoPostPlugin(ID_LUMENARA_POSTDATA, "lmPostData", PLUGINFLAG_HIDEPLUGINMENU | INFO_BIT_1,
                                 lmPostData::Alloc, "", 0, 0);
}
