// Makes a canvas' image in the background. Main thread.
#pragma once

#include <QImage>
#include <functional>
#include <memory>
#include <optional>

#include "canvas_look.h"
#include "host_renders.h"
#include "lifetime.h"
#include "picture_rows.h"

namespace host {

struct LookImage {
  QImage image;      // null when memory is short
  bool there = true; // false: the picture has no such layer
  FaultCount faults;
};

/// One image at a time; of the wishes that come meanwhile the last one is made next. So a drag costs no more
/// images than fit into its time, and never waits. The light of the last bitmap is kept for its next image.
class LookJob {
 public:
  using Done = std::function<void(const SharedBitmap& bitmap, LookImage image)>;

  /// The main loop calls `done` with each image.
  explicit LookJob(Done done);
  ~LookJob(); // waits for the image that is being made
  LookJob(const LookJob&) = delete;
  LookJob& operator=(const LookJob&) = delete;

  /// `changed`: the pixels may be others than in the wish before.
  void start(const SharedBitmap& bitmap, const CanvasLook& look, bool changed);
  /// Images under way are not wanted any more, and the light kept for the next one goes.
  void drop();
  bool isBusy() const { return job_ != nullptr; }

 private:
  struct Job;
  void ended();

  Done done_;
  std::shared_ptr<Job> job_; // null: idle
  struct Wish {
    SharedBitmap bitmap;
    CanvasLook look;
  };
  std::optional<Wish> next_;          // the wish that waits
  SharedBitmap source_;               // the bitmap that rows_ reads
  std::shared_ptr<PictureRows> rows_; // null: to be made
  DeskLook desk_;                     // of the light that rows_ keeps
  std::string layer_;                 // that rows_ reads
  bool filmOnly_ = false;
  bool dropped_ = false;
  bool stale_ = false; // the light that the running job keeps is out of date
  Lifetime<LookJob> lifetime_{*this};
};

} // namespace host
