#include "render_queue.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

#include "atomic_file.h"
#include "c4d_events.h"
#include "command_run.h"
#include "farm_answers.h"
#include "main_loop.h"
#include "queue_file.h"
#include "read_file.h"
#include "scene_file.h"
#include "thumbnails.h"

namespace host::farm {
namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t mostBytes = std::uintmax_t{16}
                                     << 20;                // of the list, of a preview and of printed errors
constexpr std::size_t mostNewBytes = std::size_t{1} << 20; // of printed progress, at one look
constexpr Milliseconds patience = 8000;                    // of a cancelled program
constexpr int cancelledCode = 130;

std::string textOf(const Filename& file) {
  return file.GetString().GetUTF8();
}

std::string lastErrorLine(const Filename& file) {
  const FileContent content = readFile(file, mostBytes);
  return lastLine(std::string(content.text()));
}

/// An error of the program in the words of the window.
std::string wordsOf(std::string error) {
  constexpr std::string_view rest = "the same command with --resume renders the rest";
  if (const auto at = error.find(rest); at != error.npos)
    error.replace(at, rest.size(), "\"Render Again\" renders the rest");
  return sentenceOf(error);
}

} // namespace

std::optional<double> QueueRow::secondsLeft() const {
  if (state != QueueState::rendering || part < 0.01 || seconds < 1) return std::nullopt;
  return seconds * (1 - part) / part;
}

/// The animation that is being rendered.
struct RenderQueue::Running {
  Running(int number, const std::vector<std::string>& arguments, const Filename& out, const Filename& err)
      : id(number), child(arguments, out, err) {}

  int id;
  platform::ChildProgram child;
  std::uintmax_t taken = 0; // bytes of what it printed
  std::string line;         // that is not complete yet
  Milliseconds lastLook = 0;
  Milliseconds askedToEnd = 0; // 0: not
  std::int64_t pictureTime = 0, pictureSize = 0;
};

RenderQueue::RenderQueue(std::string program, const std::string& home)
    : program_(std::move(program)), home_(home), folder_(Filename(String(home)) + Filename("queue")) {
  std::error_code failed;
  fs::create_directories(textOf(folder_), failed);
  lock_ = std::make_unique<platform::FileLock>(folder_ + Filename("lock"), 0);
  if (failed)
    problem_ = "The folder \"" + textOf(folder_) +
               "\" cannot be made. Check your rights to the settings' folder, and the free space.";
  else if (!lock_->held())
    problem_ = "Another Lumenara Studio has the render queue. Add the animation there, or close it and start "
               "this one "
               "again.";
  else
    paused_ = read();
}

RenderQueue::~RenderQueue() {
  lifetime_.end();
  mainLoop().removeTimer(timer_);
  packing_.finish();
  const bool rendered = running_ != nullptr;
  running_.reset();
  if (rendered) write();
}

Filename RenderQueue::file(int id, const char* suffix) const {
  return folder_ + Filename(String(std::to_string(id) + suffix));
}

const QueueRow* RenderQueue::row(int id) const noexcept {
  const auto found =
      std::find_if(rows_.begin(), rows_.end(), [id](const QueueRow& row) { return row.id == id; });
  return found == rows_.end() ? nullptr : &*found;
}

QueueRow* RenderQueue::find(int id) noexcept {
  return const_cast<QueueRow*>(row(id));
}

int RenderQueue::left() const noexcept {
  return static_cast<int>(
      std::count_if(rows_.begin(), rows_.end(), [](const QueueRow& row) { return !row.isOver(); }));
}

// --- the folder ---

/// Whether animations wait.
bool RenderQueue::read() {
  const Filename list = folder_ + Filename("queue.json");
  const FileContent content = readFile(list, mostBytes);
  if (content.fault == ReadFault::missing) return false;
  int damaged = 0;
  auto rows = content.fault == ReadFault::none ? queueRowsOf(content.text(), damaged) : std::nullopt;
  if (!rows || damaged > 0) {
    std::error_code failed;
    fs::copy_file(textOf(list), textOf(list) + ".damaged", fs::copy_options::overwrite_existing, failed);
    GePrint(String("The render queue in " + textOf(list) + " is damaged; " +
                   (rows ? std::to_string(damaged) + " of its entries were left out." : "it starts empty.") +
                   " The file was copied to queue.json.damaged."));
  }
  if (rows) rows_ = std::move(*rows);
  for (QueueRow& row : rows_) {
    nextId_ = std::max(nextId_, row.id + 1);
    readPicture(row);
    if (row.isOver() || GeFExist(file(row.id, ".glb"))) continue;
    row.state = QueueState::failed;
    row.problem = "The queue's copy of the scene is missing. Add the animation again.";
  }
  return left() > 0;
}

void RenderQueue::write() {
  std::string error;
  if (replaceFile(folder_ + Filename("queue.json"), queueText(rows_), &error)) return;
  GePrint(String("The render queue cannot be kept in " + textOf(folder_) + ": " + error +
                 ". Make room; the queue goes on, but a next session does not know it."));
}

void RenderQueue::removeFiles(int id) const {
  for (const char* suffix : {".glb", ".out", ".err", ".jpg"}) {
    std::error_code failed;
    fs::remove(textOf(file(id, suffix)), failed);
  }
}

void RenderQueue::readPicture(QueueRow& row) {
  const AutoAlloc<BaseBitmap> bitmap;
  const Filename picture = file(row.id, ".jpg");
  if (GeFExist(picture) && bitmap && bitmap->Init(picture) == IMAGERESULT_OK)
    if (ThumbnailPtr thumbnail = thumbnailOf(*bitmap)) row.picture = std::move(thumbnail);
}

// --- the list ---

void RenderQueue::tell() {
  changed.call();
}

void RenderQueue::add(DocumentPtr scene, const std::string& name, const AnimationOrder& order, Done done) {
  if (!problem_.empty()) return done(problem_);
  if (rows_.size() + static_cast<std::size_t>(adding_) >= mostRows)
    return done("The queue holds at most " + std::to_string(mostRows) +
                " animations. Remove some that are over.");
  QueueRow row;
  row.id = nextId_++;
  row.scene = name;
  row.order = order;
  struct Packed {
    DocumentPtr scene;
    std::string error;
  };
  auto packed = std::make_shared<Packed>();
  packed->scene = std::move(scene);
  ++adding_;
  packing_.push(
      [packed, target = file(row.id, ".glb")] {
        if (packed->scene &&
            !saveDocument(*packed->scene, target, &packed->error, {}, OutsidePictures::packed) &&
            packed->error.empty())
          packed->error = "The scene cannot be written to the queue's folder.";
        packed->scene.reset();
      },
      [self = lifetime_.ref(), packed, row, done]() mutable {
        if (!self) return;
        --self->adding_;
        if (packed->error.empty()) {
          self->rows_.push_back(std::move(row));
          self->write();
          self->startNext();
        } else {
          self->removeFiles(row.id);
        }
        self->tell();
        done(packed->error);
      });
  tell();
}

void RenderQueue::pause(bool paused) {
  if (paused == paused_) return;
  paused_ = paused;
  if (running_) running_->child.halt(paused);
  if (running_) running_->lastLook = clock().now();
  startNext();
  tell();
}

void RenderQueue::cancel(int id) {
  QueueRow* row = find(id);
  if (!row || row->isOver()) return;
  if (running_ && running_->id == id) {
    running_->child.ask();
    running_->askedToEnd = std::max<Milliseconds>(1, clock().now());
    return;
  }
  row->state = QueueState::cancelled;
  write();
  tell();
}

void RenderQueue::retry(int id) {
  QueueRow* row = find(id);
  if (!row || !row->isOver()) return;
  if (!GeFExist(file(id, ".glb"))) {
    row->state = QueueState::failed;
    row->problem = "The queue's copy of the scene is missing. Add the animation again.";
    return tell();
  }
  row->order.keep = row->order.replace = true;
  row->state = QueueState::waiting;
  row->part = row->seconds = 0;
  row->frames = row->kept = 0;
  row->problem.clear();
  write();
  startNext();
  tell();
}

void RenderQueue::remove(int id) {
  const QueueRow* row = find(id);
  if (!row || (running_ && running_->id == id)) return;
  std::erase_if(rows_, [id](const QueueRow& one) { return one.id == id; });
  removeFiles(id);
  write();
  tell();
}

void RenderQueue::removeAllOver() {
  for (const QueueRow& row : rows_)
    if (row.isOver()) removeFiles(row.id);
  if (std::erase_if(rows_, [](const QueueRow& row) { return row.isOver(); }) == 0) return;
  write();
  tell();
}

void RenderQueue::moveUp(int id) {
  const auto movable = [](const QueueRow& row) { return row.state == QueueState::waiting; };
  for (std::size_t index = 1; index < rows_.size(); ++index) {
    if (rows_[index].id != id || !movable(rows_[index]) || !movable(rows_[index - 1])) continue;
    std::swap(rows_[index], rows_[index - 1]);
    write();
    return tell();
  }
}

// --- the program ---

void RenderQueue::startNext() {
  while (!running_ && !paused_) {
    const auto next = std::find_if(rows_.begin(), rows_.end(),
                                   [](const QueueRow& row) { return row.state == QueueState::waiting; });
    if (next == rows_.end()) break;
    start(*next);
  }
  if (running_ && timer_ == 0) timer_ = mainLoop().addTimer(period, [this] { look(); });
  if (!running_) mainLoop().removeTimer(std::exchange(timer_, 0));
}

void RenderQueue::start(QueueRow& row) {
  const Filename out = file(row.id, ".out"), err = file(row.id, ".err");
  for (const Filename& old : {out, err}) {
    std::error_code failed;
    fs::remove(textOf(old), failed);
  }
  std::vector<std::string> arguments = animateArguments(row.order, textOf(file(row.id, ".glb")));
  arguments.insert(arguments.begin(), program_);
  arguments.insert(arguments.end(),
                   {"--home=" + home_, "--json", "--quiet", "--preview=" + textOf(file(row.id, ".jpg"))});
  auto running = std::make_unique<Running>(row.id, arguments, out, err);
  if (!running->child.error().empty()) {
    row.state = QueueState::failed;
    row.problem = "The program " + program_ + " cannot be started: " + running->child.error() +
                  ". Install the package lumenara.";
    return write();
  }
  row.state = QueueState::rendering;
  row.part = row.seconds = 0;
  running->lastLook = clock().now();
  running_ = std::move(running);
}

void RenderQueue::look() {
  QueueRow* row = running_ ? find(running_->id) : nullptr;
  if (!row) return;
  const Milliseconds now = clock().now();
  if (!paused_) row->seconds += static_cast<double>(now - running_->lastLook) / 1000;
  running_->lastLook = now;
  std::optional<int> code = running_->child.ended(); // first: then the lines are all there
  readLines(*row);
  platform::FileTimes times;
  if (platform::fileTimes(textOf(file(row->id, ".jpg")), times) &&
      (times.modified != running_->pictureTime || times.size != running_->pictureSize)) {
    running_->pictureTime = times.modified, running_->pictureSize = times.size;
    readPicture(*row);
  }
  if (!code && running_->askedToEnd > 0 && now - running_->askedToEnd > patience) code = cancelledCode;
  if (code) over(*row, *code);
  tell();
}

void RenderQueue::readLines(QueueRow& row) {
  std::ifstream printed(textOf(file(row.id, ".out")), std::ios::binary);
  if (!printed.seekg(static_cast<std::streamoff>(running_->taken))) return;
  std::string bytes(mostNewBytes, '\0');
  printed.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  bytes.resize(static_cast<std::size_t>(printed.gcount()));
  running_->taken += bytes.size();
  for (const char c : bytes) {
    if (c != '\n') {
      if (running_->line.size() < mostNewBytes) running_->line += c;
      continue;
    }
    takeProgressLine(running_->line, row);
    running_->line.clear();
  }
}

void RenderQueue::over(QueueRow& row, int code) {
  const bool asked = running_->askedToEnd > 0;
  running_.reset();
  row.state = code == 0 ? QueueState::done : asked ? QueueState::cancelled : QueueState::failed;
  if (row.state == QueueState::failed) {
    const std::string error = lastErrorLine(file(row.id, ".err"));
    row.problem = error.empty() ? "The program that rendered ended with code " + std::to_string(code) +
                                      ". Render again; when it fails again, there may not be enough memory."
                                : wordsOf(error);
  }
  if (row.state == QueueState::done) row.part = 1;
  write();
  startNext();
}

} // namespace host::farm
