#include "embree_device.h"

#include <atomic>
#include <mutex>
#include <new>

#include "worker_threads.h"

namespace host::render {
namespace {

struct Device {
  // Embree starts no threads: the host's workers join its builds.
  RTCDevice device = rtcNewDevice("threads=1,set_affinity=0");
  ~Device() {
    if (device) rtcReleaseDevice(device);
  }
};

// ThreadSanitizer does not see the library's synchronisation and would report each hand-over between threads;
// under it one worker builds alone, and builds take turns.
#if defined(__SANITIZE_THREAD__)
constexpr bool joinBuilds = false;
std::mutex turns;
class Turn {
  const std::lock_guard<std::mutex> lock_{turns};
};
#else
constexpr bool joinBuilds = true;
struct Turn {};
#endif

struct BuildState {
  const std::function<bool()>& stopped;
  std::atomic<bool> broken{false};
};

bool continueBuild(void* user, double) {
  auto& state = *static_cast<BuildState*>(user);
  if (state.broken.load(std::memory_order_relaxed)) return false;
  if (!state.stopped || !state.stopped()) return true;
  state.broken.store(true, std::memory_order_relaxed);
  return false;
}

} // namespace

RTCDevice embreeDevice() {
  static const Device owner;
  if (!owner.device) throw std::bad_alloc();
  return owner.device;
}

EmbreeScene::EmbreeScene(RTCSceneFlags flags, RTCBuildQuality quality) : scene_(rtcNewScene(embreeDevice())) {
  if (!scene_) throw std::bad_alloc();
  rtcSetSceneFlags(scene_, flags | RTC_SCENE_FLAG_CONTEXT_FILTER_FUNCTION);
  rtcSetSceneBuildQuality(scene_, quality);
}

EmbreeScene::~EmbreeScene() {
  if (scene_) rtcReleaseScene(scene_);
}

bool EmbreeScene::build(int workers, const std::function<bool()>& stopped) {
  BuildState state{stopped};
  [[maybe_unused]] const Turn turn;
  rtcSetSceneProgressMonitorFunction(scene_, continueBuild, &state);
  if (workers <= 1 || !joinBuilds)
    rtcJoinCommitScene(scene_);
  else
    runOnWorkers(workers, [this](int) { rtcJoinCommitScene(scene_); });
  rtcSetSceneProgressMonitorFunction(scene_, nullptr, nullptr);
  if (state.broken.load(std::memory_order_relaxed)) {
    rtcGetDeviceError(embreeDevice()); // clears the error of the cancelled build
    return false;
  }
  if (rtcGetDeviceError(embreeDevice()) == RTC_ERROR_OUT_OF_MEMORY) throw std::bad_alloc();
  return true;
}

} // namespace host::render
