// Wishes of the user for all renders of the program, beside documents and settings: objects shown alone, and
// the place where a picture begins. Any thread.
#pragma once

#include <optional>
#include <vector>

#include "identity.h"

namespace host::render {

/// A place in a picture, from its upper left corner: 0 to 1, whatever its size.
struct PicturePlace {
  float x = 0, y = 0;
  friend bool operator==(const PicturePlace&, const PicturePlace&) = default;
};

/// Renders begin at this place; nothing: in the middle. A render that runs goes on there at once.
void setRenderStart(const std::optional<PicturePlace>& place);
std::optional<PicturePlace> renderStart() noexcept;

/// Renders that start from now on show these objects with all below them, see isolated_snapshot.h; empty:
/// everything. No document changes.
void isolateObjects(std::vector<Identity> objects);
std::vector<Identity> isolatedObjects();

} // namespace host::render
