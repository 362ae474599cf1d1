// The editor view's rays, through the renderer's cached structures and textures.
#pragma once

#include "view_rays.h"

namespace host {

/// The process's. It keeps nothing itself: meshes and textures stay in the renderer's cache, where renders
/// find them too. Any thread.
ViewTracer& viewTracer();

} // namespace host
