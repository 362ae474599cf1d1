#include "file_reference.h"

#include <algorithm>
#include <filesystem>
#include <mutex>
#include <system_error>

#include "file_path.h"
#include "gltf_file.h"
#include "node_state.h"

namespace host {

namespace {

namespace fs = std::filesystem;

bool isPlain(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '.' ||
         c == '_' || c == '~' || c == '/';
}

std::string escaped(const std::string& path) {
  static constexpr char digits[] = "0123456789ABCDEF";
  std::string uri;
  for (const char c : path) {
    const auto byte = static_cast<unsigned char>(c);
    if (isPlain(c))
      uri += c;
    else
      uri += {'%', digits[byte >> 4], digits[byte & 15]};
  }
  return uri;
}

bool hasScheme(const std::string& uri) {
  const std::size_t colon = uri.find(':');
  return colon != std::string::npos && colon < uri.find_first_of("/?#%");
}

bool leadsUp(const fs::path& path) {
  return !path.empty() && *path.begin() == "..";
}

// The relative path from folder to file. Below the folder it follows the names; elsewhere the real folders,
// because ".." after a symbolic link does not lead to the parent in its name.
fs::path relativePath(const fs::path& file, const fs::path& folder) {
  fs::path way = file.lexically_relative(folder);
  if (!way.empty() && !leadsUp(way)) return way;
  std::error_code error;
  const fs::path realFolder = fs::weakly_canonical(folder, error);
  if (error) return {};
  const fs::path realParent = fs::weakly_canonical(file.parent_path(), error);
  return error ? fs::path() : (realParent / file.filename()).lexically_relative(realFolder);
}

} // namespace

std::optional<Filename> resolveReference(const std::string& uri, const Filename& folder, Reach reach) {
  const std::string plain = percentDecoded(uri);
  if (!folder.Content() || plain.empty() || hasScheme(uri) || plain.find('\0') != std::string::npos ||
      plain.find('\\') != std::string::npos)
    return std::nullopt;
  const fs::path path = fs::path(plain).lexically_normal();
  if (path.is_absolute() || path.empty() || (reach == Reach::below && leadsUp(path))) return std::nullopt;
  return folder + Filename(String(path.generic_string()));
}

Filename absoluteFile(const Filename& file) {
  std::error_code error;
  const fs::path path = fs::absolute(toPath(file), error);
  return error ? file : toFilename(path.lexically_normal());
}

std::optional<std::string> referenceTo(const Filename& file, const Filename& folder) {
  const fs::path way = relativePath(toPath(absoluteFile(file)), toPath(absoluteFile(folder)));
  const std::string text = way.generic_string();
  if (text.empty() || text == "." || way.is_absolute() || !isUtf8(text) ||
      text.find('\\') != std::string::npos)
    return std::nullopt;
  return escaped(text);
}

std::optional<std::string> outsideReference(const Picture& picture, const Filename& folder) {
  std::error_code error;
  if (!picture.file.Content() || !folder.Content()) return std::nullopt;
  const bool there = fs::is_regular_file(toPath(picture.file), error);
  if (picture.bytes && !there) return std::nullopt; // these bytes are the last copy
  std::optional<std::string> uri = referenceTo(picture.file, folder);
  // Above the scene's folder only files that are recognised as pictures are read.
  if (uri && uri->starts_with("../") && picture.bytes && mimeTypeOf(*picture.bytes).empty())
    return std::nullopt;
  return uri;
}

std::vector<Filename> outsideFiles(const BaseDocument& document) {
  const DocumentState& state = *stateOf(&document);
  const std::lock_guard lock(state.mutex);
  std::vector<Filename> files;
  forEachOwned(state, [&](const NodeState& node) {
    PicturePtr picture;
    if (node.kind == NodeKind::object) picture = static_cast<const ObjectState&>(node).picture;
    if (node.kind == NodeKind::shader) picture = static_cast<const ShaderState&>(node).picture;
    for (; picture; picture = picture->fallback)
      if (picture->file.Content() && std::find(files.begin(), files.end(), picture->file) == files.end())
        files.push_back(picture->file);
  });
  return files;
}

PicturePtr readPictureFile(const Filename& file) {
  auto picture = std::make_shared<Picture>();
  picture->file = absoluteFile(file);
  picture->name = picture->uri = file.GetFileString().GetUTF8();
  try {
    picture->bytes = readWholeFile(picture->file, LoadLimits().fileBytes);
    picture->mimeType = mimeTypeOf(*picture->bytes);
  } catch (const SceneError&) {
    picture->bytes = nullptr;
  }
  return picture;
}

} // namespace host
