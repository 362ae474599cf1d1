#include "picture_save.h"

#include <new>
#include <span>
#include <string>

#include "atomic_file.h"
#include "failures.h"
#include "picture_codec.h"
#include "picture_formats.h"

namespace {

struct Outcome {
  IMAGERESULT result = IMAGERESULT_OK;
  std::string clause; // the fault and its remedy, to follow the file's name
};

Outcome save(const BaseBitmap& bitmap, const Filename& name, LONG format, const BaseContainer* options,
             SAVEBIT bits, const host::DeskLook* deep) {
  if (!name.Content()) return {IMAGERESULT_PARAM_ERROR, "has no name. Choose a file name."};
  const host::PictureFileFormat* writer = host::formatOfFilter(format);
  if (!writer)
    return {IMAGERESULT_WRONGTYPE, "was not saved: there is no writer for image format " +
                                       std::to_string(format) + ". Choose " + host::namesOfWrittenFormats() +
                                       "."};
  if (bitmap.GetBw() < 1)
    return {IMAGERESULT_PARAM_ERROR, "was not saved: the picture is empty. Render it first."};
  const bool alpha = (bits & SAVEBIT_ALPHA) != 0 && bitmap.GetBt() == 32;
  const host::FileBytes bytes = writer->write({bitmap, alpha, options, deep});
  std::string reason;
  if (!host::replaceFile(name, std::as_bytes(std::span(bytes)), &reason))
    return {IMAGERESULT_FILEERROR,
            "was not written: " + reason + ". Check the folder, your rights to it and the free space."};
  return {};
}

Outcome saveGuarded(const BaseBitmap& bitmap, const Filename& name, LONG format, const BaseContainer* options,
                    SAVEBIT bits, const host::DeskLook* deep) {
  try {
    return save(bitmap, name, format, options, bits, deep);
  } catch (const host::FilterError& error) {
    return {IMAGERESULT_MISC_ERROR, error.what() + std::string(". Try another format.")};
  } catch (const std::bad_alloc&) {
    return {IMAGERESULT_OUTOFMEMORY, "was not saved: not enough memory. Use a smaller picture."};
  } catch (const std::exception& error) { // thrown by a library
    return {IMAGERESULT_MISC_ERROR,
            "could not be encoded (" + std::string(error.what()) + "). Try another format."};
  }
}

} // namespace

namespace host {

IMAGERESULT savePicture(const BaseBitmap& bitmap, const Filename& name, LONG format,
                        const BaseContainer* options, SAVEBIT bits, const DeskLook* deep) noexcept {
  try {
    const Outcome outcome = saveGuarded(bitmap, name, format, options, bits, deep);
    if (outcome.result != IMAGERESULT_OK)
      recordFailure(name, "Picture \"" + name.GetString().GetUTF8() + "\" " + outcome.clause);
    return outcome.result;
  } catch (const std::bad_alloc&) { // not enough memory for the sentence
    return IMAGERESULT_OUTOFMEMORY;
  }
}

} // namespace host
