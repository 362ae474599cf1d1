// One client of the live link, with a thread that reads, checks and answers.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "link_stage.h"
#include "stream_socket.h"

namespace host {

class LinkConnection;

/// The main thread's side of the connections. Called on their threads.
class LinkReceiver {
 public:
  /// Takes the right to send a scene. False while another client has it.
  virtual bool claim(const LinkConnection& connection) = 0;
  /// The client has said hello.
  virtual void greeted(const std::shared_ptr<LinkConnection>& connection) = 0;
  /// A commit: the newest scene replaces one that still waits.
  virtual void committed(const std::shared_ptr<LinkConnection>& connection, LinkScenePtr scene) = 0;
  /// A message "open" or "grab".
  virtual void asked(const std::shared_ptr<LinkConnection>& connection, const Json& message) = 0;
  virtual void ended(const LinkConnection& connection) = 0;

 protected:
  ~LinkReceiver() = default;
};

class LinkConnection : public std::enable_shared_from_this<LinkConnection> {
 public:
  /// `token`: a hello without it is refused; empty: none is wanted.
  LinkConnection(Socket socket, LinkReceiver& receiver, std::string token = {});
  ~LinkConnection();
  LinkConnection(const LinkConnection&) = delete;
  LinkConnection& operator=(const LinkConnection&) = delete;

  void start();
  /// Whether clients must send a token.
  bool needsToken() const noexcept { return !token_.empty(); }
  /// Begins to end the thread, without waiting for it. Any thread.
  void askToStop();
  /// Ends the thread, which still sends what waits, for at most a second. Waits for it.
  void stop();
  bool hasEnded() const noexcept { return ended_; }

  /// Queues a message. Any thread; never waits.
  void send(const Json& message, std::span<const std::byte> body = {});

  /// The client asked for messages "progress". Any thread.
  bool watchesProgress() const noexcept { return watchesProgress_; }
  /// The name that the client gave; after `greeted`.
  const std::string& program() const noexcept { return program_; }

 private:
  void run();
  bool exchange();
  bool flush();
  void take(LinkFrame&& frame);
  void hello(const Json& message);
  void serve(const LinkFrame& frame, const std::string& type);
  void fail(const Json& message, const std::string& text, const std::string& help);

  Socket socket_;
  LinkReceiver& receiver_;
  const std::string token_;
  LinkStage stage_;
  LinkParser parser_;
  Wake wake_;
  std::mutex mutex_; // of waiting_
  std::string waiting_, sending_;
  std::string program_;
  bool greeted_ = false, leaving_ = false; // its thread
  std::atomic<bool> stop_{false}, ended_{false}, watchesProgress_{false};
  std::thread thread_;
};

} // namespace host
