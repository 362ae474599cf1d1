// Documents and files. docs/scene-format.md describes what a file holds.
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

/// Bounds against files that would fill the memory.
struct LoadLimits {
  std::size_t fileBytes = std::size_t{8} << 30; // of one file
  std::size_t jsonBytes = std::size_t{512} << 20;
  std::size_t elements = 400'000'000; // vertices, indices and keys that are read, together
  int depth = 512;                    // of nodes below nodes
};

struct LoadOptions {
  /// Called with 0 to 1 from time to time on the loading thread; false cancels.
  std::function<bool(double)> progress;
  LoadLimits limits;
};

struct LoadResult {
  DocumentPtr document;       // null: not loaded
  std::string error;          // why not, one sentence: what, where, what to do
  std::string reason, advice; // the error's parts: why not, what to do
  bool cancelled = false;
  std::vector<std::string> warnings;     // one sentence each; the scene loaded all the same
  std::vector<std::string> missingFiles; // pictures that are not there, as the file names them
  std::vector<Filename> files; // all that it consists of, the scene first; also when it did not load
};

/// Loads glTF (.gltf, .glb) or imports OBJ, FBX, PLY, STL, DAE; the content decides for glTF, the suffix for
/// the others. The document stands evaluated at its time and has a render data and a view. Never throws. Any
/// thread.
LoadResult loadDocument(const Filename& file, const LoadOptions& options = {});

/// The same for a glTF file in memory. Files that it names are looked up at or below `folder`; with an empty
/// folder there are none.
LoadResult loadDocumentFromMemory(std::span<const std::byte> bytes, const Filename& folder,
                                  const LoadOptions& options = {});

/// Pictures that lie in files of their own: named by the scene, relative to its folder, or written into it.
/// One whose file is gone, or that no relative name reaches, is written into the scene either way.
enum class OutsidePictures { named, packed };

/// Writes .glb or .gltf (by the suffix), all but the outside pictures inside the one file, which is replaced
/// whole. False with a sentence in `error`; the old file stays then. The document is read under its lock.
/// `progress` (may be empty) is called with 0 to 1, never less than before, from time to time on the saving
/// thread. Any thread.
bool saveDocument(const BaseDocument& document, const Filename& file, std::string* error = nullptr,
                  const std::function<void(double)>& progress = {},
                  OutsidePictures pictures = OutsidePictures::named);

/// The files of the outside pictures that a document uses, each once.
std::vector<Filename> outsideFiles(const BaseDocument& document);

/// A picture's file as an outside picture; its bytes are null when it cannot be read.
PicturePtr readPictureFile(const Filename& file);

/// The bytes that `saveDocument` writes, all pictures packed; with `binary` those of a .glb. Empty with a
/// sentence in `error` when it cannot be.
std::vector<std::byte> saveDocumentToMemory(const BaseDocument& document, bool binary,
                                            std::string* error = nullptr);

/// A document with nothing in it but what every document has: a view, default render settings.
DocumentPtr newDocument();

/// Whether two documents are equal node by node and value by value; identities, file name and folder aside.
/// `difference` tells the first one found.
bool documentsEqual(const BaseDocument& a, const BaseDocument& b, std::string* difference = nullptr);

/// What a document holds.
struct SceneCounts {
  std::size_t objects = 0, meshes = 0, triangles = 0, materials = 0, textures = 0, pictures = 0, lights = 0,
              cameras = 0, animations = 0;
  std::vector<std::string> cameraNames, animationNames;
  Vector low, high; // bounds of all meshes at the document's time
};
/// `meshes` and `pictures` count those that differ, `triangles` those of all objects together.
SceneCounts countScene(BaseDocument& document);

/// The box around all meshes at the document's time, floors aside; nothing when there is none.
struct SceneBounds {
  Vector low, high;

  Vector center() const { return (low + high) * 0.5; }
  /// Half the diagonal: that of the sphere around the box. Above 0.
  Real radius() const;
};
std::optional<SceneBounds> sceneBounds(BaseDocument& document);

/// Places a view's own camera so that it sees all meshes, from the front, above and to the right.
void frameScene(BaseDocument& document, BaseDraw& view);

} // namespace host
