// Functions of the part for rare formats. One thread at a time.
#pragma once

#include "picture_codec.h"

namespace host {

// The libraries' settings, before their first use.
void setUpReader();
void setUpPsdWriter();

RawPicture readRareFile(const char* format, PictureBytes file);
FileBytes writePsdFile(const FilterJob& job);

} // namespace host
