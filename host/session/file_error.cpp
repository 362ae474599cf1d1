#include "file_error.h"

namespace host {

std::string FileError::text() const {
  std::string all = sentence;
  for (const std::string* part : {&reason, &advice})
    if (!part->empty()) all += (all.empty() ? "" : " ") + *part;
  return all;
}

} // namespace host
