#include "scene_file.h"

#include <new>

#include "document.h"
#include "gltf_load.h"
#include "scene_import.h"

namespace host {

namespace {

// The sentence names the scene once; for a problem with another file it names that file.
void fail(LoadResult& result, const std::string& name, const SceneError& error) {
  result.reason = error.what();
  if (result.reason.starts_with(name)) result.reason.replace(0, name.size(), "it");
  result.advice = error.advice;
  result.error = "The scene " + name + " cannot be loaded: " + result.reason + ". " + result.advice;
}

// Runs a loader and turns its exceptions into the result's sentence.
template <class Load>
LoadResult guarded(const std::string& name, const LoadOptions& options, const Load& load) {
  LoadResult result;
  LoadContext context{options, result, 0, 0, 0};
  try {
    result.document.reset(nodeOf<BaseDocument>(load(context).release()));
  } catch (const SceneCancelled&) {
    result.cancelled = true;
    result.error = "Loading the scene " + name + " was cancelled.";
  } catch (const SceneError& error) {
    fail(result, name, error);
  } catch (const std::bad_alloc&) {
    fail(result, name, SceneError("there is not enough memory", "Close other programs, or split the scene."));
  } catch (const std::exception& error) {
    fail(result, name, SceneError(std::string("it cannot be read (") + error.what() + ")"));
  }
  if (!result.document) result.warnings.clear(), result.missingFiles.clear();
  return result;
}

NodePtr<DocumentState> loadGltf(BytesPtr bytes, const Filename& folder, LoadContext& context) {
  const GltfFile file = readGltf(std::move(bytes), folder, context);
  return buildDocument(file, context);
}

} // namespace

LoadResult loadDocument(const Filename& file, const LoadOptions& options) {
  const std::string name = "\"" + file.GetString().GetUTF8() + "\"";
  LoadResult result = guarded(name, options, [&](LoadContext& context) {
    context.result.files.push_back(file);
    const BytesPtr bytes = readWholeFile(file, options.limits.fileBytes);
    if (bytes->empty()) throw SceneError("the file is empty", "Export the scene again.");
    if (isBinaryGltf(*bytes) || file.CheckSuffix("gltf") || file.CheckSuffix("glb"))
      return loadGltf(bytes, file.GetDirectory().Content() ? file.GetDirectory() : Filename("."), context);
    if (canImport(file)) return importDocument(file, *bytes, context);
    if (isTextGltf(*bytes))
      return loadGltf(bytes, file.GetDirectory().Content() ? file.GetDirectory() : Filename("."), context);
    throw SceneError("its kind is unknown",
                     "Choose a file of the kind gltf, glb, obj, fbx, ply, stl or dae.");
  });
  if (!result.document) return result;
  result.document->SetDocumentName(file.GetFile());
  result.document->SetDocumentPath(file.GetDirectory());
  return result;
}

LoadResult loadDocumentFromMemory(std::span<const std::byte> bytes, const Filename& folder,
                                  const LoadOptions& options) {
  return guarded("in memory", options, [&](LoadContext& context) {
    if (bytes.empty()) throw SceneError("there is nothing in it", "Export the scene again.");
    return loadGltf(std::make_shared<Bytes>(bytes.begin(), bytes.end()), folder, context);
  });
}

DocumentPtr newDocument() {
  return DocumentPtr(BaseDocument::Alloc());
}

} // namespace host
