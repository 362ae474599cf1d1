#include "output_file.h"

#include <cstdio>

#include "atomic_file.h"
#include "c4d_file.h"
#include "exit_code.h"
#include "platform.h"
#include "read_file.h"

namespace batch {
namespace {

[[noreturn]] void notWritable(const Filename& file, const std::string& what, const std::string& why) {
  throw Stop(ExitCode::outputNotWritable,
             what + " " + file.GetString().GetUTF8() + " cannot be written: " + why);
}

} // namespace

bool isStandardOutput(const std::string& picture) {
  return picture == "-" || picture.starts_with("-.");
}

void refuseStandardOutput(const std::string& picture) {
  if (isStandardOutput(picture))
    throw Stop(ExitCode::wrongUse,
               "this command writes a file, not standard output; name one in place of " + picture);
}

void requirePictureTarget(const std::string& picture) {
  if (!isStandardOutput(picture)) return requireWritable(Filename(String(picture)), "the picture");
  if (host::platform::isTerminal(stdout))
    throw Stop(ExitCode::wrongUse,
               "a picture is nothing for a terminal; send standard output to a file or program");
}

void copyToStandardOutput(const Filename& file) {
  const host::FileContent content = host::readFile(file);
  const bool written =
      content.fault == host::ReadFault::none &&
      std::fwrite(content.bytes.data(), 1, content.bytes.size(), stdout) == content.bytes.size() &&
      std::fflush(stdout) == 0;
  if (!written)
    throw Stop(ExitCode::outputNotWritable,
               "the picture was not written to standard output: its reader has ended or the disk is full");
}

void requireWritable(const Filename& file, const std::string& what) {
  if (GeFExist(file, TRUE)) notWritable(file, what, "it is a folder; name a file");
  const Filename folder = file.GetDirectory();
  if (folder.Content() && !GeFExist(folder, TRUE)) {
    notWritable(file, what, "the folder " + folder.GetString().GetUTF8() + " does not exist; make it first");
  }
  host::AtomicFile attempt(file);
  if (!attempt.open()) notWritable(file, what, attempt.error() + "; choose another place");
}

void writeText(const Filename& file, const std::string& text, const std::string& what) {
  std::string error;
  if (!host::replaceFile(file, text, &error))
    notWritable(file, what, error + "; free the way or choose another place");
}

} // namespace batch
