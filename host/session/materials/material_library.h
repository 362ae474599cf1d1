// Materials to take into scenes: those that come with the program, and the user's own. Main thread.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "active_document.h"
#include "c4d_filename.h"
#include "lifetime.h"
#include "listeners.h"
#include "material_previews.h"

namespace host {

class BackgroundJob;

/// The program's materials are one glTF file; a name is "Group/Material". The user's own are a folder of .glb
/// files, each of which holds its pictures. Files are read on a thread of their own.
class MaterialLibrary {
 public:
  struct Entry {
    Identity identity = 0;
    std::string group, name;
    Filename file; // of the user's own; empty for the program's
    bool own() const { return !file.GetString().GetUTF8().empty(); }
  };

  /// `given`: the program's file. `folder` of the user's; empty: there are none.
  MaterialLibrary(MaterialPreviews& previews, Filename given, Filename folder);
  ~MaterialLibrary();
  MaterialLibrary(const MaterialLibrary&) = delete;
  MaterialLibrary& operator=(const MaterialLibrary&) = delete;

  /// Begins to read, unless that is done or runs.
  void open();
  /// Waits until all files are read.
  void finish();
  bool isReading() const noexcept { return opened_ && !read_; }

  /// In the order of their groups, the user's own at the end.
  const std::vector<Entry>& entries() const noexcept { return entries_; }
  const Entry* entryOf(Identity identity) const;
  /// Files that could not be read: a sentence each.
  const std::vector<std::string>& problems() const noexcept { return problems_; }

  /// The identity of a material in the document: a library's material is copied into it, under a name of its
  /// own; any other identity comes back as it is.
  Identity bring(BaseDocument& document, Identity material) const;
  /// Copies a material of the document into the user's folder. The file is written on a thread; then `done`
  /// gets an empty text, or a sentence, and `changed` follows.
  using Done = std::function<void(const std::string& error)>;
  void keep(const BaseDocument& document, Identity material, Done done);
  /// Deletes one of the user's own. Empty on success, else a sentence.
  std::string remove(Identity entry);

  /// The entries, or the problems, are others.
  Listeners<> changed;

 private:
  struct Shelf; // the materials of one file
  using ShelfPtr = std::shared_ptr<Shelf>;

  static ShelfPtr read(const Filename& file, bool own);
  static std::vector<ShelfPtr> readAll(const Filename& given, const Filename& folder);
  /// Runs `work` on a thread, then `done` on the main loop, one after another.
  void run(const char* name, std::function<void()> work, std::function<void()> done);
  void startNext();
  void list();

  struct Job {
    std::unique_ptr<BackgroundJob> thread;
    std::function<void()> done;
    bool started = false;
  };
  MaterialPreviews& previews_;
  Filename given_, folder_;
  std::vector<ShelfPtr> shelves_;
  std::vector<Entry> entries_;
  std::vector<std::string> problems_;
  std::deque<Job> jobs_; // the first one runs
  bool opened_ = false, read_ = false;
  Lifetime<MaterialLibrary> lifetime_{*this};
};

/// A material of the document as text, to be pasted here or in another program that takes glTF: with its
/// pictures. Empty when there is no such material, or on failure, with a sentence in `error`.
std::string materialText(const BaseDocument& document, Identity material, std::string& error);
/// Adds the materials of such a text, under names of their own, and selects the last. 0 with a sentence in
/// `error` for any other text.
Identity pasteMaterials(BaseDocument& document, const std::string& text, std::string& error);

} // namespace host
