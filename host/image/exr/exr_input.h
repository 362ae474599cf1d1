// Reading OpenEXR files from memory through the format's library. Private to the readers of that format.
#pragma once

#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfIO.h>
#include <OpenEXR/ImfMultiPartInputFile.h>

#include <array>
#include <cstring>
#include <string>

#include "picture_codec.h"

namespace host {

class ExrInput : public Imf::IStream {
 public:
  explicit ExrInput(PictureBytes file) : IStream("picture"), file_(file) {}
  bool read(char to[], int count) override {
    if (count < 0 || position_ > file_.size() || static_cast<std::size_t>(count) > file_.size() - position_)
      throw DamagedPicture("it ends too early");
    std::memcpy(to, file_.data() + position_, static_cast<std::size_t>(count));
    position_ += static_cast<std::size_t>(count);
    return position_ < file_.size();
  }
  std::uint64_t tellg() override { return position_; }
  void seekg(std::uint64_t position) override { position_ = position; }
  void clear() override {}

 private:
  PictureBytes file_;
  std::uint64_t position_ = 0;
};

/// Sets the library's largest sides, which it keeps globally for all files; before a file is opened.
void setExrLimits();

/// The names of the channels that become red, green, blue and alpha; empty where a channel is missing.
using ExrColorNames = std::array<std::string, 4>;

/// Whether there is a channel of this name at full resolution.
bool hasExrChannel(const Imf::ChannelList& channels, const std::string& name);
/// The plain picture's colours, else those of the first layer that has colours, else empty names.
ExrColorNames exrColorNames(const Imf::ChannelList& channels);
/// Luminance with colours at half the resolution.
bool hasExrChroma(const Imf::ChannelList& channels);
bool isFlatExr(const Imf::Header& header);
/// The first part with colours, else the first flat one. Throws PictureError when none is flat.
int chooseExrPart(const Imf::MultiPartInputFile& file);
/// The side of a window; 0 for an empty one.
std::uint64_t exrSide(int low, int high);

/// Linear light of the primaries that a header names to that of Rec. 709; nothing where they are the same, or
/// none are named.
std::optional<ColorMatrix> exrToRec709(const Imf::Header& header);

/// Throws std::bad_alloc when a band of the file's tiles, which is unpacked as a whole, does not fit into
/// memory.
void requireExrTiles(const Imf::Header& header);

/// Adds all channels of full resolution in all flat parts to the film, under their names: those that differ
/// only after their last point are one layer. Colours become light of Rec. 709's primaries, numbers such as
/// normals stay. Texts of the header become the film's notes and origin. The
/// film has the size and the colours of `readExr`; colours that were not finite get the file's values back.
/// Throws as readers do.
void readExrLayers(PictureBytes file, Film& film);

} // namespace host
