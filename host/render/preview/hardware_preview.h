// The hardware preview: a snapshot drawn through OpenGL without a window. Direct light without shadows, light
// of the sky by its lower frequencies, reflections of the sky only, transparency without refraction.
#pragma once

#include <optional>

#include "render_snapshot.h"

namespace host::render {

/// Draws the region of the settings tile by tile, like `renderSnapshot`. Without a usable driver: nothing is
/// returned, one line on the console says why (once until that changes), and the caller draws in software.
/// The problems of the report are those of pictures that do not decode. From any thread; calls take turns.
std::optional<RenderReport> drawHardwarePreview(const RenderRequest& request);

/// Frees meshes, textures, programs and the context; the next render makes them anew. No render may be
/// running.
void freeHardwarePreview();

/// False: as if there were no driver. For tests.
void allowHardwarePreview(bool allowed);

struct HardwareCounters {
  std::uint64_t meshUploads = 0, textureUploads = 0, programs = 0; // since the process began
};
HardwareCounters hardwareCounters();

} // namespace host::render
