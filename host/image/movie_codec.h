// The table of movie codecs. Private to host/image.
#pragma once

extern "C" {
#include <libavutil/dict.h>
#include <libavutil/pixfmt.h>
}

#include "movie_options.h"

struct AVCodec;
struct AVCodecContext;

namespace host {

/// How colours are written. The bitmap is sRGB; H.264 and ProRes carry its codes with Rec. 709's matrix in
/// the video range and are tagged Rec. 709, as players expect of a movie.
enum class MovieColour {
  video709, // tagged
  jpeg,     // Rec. 601's matrix, full range: what a JPEG means (ITU-T T.871)
  assumed,  // tagged, but few players look: the matrix that they assume, Rec. 709 from 1280 x 577 on, else
            // Rec. 601
  rgb       // the codes as they are, tagged sRGB
};

struct MovieCodec {
  LONG id;
  const char* name;
  const char* encoder;            // the library's name of it
  LONG format;                    // FILTER_MOVIE or FILTER_AVI
  AVPixelFormat plain, withAlpha; // AV_PIX_FMT_NONE: no alpha
  MovieColour colour;
  bool quality, bitRate, keyDistance;
  int largestSide;   // pixels
  bool bottomUp;     // rows from the bottom
  const char* tag;   // the codec's four letters in the file, null for the library's choice
  const char* muxer; // options of the container, null for none
};

/// The codec of a number in a format, the default for 0 (the first that is installed); null when the format
/// has no such codec.
const MovieCodec* findMovieCodec(LONG format, LONG id);

/// The library's encoder; null when it is not installed.
const AVCodec* installedEncoder(const MovieCodec& codec);

/// Sets size of data against quality: fields of the context, and options to open it with.
void setMovieQuality(const MovieCodec& codec, const MovieOptions& options, LONG fps, AVCodecContext& context,
                     AVDictionary*& dictionary);

/// Tags of the colours.
void setMovieColour(const MovieCodec& codec, AVCodecContext& context);

/// Whether a picture of this size gets Rec. 709's matrix (else Rec. 601's).
bool usesMatrix709(const MovieCodec& codec, int width, int height) noexcept;

/// The size that is encoded: made even where the codec halves the colours' resolution or rows want it. The
/// added column or row repeats the picture's last one.
int encodedWidth(const MovieCodec& codec, int width) noexcept;
int encodedHeight(const MovieCodec& codec, int height) noexcept;

} // namespace host
