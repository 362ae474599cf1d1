// The pairs of pictures that `compare --metric` measures.
#pragma once

#include <string>
#include <vector>

#include "exit_code.h"

namespace batch {

/// A picture and its counterpart.
struct PicturePair {
  std::string name; // the file's name without its folder
  std::string a, b;
};

/// A picture or a pair that cannot be measured.
struct PairProblem {
  ExitCode code = ExitCode::done;
  std::string name, sentence;
};

struct PairList {
  std::vector<PicturePair> pairs;
  std::vector<PairProblem> problems;
};

/// Two files are one pair, whatever their names. In two folders the pictures of equal names are pairs, in the
/// order of their names; a picture without a partner is a problem. Sub-folders, hidden files and files that
/// do not have the suffix of a picture do not count. Throws `Stop` when one is a file and the other a folder
/// (wrong use), when a folder cannot be read (unreadable), and when there are no pictures (no partner).
PairList findPairs(const std::string& a, const std::string& b);

} // namespace batch
