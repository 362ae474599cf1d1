// Names made unique by a number.
#pragma once

#include "c4d_string.h"

namespace host {

/// The name, or the name with the first number from 2 on that is not taken: "Light", "Light 2". A number at
/// its end is counted up.
template <class Taken>
String uniqueName(const String& wanted, const Taken& taken) {
  if (!taken(wanted)) return wanted;
  std::string stem = wanted.GetUTF8();
  const std::size_t space = stem.find_last_of(' ');
  if (space != std::string::npos && space > 0 && space + 1 < stem.size() &&
      stem.find_first_not_of("0123456789", space + 1) == std::string::npos)
    stem.resize(space);
  for (int number = 2;; ++number) {
    const String name(std::string_view(stem + " " + std::to_string(number)));
    if (!taken(name)) return name;
  }
}

} // namespace host
