// The progress of an animation for other programs: lines of JSON, and a small picture.
#pragma once

#include <string>

#include "c4d_bitmap.h"
#include "c4d_filename.h"
#include "clock.h"

namespace batch {

/// Main thread.
class AnimationReport {
 public:
  /// `json`: lines go to standard output. `preview`: file of the picture; empty: none.
  AnimationReport(bool json, const std::string& preview);

  /// So many frames are to be rendered, and so many were there already.
  void begin(std::size_t frames, std::size_t kept, const Filename& output);
  /// `part` (0 to 1) of all frames is done, and this one is running. A line for each frame, and at most four
  /// a second; a picture every two seconds, and of finished frames. A picture that cannot be written is tried
  /// again, without a word.
  void progress(double part, LONG frame, const BaseBitmap& bitmap);
  /// A frame is done; `last` of all.
  void finished(const BaseBitmap& bitmap, bool last);
  /// All frames are done.
  void end(double seconds);

  static constexpr host::Milliseconds linePeriod = 250, previewPeriod = 2000, finishedPeriod = 500;
  static constexpr LONG previewSize = 256; // pixels of the longer side

 private:
  void print(const std::string& line) const;
  void savePreview(const BaseBitmap& bitmap) const;

  bool json_;
  Filename preview_;
  std::size_t frames_ = 0;
  LONG frame_ = 0;
  bool begun_ = false; // a frame
  host::Milliseconds nextLine_ = 0, nextPreview_ = 0;
};

} // namespace batch
