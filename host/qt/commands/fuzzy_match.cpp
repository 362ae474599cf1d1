#include "fuzzy_match.h"

#include <algorithm>

namespace host {

namespace {

constexpr qsizetype longest = 128; // letters that are looked at
constexpr int letter = 4, atStart = 12, afterLast = 8;
constexpr int none = -1'000'000;

bool startsWord(const QString& text, qsizetype at) {
  return at == 0 || !text[at - 1].isLetterOrNumber();
}

// The best sum over all places of the word's letters; best[j] ends with its last letter at text[j].
int wordScore(const QString& word, const QString& text) {
  std::vector<int> before, best(static_cast<std::size_t>(text.size()), none);
  for (qsizetype i = 0; i < word.size(); ++i) {
    before.swap(best);
    best.assign(static_cast<std::size_t>(text.size()), none);
    int reached = none; // the best end before the place, less one for each letter between
    for (qsizetype j = 0; j < text.size(); ++j) {
      const auto at = static_cast<std::size_t>(j);
      if (i > 0 && j > 0) reached = std::max(reached - 1, before[at - 1]);
      if (word[i] != text[j]) continue;
      const int here = letter + (startsWord(text, j) ? atStart : 0);
      if (i == 0) {
        best[at] = here;
      } else if (reached > none / 2) {
        const int next = before[at - 1] > none / 2 ? before[at - 1] + afterLast : none;
        best[at] = here + std::max(reached, next);
      }
    }
  }
  const int most = best.empty() ? none : *std::max_element(best.begin(), best.end());
  return most > none / 2 ? std::max(0, most) : -1;
}

} // namespace

int fuzzyScore(const QString& typed, const QString& text) {
  const QString in = text.left(longest).toLower();
  int sum = 0;
  for (const QString& word : typed.left(longest).toLower().split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
    const int score = wordScore(word, in);
    if (score < 0) return -1;
    sum += score;
  }
  return sum;
}

} // namespace host
