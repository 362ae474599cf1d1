// The viewer's picture for clients of the live link ("grab" in docs/link.md), made in the background.
#pragma once

#include <deque>
#include <functional>
#include <memory>

#include "background_job.h"
#include "lifetime.h"
#include "link_connection.h"
#include "session.h"

namespace host {

class LinkGrabber {
 public:
  explicit LinkGrabber(Session& session) : session_(session) {}
  ~LinkGrabber(); // drops what waits, and waits for the picture that is being made
  LinkGrabber(const LinkGrabber&) = delete;
  LinkGrabber& operator=(const LinkGrabber&) = delete;

  /// Throws LinkError when pictures are not written in the message's `format`. Any thread.
  static void check(const Json& message);

  /// Answers with the picture as it is now, one request after another. A checked message. Main thread.
  void grab(const std::shared_ptr<LinkConnection>& connection, const Json& message);

 private:
  struct Wish;
  void start();
  void ended();

  Session& session_;
  std::deque<std::shared_ptr<Wish>> wishes_; // the first one is under way when there is a job
  std::unique_ptr<BackgroundJob> job_;
  Lifetime<LinkGrabber> lifetime_{*this};
};

} // namespace host
