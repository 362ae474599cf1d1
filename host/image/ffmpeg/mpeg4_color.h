// The colour tags of MPEG-4 video, which the library's encoder does not write.
#pragma once

struct AVCodecContext;
struct AVPacket;

namespace host {

/// Writes range, primaries, transfer and matrix of the context into the visual object header with which the
/// packet begins, where it has one (key frames do) that says nothing about them. The packet grows by four
/// bytes. Throws std::bad_alloc.
void tagMpeg4Colors(AVPacket& packet, const AVCodecContext& context);

} // namespace host
