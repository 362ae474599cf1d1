// The pictures of this session: those that plug-ins show and those that the host renders. Main thread.
#pragma once

#include <cstdint>
#include <vector>

#include "host_renders.h"

namespace host {

class PictureList {
 public:
  using Id = std::uint64_t; // 0: no picture

  struct Picture {
    Id id = 0;
    String name;
    SharedBitmap bitmap; // refines in place while `running`
    bool running = false;
    std::int64_t time = 0; // seconds since 1970
    bool live = false;     // the viewer's
    bool filmOnly = false; // the film is the picture: pixels that were drawn over it do not count
  };

  explicit PictureList(std::size_t most = 20) : most_(most) {}

  /// Adds a copy, with its film. The name gets a number when it is taken. 0 when memory is short.
  Id show(const BaseBitmap& bitmap, const String& name = {});
  /// Adds the picture of a render that runs; no copy. One of the same render is the same entry.
  Id follow(const SharedBitmap& bitmap, const String& name);
  /// Shows a picture that stands in another list, in place of the one visited before: it becomes the current
  /// one and is not among `pictures`. No copy. 0 for null.
  Id visit(const SharedBitmap& bitmap, const String& name);
  /// Adds the picture of a file; no copy. Its film, when it has one, is the picture.
  Id open(const SharedBitmap& bitmap, const String& name);
  /// Finished: no more samples will be added.
  void finished(const SharedBitmap& bitmap);

  /// Shows the viewer's picture: one entry, which keeps its place and its number when it gets another bitmap.
  /// It becomes the current one only when no picture is.
  void showLive(const SharedBitmap& bitmap, const String& name, bool running);
  /// Null while the viewer has rendered nothing.
  const Picture* live() const noexcept;

  /// Oldest first. When there are too many, the oldest that is neither live nor the current one goes.
  const std::vector<Picture>& pictures() const noexcept { return pictures_; }
  const Picture* find(Id id) const noexcept;
  /// The one to look at: the latest, or what was chosen; 0 none.
  Id current() const noexcept { return current_; }
  void choose(Id id); // 0: none, one that is not there: nothing happens
  void remove(Id id);
  void clear();
  void rename(Id id, const String& name);

  /// Entries, names or the current one are different.
  Listeners<> changed;

 private:
  Picture* get(Id id) noexcept;
  Id add(SharedBitmap bitmap, const String& name, bool running, bool live = false);
  bool dropOldest();

  std::size_t most_;
  std::vector<Picture> pictures_;
  Picture visited_;
  Id last_ = 0, current_ = 0;
};

} // namespace host
