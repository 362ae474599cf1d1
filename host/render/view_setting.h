// The view that goes with a document: settings of the host's own in the render data.
#pragma once

#include "c4d_container.h"
#include "c4d_document.h"
#include "view_settings.h"

namespace host::render {

/// (String, sRGB) A name of `viewNames`. (REAL, stops, 0) Exposure. (REAL, 0.1 to 10, 1) Gamma. (REAL,
/// kelvin, 2000 to 20000, 6500) White balance. They change all that shows the light in 8 bits:
/// bitmaps that are rendered into and pictures saved from them. The film holds the light itself.
inline constexpr LONG viewSetting = 7120;
inline constexpr LONG exposureSetting = 7121;
inline constexpr LONG gammaSetting = 7122;
inline constexpr LONG whiteBalanceSetting = 7123;
/// (String, empty) File of an OpenColorIO configuration, for more views; relative to the document's folder.
inline constexpr LONG colorConfigSetting = 7124;

/// Within range; defaults where the container has no entry. A relative configuration becomes absolute with a
/// document that has a folder.
ViewSettings readView(const BaseContainer& container, const BaseDocument* document);

} // namespace host::render
