#include "live_link.h"

#include <algorithm>

#include "preferences.h"

namespace host {

namespace {

constexpr const char* stored = "link";
enum Entry : LONG { listenEntry = 1, tcpEntry = 2, portEntry = 3 };

} // namespace

LinkChoice storedLinkChoice() {
  LinkChoice choice;
  const BaseContainer* kept = preferences() ? preferences()->getNamed(stored) : nullptr;
  if (!kept) return choice;
  choice.listen = kept->GetBool(listenEntry, TRUE) != 0;
  choice.tcp = kept->GetBool(tcpEntry, FALSE) != 0;
  choice.port = static_cast<std::uint16_t>(std::clamp<LONG>(kept->GetLong(portEntry, 0), 0, 65535));
  return choice;
}

LiveLink::LiveLink(Session& session, std::string token) : session_(session), token_(std::move(token)) {
}

LiveLink::~LiveLink() {
  close();
}

void LiveLink::use(const LinkChoice& choice) {
  const LinkChoice before = std::exchange(choice_, choice);
  std::optional<LinkTcp> tcp;
  if (choice.tcp) tcp = LinkTcp{choice.port, token_.empty() ? made_ : token_};
  if (!choice.listen) {
    close();
  } else if (!server_) {
    server_ = std::make_unique<LinkServer>(session_, tcp);
    serverChanged_ = server_->changed.add([this] { changed.call(); });
  } else if (choice.tcp != before.tcp || choice.port != before.port) {
    server_->setTcp(tcp);
  }
  if (server_ && token_.empty()) made_ = server_->token();
  changed.call();
}

void LiveLink::choose(const LinkChoice& choice) {
  use(choice);
  BaseContainer kept;
  kept.SetBool(listenEntry, choice.listen ? TRUE : FALSE);
  kept.SetBool(tcpEntry, choice.tcp ? TRUE : FALSE);
  kept.SetLong(portEntry, choice.port);
  if (preferences()) preferences()->setNamed(stored, kept);
}

void LiveLink::close() {
  serverChanged_.cancel();
  server_.reset();
}

std::string LiveLink::trouble() const {
  if (!server_) return {};
  const std::string &socket = server_->error(), &tcp = server_->tcpError();
  return socket.empty() || tcp.empty() ? socket + tcp : socket + " " + tcp;
}

} // namespace host
