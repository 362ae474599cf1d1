#include "render_history.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "c4d_file.h"
#include "console.h"
#include "kept_bitmap.h"
#include "read_file.h"
#include "render_settings.h"
#include "scene_changes.h"
#include "thumbnails.h"
#include "unique_name.h"
#include "view_setting.h"

namespace host {

namespace {

constexpr std::size_t mostWaiting = 16; // films that wait for the disk; later ones stay in memory alone
constexpr std::uintmax_t mostPictureBytes = std::uintmax_t{1} << 30;

std::uint64_t bytesOf(const Film& film) {
  std::uint64_t floats = 4;
  for (const FilmLayerPtr& layer : film.layers())
    floats += layer->channels().size();
  return static_cast<std::uint64_t>(film.width()) * static_cast<std::uint64_t>(film.height()) * floats *
         sizeof(float);
}

std::string originText(const PictureOrigin& origin, std::string_view key) {
  for (const auto& [name, text] : origin)
    if (name == key) return text;
  return {};
}

int originNumber(const PictureOrigin& origin, std::string_view key) {
  const std::string text = originText(origin, key);
  int number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return std::max(number, 0);
}

// A plug-in renders the scene at its own time, but the frames of an animation at theirs.
bool isFrameOfAnimation(const BaseContainer& settings, const BaseDocument& active) {
  const auto lock = lockOf(stateOf(&active));
  const auto fps = static_cast<Real>(active.GetFps());
  return settings.GetTime(RDATA_FRAMEFROM, active.GetTime()).GetFrame(fps) != active.GetTime().GetFrame(fps);
}

std::string stemOf(std::string file) {
  const std::size_t point = file.rfind('.');
  if (point != std::string::npos && point > 0) file.resize(point);
  return file.empty() ? "Render" : file;
}

} // namespace

struct RenderHistory::Finished {
  Running start;
  std::shared_ptr<Film> film;
  double seconds = 0;
};

RenderHistory::RenderHistory(DocumentHub& hub, Edits& edits, const Filename& folder,
                             const HistoryLimits& limits, BlobStore::WriteFile write)
    : hub_(hub), edits_(edits), limits_(limits) {
  render::addRenderWatcher(this);
  if (!folder.Content()) return;
  folder_ = std::make_shared<HistoryFolder>(folder, limits.diskBytes, std::move(write));
  if (!GeFExist(folder, TRUE)) return; // nothing was ever kept
  const auto items = std::make_shared<std::vector<Item>>();
  jobs_.push(
      [store = folder_, items] {
        for (const HistoryEntryPtr& entry : store->open())
          items->push_back({entry, store->readThumbnail(*entry), false});
      },
      [this, items] { opened(*items); });
}

RenderHistory::~RenderHistory() {
  close();
  lifetime_.end();
}

void RenderHistory::close() {
  if (!std::exchange(open_, false)) return;
  render::removeRenderWatcher(this);
  finish();
}

void RenderHistory::opened(const std::vector<Item>& items) {
  items_.insert(items_.begin(), items.begin(), items.end());
  for (const Item& item : items)
    lastId_ = std::max(lastId_, item.entry->id);
  changed.call();
}

// Rising with time, also after the clock was set back.
RenderHistory::Id RenderHistory::newId() {
  return lastId_ = std::max<Id>(lastId_ + 1,
                                static_cast<Id>(std::max<std::int64_t>(clock().wallSeconds(), 0)) * 1000);
}

RenderHistory::Item* RenderHistory::get(Id id) noexcept {
  for (Item& item : items_)
    if (item.entry->id == id) return &item;
  return nullptr;
}

const RenderHistory::Item* RenderHistory::find(Id id) const noexcept {
  return const_cast<RenderHistory*>(this)->get(id);
}

// --- renders ---

void RenderHistory::renderStarted(const render::RenderNotice& notice) {
  const BaseDocument* active = GetActiveDocument();
  if (!active || stateOf(active)->identity != stateOf(notice.document)->identity) return;
  // More samples are of the scene that their picture shows; others have a copy that may lack features.
  const bool goesOn =
      notice.settings->GetLong(render::keepSamplesSetting) == static_cast<LONG>(render::SampleKeeping::goOn);
  const BaseDocument* shown = goesOn ? notice.document : active;
  if (notice.byPlugin && isFrameOfAnimation(*notice.settings, *active)) return;
  KeptScenePtr previous;
  {
    const std::lock_guard lock(mutex_);
    previous = latest_;
  }
  Running running;
  running.byPlugin = notice.byPlugin;
  running.settings = *notice.settings;
  {
    const auto lock = lockOf(stateOf(shown));
    running.sceneFolder = stateOf(shown)->path.GetUTF8();
    running.scene = keepScene(*stateOf(shown), previous);
  }
  const std::lock_guard lock(mutex_);
  latest_ = running.scene;
  running_[notice.id] = std::move(running);
}

void RenderHistory::renderEnded(const render::RenderNotice& notice) {
  Finished finished;
  {
    const std::lock_guard lock(mutex_);
    auto started = running_.extract(notice.id);
    if (!started) return;
    finished.start = std::move(started.mapped());
  }
  const bool whole = notice.result == RENDERRESULT_OK || notice.result == RENDERRESULT_ASSETMISSING;
  if (!notice.film || !whole) return;
  // A plug-in renders into the same bitmap again, and so into the same film.
  finished.film = notice.byPlugin ? copyOf(*notice.film) : notice.film;
  finished.seconds = notice.seconds;
  mainLoop().post([self = lifetime_.ref(), finished = std::move(finished)]() mutable {
    if (self) self->add(std::move(finished));
  });
}

void RenderHistory::add(Finished finished) {
  const PictureOrigin origin = finished.film->origin();
  auto entry = std::make_shared<HistoryEntry>();
  entry->id = newId();
  entry->scene = originText(origin, "Scene");
  entry->camera = originText(origin, "Camera");
  entry->samples = originNumber(origin, "Samples");
  entry->frame = originNumber(origin, "Frame");
  entry->name = uniqueName(String(std::string_view(stemOf(entry->scene))), [this](const String& name) {
                  return std::any_of(items_.begin(), items_.end(),
                                     [&](const Item& other) { return other.entry->name == name.GetUTF8(); });
                }).GetUTF8();
  entry->time = clock().wallSeconds();
  entry->width = finished.film->width();
  entry->height = finished.film->height();
  entry->seconds = finished.seconds;
  entry->byPlugin = finished.start.byPlugin;
  entry->settings = finished.start.settings;
  entry->sceneFolder = finished.start.sceneFolder;
  if (entry->byPlugin)
    entry->pictureSamples = samplesOf(*finished.film, render::readView(entry->settings, nullptr));

  Held held;
  held.film = finished.film;
  held.scene = finished.start.scene;
  held.filmBytes = bytesOf(*finished.film);
  // Memory that only an older scene holds: geometry that has been replaced since.
  for (auto item = items_.rbegin(); item != items_.rend(); ++item) {
    const auto older = held_.find(item->entry->id);
    if (older == held_.end() || !older->second.scene) continue;
    older->second.sceneBytes = heldBeyond(older->second.scene->image, held.scene->image);
    break;
  }
  items_.push_back({entry, nullptr, true});
  held_[entry->id] = std::move(held);
  write(entry->id, {finished.film, nullptr, finished.start.scene, {}});
  trim();
  changed.call();
}

// Makes the thumbnail and writes the entry, both in the background.
void RenderHistory::write(Id id, HistoryFolder::Content content) {
  struct Outcome {
    std::optional<HistoryEntry> entry;
    ThumbnailPtr thumbnail;
    std::vector<Id> dropped;
    std::string error;
  };
  const auto outcome = std::make_shared<Outcome>();
  const HistoryEntryPtr entry = find(id)->entry;
  const bool toDisk = folder_ && jobs_.waiting() < mostWaiting;
  held_[id].writing = true;
  jobs_.push(
      [=, store = folder_, content = std::move(content)]() mutable {
        content.thumbnail = thumbnailOf(*content.film, render::readView(entry->settings, nullptr));
        outcome->thumbnail = content.thumbnail;
        if (toDisk) outcome->entry = store->keep(*entry, content, outcome->dropped, &outcome->error);
      },
      [this, id, outcome] {
        written(id, outcome->entry, outcome->thumbnail, outcome->dropped, outcome->error);
      });
}

void RenderHistory::written(Id id, const std::optional<HistoryEntry>& entry, const ThumbnailPtr& thumbnail,
                            const std::vector<Id>& dropped, const std::string& error) {
  forgetOnDisk(dropped);
  if (Item* item = get(id)) {
    held_[id].writing = false;
    item->thumbnail = thumbnail;
    if (entry) {
      // A star or a note may have come meanwhile.
      const HistoryEntry before = *item->entry;
      auto kept = std::make_shared<HistoryEntry>(*entry);
      kept->name = before.name;
      kept->note = before.note;
      kept->starred = before.starred;
      const bool edited = kept->name != entry->name || kept->note != entry->note || kept->starred;
      item->entry = kept;
      if (edited) change(id, [](HistoryEntry&) {});
    }
  } else if (entry) { // removed meanwhile
    jobs_.push([store = folder_, id] { store->remove(id); });
  }
  if (!error.empty())
    tell("The history cannot keep renders on disk: " + error +
         ". They stay in memory while the program runs; make room, and the next one is kept.");
  else if (entry)
    problem_.clear();
  trim();
  changed.call();
}

// Said once until keeping works again.
void RenderHistory::tell(const std::string& problem) {
  if (problem_.empty()) printLine(String(std::string_view(problem)));
  problem_ = problem;
}

// Entries that are gone from the disk stay while their film is in memory.
void RenderHistory::forgetOnDisk(const std::vector<Id>& dropped) {
  for (const Id id : dropped) {
    Item* item = get(id);
    if (!item) continue;
    const auto held = held_.find(id);
    if (held == held_.end() || !held->second.film) {
      erase(id);
      continue;
    }
    auto entry = std::make_shared<HistoryEntry>(*item->entry);
    entry->film = entry->thumbnail = entry->picture = entry->sceneRest = {};
    entry->sceneStart.clear();
    item->entry = entry;
  }
}

// Lets go of the oldest films and scenes beyond the budget; without a copy on disk the entry goes with them.
void RenderHistory::trim() {
  std::uint64_t all = 0;
  for (const auto& [id, held] : held_)
    all += held.filmBytes + held.sceneBytes;
  for (auto held = held_.begin(); held != held_.end() && all > limits_.memoryBytes;) {
    const Item* item = find(held->first);
    const bool latest = std::next(held) == held_.end();
    if (latest || held->second.writing || (item && !item->entry->onDisk() && item->entry->starred)) {
      ++held;
      continue;
    }
    all -= held->second.filmBytes + held->second.sceneBytes;
    const Id id = held->first;
    const bool lost = !item || !item->entry->onDisk();
    held = held_.erase(held);
    if (lost) std::erase_if(items_, [id](const Item& other) { return other.entry->id == id; });
  }
}

void RenderHistory::erase(Id id) {
  std::erase_if(items_, [id](const Item& item) { return item.entry->id == id; });
  held_.erase(id);
}

// --- reading ---

std::shared_ptr<Film> RenderHistory::film(Id id) const {
  const auto held = held_.find(id);
  return held == held_.end() ? nullptr : held->second.film;
}

void RenderHistory::readFilm(Id id, FilmReady ready) {
  const Item* item = find(id);
  const auto result = std::make_shared<std::shared_ptr<Film>>(film(id));
  jobs_.push(
      [store = folder_, entry = item ? item->entry : nullptr, result] {
        if (!*result && entry && store) *result = store->readFilm(*entry);
      },
      [ready = std::move(ready), result] { ready(*result); });
}

void RenderHistory::readBitmap(Id id, BitmapReady ready) {
  const Item* item = find(id);
  const auto result = std::make_shared<SharedBitmap>();
  const auto finished = [ready = std::move(ready), result] { ready(*result); };
  if (const std::shared_ptr<Film> held = film(id)) { // past those who wait for the disk
    views_.push([held, result] { *result = bitmapOf(held); }, finished);
    return;
  }
  jobs_.push(
      [store = folder_, entry = item ? item->entry : nullptr, result] {
        if (!entry || !store) return;
        if (const std::shared_ptr<Film> read = store->readFilm(*entry))
          *result = bitmapOf(read);
        else if (!store->readPicture(*entry).empty())
          *result = bitmapOf(store->pictureFile(*entry));
      },
      finished);
}

void RenderHistory::readPicture(Id id, std::function<void(const std::vector<std::byte>&)> ready) {
  const Item* item = find(id);
  const auto bytes = std::make_shared<std::vector<std::byte>>();
  jobs_.push(
      [store = folder_, entry = item ? item->entry : nullptr, bytes] {
        if (entry && store) *bytes = store->readPicture(*entry);
      },
      [ready = std::move(ready), bytes] { ready(*bytes); });
}

void RenderHistory::readScene(Id id, std::function<void(const KeptScenePtr&)> ready) {
  const Item* item = find(id);
  const auto held = held_.find(id);
  const auto scene = std::make_shared<KeptScenePtr>(held == held_.end() ? nullptr : held->second.scene);
  jobs_.push(
      [store = folder_, entry = item ? item->entry : nullptr, scene] {
        if (!*scene && entry && store) *scene = store->readScene(*entry);
      },
      [ready = std::move(ready), scene] { ready(*scene); });
}

void RenderHistory::restore(Id id, Done done) {
  readScene(id, [this, done = std::move(done)](const KeptScenePtr& scene) {
    if (scene && hub_.document()) edits_.restore("Restore Scene", scene->image, scene->moment);
    if (done)
      done(scene ? ""
                 : "The scene of this picture was not kept, or its files are damaged. Choose another "
                   "picture of the history.");
  });
}

void RenderHistory::showChanges(Id from, Id to, ChangesReady ready) {
  edits_.notice("Change by Plug-in");
  KeptScenePtr now;
  if (to == 0 && hub_.document()) now = keepScene(*stateOf(hub_.document()), nullptr);
  const auto compare = [this, ready = std::move(ready)](const KeptScenePtr& a, const KeptScenePtr& b) {
    if (!a || !b)
      return ready({}, "The scene of one of the pictures was not kept, or its files are damaged. Choose "
                       "another picture of the history.");
    const auto lines = std::make_shared<std::vector<std::string>>();
    jobs_.push([a, b, lines] { *lines = sceneChanges(*a, *b); }, [ready, lines] { ready(*lines, {}); });
  };
  readScene(from, [this, to, now, compare](const KeptScenePtr& a) {
    if (to == 0) return compare(a, now);
    readScene(to, [a, compare](const KeptScenePtr& b) { compare(a, b); });
  });
}

RenderHistory::Id RenderHistory::renderShownAs(const std::vector<unsigned char>& samples, int width,
                                               int height, std::int64_t time) const {
  Id best = 0;
  std::size_t mostEqual = samples.size() / 3 / 2; // more than half
  std::int64_t nearest = 0;
  for (const Item& item : items_) {
    const HistoryEntry& entry = *item.entry;
    if (!entry.byPlugin || entry.width != width || entry.height != height ||
        entry.pictureSamples.size() != samples.size())
      continue;
    const auto held = held_.find(entry.id);
    if (!entry.hasScene() && (held == held_.end() || !held->second.scene)) continue;
    std::size_t equal = 0;
    for (std::size_t i = 0; i + 2 < samples.size(); i += 3)
      equal += std::equal(&samples[i], &samples[i] + 3, &entry.pictureSamples[i]) ? 1 : 0;
    const std::int64_t distance = std::abs(entry.time - time);
    if (equal < mostEqual || (equal == mostEqual && (best == 0 || distance >= nearest))) continue;
    best = entry.id;
    mostEqual = equal;
    nearest = distance;
  }
  return best;
}

// --- editing ---

void RenderHistory::change(Id id, const std::function<void(HistoryEntry&)>& change) {
  Item* item = get(id);
  if (!item) return;
  auto entry = std::make_shared<HistoryEntry>(*item->entry);
  change(*entry);
  item->entry = entry;
  changed.call();
  if (!folder_ || !entry->onDisk()) return; // a job that writes it takes the change along
  const auto error = std::make_shared<std::string>();
  jobs_.push([store = folder_, kept = HistoryEntryPtr(entry), error] { store->update(*kept, error.get()); },
             [this, error] {
               if (error->empty()) return;
               tell("The history cannot keep the change on disk: " + *error + ". Make room, and try again.");
               changed.call();
             });
}

void RenderHistory::setStarred(Id id, bool starred) {
  change(id, [=](HistoryEntry& entry) { entry.starred = starred; });
}

void RenderHistory::setNote(Id id, const std::string& note) {
  change(id, [&](HistoryEntry& entry) { entry.note = note; });
}

void RenderHistory::rename(Id id, const std::string& name) {
  if (!name.empty()) change(id, [&](HistoryEntry& entry) { entry.name = name; });
}

void RenderHistory::remove(Id id) {
  const Item* item = find(id);
  if (!item) return;
  const bool onDisk = folder_ && item->entry->onDisk();
  erase(id);
  if (onDisk) jobs_.push([store = folder_, id] { store->remove(id); });
  changed.call();
}

void RenderHistory::keepPicture(const Filename& file, HistoryEntry entry, std::function<void(Id)> done) {
  struct Outcome {
    std::optional<HistoryEntry> entry;
    ThumbnailPtr thumbnail;
    std::vector<Id> dropped;
    std::string error;
  };
  const auto outcome = std::make_shared<Outcome>();
  entry.id = newId();
  entry.pictureSuffix = file.GetSuffix().GetUTF8();
  jobs_.push(
      [store = folder_, file, entry, outcome]() mutable {
        if (!store) return;
        HistoryFolder::Content content;
        content.picture = readFile(file, mostPictureBytes).bytes;
        AutoAlloc<BaseBitmap> bitmap;
        if (content.picture.empty() || !bitmap || bitmap->Init(file) != IMAGERESULT_OK) return;
        entry.width = bitmap->GetBw();
        entry.height = bitmap->GetBh();
        content.thumbnail = outcome->thumbnail = thumbnailOf(*bitmap);
        entry.pictureSamples = samplesOf(*bitmap);
        outcome->entry = store->keep(entry, content, outcome->dropped, &outcome->error);
      },
      [this, outcome, done = std::move(done)] {
        forgetOnDisk(outcome->dropped);
        if (!outcome->error.empty())
          tell("The history cannot keep the picture on disk: " + outcome->error +
               ". Make room, and try again.");
        if (outcome->entry)
          items_.push_back({std::make_shared<HistoryEntry>(*outcome->entry), outcome->thumbnail, true});
        changed.call();
        if (done) done(outcome->entry ? outcome->entry->id : 0);
      });
}

void RenderHistory::keepOnlyCopiesOf(const std::vector<SourceFile>& present) {
  std::vector<Id> gone;
  for (const Item& item : items_)
    if (!item.entry->source.file.empty() && !item.entry->starred &&
        std::find(present.begin(), present.end(), item.entry->source) == present.end())
      gone.push_back(item.entry->id);
  for (const Id id : gone)
    remove(id);
}

void RenderHistory::finish() {
  views_.finish();
  jobs_.finish();
}

} // namespace host
