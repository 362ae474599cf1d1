#include "scene_hooks.h"

#include <algorithm>

#include "guarded_call.h"
#include "thread_context.h"

namespace host {

namespace {

struct Window final : EditorWindow {
  explicit Window(DragLoop* loop) : EditorWindow(loop) {}
};

struct DrawHelp final : BaseDrawHelp {
  DrawHelp(BaseDocument* document, bool active) : BaseDrawHelp(document, active ? TRUE : FALSE) {}
};

} // namespace

SceneHooks::Instance::Instance(const SceneHookEntry& entry, BaseDocument* document,
                               std::unique_ptr<NodeData> made)
    : id(entry.id), plugin(entry.plugin), node(entry.id, entry.name, document), data(std::move(made)),
      hook(static_cast<SceneHookData*>(data.get())) {
}

SceneHooks::~SceneHooks() {
  clear();
}

// Destroys them in reverse order, each in its plug-in's scope.
void SceneHooks::clear() {
  while (!instances_.empty()) {
    const PluginScope scope(instances_.back()->plugin);
    instances_.pop_back();
  }
  refused_.clear();
  document_ = nullptr;
  identity_ = 0;
}

bool SceneHooks::outdated() const {
  const PluginRegistry* registry = pluginRegistry();
  return std::any_of(instances_.begin(), instances_.end(), [registry](const InstancePtr& instance) {
    return !registry || !registry->findSceneHook(instance->id);
  });
}

void SceneHooks::follow(BaseDocument* document) {
  if (depth_ > 0) return;
  const Identity identity = document ? document->GetIdentity() : 0;
  if (identity != identity_ || outdated()) clear();
  document_ = document;
  identity_ = identity;
  PluginRegistry* registry = pluginRegistry();
  if (!document || !registry) return;

  std::vector<InstancePtr> ordered;
  for (const SceneHookEntry* entry : registry->sceneHooks()) {
    const auto has = [entry](const InstancePtr& instance) { return instance->id == entry->id; };
    const auto known = std::find_if(instances_.begin(), instances_.end(), has);
    if (known != instances_.end()) {
      ordered.push_back(*known);
    } else if (std::find(refused_.begin(), refused_.end(), entry->id) == refused_.end()) {
      auto data = registry->makeSceneHookData(entry->id);
      if (data)
        ordered.push_back(std::make_shared<Instance>(*entry, document, std::move(data)));
      else
        refused_.push_back(entry->id);
    }
  }
  instances_ = std::move(ordered);
}

template <class Result, class Function>
Result SceneHooks::call(Instance& instance, const Function& function, Result failed) {
  const PluginScope scope(instance.plugin);
  const struct Depth {
    int& depth;
    explicit Depth(int& d) : depth(d) { ++depth; }
    ~Depth() { --depth; }
  } depth(depth_);
  return guarded("The scene hook \"" + instance.node.GetName() + "\"", function, failed);
}

SceneHooks::Input SceneHooks::mouseInput(BaseDraw& view, const BaseContainer& message, const DragPump& pump,
                                         const void* owner) {
  Input input;
  if (depth_ > 0) return input; // a hook has the mouse already
  const auto instances = instances_;
  for (const InstancePtr& instance : instances) {
    DragLoop loop(pump, owner, message.GetLong(BFM_INPUT_CHANNEL) == BFM_INPUT_MOUSELEFT);
    Window window(&loop);
    drag_ = &loop;
    const auto run = [&] {
      return instance->hook->MouseInput(&instance->node, document_, &view, &window, message) != FALSE;
    };
    input.used = call(*instance, run, false) || loop.started();
    drag_ = nullptr;
    input.dragged = loop.started();
    input.released = loop.started() && loop.released();
    if (input.used) break;
  }
  return input;
}

LONG SceneHooks::cursor(BaseDraw& view, Real x, Real y) {
  const auto instances = instances_;
  for (const InstancePtr& instance : instances) {
    BaseContainer answer;
    const auto run = [&] {
      return instance->hook->GetCursorInfo(&instance->node, document_, &view, x, y, answer) != FALSE;
    };
    const bool decides = call(*instance, run, false);
    const LONG code = answer.GetLong(RESULT_CURSOR);
    if (code != 0 || decides) return code;
  }
  return 0;
}

void SceneHooks::draw(BaseDraw& view, Overlay& overlay) {
  const auto instances = instances_;
  for (const InstancePtr& instance : instances) {
    const OverlayScope scope(view, overlay);
    DrawHelp help(document_, document_ && document_->GetActiveBaseDraw() == &view);
    const auto run = [&] {
      return instance->hook->Draw(&instance->node, document_, &view, &help, nullptr,
                                  SCENEHOOKDRAW_FOREGROUND_PASS);
    };
    call(*instance, run, FALSE);
  }
}

} // namespace host

SceneHookData::~SceneHookData() = default;

Bool SceneHookData::MouseInput(BaseSceneHook* /*node*/, BaseDocument* /*doc*/, BaseDraw* /*bd*/,
                               EditorWindow* /*win*/, const BaseContainer& /*msg*/) {
  return FALSE;
}

Bool SceneHookData::GetCursorInfo(BaseSceneHook* /*node*/, BaseDocument* /*doc*/, BaseDraw* /*bd*/,
                                  Real /*x*/, Real /*y*/, BaseContainer& /*bc*/) {
  return FALSE;
}

Bool SceneHookData::Draw(BaseSceneHook* /*node*/, BaseDocument* /*doc*/, BaseDraw* /*bd*/,
                         BaseDrawHelp* /*bh*/, BaseThread* /*bt*/, SCENEHOOKDRAW /*flags*/) {
  return TRUE;
}

Bool RegisterSceneHookPlugin(LONG id, const String& name, LONG info, DataAllocator* allocator, LONG priority,
                             LONG diskLevel) {
  host::PluginRegistry* registry = host::pluginRegistry();
  if (!registry) return FALSE;
  const host::PluginUnit* plugin = host::threadContext().plugin;
  return registry->addSceneHook({id, name, info, diskLevel, priority, allocator, plugin}) ? TRUE : FALSE;
}
