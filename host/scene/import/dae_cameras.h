// The angles of a COLLADA file's cameras, which the import library does not read.
#pragma once

#include <string_view>
#include <vector>

namespace host {

/// A camera of a file; 0 for values that the file does not give. Angles in radians.
struct DaeCamera {
  double xfov = 0, yfov = 0, aspect = 0, near = 0;
  double xmag = 0, ymag = 0; // orthographic
};

/// The camera of every camera instance, in the file's order.
std::vector<DaeCamera> readDaeCameras(std::string_view file);

} // namespace host
