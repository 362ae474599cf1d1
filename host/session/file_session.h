// Files of the session: new, open, save, recent files, the question about unsaved changes, and the watch over
// the open file. Loading and saving run on threads of their own; call everything here on the main thread.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "edits.h"
#include "file_error.h"
#include "file_watch.h"
#include "lifetime.h"
#include "scene_file.h"
#include "unsaved_changes.h"

namespace host {

enum class UnsavedAnswer { save, discard, cancel };

/// How opening a file has ended. `kept`: the user keeps the open scene because of its unsaved changes;
/// `cancelled`: by the user, or by another scene that was opened meanwhile.
enum class OpenEnd { opened, failed, kept, cancelled };
/// `error`: of `failed`, else null; valid during the call.
using OpenDone = std::function<void(OpenEnd end, const FileError* error)>;

/// Questions to the user, which a desktop answers. Each returns when the user has answered. An empty function
/// means cancel or no, or prints on the console.
struct FileQuestions {
  /// "Save the changes to <title>?" before they are lost; `changes` are those of `unsavedChanges`.
  std::function<UnsavedAnswer(const String& title, const std::vector<std::string>& changes)> unsaved;
  /// Another program has changed the open file while the scene has unsaved changes. True loads the file and
  /// discards the changes. Asked once for each change of the file.
  std::function<bool(const String& title)> reload;
  /// Chooses the file to save; false when cancelled. `file` holds a proposal. The name must end in .glb or
  /// .gltf; without a suffix it gets .glb.
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
  /// Starts to load a scene (a picture goes to `setSkyPicture`) and cancels a load under way. Asks about
  /// unsaved changes first; false when the user cancelled. The open scene stays until the new one is
  /// complete, and stays for good when the file does not load; `failed` reports that once. A file that is
  /// being written is read again until it no longer changes. `done` is called once, after all questions;
  /// within this call where false is returned or the file is a picture. A session that ends does not call it.
  bool open(const Filename& file, OpenDone done = {});
  /// Opens `data` as an unsaved scene of the file `original` (empty: of none), as `open` does. `done` is
  /// called once with whether the scene is open.
  bool recover(const Filename& data, const Filename& original, std::function<void(bool opened)> done);
  void cancelLoading();
  /// Whether `open` treats this file as a picture for the sky (.hdr, .exr) and not as a scene.
  static bool isSkyPicture(const Filename& file);
  /// Shows the picture around the scene, as one step of undo: on these skies, else on the scene's first sky,
  /// else on a new one. A relative name counts from the scene's folder. A picture that cannot be read changes
  /// nothing; `failed` reports it.
  bool setSkyPicture(const Filename& file, const std::vector<Identity>& skies = {});
  /// Saves under the document's name; asks for a name when it has none or is not a glTF file. False when
  /// cancelled. The file is written in the background from a copy; edits may continue.
  /// Pictures in files of their own stay there, named by the scene; a scene that was last saved packed packs
  /// them.
  bool save();
  bool saveAs(const Filename& file);
  /// Saves as .glb with all pictures in it; any other suffix becomes .glb.
  bool savePacked(const Filename& file);
  /// Saves under the next free name of the same folder: robot.glb, robot_v002.glb, robot_v003.glb. As `save`
  /// for a scene without a name.
  bool saveNewVersion();
  /// Call it before the program ends: asks, saves and waits. False: do not end.
  bool mayClose();
  /// Waits for loading and saving to end, and serves their calls to the main thread.
  void finish();

  /// The work under way, for a progress bar with text.
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
  /// The file that a typed output name means: a relative name counts from the scene's folder, else from the
  /// user's videos folder. Missing folders are made.
  Filename outputFile(const Filename& typed) const;
  /// The file's name, or "Untitled"; `windowTitle` adds marks for a deleted file and for unsaved changes:
  /// "robot.glb (deleted) *".
  String title() const;
  String windowTitle() const;
  bool isDirty() const { return edits_.isDirty(); }
  /// One line for each change since the scene was opened or saved: "Camera moved".
  std::vector<std::string> unsavedChanges() const { return unsaved_.words(); }

  /// The list of recent_files.h.
  std::vector<Filename> recentFiles() const;
  /// Opens one; a file that no longer exists is dropped from the list and reported by `failed`.
  bool openRecent(const Filename& file);
  void clearRecent();

  /// Notes of the last load, as sentences: parts of the file that are not shown, missing pictures.
  const std::vector<std::string>& warnings() const noexcept { return warnings_; }

  /// Activity, title, dirty state or recent files have changed.
  Listeners<> changed;

  /// Interval between two checks of the open file.
  static constexpr Milliseconds watchPeriod = 500;

 private:
  struct Loader;
  struct Saver;

  bool resolveUnsaved();
  void startLoading(const Filename& file, bool reload, const std::optional<Filename>& original = {},
                    OpenDone done = {});
  bool showSky(const Filename& file, const std::vector<Identity>& skies, FileError& error);
  void giveUpLoading();
  void loaded();
  void takeOver(Loader& loader);
  void watchLoaded(Loader& loader);
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
  void remember(const Filename& file);
  void fail(FileError error);
  void setActivity(Activity activity);

  DocumentHub& hub_;
  Edits& edits_;
  UnsavedChanges unsaved_{hub_, edits_};
  FileQuestions questions_;
  Activity activity_;
  std::shared_ptr<Loader> loader_;
  std::vector<std::shared_ptr<Loader>> givenUp_; // cancelled, until their threads end
  std::shared_ptr<Saver> saver_;
  Lifetime<FileSession> lifetime_{*this}; // for tasks that wait in the loop
  FileWatch watch_;
  TimerId timer_ = 0, progressTimer_ = 0;
  bool asking_ = false, saveFailed_ = false;
  bool packed_ = false; // the scene was last saved packed
  std::vector<std::string> warnings_;
  Subscription editsSubscription_, replacedSubscription_;
};

} // namespace host
