#include "document.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <new>

#include "c4d_render.h"
#include "clone.h"
#include "parameters.h"

namespace host {

DocumentState* makeDocument() {
  auto* document = static_cast<DocumentState*>(makeNode(NodeKind::document, 0));
  addView(*document);
  return document;
}

ViewState* addView(DocumentState& document) {
  auto* view = static_cast<ViewState*>(makeNode(NodeKind::view, 0));
  view->name = "View";
  view->editorCamera = makeObject(Ocamera);
  view->editorCamera->name = "Editor Camera";
  document.views.append(*view);
  if (!document.activeView) document.activeView = view;
  if (!document.renderView) document.renderView = view;
  return view;
}

RenderDataState* makeDefaultRenderData() {
  auto* data = static_cast<RenderDataState*>(makeNode(NodeKind::renderData, 0));
  data->name = "Render Settings";
  for (const LONG id :
       {RDATA_ANTIALIASING, RDATA_XRES, RDATA_YRES, RDATA_LOD, RDATA_MAXSAMPLES, RDATA_NOISETHRESHOLD})
    data->data.SetData(id, param::defaultValue(NodeKind::renderData, 0, id));
  NodeState* light = makeNode(NodeKind::videoPost, VPglobalillumination);
  light->name = "Global Illumination";
  data->posts.append(*light);
  return data;
}

RenderDataState* activeRenderData(const DocumentState& document) {
  NodeState* chosen = document.renderData.first();
  for (NodeState* data = chosen; data; data = data->next)
    if (data->identity == document.activeRenderData) chosen = data;
  return static_cast<RenderDataState*>(chosen);
}

bool selectionShows(const BaseDocument& document) {
  const RenderDataState* data = activeRenderData(*stateOf(&document));
  return data && param::flag(*data, RDATA_ACTIVEOBJECTONLY);
}

void setViewArea(BaseDraw& view, LONG left, LONG top, LONG right, LONG bottom) {
  const auto lock = lockOf(stateOf(&view));
  stateOf(&view)->area = {left, top, right, bottom};
}

void setViewSafeFrame(BaseDraw& view, LONG from, LONG to, LONG orientation) {
  const auto lock = lockOf(stateOf(&view));
  stateOf(&view)->safeFrame = {from, to, orientation};
}

namespace {

// Inserts a node into one of a document's lists, after `pred` or at the front.
void insertInto(NodeList& list, BaseList2D* node, BaseList2D* pred) {
  NodeState* state = stateOf(node);
  NodeState* before = stateOf(pred);
  if (!state || before == state || (before && before->list != &list)) return;
  const auto lock = lockOf(list.owner());
  node->Remove();
  list.insertAfter(*state, before);
}

NodeState* searchName(const NodeList& list, const String& name) {
  for (NodeState* node = list.first(); node; node = node->next) {
    if (node->name == name) return node;
    if (NodeState* below = searchName(node->children, name)) return below;
  }
  return nullptr;
}

// The surround on one side of the frame, to the nearest pixel; at least one pixel of the frame stays.
LONG barOf(Real side, Real covered) {
  return static_cast<LONG>(std::min(std::round((side - covered) / 2), std::floor((side - 1) / 2)));
}

// The centred part of a view's area that the render format covers.
std::array<LONG, 4> frameOf(const ViewState& view) {
  auto [left, top, right, bottom] = view.area;
  const RenderDataState* data = view.document ? activeRenderData(*view.document) : nullptr;
  const Real formatWidth = data ? param::integer(*data, RDATA_XRES) : 0;
  const Real formatHeight = data ? param::integer(*data, RDATA_YRES) : 0;
  const Real width = static_cast<Real>(right) - left, height = static_cast<Real>(bottom) - top;
  if (width > 0 && height > 0 && formatWidth > 0 && formatHeight > 0) {
    const Real widest = height * formatWidth / formatHeight, tallest = width * formatHeight / formatWidth;
    const LONG side = width > widest ? barOf(width, widest) : 0;
    const LONG above = height > tallest ? barOf(height, tallest) : 0;
    left += side, right -= side, top += above, bottom -= above;
  }
  return {left, top, right, bottom};
}

} // namespace
} // namespace host

using host::DocumentState;
using host::lockOf;
using host::nodeOf;
using host::stateOf;

BaseDocument* BaseDocument::Alloc() {
  DocumentState* document = host::makeDocument();
  document->renderData.append(*host::makeDefaultRenderData());
  return nodeOf<BaseDocument>(document);
}

BaseDocument* BaseDocument::GetClone(COPYFLAGS flags) const {
  try {
    return nodeOf<BaseDocument>(host::cloneDocument(*stateOf(this), flags));
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

BaseObject* BaseDocument::GetFirstObject() const {
  return nodeOf<BaseObject>(state_->children.first());
}

void BaseDocument::InsertObject(BaseObject* object, BaseObject* parent, BaseObject* pred) {
  if (!object) return;
  if (pred)
    object->InsertAfter(pred);
  else if (parent)
    object->InsertUnder(parent);
  else
    host::insertInto(state_->children, object, nullptr);
}

BaseObject* BaseDocument::SearchObject(const String& name) const {
  return nodeOf<BaseObject>(host::searchName(state_->children, name));
}

BaseMaterial* BaseDocument::GetFirstMaterial() const {
  return nodeOf<BaseMaterial>(stateOf(this)->materials.first());
}

void BaseDocument::InsertMaterial(BaseMaterial* material, BaseMaterial* pred) {
  host::insertInto(stateOf(this)->materials, material, pred);
}

BaseMaterial* BaseDocument::SearchMaterial(const String& name) const {
  return nodeOf<BaseMaterial>(host::searchName(stateOf(this)->materials, name));
}

RenderData* BaseDocument::GetFirstRenderData() const {
  return nodeOf<RenderData>(stateOf(this)->renderData.first());
}

RenderData* BaseDocument::GetActiveRenderData() const {
  return nodeOf<RenderData>(host::activeRenderData(*stateOf(this)));
}

void BaseDocument::SetActiveRenderData(RenderData* data) {
  const auto lock = lockOf(state_);
  stateOf(this)->activeRenderData = data ? data->GetIdentity() : 0;
}

void BaseDocument::InsertRenderData(RenderData* data, RenderData* pred) {
  host::insertInto(stateOf(this)->renderData, data, pred);
}

void BaseDocument::InsertRenderDataLast(RenderData* data) {
  host::insertInto(stateOf(this)->renderData, data, nodeOf<RenderData>(stateOf(this)->renderData.last()));
}

BaseDraw* BaseDocument::GetActiveBaseDraw() const {
  return nodeOf<BaseDraw>(stateOf(this)->activeView);
}

BaseDraw* BaseDocument::GetRenderBaseDraw() const {
  return nodeOf<BaseDraw>(stateOf(this)->renderView);
}

BaseTime BaseDocument::GetTime() const {
  return stateOf(this)->time;
}

void BaseDocument::SetTime(const BaseTime& time) {
  const auto lock = lockOf(state_);
  stateOf(this)->time = time;
}

LONG BaseDocument::GetFps() const {
  return stateOf(this)->fps;
}

void BaseDocument::SetFps(LONG fps) {
  const auto lock = lockOf(state_);
  stateOf(this)->fps = fps < 1 ? 1 : fps > 1000 ? 1000 : fps;
}

BaseTime BaseDocument::GetMinTime() const {
  return stateOf(this)->minTime;
}

void BaseDocument::SetMinTime(const BaseTime& time) {
  const auto lock = lockOf(state_);
  stateOf(this)->minTime = time;
}

BaseTime BaseDocument::GetMaxTime() const {
  return stateOf(this)->maxTime;
}

void BaseDocument::SetMaxTime(const BaseTime& time) {
  const auto lock = lockOf(state_);
  stateOf(this)->maxTime = time;
}

BaseTime BaseDocument::GetLoopMinTime() const {
  return stateOf(this)->loopMinTime;
}

void BaseDocument::SetLoopMinTime(const BaseTime& time) {
  const auto lock = lockOf(state_);
  stateOf(this)->loopMinTime = time;
}

BaseTime BaseDocument::GetLoopMaxTime() const {
  return stateOf(this)->loopMaxTime;
}

void BaseDocument::SetLoopMaxTime(const BaseTime& time) {
  const auto lock = lockOf(state_);
  stateOf(this)->loopMaxTime = time;
}

Real BaseDocument::GetLOD() const {
  return stateOf(this)->lod;
}

void BaseDocument::SetLOD(Real lod) {
  const auto lock = lockOf(state_);
  stateOf(this)->lod = lod >= 0 ? (lod > 1 ? 1 : lod) : 0; // a NaN counts as 0
}

Filename BaseDocument::GetDocumentName() const {
  return Filename(stateOf(this)->fileName);
}

void BaseDocument::SetDocumentName(const Filename& name) {
  const auto lock = lockOf(state_);
  stateOf(this)->fileName = name.GetString();
}

Filename BaseDocument::GetDocumentPath() const {
  return Filename(stateOf(this)->path);
}

void BaseDocument::SetDocumentPath(const Filename& path) {
  const auto lock = lockOf(state_);
  stateOf(this)->path = path.GetString();
}

Bool BaseDocument::GetChanged() const {
  return stateOf(this)->changed;
}

void BaseDocument::SetChanged() {
  const auto lock = lockOf(state_);
  stateOf(this)->changed = true;
}

// --- views ---

BaseObject* BaseDraw::GetSceneCamera(const BaseDocument* document) const {
  const DocumentState* in = document ? stateOf(document) : state_->document;
  const host::NodeState* camera = in ? host::findNode(*in, stateOf(this)->camera) : nullptr;
  return camera && camera->kind == host::NodeKind::object && camera->list ? nodeOf<BaseObject>(camera)
                                                                          : nullptr;
}

void BaseDraw::SetSceneCamera(BaseObject* camera, Bool) {
  const auto lock = lockOf(state_);
  stateOf(this)->camera = camera ? camera->GetIdentity() : 0;
}

BaseObject* BaseDraw::GetEditorCamera() const {
  return nodeOf<BaseObject>(stateOf(this)->editorCamera);
}

void BaseDraw::GetFrame(LONG* left, LONG* top, LONG* right, LONG* bottom) const {
  const auto frame = host::frameOf(*stateOf(this));
  LONG* const targets[] = {left, top, right, bottom};
  for (std::size_t i = 0; i < 4; ++i)
    if (targets[i]) *targets[i] = frame[i];
}

void BaseDraw::GetSafeFrame(LONG* from, LONG* to, LONG* orientation) const {
  const host::ViewState& view = *stateOf(this);
  const auto [left, top, right, bottom] = host::frameOf(view);
  const auto safe = view.safeFrame.value_or(std::array<LONG, 3>{0, right - left, 0});
  LONG* const targets[] = {from, to, orientation};
  for (std::size_t i = 0; i < 3; ++i)
    if (targets[i]) *targets[i] = safe[i];
}
