// Messages of the live link for tests.
#pragma once

#include <cstring>

#include "link_frame.h"

namespace linkkit {

/// A message with blocks.
class Message {
 public:
  explicit Message(host::Json json) { frame_.json = std::move(json); }

  template <class T>
  Message& block(const char* name, const char* format, const std::vector<T>& values) {
    frame_.body.resize((frame_.body.size() + 7) / 8 * 8);
    const std::size_t offset = frame_.body.size(), size = values.size() * sizeof(T);
    frame_.body.resize(offset + size);
    if (size > 0) std::memcpy(frame_.body.data() + offset, values.data(), size);
    frame_.json["blocks"][name] = {{"offset", offset}, {"count", values.size()}, {"format", format}};
    return *this;
  }
  host::LinkFrame& frame() { return frame_; }
  operator const host::LinkFrame&() const { return frame_; }
  std::string packed() const { return host::packFrame(frame_.json, frame_.body); }

 private:
  host::LinkFrame frame_;
};

using F2 = std::array<float, 2>;
using F3 = std::array<float, 3>;
using U2 = std::array<std::uint32_t, 2>;
using U3 = std::array<std::uint32_t, 3>;

inline host::Json typed(const char* type) {
  return host::Json{{"type", type}};
}

/// A square of four vertices and two triangles.
inline Message square(const char* key = "m") {
  Message message(host::Json{{"type", "mesh"}, {"key", key}});
  message.block<F3>("positions", "f32x3", {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}});
  message.block<U3>("indices", "u32x3", {{0, 1, 2}, {0, 2, 3}});
  return message;
}

inline Message object(const char* key, const char* mesh, const char* parent = nullptr) {
  host::Json json{{"type", "object"}, {"key", key}, {"name", key}, {"kind", mesh ? "mesh" : "null"}};
  if (mesh) json["mesh"] = mesh;
  if (parent) json["parent"] = parent;
  return Message(json);
}

inline Message move(const char* key, double x) {
  Message message(host::Json{{"type", "transforms"}, {"keys", {key}}});
  return message.block<std::array<double, 16>>("matrices", "f64x16",
                                               {{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, 0, 0, 1}});
}

inline Message commit(int n) {
  return Message(host::Json{{"type", "commit"}, {"n", n}});
}

} // namespace linkkit
