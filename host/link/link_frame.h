// Frames of the live link (docs/link.md): a head of 16 bytes, JSON, and a body of blocks. Any thread; one
// parser is used by one thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "gltf_json.h"

namespace host {

/// A message that is ignored: the reason, and advice. The stream goes on.
struct LinkError : std::runtime_error {
  explicit LinkError(const std::string& what, std::string advice = "Check the program that sends it.")
      : std::runtime_error(what), help(std::move(advice)) {}
  std::string help;
};

/// A stream that cannot be read any further.
struct LinkBroken : std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct LinkFrame {
  Json json; // an object with a "type"
  std::vector<std::byte> body;
};

inline constexpr std::size_t linkHeadBytes = 16;

/// Largest announced sizes that are accepted.
struct LinkLimits {
  std::uint64_t jsonBytes = std::uint64_t{16} << 20;
  std::uint64_t bodyBytes = std::uint64_t{8} << 30;
};

/// Puts frames together from the pieces in which bytes arrive. Memory is taken as bytes arrive, never by an
/// announced size.
class LinkParser {
 public:
  using Sink = std::function<void(LinkFrame&&)>;

  explicit LinkParser(LinkLimits limits = {}) : limits_(limits) {}

  /// Calls `sink` with every frame that these bytes complete. Throws LinkBroken, after which the parser must
  /// not be used.
  void feed(std::span<const std::byte> bytes, const Sink& sink);
  /// For the frames that have not begun.
  void setLimits(LinkLimits limits) noexcept { limits_ = limits; }
  /// Whether a frame has begun that is not complete.
  bool isInside() const noexcept { return !head_.empty(); }

 private:
  void readHead();
  LinkFrame take();

  LinkLimits limits_;
  std::vector<std::byte> head_, json_, body_;
  std::uint64_t jsonSize_ = 0, bodySize_ = 0;
};

/// The bytes of a frame. `body` may be empty.
std::string packFrame(const Json& json, std::span<const std::byte> body = {});

} // namespace host
