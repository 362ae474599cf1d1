#include "off_screen.h"

#include <map>

#include "gadget_actions.h"

namespace {

std::map<const GeUserArea*, int>& counts() {
  static std::map<const GeUserArea*, int> byArea;
  return byArea;
}

bool isEmpty(const host::Surface& surface) {
  for (int y = 0; y < surface.pixelHeight(); ++y) {
    for (int x = 0; x < surface.pixelWidth(); ++x) {
      if (surface.at(x, y) != host::windowColor()) return false;
    }
  }
  return true;
}

} // namespace

int offScreenDrawings(const GeUserArea& area) {
  return counts()[&area];
}

// Replaces the host's function in the whole test program; the host always draws off screen.
Bool GeUserArea::OffScreenOn() {
  if (isEmpty(host::areaSurface(*this))) ++counts()[this];
  return TRUE;
}
