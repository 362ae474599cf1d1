// Pictures from messages of the live link. Any thread.
#pragma once

#include "link_frame.h"
#include "snapshot.h"

namespace host {

/// The picture of a message "picture": a file by its path, a file's bytes, or pixels. Throws LinkError.
PicturePtr readLinkPicture(const LinkFrame& frame, std::vector<std::string>& notes);

} // namespace host
