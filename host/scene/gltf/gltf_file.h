// A glTF file in memory: its JSON, buffers and pictures, and checked access to its numbers.
#pragma once

#include <tiny_gltf.h>

#include "gltf_json.h"
#include "mesh.h"
#include "scene_file.h"
#include "snapshot.h"

namespace host {

/// What a loader collects on the way.
struct LoadContext {
  const LoadOptions& options;
  LoadResult& result;
  std::size_t elements = 0;    // read so far
  std::size_t notFinite = 0;   // numbers set to 0
  std::size_t otherShapes = 0; // points and lines left out

  /// Throws SceneCancelled when the caller wants no more.
  void progress(double done) const;
  void warn(std::string sentence) { result.warnings.push_back(std::move(sentence)); }
  /// Notes a picture that is not there, once.
  void missing(const std::string& picture);
  /// Throws SceneError when a file wants more than the limit allows.
  void spend(std::size_t count, std::size_t width);
};

struct GltfFile {
  Json root;
  std::vector<BytesPtr> buffers;
  std::vector<PicturePtr> images;
  tinygltf::Model model; // scenes, nodes, meshes, accessors, buffer views, skins, animations, cameras
};

/// Takes a file apart. `folder` is where the files that it names are; none when empty. Throws SceneError.
GltfFile readGltf(BytesPtr bytes, const Filename& folder, LoadContext& context);

/// Whether the bytes are a binary glTF file.
bool isBinaryGltf(std::span<const std::byte> bytes) noexcept;
/// Whether the bytes may be a glTF text.
bool isTextGltf(std::span<const std::byte> bytes) noexcept;

/// A whole file. Throws SceneError with a reason that a user understands.
BytesPtr readWholeFile(const Filename& file, std::size_t mostBytes);

/// An accessor's numbers as floats, `width` a piece; integers become what the accessor says they mean.
/// Numbers that are not finite become 0. Throws SceneError when it does not have that width or leaves its
/// buffer.
std::vector<float> readFloats(const GltfFile& file, int accessor, std::size_t width, LoadContext& context);
/// The same for whole numbers from 0 on.
std::vector<std::uint32_t> readIntegers(const GltfFile& file, int accessor, std::size_t width,
                                        LoadContext& context);
/// How many numbers a piece has.
std::size_t accessorWidth(const GltfFile& file, int accessor);
/// The bytes of a buffer view. Throws SceneError.
std::span<const std::byte> viewBytes(const GltfFile& file, int view);

/// The MIME type that a picture's first bytes show; empty when unknown.
std::string mimeTypeOf(std::span<const std::byte> bytes);

} // namespace host
