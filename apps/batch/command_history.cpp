#include <cstdio>

#include "c4d_bitmap.h"
#include "commands.h"
#include "failures.h"
#include "lm_keys.h"
#include "lm_userarea.h"
#include "messages.h"
#include "program.h"

namespace batch {
namespace {

host::ProgramOptions programOptions(const std::string& home, host::UserInterface& ui) {
  host::ProgramOptions options;
  options.home = Filename(String(home));
  options.ui = &ui;
  options.loadModules = false;
  options.consoleEcho = nullptr; // the messages show it
  options.printFailures = false; // the command tells its own
  return options;
}

void list(lmUserArea& view) {
  for (const lmUserArea::HistoryImage& image : view.ListHistory()) {
    const LocalFileTime& time = image.time;
    std::printf("%04d-%02d-%02d %02d:%02d:%02d %s\n", time.year, time.month, time.day, time.hour, time.minute,
                time.second, image.name.GetString().GetUTF8().c_str());
  }
}

/// As the viewer adds what it shows, at the picture's own size and under its file's name.
void add(lmUserArea& view, const std::string& file) {
  const Filename name{String(file)};
  if (view.image->Init(name) != IMAGERESULT_OK) {
    throw Stop(ExitCode::sceneUnreadable,
               "the picture " + file + " cannot be read; check its name and whether it is whole");
  }
  view.image->CopyTo(view.display);
  view.data.documentName = name.GetFile().GetString();
  host::takeFailures();
  view.AddToHistory();
  const auto failures = host::takeFailures();
  if (!failures.empty()) throw Stop(ExitCode::outputNotWritable, failures.front().sentence);
}

} // namespace

ExitCode runHistory(const HistoryOptions& options) {
  Messages messages(false);
  BatchInterface ui(messages);
  host::Program program(programOptions(options.home, ui));

  lmSettings settings;
  settings.Init(ID_LUMENARA);
  WriteDefaults(settings.GetDataInstance(), LM_DEFAULT_VIEWER);
  settings.Load();
  settings.SetValue(LM_HISTORY_AUTOLOAD, 0); // there is nothing to show the newest in
  lmUserArea view(nullptr, &settings);

  switch (options.action) {
  case HistoryAction::list:
    list(view);
    break;
  case HistoryAction::add:
    add(view, options.file);
    break;
  case HistoryAction::clear:
    view.ClearHistory();
    break;
  case HistoryAction::path:
    std::printf("%s\n", view.historyFolder.GetString().GetUTF8().c_str());
    break;
  }
  return ExitCode::done;
}

} // namespace batch
