// The live link of a running program as its user switches it. The choice is kept in the preferences. Main
// thread.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "link_server.h"

namespace host {

/// Where the live link listens.
struct LinkChoice {
  bool listen = true;     // at the user's own socket
  bool tcp = false;       // at 127.0.0.1 as well, with a token; only while it listens
  std::uint16_t port = 0; // on 127.0.0.1; 0: any
  friend bool operator==(const LinkChoice&, const LinkChoice&) = default;
};
/// The choice of the preferences; the default where they hold none.
LinkChoice storedLinkChoice();

class LiveLink {
 public:
  /// Does not listen yet. `token`: that clients by TCP must send; empty: one is made.
  explicit LiveLink(Session& session, std::string token = {});
  ~LiveLink();
  LiveLink(const LiveLink&) = delete;
  LiveLink& operator=(const LiveLink&) = delete;

  /// Listens there, and nowhere else, from now on. Connections that it still allows go on. The stored choice
  /// stays.
  void use(const LinkChoice& choice);
  /// The same, and stores the choice for the next start.
  void choose(const LinkChoice& choice);
  /// The choice in use.
  const LinkChoice& choice() const noexcept { return choice_; }
  /// Ends all connections and calls nothing more. The choice stays.
  void close();

  /// Null while it does not listen.
  const LinkServer* server() const noexcept { return server_.get(); }
  /// The reasons why it does not listen where it should, as sentences; empty when it does.
  std::string trouble() const;

  /// The choice or the server's state has changed.
  Listeners<> changed;

 private:
  Session& session_;
  const std::string token_;
  std::string made_; // the token that the last server has made
  LinkChoice choice_{false, false, 0};
  std::unique_ptr<LinkServer> server_;
  Subscription serverChanged_;
};

} // namespace host
