// The scene hooks of a view's document: their instances, and the calls in their order. An exception of a hook
// is printed as a line on the console. Main thread.
#pragma once

#include <memory>
#include <vector>

#include "drag_loop.h"
#include "identity.h"
#include "overlay.h"
#include "plugin_registry.h"

namespace host {

class SceneHooks {
 public:
  SceneHooks() = default;
  ~SceneHooks();
  SceneHooks(const SceneHooks&) = delete;
  SceneHooks& operator=(const SceneHooks&) = delete;

  /// Keeps one instance of every registered hook for this document (null: none), creating and destroying as
  /// needed. During a call of a hook it does nothing.
  void follow(BaseDocument* document);
  std::size_t count() const noexcept { return instances_.size(); }

  struct Input {
    bool used = false;     // a hook used it, or ran a drag
    bool dragged = false;  // a drag was run
    bool released = false; // and it ended with the button up
  };
  /// Offers an input event (keys of c4d_input.h) until one takes it.
  Input mouseInput(BaseDraw& view, const BaseContainer& message, const DragPump& pump, const void* owner);
  /// The cursor that a hook asks for; 0 without one.
  LONG cursor(BaseDraw& view, Real x, Real y);
  /// Collects the drawing of the hooks.
  void draw(BaseDraw& view, Overlay& overlay);
  /// Whether a hook follows the mouse now.
  bool inDrag() const noexcept { return drag_ && drag_->running(); }

 private:
  struct Node final : BaseSceneHook {
    Node(LONG id, const String& name, BaseDocument* document) : BaseSceneHook(id, name, document) {}
  };
  struct Instance {
    Instance(const SceneHookEntry& entry, BaseDocument* document, std::unique_ptr<NodeData> made);
    LONG id;
    const PluginUnit* plugin;
    Node node;
    std::unique_ptr<NodeData> data;
    SceneHookData* hook; // of `data`
  };
  using InstancePtr = std::shared_ptr<Instance>;

  template <class Result, class Function>
  Result call(Instance& instance, const Function& function, Result failed);
  bool outdated() const;
  void clear();

  BaseDocument* document_ = nullptr;
  Identity identity_ = 0; // of the document: a later one can have the same address
  std::vector<InstancePtr> instances_;
  std::vector<LONG> refused_; // hooks whose allocator failed for this document; not retried
  int depth_ = 0;             // running calls of hooks
  DragLoop* drag_ = nullptr;
};

} // namespace host
