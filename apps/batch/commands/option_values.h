// Values of options as they are typed. Each function throws `Stop` (wrong use) with a sentence for any other
// text.
#pragma once

#include <string>
#include <utility>

#include "command_line.h"

namespace batch {

/// Most parts of the samples of a picture.
inline constexpr LONG mostParts = 1024;

/// The exception for wrong use.
Stop wrong(const std::string& sentence);

PixelSize parseSize(const std::string& text);
PixelRegion parseRegion(const std::string& text);
RegionBox parseBox(const std::string& text);
/// "12", "0:89", "0:89:2", several of them with commas, "all".
FrameList parseFrames(const std::string& text);
std::pair<std::string, std::string> splitSetting(const std::string& text);
/// Bits of host::LayerBit.
unsigned parseLayers(const std::string& text);
std::string movieCodecNames();
/// A host::MovieCodecId.
LONG parseMovieCodec(const std::string& text);
std::string compressionNames();
/// An index into host::exrCompressions.
LONG parseCompression(const std::string& text);
/// The viewer's number of a style of `compare`.
LONG parseStyle(const std::string& text);
SamplePart parsePart(const std::string& text);
/// "4x3", or "12", which becomes the grid whose sides differ least; at most mostParts tiles. `option` is
/// named.
TileGrid parseGrid(const std::string& option, const std::string& text);
/// "2/4x3", "2/12".
PictureTile parseTile(const std::string& text);

} // namespace batch
