// A full disk, as far as one process can have one.
#pragma once

#include <sys/resource.h>

#include <csignal>
#include <cstdint>

/// Files of this process may grow to `bytes` while it lives; a write beyond fails with an error. A child
/// process would not do where savers use threads: it lacks them.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(std::uintmax_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit{static_cast<rlim_t>(bytes), before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  void (*handler_)(int);
  rlimit before_{};
};
