// Saving pictures to files, in the background: a large one takes seconds to encode. Main thread, but for
// `savePicture`.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "c4d_filename.h"
#include "desk_look.h"
#include "host_renders.h"
#include "lifetime.h"
#include "view_settings.h"

namespace host {

/// Kinds of files that a picture is saved as, as a file chooser offers them.
struct PictureFormat {
  const char* name;
  const char* suffix; // without the point
  LONG filter;        // FILTER_...
};
const std::vector<PictureFormat>& pictureFormats(); // PNG, TIFF, JPEG, OpenEXR, WebP

/// Saves by the file's suffix (png, tif, tiff, jpg, jpeg, jpe, exr, webp); OpenEXR holds the linear film when
/// the picture has one, with its layers; the others show its film, mixed and through the lens and the view.
/// The file says where the picture comes from and is replaced whole. False with a sentence in `error`. Any
/// thread.
bool savePicture(const BaseBitmap& picture, const Filename& file, std::string* error,
                 const ViewSettings& view = {}, const DeskLook& look = {});

class PictureSaver {
 public:
  /// The outcome: empty on success, else a sentence for the user.
  using Done = std::function<void(const std::string& error)>;

  PictureSaver();
  ~PictureSaver(); // finishes
  PictureSaver(const PictureSaver&) = delete;
  PictureSaver& operator=(const PictureSaver&) = delete;

  /// Begins to save, after those that wait already; the main loop calls `done` once. A picture that still
  /// refines is saved as it is when its turn comes.
  void save(SharedBitmap picture, const Filename& file, Done done = {}, const ViewSettings& view = {},
            const DeskLook& look = {});
  bool isBusy() const noexcept { return job_ != nullptr; }
  /// The file that is being saved; empty when idle.
  Filename file() const;
  /// Waits until all is saved and every `done` has been called.
  void finish();

  /// Another picture, or none, is being saved. A picture that was saved is a line on the console.
  Listeners<> changed;

 private:
  struct Job;
  void start();
  void ended();

  std::deque<std::shared_ptr<Job>> queue_; // those behind the one that is being saved
  std::shared_ptr<Job> job_;
  Lifetime<PictureSaver> lifetime_{*this}; // for tasks that wait in the loop
};

} // namespace host
