// The table of movie codecs, in the movie library's terms.
#pragma once

extern "C" {
#include <libavutil/dict.h>
#include <libavutil/pixfmt.h>
}

#include "movie_library.h"

struct AVCodec;
struct AVCodecContext;

namespace host {

/// As in `MovieLibrary`.
const MovieCodec* findCodecInTable(LONG format, LONG id);
std::vector<MovieCodecInfo> listInstalledCodecs(LONG format);

/// The library's encoder; null when it is not installed.
const AVCodec* installedEncoder(const MovieCodec& codec);

/// Sets the trade of size against quality: fields of the context, and options to open it with.
void setMovieQuality(const MovieCodec& codec, const MovieOptions& options, LONG fps, AVCodecContext& context,
                     AVDictionary*& dictionary);

/// Tags of the colours.
void setMovieColor(const MovieCodec& codec, AVCodecContext& context);

/// Whether a picture of this size gets Rec. 709's matrix (else Rec. 601's).
bool usesMatrix709(const MovieCodec& codec, int width, int height) noexcept;

} // namespace host
