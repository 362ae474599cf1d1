// Dialogs and areas that follow a test's script and record their calls.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "c4d_dialog.h"
#include "c4d_events.h"
#include "dialog_state.h"
#include "gadget_actions.h"
#include "host_fixture.h"

using Calls = std::vector<std::string>;

/// For any dialog class.
template <class Base>
class KitDialogOf : public Base {
 public:
  Calls calls;
  std::vector<BaseContainer> commands;
  std::function<void()> layout, values, command, timer, coreMessage;
  bool refuses = false;

  Bool CreateLayout() override {
    calls.push_back("layout");
    if (layout) layout();
    return TRUE;
  }
  Bool InitValues() override {
    calls.push_back("values");
    if (values) values();
    return TRUE;
  }
  Bool Command(LONG id, const BaseContainer& msg) override {
    calls.push_back("command " + std::to_string(id));
    commands.push_back(msg);
    if (command) command();
    return TRUE;
  }
  Bool CoreMessage(LONG id, const BaseContainer& /*msg*/) override {
    calls.push_back("core " + std::to_string(id));
    if (coreMessage) coreMessage();
    return TRUE;
  }
  Bool AskClose() override {
    calls.push_back("ask");
    return refuses;
  }
  void DestroyWindow() override { calls.push_back("destroy"); }
  void Timer(const BaseContainer& /*msg*/) override {
    calls.push_back("timer");
    if (timer) timer();
  }
  LONG Message(const BaseContainer& msg, BaseContainer& result) override {
    if (msg.GetId() == BFM_CLOSE) calls.push_back("close");
    if (msg.GetId() == BFM_SIZED) calls.push_back("sized");
    if (msg.GetId() == BFM_INPUT) {
      calls.push_back("key " + msg.GetString(BFM_INPUT_ASC).GetUTF8());
      if (msg.GetString(BFM_INPUT_ASC) == "+") return 1;
    }
    return Base::Message(msg, result);
  }

  Calls takeCalls() {
    Calls taken;
    taken.swap(calls);
    return taken;
  }
};
using KitDialog = KitDialogOf<GeDialog>;
using KitModal = KitDialogOf<GeModalDialog>;

class KitArea : public GeUserArea {
 public:
  Calls calls;
  std::vector<BaseContainer> inputs;
  LONG minWidth = 120, minHeight = 90;
  bool works = true, tellsSize = true;
  std::function<void()> draw, values, timer, minSize, sized;
  LONG cursor = 0;

  Bool Init() override { return calls.push_back("init"), works; }
  Bool InitValues() override {
    calls.push_back("values");
    if (values) values();
    return TRUE;
  }
  Bool GetMinSize(LONG& w, LONG& h) override {
    calls.push_back("min " + std::to_string(w) + "x" + std::to_string(h));
    if (minSize) minSize();
    if (tellsSize) w = minWidth, h = minHeight;
    return tellsSize;
  }
  void Sized(LONG w, LONG h) override {
    calls.push_back("size " + std::to_string(w) + "x" + std::to_string(h));
    if (sized) sized();
  }
  void DrawMsg(LONG x1, LONG y1, LONG x2, LONG y2, const BaseContainer& msg) override {
    calls.push_back("draw " + std::to_string(x1) + " " + std::to_string(y1) + " " + std::to_string(x2) + " " +
                    std::to_string(y2));
    if (draw) draw();
    GeUserArea::DrawMsg(x1, y1, x2, y2, msg);
  }
  Bool InputEvent(const BaseContainer& msg) override {
    inputs.push_back(msg);
    return TRUE;
  }
  Bool CoreMessage(LONG id, const BaseContainer& /*msg*/) override {
    calls.push_back("core " + std::to_string(id));
    return TRUE;
  }
  void Timer(const BaseContainer& /*msg*/) override {
    calls.push_back("timer");
    if (timer) timer();
  }
  LONG Message(const BaseContainer& msg, BaseContainer& result) override {
    if (msg.GetId() == BFM_SIZED) calls.push_back("sized");
    if (msg.GetId() == BFM_GETCURSORINFO && cursor != 0) result.SetLong(RESULT_CURSOR, cursor);
    return GeUserArea::Message(msg, result);
  }

  Calls takeCalls() {
    Calls taken;
    taken.swap(calls);
    return taken;
  }
};

class DialogFixture : public HostFixture {
 protected:
  DialogFixture() {
    startHost();
    host::setInputState({});
  }
};
