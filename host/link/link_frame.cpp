#include "link_frame.h"

#include <algorithm>
#include <cstring>

namespace host {

namespace {

constexpr char magic[] = {'L', 'M', 'L', 'K'};

std::uint64_t littleEndian(const std::byte* bytes, int count) {
  std::uint64_t value = 0;
  for (int i = count; i-- > 0;)
    value = value << 8 | std::to_integer<std::uint64_t>(bytes[i]);
  return value;
}

void putLittleEndian(std::string& to, std::uint64_t value, int count) {
  for (int i = 0; i < count; ++i)
    to += static_cast<char>(value >> (8 * i) & 0xff);
}

// Moves bytes from the front of `from` until `to` has `size` of them.
void fill(std::vector<std::byte>& to, std::uint64_t size, std::span<const std::byte>& from) {
  const std::size_t count = static_cast<std::size_t>(std::min<std::uint64_t>(size - to.size(), from.size()));
  to.insert(to.end(), from.begin(), from.begin() + static_cast<std::ptrdiff_t>(count));
  from = from.subspan(count);
}

} // namespace

void LinkParser::readHead() {
  if (std::memcmp(head_.data(), magic, sizeof magic) != 0)
    throw LinkBroken("The bytes are not a frame of the live link: they do not begin with LMLK.");
  jsonSize_ = littleEndian(head_.data() + 4, 4);
  bodySize_ = littleEndian(head_.data() + 8, 8);
  if (jsonSize_ > limits_.jsonBytes || bodySize_ > limits_.bodyBytes)
    throw LinkBroken("A frame announces " + std::to_string(jsonSize_) + " bytes of JSON and a body of " +
                     std::to_string(bodySize_) + " bytes; at most " + std::to_string(limits_.jsonBytes) +
                     " and " + std::to_string(limits_.bodyBytes) + " are accepted.");
}

void LinkParser::feed(std::span<const std::byte> bytes, const Sink& sink) {
  while (!bytes.empty()) {
    if (head_.size() < linkHeadBytes) {
      fill(head_, linkHeadBytes, bytes);
      if (head_.size() < linkHeadBytes) return;
      readHead();
    }
    fill(json_, jsonSize_, bytes);
    if (json_.size() == jsonSize_) fill(body_, bodySize_, bytes);
    if (json_.size() == jsonSize_ && body_.size() == bodySize_) sink(take());
  }
}

LinkFrame LinkParser::take() {
  LinkFrame frame;
  try {
    frame.json = parseJson({reinterpret_cast<const char*>(json_.data()), json_.size()});
  } catch (const SceneError& error) {
    throw LinkBroken(std::string("The JSON of a frame cannot be read: ") + error.what());
  }
  if (!frame.json.is_object() || textIn(frame.json, "type").empty())
    throw LinkBroken("The JSON of a frame is not an object with a type.");
  frame.body = std::move(body_);
  head_.clear();
  json_.clear();
  body_ = {};
  return frame;
}

std::string packFrame(const Json& json, std::span<const std::byte> body) {
  const std::string text = json.dump(-1, ' ', false, Json::error_handler_t::replace);
  std::string frame(magic, sizeof magic);
  putLittleEndian(frame, text.size(), 4);
  putLittleEndian(frame, body.size(), 8);
  frame += text;
  frame.append(reinterpret_cast<const char*>(body.data()), body.size());
  return frame;
}

} // namespace host
