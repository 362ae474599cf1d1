// Saves the open scene by itself while it has unsaved changes, and brings scenes back after a program was
// killed. The user's own file is never written. Main thread; files are written on a job's thread.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "autosaved_scenes.h"
#include "document_hub.h"
#include "edits.h"
#include "file_session.h"
#include "lifetime.h"
#include "platform.h"
#include "unsaved_changes.h"

namespace host {

class Autosave {
 public:
  /// Folders of programs stand in `root`, which is made at the first save; empty: nothing is ever saved.
  Autosave(DocumentHub& hub, Edits& edits, FileSession& files, Filename root);
  ~Autosave();
  Autosave(const Autosave&) = delete;
  Autosave& operator=(const Autosave&) = delete;

  /// Time with unsaved changes until a save, and between two of them; 0: off, at most an hour, 2 minutes at
  /// first. Kept in the preferences, in seconds.
  Milliseconds period() const;
  void setPeriod(Milliseconds period);

  /// The scenes of programs that have ended without saving them.
  std::vector<AutosavedScene> abandoned() const;
  /// Opens such a scene as an unsaved one of its original file, after the question about unsaved changes. Its
  /// folder is removed once the scene is saved here, by itself or by the user. False when the user cancelled
  /// or another program has taken it.
  bool recover(const AutosavedScene& scene);
  void discard(const AutosavedScene& scene);

  /// Waits for the save under way.
  void finish();
  /// The program ends as the user wished: removes the saved scene. Once.
  void close();

  static constexpr Milliseconds checkPeriod = 1000;

 private:
  struct Job;
  struct Recovered {
    Filename folder;
    std::unique_ptr<platform::FileLock> lock;
    bool open = false; // the scene is loaded
  };

  void tick();
  bool isDue();
  void start();
  void ended();
  void forget();
  bool makeFolder();
  void fail(const std::string& reason);

  DocumentHub& hub_;
  Edits& edits_;
  FileSession& files_;
  Filename root_, folder_;
  std::unique_ptr<platform::FileLock> lock_; // on the own folder
  std::shared_ptr<Job> job_;
  std::optional<Recovered> recovered_;
  std::optional<Milliseconds> dirtySince_;
  Milliseconds tried_ = 0;               // the last save, also a failed one
  std::size_t written_ = 0, number_ = 0; // revision of the saved scene, and saves so far
  bool told_ = false;                    // of a failure, since the last success
  TimerId timer_ = 0;
  Lifetime<Autosave> lifetime_{*this};
  Subscription editsSubscription_;
};

} // namespace host
