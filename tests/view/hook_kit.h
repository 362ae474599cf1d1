// Scene hooks that follow a test's script.
#pragma once

#include <deque>
#include <functional>
#include <map>

#include "overlay.h"
#include "plugin_registry.h"
#include "view_kit.h"

// Actions and records of all hooks, by hook ID.
struct Script {
  std::vector<std::string> record;
  std::map<LONG, std::function<Bool(BaseDraw*, EditorWindow*, const BaseContainer&)>> mouse;
  std::map<LONG, std::function<Bool(Real, Real, BaseContainer&)>> cursor;
  std::map<LONG, std::function<Bool(BaseDraw*)>> draw;
  int alive = 0;
};
inline Script* script = nullptr;

class Hook final : public SceneHookData {
 public:
  Hook() { ++script->alive; }
  ~Hook() override { --script->alive; }

  Bool MouseInput(BaseSceneHook* node, BaseDocument* doc, BaseDraw* bd, EditorWindow* win,
                  const BaseContainer& msg) override {
    note("mouse", node, doc, bd);
    const auto found = script->mouse.find(node->GetType());
    return found != script->mouse.end() ? found->second(bd, win, msg)
                                        : SceneHookData::MouseInput(node, doc, bd, win, msg);
  }
  Bool GetCursorInfo(BaseSceneHook* node, BaseDocument* doc, BaseDraw* bd, Real x, Real y,
                     BaseContainer& bc) override {
    note("cursor", node, doc, bd);
    const auto found = script->cursor.find(node->GetType());
    return found != script->cursor.end() ? found->second(x, y, bc)
                                         : SceneHookData::GetCursorInfo(node, doc, bd, x, y, bc);
  }
  Bool Draw(BaseSceneHook* node, BaseDocument* doc, BaseDraw* bd, BaseDrawHelp* bh, BaseThread* bt,
            SCENEHOOKDRAW flags) override {
    if (flags != SCENEHOOKDRAW_FOREGROUND_PASS || !bh->IsActiveView() || bh->GetDocument() != doc)
      script->record.push_back("a wrong pass");
    const auto found = script->draw.find(node->GetType());
    return found != script->draw.end() ? found->second(bd)
                                       : SceneHookData::Draw(node, doc, bd, bh, bt, flags);
  }

 private:
  static void note(const char* what, BaseSceneHook* node, BaseDocument* doc, BaseDraw* bd) {
    const bool right =
        node->GetDocument() == doc && doc == GetActiveDocument() && bd == doc->GetActiveBaseDraw();
    script->record.push_back(std::string(what) + " " + std::to_string(node->GetType()) +
                             (right ? "" : " with wrong arguments"));
  }
};

inline NodeData* makeHook() {
  return new Hook;
}
inline NodeData* makeNothing() {
  return nullptr;
}

class HookTest : public ViewTest {
 public:
  HookTest() { script = &data; }
  ~HookTest() override {
    view.reset();
    script = nullptr;
  }

  /// A view without a surround.
  host::EditorView& open(int width, int height, double ratio = 1) {
    setFormat(width, height);
    return ViewTest::open(width, height, ratio);
  }
  bool add(LONG id, LONG priority) {
    return RegisterSceneHookPlugin(id, String("hook ") + std::to_string(id).c_str(), 0, makeHook, priority,
                                   0);
  }
  void script1(std::vector<host::DragEvent> events) {
    services.pumpDrag = [this, left = std::deque<host::DragEvent>(events.begin(), events.end())](
                            host::DragEvent& event) mutable {
      if (whilePumping) whilePumping();
      if (left.empty()) return false;
      event = left.front();
      left.pop_front();
      return true;
    };
  }
  static host::DragEvent at(host::DragEvent::Kind kind, double x = 0, double y = 0) {
    host::DragEvent event;
    event.kind = kind, event.x = x, event.y = y;
    return event;
  }

  Script data;
  std::function<void()> whilePumping;
};
