// Small plug-ins for the loader's tests. MODULE_KIND chooses the behaviour.
#include "c4d.h"

#define KIND_GOOD 1
#define KIND_OTHER 2
#define KIND_DECLINES 3
#define KIND_FAILS_TO_START 4
#define KIND_THROWS 5
#define KIND_UNRESOLVED 6

namespace {

[[maybe_unused]] void say(const char* what) {
  GePrint(String("module ") + LongToString(MODULE_KIND) + " " + what + " in " +
          GeGetPluginPath().GetFileString());
}

class TellingCommand : public CommandData {
 public:
  ~TellingCommand() override { say("destroyed"); }
  Bool Execute(BaseDocument* /*document*/) override {
    say("executed");
    return TRUE;
  }
};

[[maybe_unused]] void registerCommand() {
  RegisterCommandPlugin(1000100 + MODULE_KIND, "Telling", 0, nullptr, "help", new TellingCommand);
}

} // namespace

#if MODULE_KIND == KIND_UNRESOLVED
extern "C" void nobodyDefinesThis();
#endif

Bool PluginMessage(LONG id, void* /*data*/) {
  if (id != C4DPL_INIT_SYS) return FALSE;
  say("initialised");
#if MODULE_KIND == KIND_DECLINES
  return FALSE;
#else
  return TRUE;
#endif
}

Bool PluginStart() {
  say("started");
#if MODULE_KIND == KIND_THROWS
  throw 1;
#elif MODULE_KIND == KIND_UNRESOLVED
  nobodyDefinesThis();
#endif
  registerCommand();
  return MODULE_KIND == KIND_FAILS_TO_START ? FALSE : TRUE;
}

void PluginEnd() {
  say("ended");
}
