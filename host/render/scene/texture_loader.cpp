#include "texture_loader.h"

#include <algorithm>
#include <chrono>
#include <new>
#include <utility>

#include "picture_load.h"
#include "platform.h"

namespace host::render {

TextureLoader& TextureLoader::shared() {
  static TextureLoader loader;
  return loader;
}

TextureLoader::~TextureLoader() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
    queue_.clear();
  }
  work_.notify_all();
  for (std::thread& thread : threads_)
    thread.join();
}

TextureLoader::JobPtr TextureLoader::start(const PicturePtr& picture, ColorSpace space,
                                           const InputColors* colors, int threads) {
  const std::lock_guard lock(mutex_);
  for (const JobPtr& job : known_)
    if (job->picture->id == picture->id && job->space == space && job->colors == colors) return job;
  if (known_.size() >= mostKnown) dropUnused();
  auto job = std::make_shared<Job>();
  job->picture = picture;
  job->space = space;
  job->colors = colors;
  if (idle_ <= queue_.size() && threads_.size() < static_cast<std::size_t>(std::max(1, threads)))
    threads_.emplace_back([this] { serve(); });
  known_.push_back(job);
  queue_.push_back(job);
  work_.notify_one();
  return job;
}

bool TextureLoader::wait(const Job& job, const std::function<bool()>& stopped) {
  std::unique_lock lock(mutex_);
  while (!job.done) {
    done_.wait_for(lock, std::chrono::milliseconds(2));
    if (job.done) break;
    lock.unlock(); // `stopped` is the caller's code
    if (stopped && stopped()) return false;
    lock.lock();
  }
  return true;
}

void TextureLoader::forget(const JobPtr& job) {
  const std::lock_guard lock(mutex_);
  std::erase(known_, job);
}

void TextureLoader::forgetUnused() {
  const std::lock_guard lock(mutex_);
  dropUnused();
}

void TextureLoader::dropUnused() {
  std::erase_if(known_, [](const JobPtr& job) { return job->done && job.use_count() == 1; });
}

void TextureLoader::decode(Job& job) {
  try {
    // Normals, roughness and the like are numbers: no profile may change them.
    const PictureUse use = job.space == ColorSpace::srgb ? PictureUse::colors : PictureUse::data;
    LoadedPicture loaded = loadPictureBytes(*job.picture->bytes, job.picture->name, use);
    job.error = std::move(loaded.error);
    job.outOfMemory = loaded.shortage;
    if (!loaded.picture) return;
    if (job.colors && !loaded.picture->tellsColors)
      loaded.picture = job.colors->toRec709(std::move(loaded.picture));
    job.texture = std::make_shared<const Texture>(*loaded.picture, job.space, job.colors);
  } catch (const std::bad_alloc&) {
    job.outOfMemory = true;
  }
}

void TextureLoader::serve() {
  platform::setThreadPriority(-1);
  platform::setThreadName("texture loader");
  std::unique_lock lock(mutex_);
  for (;;) {
    ++idle_;
    work_.wait(lock, [this] { return ending_ || !queue_.empty(); });
    --idle_;
    if (queue_.empty()) return;
    const JobPtr job = queue_.front();
    queue_.pop_front();
    lock.unlock();
    decode(*job);
    lock.lock();
    job->done = true;
    done_.notify_all();
  }
}

} // namespace host::render
