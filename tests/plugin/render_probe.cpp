#include "render_probe.h"

#include "status_bar.h"

RenderProbe* RenderProbe::current = nullptr;

namespace {

void record(VideoPostStruct& call) {
  RenderProbe& probe = *RenderProbe::current;
  ProbedRender seen;
  seen.settings = call.render->GetRenderData();
  seen.statusText = host::statusState().text.GetUTF8();
  seen.documentTime = call.doc->GetTime();
  seen.lod = call.doc->GetLOD();
  BaseDraw* view = call.doc->GetRenderBaseDraw();
  BaseObject* camera = view ? view->GetSceneCamera(call.doc) : nullptr;
  if (camera) {
    seen.cameraName = camera->GetName().GetUTF8();
    seen.cameraIdentity = camera->GetIdentity();
    seen.cameraMatrix = camera->GetMg();
  }
  for (BaseVideoPost* post = call.doc->GetActiveRenderData()->GetFirstVideoPost(); post;
       post = post->GetNext()) {
    seen.posts.try_emplace(post->GetType(), ProbedPost{post->GetBit(BIT_VPDISABLED) != 0, post->GetData()});
  }
  probe.renders.push_back(seen);
  if (probe.during) probe.during(*call.doc, call);
  if (probe.result != RENDERRESULT_OK) *call.error = probe.result;
}

class ProbePost : public VideoPostData {
 public:
  RENDERRESULT Execute(BaseVideoPost*, VideoPostStruct* call) override {
    RenderProbe* probe = RenderProbe::current;
    if (!probe) return RENDERRESULT_OK;
    if (call->vp == VIDEOPOSTCALL_RENDER && call->open) record(*call);
    if (call->vp == VIDEOPOSTCALL_FRAME && !call->open && probe->finished) {
      probe->finished(*call->render->GetBuffer(VPBUFFER_RGBA, -1), probe->renders.size() - 1);
    }
    return RENDERRESULT_OK;
  }
  static NodeData* Alloc() { return new ProbePost; }
};

} // namespace

RenderProbe::RenderProbe() {
  current = this;
  RegisterVideoPostPlugin(PROBE_POST, "Probe", 0, ProbePost::Alloc, String(), 0, 0);
}

RenderProbe::~RenderProbe() {
  current = nullptr;
}
