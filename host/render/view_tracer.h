// The editor view's rays, through the renderer's cached structures and textures.
#pragma once

#include "view_rays.h"

namespace host {

/// The process's tracer. Meshes and textures are kept in the renderer's cache, shared with renders. Any
/// thread.
ViewTracer& viewTracer();

} // namespace host
