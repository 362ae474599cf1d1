// The live link of a running program (docs/link.md): listens, takes scenes of other programs into the
// session's document, and answers. Main thread; destroyed before the session.
#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "lifetime.h"
#include "link_applier.h"
#include "link_connection.h"
#include "link_grabber.h"
#include "stopwatch.h"

namespace host {

/// TCP on 127.0.0.1, for programs that cannot reach the socket.
struct LinkTcp {
  std::uint16_t port = 0; // 0: any
  std::string token;      // that clients must send; empty: one is made
};

class LinkServer final : private LinkReceiver {
 public:
  /// Listens in the folder of link_place.h.
  explicit LinkServer(Session& session, const std::optional<LinkTcp>& tcp = {});
  ~LinkServer();
  LinkServer(const LinkServer&) = delete;
  LinkServer& operator=(const LinkServer&) = delete;

  /// The reason why it does not listen, as a sentence; empty when it does.
  const std::string& error() const noexcept { return error_; }
  const std::string& socketPath() const noexcept { return path_; }
  /// The port on 127.0.0.1; 0 without TCP, then `tcpError` says why when it was asked for.
  std::uint16_t tcpPort() const noexcept { return tcpListening_.port(); }
  const std::string& tcpError() const noexcept { return tcpError_; }
  /// The token that clients must send by TCP; empty before the first time.
  const std::string& token() const noexcept { return token_; }
  /// Listens by TCP as well, or no longer: connections by TCP then end. A token that was made stays.
  void setTcp(const std::optional<LinkTcp>& tcp);

  /// The client that sends a scene.
  struct State {
    std::string program; // empty: none is connected
    std::size_t objects = 0, triangles = 0;
    std::size_t commits = 0;  // applied so far, of all clients
    double milliseconds = 0;  // that the last commit took on the main thread
    std::int64_t updated = 0; // the time of the last commit, in seconds since 1970, UTC; 0: none yet
  };
  const State& state() const noexcept { return state_; }
  /// The state has changed.
  Listeners<> changed;

 private:
  struct Pending {
    std::shared_ptr<LinkConnection> connection;
    LinkScenePtr scene;
    bool undo = false;
    int skipped = 0; // commits that it replaced
  };

  bool claim(const LinkConnection& connection) override;
  void greeted(const std::shared_ptr<LinkConnection>& connection) override;
  void committed(const std::shared_ptr<LinkConnection>& connection, LinkScenePtr scene) override;
  void asked(const std::shared_ptr<LinkConnection>& connection, const Json& message) override;
  void ended(const LinkConnection& connection) override;

  bool startListening();
  void startTcp(const LinkTcp& tcp);
  void stopTcp();
  void describe();
  void listen(Socket& at, Wake& wake, const std::string& token, const std::atomic<bool>& stop);
  void applyPending();
  void show(const Pending& pending);
  void open(const std::shared_ptr<LinkConnection>& connection, const Json& message);
  void filesChanged();
  void tellPicked();
  void tellFinished(const FilmNews& news);
  void tellProgress();
  void tellCamera(bool send);
  void tell(const Json& message);
  void left(const LinkConnection* connection);
  void post(std::function<void(LinkServer&)> task);

  Session& session_;
  LinkApplier applier_;
  LinkGrabber grabber_;
  std::string path_, error_;
  std::string title_, started_; // as the file beside the socket says
  std::string token_, tcpError_;
  Socket listening_, tcpListening_;
  Wake wake_, tcpWake_;
  std::thread thread_, tcpThread_;
  std::atomic<bool> stop_{false}, tcpStop_{false};

  std::mutex mutex_; // of the members down to posted_
  std::vector<std::shared_ptr<LinkConnection>> connections_;
  const LinkConnection* owner_ = nullptr; // the client that sends a scene
  Pending pending_;
  bool posted_ = false;

  State state_;
  std::shared_ptr<LinkConnection> client_; // of the last applied scene
  LinkScenePtr shown_;
  bool applying_ = false;
  TimerId retry_ = 0, cameraTimer_ = 0, progressTimer_ = 0;
  Matrix lastView_;
  Real lastFov_ = 0;
  Stopwatch rendering_; // since the viewer's last render has begun
  ViewerProgress told_; // to those that watch
  Subscription picked_, filesChanged_, rendered_;
  Lifetime<LinkServer> lifetime_{*this};
  const WeakRef<LinkServer> self_; // copied on the connections' threads
};

} // namespace host
