#include "gltf_pictures.h"

#include <algorithm>

#include "file_reference.h"

namespace host {

namespace {

std::string lastPiece(const std::string& path) {
  const std::size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// A picture's file; null when it cannot be read. Above its folder a scene can read pictures only: it may come
// from a stranger, and files that it names may be sent on with it.
BytesPtr readOutside(const Filename& file, bool above, const LoadContext& context) {
  try {
    BytesPtr bytes = readWholeFile(file, context.options.limits.fileBytes);
    return above && mimeTypeOf(*bytes).empty() ? nullptr : bytes;
  } catch (const SceneError&) {
    return nullptr;
  }
}

PicturePtr readPicture(const GltfFile& file, const Json& image, std::size_t number, const Filename& folder,
                       LoadContext& context) {
  auto picture = std::make_shared<Picture>();
  const std::string uri = textIn(image, "uri");
  picture->mimeType = textIn(image, "mimeType");
  picture->name = textIn(image, "name");
  const int view = indexIn(image, "bufferView", file.model.bufferViews.size(), "buffer view");
  if (view >= 0) {
    const auto bytes = viewBytes(file, view);
    picture->bytes = std::make_shared<Bytes>(bytes.begin(), bytes.end());
  } else if (isDataUri(uri)) {
    if (auto data = readDataUri(uri)) {
      if (picture->mimeType.empty()) picture->mimeType = data->mimeType;
      picture->bytes = std::make_shared<Bytes>(std::move(data->bytes));
    }
  } else {
    picture->uri = uri;
    if (picture->name.empty()) picture->name = lastPiece(percentDecoded(uri));
    if (const auto name = resolveReference(uri, folder, Reach::anywhere)) {
      context.result.files.push_back(*name);
      picture->file = absoluteFile(*name);
      picture->bytes = readOutside(*name, !resolveReference(uri, folder, Reach::below), context);
    }
  }
  if (const Json& kept = member(ours(image), "uri"); !kept.is_null()) picture->uri = textOf(kept);
  if (picture->name.empty()) picture->name = "picture " + std::to_string(number);
  if (picture->bytes && picture->mimeType.empty()) picture->mimeType = mimeTypeOf(*picture->bytes);
  return picture;
}

// Where a texture names its WebP picture. The second name is not a registered one, but it is in files.
constexpr const char* webpExtensions[] = {"EXT_texture_webp", "KHR_texture_webp"};

int webpSource(const GltfFile& file, const Json& texture) {
  for (const char* name : webpExtensions)
    if (const int source = indexIn(extension(texture, name), "source", file.images.size(), "picture");
        source >= 0)
      return source;
  return -1;
}

// WebP pictures keep those that other programs show instead of them. A WebP picture is no such picture, so
// none leads back to itself.
void keepFallbacks(GltfFile& file) {
  const Json& textures = member(file.root, "textures");
  std::vector<int> fallback(file.images.size(), -1);
  std::vector<bool> isWebp(file.images.size(), false);
  for (std::size_t i = 0; i < countOf(textures); ++i) {
    const int webp = webpSource(file, textures[i]);
    if (webp < 0) continue;
    isWebp[static_cast<std::size_t>(webp)] = true;
    int& other = fallback[static_cast<std::size_t>(webp)];
    if (other < 0) other = indexIn(textures[i], "source", file.images.size(), "picture");
  }
  for (std::size_t i = 0; i < file.images.size(); ++i) {
    if (!isWebp[i]) continue;
    auto picture = std::make_shared<Picture>(*file.images[i]);
    if (picture->mimeType.empty()) picture->mimeType = webpType;
    if (fallback[i] >= 0 && !isWebp[static_cast<std::size_t>(fallback[i])])
      picture->fallback = file.images[static_cast<std::size_t>(fallback[i])];
    file.images[i] = std::move(picture);
  }
}

} // namespace

bool isReadable(const Picture& picture) noexcept {
  return picture.bytes && !mimeTypeOf(*picture.bytes).empty();
}

int textureSource(const GltfFile& file, const Json& texture) {
  const int plain = indexIn(texture, "source", file.images.size(), "picture");
  const int webp = webpSource(file, texture);
  if (webp < 0 || plain < 0) return std::max(webp, plain);
  const bool better = isReadable(*file.images[static_cast<std::size_t>(webp)]) ||
                      !isReadable(*file.images[static_cast<std::size_t>(plain)]);
  return better ? webp : plain;
}

void readPictures(GltfFile& file, const Filename& folder, LoadContext& context) {
  const Json& list = member(file.root, "images");
  for (std::size_t i = 0; i < countOf(list); ++i) {
    file.images.push_back(readPicture(file, list[i], i, folder, context));
    if (const Picture& picture = *file.images.back(); !picture.bytes)
      context.missing(picture.uri.empty() ? picture.name : picture.uri);
    context.progress(0.3 + 0.2 * static_cast<double>(i + 1) / static_cast<double>(list.size()));
  }
  keepFallbacks(file);
}

std::string mimeTypeOf(std::span<const std::byte> bytes) {
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()),
                              std::min<std::size_t>(bytes.size(), 16));
  const auto starts = [&](std::string_view mark) { return text.substr(0, mark.size()) == mark; };
  if (starts("\x89PNG")) return "image/png";
  if (starts("\xFF\xD8\xFF")) return "image/jpeg";
  if (starts("#?RADIANCE") || starts("#?RGBE")) return "image/vnd.radiance";
  if (starts("\x76\x2F\x31\x01")) return "image/x-exr";
  if (starts("RIFF") && text.size() >= 12 && text.substr(8, 4) == "WEBP") return webpType;
  if (starts("BM")) return "image/bmp";
  if (starts(std::string_view("II*\0", 4)) || starts(std::string_view("MM\0*", 4))) return "image/tiff";
  return {};
}

} // namespace host
