// Files of the session: new, open, save, recent files, the question about unsaved changes, and the watch over
// the open file. Loading and saving run on threads of their own; everything here is for the main thread.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "edits.h"
#include "file_watch.h"
#include "lifetime.h"
#include "scene_file.h"

namespace host {

/// What a user reads when something with a file went wrong: what happened, why, and what to do.
struct FileError {
  std::string sentence, reason, advice;
  std::string details; // more for those who want it; may be empty
  /// All in one text, for a message box or the console.
  std::string text() const;
};

enum class UnsavedAnswer { save, discard, cancel };

/// What the session asks a desktop. Each returns when the user has answered. An empty one answers cancel, no,
/// or prints on the console.
struct FileQuestions {
  /// "Save the changes to <title>?" before they are lost.
  std::function<UnsavedAnswer(const String& title)> unsaved;
  /// The open file was changed by another program, and there are unsaved changes: true loads it and gives
  /// them up. Asked once for each change of the file.
  std::function<bool(const String& title)> reload;
  /// Where to save; false when cancelled. `file` holds a proposal. Must end in .glb or .gltf (one without a
  /// suffix gets .glb).
  std::function<bool(Filename& file)> chooseSave;
  std::function<void(const FileError& error)> failed;
};

class FileSession {
 public:
  FileSession(DocumentHub& hub, Edits& edits);
  ~FileSession(); // cancels a load, waits for a save
  FileSession(const FileSession&) = delete;
  FileSession& operator=(const FileSession&) = delete;

  void setQuestions(FileQuestions questions);

  /// An empty document. Asks about unsaved changes; false when the user cancelled.
  bool newScene();
  /// Begins to load a scene, as a dropped or a recent one too (a picture goes to `setSkyPicture`); one that
  /// is being loaded is given up. Asks about unsaved changes first; false when the user cancelled. The open
  /// scene stays until the new one is whole; a file that does not load leaves it as it was and is told once
  /// by `failed`. A file that is written meanwhile is read again until it holds still.
  bool open(const Filename& file);
  void cancelLoading();
  /// Whether `open` takes this file as a picture for the sky (.hdr, .exr) and not as a scene.
  static bool isSkyPicture(const Filename& file);
  /// One step of undo: these skies, or without any the scene's first one, or else a new one, show the picture
  /// around the scene. A relative name counts from the scene's folder. One that cannot be read changes
  /// nothing and is told by `failed`.
  bool setSkyPicture(const Filename& file, const std::vector<Identity>& skies = {});
  /// Saves under the document's name; asks for one when it has none or is of another kind than glTF. False
  /// when cancelled. The file is written in the background from a copy; edits may go on.
  /// Pictures in files of their own stay there, named by the scene; in a scene that was last saved packed
  /// they go into it.
  bool save();
  bool saveAs(const Filename& file);
  /// Saves as .glb with all pictures in it; one that ends otherwise becomes .glb.
  bool savePacked(const Filename& file);
  /// Before the program ends: asks, saves and waits for it. False: stay.
  bool mayClose();
  /// Waits for loading and saving to end, serving what they need.
  void finish();

  /// What goes on, for a bar with words.
  struct Activity {
    enum class Kind { none, loading, saving } kind = Kind::none;
    Real progress = -1; // 0 to 1; -1: unknown
    Milliseconds since = 0;
    String text; // "Loading robot.glb"
    bool canCancel = false;
  };
  const Activity& activity() const noexcept { return activity_; }

  /// Empty for a scene without a file.
  Filename file() const;
  /// The file that a name typed for an output means: a relative one counts from the scene's folder, without
  /// one from the user's folder for videos. Folders on the way to it are made.
  Filename outputFile(const Filename& typed) const;
  /// The file's name, or "Untitled"; `windowTitle` with a mark for unsaved changes, and one when
  /// the file is not there any more: "robot.glb (deleted) *".
  String title() const;
  String windowTitle() const;
  bool isDirty() const { return edits_.isDirty(); }

  /// The last ten, latest first, each once; kept in the preferences.
  std::vector<Filename> recentFiles() const;
  /// Opens one; one that is not there any more is dropped from the list and told by `failed`.
  bool openRecent(const Filename& file);
  void clearRecent();

  /// What the last load had to say: sentences about what a file had that is not shown, pictures that are
  /// missing.
  const std::vector<std::string>& warnings() const noexcept { return warnings_; }

  /// Activity, title, dirty state or recent files are different.
  Listeners<> changed;

  /// How often the open file is looked at.
  static constexpr Milliseconds watchPeriod = 500;

 private:
  struct Loader;
  struct Saver;

  bool resolveUnsaved();
  void startLoading(const Filename& file, bool reload);
  void giveUpLoading();
  void loaded();
  void takeOver(Loader& loader);
  bool saveTo(const Filename& file, bool packed);
  void startSaving(const Filename& file, bool packed);
  void saved();
  void watchSaved(const Saver& saver);
  void jobEnded(const std::shared_ptr<const void>& job);
  void watchTick();
  void watchProgress();
  void progressTick();
  void fileChanged();
  void watch(std::vector<Filename> files);
  void mendRecent() const;
  void remember(const Filename& file);
  void fail(FileError error);
  void setActivity(Activity activity);

  DocumentHub& hub_;
  Edits& edits_;
  FileQuestions questions_;
  Activity activity_;
  std::shared_ptr<Loader> loader_;
  std::vector<std::shared_ptr<Loader>> givenUp_; // end when they notice
  std::shared_ptr<Saver> saver_;
  Lifetime<FileSession> lifetime_{*this}; // for tasks that wait in the loop
  FileWatch watch_;
  TimerId timer_ = 0, progressTimer_ = 0;
  bool asking_ = false, saveFailed_ = false;
  bool packed_ = false; // the scene was last saved so
  std::vector<std::string> warnings_;
  Subscription editsSubscription_, replacedSubscription_;
};

} // namespace host
