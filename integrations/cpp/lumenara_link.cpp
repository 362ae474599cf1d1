#include "lumenara_link.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dirent.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace lumenara_link {

namespace {

constexpr std::size_t kHead = 16;
constexpr std::uint64_t kMostJson = 16u << 20, kMostBody = std::uint64_t{8} << 30;

std::string quoted(std::string_view text) {
  std::string out = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += c;
    } else if (static_cast<unsigned char>(c) < 0x20) {
      char code[8];
      std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(c));
      out += code;
    } else {
      out += c;
    }
  }
  return out + '"';
}

std::string printed(double value) {
  if (!std::isfinite(value)) throw std::invalid_argument("a number of the message is not finite");
  char text[40];
  std::snprintf(text, sizeof text, "%.17g", value);
  // A locale may print another decimal sign.
  std::replace(text, text + std::strlen(text), ',', '.');
  return text;
}

template <class Values, class Print>
std::string list(const Values& values, Print print) {
  std::string out = "[";
  for (const auto& value : values)
    out += (out.size() > 1 ? "," : "") + print(value);
  return out + "]";
}

void putNumber(std::string& out, std::uint64_t value, int bytes) {
  for (int i = 0; i < bytes; ++i)
    out += static_cast<char>(value >> (8 * i));
}

std::uint64_t numberAt(const std::string& text, std::size_t at, int bytes) {
  std::uint64_t value = 0;
  for (int i = bytes - 1; i >= 0; --i)
    value = value << 8 | static_cast<unsigned char>(text[at + static_cast<std::size_t>(i)]);
  return value;
}

std::size_t elementSize(const std::string& format) {
  const std::size_t mark = format.find('x');
  const std::string scalar = format.substr(0, mark);
  const std::size_t size = scalar == "u8"                       ? 1
                           : scalar == "u32" || scalar == "f32" ? 4
                           : scalar == "f64"                    ? 8
                                                                : 0;
  const unsigned long width =
      mark == std::string::npos ? 1 : std::strtoul(format.c_str() + mark + 1, nullptr, 10);
  if (!size || !width || width > 16) throw std::invalid_argument("unknown block format " + format);
  return size * width;
}

double now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

[[noreturn]] void failed(const std::string& doing) {
  throw LinkError(doing + ": " + std::strerror(errno) +
                  ". Start Lumenara Studio again if needed, connect, and send the scene.");
}

std::size_t skipSpace(std::string_view json, std::size_t at) {
  while (at < json.size() && std::strchr(" \t\r\n", json[at]))
    ++at;
  return at;
}

// The end of the JSON value that begins at `at`.
std::size_t endOfValue(std::string_view json, std::size_t at) {
  int depth = 0;
  bool text = false;
  for (; at < json.size(); ++at) {
    const char c = json[at];
    if (text) {
      if (c == '\\')
        ++at;
      else if (c == '"')
        text = false;
    } else if (c == '"') {
      text = true;
    } else if (c == '{' || c == '[') {
      ++depth;
    } else if (c == '}' || c == ']') {
      if (depth-- == 0) return at;
    } else if (c == ',' && depth == 0) {
      return at;
    }
  }
  return std::min(at, json.size());
}

// A JSON string without its quotes and escapes. \u keeps one byte: the texts that matter here are paths and
// words.
std::string unquoted(std::string_view text) {
  std::string out;
  for (std::size_t i = 1; i + 1 < text.size(); ++i) {
    if (text[i] != '\\' || i + 2 >= text.size()) {
      out += text[i];
      continue;
    }
    const char c = text[++i];
    if (c == 'u' && i + 4 < text.size()) {
      out += static_cast<char>(std::strtoul(std::string(text.substr(i + 1, 4)).c_str(), nullptr, 16));
      i += 4;
    } else {
      out += c == 'n' ? '\n' : c == 't' ? '\t' : c == 'r' ? '\r' : c;
    }
  }
  return out;
}

std::string folderOfSockets() {
  const char* base = std::getenv("XDG_RUNTIME_DIR");
  return base && *base ? std::string(base) + "/lumenara" : "/tmp/lumenara-" + std::to_string(getuid());
}

bool isPrivate(const std::string& folder) {
  struct stat state {};
  return lstat(folder.c_str(), &state) == 0 && S_ISDIR(state.st_mode) && state.st_uid == getuid() &&
         (state.st_mode & 077) == 0;
}

std::string readSmallFile(const std::string& path) {
  std::string text(65536, '\0');
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (!file) return {};
  text.resize(std::fread(text.data(), 1, text.size(), file));
  std::fclose(file);
  return text;
}

} // namespace

void Json::name(std::string_view name) {
  if (!members_.empty()) members_ += ',';
  members_ += quoted(name) + ':';
}

Json& Json::raw(std::string_view key, std::string_view json) {
  name(key);
  members_ += json;
  return *this;
}

Json& Json::text(std::string_view key, std::string_view value) {
  return raw(key, quoted(value));
}
Json& Json::number(std::string_view key, double value) {
  return raw(key, printed(value));
}
Json& Json::flag(std::string_view key, bool value) {
  return raw(key, value ? "true" : "false");
}
Json& Json::numbers(std::string_view key, const std::vector<double>& values) {
  return raw(key, list(values, printed));
}
Json& Json::texts(std::string_view key, const std::vector<std::string>& values) {
  return raw(key, list(values, quoted));
}
Json& Json::object(std::string_view key, const Json& value) {
  return raw(key, value.str());
}

std::string member(std::string_view json, std::string_view name) {
  std::size_t at = skipSpace(json, 0);
  if (at >= json.size() || json[at] != '{') return {};
  for (at = skipSpace(json, at + 1); at < json.size() && json[at] == '"'; at = skipSpace(json, at + 1)) {
    std::size_t end = at + 1;
    while (end < json.size() && json[end] != '"')
      end += json[end] == '\\' ? 2 : 1;
    if (end >= json.size()) return {};
    const bool found = unquoted(json.substr(at, end + 1 - at)) == name;
    const std::size_t colon = skipSpace(json, end + 1);
    if (colon >= json.size() || json[colon] != ':') return {};
    const std::size_t begin = skipSpace(json, colon + 1);
    at = endOfValue(json, begin);
    if (!found) continue;
    std::string_view value = json.substr(begin, at - begin);
    while (!value.empty() && std::strchr(" \t\r\n", value.back()))
      value.remove_suffix(1);
    return value.size() > 1 && value.front() == '"' ? unquoted(value) : std::string(value);
  }
  return {};
}

std::string frame(std::string_view type, std::uint64_t id, const Json& fields,
                  const std::vector<Block>& blocks) {
  Json described;
  std::uint64_t size = 0;
  for (const Block& block : blocks) {
    const std::size_t element = elementSize(block.format);
    if (block.bytes % element)
      throw std::invalid_argument("block " + block.name + " is not a whole number of " + block.format);
    described.object(block.name, Json()
                                     .number("offset", static_cast<double>(size))
                                     .number("count", static_cast<double>(block.bytes / element))
                                     .text("format", block.format));
    size += (block.bytes + 7) / 8 * 8;
  }
  Json message = fields;
  message.text("type", type).number("id", static_cast<double>(id));
  if (!blocks.empty()) message.object("blocks", described);
  const std::string json = message.str();
  if (json.size() > kMostJson || size > kMostBody) throw std::invalid_argument("the message is too large");
  std::string out = "LMLK";
  out.reserve(kHead + json.size() + size);
  putNumber(out, json.size(), 4);
  putNumber(out, size, 8);
  out += json;
  for (const Block& block : blocks) {
    if (block.bytes) out.append(static_cast<const char*>(block.data), block.bytes);
    out.append((8 - block.bytes % 8) % 8, '\0');
  }
  return out;
}

std::vector<Studio> findStudios() {
  std::vector<Studio> found;
  const std::string folder = folderOfSockets();
  DIR* entries = isPrivate(folder) ? opendir(folder.c_str()) : nullptr;
  if (!entries) return found;
  while (const dirent* entry = readdir(entries)) {
    const std::string name = entry->d_name;
    if (name.rfind("link-", 0) != 0 || name.size() < 11 || name.compare(name.size() - 5, 5, ".json") != 0)
      continue;
    const std::string json = readSmallFile(folder + "/" + name);
    const Studio studio{std::atoi(member(json, "pid").c_str()),
                        member(json, "socket"),
                        member(json, "program"),
                        member(json, "started"),
                        member(json, "scene"),
                        std::atoi(member(json, "port").c_str()),
                        member(json, "token")};
    if (studio.pid > 0 && !studio.socket.empty() && (kill(studio.pid, 0) == 0 || errno == EPERM))
      found.push_back(studio);
  }
  closedir(entries);
  std::sort(found.begin(), found.end(),
            [](const Studio& a, const Studio& b) { return a.started > b.started; });
  return found;
}

Connection::Connection(std::string_view program, std::string address, double seconds,
                       std::string_view token) {
  if (address.empty()) {
    const std::vector<Studio> studios = findStudios();
    if (studios.empty()) throw LinkError("No Lumenara Studio listens. Start it, without --no-listen.");
    address = studios.front().socket;
  }
  const std::size_t colon = address.rfind(':');
  try {
    if (address.find('/') == std::string::npos && colon != std::string::npos)
      connectTo(address.substr(0, colon), address.substr(colon + 1));
    else
      connectTo(address);
    greet(program, seconds, token);
  } catch (...) {
    if (socket_ >= 0) ::close(socket_);
    throw;
  }
}

void Connection::connectTo(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path)
    throw LinkError("The socket's path is too long: " + path + ". Choose a shorter XDG_RUNTIME_DIR.");
  std::copy(path.begin(), path.end(), address.sun_path);
  socket_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (socket_ < 0) failed("A socket could not be made");
  if (::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
    failed("No Lumenara Studio answers at " + path);
}

void Connection::connectTo(const std::string& host, const std::string& port) {
  addrinfo wanted{};
  wanted.ai_family = AF_INET;
  wanted.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (::getaddrinfo(host.c_str(), port.c_str(), &wanted, &found) != 0)
    throw LinkError("The address " + host + ":" + port + " is unknown. Write it as 127.0.0.1:4711.");
  socket_ = ::socket(found->ai_family, found->ai_socktype | SOCK_CLOEXEC, 0);
  const bool connected = socket_ >= 0 && ::connect(socket_, found->ai_addr, found->ai_addrlen) == 0;
  ::freeaddrinfo(found);
  if (!connected) failed("No Lumenara Studio answers at " + host + ":" + port);
  const int on = 1; // small messages must not wait for more of them
  ::setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

void Connection::greet(std::string_view program, double seconds, std::string_view token) {
  Json hello;
  hello.number("version", 1).text("program", program);
  if (!token.empty()) hello.text("token", token);
  send("hello", hello);
  Answer answer;
  if (!receive(answer, seconds))
    throw LinkError("Studio did not answer the greeting. Is it busy or stopped? Try again, or restart it.");
  if (answer.type == "refused")
    throw LinkError(member(answer.json, "reason") + " " + member(answer.json, "help"));
  if (answer.type != "welcome")
    throw LinkError("The other side does not speak Lumenara's link. Check the socket's path.");
}

Connection::~Connection() {
  try {
    send("bye");
  } catch (const LinkError&) {
    // It is gone already.
  }
  ::close(socket_);
}

std::uint64_t Connection::send(std::string_view type, const Json& fields, const std::vector<Block>& blocks) {
  const std::uint64_t id = nextId_++;
  const std::string bytes = frame(type, id, fields, blocks);
  for (std::size_t sent = 0; sent < bytes.size();) {
    const ssize_t count = ::send(socket_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (count > 0)
      sent += static_cast<std::size_t>(count);
    else if (errno != EINTR)
      failed("The connection with Studio broke");
  }
  return id;
}

std::uint64_t Connection::commit(bool undo) {
  const std::uint64_t number = nextCommit_++;
  send("commit", Json().number("n", static_cast<double>(number)).flag("undo", undo).flag("view", true));
  return number;
}

bool Connection::takeFrame(Answer& answer) {
  if (received_.size() < kHead) return false;
  const std::uint64_t json = numberAt(received_, 4, 4), body = numberAt(received_, 8, 8);
  if (received_.compare(0, 4, "LMLK") != 0 || json > kMostJson || body > kMostBody)
    throw LinkError("The other side does not speak Lumenara's link. Check the socket's path.");
  if (received_.size() < kHead + json + body) return false;
  answer.json = received_.substr(kHead, json);
  answer.body = received_.substr(kHead + json, body);
  answer.type = member(answer.json, "type");
  received_.erase(0, kHead + json + body);
  if (answer.type == "ack")
    for (const char* name : {"commit", "through"})
      applied_ =
          std::max<std::uint64_t>(applied_, std::strtoull(member(answer.json, name).c_str(), nullptr, 10));
  return true;
}

bool Connection::receive(Answer& answer, double seconds) {
  const double end = now() + seconds;
  while (!takeFrame(answer)) {
    pollfd wanted{socket_, POLLIN, 0};
    const double left = std::clamp(end - now(), 0.0, 1e6);
    const int ready = ::poll(&wanted, 1, static_cast<int>(std::ceil(left * 1000)));
    if (ready == 0) return false;
    if (ready < 0 && errno == EINTR) continue;
    char piece[65536];
    const ssize_t count = ::recv(socket_, piece, sizeof piece, 0);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) failed("The connection with Studio broke");
    if (count == 0)
      throw LinkError("Studio closed the connection. Start it again if needed, connect, and send the scene.");
    received_.append(piece, static_cast<std::size_t>(count));
  }
  return true;
}

Answer Connection::answerTo(std::uint64_t id, double seconds) {
  const double end = now() + seconds;
  Answer answer;
  do {
    if (!receive(answer, std::max(0.0, end - now())))
      throw LinkError("Studio did not answer in time. Is it busy, or does it ask a question?");
  } while (member(answer.json, "message") != std::to_string(id));
  if (answer.type == "error")
    throw LinkError(member(answer.json, "text") + " " + member(answer.json, "help"));
  return answer;
}

Answer Connection::waitFinished(double seconds) {
  const double end = now() + seconds;
  Answer answer;
  do {
    if (!receive(answer, std::max(0.0, end - now())))
      throw LinkError("The viewer did not finish in time. Is it open, and does it refresh by itself?");
  } while (answer.type != "finished");
  return answer;
}

void Connection::watchProgress(bool on) {
  send("watch", Json().flag("progress", on));
}

void Connection::open(std::string_view path, double seconds) {
  answerTo(send("open", Json().text("path", path)), seconds);
}

std::string Connection::grab(std::string_view format, double seconds) {
  const Answer answer = answerTo(send("grab", Json().text("format", format)), seconds);
  const std::string block = member(member(answer.json, "blocks"), "file");
  const std::uint64_t offset = std::strtoull(member(block, "offset").c_str(), nullptr, 10);
  const std::uint64_t count = std::strtoull(member(block, "count").c_str(), nullptr, 10);
  if (offset > answer.body.size() || count > answer.body.size() - offset)
    throw LinkError("The picture of Studio is incomplete. Update Studio.");
  return answer.body.substr(offset, count);
}

Answer Connection::waitForCommit(std::uint64_t number, double seconds) {
  const double end = now() + seconds;
  Answer answer;
  while (applied_ < number)
    if (!receive(answer, end - now()))
      throw LinkError("Studio did not apply commit " + std::to_string(number) +
                      " in time. Is it busy or stopped?");
  return answer;
}

} // namespace lumenara_link
