#include "link_connection.h"

#include <array>
#include <new>

#include "platform.h"

namespace host {

namespace {

constexpr int version = 1;
constexpr int lastWords = 1000;                             // milliseconds for what waits at the end
constexpr std::size_t mostWaiting = std::size_t{256} << 20; // bytes for a client that does not read

constexpr LinkLimits greetingLimits{65536, 65536}; // of one who is not known yet

// Takes the same time for every text of this length.
bool isSecret(const std::string& secret, const std::string& given) {
  unsigned different = secret.size() == given.size() ? 0 : 1;
  for (std::size_t i = 0; i < given.size(); ++i)
    different |= static_cast<unsigned char>(given[i]) ^ static_cast<unsigned char>(secret[i % secret.size()]);
  return different == 0;
}

std::string versionText(double theirs) {
  return theirs >= 0 && theirs < 1e9 ? std::to_string(static_cast<long>(theirs)) : std::string("?");
}

} // namespace

LinkConnection::LinkConnection(Socket socket, LinkReceiver& receiver, std::string token)
    : socket_(std::move(socket)), receiver_(receiver), token_(std::move(token)), parser_(greetingLimits) {
}

LinkConnection::~LinkConnection() {
  stop();
}

void LinkConnection::start() {
  thread_ = std::thread([this] { run(); });
}

void LinkConnection::askToStop() {
  stop_ = true;
  wake_.ring();
}

void LinkConnection::stop() {
  askToStop();
  if (thread_.joinable()) thread_.join();
}

void LinkConnection::send(const Json& message, std::span<const std::byte> body) {
  {
    const std::lock_guard lock(mutex_);
    if (waiting_.size() > mostWaiting) return;
    waiting_ += packFrame(message, body);
  }
  wake_.ring();
}

void LinkConnection::run() {
  platform::setThreadName("link");
  try {
    while (!stop_ && !leaving_ && exchange()) {
    }
  } catch (const LinkBroken& broken) {
    send({{"type", "closed"}, {"reason", broken.what()}});
  } catch (const std::bad_alloc&) {
    send({{"type", "closed"}, {"reason", "Lumenara Studio has not enough memory for the scene."}});
  } catch (const std::exception& error) {
    send({{"type", "closed"}, {"reason", error.what()}});
  }
  for (int waited = 0; flush() && waited < lastWords; waited += 10)
    socket_.wait(wake_, true, 10), wake_.clear();
  socket_ = Socket();
  receiver_.ended(*this);
  ended_ = true; // last: whoever sees it may join this thread with the server's lock held
}

// One round: waits, writes, reads. False at the end of the stream.
bool LinkConnection::exchange() {
  const bool waits = flush();
  socket_.wait(wake_, waits, -1);
  wake_.clear();
  std::array<std::byte, 256 * 1024> bytes;
  const long count = socket_.read(bytes);
  if (count == -2) return false;
  if (count > 0)
    parser_.feed(std::span(bytes).first(static_cast<std::size_t>(count)),
                 [this](LinkFrame&& frame) { take(std::move(frame)); });
  return true;
}

// Writes as much as the stream takes. Whether more waits.
bool LinkConnection::flush() {
  {
    const std::lock_guard lock(mutex_);
    sending_ += waiting_;
    waiting_.clear();
  }
  while (!sending_.empty()) {
    const long count = socket_.write(sending_);
    if (count == -2) sending_.clear();
    if (count < 0) break;
    sending_.erase(0, static_cast<std::size_t>(count));
  }
  return !sending_.empty();
}

void LinkConnection::fail(const Json& message, const std::string& text, const std::string& help) {
  send({{"type", "error"}, {"message", member(message, "id")}, {"text", text}, {"help", help}});
}

void LinkConnection::take(LinkFrame&& frame) {
  if (leaving_) return;
  const std::string type = textIn(frame.json, "type");
  if (!greeted_) return hello(frame.json);
  try {
    serve(frame, type);
  } catch (const LinkError& error) {
    fail(frame.json, error.what(), error.help);
  } catch (const Json::exception&) {
    fail(frame.json, "A value of the message has another type than expected.", "Check the sending program.");
  }
}

void LinkConnection::hello(const Json& message) {
  const auto refuse = [&](const std::string& reason, const char* help) {
    send({{"type", "refused"}, {"reason", reason}, {"help", help}});
    leaving_ = true;
  };
  if (textIn(message, "type") != "hello")
    return refuse("The first message must be hello.", "Check the program that connects.");
  if (!token_.empty() && !isSecret(token_, textIn(message, "token")))
    return refuse("The token of the live link is missing or wrong.",
                  "Take it from the file link-PID.json of this Lumenara Studio.");
  const double theirs = numberIn(message, "version");
  program_ = textIn(message, "program");
  if (program_.empty()) program_ = "A program";
  if (theirs != version)
    return refuse(program_ + " speaks version " + versionText(theirs) +
                      " of the live link, this Lumenara Studio version " + std::to_string(version) + ".",
                  theirs > version ? "Update Lumenara Studio." : "Update the program that connects.");
  greeted_ = true;
  parser_.setLimits({});
  send({{"type", "welcome"},
        {"version", version},
        {"program", "Lumenara Studio"},
        {"pid", platform::processNumber()}});
  receiver_.greeted(shared_from_this());
}

void LinkConnection::serve(const LinkFrame& frame, const std::string& type) {
  if (type == "ping") return send({{"type", "pong"}});
  if (type == "bye") {
    leaving_ = true;
    return;
  }
  if (type == "watch") {
    const Json& wanted = member(frame.json, "progress");
    if (!wanted.is_boolean()) throw LinkError("The member \"progress\" of watch is neither true nor false.");
    watchesProgress_ = wanted.get<bool>();
    return;
  }
  if (type == "open" || type == "grab") return receiver_.asked(shared_from_this(), frame.json);
  if (!LinkStage::isScene(type)) throw LinkError("The message \"" + type + "\" is unknown.");
  if (!receiver_.claim(*this))
    throw LinkError("Another program is sending its scene to this Lumenara Studio.",
                    "Disconnect that program, or start a second Lumenara Studio.");
  if (LinkScenePtr scene = stage_.take(frame)) receiver_.committed(shared_from_this(), std::move(scene));
}

} // namespace host
