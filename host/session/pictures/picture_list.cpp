#include "picture_list.h"

#include <algorithm>

#include "clock.h"
#include "unique_name.h"

namespace host {

PictureList::Id PictureList::add(SharedBitmap bitmap, const String& name, bool running) {
  if (!bitmap) return 0;
  Picture picture;
  picture.id = ++last_;
  picture.name = uniqueName(name.Content() ? name : String("Picture"), [this](const String& text) {
    return std::any_of(pictures_.begin(), pictures_.end(),
                       [&](const Picture& other) { return other.name == text; });
  });
  picture.bitmap = std::move(bitmap);
  picture.running = running;
  picture.time = clock().wallSeconds();
  current_ = picture.id;
  pictures_.push_back(std::move(picture));
  while (pictures_.size() > std::max<std::size_t>(most_, 1))
    pictures_.erase(std::find_if(pictures_.begin(), pictures_.end(),
                                 [this](const Picture& other) { return other.id != current_; }));
  changed.call();
  return last_;
}

PictureList::Id PictureList::show(const BaseBitmap& bitmap, const String& name) {
  return add(copyBitmap(bitmap), name, false);
}

PictureList::Id PictureList::follow(const SharedBitmap& bitmap, const String& name) {
  for (const Picture& picture : pictures_)
    if (bitmap && picture.bitmap == bitmap) return picture.id;
  return add(bitmap, name, true);
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
  return nullptr;
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
