// The picture that a command writes.
#pragma once

#include <optional>
#include <string>

#include "c4d_bitmap.h"
#include "c4d_filename.h"
#include "lens_settings.h"

namespace batch {

/// Quality of JPEG pictures when none is chosen.
inline constexpr LONG defaultJpegQuality = 95;

/// Options of files, as the command line gives them.
struct PictureOptions {
  std::optional<LONG> quality;          // 1 to 100; without it a JPEG has the default and a WebP is lossless
  bool half = false;                    // OpenEXR: colours as 16-bit floats
  std::optional<LONG> compression;      // OpenEXR: index into host::exrCompressions
  bool layers = false;                  // OpenEXR: the file is to hold layers
  bool resumable = false;               // OpenEXR: and the samples behind the film
  const BaseBitmap* rendered = nullptr; // its film says where the picture comes from; null: the saved one's
  bool alpha = false;                   // the bitmap's, which has 32 bits
  LONG bits = 0;                        // PNG: 8 or 16 a channel; 0: 8
};

/// Throws `Stop` (wrong use) for an unknown suffix, and for an option that the format does not have.
void checkPictureFile(const std::string& file, const PictureOptions& options = {});

/// Whether pictures of this suffix hold light instead of codes, so that no view applies.
bool holdsLight(const std::string& file);

/// Saves the bitmap in the format of the suffix, with a note where it comes from. Throws `Stop` (output not
/// writable, or as above). Main thread.
void savePicture(const BaseBitmap& bitmap, const std::string& file, const PictureOptions& options = {});
/// Likewise; formats that hold no light get the lens effects. `Stop` also for want of memory (render failed).
void savePicture(const BaseBitmap& bitmap, const host::LensSettings& lens, const std::string& file,
                 PictureOptions options);

} // namespace batch
