#include "mpeg4_color.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <new>
#include <span>

namespace host {
namespace {

// ISO/IEC 14496-2, 6.2.2: after the start code one bit says that version and priority follow (7 bits), then
// come four bits for the kind of object and one for the video signal type.
constexpr std::array<std::uint8_t, 4> startCode{0, 0, 1, 0xB5};
constexpr std::uint8_t hasIdentifier = 0x80, kindMask = 0xF0, videoObject = 0x10, hasSignalType = 0x08;
constexpr int headerBytes = 4 + 2, signalBytes = 4;

/// Where the byte with the kind of object lies; null when the packet has no header to be completed.
std::uint8_t* untaggedKind(AVPacket& packet) {
  constexpr int reach = 64; // bytes: only the sequence header comes before
  const std::span<std::uint8_t> bytes(packet.data, static_cast<std::size_t>(std::min(packet.size, reach)));
  const auto found = std::search(bytes.begin(), bytes.end(), startCode.begin(), startCode.end());
  if (bytes.end() - found < headerBytes) return nullptr;
  const auto header = found + startCode.size();
  const bool completes = (header[0] & hasIdentifier) != 0 && (header[1] & kindMask) == videoObject &&
                         (header[1] & hasSignalType) == 0;
  return completes ? &header[1] : nullptr;
}

// Range, "a description follows", the three numbers, and the bits that fill the last byte.
std::uint32_t signalBits(const AVCodecContext& context) {
  const auto field = [](int number, int place) {
    return (static_cast<std::uint32_t>(number) & 255) << place;
  };
  const std::uint32_t full = context.color_range == AVCOL_RANGE_JPEG ? 0x80000000U : 0;
  return full | 0x40000000U | field(context.color_primaries, 22) | field(context.color_trc, 14) |
         field(context.colorspace, 6) | 0x1FU;
}

} // namespace

void tagMpeg4Colors(AVPacket& packet, const AVCodecContext& context) {
  const std::uint8_t* kind = untaggedKind(packet);
  if (!kind) return;
  const std::ptrdiff_t place = kind - packet.data;
  const int before = packet.size;
  if (av_packet_make_writable(&packet) < 0 || av_grow_packet(&packet, signalBytes) < 0)
    throw std::bad_alloc();

  std::uint8_t* at = packet.data + place;
  std::memmove(at + 1 + signalBytes, at + 1, static_cast<std::size_t>(before - place - 1));
  constexpr std::uint8_t unspecifiedFormat = 5;
  *at = videoObject | hasSignalType | unspecifiedFormat;
  const std::uint32_t bits = signalBits(context);
  for (int i = 0; i < signalBytes; ++i)
    at[1 + i] = static_cast<std::uint8_t>(bits >> (24 - 8 * i));
}

} // namespace host
