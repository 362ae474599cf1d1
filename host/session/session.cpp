#include "session.h"

#include <utility>

#include "program.h"
#include "program_folder.h"
#include "typed_name.h"

namespace host {

namespace {

Session*& running() {
  static Session* session = nullptr;
  return session;
}

// Beside the preferences; none in a home that ends with the program.
Filename keptFolder(const char* name) {
  const Program* program = Program::current();
  return program && program->homeIsKept() ? program->writePath() + Filename(name) : Filename();
}

void endWithProgram() {
  static const bool once = [] {
    addShutdownStep(ShutdownStage::freeDocuments, [] {
      if (Session* session = running()) session->shutDown();
    });
    return true;
  }();
  (void)once;
}

} // namespace

Session::Session()
    : edits_(hub_), files_(hub_, edits_), autosave_(hub_, edits_, files_, keptFolder("autosave")),
      playback_(hub_), renders_(hub_), previews_(hub_),
      materialLibrary_(previews_, programFolder() + Filename("library") + Filename("materials.gltf"),
                       keptFolder("materials")),
      skyMaker_(edits_), history_(hub_, edits_, keptFolder("renders")),
      pluginPictures_(history_, PluginPictures::usualFolder()) {
  renderChanged_ = renders_.changed.add([this] {
    const RenderState& state = renders_.state();
    if (state.running && state.kind == RenderKind::picture) pictures_.follow(state.bitmap, files_.title());
  });
  renderFinished_ = renders_.finished.add([this] { pictures_.finished(renders_.state().bitmap); });
  // Pictures of another scene stay in the list, but none is shown.
  replaced_ = hub_.replaced.add([this](Replacement why) {
    if (why != Replacement::reloaded) pictures_.choose(0);
  });
  endWithProgram();
  setTypedNames([this](const Filename& typed) { return files_.outputFile(typed); });
  running() = this;
}

Session::~Session() {
  shutDown();
  setTypedNames({});
  if (running() == this) running() = nullptr;
}

Session* Session::current() noexcept {
  return running();
}

bool Session::runCommand(LONG id) {
  PluginRegistry* registry = pluginRegistry();
  const CommandEntry* command = registry ? registry->findCommand(id) : nullptr;
  if (!command || down_) return false;
  edits_.notice("Change by Plug-in");
  const String name = command->name;
  const bool done = registry->execute(id, document());
  edits_.notice(name);
  return done;
}

void Session::shutDown() {
  if (std::exchange(down_, true)) return;
  playback_.stop();
  previews_.setEnabled(false);
  renders_.cancel();
  files_.cancelLoading();
  files_.finish();
  autosave_.close();
  pictureSaver_.finish();
  pluginPictures_.finish();
  history_.close();
  pictureOpener_.finish();
  pictureLocator_.cancel();
  textureThumbnails_.cancel();
  pictures_.clear();
  hub_.close();
  edits_.forgetAll();
}

} // namespace host
