#include "picture_decode.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <new>
#include <set>

#include "color_profile.h"
#include "console.h"
#include "picture_codec.h"
#include "picture_formats.h"
#include "picture_load.h"
#include "turn_picture.h"

namespace host {
namespace {

LoadedPicture failure(IMAGERESULT result, const std::string& name, const std::string& clause) {
  return {result, "Picture \"" + name + "\" " + clause, nullptr};
}

LoadedPicture damaged(const std::string& name, std::string detail = {}) {
  std::replace(detail.begin(), detail.end(), '\n', ' ');
  while (!detail.empty() && (detail.back() == '.' || detail.back() == ' '))
    detail.pop_back();
  if (!detail.empty()) detail = " (" + detail + ")";
  return failure(IMAGERESULT_FILESTRUCTURE, name,
                 "is damaged or cut off" + detail + ". Save it again from the program that made it.");
}

/// Names each picture once in the life of the program, up to a thousand.
void printOnce(const std::string& name, const std::string& reason) {
  constexpr std::size_t most = 1000;
  static std::mutex guard;
  static std::set<std::string> printed;
  {
    const std::lock_guard lock(guard);
    if (printed.size() >= most || !printed.insert(name).second) return;
  }
  printLine(String("The colour profile in picture \"" + name + "\" is not used: " + reason +
                   ". Its colours are shown as sRGB; save it with an sRGB profile if they look wrong."));
}

void replaceNotFinite(DecodedPicture& picture) {
  std::vector<float>& values = picture.floats;
  for (std::size_t pixel = 0; pixel + 3 < values.size(); pixel += 4) {
    bool replaced = false;
    for (std::size_t i = pixel; i < pixel + 4; ++i) {
      if (std::isfinite(values[i])) continue;
      values[i] = std::isnan(values[i]) ? 0 : std::copysign(65504.0f, values[i]);
      replaced = true;
    }
    if (replaced) ++picture.notFinite;
  }
}

void convertPrimaries(DecodedPicture& picture, const ColorMatrix& m) {
  std::vector<float>& values = picture.floats;
  for (std::size_t i = 0; i + 3 < values.size(); i += 4)
    changePrimaries(values.data() + i, m);
}

void prepare(RawPicture& raw, PictureUse use, const std::string& name) {
  std::string reason;
  if (use == PictureUse::data)
    mixInks(raw);
  else if (!convertColors(raw, &reason))
    printOnce(name, reason);
  else
    raw.picture.tellsColors = raw.namesPrimaries || !raw.profile.empty();
  if (use != PictureUse::data && raw.toRec709) convertPrimaries(raw.picture, *raw.toRec709);
  if (use == PictureUse::shown) turnUpright(raw.picture, raw.orientation);
  replaceNotFinite(raw.picture);
}

LoadedPicture decode(PictureBytes file, const std::string& name, PictureUse use) {
  const PictureFileFormat* format = recognisePicture(file, name);
  if (!format)
    return failure(IMAGERESULT_WRONGTYPE, name,
                   "is not a picture of a known kind. Use " + namesOfReadFormats() + ".");
  if (format->plausible && !format->plausible(file)) return damaged(name);
  RawPicture raw = format->read(file);
  prepare(raw, use, name);
  return {IMAGERESULT_OK, {}, std::make_shared<DecodedPicture>(std::move(raw.picture))};
}

} // namespace

LoadedPicture loadPictureBytes(PictureBytes file, const std::string& name, PictureUse use) noexcept {
  try {
    try {
      return decode(file, name, use);
    } catch (const DamagedPicture& error) {
      return damaged(name, error.what());
    } catch (const PictureError& error) {
      return failure(error.result, name, error.what());
    } catch (const std::bad_alloc&) {
      throw;
    } catch (const std::exception& error) { // thrown by a library
      return damaged(name, error.what());
    }
  } catch (...) {
    return {IMAGERESULT_OUTOFMEMORY, "Not enough memory for a picture. Use a smaller one.", nullptr, true};
  }
}

std::shared_ptr<const DecodedPicture> decodePicture(PictureBytes file, const std::string& name,
                                                    std::string* error, PictureUse use) {
  LoadedPicture loaded = loadPictureBytes(file, name, use);
  if (error) *error = std::move(loaded.error);
  return std::move(loaded.picture);
}

std::vector<unsigned char> eightBits(const DecodedPicture& picture) {
  if (picture.words.empty()) return picture.bytes;
  std::vector<unsigned char> bytes(picture.words.size());
  std::transform(picture.words.begin(), picture.words.end(), bytes.begin(), roundedTo8);
  return bytes;
}

} // namespace host
