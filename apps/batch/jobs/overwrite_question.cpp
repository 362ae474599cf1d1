#include "overwrite_question.h"

namespace batch {

bool OverwriteQuestion::question(const String& text) {
  const std::string sentence = text.GetUTF8();
  if (sentence.find("'" + file_ + "'") == std::string::npos) return BatchInterface::question(text);
  if (overwrite_ || messages_.confirm(sentence)) return true;
  declined_ = true;
  return false;
}

} // namespace batch
