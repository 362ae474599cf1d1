// From a pixel of a film to a point of the scene, to focus its camera there. Main thread.
#pragma once

#include <string>

#include "c4d_document.h"
#include "film.h"
#include "identity.h"

namespace host {

struct FilmFocus {
  Identity camera = 0;  // of the document; 0: there is nothing to focus
  Vector point;         // in the world
  std::string sentence; // for the user: the distance, or why it is unknown
};

/// Where the pixel's middle ray meets the scene as it is now, through the camera that the film was rendered
/// with. The document is copied and evaluated; the renderer's structures are used again.
FilmFocus focusAt(const Film& film, int x, int y, const BaseDocument* document);

} // namespace host
