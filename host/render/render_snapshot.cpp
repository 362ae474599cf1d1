#include "render_snapshot.h"

#include <new>
#include <system_error>

#include "film.h"
#include "hardware_preview.h"
#include "kept_render.h"
#include "refinement.h"
#include "surface_shading.h"
#include "worker_threads.h"

namespace host::render {
namespace {

/// One call of renderSnapshot. The report keeps the problems found before a step throws.
class SnapshotRender {
 public:
  explicit SnapshotRender(RenderRequest request) : request_(std::move(request)) {}

  RenderReport run() {
    try {
      if (!request_.settings.region.empty()) report_.outcome = draw();
    } catch (const DamagedSamples&) {
      report_.refusal = "its samples are damaged. Use a copy of the file, or begin anew";
      report_.outcome = RenderOutcome::refused;
    } catch (const std::bad_alloc&) {
      fail("Not enough memory to render this scene. A smaller picture or fewer objects need less.");
    } catch (const std::exception& e) {
      fail(std::string("The system refused a resource for the render (") + e.what() + "). Try again.");
    }
    report_.stats.renderMs = request_.since.milliseconds();
    return std::move(report_);
  }

 private:
  void fail(std::string problem) {
    report_.problems.push_back(std::move(problem));
    report_.outcome = RenderOutcome::outOfMemory;
  }

  RenderOutcome draw() {
    if (request_.settings.shading == ShadingMode::clay) request_.snapshot = claySnapshot(*request_.snapshot);
    const Snapshot& snapshot = *request_.snapshot;
    for (const std::string& name : snapshot.missingAssets)
      report_.problems.push_back("The picture \"" + name + "\" is missing. Materials are shown without it.");
    missing_ = !report_.problems.empty();
    addProblems(snapshot.problems);
    if (request_.settings.hardware) {
      if (const auto drawn = drawHardwarePreview(request_)) return accept(*drawn);
    }
    return goesOn() ? trace() : RenderOutcome::refused;
  }

  // Takes the samples to go on from, with the layers that they have.
  bool goesOn() {
    RenderSettings& settings = request_.settings;
    if (settings.keeping != SampleKeeping::goOn) return true;
    const auto film = filmOf(*request_.bitmap);
    const FilmSamplesPtr samples = film ? film->samples() : nullptr;
    report_.refusal =
        settings.preview
            ? "previews have no samples to go on from. Render with the standard engine"
            : whyNotGoOn(samples.get(), describeKept(*request_.snapshot, settings, film ? film->width() : 0,
                                                     film ? film->height() : 0));
    if (!report_.refusal.empty()) return false;
    const KeptRender kept = keptRenderOf(samples->render).value();
    settings.layers = kept.layout.layers;
    settings.samples = std::min(settings.samples + kept.level, 1 << 20);
    request_.samples = samples;
    request_.level = kept.level;
    return true;
  }

  RenderOutcome accept(const RenderReport& drawn) {
    report_.stats = drawn.stats;
    noteUndecoded(drawn.problems);
    return drawn.outcome == RenderOutcome::finished ? finished() : drawn.outcome;
  }

  RenderOutcome trace() {
    const auto built = RayScene::build(request_.snapshot, request_.settings, workerCount(),
                                       request_.hooks.stopped, BuildCare::quickFirst);
    static_cast<BuildCounts&>(report_.stats) = built.counts;
    noteUndecoded(built.undecoded);
    report_.stats.buildMs = request_.since.milliseconds();
    if (!built.scene) return RenderOutcome::stopped;
    Refinement refinement(*built.scene, request_);
    const RenderHooks& hooks = request_.hooks;
    if (hooks.beginPasses) hooks.beginPasses();
    const bool whole =
        refinement.run([&] { return built.scene->buildCarefully(workerCount(), request_.hooks.stopped); });
    if (hooks.endPasses) hooks.endPasses();
    report_.stats.firstPixelsMs = refinement.firstPixelsMs();
    report_.stats.rays = refinement.rays();
    report_.stats.cameraSamples = refinement.cameraSamples();
    if (whole) refinement.keepSamples();
    const bool clean = whole && refinement.denoise();
    if (!refinement.problem().empty()) report_.problems.push_back(refinement.problem());
    if (refinement.faultySamples() > 0)
      report_.problems.push_back(
          std::to_string(refinement.faultySamples()) +
          " samples were infinite or not numbers. They count as black; look for extreme "
          "values in lights, materials and pictures.");
    return clean ? finished() : RenderOutcome::stopped;
  }

  void addProblems(const std::vector<std::string>& problems) {
    report_.problems.insert(report_.problems.end(), problems.begin(), problems.end());
  }
  void noteUndecoded(const std::vector<std::string>& undecoded) {
    missing_ = missing_ || !undecoded.empty();
    addProblems(undecoded);
  }
  RenderOutcome finished() const { return missing_ ? RenderOutcome::assetMissing : RenderOutcome::finished; }

  RenderRequest request_;
  RenderReport report_;
  bool missing_ = false; // a picture is
};

} // namespace

RENDERRESULT interfaceResult(RenderOutcome outcome) {
  switch (outcome) {
  case RenderOutcome::finished:
    break;
  case RenderOutcome::assetMissing:
    return RENDERRESULT_ASSETMISSING;
  case RenderOutcome::stopped:
    return RENDERRESULT_USERBREAK;
  case RenderOutcome::refused:
    return RENDERRESULT_USERBREAK;
  case RenderOutcome::outOfMemory:
    return RENDERRESULT_OUTOFMEMORY;
  }
  return RENDERRESULT_OK;
}

RenderReport renderSnapshot(const RenderRequest& request) {
  return SnapshotRender(request).run();
}

} // namespace host::render
