// Fingerprints of what a render shows: equal in every run of the program, whatever the identities of nodes
// and files are. Any thread.
#pragma once

#include <string>

#include "snapshot.h"

namespace host::render {

/// Of all but the camera: shapes, places, materials with their pictures, lights, sky.
std::string sceneFingerprint(const Snapshot& snapshot);
std::string cameraFingerprint(const SnapshotCamera& camera);

} // namespace host::render
