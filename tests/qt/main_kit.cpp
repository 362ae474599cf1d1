#include "main_kit.h"

#include <filesystem>

#include "main.h"

namespace {

std::string path(const Filename& file) {
  return file.GetString().GetUTF8();
}

} // namespace

StudioTest::StudioTest() {
  const Filename plugin = folder.makeFolder("program/plugins/Lumenara");
  std::filesystem::create_directory_symlink(std::filesystem::path(LUMENARA_SOURCE_DIR) / "res",
                                            path(plugin) + "/res");
}

StudioTest::~StudioTest() {
  stopStudio();
}

host::Studio& StudioTest::startStudio() {
  stopStudio();
  host::StudioOptions wanted;
  wanted.home = home();
  wanted.startupPath = folder / "program";
  wanted.loadModules = false;
  wanted.resetLayout = resetLayout;
  wanted.consoleEcho = nullptr;
  if (linkPlugin) {
    host::PluginUnit unit;
    unit.name = "Lumenara";
    unit.folder = folder / "program/plugins/Lumenara";
    unit.message = &PluginMessage;
    unit.start = &PluginStart;
    unit.end = &PluginEnd;
    wanted.linkedPlugins = {unit};
  }
  studio_ = std::make_unique<host::Studio>(std::move(wanted));
  studio_->ui().setNativeFileDialogs(false);
  studio_->start();
  settle();
  return *studio_;
}

void StudioTest::stopStudio() {
  studio_.reset();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void StudioTest::choose(const char* id) {
  QAction* chosen = action(id);
  ASSERT_NE(chosen, nullptr) << id;
  window().commands().refresh();
  ASSERT_TRUE(chosen->isEnabled()) << id;
  chosen->trigger();
  settle();
}

void StudioTest::openScene(const Filename& file) {
  window().openFile(file);
  ASSERT_TRUE(
      waitFor([&] { return session().files().activity().kind == host::FileSession::Activity::Kind::none; }));
  settle();
}

Filename StudioTest::smallScene(const char* name) {
  const Filename to = folder / name;
  std::filesystem::copy_file(std::filesystem::path(LUMENARA_SOURCE_DIR) / "scenes" / "small.gltf", path(to),
                             std::filesystem::copy_options::overwrite_existing);
  return to;
}
