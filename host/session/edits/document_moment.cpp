#include "document_moment.h"

namespace host {

namespace {

const ViewState* renderViewOf(const DocumentState& document) {
  return document.renderView ? document.renderView : static_cast<ViewState*>(document.views.first());
}

} // namespace

Moment takeMoment(const DocumentState& document, const ImagePtr& previousCamera) {
  Moment moment;
  moment.time = document.time;
  const ViewState* view = renderViewOf(document);
  if (!view) return moment;
  moment.camera = view->camera;
  if (view->editorCamera) moment.own = takeImage(*view->editorCamera, previousCamera);
  return moment;
}

void putCamera(DocumentState& document, const Moment& moment) {
  const std::lock_guard lock(document.mutex);
  auto* view = const_cast<ViewState*>(renderViewOf(document));
  if (!view) return;
  const NodeState* camera = moment.camera ? findNode(document, moment.camera) : nullptr;
  view->camera = camera && camera->kind == NodeKind::object ? moment.camera : 0;
  if (moment.own && view->editorCamera) putImage(*view->editorCamera, moment.own);
}

} // namespace host
