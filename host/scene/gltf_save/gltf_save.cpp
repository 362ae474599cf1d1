// Saves documents as glTF files: builds the whole file in memory, then writes it piece by piece.
#include <algorithm>

#include "atomic_file.h"
#include "file_reference.h"
#include "gltf_writer.h"
#include "scene_file.h"

namespace host {

namespace {

// The progress of a save: collecting the meshes, then writing the file.
using Progress = std::function<void(double)>;
constexpr double collected = 0.3, written = 0.95;
constexpr std::size_t writtenAtOnce = std::size_t{4} << 20;

void putWord(Bytes& to, std::size_t value) {
  for (int i = 0; i < 4; ++i)
    to.push_back(static_cast<std::byte>((value >> (8 * i)) & 255));
}

Bytes binaryFile(const Json& root, const Bytes& data) {
  std::string text = root.dump();
  text.resize((text.size() + 3) & ~std::size_t{3}, ' ');
  const std::size_t padded = (data.size() + 3) & ~std::size_t{3};
  const std::size_t length = 12 + 8 + text.size() + (data.empty() ? 0 : 8 + padded);
  if (length > 0xFFFFFFFFU) throw SceneError("it is larger than 4 GB", "Split the scene into smaller ones.");
  Bytes file;
  file.reserve(length);
  putWord(file, 0x46546C67), putWord(file, 2), putWord(file, length);
  putWord(file, text.size()), putWord(file, 0x4E4F534A);
  const auto bytes = std::as_bytes(std::span(text));
  file.insert(file.end(), bytes.begin(), bytes.end());
  if (data.empty()) return file;
  putWord(file, padded), putWord(file, 0x004E4942);
  file.insert(file.end(), data.begin(), data.end());
  file.resize(length);
  return file;
}

Bytes textFile(Json root, const Bytes& data) {
  if (!data.empty()) root["buffers"][0]["uri"] = "data:application/octet-stream;base64," + toBase64(data);
  const std::string text = root.dump(1) + "\n";
  if (text.size() > LoadLimits().jsonBytes)
    throw SceneError("it is too large for a .gltf, which is text", "Save it as .glb.");
  const auto bytes = std::as_bytes(std::span(text));
  return {bytes.begin(), bytes.end()};
}

// The form of a saved scene.
struct Form {
  bool binary = true, packed = true;
  Filename folder; // of the scene's file; empty for a scene in memory
};

Bytes fileOf(const BaseDocument& document, const Form& form, const Progress& progress) {
  const DocumentState& state = *stateOf(&document);
  const std::lock_guard lock(state.mutex);
  Progress collecting;
  if (progress) collecting = [&progress](double part) { progress(collected * part); };
  GltfWriter writer(state, form.folder, form.packed, std::move(collecting));
  Json root = writer.write();
  return form.binary ? binaryFile(root, writer.data()) : textFile(std::move(root), writer.data());
}

Bytes guardedFileOf(const BaseDocument& document, const Form& form, const Progress& progress,
                    std::string* error) {
  std::string why;
  try {
    return fileOf(document, form, progress);
  } catch (const SceneError& problem) {
    why = std::string(problem.what()) + ". " + problem.advice;
  } catch (const std::bad_alloc&) {
    why = "there is not enough memory. Close other programs, then save again.";
  } catch (const std::exception& problem) {
    why = std::string(problem.what()) + ".";
  }
  if (error) *error = "The scene cannot be saved: " + why;
  return {};
}

// Replaces the file, piece by piece to report the progress. `why` gets the reason of a failure.
bool writeFile(const Filename& target, const Bytes& bytes, const Progress& progress, std::string& why) {
  AtomicFile file(target);
  bool good = file.open();
  for (std::size_t at = 0; good && at < bytes.size(); at += writtenAtOnce) {
    if (progress)
      progress(collected +
               (written - collected) * static_cast<double>(at) / static_cast<double>(bytes.size()));
    good = file.write(bytes.data() + at, std::min(writtenAtOnce, bytes.size() - at));
  }
  if (good && progress) progress(written);
  good = good && file.commit();
  if (good && progress) progress(1);
  if (!good) why = file.error();
  return good;
}

} // namespace

std::vector<std::byte> saveDocumentToMemory(const BaseDocument& document, bool binary, std::string* error) {
  return guardedFileOf(document, {binary, true, {}}, {}, error);
}

bool saveDocument(const BaseDocument& document, const Filename& file, std::string* error,
                  const std::function<void(double)>& progress, OutsidePictures pictures) {
  const std::string name = "\"" + file.GetString().GetUTF8() + "\"";
  const bool binary = file.CheckSuffix("glb");
  if (!binary && !file.CheckSuffix("gltf")) {
    if (error)
      *error = "The scene cannot be saved as " + name + ": choose a name that ends in .glb or .gltf.";
    return false;
  }
  const Form form{binary, pictures == OutsidePictures::packed, absoluteFile(file).GetDirectory()};
  const Bytes bytes = guardedFileOf(document, form, progress, error);
  if (bytes.empty()) return false;
  std::string why;
  if (writeFile(file, bytes, progress, why)) return true;
  if (error)
    *error = "The scene cannot be saved as " + name + ": " + why + ". Choose another folder, or make room.";
  return false;
}

} // namespace host
