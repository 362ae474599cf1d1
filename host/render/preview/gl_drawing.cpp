#include "gl_drawing.h"

#include <algorithm>

namespace host::render {
namespace {

constexpr int largestTile = 1024;           // pixels; larger tiles would delay a break
constexpr std::uint32_t mostAhead = 400000; // triangles queued in the driver

int samplesFor(AntiAliasing antiAliasing) {
  return antiAliasing == AntiAliasing::none ? 0 : antiAliasing == AntiAliasing::geometry ? 4 : 8;
}

} // namespace

GlDrawing::GlDrawing(const GlScene& scene, GlCache& cache, const RenderRequest& request)
    : scene_(scene), cache_(cache), settings_(request.settings), hooks_(request.hooks),
      film_(*request.bitmap), state_(scene, cache, request.bitmap->GetBw(), request.bitmap->GetBh()),
      progress_(hooks_.progress) {
  glGenBuffers(1, &sorted_);
  glGenVertexArrays(1, &empty_);
}

GlDrawing::~GlDrawing() {
  glBindVertexArray(0);
  glDeleteBuffers(1, &sorted_);
  glDeleteVertexArrays(1, &empty_);
}

GlDrawing::Uploads GlDrawing::upload() {
  const std::uint64_t before = cache_.counters().meshUploads;
  std::size_t meshes = 0;
  for (const auto* list : {&scene_.opaque(), &scene_.blended()})
    for (const GlDraw& draw : *list) {
      breakTest();
      cache_.mesh(*draw.mesh);
      const GlMaterial& material = scene_.material(draw.material);
      for (const GlMaterial::Slot& slot : material.textures)
        cache_.texture(slot.picture, *slot.texture);
      state_.surfaceProgram(material);
      ++meshes;
    }
  if (scene_.skyTexture()) cache_.texture(scene_.sky().picture->id, *scene_.skyTexture());
  const std::uint64_t built = cache_.counters().meshUploads - before;
  return {static_cast<std::uint32_t>(built),
          static_cast<std::uint32_t>(meshes - std::min<std::size_t>(meshes, built))};
}

std::uint64_t GlDrawing::draw() {
  const Region& region = settings_.region;
  GLint mostSize = 0, mostSamples = 0;
  glGetIntegerv(GL_MAX_RENDERBUFFER_SIZE, &mostSize);
  glGetIntegerv(GL_MAX_SAMPLES, &mostSamples);
  const int side = std::clamp(mostSize, 1, largestTile);
  const int samples = std::min(samplesFor(settings_.antiAliasing), mostSamples);
  const GlTarget target(std::min(side, region.width()), std::min(side, region.height()), samples);
  reversed_ = epoxy_has_gl_extension("GL_ARB_clip_control");
  if (reversed_) glClipControl(GL_LOWER_LEFT, GL_ZERO_TO_ONE);
  const std::vector<GlTile> all = tiles(side);
  progress_.setTotal(static_cast<double>(all.size()) *
                     static_cast<double>(1 + scene_.opaque().size() + scene_.blended().size()));
  for (const GlTile& tile : all)
    drawTile(target, tile);
  return static_cast<std::uint64_t>(region.width()) * static_cast<std::uint64_t>(region.height()) *
         static_cast<std::uint64_t>(std::max(1, samples));
}

std::vector<GlTile> GlDrawing::tiles(int side) const {
  const Region& region = settings_.region;
  std::vector<GlTile> out;
  for (int y = region.top; y <= region.bottom; y += side)
    for (int x = region.left; x <= region.right; x += side)
      out.push_back({x, y, std::min(side, region.right + 1 - x), std::min(side, region.bottom + 1 - y)});
  return out;
}

void GlDrawing::breakTest() const {
  if (hooks_.stopped && hooks_.stopped()) throw GlStopped{};
}

// Waits until the driver has finished its queue. A break does not wait for it.
void GlDrawing::finish() {
  const GLsync fence = glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
  if (!fence) throw GlError("the driver provides no fence");
  for (;;) {
    const GLenum state = glClientWaitSync(fence, GL_SYNC_FLUSH_COMMANDS_BIT, 3000000);
    if (state == GL_ALREADY_SIGNALED || state == GL_CONDITION_SATISFIED) break;
    const bool stop = hooks_.stopped && hooks_.stopped();
    if (state != GL_WAIT_FAILED && !stop) continue;
    glDeleteSync(fence);
    if (stop) throw GlStopped{};
    throw GlError("the driver stopped in the middle of a picture");
  }
  glDeleteSync(fence);
  ahead_ = 0;
}

void GlDrawing::drawTile(const GlTarget& target, const GlTile& tile) {
  breakTest();
  state_.begin(tile, reversed_);
  target.begin(tile.width, tile.height);
  drawSky();
  glEnable(GL_DEPTH_TEST);
  glDepthFunc(GL_GREATER);
  glDisable(GL_BLEND);
  for (const GlDraw& draw : scene_.opaque())
    drawGroup(draw);
  glDepthMask(GL_FALSE);
  glEnable(GL_BLEND);
  glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
  for (const GlDraw& draw : scene_.blended())
    drawGroup(draw);
  target.end(tile.width, tile.height);
  finish();
  pixels_.resize(static_cast<std::size_t>(tile.width) * static_cast<std::size_t>(tile.height) * 4);
  target.read(tile.width, tile.height, pixels_.data());
  checkGl("it draws");
  commit(tile);
  progress_.add(1);
}

void GlDrawing::drawSky() {
  const SnapshotSky& sky = scene_.sky();
  if (sky.kind == SkyKind::none || !sky.seenByCamera) return;
  state_.useSky();
  glDisable(GL_DEPTH_TEST);
  glDisable(GL_BLEND);
  glDisable(GL_CULL_FACE);
  glBindVertexArray(empty_);
  glDrawArrays(GL_TRIANGLES, 0, 3);
}

void GlDrawing::drawGroup(const GlDraw& draw) {
  breakTest();
  if (!state_.outside(draw)) {
    drawTriangles(draw);
    ahead_ += draw.triangleCount + 2000;
    if (ahead_ > mostAhead) finish();
  }
  progress_.add(1);
}

void GlDrawing::drawTriangles(const GlDraw& draw) {
  state_.useSurface(draw);
  const GlMesh& mesh = cache_.mesh(*draw.mesh);
  glBindVertexArray(mesh.array);
  if (draw.mesh->colors.empty()) glVertexAttrib4f(glColor, 1, 1, 1, 1);
  for (std::size_t uv = 0; uv < 2; ++uv)
    if (draw.mesh->uv[uv].empty()) glVertexAttrib4f(static_cast<GLuint>(glUv0 + uv), 0, 0, 0, 1);
  const auto count = static_cast<GLsizei>(draw.triangleCount * 3);
  if (draw.sorted.empty()) {
    glDrawElements(GL_TRIANGLES, count, GL_UNSIGNED_INT,
                   reinterpret_cast<const void*>(static_cast<std::size_t>(draw.firstTriangle) * 12));
    return;
  }
  glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, sorted_);
  glBufferData(GL_ELEMENT_ARRAY_BUFFER, static_cast<GLsizeiptr>(draw.sorted.size() * 4), draw.sorted.data(),
               GL_STREAM_DRAW);
  glDrawElements(GL_TRIANGLES, count, GL_UNSIGNED_INT, nullptr);
  glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, mesh.indices);
}

// The pixels start with the bottom row.
void GlDrawing::commit(const GlTile& tile) {
  if (hooks_.beginTile) hooks_.beginTile();
  const float* p = pixels_.data();
  for (int y = tile.height - 1; y >= 0; --y)
    for (int x = 0; x < tile.width; ++x, p += 4) {
      const float rgba[4] = {p[0], p[1], p[2], clamp01(p[3])};
      film_.put(tile.left + x, tile.top + y, rgba);
    }
  if (hooks_.endTile) hooks_.endTile();
}

} // namespace host::render
