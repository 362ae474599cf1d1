#include "picture_host.h"

#include "exit_code.h"
#include "picture_formats.h"

namespace batch {
namespace {

host::ProgramOptions programOptions(const std::string& home, host::UserInterface& ui) {
  host::ProgramOptions options;
  options.home = Filename(String(home));
  options.ui = &ui;
  options.loadModules = false;
  options.consoleEcho = nullptr; // the messages print it
  options.printFailures = false; // the commands report their own
  return options;
}

} // namespace

std::string whyUnreadable(IMAGERESULT result, const std::string& file) {
  switch (result) {
  case IMAGERESULT_OUTOFMEMORY:
    return "the picture " + file + " is too large; make it smaller first";
  case IMAGERESULT_WRONGTYPE:
    return file + " is not a picture of a known kind; convert it to " + host::namesOfReadFormats();
  case IMAGERESULT_FILESTRUCTURE:
    return "the picture " + file + " is damaged; make it again";
  default:
    return "the picture " + file + " cannot be read; check its name and rights";
  }
}

PictureHost::PictureHost(const std::string& home, bool quiet)
    : messages_(quiet), ui_(messages_), program_(programOptions(home, ui_)) {
}

void loadPicture(BaseBitmap& bitmap, const std::string& file) {
  const IMAGERESULT result = bitmap.Init(Filename(String(file)));
  if (result != IMAGERESULT_OK) throw Stop(ExitCode::sceneUnreadable, whyUnreadable(result, file));
}

} // namespace batch
