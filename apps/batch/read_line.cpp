#include "read_line.h"

#include <poll.h>
#include <unistd.h>

#include "interrupt.h"

namespace batch {

// A read alone would go on waiting after Ctrl-C.
std::string readLine() {
  constexpr int pollPeriod = 50; // milliseconds
  std::string line;
  while (!interrupted()) {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    if (poll(&input, 1, pollPeriod) <= 0) continue;
    char byte = 0;
    if (read(STDIN_FILENO, &byte, 1) != 1) return {};
    if (byte == '\n') return line;
    line.push_back(byte);
  }
  return {};
}

} // namespace batch
