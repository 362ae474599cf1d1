#include "link_blocks.h"

namespace host {

bool LinkBlocks::isFormat(const char* name, const char* format) const {
  return has(name) && textIn(member(list_, name), "format") == format;
}

std::span<const std::byte> LinkBlocks::find(const char* name, const std::string& format,
                                            std::size_t size) const {
  if (!has(name)) return {};
  const Json& block = member(list_, name);
  const auto fail = [&](const std::string& why) {
    throw LinkError("The block \"" + std::string(name) + "\" " + why + ".");
  };
  if (textIn(block, "format") != format)
    fail("has the format \"" + textIn(block, "format") + "\"; " + format + " is needed");
  const Json &offset = member(block, "offset"), &count = member(block, "count");
  if (!offset.is_number_unsigned() || !count.is_number_unsigned())
    fail("has an offset or a count that is not a whole number from 0");
  const auto first = offset.get<std::uint64_t>(), elements = count.get<std::uint64_t>();
  if (first % 8 != 0) fail("does not start at a multiple of 8");
  const std::uint64_t length = frame_.body.size();
  if (first > length || elements > (length - first) / size)
    fail("leaves the message's body of " + std::to_string(length) + " bytes");
  return std::span(frame_.body)
      .subspan(static_cast<std::size_t>(first), static_cast<std::size_t>(elements) * size);
}

void LinkBlocks::failNotFinite(const char* name) {
  throw LinkError("The block \"" + std::string(name) + "\" holds a number that is not finite.");
}

} // namespace host
