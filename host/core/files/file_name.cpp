// Filename.
#include "c4d_filename.h"

#include <string_view>

#include "main_loop.h"
#include "user_interface.h"

namespace {

bool isSchemeCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '+' || c == '-' ||
         c == '.';
}

// The start of the pieces: after "scheme://host" in a web address, else 0.
std::size_t piecesStart(std::string_view path) {
  std::size_t scheme = 0;
  while (scheme < path.size() && isSchemeCharacter(path[scheme]))
    ++scheme;
  if (scheme < 2 || path.substr(scheme, 3) != "://") return 0;
  const std::size_t slash = path.find('/', scheme + 3);
  return slash == std::string_view::npos ? path.size() : slash;
}

bool isWebAddress(std::string_view path) {
  return piecesStart(path) > 0;
}

bool isAbsolute(std::string_view path) {
  return (!path.empty() && path[0] == '/') || isWebAddress(path);
}

// Leaves one separator between pieces and removes it at the end.
std::string normalised(std::string_view path) {
  if (isWebAddress(path)) return std::string(path);
  std::string result;
  result.reserve(path.size());
  for (char c : path)
    if (c != '/' || result.empty() || result.back() != '/') result.push_back(c);
  if (result.size() > 1 && result.back() == '/') result.pop_back();
  return result;
}

// The start of the last piece.
std::size_t fileStart(std::string_view path) {
  const std::size_t first = piecesStart(path), slash = path.rfind('/');
  if (slash == std::string_view::npos || slash < first) return first;
  return slash + 1;
}

// The position of the suffix's point; the size of the path without a suffix.
std::size_t suffixPoint(std::string_view path) {
  const std::size_t file = fileStart(path), point = path.rfind('.');
  if (point == std::string_view::npos || point <= file) return path.size();
  if (path.find_first_not_of('.', file) == std::string_view::npos) return path.size();
  return point;
}

std::string_view utf8(const String& text) {
  return text.GetUTF8();
}

String toString(std::string_view text) {
  return String(text);
}

String joined(std::string_view directory, std::string_view piece) {
  if (directory.empty() || isAbsolute(piece)) return toString(piece);
  if (piece.empty()) return toString(directory);
  std::string path(directory);
  if (path.back() != '/') path += '/';
  return toString(normalised(path.append(piece)));
}

} // namespace

Filename::Filename() = default;
Filename::Filename(const char* path) {
  SetString(path);
}
Filename::Filename(const String& path) {
  SetString(path);
}
Filename::Filename(const Filename&) = default;
Filename::Filename(Filename&&) noexcept = default;
Filename& Filename::operator=(const Filename&) = default;
Filename& Filename::operator=(Filename&&) noexcept = default;
Filename::~Filename() = default;

void Filename::SetString(const String& path) {
  path_ = toString(normalised(utf8(path)));
}

Filename Filename::GetDirectory() const {
  const std::string_view path = utf8(path_);
  return toString(path.substr(0, fileStart(path)));
}

void Filename::SetDirectory(const Filename& directory) {
  path_ = joined(utf8(directory.path_), utf8(GetFileString()));
}

Filename Filename::GetFile() const {
  return GetFileString();
}

String Filename::GetFileString() const {
  const std::string_view path = utf8(path_);
  return toString(path.substr(fileStart(path)));
}

void Filename::SetFile(const Filename& file) {
  path_ = joined(utf8(GetDirectory().path_), utf8(file.GetFileString()));
}

String Filename::GetSuffix() const {
  const std::string_view path = utf8(path_);
  const std::size_t point = suffixPoint(path);
  return point < path.size() ? toString(path.substr(point + 1)) : String();
}

void Filename::SetSuffix(const String& suffix) {
  ClearSuffix();
  std::string_view text = utf8(suffix);
  if (!text.empty() && text[0] == '.') text.remove_prefix(1);
  const std::string_view path = utf8(path_);
  if (text.empty() || fileStart(path) >= path.size()) return;
  path_ += toString("." + std::string(text));
}

void Filename::ClearSuffix() {
  const std::string_view path = utf8(path_);
  path_ = toString(path.substr(0, suffixPoint(path)));
}

Bool Filename::CheckSuffix(const String& suffix) const {
  return GetSuffix().LexCompare(suffix) == 0;
}

Filename& Filename::operator+=(const Filename& piece) {
  path_ = joined(utf8(path_), utf8(piece.path_));
  return *this;
}

Filename operator+(const Filename& directory, const Filename& piece) {
  Filename sum(directory);
  sum += piece;
  return sum;
}

Bool Filename::FileSelect(FILESELECTTYPE type, FILESELECT flags, const String& title,
                          const String& forceSuffix) {
  Filename chosen;
  bool accepted = false;
  const host::FileRequest request{type, flags, title, forceSuffix, *this};
  host::mainLoop().call(
      [&] {
        host::ModalScope modal;
        accepted = host::userInterface().selectFile(request, chosen);
      },
      host::CallKind::box);
  if (!accepted || !chosen.Content()) return FALSE;
  if (forceSuffix.Content() && flags == FILESELECT_SAVE && !chosen.CheckSuffix(forceSuffix))
    chosen.SetSuffix(forceSuffix);
  *this = chosen;
  return TRUE;
}
