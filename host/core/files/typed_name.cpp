#include "typed_name.h"

#include <utility>

namespace host {

namespace {

TypedNames& installed() {
  static TypedNames meaning;
  return meaning;
}

} // namespace

void setTypedNames(TypedNames meaning) {
  installed() = std::move(meaning);
}

Filename typedName(const Filename& typed) {
  return typed.Content() && installed() ? installed()(typed) : typed;
}

} // namespace host
