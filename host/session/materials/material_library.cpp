#include "material_library.h"

#include <algorithm>
#include <filesystem>
#include <span>
#include <utility>

#include "background_job.h"
#include "document.h"
#include "file_path.h"
#include "material_edits.h"
#include "scene_file.h"

namespace host {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t mostFiles = 2000;

// A material is small; its pictures may be large.
LoadOptions limits() {
  LoadOptions options;
  options.limits.fileBytes = std::size_t{512} << 20;
  options.limits.jsonBytes = std::size_t{16} << 20;
  options.limits.elements = 1'000'000;
  return options;
}

template <class Visit>
void forEachMaterial(const BaseDocument& document, const Visit& visit) {
  for (const NodeState* node = stateOf(&document)->materials.first(); node; node = node->next)
    visit(*node);
}

const NodeState* materialIn(const BaseDocument& document, Identity identity) {
  const NodeState* found = nullptr;
  forEachMaterial(document, [&](const NodeState& node) {
    if (node.identity == identity) found = &node;
  });
  return found;
}

std::vector<Filename> ownFiles(const Filename& folder) {
  std::vector<Filename> files;
  if (!folder.GetString().Content()) return files;
  std::error_code error;
  for (fs::directory_iterator at(toPath(folder), error), end; !error && at != end && files.size() < mostFiles;
       at.increment(error))
    if (at->path().extension() == ".glb" && at->is_regular_file(error))
      files.push_back(toFilename(at->path()));
  std::sort(files.begin(), files.end(), [](const Filename& a, const Filename& b) {
    return a.GetString().GetUTF8() < b.GetString().GetUTF8();
  });
  return files;
}

// A name of letters, digits and a few signs, that no folder can be reached with.
std::string fileNameOf(const std::string& name) {
  std::string safe;
  for (const char c : name.substr(0, 80)) {
    const auto byte = static_cast<unsigned char>(c);
    safe += byte < 32 || std::string_view("/\\:*?\"<>|").find(c) != std::string_view::npos ? '_' : c;
  }
  while (!safe.empty() && (safe.front() == '.' || safe.front() == ' '))
    safe.erase(0, 1);
  return safe.empty() ? "material" : safe;
}

Filename freeFile(const Filename& folder, const std::string& name) {
  std::error_code error;
  for (int number = 1;; ++number) {
    const Filename file =
        folder +
        Filename(String(name + (number == 1 ? std::string() : " " + std::to_string(number)) + ".glb"));
    if (!fs::exists(toPath(file), error)) return file;
  }
}

DocumentPtr documentOf(const NodeState& material, const String& name) {
  DocumentPtr document = newDocument();
  addMaterial(*document, material, name);
  return document;
}

} // namespace

struct MaterialLibrary::Shelf {
  Filename file;
  bool own = false;
  DocumentPtr document; // null: not read
  std::string problem;
};

MaterialLibrary::MaterialLibrary(MaterialPreviews& previews, Filename given, Filename folder)
    : previews_(previews), given_(std::move(given)), folder_(std::move(folder)) {
}

MaterialLibrary::~MaterialLibrary() {
  lifetime_.end();
  previews_.setSources({});
}

MaterialLibrary::ShelfPtr MaterialLibrary::read(const Filename& file, bool own) {
  auto shelf = std::make_shared<Shelf>();
  shelf->file = file, shelf->own = own;
  LoadResult loaded = loadDocument(file, limits());
  shelf->document = std::move(loaded.document);
  if (!shelf->document)
    shelf->problem = loaded.error;
  else if (!stateOf(shelf->document.get())->materials.first())
    shelf->problem =
        "The library's file \"" + file.GetString().GetUTF8() + "\" holds no material. Delete it.";
  return shelf;
}

std::vector<MaterialLibrary::ShelfPtr> MaterialLibrary::readAll(const Filename& given,
                                                                const Filename& folder) {
  std::vector<ShelfPtr> shelves{read(given, false)};
  for (const Filename& file : ownFiles(folder))
    shelves.push_back(read(file, true));
  return shelves;
}

void MaterialLibrary::run(const char* name, std::function<void()> work, std::function<void()> done) {
  Job job;
  job.done = std::move(done);
  job.thread = std::make_unique<BackgroundJob>(
      name, [work = std::move(work)](BaseThread&) { work(); },
      [self = lifetime_.ref()] {
        if (self) self->startNext();
      });
  jobs_.push_back(std::move(job));
  if (jobs_.size() == 1) startNext();
}

// Ends the first job when it has ended by itself, and starts the next.
void MaterialLibrary::startNext() {
  if (!jobs_.empty() && jobs_.front().started) {
    jobs_.front().thread->Wait(TRUE);
    const Job ended = std::move(jobs_.front());
    jobs_.pop_front();
    ended.done();
  }
  if (jobs_.empty() || jobs_.front().started) return;
  Job& next = jobs_.front();
  next.started = true;
  if (!next.thread->Start(THREADMODE_ASYNC, THREADPRIORITY_LOWEST)) startNext();
}

void MaterialLibrary::open() {
  if (std::exchange(opened_, true)) return;
  auto shelves = std::make_shared<std::vector<ShelfPtr>>();
  run(
      "material library", [shelves, given = given_, folder = folder_] { *shelves = readAll(given, folder); },
      [this, shelves] {
        shelves_ = std::move(*shelves);
        read_ = true;
        list();
      });
}

void MaterialLibrary::finish() {
  while (!jobs_.empty())
    startNext();
}

void MaterialLibrary::list() {
  entries_.clear();
  problems_.clear();
  std::vector<const BaseDocument*> sources;
  for (const ShelfPtr& shelf : shelves_) {
    if (!shelf->problem.empty()) problems_.push_back(shelf->problem);
    if (!shelf->document) continue;
    sources.push_back(shelf->document.get());
    forEachMaterial(*shelf->document, [&](const NodeState& node) {
      const std::string name = node.name.GetUTF8();
      const std::size_t slash = shelf->own ? std::string::npos : name.find('/');
      const bool grouped = slash != std::string::npos;
      entries_.push_back({node.identity,
                          grouped      ? name.substr(0, slash)
                          : shelf->own ? "Own"
                                       : "Others",
                          grouped ? name.substr(slash + 1) : name, shelf->own ? shelf->file : Filename()});
    });
  }
  previews_.setSources(std::move(sources));
  changed.call();
}

const MaterialLibrary::Entry* MaterialLibrary::entryOf(Identity identity) const {
  const auto found = std::find_if(entries_.begin(), entries_.end(),
                                  [identity](const Entry& entry) { return entry.identity == identity; });
  return found == entries_.end() ? nullptr : &*found;
}

Identity MaterialLibrary::bring(BaseDocument& document, Identity material) const {
  const Entry* entry = entryOf(material);
  if (!entry) return material;
  for (const ShelfPtr& shelf : shelves_)
    if (const NodeState* node = shelf->document ? materialIn(*shelf->document, material) : nullptr)
      return addMaterial(document, *node, String(entry->name));
  return material;
}

void MaterialLibrary::keep(const BaseDocument& document, Identity material, Done done) {
  const NodeState* node = materialIn(document, material);
  if (!node) return done("There is no such material. Select one.");
  if (!folder_.GetString().Content())
    return done("This program keeps no home folder, so it has no library of your own. Start it with one.");
  std::error_code error;
  fs::create_directories(toPath(folder_), error);
  if (error)
    return done("The folder \"" + folder_.GetString().GetUTF8() + "\" cannot be made (" + error.message() +
                "). Check its rights and the free space.");
  auto shelf = std::make_shared<Shelf>();
  shelf->own = true;
  shelf->file = freeFile(folder_, fileNameOf(node->name.GetUTF8()));
  shelf->document = documentOf(*node, node->name);
  run(
      "library entry",
      [shelf] {
        if (saveDocument(*shelf->document, shelf->file, &shelf->problem, {}, OutsidePictures::packed))
          shelf->problem.clear();
      },
      [this, shelf, done = std::move(done)] {
        if (shelf->problem.empty() && read_) shelves_.push_back(shelf), list();
        done(shelf->problem);
      });
}

std::string MaterialLibrary::remove(Identity identity) {
  const Entry* entry = entryOf(identity);
  if (!entry || !entry->own()) return "Only materials of your own can be deleted.";
  const Filename file = entry->file;
  std::error_code error;
  fs::remove(toPath(file), error);
  if (error)
    return "The file \"" + file.GetString().GetUTF8() + "\" cannot be deleted (" + error.message() +
           "). Check its rights.";
  std::erase_if(shelves_, [&](const ShelfPtr& shelf) { return shelf->own && shelf->file == file; });
  list();
  return {};
}

std::string materialText(const BaseDocument& document, Identity material, std::string& error) {
  const NodeState* node = materialIn(document, material);
  if (!node) return error = "There is no such material. Select one.", std::string();
  const DocumentPtr alone = documentOf(*node, node->name);
  const std::vector<std::byte> bytes = saveDocumentToMemory(*alone, false, &error);
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

Identity pasteMaterials(BaseDocument& document, const std::string& text, std::string& error) {
  const LoadResult loaded = loadDocumentFromMemory(std::as_bytes(std::span(text)), {}, limits());
  Identity last = 0;
  if (loaded.document)
    forEachMaterial(*loaded.document,
                    [&](const NodeState& node) { last = addMaterial(document, node, node.name); });
  if (!last) error = "The clipboard holds no material. Copy one here, or in another window of this program.";
  return last;
}

} // namespace host
