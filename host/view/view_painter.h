// Paints the pictures of a view on a thread of its own, with increasing quality; the newest request wins.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

#include "active_document.h"
#include "editor_view.h"
#include "view_picture.h"

namespace host {

struct PaintJob {
  PictureSetup setup;
  Identity document = 0; // of the picture; 0: no document
  DocumentPtr scene;     // the new scene, a clone; null: unchanged
};

struct PaintResult {
  ViewImage image;
  ViewDetail detail = ViewDetail::none;
  Identity document = 0;
  ViewScenePtr scene; // the scene of the picture
};

class ViewPainter {
 public:
  /// The painting thread calls `notify` whenever `take` has a picture. It also calls `drawing`, unless empty,
  /// and keeps the result for as long as it paints.
  ViewPainter(ViewTracer* tracer, std::function<void()> notify,
              std::function<std::shared_ptr<void>()> drawing = {});
  ~ViewPainter(); // cancels the picture being painted

  // Main thread.

  /// Paints this from now on. The running picture is cancelled once one of its kind has been delivered, so
  /// that pictures appear however fast requests come. A picture that exists already is not painted again.
  void request(PaintJob job);
  /// The newest picture not taken yet.
  std::optional<PaintResult> take();
  /// Waits for a picture to take or for the end of all work. False at the deadline.
  bool wait(std::chrono::steady_clock::time_point deadline);
  bool idle() const;

  struct Counts {
    long pictures = 0, views = 0, finished = 0, cancelled = 0, scenes = 0;
  };
  Counts counts() const;

 private:
  void run();
  bool newerWaits() const;
  bool leaving() const;
  void takeScene(PaintJob& job);
  void paint(const PaintJob& job);
  bool paintLevels(const PaintJob& job);
  int firstBlock(const PictureSetup& setup) const;
  int nextBlock(const PictureSetup& setup) const;
  void deliver(const PaintJob& job, ViewDetail detail, int block);

  ViewTracer* tracer_;
  std::function<void()> notify_;
  std::function<std::shared_ptr<void>()> drawing_;

  mutable std::mutex mutex_;
  std::condition_variable wake_, changed_;
  std::optional<PaintJob> waiting_;
  std::optional<PaintResult> ready_;
  std::atomic<bool> stop_{false}, newer_{false}, otherDocument_{false};
  bool busy_ = false;
  Counts counts_;

  // The painting thread's.
  ViewScenePtr scene_;
  std::vector<std::string> told_; // problems of the last snapshot, reported once
  Identity sceneDocument_ = 0;
  PictureSetup painted_;
  ViewScenePtr paintedScene_;
  TracedPixels pixels_;
  ViewDetail reached_ = ViewDetail::none;
  int reachedBlock_ = 1;
  bool delivered_ = false;
  double secondsPerRay_ = 2.5e-7; // with all workers, as measured last

  std::thread thread_;
};

} // namespace host
