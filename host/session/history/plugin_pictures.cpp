#include "plugin_pictures.h"

#include <algorithm>
#include <filesystem>

#include "file_path.h"
#include "platform.h"
#include "program.h"
#include "thumbnails.h"

namespace host {

namespace {

namespace fs = std::filesystem;

// Without thumbnails: those of pictures that did not change are known.
std::vector<PluginPictures::Picture> list(const Filename& folder) {
  std::vector<PluginPictures::Picture> found;
  std::error_code problem;
  for (fs::directory_iterator file(toPath(folder), problem); !problem && file != fs::directory_iterator();
       file.increment(problem)) {
    PluginPictures::Picture picture;
    picture.file = toFilename(file->path());
    platform::FileTimes times;
    std::error_code unknown;
    if (!picture.file.CheckSuffix("tif") || !file->is_regular_file(unknown) ||
        !platform::fileTimes(file->path().string(), times))
      continue;
    picture.source = {file->path().filename().string(), times.modified, times.size};
    found.push_back(std::move(picture));
  }
  std::sort(found.begin(), found.end(), [](const auto& a, const auto& b) {
    return std::tie(a.source.modified, a.source.file) < std::tie(b.source.modified, b.source.file);
  });
  return found;
}

void read(PluginPictures::Picture& picture) {
  AutoAlloc<BaseBitmap> bitmap;
  if (!bitmap || bitmap->Init(picture.file) != IMAGERESULT_OK) return;
  picture.width = bitmap->GetBw();
  picture.height = bitmap->GetBh();
  picture.thumbnail = thumbnailOf(*bitmap);
  picture.samples = samplesOf(*bitmap);
}

} // namespace

Filename PluginPictures::usualFolder() {
  const Program* program = Program::current();
  return program ? program->writePath() + Filename("plugins") + Filename("Lumenara") + Filename("history")
                 : Filename();
}

PluginPictures::PluginPictures(RenderHistory& history, const Filename& folder)
    : history_(history), folder_(folder) {
  refresh();
}

PluginPictures::~PluginPictures() {
  finish();
}

void PluginPictures::refresh() {
  if (!folder_.Content()) return;
  if (jobs_.isBusy()) {
    again_ = true;
    return;
  }
  const auto found = std::make_shared<std::vector<Picture>>();
  jobs_.push(
      [folder = folder_, known = pictures_, found] {
        *found = list(folder);
        for (Picture& picture : *found) {
          const auto same = std::find_if(known.begin(), known.end(), [&](const Picture& other) {
            return other.source == picture.source;
          });
          if (same != known.end())
            picture = *same;
          else
            read(picture);
        }
      },
      [this, found] { looked(std::move(*found)); });
}

void PluginPictures::looked(std::vector<Picture> found) {
  const bool different = !std::equal(found.begin(), found.end(), pictures_.begin(), pictures_.end(),
                                     [](const Picture& a, const Picture& b) { return a.source == b.source; });
  pictures_ = std::move(found);
  std::vector<SourceFile> present;
  for (const Picture& picture : pictures_)
    present.push_back(picture.source);
  history_.keepOnlyCopiesOf(present);
  if (different) changed.call();
  if (std::exchange(again_, false)) refresh();
}

std::vector<PluginPictures::Picture> PluginPictures::pictures() const {
  std::vector<Picture> others;
  for (const Picture& picture : pictures_)
    if (std::none_of(history_.items().begin(), history_.items().end(),
                     [&](const RenderHistory::Item& item) { return item.entry->source == picture.source; }))
      others.push_back(picture);
  return others;
}

RenderHistory::Id PluginPictures::renderOf(const Picture& picture) const {
  return history_.renderShownAs(picture.samples, picture.width, picture.height, picture.source.modified);
}

void PluginPictures::finish() {
  jobs_.finish();
}

} // namespace host
