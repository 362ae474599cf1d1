// Where a rendered picture comes from, in words for the header of its file.
#pragma once

#include "c4d_document.h"
#include "film.h"
#include "render_settings.h"

namespace host::render {

/// Name under which a film's nodes have the camera, alone (`Film::nodes`).
inline constexpr char cameraNode[] = "camera";

/// Scene (the file's name without its folder), camera, frame, samples, time, the render settings that differ
/// from their defaults (by number, as docs/rendering.md lists them), version. `seconds` is the time since the
/// request. On the document's thread.
PictureOrigin describeRender(BaseDocument& document, const BaseContainer& container,
                             const RenderSettings& settings, const BaseTime& time, double seconds);

} // namespace host::render
