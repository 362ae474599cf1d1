#include "output_file.h"

#include "atomic_file.h"
#include "c4d_file.h"
#include "exit_code.h"

namespace batch {
namespace {

[[noreturn]] void notWritable(const Filename& file, const std::string& what, const std::string& why) {
  throw Stop(ExitCode::outputNotWritable,
             what + " " + file.GetString().GetUTF8() + " cannot be written: " + why);
}

} // namespace

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
