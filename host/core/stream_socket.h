// Streams between programs of one machine: UNIX sockets, and TCP on the loopback. Any thread; one object is
// used by one thread at a time, except `Wake::ring`.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace host {

/// Ends a wait of another thread.
class Wake {
 public:
  Wake();
  ~Wake();
  Wake(const Wake&) = delete;
  Wake& operator=(const Wake&) = delete;
  /// Any thread.
  void ring() noexcept;
  void clear() noexcept;
  int handle() const noexcept { return ends_[0]; }

 private:
  int ends_[2] = {-1, -1};
};

/// A stream, or a place where streams arrive. Never blocks.
class Socket {
 public:
  Socket() = default;
  explicit Socket(int handle) noexcept;
  ~Socket();
  Socket(Socket&& other) noexcept;
  Socket& operator=(Socket&& other) noexcept;
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;

  /// Listens at a path that must not exist. Not valid on failure, with the reason in `error`.
  static Socket listenAt(const std::string& path, std::string& error);
  static Socket connectTo(const std::string& path, std::string& error);
  /// The same on 127.0.0.1. Port 0 takes any free one.
  static Socket listenOnLoopback(std::uint16_t port, std::string& error);
  static Socket connectToLoopback(std::uint16_t port, std::string& error);

  bool isValid() const noexcept { return handle_ >= 0; }
  /// The port on the loopback; 0 for a UNIX socket.
  std::uint16_t port() const noexcept;
  /// The next stream that has arrived; not valid when none has.
  Socket accept() noexcept;
  /// Bytes read or written: -1 when it would wait, -2 at the end or after an error.
  long read(std::span<std::byte> to) noexcept;
  long write(std::span<const char> from) noexcept;

  /// Waits until something can be read (or written, if wanted) or `wake` rings; at most `milliseconds`, -1:
  /// without end.
  void wait(const Wake& wake, bool writable, int milliseconds) const noexcept;

 private:
  int handle_ = -1;
};

} // namespace host
