#include "read_file.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>

#include "file_path.h"

namespace host {
namespace {

namespace fs = std::filesystem;

FileContent fault(ReadFault kind, std::string reason = {}) {
  return {kind, std::move(reason), {}};
}

ReadFault faultOf(const fs::file_status& status) {
  switch (status.type()) {
  case fs::file_type::regular:
    return ReadFault::none;
  case fs::file_type::not_found:
    return ReadFault::missing;
  case fs::file_type::directory:
    return ReadFault::folder;
  case fs::file_type::none:
    return ReadFault::unreachable;
  default:
    return ReadFault::notRegular;
  }
}

} // namespace

FileContent readFile(const Filename& file, std::uintmax_t mostBytes) {
  const fs::path path = toPath(file);
  std::error_code error;
  if (const ReadFault kind = faultOf(fs::status(path, error)); kind != ReadFault::none)
    return fault(kind, kind == ReadFault::unreachable ? error.message() : std::string());
  const std::uintmax_t size = fs::file_size(path, error);
  if (error) return fault(ReadFault::failed, error.message());
  if (size > mostBytes) return fault(ReadFault::tooLarge);
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(std::fopen(path.c_str(), "rb"), std::fclose);
  if (!stream) return fault(ReadFault::failed, std::generic_category().message(errno));
  FileContent content;
  content.bytes.resize(static_cast<std::size_t>(size));
  errno = 0;
  const std::size_t count = std::fread(content.bytes.data(), 1, content.bytes.size(), stream.get());
  if (count == content.bytes.size()) return content;
  return fault(ReadFault::failed, errno ? std::generic_category().message(errno) : "it became shorter");
}

} // namespace host
