#include "link_client.h"

#include <algorithm>
#include <array>
#include <utility>

#include "stopwatch.h"

namespace host {

namespace {

constexpr int period = 100; // milliseconds between two looks at `stopped`

// The reason and the advice of an answer, as one error.
LinkError refusal(const Json& message, const char* text) {
  return LinkError(textIn(message, text), textIn(message, "help"));
}

} // namespace

LinkClient::LinkClient(const std::string& path, const std::string& program, Milliseconds most,
                       Stopped stopped)
    : stopped_(std::move(stopped)) {
  std::string reason;
  socket_ = Socket::connectTo(path, reason);
  if (!socket_.isValid())
    throw LinkError("Lumenara Studio cannot be reached at " + path + ": " + reason + ".", "Start it again.");
  waiting_ = packFrame({{"type", "hello"}, {"id", next_++}, {"version", 1}, {"program", program}});
  const LinkFrame answer = receive(
      [](const Json& message) {
        return textIn(message, "type") == "welcome" || textIn(message, "type") == "refused";
      },
      most);
  if (textIn(answer.json, "type") == "refused") throw refusal(answer.json, "reason");
}

LinkClient::~LinkClient() {
  waiting_ += packFrame({{"type", "bye"}});
  write();
}

LinkFrame LinkClient::ask(Json message, Milliseconds most) {
  const long id = next_++;
  message["id"] = id;
  waiting_ += packFrame(message);
  LinkFrame answer = receive(
      [id](const Json& said) {
        const Json& about = member(said, "message");
        return about.is_number() && about == id;
      },
      most);
  if (textIn(answer.json, "type") == "error") throw refusal(answer.json, "text");
  return answer;
}

LinkFrame LinkClient::receive(const Wanted& wanted, Milliseconds most) {
  const Stopwatch watch;
  while (true) {
    const auto found = std::find_if(received_.begin(), received_.end(),
                                    [&](const LinkFrame& frame) { return wanted(frame.json); });
    if (found != received_.end()) {
      LinkFrame frame = std::move(*found);
      received_.erase(found);
      return frame;
    }
    received_.clear(); // answers that nobody asked for
    if (stopped_ && stopped_()) throw LinkError("The wait for Lumenara Studio was cancelled.", "");
    if (watch.milliseconds() >= static_cast<double>(most))
      throw LinkError("Lumenara Studio has not answered in time.", "Is it busy, or does it ask a question?");
    write();
    socket_.wait(wake_, !waiting_.empty(), period);
    if (!read()) throw LinkError("Lumenara Studio has ended the connection.", "Try again.");
  }
}

void LinkClient::write() {
  const long count = waiting_.empty() ? 0 : socket_.write(waiting_);
  if (count > 0) waiting_.erase(0, static_cast<std::size_t>(count));
}

// False at the end of the stream. Answers that came before it are kept.
bool LinkClient::read() {
  std::array<std::byte, 65536> bytes;
  const long count = socket_.read(bytes);
  if (count <= 0) return count == -1 || !received_.empty();
  try {
    parser_.feed(std::span(bytes).first(static_cast<std::size_t>(count)),
                 [this](LinkFrame&& frame) { received_.push_back(std::move(frame)); });
  } catch (const LinkBroken& broken) {
    throw LinkError(broken.what(), "Another program answers there.");
  }
  return true;
}

} // namespace host
