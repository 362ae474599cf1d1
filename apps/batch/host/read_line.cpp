#include "read_line.h"

#include "interrupt.h"
#include "platform.h"

namespace batch {

// Polls, because a blocking read would not notice Ctrl-C.
std::string readLine() {
  constexpr int pollPeriod = 50; // milliseconds
  std::string line;
  while (!interrupted()) {
    const int byte = host::platform::readInputByte(pollPeriod);
    if (byte == -2) return {};
    if (byte == '\n') return line;
    if (byte >= 0) line.push_back(static_cast<char>(byte));
  }
  return {};
}

} // namespace batch
