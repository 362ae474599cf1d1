// The view that goes with a document: settings of the host's own in the render data.
#pragma once

#include "c4d_container.h"
#include "view_settings.h"

namespace host::render {

/// (String, sRGB) A name of `viewNames`. (REAL, stops, 0) Exposure. (REAL, 0.1 to 10, 1) Gamma. (REAL,
/// kelvin, 2000 to 20000, 6500) White balance. They change pictures that Studio shows and `lumenara render`
/// saves, and neither the film nor the viewer's bitmaps.
inline constexpr LONG viewSetting = 7120;
inline constexpr LONG exposureSetting = 7121;
inline constexpr LONG gammaSetting = 7122;
inline constexpr LONG whiteBalanceSetting = 7123;

/// Within range; defaults where the container has no entry.
ViewSettings readView(const BaseContainer& container);

} // namespace host::render
