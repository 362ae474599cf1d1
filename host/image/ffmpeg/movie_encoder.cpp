#include "movie_encoder.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/buffer.h>
#include <libavutil/imgutils.h>
#include <libavutil/log.h>
}

#include <algorithm>
#include <cerrno>
#include <new>

#include "frame_converter.h"
#include "mpeg4_color.h"
#include "worker_threads.h"

namespace host {
namespace {

constexpr int pictureAlignment = 64; // bytes, for the widest instructions of the codecs

std::string reasonOf(int code) {
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(code, text, sizeof text);
  return text;
}

[[noreturn]] void failEncoding(int code, const std::string& what) {
  if (code == AVERROR(ENOMEM)) throw std::bad_alloc();
  throw MovieError(IMAGERESULT_MISC_ERROR, what + " (" + reasonOf(code) + "). Choose another codec.");
}

[[noreturn]] void failFile(int code, std::int64_t frames) {
  if (code == AVERROR(ENOMEM)) throw std::bad_alloc();
  const std::string where =
      frames < 0 ? "at its end" : "at frame " + std::to_string(frames + 1) + " of the movie";
  throw MovieError(IMAGERESULT_FILEERROR, "was not written: " + reasonOf(code) + " " + where +
                                              ". Check the folder, your rights to it and the free space.");
}

template <class T>
T* orBadAlloc(T* pointer) {
  if (!pointer) throw std::bad_alloc();
  return pointer;
}

// The library would write to the console; errors come back as codes.
void prepareMovieLibrary() {
  static const bool done = (av_log_set_level(AV_LOG_QUIET), true);
  static_cast<void>(done);
}

struct Dictionary {
  AVDictionary* entries = nullptr;
  ~Dictionary() { av_dict_free(&entries); }
};

// x265 leaves the time of decoding unset in movies of a frame or two.
void mendTimes(AVPacket& packet, bool first, std::int64_t last) {
  constexpr std::int64_t mostReordered = 16; // frames, of any codec here
  const bool sound = packet.dts <= packet.pts && packet.dts >= packet.pts - mostReordered;
  if (sound && (first || packet.dts > last)) return;
  packet.dts = first ? packet.pts : std::min(packet.pts, last + 1);
}

} // namespace

// The library's objects, freed in the right order.
struct FileMovieEncoder::Parts {
  AVFormatContext* file = nullptr;
  AVCodecContext* codec = nullptr;
  AVBufferPool* memory = nullptr; // of pictures, kept until the encoder's threads have ended
  AVFrame* picture = nullptr;
  AVPacket* packet = nullptr;
  AVStream* stream = nullptr; // the file's
  std::unique_ptr<FrameConverter> converter;
  std::int64_t taken = 0, written = 0; // frames
  std::int64_t decoded = 0;            // the time at which the last packet is decoded
  bool tagsPackets = false;            // the encoder does not write colour tags: we do

  ~Parts() {
    av_packet_free(&packet);
    av_frame_free(&picture);
    avcodec_free_context(&codec);
    av_buffer_pool_uninit(&memory);
    if (file && file->pb) avio_closep(&file->pb);
    avformat_free_context(file);
  }
};

FileMovieEncoder::FileMovieEncoder(const std::string& path, const MovieSetup& setup) : parts_(new Parts) {
  prepareMovieLibrary();
  const std::string url = "file:" + path; // a name with a colon is not an address
  const char* container = setup.codec.format == FILTER_AVI       ? "avi"
                          : setup.codec.format == movieFormatMp4 ? "mp4"
                                                                 : "mov";
  avformat_alloc_output_context2(&parts_->file, nullptr, container, url.c_str());
  if (!parts_->file)
    throw MovieError(IMAGERESULT_WRONGTYPE,
                     std::string("was not written: the installed libraries cannot write ") + container +
                         " files. Choose the other movie format.");
  openCodec(setup);
  openFile(url, setup);
  const int bytes =
      av_image_get_buffer_size(parts_->codec->pix_fmt, setup.width, setup.height, pictureAlignment);
  if (bytes < 0) throw std::bad_alloc();
  parts_->memory =
      orBadAlloc(av_buffer_pool_init(static_cast<std::size_t>(bytes) + pictureAlignment, nullptr));
  parts_->picture = orBadAlloc(av_frame_alloc());
  parts_->packet = orBadAlloc(av_packet_alloc());
  parts_->converter =
      std::make_unique<FrameConverter>(setup.codec, parts_->codec->pix_fmt, setup.width, setup.height);
}

FileMovieEncoder::~FileMovieEncoder() = default;

void FileMovieEncoder::openCodec(const MovieSetup& setup) {
  const AVCodec* encoder = installedEncoder(setup.codec);
  if (!encoder)
    throw MovieError(IMAGERESULT_WRONGTYPE, std::string("was not written: the installed libraries have no ") +
                                                setup.codec.name + " encoder (" + setup.codec.encoder +
                                                "). Choose another codec.");
  parts_->codec = orBadAlloc(avcodec_alloc_context3(encoder));
  AVCodecContext& codec = *parts_->codec;
  codec.width = setup.width;
  codec.height = setup.height;
  codec.time_base = {1, setup.fps};
  codec.framerate = {setup.fps, 1};
  codec.sample_aspect_ratio = {1, 1};
  codec.pix_fmt = static_cast<AVPixelFormat>(setup.alpha ? setup.codec.withAlpha : setup.codec.plain);
  codec.thread_count = std::clamp(workerCount(), 1, 8);
  if (setup.codec.color == MovieColor::rgb) codec.bits_per_coded_sample = setup.alpha ? 32 : 24;
  if (const char* tag = setup.codec.tag)
    codec.codec_tag = MKTAG(static_cast<unsigned>(tag[0]), static_cast<unsigned>(tag[1]),
                            static_cast<unsigned>(tag[2]), static_cast<unsigned>(tag[3]));
  if (parts_->file->oformat->flags & AVFMT_GLOBALHEADER) codec.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  setMovieColor(setup.codec, codec);
  parts_->tagsPackets = setup.codec.id == movieCodecMpeg4;
  Dictionary choices;
  setMovieQuality(setup.codec, setup.options, setup.fps, codec, choices.entries);
  if (const int code = avcodec_open2(&codec, encoder, &choices.entries); code < 0)
    failEncoding(code, "was not written: " + std::string(setup.codec.name) + " does not take pictures of " +
                           std::to_string(setup.width) + " x " + std::to_string(setup.height) + " pixels");
}

void FileMovieEncoder::openFile(const std::string& path, const MovieSetup& setup) {
  parts_->stream = orBadAlloc(avformat_new_stream(parts_->file, nullptr));
  AVStream& stream = *parts_->stream;
  stream.time_base = parts_->codec->time_base;
  stream.avg_frame_rate = stream.r_frame_rate = parts_->codec->framerate;
  stream.sample_aspect_ratio = parts_->codec->sample_aspect_ratio;
  if (const int code = avcodec_parameters_from_context(stream.codecpar, parts_->codec); code < 0)
    failEncoding(code, "was not written");
  if (setup.codec.bottomUp) stream.codecpar->bits_per_coded_sample = 24;

  Dictionary choices;
  if (setup.codec.muxer) av_dict_set(&choices.entries, "movflags", setup.codec.muxer, 0);
  if (setup.codec.bottomUp) av_dict_set(&choices.entries, "flipped_raw_rgb", "1", 0);
  if (const int code = avio_open(&parts_->file->pb, path.c_str(), AVIO_FLAG_WRITE); code < 0)
    failFile(code, 0);
  if (const int code = avformat_write_header(parts_->file, &choices.entries); code < 0) {
    if (parts_->file->pb->error < 0) failFile(code, 0);
    failEncoding(code, "was not written: this movie format does not take the codec");
  }
}

// An empty picture. The encoder keeps earlier ones for as long as it needs them: each frame gets its own.
void FileMovieEncoder::newPicture() {
  AVFrame& picture = *parts_->picture;
  const AVCodecContext& codec = *parts_->codec;
  av_frame_unref(&picture);
  picture.format = codec.pix_fmt;
  picture.width = codec.width;
  picture.height = codec.height;
  picture.color_range = codec.color_range;
  picture.color_primaries = codec.color_primaries;
  picture.color_trc = codec.color_trc;
  picture.colorspace = codec.colorspace;
  picture.chroma_location = codec.chroma_sample_location;
  picture.sample_aspect_ratio = codec.sample_aspect_ratio;
  picture.quality = codec.global_quality;
  picture.buf[0] = orBadAlloc(av_buffer_pool_get(parts_->memory));
  av_image_fill_arrays(picture.data, picture.linesize, picture.buf[0]->data, codec.pix_fmt, codec.width,
                       codec.height, pictureAlignment);
}

void FileMovieEncoder::add(const MovieFrame& frame) {
  newPicture();
  parts_->picture->pts = parts_->taken++;
  parts_->converter->convert(frame, *parts_->picture);
  send(parts_->picture);
}

// Passes a picture (null: the end) to the encoder and writes its packets.
void FileMovieEncoder::send(const AVFrame* picture) {
  int code = avcodec_send_frame(parts_->codec, picture);
  if (code < 0)
    failEncoding(code, "was not written: frame " + std::to_string(parts_->taken) + " was not encoded");
  AVPacket* packet = parts_->packet;
  while ((code = avcodec_receive_packet(parts_->codec, packet)) >= 0) {
    if (parts_->tagsPackets) tagMpeg4Colors(*packet, *parts_->codec);
    if (packet->duration <= 0) packet->duration = 1;
    mendTimes(*packet, parts_->written == 0, parts_->decoded);
    parts_->decoded = packet->dts;
    av_packet_rescale_ts(packet, parts_->codec->time_base, parts_->stream->time_base);
    packet->stream_index = parts_->stream->index;
    code = av_write_frame(parts_->file, packet);
    av_packet_unref(packet);
    if (code < 0) failFile(code, parts_->written);
    ++parts_->written;
  }
  if (code != AVERROR(EAGAIN) && code != AVERROR_EOF)
    failEncoding(code, "was not written: frame " + std::to_string(parts_->written + 1) + " was not encoded");
}

void FileMovieEncoder::finish() {
  send(nullptr);
  if (const int code = av_write_trailer(parts_->file); code < 0) failFile(code, -1);
  const int error = parts_->file->pb->error;
  const int closed = avio_closep(&parts_->file->pb);
  if (error < 0 || closed < 0) failFile(error < 0 ? error : closed, -1);
}

} // namespace host
