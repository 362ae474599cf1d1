// Parts of the host that are shared libraries of their own, loaded at their first use: programs that never
// need them do not pay for the libraries behind them.
//
// A part has one entry, a C function that returns its interface. cmake/Module.cmake declares it
// (`lumenara_part`), a header that both sides include names entry and interface, and the host reaches it so:
//
//   extern "C" void* lumenara_part_ffmpeg(); // the part defines it
//
//   MovieLibrary& movieLibrary() {
//     static Part part = LUMENARA_PART(ffmpeg);
//     return part.as<MovieLibrary>();
//   }
#pragma once

#include <atomic>
#include <mutex>
#include <stdexcept>

#include "c4d_filename.h"

/// The part of this name. In builds without shared libraries (the fuzz targets) the part is linked.
#ifdef LUMENARA_LINKED_PARTS
#define LUMENARA_PART(name) host::Part(#name, &lumenara_part_##name)
#else
#define LUMENARA_PART(name) host::Part(#name)
#endif

namespace host {

/// A part that could not be loaded. The text is a clause: "the program's library "..." cannot be loaded
/// (...)".
struct PartError : std::runtime_error {
  using std::runtime_error::runtime_error;
  static constexpr const char* advice = "Install the program again.";
};

/// A part. It stays loaded until the process ends. Any thread.
class Part {
 public:
  using Entry = void* (*)();

  /// The library `lumenara_<name>` in the folder of the host's own library; `linked` is the entry of a part
  /// that is in the host's library.
  explicit Part(const char* name, Entry linked = nullptr);
  /// The same in another folder.
  Part(const char* name, const Filename& folder);
  Part(const Part&) = delete;
  Part& operator=(const Part&) = delete;

  const Filename& file() const noexcept { return file_; }

  /// The interface, never null. The first call loads the library, which takes a while; calls of other threads
  /// wait for it. Throws PartError, and tries again at the next call.
  template <class Interface>
  Interface& as() {
    return *static_cast<Interface*>(interface());
  }

 private:
  void* interface();
  void* load() const;

  const char* name_;
  const Entry linked_;
  const Filename file_;
  std::mutex loading_;
  std::atomic<void*> interface_{nullptr};
};

} // namespace host
