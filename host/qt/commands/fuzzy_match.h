// How well a few typed letters fit a text. Any thread.
#pragma once

#include <QString>

namespace host {

/// -1 unless every word of `typed` stands in `text` in order, letter by letter, in any case; else more for
/// letters at the begin of words and for letters that follow each other, less for gaps. Nothing typed: 0.
int fuzzyScore(const QString& typed, const QString& text);

} // namespace host
