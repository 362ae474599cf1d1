#include "sky_picture_file.h"

#include "file_path.h"

namespace host {

bool isSkyPicture(const Filename& file) {
  return file.CheckSuffix("hdr") || file.CheckSuffix("exr");
}

PicturePtr readSkyPicture(const BaseDocument& document, const Filename& file, FileError& error) {
  const bool counted = toPath(file).is_relative() && document.GetDocumentPath().Content();
  const Filename place = counted ? document.GetDocumentPath() + file : file;
  PicturePtr picture = readPictureFile(place);
  if (picture->bytes && !picture->mimeType.empty()) return picture;
  error.sentence = "The picture for the sky could not be loaded.";
  error.reason =
      "\"" + place.GetString().GetUTF8() +
      (picture->bytes ? "\" holds no picture that can be read." : "\" is not there or cannot be read.");
  error.advice = "Choose a picture of the whole surroundings, such as an .hdr or .exr file.";
  return nullptr;
}

} // namespace host
