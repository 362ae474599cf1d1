// Small pictures of films and picture files. Any thread.
#pragma once

#include "film.h"
#include "history_entry.h"
#include "picture_decode.h"
#include "view_settings.h"

namespace host {

/// The film's shown colour through a view, at most `Thumbnail::mostPixels` a side, each pixel the mean of
/// those that it covers. Pixels that are not finite count as black.
ThumbnailPtr thumbnailOf(const Film& film, const ViewSettings& view);
/// The same of a bitmap's codes; null for an empty one.
ThumbnailPtr thumbnailOf(const BaseBitmap& bitmap);
/// The same of a decoded picture's codes, or of its light as the screen shows it.
ThumbnailPtr thumbnailOf(const DecodedPicture& picture);

/// The codes of single pixels of a picture, red, green and blue, by which it is known again: an even grid,
/// row by row. Of a film as the view shows it, or of a bitmap; empty for an empty one.
std::vector<unsigned char> samplesOf(const Film& film, const ViewSettings& view);
std::vector<unsigned char> samplesOf(const BaseBitmap& bitmap);

} // namespace host
