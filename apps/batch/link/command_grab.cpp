#include <cstdio>
#include <span>

#include "atomic_file.h"
#include "commands.h"
#include "output_file.h"
#include "picture_file.h"
#include "running_studio.h"

namespace batch {
namespace {

// Checks what the other side announces.
std::span<const std::byte> fileIn(const host::LinkFrame& answer) {
  const host::Json& block = host::member(host::member(answer.json, "blocks"), "file");
  const double offset = host::numberIn(block, "offset"), count = host::numberIn(block, "count");
  if (!(offset >= 0 && count > 0 && offset + count <= static_cast<double>(answer.body.size())))
    throw Stop(ExitCode::renderFailed, "the answer of Lumenara Studio holds no picture; update it");
  return std::span(answer.body).subspan(static_cast<std::size_t>(offset), static_cast<std::size_t>(count));
}

} // namespace

ExitCode runGrab(const GrabOptions& options) {
  const Filename file{String(options.image)};
  refuseStandardOutput(options.image);
  checkPictureFile(options.image);
  requireWritable(file, "the picture");
  RunningStudio studio(options.studio);
  const host::LinkFrame answer =
      studio.ask({{"type", "grab"}, {"format", file.GetSuffix().ToLower().GetUTF8()}});
  std::string error;
  if (!host::replaceFile(file, fileIn(answer), &error))
    throw Stop(ExitCode::outputNotWritable,
               "the picture " + options.image + " cannot be written: " + error + "; choose another place");
  if (!options.studio.quiet)
    std::fprintf(stderr, "lumenara: %s has %.0f x %.0f pixels%s\n", options.image.c_str(),
                 host::numberIn(answer.json, "width"), host::numberIn(answer.json, "height"),
                 host::member(answer.json, "running") == true ? "; the render goes on" : "");
  return ExitCode::done;
}

} // namespace batch
