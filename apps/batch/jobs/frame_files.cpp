#include "frame_files.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <filesystem>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "atomic_file.h"
#include "lm_thread.h"
#include "picture_decode.h"
#include "read_file.h"

namespace batch {
namespace {

namespace fs = std::filesystem;

constexpr LONG openRaster = 10;
constexpr std::array<std::pair<const char*, LONG>, 7> formats{
    {{"mov", 4}, {"avi", 5}, {"bmp", 6}, {"tif", 7}, {"jpg", 8}, {"psd", 9}, {"b3d", openRaster}}};

LONG formatOf(const Filename& file) {
  for (const auto& [suffix, format] : formats) {
    if (file.CheckSuffix(suffix)) return format;
  }
  const std::string suffix = file.GetSuffix().GetUTF8();
  throw Stop(ExitCode::wrongUse,
             file.GetString().GetUTF8() +
                 (suffix.empty() ? " has no suffix" : " has the unknown suffix " + suffix) +
                 "; animations are written as mov or avi movies, or as bmp, tif, jpg, psd or b3d pictures");
}

/// The thread writes all numbers below 4 as AVI too.
const char* suffixOf(LONG format) {
  for (const auto& [suffix, number] : formats) {
    if (number == format) return suffix;
  }
  return "avi";
}

/// The thread looks at the folder, which a name alone does not have.
Filename absoluteFile(const Filename& file) {
  std::error_code failed;
  const fs::path path = fs::absolute(fs::path(file.GetString().GetUTF8()), failed);
  return failed ? file : Filename(String(path.lexically_normal().string()));
}

/// Whether a file of the target's folder is the picture of one of its frames, "shot0012.tif".
bool isFrameName(const AnimationTarget& target, std::string_view name) {
  const fs::path file(target.file.GetString().GetUTF8());
  const std::string start = file.stem().string(), suffix = file.extension().string();
  if (!name.starts_with(start)) return false;
  name.remove_prefix(start.size());
  if (!name.ends_with(suffix)) return false;
  name.remove_suffix(suffix.size());
  return !name.empty() && name.find_first_not_of("0123456789") == name.npos;
}

using Bytes = std::span<const std::byte>;

/// The flat picture of a layered document, which is stored as it is; empty when the archive has no end.
Bytes mergedPicture(Bytes archive) {
  constexpr std::size_t endRecord = 22;
  const std::string_view text(reinterpret_cast<const char*>(archive.data()), archive.size());
  if (text.size() < endRecord || text.substr(text.size() - endRecord, 4) != "PK\5\6") return {};
  const std::size_t name = text.find("mergedimage.png");
  const std::size_t picture = name == text.npos ? text.npos : text.find("\x89PNG", name);
  return picture == text.npos ? Bytes{} : archive.subspan(picture);
}

} // namespace

AnimationTarget animationTarget(const std::string& output, std::optional<LONG> format) {
  AnimationTarget target;
  target.file = absoluteFile(Filename(String(output)));
  target.format = format ? *format : formatOf(Filename(String(output)));
  target.file.SetSuffix(suffixOf(target.format));
  return target;
}

Filename frameFile(const AnimationTarget& target, LONG frame) {
  constexpr LONG digits = 4;
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
