// A client of the live link that tests lead by the hand.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "link_kit.h"
#include "main_loop.h"
#include "stream_socket.h"

namespace linkkit {

using namespace host;

/// A new folder for sockets, whose paths must be short.
inline std::string runtimeFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "link-test-XXXXXX").string();
  return mkdtemp(name.data());
}

// A client that reads and writes on the test's thread, which runs the main loop meanwhile.
class Client {
 public:
  explicit Client(const std::string& path) { socket_ = Socket::connectTo(path, error_); }
  explicit Client(std::uint16_t port) { socket_ = Socket::connectToLoopback(port, error_); }

  void send(const std::string& bytes) { waiting_ += bytes; }
  void send(const Message& message) { send(message.packed()); }
  void hello(int version = 1) {
    send(Message(Json{{"type", "hello"}, {"version", version}, {"program", "Test"}}));
  }

  /// The next message of this type; null after 20 seconds.
  Json receive(const std::string& type) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (std::chrono::steady_clock::now() < end) {
      for (std::size_t i = 0; i < received_.size(); ++i)
        if (received_[i]["type"] == type) {
          const Json found = received_[i];
          body = bodies_[i];
          bodies_.erase(bodies_.begin() + static_cast<std::ptrdiff_t>(i));
          received_.erase(received_.begin() + static_cast<std::ptrdiff_t>(i));
          return found;
        }
      step();
    }
    return nullptr;
  }
  void step() {
    mainLoop().runDue();
    socket_.wait(wake_, false, 1);
    if (const long count = waiting_.empty() ? 0 : socket_.write(waiting_); count > 0)
      waiting_.erase(0, static_cast<std::size_t>(count));
    std::vector<std::byte> bytes(65536);
    const long count = socket_.read(bytes);
    ended_ = ended_ || count == -2;
    if (count > 0)
      parser_.feed(std::span(bytes).first(static_cast<std::size_t>(count)), [this](LinkFrame&& frame) {
        received_.push_back(frame.json);
        bodies_.push_back(frame.body);
      });
  }
  /// Whether the other side ends the stream within 20 seconds.
  bool ends() {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!ended_ && std::chrono::steady_clock::now() < end)
      step();
    return ended_;
  }
  bool isValid() const { return socket_.isValid(); }
  bool has(const char* type) const {
    return std::any_of(received_.begin(), received_.end(),
                       [&](const Json& json) { return json["type"] == type; });
  }

  std::vector<std::byte> body; // of the message received last

 private:
  Socket socket_;
  Wake wake_;
  LinkParser parser_;
  std::string waiting_, error_;
  bool ended_ = false;
  std::vector<Json> received_;
  std::vector<std::vector<std::byte>> bodies_;
};

} // namespace linkkit
