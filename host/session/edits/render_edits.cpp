#include "render_edits.h"

#include <algorithm>

#include "lens_setting.h"
#include "node_lookup.h"
#include "parameters.h"
#include "render_settings.h"
#include "scene_queries.h"

namespace host {

namespace {

RenderDataState& renderDataIn(DocumentState& document) {
  if (RenderDataState* data = activeRenderData(document)) return *data;
  RenderDataState* data = makeDefaultRenderData();
  document.renderData.append(*data);
  return *data;
}

NodeState* postIn(BaseDocument& document, Identity identity) {
  return nodeIn<NodeState>(stateIn(document), identity, NodeKind::videoPost);
}

} // namespace

bool setRenderValue(BaseDocument& document, LONG id, const GeData& value) {
  RenderDataState& data = renderDataIn(stateIn(document));
  if (param::value(data, id) == value) return false;
  return nodeOf<RenderData>(&data)->SetParameter(id, value) != FALSE;
}

bool setLensEffects(BaseDocument& document, const LensSettings& settings) {
  BaseContainer values;
  render::writeLens(values, settings);
  bool done = false;
  for (LONG i = 0; values.GetIndexId(i) != NOTOK; ++i) {
    const LONG id = values.GetIndexId(i);
    done = setRenderValue(document, id, values.GetData(id)) || done;
  }
  return done;
}

bool wantLayers(BaseDocument& document, unsigned layers) {
  const LONG before = param::integer(renderDataIn(stateIn(document)), render::layersSetting);
  return setRenderValue(document, render::layersSetting, GeData(before | static_cast<LONG>(layers)));
}

Identity addVideoPost(BaseDocument& document, LONG type) {
  for (const VideoPostRow& row : addableVideoPosts(document)) {
    if (row.type != type) continue;
    NodeState* post = makeNode(NodeKind::videoPost, type);
    post->name = row.name;
    renderDataIn(stateIn(document)).posts.append(*post);
    return post->identity;
  }
  return 0;
}

bool removeVideoPost(BaseDocument& document, Identity post) {
  NodeState* node = postIn(document, post);
  destroyNode(node);
  return node != nullptr;
}

bool switchVideoPost(BaseDocument& document, Identity post, bool on) {
  NodeState* node = postIn(document, post);
  return node && setBits(*node, BIT_VPDISABLED, !on);
}

bool setTimeRange(BaseDocument& document, LONG fps, LONG firstFrame, LONG lastFrame) {
  fps = std::clamp<LONG>(fps, 1, 1000);
  const BaseTime first(static_cast<Real>(firstFrame), static_cast<Real>(fps));
  const BaseTime last(static_cast<Real>(std::max(firstFrame, lastFrame)), static_cast<Real>(fps));
  if (document.GetFps() == fps && document.GetMinTime() == first && document.GetMaxTime() == last &&
      document.GetLoopMinTime() == first && document.GetLoopMaxTime() == last)
    return false;
  document.SetFps(fps);
  document.SetMinTime(first);
  document.SetMaxTime(last);
  document.SetLoopMinTime(first);
  document.SetLoopMaxTime(last);
  return true;
}

} // namespace host
