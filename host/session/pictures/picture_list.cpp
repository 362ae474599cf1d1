#include "picture_list.h"

#include <algorithm>

#include "clock.h"
#include "film.h"
#include "unique_name.h"

namespace host {

PictureList::Id PictureList::add(SharedBitmap bitmap, const String& name, bool running, bool live) {
  if (!bitmap) return 0;
  Picture picture;
  picture.id = ++last_;
  picture.name = uniqueName(name.Content() ? name : String("Picture"), [this](const String& text) {
    return std::any_of(pictures_.begin(), pictures_.end(),
                       [&](const Picture& other) { return other.name == text; });
  });
  picture.bitmap = std::move(bitmap);
  picture.running = running;
  picture.live = picture.filmOnly = live;
  picture.time = clock().wallSeconds();
  if (!live) current_ = picture.id;
  pictures_.push_back(std::move(picture));
  while (pictures_.size() > std::max<std::size_t>(most_, 1))
    if (!dropOldest()) break;
  changed.call();
  return last_;
}

bool PictureList::dropOldest() {
  const auto oldest = std::find_if(pictures_.begin(), pictures_.end(), [this](const Picture& other) {
    return other.id != current_ && !other.live;
  });
  if (oldest == pictures_.end()) return false;
  pictures_.erase(oldest);
  return true;
}

void PictureList::showLive(const SharedBitmap& bitmap, const String& name, bool running) {
  const auto found =
      std::find_if(pictures_.begin(), pictures_.end(), [](const Picture& picture) { return picture.live; });
  if (found == pictures_.end()) {
    const Id id = add(bitmap, name, running, true);
    if (current_ == 0) choose(id);
    return;
  }
  found->bitmap = bitmap;
  found->running = running;
  found->time = clock().wallSeconds();
  if (current_ == 0) current_ = found->id;
  changed.call();
}

PictureList::Id PictureList::open(const SharedBitmap& bitmap, const String& name) {
  const Id id = add(bitmap, name, false, true); // shown once it says what it is
  if (Picture* made = get(id)) {
    made->live = false;
    made->filmOnly = filmOf(*bitmap) != nullptr;
    current_ = id;
    changed.call();
  }
  return id;
}

const PictureList::Picture* PictureList::live() const noexcept {
  for (const Picture& picture : pictures_)
    if (picture.live) return &picture;
  return nullptr;
}

PictureList::Id PictureList::show(const BaseBitmap& bitmap, const String& name) {
  return add(copyBitmap(bitmap), name, false);
}

PictureList::Id PictureList::follow(const SharedBitmap& bitmap, const String& name) {
  for (const Picture& picture : pictures_)
    if (bitmap && picture.bitmap == bitmap) return picture.id;
  return add(bitmap, name, true);
}

PictureList::Id PictureList::visit(const SharedBitmap& bitmap, const String& name) {
  if (!bitmap) return 0;
  visited_ = {++last_, name, bitmap, false, clock().wallSeconds()};
  visited_.filmOnly = filmOf(*bitmap) != nullptr;
  current_ = visited_.id;
  changed.call();
  return current_;
}

void PictureList::finished(const SharedBitmap& bitmap) {
  for (Picture& picture : pictures_) {
    if (picture.bitmap != bitmap || !picture.running) continue;
    picture.running = false;
    changed.call();
    return;
  }
}

PictureList::Picture* PictureList::get(Id id) noexcept {
  for (Picture& picture : pictures_)
    if (picture.id == id) return &picture;
  return id != 0 && visited_.id == id ? &visited_ : nullptr;
}

const PictureList::Picture* PictureList::find(Id id) const noexcept {
  return const_cast<PictureList*>(this)->get(id);
}

void PictureList::choose(Id id) {
  if (id == current_ || (id != 0 && !find(id))) return;
  current_ = id;
  changed.call();
}

void PictureList::remove(Id id) {
  const auto found = std::find_if(pictures_.begin(), pictures_.end(),
                                  [id](const Picture& picture) { return picture.id == id; });
  if (found == pictures_.end()) return;
  const auto next = pictures_.erase(found);
  if (current_ == id)
    current_ = pictures_.empty() ? 0 : next != pictures_.end() ? next->id : pictures_.back().id;
  changed.call();
}

void PictureList::clear() {
  pictures_.clear();
  visited_ = {};
  current_ = 0;
  changed.call();
}

void PictureList::rename(Id id, const String& name) {
  Picture* picture = get(id);
  if (!picture || !name.Content() || picture->name == name) return;
  picture->name = name;
  changed.call();
}

} // namespace host
