// A user area in the scroll group of a dialog.
#pragma once

#include "area_state.h"
#include "dialog_kit.h"

enum : LONG { AREA = 1123, OTHER, SCROLL = 1122 };

class AreaTest : public DialogFixture {
 protected:
  AreaTest() {
    dialog.layout = [this] {
      dialog.GroupBegin(0, BFH_SCALEFIT | BFV_SCALEFIT, 1, 0, "", 0);
      dialog.GroupBorderSpace(4, 4, 4, 4);
      dialog.ScrollGroupBegin(SCROLL, BFH_SCALEFIT | BFV_SCALEFIT, SCROLLGROUP_VERT | SCROLLGROUP_HORIZ);
      dialog.AddUserArea(AREA, BFH_SCALEFIT | BFV_SCALEFIT, 100, 80);
      dialog.AttachUserArea(area, AREA);
      dialog.GroupEnd();
      dialog.GroupEnd();
    };
  }
  void open() {
    dialog.Open(DLG_TYPE_ASYNC, 1);
    runAll();
    area.calls.clear();
    dialog.calls.clear();
  }
  std::uint32_t pixel(int x, int y) const { return host::areaSurface(area).at(x, y); }
  KitArea area;
  KitDialog dialog;
};
