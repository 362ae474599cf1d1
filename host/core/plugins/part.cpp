#include "part.h"

#include "platform.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

namespace host {
namespace {

void* loadLibrary(const Filename& file, std::string& error) {
#if defined(__SANITIZE_ADDRESS__)
  // Logging and streaming libraries behind the picture library allocate once while they are loaded and drop
  // the addresses at the program's end. Leak detection ignores what this thread allocates here, and nothing
  // else.
  const __lsan::ScopedDisabler ignored;
#endif
  return platform::loadModule(file, error);
}

Filename fileOf(const char* name, const Filename& folder) {
  return folder + (std::string("lumenara_") + name + "." + platform::moduleSuffix()).c_str();
}

} // namespace

Part::Part(const char* name, Entry linked)
    : name_(name), linked_(linked), file_(fileOf(name, platform::libraryPath().GetDirectory())) {
}

Part::Part(const char* name, const Filename& folder)
    : name_(name), linked_(nullptr), file_(fileOf(name, folder)) {
}

void* Part::interface() {
  if (void* loaded = interface_.load(std::memory_order_acquire)) return loaded;
  const std::lock_guard lock(loading_);
  if (void* loaded = interface_.load(std::memory_order_relaxed)) return loaded;
  void* loaded = linked_ ? linked_() : load();
  interface_.store(loaded, std::memory_order_release);
  return loaded;
}

void* Part::load() const {
  std::string reason;
  const std::string file = file_.GetString().GetUTF8();
  if (void* module = loadLibrary(file_, reason)) {
    const std::string name = std::string("lumenara_part_") + name_;
    const auto entry = reinterpret_cast<Entry>(platform::findSymbol(module, name.c_str()));
    if (void* found = entry ? entry() : nullptr) return found;
    reason = "it belongs to another version";
    platform::unloadModule(module);
  }
  if (reason.starts_with(file + ": ")) reason.erase(0, file.size() + 2); // the error names it already
  throw PartError("the program's library \"" + file + "\" cannot be loaded (" + reason + ")");
}

} // namespace host
