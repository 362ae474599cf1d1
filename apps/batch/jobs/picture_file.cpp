#include "picture_file.h"

#include "exit_code.h"
#include "failures.h"
#include "film.h"
#include "format_list.h"
#include "output_file.h"
#include "picture_formats.h"
#include "picture_origin.h"
#include "picture_save.h"
#include "platform.h"
#include "viewed_bitmap.h"

namespace batch {
namespace {

const host::PictureFileFormat& formatOf(const std::string& file) {
  const std::string suffix = file == "-" ? "png" : Filename(String(file)).GetSuffix().GetUTF8();
  if (const host::PictureFileFormat* format = host::formatOfSuffix(suffix)) return *format;
  throw Stop(ExitCode::wrongUse,
             file + (suffix.empty() ? " has no suffix" : " has the unknown suffix " + suffix) +
                 "; pictures are written as " + suffixList(FormatUse::write));
}

} // namespace

void checkPictureFile(const std::string& file, const PictureOptions& options) {
  const host::PictureFileFormat& format = formatOf(file);
  const char* floats = options.layers        ? "--layers"
                       : options.half        ? "--half"
                       : options.compression ? "--compression"
                       : options.resumable   ? "--resumable"
                                             : nullptr;
  if (floats && format.filter != FILTER_EXR)
    throw Stop(ExitCode::wrongUse, std::string(floats) + " has no effect on " + file + ": " + format.name +
                                       " pictures hold no layers of floats; leave it out, or write an exr");
  if (options.alpha && !format.alpha)
    throw Stop(ExitCode::wrongUse, "--alpha has no effect on " + file + ": " + format.name +
                                       " pictures have no alpha channel; leave it out, or write a png");
  if (options.bits == 16 && !host::holdsDeep(format.filter))
    throw Stop(ExitCode::wrongUse, "--bits 16 has no effect on " + file +
                                       (format.filter == FILTER_EXR
                                            ? ", which holds floats; leave it out"
                                            : ", which has 8 bits a channel; leave it out, or write a png"));
  if (!options.quality || format.option == host::WriterOption::quality) return;
  throw Stop(ExitCode::wrongUse, "--quality has no effect on " + file + ": " + format.name +
                                     " pictures have no quality; leave it out, or write a jpg or webp");
}

bool holdsLight(const std::string& file) {
  return formatOf(file).filter == FILTER_EXR;
}

namespace {

/// With `deep` the file has 16 bits a channel, of light that this changes.
void save(const BaseBitmap& bitmap, const std::string& file, const PictureOptions& options,
          const host::DeskLook* deep) {
  const host::PictureFileFormat& format = formatOf(file);
  BaseContainer settings;
  settings.SetLong(JPGSAVER_QUALITY, options.quality.value_or(defaultJpegQuality));
  if (options.quality) settings.SetLong(host::webpSaverQuality, *options.quality);
  settings.SetBool(host::exrSaverHalf, options.half ? TRUE : FALSE);
  settings.SetBool(host::exrSaverSamples, options.resumable ? TRUE : FALSE);
  if (options.compression) settings.SetLong(host::exrSaverCompression, *options.compression);
  host::putOrigin(settings, options.rendered ? *options.rendered : bitmap);
  host::takeFailures(); // earlier failures are not this file's
  const std::optional<host::platform::PrivateFolder> beside =
      isStandardOutput(file) ? std::make_optional<host::platform::PrivateFolder>() : std::nullopt;
  const Filename target = beside ? beside->folder() + Filename("picture") : Filename(String(file));
  const SAVEBIT bits = options.alpha ? SAVEBIT_ALPHA : SAVEBIT_0;
  if (host::savePicture(bitmap, target, format.filter, &settings, bits, deep) == IMAGERESULT_OK)
    return beside ? copyToStandardOutput(target) : void();
  const auto failures = host::takeFailures();
  throw Stop(ExitCode::outputNotWritable,
             failures.empty() ? "the picture " + file + " was not written; choose another place"
                              : failures.front().sentence);
}

} // namespace

void savePicture(const BaseBitmap& bitmap, const std::string& file, const PictureOptions& options) {
  const host::DeskLook plain;
  save(bitmap, file, options, options.bits == 16 ? &plain : nullptr);
}

void savePicture(const BaseBitmap& bitmap, const host::LensSettings& lens, const std::string& file,
                 PictureOptions options) {
  if (options.bits == 16) {
    const host::DeskLook look{{}, lens};
    return save(bitmap, file, options, &look);
  }
  const std::shared_ptr<const host::Film> film = host::filmOf(bitmap);
  if (!lens.any() || !film || holdsLight(file)) return savePicture(bitmap, file, options);
  AutoAlloc<BaseBitmap> shown;
  if (!shown || !host::viewedCopy(bitmap, *film->view(), options.alpha, *shown, {{}, lens}))
    throw Stop(ExitCode::renderFailed, "there is not enough memory for the lens; choose a smaller --size");
  options.rendered = &bitmap;
  savePicture(*shown, file, options);
}

} // namespace batch
