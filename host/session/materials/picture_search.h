// A search for picture files by name, below a folder. Any thread.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "c4d_filename.h"

namespace host {

struct SearchBounds {
  int depth = 6;              // folders below the first
  std::size_t files = 50'000; // looked at; the search ends after them
};

struct SearchResult {
  std::map<std::string, Filename> found; // by the wanted name
  bool complete = true;                  // false: a bound ended the search, or `stopped` did
};

/// Files of these names (without folders), in `folder` and below. A file in a higher folder wins, then one
/// with the same letter case. Links to folders are not followed; folders without rights are passed over.
SearchResult searchPictures(const Filename& folder, const std::vector<std::string>& names,
                            const std::function<bool()>& stopped, const SearchBounds& bounds = {});

} // namespace host
