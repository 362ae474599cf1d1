#include "preferences.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <system_error>

#include "atomic_file.h"
#include "c4d_file.h"
#include "console.h"
#include "container_json.h"
#include "platform.h"
#include "read_file.h"

namespace host {

namespace {

using Json = nlohmann::json;
constexpr const char* formatName = "Lumenara preferences";
constexpr int formatVersion = 1;
constexpr int lockPatience = 2000; // milliseconds

std::string pluginKey(LONG id) {
  return "plugins/" + std::to_string(id);
}

std::string programKey(const std::string& name) {
  return "program/" + name;
}

Filename besides(const Filename& file, const char* ending) {
  return Filename(file.GetString() + ending);
}

std::string reasonOf(const FileContent& file) {
  switch (file.fault) {
  case ReadFault::folder:
    return std::generic_category().message(EISDIR);
  case ReadFault::notRegular:
    return "it is not a plain file";
  default:
    return file.reason;
  }
}

// {"format": ..., "version": 1, "<key>": container, ...}
std::string toText(const std::map<std::string, BaseContainer>& contents) {
  std::string text =
      "{\n\"format\": \"" + std::string(formatName) + "\",\n\"version\": " + std::to_string(formatVersion);
  for (const auto& [key, container] : contents)
    text += ",\n" + Json(key).dump() + ": " + containerToJson(container);
  return text + "\n}\n";
}

// False for a text that is not a preferences file. `dropped` counts the invalid entries.
bool fromText(const std::string& text, std::map<std::string, BaseContainer>& contents, LONG& dropped,
              std::string& reason) {
  const Json json = Json::parse(text, nullptr, false);
  if (!json.is_object() || json.value("format", Json()) != formatName) {
    reason = "it is not a preferences file";
    return false;
  }
  if (json.value("version", Json()) != formatVersion) {
    reason = "another version of the program wrote it";
    return false;
  }
  for (const auto& [key, value] : json.items()) {
    if (key == "format" || key == "version") continue;
    dropped += salvageContainer(value.dump(-1, ' ', false, Json::error_handler_t::replace), contents[key]);
  }
  return true;
}

// Applies the changes from `base` to `live` to `target`.
void applyChanges(const BaseContainer& base, const BaseContainer& live, BaseContainer& target) {
  for (LONG i = 0; i < live.GetCount(); ++i) {
    const LONG id = live.GetIndexId(i);
    const GeData* before = base.GetDataPointer(id);
    if (!before || !(*before == *live.GetIndexData(i))) target.SetData(id, *live.GetIndexData(i));
  }
  for (LONG i = 0; i < base.GetCount(); ++i)
    if (live.FindIndex(base.GetIndexId(i)) == NOTOK) target.RemoveData(base.GetIndexId(i));
}

} // namespace

Preferences::Preferences(const Filename& file) : file_(file) {
  const platform::FileLock lock(besides(file_, ".lock"), lockPatience);
  removeLeftovers(file_.GetDirectory(), [name = file_.GetFileString().GetUTF8()](const std::string& target) {
    return target == name;
  });
  new_ = readFile(file_, 0).fault == ReadFault::missing;
  Contents contents;
  if (!readDisk(contents)) return;
  if (damaged_) write(contents);
  adopt(contents);
}

Preferences::~Preferences() = default;

bool Preferences::complain(const std::string& reason) {
  if (complained_) return false;
  complained_ = true;
  printLine("Preferences cannot be saved in \"" + file_.GetString() + "\": " + reason.c_str() +
            ". They are kept until the program ends; check the folder, your rights and the free space.");
  return false;
}

void Preferences::setAside(const std::string& reason) {
  const Filename kept = besides(file_, ".damaged");
  const bool moved = GeFMove(file_, kept);
  printLine("The preferences in \"" + file_.GetString() + "\" are damaged: " + reason.c_str() +
            ". Default settings are used" +
            (moved ? "; the damaged file was kept as \"" + kept.GetString() + "\"." : String(".")));
}

void Preferences::keepCopy(LONG entries) {
  const Filename kept = besides(file_, ".damaged");
  const bool copied = GeFCopyFile(file_, kept, TRUE);
  printLine("The preferences in \"" + file_.GetString() + "\" are damaged in " +
            String(std::to_string(entries)) + (entries == 1 ? " place" : " places") +
            ". Default settings are used there and the rest stays" +
            (copied ? "; the damaged file was kept as \"" + kept.GetString() + "\"." : String(".")));
}

// Reads the file; its last known content when it is missing or damaged. False when it cannot be read: then it
// must not be replaced.
bool Preferences::readDisk(Contents& contents) {
  for (const auto& [key, slot] : slots_)
    if (slot->onDisk) contents[key] = slot->base;
  const FileContent file = readFile(file_);
  if (file.fault == ReadFault::missing) {
    lastText_.reset();
    return true;
  }
  if (file.fault != ReadFault::none) return complain(reasonOf(file));
  std::string text(file.text()), reason;
  if (text == lastText_) return true;
  Contents read;
  LONG dropped = 0;
  lastText_.reset(); // a damaged file is rewritten
  if (!fromText(text, read, dropped, reason)) return setAside(reason), true;
  damaged_ = dropped > 0;
  if (damaged_)
    keepCopy(dropped);
  else
    lastText_ = std::move(text);
  noteOutdated(read);
  contents = std::move(read);
  return true;
}

// Keeps the former values of entries that another program has changed.
void Preferences::noteOutdated(const Contents& disk) {
  for (const auto& [key, container] : disk) {
    const auto found = slots_.find(key);
    if (found == slots_.end() || !found->second->onDisk) continue;
    Slot& place = *found->second;
    for (LONG i = 0; i < place.base.GetCount(); ++i) {
      const LONG id = place.base.GetIndexId(i);
      if (place.outdated.FindIndex(id) == NOTOK && !(container.GetData(id) == *place.base.GetIndexData(i)))
        place.outdated.SetData(id, *place.base.GetIndexData(i));
    }
  }
}

// Skips entries with the value from before another program's change.
void Preferences::putEntries(const std::string& key, const BaseContainer& data, BaseContainer& target) {
  BaseContainer& outdated = slot(key).outdated;
  for (LONG i = 0; i < data.GetCount(); ++i) {
    const LONG id = data.GetIndexId(i);
    const GeData* before = outdated.GetDataPointer(id);
    if (before && *before == *data.GetIndexData(i)) continue;
    outdated.RemoveData(id);
    target.SetData(id, *data.GetIndexData(i));
  }
}

Preferences::Slot& Preferences::slot(const std::string& key) {
  std::unique_ptr<Slot>& place = slots_[key];
  if (!place) place = std::make_unique<Slot>();
  return *place;
}

// The disk's contents with this program's unwritten changes.
Preferences::Contents Preferences::merged(const Contents& disk) const {
  Contents result = disk;
  for (const auto& [key, slot] : slots_)
    if (slot->stored && (!slot->onDisk || !(slot->live == slot->base)))
      applyChanges(slot->base, slot->live, result[key]);
  return result;
}

void Preferences::adopt(const Contents& contents) {
  for (const auto& [key, container] : contents) {
    Slot& place = slot(key);
    if (!place.stored || !(place.live == container)) place.live = container;
    place.base = container;
    place.stored = place.onDisk = true;
  }
}

bool Preferences::write(const Contents& contents) {
  std::string text = toText(contents);
  if (text == lastText_) return true;
  std::string reason;
  GeFCreateDirRec(file_.GetDirectory());
  if (!replaceFile(file_, text, &reason)) return complain(reason);
  lastText_ = std::move(text);
  complained_ = false;
  ++writes_;
  return true;
}

bool Preferences::store(const std::string& key, const BaseContainer& data, bool add) {
  const platform::FileLock lock(besides(file_, ".lock"), lockPatience);
  Contents disk;
  const bool readable = readDisk(disk);
  Contents next = merged(disk);
  BaseContainer& target = next[key];
  if (add)
    putEntries(key, data, target);
  else
    target = data;
  if (readable && write(next)) {
    adopt(next);
    return true;
  }
  Slot& place = slot(key);
  place.live = target;
  place.stored = true;
  return false;
}

bool Preferences::flush() {
  const auto clean = [](const auto& entry) {
    const Slot& slot = *entry.second;
    return !slot.stored || (slot.onDisk && slot.live == slot.base);
  };
  if (std::all_of(slots_.begin(), slots_.end(), clean)) return true;
  const platform::FileLock lock(besides(file_, ".lock"), lockPatience);
  Contents disk;
  if (!readDisk(disk)) return false;
  const Contents next = merged(disk);
  if (!write(next)) return false;
  adopt(next);
  return true;
}

bool Preferences::set(LONG id, const BaseContainer& data, bool add) {
  return store(pluginKey(id), data, add);
}

BaseContainer* Preferences::get(LONG id) {
  const auto found = slots_.find(pluginKey(id));
  if (found == slots_.end() || !found->second->stored) return nullptr;
  found->second->outdated.FlushAll(); // the caller now knows the changes of others
  return &found->second->live;
}

void Preferences::presume(LONG id, const BaseContainer& data) {
  adopt({{pluginKey(id), data}});
}

bool Preferences::setNamed(const std::string& name, const BaseContainer& data, bool add) {
  return store(programKey(name), data, add);
}

const BaseContainer* Preferences::getNamed(const std::string& name) const {
  const auto found = slots_.find(programKey(name));
  return found != slots_.end() && found->second->stored ? &found->second->live : nullptr;
}

} // namespace host
