#include "tiff_memory.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace host {
namespace {

// Pictures within our limits never need more for a part.
constexpr tmsize_t largestPart = tmsize_t{1} << 34;

TiffMemory& memoryOf(thandle_t self) {
  return *static_cast<TiffMemory*>(self);
}

__attribute__((format(printf, 4, 0))) // clang asks who checks the format
int keepError(TIFF*, void* text, const char*, const char* format, va_list values) {
  auto& error = *static_cast<std::string*>(text);
  char line[300];
  std::vsnprintf(line, sizeof line, format, values);
  if (error.empty()) error = line;
  return 1; // the library's other handlers are not called
}

int dropWarning(TIFF*, void*, const char*, const char*, va_list) {
  return 1;
}

} // namespace

TiffMemory::TiffMemory(PictureBytes file) : file_(file) {
  open("r");
  if (!tiff_) throw DamagedPicture(error_);
}

TiffMemory::TiffMemory() : writes_(true) {
  open("wl"); // lowest byte first, on every machine
  if (!tiff_) throw FilterError("could not be encoded (" + error_ + ")");
}

void TiffMemory::open(const char* mode) {
  const std::unique_ptr<TIFFOpenOptions, void (*)(TIFFOpenOptions*)> options(TIFFOpenOptionsAlloc(),
                                                                             TIFFOpenOptionsFree);
  if (!options) throw std::bad_alloc();
  TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), largestPart);
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), keepError, &error_);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), dropWarning, nullptr);
  tiff_.reset(TIFFClientOpenExt(
      "picture", mode, this, read, write, seek, [](thandle_t) { return 0; }, size, map,
      [](thandle_t, void*, toff_t) {}, options.get()));
}

tmsize_t TiffMemory::read(thandle_t self, void* to, tmsize_t count) {
  TiffMemory& memory = memoryOf(self);
  const auto* from =
      memory.writes_ ? memory.written_.data() : reinterpret_cast<const unsigned char*>(memory.file_.data());
  const std::uint64_t end = size(self);
  if (memory.position_ >= end || count <= 0) return 0;
  const std::uint64_t there =
      std::min<std::uint64_t>(static_cast<std::uint64_t>(count), end - memory.position_);
  std::memcpy(to, from + memory.position_, there);
  memory.position_ += there;
  return static_cast<tmsize_t>(there);
}

tmsize_t TiffMemory::write(thandle_t self, void* from, tmsize_t count) {
  TiffMemory& memory = memoryOf(self);
  if (!memory.writes_ || count < 0) return 0;
  try {
    const std::uint64_t end = memory.position_ + static_cast<std::uint64_t>(count);
    if (end > memory.written_.size()) memory.written_.resize(end);
  } catch (const std::exception&) { // no exception may cross the library
    memory.full_ = true;
    return -1;
  }
  std::memcpy(memory.written_.data() + memory.position_, from, static_cast<std::size_t>(count));
  memory.position_ += static_cast<std::uint64_t>(count);
  return count;
}

toff_t TiffMemory::seek(thandle_t self, toff_t offset, int from) {
  TiffMemory& memory = memoryOf(self);
  const std::uint64_t base = from == SEEK_CUR ? memory.position_ : from == SEEK_END ? size(self) : 0;
  return memory.position_ = base + offset;
}

toff_t TiffMemory::size(thandle_t self) {
  const TiffMemory& memory = memoryOf(self);
  return memory.writes_ ? memory.written_.size() : memory.file_.size();
}

int TiffMemory::map(thandle_t self, void** base, toff_t* count) {
  const TiffMemory& memory = memoryOf(self);
  if (memory.writes_) return 0;
  *base = const_cast<std::byte*>(memory.file_.data()); // only read
  *count = memory.file_.size();
  return 1;
}

FileBytes TiffMemory::finish() {
  const bool flushed = TIFFFlush(tiff_.get()) == 1;
  tiff_.reset();
  if (full_) throw std::bad_alloc();
  if (!flushed) throw FilterError("could not be encoded (" + error_ + ")");
  return std::move(written_);
}

} // namespace host
