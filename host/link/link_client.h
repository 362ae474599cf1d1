// The other side of the live link: asks a running Lumenara Studio. One thread; it waits for the answers.
#pragma once

#include <functional>
#include <string>

#include "clock.h"
#include "link_frame.h"
#include "stream_socket.h"

namespace host {

class LinkClient {
 public:
  using Stopped = std::function<bool()>;

  /// Connects to the socket at this path and waits for the greeting, at most so many milliseconds, or until
  /// `stopped` (may be empty) is true. `program` is the name that Studio shows. Throws LinkError.
  LinkClient(const std::string& path, const std::string& program, Milliseconds most, Stopped stopped = {});
  ~LinkClient(); // says goodbye
  LinkClient(const LinkClient&) = delete;
  LinkClient& operator=(const LinkClient&) = delete;

  /// Sends a message without blocks and returns the answer to it. Throws LinkError when Studio answers with
  /// an error, ends the connection, sends none in time, or when the wait was stopped.
  LinkFrame ask(Json message, Milliseconds most);

 private:
  using Wanted = std::function<bool(const Json&)>;
  LinkFrame receive(const Wanted& wanted, Milliseconds most);
  void write();
  bool read();

  Socket socket_;
  Wake wake_;
  LinkParser parser_;
  Stopped stopped_;
  std::string waiting_;
  std::vector<LinkFrame> received_;
  long next_ = 0;
};

} // namespace host
