#include "picture_search.h"

#include <algorithm>
#include <deque>
#include <set>

#include "file_path.h"

namespace host {

namespace {

namespace fs = std::filesystem;

std::string lowered(std::string text) {
  for (char& c : text)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return text;
}

class Search {
 public:
  Search(const std::vector<std::string>& names, const std::function<bool()>& stopped,
         const SearchBounds& bounds)
      : stopped_(stopped), bounds_(bounds) {
    for (const std::string& name : std::set<std::string>(names.begin(), names.end()))
      wanted_.emplace(lowered(name), name);
  }

  SearchResult run(const fs::path& top) {
    waiting_.push_back({top, 0});
    while (!waiting_.empty() && goesOn()) {
      const Folder folder = std::move(waiting_.front());
      waiting_.pop_front();
      look(folder);
    }
    return std::move(result_);
  }

 private:
  struct Folder {
    fs::path path;
    int depth;
  };

  bool goesOn() {
    if (result_.found.size() == wanted_.size()) return false;
    if (stopped_ && stopped_()) result_.complete = false;
    return result_.complete;
  }

  // Folders are looked through level by level.
  void look(const Folder& folder) {
    std::error_code error;
    std::vector<fs::path> below;
    std::map<std::string, fs::path> exact, similar;
    for (fs::directory_iterator entry(folder.path, fs::directory_options::skip_permission_denied, error), end;
         !error && entry != end; entry.increment(error)) {
      if (looked_ >= bounds_.files) {
        result_.complete = false; // the files that were seen count
        break;
      }
      ++looked_;
      std::error_code unknown;
      const fs::file_status status = entry->symlink_status(unknown);
      const std::string name = entry->path().filename().native();
      if (fs::is_directory(status))
        below.push_back(entry->path());
      else if (entry->is_regular_file(unknown))
        take(name, entry->path(), exact, similar);
    }
    for (const auto* list : {&exact, &similar})
      for (const auto& [name, path] : *list)
        result_.found.emplace(name, toFilename(path));
    if (folder.depth >= bounds_.depth) return;
    std::sort(below.begin(), below.end());
    for (fs::path& path : below)
      waiting_.push_back({std::move(path), folder.depth + 1});
  }

  void take(const std::string& name, const fs::path& path, std::map<std::string, fs::path>& exact,
            std::map<std::string, fs::path>& similar) const {
    const auto [first, last] = wanted_.equal_range(lowered(name));
    for (auto place = first; place != last; ++place)
      (place->second == name ? exact : similar).emplace(place->second, path);
  }

  std::multimap<std::string, std::string> wanted_; // by lower case
  const std::function<bool()>& stopped_;
  SearchBounds bounds_;
  std::deque<Folder> waiting_;
  std::size_t looked_ = 0;
  SearchResult result_;
};

} // namespace

SearchResult searchPictures(const Filename& folder, const std::vector<std::string>& names,
                            const std::function<bool()>& stopped, const SearchBounds& bounds) {
  return Search(names, stopped, bounds).run(toPath(folder));
}

} // namespace host
