// Versions of a scene's file: robot.glb, robot_v002.glb, robot_v003.glb.
#pragma once

#include "c4d_filename.h"

namespace host {

/// Whether scenes are saved under a name with this suffix. Any thread.
bool isScene(const Filename& file);

/// The name of the version after this one and after all that are in its folder. Numbers keep their digits,
/// three at first. Any thread.
Filename nextVersion(const Filename& file);

} // namespace host
