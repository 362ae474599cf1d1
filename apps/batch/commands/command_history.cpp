#include <cstdio>
#include <nlohmann/json.hpp>

#include "atomic_file.h"
#include "commands.h"
#include "failures.h"
#include "lm_keys.h"
#include "lm_userarea.h"
#include "picture_host.h"

namespace batch {
namespace {

/// One line per picture: date, time, name. As JSON an array of objects.
void list(lmUserArea& view, bool asJson) {
  using Json = nlohmann::ordered_json;
  Json json = Json::array();
  for (const lmUserArea::HistoryImage& image : view.ListHistory()) {
    const LocalFileTime& at = image.time;
    const std::string name = image.name.GetString().GetUTF8();
    char time[64];
    std::snprintf(time, sizeof time, "%04d-%02d-%02d %02d:%02d:%02d", at.year, at.month, at.day, at.hour,
                  at.minute, at.second);
    if (asJson)
      json.push_back({{"time", time}, {"name", name}});
    else
      std::printf("%s %s\n", time, name.c_str());
  }
  if (asJson) std::printf("%s\n", json.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
}

/// Adds the picture as the viewer does, at its own size and under its file's name.
void add(lmUserArea& view, const std::string& file) {
  loadPicture(*view.image, file);
  if (!view.image->CopyTo(view.display))
    throw Stop(ExitCode::renderFailed,
               "there is not enough memory to add " + file + "; make it smaller first");
  view.composed = 1;
  view.data.documentName = Filename(String(file)).GetFile().GetString();
  host::takeFailures();
  view.AddToHistory();
  const auto failures = host::takeFailures();
  if (!failures.empty()) throw Stop(ExitCode::outputNotWritable, failures.front().sentence);
}

void clear(lmUserArea& view) {
  view.ClearHistory();
  const LONG left = view.GetHistoryCount();
  if (left == 0) return;
  throw Stop(ExitCode::outputNotWritable, std::to_string(left) + " pictures in " +
                                              view.historyFolder.GetString().GetUTF8() +
                                              " were not deleted; check your rights to the folder");
}

} // namespace

ExitCode runHistory(const HistoryOptions& options) {
  const PictureHost host(options.home, false);

  lmSettings settings;
  settings.Init(ID_LUMENARA);
  WriteDefaults(settings.GetDataInstance(), LM_DEFAULT_VIEWER);
  settings.Load();
  settings.SetValue(LM_HISTORY_AUTOLOAD, 0); // no view shows the newest
  lmUserArea view(nullptr, &settings);
  host::removeLeftovers(view.historyFolder);

  switch (options.action) {
  case HistoryAction::list:
    list(view, options.json);
    break;
  case HistoryAction::add:
    add(view, options.file);
    break;
  case HistoryAction::clear:
    clear(view);
    break;
  case HistoryAction::path:
    std::printf("%s\n", view.historyFolder.GetString().GetUTF8().c_str());
    break;
  }
  return ExitCode::done;
}

} // namespace batch
