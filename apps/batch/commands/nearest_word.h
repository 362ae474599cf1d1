// The word that a mistyped one probably means.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace batch {

/// The word with the fewest insertions, deletions, replacements and swaps of neighbours (the optimal string
/// alignment distance), at most one for each three letters; of equals the first. Else the only word that
/// begins so. Empty: none is near.
std::string nearestWord(const std::string& typed, const std::vector<std::string>& words);

/// "; did you mean WORD?", or nothing for an empty word.
std::string didYouMean(const std::string& word);

/// A sentence about the first command or option among the arguments that does not exist; empty when all do.
std::string mistyped(const CLI::App& app, const std::vector<std::string>& arguments);

} // namespace batch
