#include "atomic_file.h"

#include <atomic>
#include <cerrno>
#include <charconv>
#include <optional>
#include <system_error>

#include "file_path.h"
#include "platform.h"
#include "utf8.h"

namespace host {

namespace {

namespace fs = std::filesystem;

std::string reasonOf(int code) {
  return std::system_category().message(code);
}

// The file that a chain of links leads to, whether it exists or not.
fs::path behindLink(const fs::path& path) {
  std::error_code ignored;
  fs::path file = path;
  for (int i = 0; i < 40 && fs::is_symlink(file, ignored); ++i) {
    const fs::path next = fs::read_symlink(file, ignored);
    file = next.is_absolute() ? next : file.parent_path() / next;
  }
  return file;
}

// The target's name in the name of its temporary file, short enough for any file system.
std::string shortName(const fs::path& target) {
  std::string stem = target.stem().string();
  if (stem.size() > 100) stem.resize(utf8::offset(stem, 25));
  const std::string suffix = target.extension().string();
  return suffix.size() > 30 ? stem : stem + suffix;
}

// ".name.suffix.<process>-<number>.tmp" beside the target. The suffix keeps the file out of listings of the
// target's kind.
fs::path temporaryFor(const fs::path& target) {
  static std::atomic<unsigned> number{0};
  return target.parent_path() / ("." + shortName(target) + "." + std::to_string(platform::processNumber()) +
                                 "-" + std::to_string(++number) + ".tmp");
}

// The parts of a name from `temporaryFor`.
struct Unfinished {
  std::string target; // its short name
  long writer = 0;    // the process
};

std::optional<Unfinished> unfinished(std::string_view name) {
  constexpr std::string_view ending = ".tmp";
  if (!name.starts_with('.') || !name.ends_with(ending)) return std::nullopt;
  name = name.substr(1, name.size() - 1 - ending.size());
  const std::size_t point = name.rfind('.');
  if (point == name.npos) return std::nullopt;
  long writer = 0;
  unsigned number = 0;
  const char* const end = name.data() + name.size();
  const auto [dash, noWriter] = std::from_chars(name.data() + point + 1, end, writer);
  if (noWriter != std::errc() || writer <= 0 || dash == end || *dash != '-') return std::nullopt;
  const auto [stop, noNumber] = std::from_chars(dash + 1, end, number);
  if (noNumber != std::errc() || stop != end) return std::nullopt;
  return Unfinished{std::string(name.substr(0, point)), writer};
}

} // namespace

void removeLeftovers(const Filename& folder, const std::function<bool(const std::string& target)>& wanted) {
  std::error_code ignored;
  for (fs::directory_iterator entry(toPath(folder), ignored), end; entry != end; entry.increment(ignored)) {
    const auto file = unfinished(entry->path().filename().native());
    if (file && platform::hasEnded(file->writer) && (!wanted || wanted(file->target)))
      fs::remove(entry->path(), ignored);
  }
}

AtomicFile::AtomicFile(const Filename& target) : target_(toFilename(behindLink(toPath(target)))) {
}

AtomicFile::~AtomicFile() {
  if (file_) std::fclose(file_);
  if (made_) std::remove(temporary_.GetString().GetUTF8().c_str());
}

bool AtomicFile::fail(int code) {
  return fail(reasonOf(code));
}

bool AtomicFile::fail(std::string reason) {
  if (!failed_) error_ = std::move(reason);
  failed_ = true;
  return false;
}

bool AtomicFile::open() {
  const fs::path target = toPath(target_);
  std::error_code ignored;
  const fs::file_status status = fs::status(target, ignored);
  if (target.empty() || fs::is_directory(status)) return fail(target.empty() ? ENOENT : EISDIR);
  direct_ = fs::exists(status) && !fs::is_regular_file(status);
  temporary_ = direct_ ? target_ : toFilename(temporaryFor(target));
  file_ = std::fopen(temporary_.GetString().GetUTF8().c_str(), direct_ ? "wb" : "wbx");
  if (!file_) return fail(errno);
  made_ = !direct_;
  if (made_ && fs::exists(status)) fs::permissions(toPath(temporary_), status.permissions(), ignored);
  return true;
}

bool AtomicFile::write(const void* bytes, std::size_t count) {
  if (failed_ || !file_) return fail("the file is not open");
  if (count > 0 && std::fwrite(bytes, 1, count, file_) != count) return fail(errno);
  return true;
}

bool AtomicFile::seek(long long position) {
  if (failed_ || !file_) return fail("the file is not open");
  if (fseeko(file_, static_cast<off_t>(position), SEEK_SET) != 0) return fail(errno);
  return true;
}

bool AtomicFile::closeForOthers() {
  if (failed_ || !file_) return fail("the file is not open");
  std::FILE* file = file_;
  file_ = nullptr;
  return std::fclose(file) == 0 || fail(errno);
}

bool AtomicFile::commit() {
  if (failed_) return false;
  if (!file_ && made_) // written by a library meanwhile
    file_ = std::fopen(temporary_.GetString().GetUTF8().c_str(), "r+b");
  if (!file_) return fail("the file is not open");
  const bool flushed = std::fflush(file_) == 0 && (direct_ || platform::flushToDisk(file_));
  const int flushError = errno;
  const bool closed = std::fclose(file_) == 0;
  file_ = nullptr;
  if (!flushed || !closed) return fail(flushed ? errno : flushError);
  if (direct_) return true;
  if (std::rename(temporary_.GetString().GetUTF8().c_str(), target_.GetString().GetUTF8().c_str()) != 0)
    return fail(errno);
  made_ = false;
  platform::flushFolder(target_.GetDirectory());
  return true;
}

bool replaceFile(const Filename& target, std::span<const std::byte> bytes, std::string* error) {
  AtomicFile file(target);
  const bool done = file.open() && file.write(bytes.data(), bytes.size()) && file.commit();
  if (!done && error) *error = file.error();
  return done;
}

bool replaceFile(const Filename& target, std::string_view text, std::string* error) {
  return replaceFile(target, std::as_bytes(std::span(text.data(), text.size())), error);
}

} // namespace host
