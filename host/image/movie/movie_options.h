// The options of a movie: the keys of `MovieSaver::Choose`, and the codecs of the installed libraries.
// Any thread.
#pragma once

#include <span>
#include <vector>

#include "c4d_bitmap.h"

namespace host {

// Keys of the options container. All hold a LONG; absent and 0 both mean the default. 10010 to 10020 are kept
// with the others and mean nothing yet.
inline constexpr LONG movieCodecKey = 10000;   // a MovieCodecId
inline constexpr LONG movieQualityKey = 10001; // 1 to 100; default 80
inline constexpr LONG movieBitRateKey = 10002; // kbit a second; default: what the quality needs
inline constexpr LONG movieKeyDistanceKey =
    10003;                                   // frames from one key frame to the next; default: a second's
inline constexpr LONG movieAlphaKey = 10004; // not 0: write the bitmap's alpha, where the codec has one

/// A format of `MovieSaver` beside the plug-in interface's: MP4.
inline constexpr LONG movieFormatMp4 = 7301;

/// Stored in settings: a number never changes its meaning.
enum MovieCodecId : LONG {
  movieCodecDefault = 0, // QuickTime: H.264, else Motion JPEG; AVI: MPEG-4; MP4: H.264
  movieCodecH264 = 1,
  movieCodecProRes422 = 2,  // the quality chooses proxy (below 40), LT (60), standard (85) or HQ
  movieCodecProRes4444 = 3, // with alpha
  movieCodecMotionJpeg = 4,
  movieCodecPng = 5,       // lossless, with alpha
  movieCodecAnimation = 6, // lossless run lengths, with alpha
  movieCodecRaw = 7,       // not compressed
  movieCodecMpeg4 = 8,
  movieCodecFfv1 = 9, // lossless, with alpha
  movieCodecH265 = 10,
  movieCodecAv1 = 11
};

struct MovieOptions {
  LONG codec = movieCodecDefault;
  LONG quality = 80;    // 1 to 100
  LONG bitRate = 0;     // kbit a second up to 2000000, 0: by the quality
  LONG keyDistance = 0; // up to 1000 frames, 0: a second's frames, at most 250
  bool alpha = false;
};

/// The options in a container (null: the defaults), clamped to their ranges. A codec number is kept as it
/// is: opening the movie finds out whether that codec exists.
MovieOptions readMovieOptions(const BaseContainer* options);

/// The format of a movie file by its suffix: FILTER_MOVIE (mov), FILTER_AVI, movieFormatMp4; 0 for others.
LONG movieFormatOf(const Filename& file);
/// "QuickTime", "AVI" or "MP4".
const char* movieFormatName(LONG format);

/// The word for a codec on command lines.
struct MovieCodecName {
  const char* name;
  LONG id;
};
std::span<const MovieCodecName> movieCodecNames() noexcept;

/// A codec for the user to choose, and the options that have an effect on it.
struct MovieCodecInfo {
  LONG id;
  const char* name;
  bool quality, bitRate, keyDistance, alpha;
};

/// The codecs that the installed libraries can write into this format, the default first; else empty.
/// Loads them at the first call; throws PartError (part.h).
std::vector<MovieCodecInfo> movieCodecs(LONG format);

} // namespace host
