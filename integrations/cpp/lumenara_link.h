// Client of Lumenara's live link: show and animate a scene in a running Lumenara Studio. C++17, POSIX, no
// other dependency: copy lumenara_link.h and lumenara_link.cpp into your program. docs/link.md describes the
// protocol.
//
//   lumenara_link::Connection studio("My program");
//   studio.send("scene_begin", Json().text("name", "Cube"));
//   studio.send("mesh", Json().text("key", "cube"), {block("positions", "f32x3", points), block("indices",
//   "u32x3", triangles)}); studio.send("object", Json().text("key", "o").text("kind", "mesh").text("mesh",
//   "cube")); studio.send("scene_end"); studio.waitForCommit(studio.commit(), 10);
//
// Metres, right-handed, y up; cameras and lights look along their -Z; colours are linear; matrices are 16
// numbers, column after column. A connection belongs to one thread. A lost connection throws LinkError; make
// a new one and send the whole scene.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace lumenara_link {

/// Failure of the link. The text says what happened and what to do.
struct LinkError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// A JSON object that is written member by member. Numbers that are not finite throw std::invalid_argument.
class Json {
 public:
  Json& text(std::string_view name, std::string_view value);
  Json& number(std::string_view name, double value);
  Json& flag(std::string_view name, bool value);
  Json& numbers(std::string_view name, const std::vector<double>& values);
  Json& texts(std::string_view name, const std::vector<std::string>& values);
  Json& object(std::string_view name, const Json& value);
  /// A value that is JSON already, such as a glTF material.
  Json& raw(std::string_view name, std::string_view json);
  std::string str() const { return "{" + members_ + "}"; }

 private:
  void name(std::string_view name);
  std::string members_;
};

/// Numbers beside a message. The memory has to stay until `send` returns.
struct Block {
  std::string name, format; // format: u8, u32, f32, f64, with x2, x3, x4 or x16 behind it
  const void* data = nullptr;
  std::size_t bytes = 0;
};

template <class T>
Block block(std::string name, std::string format, const std::vector<T>& values) {
  return {std::move(name), std::move(format), values.data(), values.size() * sizeof(T)};
}

/// A running Studio.
struct Studio {
  int pid = 0;
  std::string socket, program, started, scene;
  int port = 0;      // on 127.0.0.1; 0: no TCP
  std::string token; // for the port
};

/// All Studios of this user that listen, the youngest first.
std::vector<Studio> findStudios();

/// An answer: its type, its JSON, its body.
struct Answer {
  std::string type, json, body;
};

/// A member of a JSON object as text (strings unescaped, other values as they stand); empty where it is
/// missing.
std::string member(std::string_view json, std::string_view name);

/// The bytes of one frame. Throws std::invalid_argument where a block's size is not a whole number of its
/// elements.
std::string frame(std::string_view type, std::uint64_t id, const Json& fields,
                  const std::vector<Block>& blocks);

class Connection {
 public:
  /// Connects to the youngest Studio that listens; with `address`, to the socket at this path, or to a host
  /// and port such as 127.0.0.1:4711 where a Studio listens by TCP, which wants the token of its
  /// link-PID.json. Waits up to `seconds` for the greeting.
  explicit Connection(std::string_view program, std::string address = {}, double seconds = 5,
                      std::string_view token = {});
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  /// Sends a message and returns its number. Waits while Studio takes the bytes.
  std::uint64_t send(std::string_view type, const Json& fields = {}, const std::vector<Block>& blocks = {});
  /// Applies everything since the last commit as one change of the document; returns the commit's number.
  std::uint64_t commit(bool undo = false);
  /// Reads answers until this commit, or a later one, is applied. Throws after `seconds`.
  Answer waitForCommit(std::uint64_t number, double seconds);
  /// Opens a scene file, named by its whole path, and waits until it is shown. Throws LinkError. Drops other
  /// answers that come meanwhile.
  void open(std::string_view path, double seconds = 60);
  /// The viewer's picture as the bytes of a file; `format` is a suffix: png, exr, jpg, tif ... Throws
  /// LinkError where the viewer has no picture yet. Drops other answers that come meanwhile.
  std::string grab(std::string_view format = "png", double seconds = 30);
  /// Reads answers until the viewer's render has ended and returns that one; its members are `result` (done,
  /// stopped, asset missing or failed), `seconds`, `width` and `height`. Throws after `seconds`.
  Answer waitFinished(double seconds);
  /// From now on Studio tells how far the viewer's render is: answers "progress" with the members `samples`
  /// and `of`, at most five a second.
  void watchProgress(bool on = true);
  /// The next answer, if one comes within `seconds`.
  bool receive(Answer& answer, double seconds);

 private:
  bool takeFrame(Answer& answer);
  Answer answerTo(std::uint64_t id, double seconds);
  void connectTo(const std::string& path);
  void connectTo(const std::string& host, const std::string& port);
  void greet(std::string_view program, double seconds, std::string_view token);

  int socket_ = -1;
  std::string received_;
  std::uint64_t nextId_ = 0, nextCommit_ = 1, applied_ = 0;
};

} // namespace lumenara_link
