// Files and folders: existence, creation, moves, copies, opening with other programs, and the program's
// paths.
#include <fstream>
#include <system_error>
#include <vector>

#include "atomic_file.h"
#include "c4d_events.h"
#include "c4d_file.h"
#include "c4d_plugin.h"
#include "file_path.h"
#include "main_loop.h"
#include "platform.h"
#include "plugin_registry.h"
#include "program.h"
#include "thread_context.h"
#include "user_interface.h"

namespace fs = std::filesystem;
using host::toPath;

Bool GeFExist(const Filename& name, Bool isDirectory) {
  std::error_code error;
  const fs::file_status status = fs::status(toPath(name), error);
  return fs::exists(status) && fs::is_directory(status) == (isDirectory != FALSE);
}

Bool GeFCreateDir(const Filename& name) {
  std::error_code error;
  fs::create_directory(toPath(name), error);
  return GeFExist(name, TRUE);
}

Bool GeFCreateDirRec(const Filename& name) {
  std::error_code error;
  fs::create_directories(toPath(name), error);
  return GeFExist(name, TRUE);
}

Bool GeFKill(const Filename& name) {
  std::error_code error;
  return fs::remove(toPath(name), error) && !error;
}

Bool GeFCopyFile(const Filename& source, const Filename& target, Bool overwrite) {
  std::error_code error;
  if (!overwrite && fs::exists(fs::symlink_status(toPath(target), error))) return FALSE;
  if (!GeFExist(source)) return FALSE;
  std::ifstream in(toPath(source), std::ios::binary);
  host::AtomicFile out(target);
  if (!in || !out.open()) return FALSE;
  std::vector<char> block(1 << 20);
  while (in) {
    in.read(block.data(), static_cast<std::streamsize>(block.size()));
    if (in.gcount() > 0 && !out.write(block.data(), static_cast<std::size_t>(in.gcount()))) return FALSE;
  }
  if (in.bad()) return FALSE;
  const bool copied = out.commit();
  if (copied) fs::permissions(toPath(target), fs::status(toPath(source), error).permissions(), error);
  return copied;
}

namespace {

// Across file systems: copies the whole file beside the target first, then renames it.
bool moveByCopy(const Filename& source, const Filename& target) {
  std::error_code error;
  if (GeFExist(source)) return GeFCopyFile(source, target, TRUE) && GeFKill(source);
  const fs::path beside = toPath(target).concat(".moving");
  fs::copy(toPath(source), beside, fs::copy_options::recursive | fs::copy_options::copy_symlinks, error);
  if (!error) fs::rename(beside, toPath(target), error);
  std::error_code ignored;
  if (error)
    fs::remove_all(beside, ignored);
  else
    fs::remove_all(toPath(source), ignored);
  return !error && !ignored;
}

} // namespace

Bool GeFMove(const Filename& source, const Filename& target) {
  std::error_code error;
  fs::rename(toPath(source), toPath(target), error);
  if (error == std::errc::cross_device_link) return moveByCopy(source, target);
  return !error;
}

Bool GeExecuteFile(const Filename& file) {
  if (!host::hasUserInterface()) {
    GePrint("Cannot open \"" + file.GetString() + "\": this program opens no files. Open it yourself.");
    return FALSE;
  }
  if (host::onMainThread()) return host::userInterface().openFile(file);
  host::mainLoop().post([file] { host::userInterface().openFile(file); });
  return TRUE;
}

Bool GeOpenHTML(const String& address) {
  if (!host::hasUserInterface()) {
    GePrint("Cannot open " + address + ": this program opens no browser. Open it yourself.");
    return FALSE;
  }
  if (host::onMainThread()) return host::userInterface().openAddress(address);
  host::mainLoop().post([address] { host::userInterface().openAddress(address); });
  return TRUE;
}

Filename GeGetStartupPath() {
  const host::Program* program = host::Program::current();
  return program ? program->startupPath() : Filename();
}

Filename GeGetStartupWritePath() {
  const host::Program* program = host::Program::current();
  return program ? program->writePath() : Filename();
}

Filename GeGetPluginPath() {
  const host::PluginUnit* plugin = host::threadContext().plugin;
  return plugin ? plugin->folder : Filename();
}
