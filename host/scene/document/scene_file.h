// Loading and saving documents. docs/scene-format.md describes the files.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "active_document.h"
#include "c4d_filename.h"
#include "snapshot.h"

namespace host {

/// Limits against files that would fill the memory.
struct LoadLimits {
  std::size_t fileBytes = std::size_t{8} << 30; // of one file
  std::size_t jsonBytes = std::size_t{512} << 20;
  std::size_t elements = 400'000'000; // sum of vertices, indices and keys
  int depth = 512;                    // of nested nodes
};

struct LoadOptions {
  /// Called with 0 to 1 from time to time on the loading thread; false cancels.
  std::function<bool(double)> progress;
  LoadLimits limits;
};

struct LoadResult {
  DocumentPtr document;       // null: not loaded
  std::string error;          // the reason, in one sentence: what, where, what to do
  std::string reason, advice; // the parts of `error`
  bool cancelled = false;
  std::vector<std::string> warnings;     // one sentence each; the scene loaded all the same
  std::vector<std::string> missingFiles; // pictures that could not be read, as the file names them
  std::vector<Filename> files;           // all files of the scene, itself first; also when it was not loaded
};

/// Loads glTF (.gltf, .glb), recognised by content, or imports OBJ, FBX, PLY, STL, DAE, recognised by suffix.
/// The document is evaluated at its time and has a render data and a view. Never throws. Any thread.
LoadResult loadDocument(const Filename& file, const LoadOptions& options = {});

/// The same for a glTF file in memory. Files that it names are looked up at or below `folder`; with an empty
/// folder none is found.
LoadResult loadDocumentFromMemory(std::span<const std::byte> bytes, const Filename& folder,
                                  const LoadOptions& options = {});

/// Pictures in files of their own are named by the scene, relative to its folder, or packed into it. A
/// picture whose file is gone, or that no relative name reaches, is packed either way.
enum class OutsidePictures { named, packed };

/// Writes .glb or .gltf (by the suffix) as one file, except outside pictures, and replaces the old file
/// whole. On failure the old file stays and `error` gets a sentence. The document is read under its lock.
/// `progress` (may be empty) is called with rising values from 0 to 1 on the saving thread. Any thread.
bool saveDocument(const BaseDocument& document, const Filename& file, std::string* error = nullptr,
                  const std::function<void(double)>& progress = {},
                  OutsidePictures pictures = OutsidePictures::named);

/// The files of the outside pictures that a document uses, each once.
std::vector<Filename> outsideFiles(const BaseDocument& document);

/// A picture's file as an outside picture; its bytes are null when it cannot be read.
PicturePtr readPictureFile(const Filename& file);

/// The bytes that `saveDocument` writes, with all pictures packed; with `binary` those of a .glb. Empty on
/// failure, with a sentence in `error`.
std::vector<std::byte> saveDocumentToMemory(const BaseDocument& document, bool binary,
                                            std::string* error = nullptr);

/// An empty document: a view and default render settings.
DocumentPtr newDocument();

/// Whether two documents are equal node by node and value by value, except identities, file name and folder.
/// `difference` (may be null) gets the first difference.
bool documentsEqual(const BaseDocument& a, const BaseDocument& b, std::string* difference = nullptr);

/// The contents of a document.
struct SceneCounts {
  std::size_t objects = 0, meshes = 0, triangles = 0, materials = 0, textures = 0, pictures = 0, lights = 0,
              cameras = 0, animations = 0;
  std::vector<std::string> cameraNames, animationNames;
  Vector low, high; // bounds of all meshes at the document's time
};
/// Shared meshes and pictures count once; `triangles` is the sum over all objects.
SceneCounts countScene(BaseDocument& document);

/// The box around all meshes at the document's time, except floors; nothing without meshes.
struct SceneBounds {
  Vector low, high;

  Vector center() const { return (low + high) * 0.5; }
  /// Half the diagonal, the radius of the sphere around the box. Above 0.
  Real radius() const;
};
std::optional<SceneBounds> sceneBounds(BaseDocument& document);

/// Places a view's own camera so that all meshes are seen from the front, above and the right.
void frameScene(BaseDocument& document, BaseDraw& view);

} // namespace host
