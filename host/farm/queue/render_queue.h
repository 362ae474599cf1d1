// Animations of several scenes, rendered one after another on this machine. Each runs as a program of its
// own, "lumenara animate", on a copy of its scene: later edits do not reach it, and a crash ends neither
// Studio nor the queue. Main thread.
//
// The queue is kept in a folder: "queue.json", and for each animation its scene and what its program printed.
// One program at a time owns the folder, by a lock that the system drops when the program dies.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "active_document.h"
#include "animation_order.h"
#include "history_entry.h"
#include "job_queue.h"
#include "listeners.h"
#include "platform.h"

namespace host::farm {

enum class QueueState { waiting, rendering, done, failed, cancelled };

struct QueueRow {
  int id = 0;        // 1 and up, unique in the queue
  std::string scene; // its name for people
  AnimationOrder order;
  QueueState state = QueueState::waiting;
  double part = 0;      // 0 to 1, of the frames that are to be rendered
  LONG frame = 0;       // that is being rendered, or was the last
  int frames = 0;       // to be rendered; 0: not known yet
  int kept = 0;         // pictures that were there already
  double seconds = 0;   // of rendering, without pauses
  ThumbnailPtr picture; // small, of the running or last frame; null: none yet
  std::string problem;  // a sentence: why it failed
  bool isOver() const { return state != QueueState::waiting && state != QueueState::rendering; }
  /// Until its end, by its pace so far; nothing before that can be told.
  std::optional<double> secondsLeft() const;
};

class RenderQueue {
 public:
  /// Empty on success, else a sentence for the user.
  using Done = std::function<void(const std::string& error)>;

  /// `program` is the path of `lumenara`, `home` the folder of the settings, which gets a folder "queue".
  /// Animations of an earlier session that are not over wait: the queue is paused then.
  RenderQueue(std::string program, const std::string& home);
  /// Ends what renders; it begins anew in the next session.
  ~RenderQueue();
  RenderQueue(const RenderQueue&) = delete;
  RenderQueue& operator=(const RenderQueue&) = delete;

  /// Why nothing can be queued here, as a sentence; empty: it can.
  const std::string& problem() const noexcept { return problem_; }

  /// Packs the scene (with its pictures) in the background and adds it at the end. `name` is the scene's for
  /// people. The order must be without a known problem.
  void add(DocumentPtr scene, const std::string& name, const AnimationOrder& order, Done done);
  bool isAdding() const noexcept { return adding_ > 0; }

  /// A paused queue starts nothing, and the program that renders is halted.
  void pause(bool paused);
  bool isPaused() const noexcept { return paused_; }
  /// Ends an animation; its finished pictures stay. Nothing when it is over.
  void cancel(int id);
  /// Renders one that is over again; finished pictures are kept, a movie is replaced.
  void retry(int id);
  /// Takes one that is not rendering out of the queue.
  void remove(int id);
  void removeAllOver();
  /// Before the one that it follows, if that waits, too.
  void moveUp(int id);

  const std::vector<QueueRow>& rows() const noexcept { return rows_; }
  const QueueRow* row(int id) const noexcept;
  /// Animations that are not over.
  int left() const noexcept;
  /// Rows, their progress, the pause or the problem have changed.
  Listeners<> changed;
  /// Waits for packing and runs what follows it.
  void finish() { packing_.finish(); }

  static constexpr Milliseconds period = 200; // of looks at the program
  static constexpr std::size_t mostRows = 200;

 private:
  struct Running;
  Filename file(int id, const char* suffix) const;
  QueueRow* find(int id) noexcept;
  bool read();
  void write();
  void startNext();
  void start(QueueRow& row);
  void look();
  void readLines(QueueRow& row);
  void readPicture(QueueRow& row);
  void over(QueueRow& row, int code);
  void removeFiles(int id) const;
  void tell();

  std::string program_, home_;
  Filename folder_;
  std::unique_ptr<platform::FileLock> lock_;
  std::vector<QueueRow> rows_;
  std::unique_ptr<Running> running_;
  std::string problem_;
  int nextId_ = 1, adding_ = 0;
  bool paused_ = false;
  TimerId timer_ = 0;
  JobQueue packing_{"render queue"};
  Lifetime<RenderQueue> lifetime_{*this};
};

} // namespace host::farm
