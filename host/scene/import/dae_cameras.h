// The angles of a COLLADA file's cameras, which the import library does not read.
#pragma once

#include <string_view>
#include <vector>

namespace host {

/// What a file says of a camera; 0 for what it does not say. Angles in radians.
struct DaeCamera {
  double xfov = 0, yfov = 0, aspect = 0, near = 0;
  double xmag = 0, ymag = 0; // orthographic
};

/// One for every use of a camera, in the file's order.
std::vector<DaeCamera> readDaeCameras(std::string_view file);

} // namespace host
