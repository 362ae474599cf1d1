// The renders of this session, and those of earlier ones that are kept on disk: film, state of the scene when
// the render started, settings. Films stay in memory within a budget, and on disk within another one. All
// disk work runs in the background, one job after another; the main thread never waits for it. Main thread.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "document_hub.h"
#include "edits.h"
#include "film.h"
#include "history_folder.h"
#include "host_renders.h"
#include "job_queue.h"
#include "render_notices.h"

namespace host {

struct HistoryLimits {
  std::uint64_t memoryBytes = std::uint64_t{512} << 20; // of films, and of scenes that only they hold
  std::uint64_t diskBytes = std::uint64_t{4} << 30;
};

class RenderHistory final : private render::RenderWatcher {
 public:
  using Id = std::uint64_t; // 0: none
  /// An entry and the parts of it that are in memory.
  struct Item {
    HistoryEntryPtr entry;
    ThumbnailPtr thumbnail; // null until it was made
    bool thisSession = false;
  };

  /// `folder`: of the history on disk; empty: it is kept in memory alone.
  RenderHistory(DocumentHub& hub, Edits& edits, const Filename& folder, const HistoryLimits& limits = {},
                BlobStore::WriteFile write = {});
  ~RenderHistory(); // waits for the disk
  RenderHistory(const RenderHistory&) = delete;
  RenderHistory& operator=(const RenderHistory&) = delete;

  /// Oldest first. Entries of earlier sessions come once the folder was read.
  const std::vector<Item>& items() const noexcept { return items_; }
  const Item* find(Id id) const noexcept;
  /// In memory; else null: `readFilm` brings it.
  std::shared_ptr<Film> film(Id id) const;
  using FilmReady = std::function<void(const std::shared_ptr<Film>&)>;
  /// The main loop calls `ready`, with null when the film is lost.
  void readFilm(Id id, FilmReady ready);
  using BitmapReady = std::function<void(const SharedBitmap&)>;
  /// The entry as a picture to show, with its film; null when it is lost.
  void readBitmap(Id id, BitmapReady ready);
  /// The bytes of a kept picture file; empty when it is lost.
  void readPicture(Id id, std::function<void(const std::vector<std::byte>&)> ready);

  /// Makes the document what it was when the render started, as one undo step. The main loop calls `done`
  /// with an empty text, or with a sentence for the user when the scene is lost.
  using Done = std::function<void(const std::string& error)>;
  void restore(Id id, Done done = {});
  /// Tells the changes from one entry to another one; 0: the scene as it is now. `ready` gets a sentence
  /// in `error` when one of the scenes is lost.
  using ChangesReady = std::function<void(const std::vector<std::string>& lines, const std::string& error)>;
  void showChanges(Id from, Id to, ChangesReady ready);

  /// The viewer's render whose picture has these samples (thumbnails.h), and whose scene is there; 0 without
  /// one. Stamps and overlays may cover up to half of it. Of equal pictures the one kept nearest to `time`
  /// counts, in seconds since 1970.
  Id renderShownAs(const std::vector<unsigned char>& samples, int width, int height, std::int64_t time) const;

  void setStarred(Id id, bool starred);
  void setNote(Id id, const std::string& note);
  /// An empty name does nothing.
  void rename(Id id, const std::string& name);
  void remove(Id id);
  /// Keeps a copy of a picture file of another folder as an entry. The main loop calls `done` with its id; 0
  /// when the file cannot be read or written.
  void keepPicture(const Filename& file, HistoryEntry entry, std::function<void(Id)> done = {});
  /// Unstarred copies of pictures that are not in `present` go: their picture was deleted.
  void keepOnlyCopiesOf(const std::vector<SourceFile>& present);

  /// The last failure of keeping, as a sentence; empty once keeping works again.
  const std::string& problem() const noexcept { return problem_; }
  /// Waits for the disk.
  void finish();
  /// Keeps no more renders and waits for the disk. Once.
  void close();

  /// Entries, thumbnails or the problem have changed.
  Listeners<> changed;

 private:
  struct Held {
    std::shared_ptr<Film> film;
    KeptScenePtr scene;
    std::uint64_t filmBytes = 0, sceneBytes = 0;
    bool writing = false;
  };
  struct Running {
    KeptScenePtr scene;
    BaseContainer settings;
    std::string sceneFolder;
    bool byPlugin = false;
  };
  struct Finished;

  // On the render's thread. The start keeps the state of the active document, of which the render has a
  // copy; a render that finishes becomes an entry.
  void renderStarted(const render::RenderNotice& notice) override;
  void renderEnded(const render::RenderNotice& notice) override;

  void opened(const std::vector<Item>& items);
  void add(Finished finished);
  void write(Id id, HistoryFolder::Content content);
  void written(Id id, const std::optional<HistoryEntry>& entry, const ThumbnailPtr& thumbnail,
               const std::vector<Id>& dropped, const std::string& error);
  void forgetOnDisk(const std::vector<Id>& dropped);
  void change(Id id, const std::function<void(HistoryEntry&)>& change);
  void trim();
  void erase(Id id);
  Item* get(Id id) noexcept;
  Id newId();
  void readScene(Id id, std::function<void(const KeptScenePtr&)> ready);
  void tell(const std::string& problem);

  DocumentHub& hub_;
  Edits& edits_;
  const HistoryLimits limits_;
  std::vector<Item> items_;
  std::map<Id, Held> held_;
  Id lastId_ = 0;
  std::string problem_;
  bool open_ = true;

  std::mutex mutex_; // of the next two
  std::map<std::uint64_t, Running> running_;
  KeptScenePtr latest_; // to share with

  std::shared_ptr<HistoryFolder> folder_; // of the jobs; null: memory alone
  JobQueue jobs_{"history"};              // in order, for the disk
  JobQueue views_{"pictures"};
  Lifetime<RenderHistory> lifetime_{*this};
};

} // namespace host
