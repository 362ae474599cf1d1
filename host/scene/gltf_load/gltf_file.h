// A glTF file in memory: its JSON, buffers and pictures, and checked access to its numbers.
#pragma once

#include <tiny_gltf.h>

#include "gltf_json.h"
#include "mesh.h"
#include "scene_file.h"
#include "snapshot.h"

namespace host {

/// The limits and results of a load.
struct LoadContext {
  const LoadOptions& options;
  LoadResult& result;
  std::size_t elements = 0;    // read so far
  std::size_t notFinite = 0;   // numbers set to 0
  std::size_t otherShapes = 0; // points and lines left out

  /// Throws SceneCancelled when the caller cancels.
  void progress(double done) const;
  void warn(std::string sentence) { result.warnings.push_back(std::move(sentence)); }
  /// Warns of a missing picture, once.
  void missing(const std::string& picture);
  /// Counts `count * width` elements; throws SceneError beyond the limit.
  void spend(std::size_t count, std::size_t width);
};

/// Bytes of a file, which `owner` keeps.
struct FileBytes {
  BytesPtr owner;
  std::span<const std::byte> bytes;
};

struct GltfFile {
  Json root;
  std::vector<FileBytes> buffers;
  std::vector<BytesPtr> unpackedViews; // by buffer view; null, or missing at the end: not compressed
  std::vector<PicturePtr> images;
  tinygltf::Model model; // scenes, nodes, meshes, accessors, buffer views, skins, animations, cameras
};

/// Parses a file. Files that it names are looked up in `folder`; with an empty one none is found. Throws
/// SceneError.
GltfFile readGltf(BytesPtr bytes, const Filename& folder, LoadContext& context);

/// Whether the bytes are a binary glTF file.
bool isBinaryGltf(std::span<const std::byte> bytes) noexcept;
/// Whether the bytes may be glTF as text.
bool isTextGltf(std::span<const std::byte> bytes) noexcept;

/// The content of a file. Throws SceneError.
BytesPtr readWholeFile(const Filename& file, std::size_t mostBytes);

/// An accessor of the file. Throws SceneError for an index that is not in it.
const tinygltf::Accessor& accessorAt(const GltfFile& file, int index);
/// The number of elements, counted against the limit. Throws SceneError for another width.
std::size_t countElements(const GltfFile& file, int accessor, std::size_t width, LoadContext& context);
/// An accessor's numbers as floats, `width` for each element; integers are normalised as the accessor says.
/// Numbers that are not finite become 0. `out` has room for all. Throws SceneError for an accessor that
/// leaves its buffer.
void fillFloats(const GltfFile& file, int accessor, std::size_t width, LoadContext& context,
                std::span<float> out);
/// The same in a list.
std::vector<float> readFloats(const GltfFile& file, int accessor, std::size_t width, LoadContext& context);
template <std::size_t N>
std::vector<std::array<float, N>> readPieces(const GltfFile& file, int accessor, LoadContext& context) {
  std::vector<std::array<float, N>> pieces(countElements(file, accessor, N, context));
  if (!pieces.empty()) fillFloats(file, accessor, N, context, {pieces.front().data(), pieces.size() * N});
  return pieces;
}
/// The bytes of an accessor's elements without gaps, as the file holds them. Throws SceneError.
Bytes readRaw(const GltfFile& file, int accessor, LoadContext& context);
/// The same for unsigned integers. Counting throws SceneError for an accessor of floats.
std::size_t countIntegers(const GltfFile& file, int accessor, std::size_t width, LoadContext& context);
void fillIntegers(const GltfFile& file, int accessor, std::size_t width, std::span<std::uint32_t> out);
std::vector<std::uint32_t> readIntegers(const GltfFile& file, int accessor, std::size_t width,
                                        LoadContext& context);
/// The number of components of an element.
std::size_t accessorWidth(const GltfFile& file, int accessor);
/// The bytes of a buffer view. Throws SceneError.
std::span<const std::byte> viewBytes(const GltfFile& file, int view);

/// The MIME type of WebP pictures.
inline constexpr const char* webpType = "image/webp";
/// The MIME type of a picture by its first bytes; empty when unknown.
std::string mimeTypeOf(std::span<const std::byte> bytes);

} // namespace host
