// A file that becomes the scene's sky. Main thread.
#pragma once

#include "c4d_document.h"
#include "file_error.h"
#include "scene_file.h"

namespace host {

/// Whether a file opens as a picture for the sky (.hdr, .exr) and not as a scene.
bool isSkyPicture(const Filename& file);

/// The picture; a relative name counts from the document's folder. Null, with an error for the user, when it
/// cannot be read.
PicturePtr readSkyPicture(const BaseDocument& document, const Filename& file, FileError& error);

} // namespace host
