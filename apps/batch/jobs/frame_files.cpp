#include "frame_files.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <span>
#include <string_view>
#include <vector>

#include "atomic_file.h"
#include "job_folder.h"
#include "lm_thread.h"
#include "movie_options.h"
#include "picture_decode.h"
#include "picture_formats.h"
#include "read_file.h"

namespace batch {
namespace {

namespace fs = std::filesystem;

constexpr LONG openRaster = 10;

/// A format of the render thread: its number, and its suffix (movies) or its picture filter.
struct FrameFormat {
  LONG number;
  const char* movie;
  LONG filter;
  const char* suffix() const { return movie ? movie : host::formatOfFilter(filter)->suffixes[0]; }
};
constexpr FrameFormat formats[] = {{4, "mov", 0},
                                   {5, "avi", 0},
                                   {6, nullptr, FILTER_BMP},
                                   {7, nullptr, FILTER_TIF},
                                   {8, nullptr, FILTER_JPG},
                                   {9, nullptr, FILTER_PSD},
                                   {openRaster, nullptr, FILTER_B3D}};

LONG formatOf(const Filename& file) {
  for (const FrameFormat& format : formats) {
    if (file.CheckSuffix(format.suffix())) return format.number;
  }
  const std::string suffix = file.GetSuffix().GetUTF8();
  throw Stop(
      ExitCode::wrongUse,
      file.GetString().GetUTF8() + (suffix.empty() ? " has no suffix" : " has the unknown suffix " + suffix) +
          "; animations are written as mov, mp4 or avi movies, or as bmp, tif, jpg, psd, b3d, exr, png or "
          "webp pictures");
}

/// The thread writes every number below 4 as AVI, too.
const char* suffixOf(LONG number) {
  for (const FrameFormat& format : formats) {
    if (format.number == number) return format.suffix();
  }
  return "avi";
}

/// The thread checks the output's folder, so the name must include it.
Filename absoluteFile(const Filename& file) {
  std::error_code failed;
  const fs::path path = fs::absolute(fs::path(file.GetString().GetUTF8()), failed);
  return failed ? file : Filename(String(path.lexically_normal().string()));
}

/// Whether a file of the target's folder is the picture of one of its frames, "shot0012.tif".
bool isFrameName(const AnimationTarget& target, std::string_view name) {
  const fs::path file(target.file.GetString().GetUTF8());
  std::string start = file.stem().string(), suffix = file.extension().string();
  if (const auto mark = start.rfind('#'); mark != start.npos) {
    suffix = start.substr(mark + 1) + suffix;
    start.resize(start.find_last_not_of('#', mark) + 1); // npos + 1 is 0
  }
  if (!name.starts_with(start)) return false;
  name.remove_prefix(start.size());
  if (!name.ends_with(suffix)) return false;
  name.remove_suffix(suffix.size());
  return !name.empty() && name.find_first_not_of("0123456789") == name.npos;
}

/// Pictures that the render thread cannot write, or not under this name.
bool isHostsFormat(const Filename& file, bool needed) {
  const host::PictureFileFormat* format = host::formatOfSuffix(file.GetSuffix().GetUTF8());
  if (!format || format->filter == 0) return false;
  const bool threads = std::any_of(std::begin(formats), std::end(formats), [&](const FrameFormat& known) {
    return !known.movie && known.filter == format->filter;
  });
  return needed || !threads;
}

using Bytes = std::span<const std::byte>;

/// The flat picture of a layered document, which is stored uncompressed; empty when the archive is cut off.
Bytes mergedPicture(Bytes archive) {
  constexpr std::size_t endRecord = 22;
  const std::string_view text(reinterpret_cast<const char*>(archive.data()), archive.size());
  if (text.size() < endRecord || text.substr(text.size() - endRecord, 4) != "PK\5\6") return {};
  const std::size_t name = text.find("mergedimage.png");
  const std::size_t picture = name == text.npos ? text.npos : text.find("\x89PNG", name);
  return picture == text.npos ? Bytes{} : archive.subspan(picture);
}

} // namespace

AnimationTarget animationTarget(const std::string& output, std::optional<LONG> format, bool alpha) {
  AnimationTarget target;
  target.file = absoluteFile(Filename(String(output)));
  const bool marked = fs::path(output).stem().string().find('#') != std::string::npos;
  if (marked && format)
    throw Stop(ExitCode::wrongUse, "--format has no effect on " + output + "; its suffix is the format");
  if (alpha && format)
    throw Stop(ExitCode::wrongUse, "--alpha and --format exclude each other; name the format by the suffix");
  if (!format && isHostsFormat(target.file, marked || alpha)) {
    target.format = hostPictures;
    return target;
  }
  if (marked)
    throw Stop(ExitCode::wrongUse, output + " is no picture, so it has no place for a frame's number; leave "
                                            "out the #, or write pictures as shot.####.exr");
  if (const LONG movie = host::movieFormatOf(target.file);
      !format && movie != 0 && (alpha || movie == host::movieFormatMp4)) {
    target.format = hostMovie;
    return target;
  }
  target.format = format ? *format : formatOf(Filename(String(output)));
  target.file.SetSuffix(suffixOf(target.format));
  return target;
}

Filename frameFile(const AnimationTarget& target, LONG frame) {
  constexpr LONG digits = 4;
  if (target.byHost())
    return target.file.GetDirectory() +
           Filename(String(host::farm::JobFolder::frameName(target.file.GetString().GetUTF8(), frame)));
  return FileFromFrameOut(target.file, frame, digits);
}

void removeAbandoned(const AnimationTarget& target) {
  host::removeLeftovers(target.file.GetDirectory(),
                        [&](const std::string& name) { return isFrameName(target, name); });
}

bool isWholeFrame(const Filename& picture, PixelSize size) {
  if (!GeFExist(picture)) return false;
  const host::FileContent file = host::readFile(picture);
  Bytes bytes = file.bytes;
  const bool layered = picture.CheckSuffix(suffixOf(openRaster));
  if (layered) bytes = mergedPicture(bytes);
  if (bytes.empty()) return false;
  const auto decoded = host::decodePicture(bytes, layered ? "frame.png" : "frame", nullptr);
  return decoded && decoded->width == size.width && decoded->height == size.height;
}

} // namespace batch
