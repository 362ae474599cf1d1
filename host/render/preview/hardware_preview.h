// The hardware preview: a snapshot drawn through OpenGL without a window. Direct light without shadows,
// light of the sky by its lower frequencies, reflections of the sky only, transparency without refraction.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "render_snapshot.h"

namespace host::render {

/// Draws the region of the settings tile by tile, like `renderSnapshot`. Nothing when there is no driver or
/// the driver fails: then one line on the console has said why (once until that changes), and the caller
/// draws otherwise. The result is 0 or 6; pictures that do not decode give a sentence in `undecoded`.
/// From any thread; calls take turns.
std::optional<RENDERRESULT> drawHardwarePreview(const SnapshotPtr& snapshot, const RenderSettings& settings,
                                                BaseBitmap& bitmap, const RenderHooks& hooks,
                                                RenderStats& stats, std::vector<std::string>& undecoded,
                                                SteadyTime started);

/// Frees meshes, textures, programs and the context. No render may be running. What comes later makes them
/// anew.
void freeHardwarePreview();

/// False: as if there were no driver. For tests.
void allowHardwarePreview(bool allowed);

struct HardwareCounters {
  std::uint64_t meshUploads = 0, textureUploads = 0, programs = 0; // since the process began
};
HardwareCounters hardwareCounters();

} // namespace host::render
