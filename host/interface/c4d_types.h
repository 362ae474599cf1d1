// Basic types of the plug-in interface. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(_WIN32)
#define C4D_API __declspec(dllexport)
#else
#define C4D_API __attribute__((visibility("default")))
#endif

using CHAR = char;
using UCHAR = std::uint8_t;
using WORD = std::int16_t;
using UWORD = std::uint16_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using LLONG = std::int64_t;
using ULLONG = std::uint64_t;
using SReal = float;
using LReal = double;
using Real = double;
using Bool = LONG;
using VLONG = std::intptr_t;

// Types of the host that the interface's classes hold; plug-ins do not use them.
namespace host {
struct Access;
struct AreaState;
struct BitmapData;
struct ContainerStore;
struct DialogState;
class DragLoop;
struct GeDataStore;
struct NodeState;
} // namespace host

#ifndef TRUE
inline constexpr Bool TRUE = 1;
inline constexpr Bool FALSE = 0;
#endif

/// A four-character code, first character in the highest byte: `FourCC("bIPN")`.
constexpr LONG FourCC(const char (&text)[5]) noexcept {
  ULONG code = 0;
  for (int i = 0; i < 4; ++i)
    code = (code << 8) | static_cast<UCHAR>(text[i]);
  return static_cast<LONG>(code);
}
