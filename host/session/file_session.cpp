#include "file_session.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include "background_job.h"
#include "c4d_file.h"
#include "console.h"
#include "file_path.h"
#include "node_paths.h"
#include "platform.h"
#include "recent_files.h"
#include "scene_edits.h"
#include "scene_reading.h"
#include "scene_versions.h"
#include "sky_picture_file.h"

namespace host {

namespace {

constexpr Milliseconds progressPeriod = 100;

} // namespace

// --- jobs ---

struct FileSession::Loader {
  Filename file;
  bool reload = false;
  std::size_t revision = 0;         // of the edits when the user was asked
  std::optional<Filename> original; // the file whose unsaved scene this is
  OpenDone done;                    // empty: nobody waits
  std::atomic<double> progress{0};
  SceneContent known; // of the document that was open
  SceneReading reading;

  void end(OpenEnd how, const FileError* error = nullptr) {
    if (const OpenDone told = std::exchange(done, {})) told(how, error);
  }
  std::unique_ptr<BackgroundJob> job;
};

struct FileSession::Saver {
  Filename file;
  DocumentPtr copy;
  Identity document = 0;
  std::size_t revision = 0;
  std::atomic<double> progress{0};
  bool packed = false, done = false;
  std::string error;
  FileStamp stamp;               // of the written file
  std::vector<Filename> outside; // the pictures that it names
  std::unique_ptr<BackgroundJob> job;
};

// --- the session ---

FileSession::FileSession(DocumentHub& hub, Edits& edits) : hub_(hub), edits_(edits) {
  mendRecentFiles();
  editsSubscription_ = edits_.changed.add([this] { changed.call(); });
  timer_ = mainLoop().addTimer(watchPeriod, [this] { watchTick(); });
}

FileSession::~FileSession() {
  lifetime_.end();
  mainLoop().removeTimer(timer_);
  mainLoop().removeTimer(progressTimer_);
  if (saver_) saver_->job->Wait(TRUE);
}

void FileSession::setQuestions(FileQuestions questions) {
  questions_ = std::move(questions);
}

void FileSession::fail(FileError error) {
  if (questions_.failed)
    questions_.failed(error);
  else
    printLine(String(std::string_view(error.text())));
}

void FileSession::setActivity(Activity activity) {
  activity_ = std::move(activity);
  changed.call();
}

// True when the open scene may be replaced.
bool FileSession::resolveUnsaved() {
  if (asking_) return false;
  edits_.end();
  edits_.revision();
  if (!edits_.isDirty()) return true;
  UnsavedAnswer answer = UnsavedAnswer::cancel;
  if (questions_.unsaved) {
    asking_ = true;
    const ModalScope modal;
    answer = questions_.unsaved(title(), unsavedChanges());
    asking_ = false;
  }
  if (answer == UnsavedAnswer::discard) return true;
  if (answer == UnsavedAnswer::cancel || !save()) return false;
  finish();
  return !saveFailed_ && !edits_.isDirty();
}

bool FileSession::newScene() {
  if (!hub_.document() || !resolveUnsaved()) return false;
  giveUpLoading();
  watch_.clear();
  warnings_.clear();
  packed_ = false;
  hub_.replace(nullptr, Replacement::created);
  changed.call();
  return true;
}

bool FileSession::isSkyPicture(const Filename& file) {
  return host::isSkyPicture(file);
}

bool FileSession::setSkyPicture(const Filename& file, const std::vector<Identity>& skies) {
  FileError error;
  if (showSky(file, skies, error)) return true;
  if (!error.sentence.empty()) fail(std::move(error));
  return false;
}

bool FileSession::showSky(const Filename& file, const std::vector<Identity>& skies, FileError& error) {
  if (!hub_.document()) return false;
  const PicturePtr picture = readSkyPicture(*hub_.document(), file, error);
  return picture &&
         edits_.apply("Set Sky Picture", [&](BaseDocument& to) { host::setSkyPicture(to, skies, picture); });
}

bool FileSession::open(const Filename& file, OpenDone done) {
  if (!done) done = [](OpenEnd, const FileError*) {};
  if (isSkyPicture(file)) {
    FileError error;
    const bool shown = showSky(file, {}, error);
    shown ? done(OpenEnd::opened, nullptr) : done(OpenEnd::failed, &error);
    if (!error.sentence.empty()) fail(std::move(error));
    return shown;
  }
  if (!hub_.document() || !resolveUnsaved()) {
    done(OpenEnd::kept, nullptr);
    return false;
  }
  startLoading(absolute(file), false, {}, std::move(done));
  return true;
}

bool FileSession::recover(const Filename& data, const Filename& original, std::function<void(bool)> done) {
  if (!hub_.document() || !resolveUnsaved()) return false;
  startLoading(absolute(data), false, original,
               [done = std::move(done)](OpenEnd end, const FileError*) { done(end == OpenEnd::opened); });
  return true;
}

void FileSession::startLoading(const Filename& file, bool reload, const std::optional<Filename>& original,
                               OpenDone done) {
  giveUpLoading();
  loader_ = std::make_shared<Loader>();
  Loader* loader = loader_.get();
  loader->file = file;
  loader->reload = reload;
  loader->original = original;
  loader->done = std::move(done);
  loader->revision = edits_.revision();
  if (hub_.document()) loader->known = contentOf(*stateOf(hub_.document()));
  loader->job = std::make_unique<BackgroundJob>(
      "load scene",
      [loader](BaseThread& thread) {
        loader->reading = readScene(loader->file, std::exchange(loader->known, {}), loader->progress, thread);
      },
      [self = lifetime_.ref(), watched = std::weak_ptr(loader_)] {
        if (self) self->jobEnded(watched.lock());
      });
  Activity activity;
  activity.kind = Activity::Kind::loading;
  activity.progress = 0;
  activity.since = clock().now();
  const Filename& shown = loader->original && loader->original->Content() ? *loader->original : loader->file;
  activity.text = String(loader->reload ? "Reloading " : "Loading ") + shown.GetFileString();
  activity.canCancel = true;
  setActivity(std::move(activity));
  watchProgress();
  if (!loader->job->Start(THREADMODE_ASYNC, THREADPRIORITY_BELOW)) {
    loader->reading.result.error = "no thread could be started";
    loaded();
  }
}

void FileSession::watchProgress() {
  if (progressTimer_ == 0)
    progressTimer_ = mainLoop().addTimer(
        progressPeriod, [this] { progressTick(); }, Urgency::painting);
}

void FileSession::progressTick() {
  if (activity_.kind == Activity::Kind::loading && loader_)
    activity_.progress = loader_->progress;
  else if (activity_.kind == Activity::Kind::saving && saver_)
    activity_.progress = saver_->progress;
  else
    return mainLoop().removeTimer(std::exchange(progressTimer_, 0));
  changed.call();
}

void FileSession::giveUpLoading() {
  if (!loader_) return;
  loader_->job->askToStop();
  const std::shared_ptr<Loader> stopped = givenUp_.emplace_back(std::move(loader_));
  setActivity({});
  stopped->end(OpenEnd::cancelled);
}

void FileSession::cancelLoading() {
  giveUpLoading();
}

void FileSession::jobEnded(const std::shared_ptr<const void>& job) {
  if (!job) return;
  std::erase_if(givenUp_, [&](const auto& loader) { return loader == job; });
  if (loader_ == job) loaded();
  if (saver_ == job) saved();
}

void FileSession::loaded() {
  const std::shared_ptr<Loader> loader = std::exchange(loader_, nullptr);
  loader->job->Wait(TRUE);
  setActivity({});
  const LoadResult& result = loader->reading.result;
  if (result.document && !result.cancelled && hub_.document()) return takeOver(*loader);
  if (result.cancelled || !hub_.document()) return loader->end(OpenEnd::cancelled);
  FileError error = loadError(loader->file, result, loader->reload);
  loader->end(OpenEnd::failed, &error);
  fail(std::move(error));
}

void FileSession::takeOver(Loader& loader) {
  // Edits made while the file was read count as unsaved changes.
  if (edits_.revision() != loader.revision && !resolveUnsaved()) return loader.end(OpenEnd::kept);
  if (loader.reload) carryOver(*stateOf(hub_.document()), *stateOf(loader.reading.result.document.get()));
  if (!loader.reload) packed_ = false;
  warnings_ = std::move(loader.reading.result.warnings);
  watchLoaded(loader);
  if (loader.original) {
    loader.reading.result.document->SetDocumentName(loader.original->GetFile());
    loader.reading.result.document->SetDocumentPath(loader.original->GetDirectory());
  }
  hub_.replace(std::move(loader.reading.result.document),
               loader.reload ? Replacement::reloaded : Replacement::opened);
  if (loader.original) edits_.markUnsaved();
  for (const std::string& warning : warnings_)
    printLine(String(std::string_view(warning)));
  if (!loader.reload && !loader.original) remember(loader.file);
  changed.call();
  loader.end(OpenEnd::opened);
}

// In place of a recovered scene's own file, the original is watched.
void FileSession::watchLoaded(Loader& loader) {
  if (!loader.original)
    return watch_.watch(std::move(loader.reading.result.files), std::move(loader.reading.stamps));
  std::vector<Filename> files;
  std::vector<FileStamp> stamps;
  const auto add = [&](const Filename& file, const FileStamp& stamp) {
    files.push_back(file);
    stamps.push_back(stamp);
  };
  if (loader.original->Content()) add(*loader.original, stampOf(*loader.original));
  for (std::size_t i = 0; i < loader.reading.result.files.size(); ++i)
    if (const Filename& file = loader.reading.result.files[i];
        absolute(file).GetString() != loader.file.GetString())
      add(file, loader.reading.stamps[i]);
  watch_.watch(std::move(files), std::move(stamps));
}

// --- recent files ---

std::vector<Filename> FileSession::recentFiles() const {
  return host::recentFiles();
}

void FileSession::remember(const Filename& file) {
  rememberRecentFile(file);
  changed.call();
}

bool FileSession::openRecent(const Filename& file) {
  if (GeFExist(file)) return open(file);
  forgetRecentFile(file);
  changed.call();
  FileError error;
  error.sentence = "The scene could not be opened.";
  error.reason = "The file \"" + file.GetString().GetUTF8() + "\" no longer exists.";
  error.advice = "It was removed from the list of recent files; open it from its present place.";
  fail(std::move(error));
  return false;
}

void FileSession::clearRecent() {
  clearRecentFiles();
  changed.call();
}

// --- saving ---

bool FileSession::save() {
  const Filename own = file();
  if (own.Content() && isScene(own)) return saveTo(own, packed_ && own.CheckSuffix("glb"));
  Filename chosen = own;
  if (own.Content())
    chosen.SetSuffix("glb");
  else
    chosen = Filename("Untitled.glb");
  if (!questions_.chooseSave) return false;
  {
    const ModalScope modal;
    if (!questions_.chooseSave(chosen)) return false;
  }
  return saveAs(chosen);
}

bool FileSession::saveAs(const Filename& file) {
  return saveTo(file, false);
}

bool FileSession::savePacked(const Filename& file) {
  Filename target = file;
  if (target.Content()) target.SetSuffix("glb");
  return saveTo(target, true);
}

bool FileSession::saveNewVersion() {
  const Filename own = file();
  if (!own.Content() || !isScene(own)) return save();
  return saveTo(nextVersion(own), packed_ && own.CheckSuffix("glb"));
}

bool FileSession::saveTo(const Filename& file, bool packed) {
  if (!hub_.document() || !file.Content()) return false;
  Filename target = absolute(file);
  if (!isScene(target)) target = Filename(target.GetString() + ".glb");
  edits_.end();
  if (saver_) finish();
  startSaving(target, packed);
  return true;
}

void FileSession::startSaving(const Filename& file, bool packed) {
  saver_ = std::make_shared<Saver>();
  Saver* saver = saver_.get();
  saveFailed_ = false;
  saver->file = file;
  saver->packed = packed;
  saver->revision = edits_.revision();
  saver->document = hub_.document()->GetIdentity();
  saver->copy.reset(hub_.document()->GetClone(COPYFLAGS_0));
  saver->job = std::make_unique<BackgroundJob>(
      "save scene",
      [saver](BaseThread&) {
        const auto progress = [saver](double part) { saver->progress = part; };
        const auto pictures = saver->packed ? OutsidePictures::packed : OutsidePictures::named;
        saver->done =
            saver->copy && saveDocument(*saver->copy, saver->file, &saver->error, progress, pictures);
        saver->stamp = stampOf(saver->file);
        if (saver->done && !saver->packed) saver->outside = outsideFiles(*saver->copy);
        saver->copy.reset();
      },
      [self = lifetime_.ref(), watched = std::weak_ptr(saver_)] {
        if (self) self->jobEnded(watched.lock());
      });
  Activity activity;
  activity.kind = Activity::Kind::saving;
  activity.progress = 0;
  activity.since = clock().now();
  activity.text = "Saving " + file.GetFileString();
  setActivity(std::move(activity));
  watchProgress();
  if (!saver->job->Start(THREADMODE_ASYNC, THREADPRIORITY_BELOW)) {
    saver->error = "no thread could be started";
    saved();
  }
}

void FileSession::saved() {
  const std::shared_ptr<Saver> saver = std::exchange(saver_, nullptr);
  saver->job->Wait(TRUE);
  setActivity({});
  BaseDocument* document = hub_.document();
  if (!saver->done) {
    saveFailed_ = true;
    return fail({"The scene could not be saved.",
                 saver->error.empty() ? "There is not enough memory." : saver->error,
                 "Your changes are still here; save them under another name or in another folder.", ""});
  }
  if (document && document->GetIdentity() == saver->document) {
    document->SetDocumentName(saver->file.GetFile());
    document->SetDocumentPath(saver->file.GetDirectory());
    packed_ = saver->packed;
    watchSaved(*saver);
    edits_.markSaved(saver->revision);
  }
  remember(saver->file);
  changed.call();
}

// Pictures that are watched already keep the stamps with which they were read.
void FileSession::watchSaved(const Saver& saver) {
  std::vector<Filename> files{saver.file};
  std::vector<FileStamp> stamps{saver.stamp};
  for (const Filename& picture : saver.outside) {
    files.push_back(picture);
    stamps.push_back(watch_.known(picture).value_or(stampOf(picture)));
  }
  watch_.watch(std::move(files), std::move(stamps));
}

void FileSession::finish() {
  while (loader_ || saver_) {
    if (loader_) {
      loader_->job->Wait(TRUE);
      loaded();
    }
    if (saver_) {
      saver_->job->Wait(TRUE);
      saved();
    }
  }
}

bool FileSession::mayClose() {
  if (!hub_.document()) return true;
  giveUpLoading();
  if (!resolveUnsaved()) return false;
  finish();
  return true;
}

// --- the open file ---

void FileSession::watchTick() {
  if (loader_ || saver_ || asking_ || watch_.files().empty()) return;
  const bool wasGone = watch_.isGone();
  const FileWatch::Look look = watch_.look();
  if (watch_.isGone() != wasGone) changed.call();
  if (look == FileWatch::Look::changed) fileChanged();
}

void FileSession::fileChanged() {
  edits_.end();
  edits_.revision();
  if (edits_.isDirty()) {
    if (!questions_.reload) return;
    asking_ = true;
    bool yes = false;
    {
      const ModalScope modal;
      yes = questions_.reload(title());
    }
    asking_ = false;
    if (!yes) return;
  }
  startLoading(watch_.files().front(), true);
}

// --- names ---

Filename FileSession::file() const {
  const BaseDocument* document = hub_.document();
  if (!document || !document->GetDocumentName().Content()) return {};
  return document->GetDocumentPath() + document->GetDocumentName();
}

Filename FileSession::outputFile(const Filename& typed) const {
  if (!typed.Content() || toPath(typed).is_absolute()) return typed;
  const BaseDocument* document = hub_.document();
  Filename folder = document ? document->GetDocumentPath() : Filename();
  folder = folder.Content() ? absolute(folder) : platform::userVideosFolder();
  if (!folder.Content()) return typed;
  const Filename file = absolute(folder + typed);
  GeFCreateDirRec(file.GetDirectory());
  return file;
}

String FileSession::title() const {
  const BaseDocument* document = hub_.document();
  const Filename name = document ? document->GetDocumentName() : Filename();
  return name.Content() ? name.GetString() : String("Untitled");
}

String FileSession::windowTitle() const {
  return title() + (watch_.isGone() ? " (deleted)" : "") + (isDirty() ? " *" : "");
}

} // namespace host
