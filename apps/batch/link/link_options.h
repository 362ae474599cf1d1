// Options of the commands that talk to a running Lumenara Studio.
#pragma once

#include <string>

namespace batch {

struct StudioOptions {
  long process = 0; // 0: the newest
  double wait = 60; // seconds for the answer
  bool quiet = false;
};

struct SendOptions {
  std::string scene;
  StudioOptions studio;
};

struct GrabOptions {
  std::string image;
  StudioOptions studio;
};

} // namespace batch
