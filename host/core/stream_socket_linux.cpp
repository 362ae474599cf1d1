#include "stream_socket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

#include "platform.h"

namespace host {

namespace {

void keepToOurselves(int handle) noexcept {
  fcntl(handle, F_SETFD, FD_CLOEXEC);
  fcntl(handle, F_SETFL, fcntl(handle, F_GETFL) | O_NONBLOCK);
}

bool addressOf(const std::string& path, sockaddr_un& address, std::string& error) {
  address = {};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) {
    error = "The path of the socket is too long: " + path;
    return false;
  }
  std::memcpy(address.sun_path, path.data(), path.size());
  return true;
}

sockaddr_in loopback(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

// Answers are small and must not wait for more of them.
void sendAtOnce(int handle) noexcept {
  const int on = 1;
  setsockopt(handle, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

Socket fail(std::string& error) {
  error = std::strerror(errno);
  return {};
}

} // namespace

Wake::Wake() {
  if (pipe(ends_) != 0) return;
  keepToOurselves(ends_[0]);
  keepToOurselves(ends_[1]);
}

Wake::~Wake() {
  for (const int end : ends_)
    if (end >= 0) close(end);
}

void Wake::ring() noexcept {
  const char byte = 0;
  [[maybe_unused]] const ssize_t written = ::write(ends_[1], &byte, 1);
}

void Wake::clear() noexcept {
  char bytes[64];
  while (::read(ends_[0], bytes, sizeof bytes) > 0) {
  }
}

Socket::Socket(int handle) noexcept : handle_(handle) {
  if (handle_ >= 0) keepToOurselves(handle_);
}

Socket::~Socket() {
  if (handle_ >= 0) close(handle_);
}

Socket::Socket(Socket&& other) noexcept : handle_(std::exchange(other.handle_, -1)) {
}

Socket& Socket::operator=(Socket&& other) noexcept {
  std::swap(handle_, other.handle_);
  return *this;
}

Socket Socket::listenAt(const std::string& path, std::string& error) {
  sockaddr_un address;
  if (!addressOf(path, address, error)) return {};
  Socket made(socket(AF_UNIX, SOCK_STREAM, 0));
  if (!made.isValid() ||
      bind(made.handle_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      chmod(path.c_str(), S_IRUSR | S_IWUSR) != 0 || listen(made.handle_, 16) != 0)
    return fail(error);
  return made;
}

Socket Socket::connectTo(const std::string& path, std::string& error) {
  sockaddr_un address;
  if (!addressOf(path, address, error)) return {};
  const int handle = socket(AF_UNIX, SOCK_STREAM, 0);
  if (handle < 0) return fail(error);
  const bool connected = connect(handle, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  if (!connected) error = std::strerror(errno);
  Socket made(handle);
  return connected ? std::move(made) : Socket();
}

Socket Socket::listenOnLoopback(std::uint16_t port, std::string& error) {
  const sockaddr_in address = loopback(port);
  Socket made(socket(AF_INET, SOCK_STREAM, 0));
  const int on = 1; // a port is free again at once when its program ends
  if (!made.isValid() || setsockopt(made.handle_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
      bind(made.handle_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      listen(made.handle_, 16) != 0)
    return fail(error);
  return made;
}

Socket Socket::connectToLoopback(std::uint16_t port, std::string& error) {
  const sockaddr_in address = loopback(port);
  const int handle = socket(AF_INET, SOCK_STREAM, 0);
  if (handle < 0) return fail(error);
  const bool connected = connect(handle, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  if (!connected) error = std::strerror(errno);
  sendAtOnce(handle);
  Socket made(handle);
  return connected ? std::move(made) : Socket();
}

std::uint16_t Socket::port() const noexcept {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  if (getsockname(handle_, reinterpret_cast<sockaddr*>(&address), &size) != 0) return 0;
  return address.sin_family == AF_INET ? ntohs(address.sin_port) : std::uint16_t{0};
}

Socket Socket::accept() noexcept {
  Socket arrived(::accept(handle_, nullptr, nullptr));
  if (arrived.isValid() && arrived.port() != 0) sendAtOnce(arrived.handle_);
  return arrived;
}

long Socket::read(std::span<std::byte> to) noexcept {
  const ssize_t count = recv(handle_, to.data(), to.size(), 0);
  if (count > 0) return count;
  return count < 0 && (errno == EAGAIN || errno == EINTR) ? -1 : -2;
}

long Socket::write(std::span<const char> from) noexcept {
  const ssize_t count = send(handle_, from.data(), from.size(), MSG_NOSIGNAL);
  if (count >= 0) return count;
  return errno == EAGAIN || errno == EINTR ? -1 : -2;
}

void Socket::wait(const Wake& wake, bool writable, int milliseconds) const noexcept {
  pollfd watched[2] = {{handle_, static_cast<short>(writable ? POLLIN | POLLOUT : POLLIN), 0},
                       {wake.handle(), POLLIN, 0}};
  poll(watched, 2, milliseconds);
}

} // namespace host
