// Marks on top of a view's picture. Any thread.
#pragma once

#include "view_picture.h"

namespace host {

/// The sign of a light or camera, and its outline.
void drawSymbol(const PictureSetup& setup, const ViewSymbol& symbol, ViewImage& image);
void drawTripod(const PictureSetup& setup, ViewImage& image);

} // namespace host
