#include "gltf_load.h"

#include <algorithm>
#include <cmath>

#include "document.h"
#include "evaluate.h"
#include "gltf_derive.h"
#include "gltf_material_reader.h"
#include "gltf_object_reader.h"

namespace host {

namespace {

class DocumentReader {
 public:
  DocumentReader(const GltfFile& file, LoadContext& context)
      : file_(file), context_(context), extras_(file),
        document_(static_cast<DocumentState*>(makeNode(NodeKind::document, 0))) {}

  NodePtr<DocumentState> read() {
    MaterialReader materials(file_, extras_);
    ObjectReader objects(file_, context_, extras_);
    materials.makeMaterials(document_->materials);
    objects.makeObjects(document_->children);
    objects.applyExtras();
    materials.fillMaterials(document_->materials);
    readDocument();
    warnOfOmissions();
    context_.progress(1);
    return std::move(document_);
  }

 private:
  void readDocument() {
    const Json& extras = ours(file_.root);
    keepForeign(file_.root, *document_);
    document_->data = variantParameters(file_.root);
    extras_.applyCommon(extras, *document_);
    for (const tinygltf::Animation& animation : file_.model.animations)
      document_->animationNames.push_back(animation.name);
    BroughtByFile brought;
    brought.posed = flagIn(extras, "posed");
    readTimes(extras);
    const Json& renderData = member(extras, "renderData");
    brought.renderData = renderData.is_array();
    for (std::size_t i = 0; i < countOf(renderData); ++i)
      document_->renderData.append(*makeRenderData(renderData[i]));
    activate(longIn(extras, "activeRenderData", -1));
    const Json& views = member(extras, "views");
    brought.views = countOf(views) > 0;
    bool framed = true;
    for (std::size_t i = 0; i < countOf(views); ++i)
      framed = makeView(views[i]) && framed;
    if (brought.views) chooseViews(extras);
    completeDocument(*document_, brought);
    if (brought.views && !framed)
      for (NodeState* view = document_->views.first(); view; view = view->next)
        if (static_cast<ViewState*>(view)->camera == 0)
          frameScene(*nodeOf<BaseDocument>(document_.get()), *nodeOf<BaseDraw>(view));
  }

  void readTimes(const Json& extras) {
    DocumentState& d = *document_;
    nodeOf<BaseDocument>(&d)->SetFps(longIn(extras, "fps", 30));
    d.lod = std::clamp(numberIn(extras, "lod", 1), 0.0, 1.0);
    d.minTime = timeFrom(member(extras, "minTime"), BaseTime(0, d.fps));
    const LONG frames = static_cast<LONG>(std::min(std::ceil(lastKey(d) * d.fps - 1e-3), 1e9));
    d.maxTime = timeFrom(member(extras, "maxTime"), BaseTime(frames > 0 ? frames : 90, d.fps));
    d.loopMinTime = timeFrom(member(extras, "loopMinTime"), d.minTime);
    d.loopMaxTime = timeFrom(member(extras, "loopMaxTime"), d.maxTime);
    d.time = timeFrom(member(extras, "time"), d.minTime);
  }

  NodeState* makeRenderData(const Json& from) {
    NodeState* data = extras_.makeEntry(NodeKind::renderData, from);
    if (!data) data = makeNode(NodeKind::renderData, 0);
    extras_.appendEntries(from, "videoPosts", NodeKind::videoPost,
                          static_cast<RenderDataState*>(data)->posts);
    return data;
  }

  void activate(LONG index) {
    NodeState* data = document_->renderData.first();
    for (; data && index > 0; --index)
      data = data->next;
    if (data && index == 0) document_->activeRenderData = data->identity;
  }

  // False when the file does not place the view's own camera.
  bool makeView(const Json& from) {
    ViewState* view = addView(*document_);
    view->name = String();
    extras_.takeRef(from, *view);
    extras_.applyCommon(from, *view);
    view->camera = extras_.resolve(member(from, "camera"));
    const Json& frame = member(from, "frame");
    for (std::size_t i = 0; i < 4 && countOf(frame) == 4; ++i)
      if (frame[i].is_number_integer())
        view->area[i] =
            static_cast<LONG>(std::clamp<std::int64_t>(frame[i].get<std::int64_t>(), -1'000'000, 1'000'000));
    const Json& camera = member(from, "editorCamera");
    if (!camera.is_object()) return view->camera != 0;
    view->editorCamera->local = matrixFrom(member(camera, "matrix"));
    extras_.takeRef(camera, *view->editorCamera);
    extras_.applyCommon(camera, *view->editorCamera);
    extras_.appendEntries(camera, "tags", NodeKind::tag, view->editorCamera->tags);
    return true;
  }

  void chooseViews(const Json& extras) {
    const auto at = [&](LONG index) {
      NodeState* view = document_->views.first();
      while (view && index-- > 0)
        view = view->next;
      return static_cast<ViewState*>(view ? view : document_->views.first());
    };
    document_->activeView = at(longIn(extras, "activeView"));
    document_->renderView = at(longIn(extras, "renderView"));
  }

  void warnOfOmissions() {
    if (context_.notFinite > 0)
      context_.warn(std::to_string(context_.notFinite) +
                    " numbers that are not finite were set to 0; export the scene again if it looks wrong.");
    if (context_.otherShapes > 0)
      context_.warn(std::to_string(context_.otherShapes) +
                    " meshes of points or lines were left out; only triangles are shown.");
    if (file_.model.scenes.size() > 1)
      context_.warn("The file holds " + std::to_string(file_.model.scenes.size()) +
                    " scenes; the one it shows first was loaded.");
  }

  const GltfFile& file_;
  LoadContext& context_;
  ExtrasReader extras_;
  NodePtr<DocumentState> document_;
};

} // namespace

NodePtr<DocumentState> buildDocument(const GltfFile& file, LoadContext& context) {
  return DocumentReader(file, context).read();
}

void completeDocument(DocumentState& document, const BroughtByFile& brought) {
  BaseDocument& node = *nodeOf<BaseDocument>(&document);
  if (!brought.renderData) document.renderData.append(*makeDefaultRenderData());
  if (!brought.posed) {
    applyTracks(document);
    applyExpressions(document);
  }
  document.posed = true;
  if (brought.views) return;
  ViewState* view = addView(document);
  const ObjectState* camera = nullptr;
  forEachObject(document.children, [&](const ObjectState& object) {
    if (!camera && object.type == Ocamera) camera = &object;
  });
  view->camera = camera ? camera->identity : 0;
  frameScene(node, *nodeOf<BaseDraw>(view));
}

} // namespace host
