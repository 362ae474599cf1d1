// Checked access to the blocks of a frame's body. Any thread.
#pragma once

#include <array>
#include <cmath>
#include <cstring>

#include "link_frame.h"

namespace host {

class LinkBlocks {
 public:
  /// `frame` must outlive the object.
  explicit LinkBlocks(const LinkFrame& frame) : frame_(frame), list_(member(frame.json, "blocks")) {}

  bool has(const char* name) const { return list_.is_object() && list_.contains(name); }

  /// The numbers of a block, in elements of T: float, double, std::uint32_t, or an array of these. Throws
  /// LinkError for another format, a block that leaves the body, or a number that is not finite. Empty
  /// without the block.
  template <class T>
  std::vector<T> read(const char* name) const;
  /// The bytes of a block of format u8.
  std::span<const std::byte> bytes(const char* name) const { return find(name, "u8", 1); }
  /// Whether the block has this format.
  bool isFormat(const char* name, const char* format) const;

 private:
  std::span<const std::byte> find(const char* name, const std::string& format, std::size_t size) const;
  [[noreturn]] static void failNotFinite(const char* name);

  const LinkFrame& frame_;
  const Json& list_;
};

namespace link_format {
template <class T>
inline constexpr const char* scalar = nullptr;
template <>
inline constexpr const char* scalar<float> = "f32";
template <>
inline constexpr const char* scalar<double> = "f64";
template <>
inline constexpr const char* scalar<std::uint32_t> = "u32";

template <class T>
struct Of {
  using Scalar = T;
  static std::string name() { return scalar<T>; }
};
template <class T, std::size_t N>
struct Of<std::array<T, N>> {
  using Scalar = T;
  static std::string name() { return scalar<T> + ("x" + std::to_string(N)); }
};
} // namespace link_format

template <class T>
std::vector<T> LinkBlocks::read(const char* name) const {
  using Scalar = typename link_format::Of<T>::Scalar;
  if (!has(name)) return {};
  const std::span<const std::byte> from = find(name, link_format::Of<T>::name(), sizeof(T));
  std::vector<T> to(from.size() / sizeof(T));
  if (to.empty()) return to;
  std::memcpy(to.data(), from.data(), from.size());
  if constexpr (!std::is_integral_v<Scalar>) {
    const auto* numbers = reinterpret_cast<const Scalar*>(to.data());
    bool finite = true;
    for (std::size_t i = 0; i < from.size() / sizeof(Scalar); ++i)
      finite = finite && std::isfinite(numbers[i]);
    if (!finite) failNotFinite(name);
  }
  return to;
}

} // namespace host
