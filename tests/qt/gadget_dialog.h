// Dialogs and areas for the tests of their widgets: the test supplies their behaviour, and calls are
// recorded.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "c4d_dialog.h"
#include "c4d_events.h"

template <class Base>
class TestDialogOf : public Base {
 public:
  std::vector<std::string> calls;
  BaseContainer lastMessage;
  std::function<void()> layout, values;
  std::function<void(LONG)> command;
  bool refuses = false;

  Bool CreateLayout() override {
    if (layout) layout();
    return TRUE;
  }
  Bool InitValues() override {
    if (values) values();
    return TRUE;
  }
  Bool Command(LONG id, const BaseContainer& msg) override {
    calls.push_back("command " + std::to_string(id));
    lastMessage = msg;
    if (command) command(id);
    return TRUE;
  }
  Bool CoreMessage(LONG id, const BaseContainer& /*msg*/) override {
    calls.push_back("core " + std::to_string(id));
    return TRUE;
  }
  Bool AskClose() override {
    calls.push_back("ask");
    return refuses;
  }
  void DestroyWindow() override { calls.push_back("destroy"); }
  void Timer(const BaseContainer& /*msg*/) override { calls.push_back("timer"); }
  LONG Message(const BaseContainer& msg, BaseContainer& result) override {
    if (msg.GetId() == BFM_INPUT) {
      calls.push_back("key " + msg.GetString(BFM_INPUT_ASC).GetUTF8());
      return msg.GetString(BFM_INPUT_ASC) == "+";
    }
    return Base::Message(msg, result);
  }

  std::vector<std::string> takeCalls() {
    std::vector<std::string> taken;
    taken.swap(calls);
    return taken;
  }
};
using TestDialog = TestDialogOf<GeDialog>;
using TestModal = TestDialogOf<GeModalDialog>;

/// Paints its rectangle in `color` with a green pixel in each corner.
class TestArea : public GeUserArea {
 public:
  std::vector<std::string> calls;
  std::vector<BaseContainer> inputs;
  LONG minWidth = 60, minHeight = 40;
  LONG visibleGroup = 0; // not 0: as large as this scroll group shows
  LONG timers = 0, draws = 0;
  Vector color = Vector(1, 0, 0);

  Bool Init() override {
    calls.push_back("init");
    return TRUE;
  }
  Bool InitValues() override {
    calls.push_back("values");
    return TRUE;
  }
  Bool GetMinSize(LONG& width, LONG& height) override {
    width = minWidth;
    height = minHeight;
    LONG left = 0, top = 0, right = 0, bottom = 0;
    if (visibleGroup != 0 && GetDialog()->GetVisibleArea(visibleGroup, &left, &top, &right, &bottom)) {
      width = right - left;
      height = bottom - top;
    }
    return TRUE;
  }
  void Sized(LONG width, LONG height) override {
    calls.push_back("sized " + std::to_string(width) + "x" + std::to_string(height));
  }
  void DrawMsg(LONG x1, LONG y1, LONG x2, LONG y2, const BaseContainer& /*msg*/) override {
    ++draws;
    OffScreenOn();
    DrawSetPen(color);
    DrawRectangle(x1, y1, x2, y2);
    DrawSetPen(Vector(0, 1, 0));
    for (const LONG x : {x1, x2})
      for (const LONG y : {y1, y2})
        DrawRectangle(x, y, x, y);
  }
  Bool InputEvent(const BaseContainer& msg) override {
    inputs.push_back(msg);
    return TRUE;
  }
  void Timer(const BaseContainer& /*msg*/) override { ++timers; }
  LONG Message(const BaseContainer& msg, BaseContainer& result) override {
    if (msg.GetId() == BFM_GETCURSORINFO) {
      calls.push_back("hover");
      result.SetLong(RESULT_CURSOR, MOUSE_MOVE);
    }
    return GeUserArea::Message(msg, result);
  }
};
