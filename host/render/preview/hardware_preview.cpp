#include "hardware_preview.h"

#include <atomic>
#include <mutex>

#include "c4d_events.h"
#include "gl_cache.h"
#include "gl_context.h"
#include "gl_scene.h"
#include "refinement.h"
#include "worker_threads.h"

namespace host::render {
namespace {

constexpr int largestTile = 1024;           // more of the picture would keep a break waiting
constexpr std::uint32_t mostAhead = 400000; // triangles that the driver may have before it

// What outlives a render. The cache belongs to whoever has the turn.
struct Keep {
  GlCache cache;
  std::atomic<bool> allowed{true}, said{false};
  std::mutex mutex;
  HardwareCounters counters;
};
Keep& keep() {
  static Keep& k = *new Keep;
  return k;
}

struct Broken {};

double sinceMs(SteadyTime start) {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

// The framebuffers of a tile: the one that is drawn into, and with several samples the one that they end in.
class Target {
 public:
  Target(int width, int height, int samples) : width_(width), height_(height), samples_(samples) {
    add(draw_, drawColor_, samples);
    glGenRenderbuffers(1, &depth_);
    glBindRenderbuffer(GL_RENDERBUFFER, depth_);
    glRenderbufferStorageMultisample(GL_RENDERBUFFER, samples, GL_DEPTH_COMPONENT32F, width, height);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, depth_);
    bool good = glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
    if (samples > 0) {
      add(read_, readColor_, 0);
      good = good && glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
    }
    const bool noted = glGetError() != GL_NO_ERROR;
    if (good && !noted) return;
    free();
    throw GlError("the driver has no float picture to draw into");
  }
  ~Target() { free(); }
  Target(const Target&) = delete;
  Target& operator=(const Target&) = delete;

  void begin(int width, int height) const {
    glBindFramebuffer(GL_FRAMEBUFFER, draw_);
    glViewport(0, 0, width, height);
    glDepthMask(GL_TRUE);
    glClearColor(0, 0, 0, 0);
    glClearDepth(0);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  }
  /// Brings the samples together.
  void end(int width, int height) const {
    if (samples_ == 0) return;
    glBindFramebuffer(GL_READ_FRAMEBUFFER, draw_);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, read_);
    glBlitFramebuffer(0, 0, width, height, 0, 0, width, height, GL_COLOR_BUFFER_BIT, GL_NEAREST);
  }
  void read(int width, int height, float* rgba) const {
    glBindFramebuffer(GL_READ_FRAMEBUFFER, samples_ > 0 ? read_ : draw_);
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    glReadPixels(0, 0, width, height, GL_RGBA, GL_FLOAT, rgba);
  }

 private:
  void add(GLuint& frame, GLuint& color, int samples) const {
    glGenFramebuffers(1, &frame);
    glBindFramebuffer(GL_FRAMEBUFFER, frame);
    glGenRenderbuffers(1, &color);
    glBindRenderbuffer(GL_RENDERBUFFER, color);
    glRenderbufferStorageMultisample(GL_RENDERBUFFER, samples, GL_RGBA16F, width_, height_);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, color);
  }
  void free() {
    const std::array<GLuint, 2> frames{draw_, read_};
    const std::array<GLuint, 3> buffers{drawColor_, readColor_, depth_};
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glDeleteFramebuffers(2, frames.data());
    glDeleteRenderbuffers(3, buffers.data());
  }

  int width_, height_, samples_;
  GLuint draw_ = 0, read_ = 0, drawColor_ = 0, readColor_ = 0, depth_ = 0;
};

struct TileArea {
  int left, top, width, height; // in the picture
};

/// One picture. Throws GlError and Broken.
class PreviewDrawing {
 public:
  PreviewDrawing(const GlScene& scene, const RenderSettings& settings, BaseBitmap& bitmap,
                 const RenderHooks& hooks, RenderStats& stats)
      : scene_(scene), settings_(settings), bitmap_(bitmap), hooks_(hooks), stats_(stats),
        cache_(keep().cache), film_(filmFor(bitmap)), vertexSource_(surfaceVertexSource()) {
    glGenBuffers(1, &sorted_);
    glGenVertexArrays(1, &empty_);
  }
  ~PreviewDrawing() {
    glUseProgram(0);
    glBindVertexArray(0);
    glDeleteBuffers(1, &sorted_);
    glDeleteVertexArrays(1, &empty_);
    for (int unit = 0; unit < firstMaterialUnit + 16; ++unit)
      glBindSampler(static_cast<GLuint>(unit), 0);
  }
  PreviewDrawing(const PreviewDrawing&) = delete;
  PreviewDrawing& operator=(const PreviewDrawing&) = delete;

  void upload() {
    const std::uint64_t before = cache_.counters().meshUploads;
    std::size_t meshes = 0;
    for (const auto* list : {&scene_.opaque(), &scene_.blended()})
      for (const GlDraw& draw : *list) {
        breakTest();
        cache_.mesh(*draw.mesh);
        const GlMaterial& material = scene_.material(draw.material);
        for (const GlMaterial::Slot& slot : material.textures)
          cache_.texture(slot.picture, *slot.texture);
        cache_.program(vertexSource_, material.fragment);
        ++meshes;
      }
    if (scene_.skyTexture()) cache_.texture(scene_.sky().picture->id, *scene_.skyTexture());
    const std::uint64_t built = cache_.counters().meshUploads - before;
    stats_.meshes_built += static_cast<std::uint32_t>(built);
    stats_.meshes_reused += static_cast<std::uint32_t>(meshes - std::min<std::size_t>(meshes, built));
  }

  void draw() {
    const Region& region = settings_.region;
    GLint mostSize = 0, mostSamples = 0;
    glGetIntegerv(GL_MAX_RENDERBUFFER_SIZE, &mostSize);
    glGetIntegerv(GL_MAX_SAMPLES, &mostSamples);
    const int side = std::clamp(mostSize, 1, largestTile);
    const int wanted = settings_.antiAliasing == AntiAliasing::none       ? 0
                       : settings_.antiAliasing == AntiAliasing::geometry ? 4
                                                                          : 8;
    const Target target(std::min(side, region.width()), std::min(side, region.height()),
                        std::min(wanted, mostSamples));
    reversed_ = epoxy_has_gl_extension("GL_ARB_clip_control");
    if (reversed_) glClipControl(GL_LOWER_LEFT, GL_ZERO_TO_ONE);
    std::vector<TileArea> tiles;
    for (int y = region.top; y <= region.bottom; y += side)
      for (int x = region.left; x <= region.right; x += side)
        tiles.push_back({x, y, std::min(side, region.right + 1 - x), std::min(side, region.bottom + 1 - y)});
    parts_ = static_cast<double>(tiles.size()) *
             static_cast<double>(1 + scene_.opaque().size() + scene_.blended().size());
    for (const TileArea& tile : tiles)
      drawTile(target, tile);
    stats_.camera_samples += static_cast<std::uint64_t>(region.width()) *
                             static_cast<std::uint64_t>(region.height()) *
                             static_cast<std::uint64_t>(std::max(1, std::min(wanted, mostSamples)));
  }

 private:
  void breakTest() const {
    if (hooks_.stopped && hooks_.stopped()) throw Broken{};
  }

  void tell(double more) {
    done_ += more;
    const double part = std::min(1.0, done_ / parts_);
    if (!hooks_.progress || (part < told_ + 0.001 && !(part == 1 && told_ < 1))) return;
    told_ = part;
    hooks_.progress(part);
  }

  // Waits until the driver has done what it was given; a break leaves it alone with that.
  void finish() {
    const GLsync fence = glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
    if (!fence) throw GlError("the driver gives no fence");
    for (;;) {
      const GLenum state = glClientWaitSync(fence, GL_SYNC_FLUSH_COMMANDS_BIT, 3000000);
      if (state == GL_ALREADY_SIGNALED || state == GL_CONDITION_SATISFIED) break;
      const bool stop = hooks_.stopped && hooks_.stopped();
      if (state != GL_WAIT_FAILED && !stop) continue;
      glDeleteSync(fence);
      if (stop) throw Broken{};
      throw GlError("the driver stopped in the middle of a picture");
    }
    glDeleteSync(fence);
    ahead_ = 0;
  }

  void drawTile(const Target& target, const TileArea& tile) {
    breakTest();
    const float width = static_cast<float>(bitmap_.GetBw()), height = static_cast<float>(bitmap_.GetBh());
    const float w = static_cast<float>(tile.width), h = static_cast<float>(tile.height);
    const Vec2 scale{width / w, height / h};
    const Vec2 offset{scale.x - 2 * static_cast<float>(tile.left) / w - 1,
                      1 - scale.y + 2 * static_cast<float>(tile.top) / h};
    clip_ = scene_.clipMatrix(bitmap_.GetBw(), bitmap_.GetBh(), scale, offset);
    if (!reversed_) // depth from -1 to 1
      for (std::size_t column = 0; column < 16; column += 4)
        clip_[column + 2] = 2 * clip_[column + 2] - clip_[column + 3];
    ready_.clear();
    target.begin(tile.width, tile.height);
    drawSky(scale, offset);
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
    tell(1);
  }

  // Rows come from the bottom.
  void commit(const TileArea& tile) {
    if (hooks_.beginTile) hooks_.beginTile();
    const float* p = pixels_.data();
    for (int y = tile.height - 1; y >= 0; --y)
      for (int x = 0; x < tile.width; ++x, p += 4) {
        const float rgba[4] = {p[0], p[1], p[2], clamp01(p[3])};
        showPixel(*film_, bitmap_, tile.left + x, tile.top + y, rgba);
      }
    if (hooks_.endTile) hooks_.endTile();
  }

  void drawSky(Vec2 scale, Vec2 offset) {
    const SnapshotSky& sky = scene_.sky();
    if (sky.kind == SkyKind::none || !sky.seenByCamera) return;
    GlProgram& program = cache_.program(skyVertexSource(), skyFragmentSource());
    glUseProgram(program.name());
    setSky(program);
    const bool flat = scene_.camera().orthographic;
    const float half = scene_.halfHeight();
    const float aspect = static_cast<float>(bitmap_.GetBw()) / static_cast<float>(bitmap_.GetBh());
    set(program.place("uForward"), -scene_.back());
    set(program.place("uRight"), flat ? Vec3() : scene_.right() * (half * aspect));
    set(program.place("uUp"), flat ? Vec3() : scene_.up() * half);
    glUniform4f(program.place("uTile"), scale.x, scale.y, offset.x, offset.y);
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_BLEND);
    glDisable(GL_CULL_FACE);
    glBindVertexArray(empty_);
    glDrawArrays(GL_TRIANGLES, 0, 3);
  }

  static void set(GLint place, Vec3 v) { glUniform3f(place, v.x, v.y, v.z); }

  void bind(int unit, GLuint texture, GLuint sampler) const {
    glActiveTexture(static_cast<GLenum>(GL_TEXTURE0 + unit));
    glBindTexture(GL_TEXTURE_2D, texture);
    glBindSampler(static_cast<GLuint>(unit), sampler);
  }

  void setSky(GlProgram& program) {
    const SnapshotSky& sky = scene_.sky();
    int kind = static_cast<int>(sky.kind);
    if (sky.kind == SkyKind::picture && !scene_.skyTexture()) kind = static_cast<int>(SkyKind::constant);
    glUniform1i(program.place("uSkyKind"), kind);
    const std::array<Vec3, 3> colors{Vec3(sky.color), Vec3(sky.horizon), Vec3(sky.ground)};
    glUniform3fv(program.place("uSky"), 3, &colors[0].x);
    glUniform1f(program.place("uSkyTurn"), sky.rotation);
    glUniform3fv(program.place("uAmbient"), 9, &scene_.ambient()[0].x);
    glUniform1i(program.place("uSkyPicture"), skyUnit);
    // A texture of any kind: a unit without one would make drivers complain.
    const bool picture = kind == static_cast<int>(SkyKind::picture);
    bind(skyUnit, picture ? cache_.texture(sky.picture->id, *scene_.skyTexture()) : cache_.albedo(),
         cache_.sampler(Wrap::repeat, Wrap::clamp, false));
  }

  // What stays the same for all draws of a tile with one program.
  void prepare(GlProgram& program) {
    for (const GLuint known : ready_)
      if (known == program.name()) return;
    ready_.push_back(program.name());
    setSky(program);
    glUniformMatrix4fv(program.place("uClip"), 1, GL_FALSE, clip_.data());
    const Vec3 back = scene_.back();
    glUniform4f(program.place("uView"), back.x, back.y, back.z, scene_.camera().orthographic ? 1.0f : 0.0f);
    glUniform1i(program.place("uLightCount"), static_cast<GLint>(scene_.lamps().size() / 4));
    if (!scene_.lamps().empty())
      glUniform4fv(program.place("uLights"), static_cast<GLsizei>(scene_.lamps().size()),
                   scene_.lamps()[0].data());
    glUniform1i(program.place("uAlbedo"), albedoUnit);
    bind(albedoUnit, cache_.albedo(), cache_.sampler(Wrap::clamp, Wrap::clamp, false));
  }

  void setMaterial(GlProgram& program, const GlMaterial& material) {
    glUniform4fv(program.place("uMaterial"), static_cast<GLsizei>(material.values.size()),
                 material.values[0].data());
    glUniform4iv(program.place("uHow"), 1, material.how.data());
    if (!material.constants.empty())
      glUniform4fv(program.place("uShade"), static_cast<GLsizei>(material.constants.size()),
                   material.constants[0].data());
    for (std::size_t i = 0; i < material.textures.size(); ++i) {
      const GlMaterial::Slot& slot = material.textures[i];
      const std::string n = std::to_string(i);
      const int unit = firstMaterialUnit + static_cast<int>(i);
      const Vec2 zero = transformUv(slot.use, {0, 0});
      const Vec2 u = transformUv(slot.use, {1, 0}) - zero, v = transformUv(slot.use, {0, 1}) - zero;
      glUniform1i(program.place(("uTexture" + n).c_str()), unit);
      glUniform4f(program.place(("uTurn" + n).c_str()), u.x, u.y, v.x, v.y);
      glUniform2f(program.place(("uMove" + n).c_str()), zero.x, zero.y);
      bind(unit, cache_.texture(slot.picture, *slot.texture),
           cache_.sampler(slot.use.wrapU, slot.use.wrapV, slot.use.nearest));
    }
  }

  // Whether the mesh's bounds are outside the tile.
  bool outside(const GlDraw& draw) const {
    unsigned all = 0xf;
    for (int corner = 0; corner < 8 && all; ++corner) {
      const Mesh& m = *draw.mesh;
      const Vec3 p = draw.toEye.point({(corner & 1 ? m.high : m.low)[0], (corner & 2 ? m.high : m.low)[1],
                                       (corner & 4 ? m.high : m.low)[2]});
      const auto row = [&](std::size_t r) {
        return clip_[r] * p.x + clip_[4 + r] * p.y + clip_[8 + r] * p.z + clip_[12 + r];
      };
      const float x = row(0), y = row(1), w = row(3);
      all &= (x < -w ? 1u : 0u) | (x > w ? 2u : 0u) | (y < -w ? 4u : 0u) | (y > w ? 8u : 0u);
    }
    return all != 0;
  }

  void drawGroup(const GlDraw& draw) {
    breakTest();
    if (!outside(draw)) {
      drawTriangles(draw);
      ahead_ += draw.triangleCount + 2000;
      if (ahead_ > mostAhead) finish();
    }
    tell(1);
  }

  void drawTriangles(const GlDraw& draw) {
    const GlMaterial& material = scene_.material(draw.material);
    GlProgram& program = cache_.program(vertexSource_, material.fragment);
    glUseProgram(program.name());
    prepare(program);
    setMaterial(program, material);
    const Transform& t = draw.toEye;
    const std::array<Vec3, 4> model{t.v1, t.v2, t.v3, t.off};
    // Only the direction of a normal counts: keep it in range whatever the scale.
    const float size = 1 / std::max(1e-30f, std::max(maxAbs(t.n1), std::max(maxAbs(t.n2), maxAbs(t.n3))));
    const std::array<Vec3, 3> normals{t.n1 * size, t.n2 * size, t.n3 * size};
    glUniform3fv(program.place("uModel"), 4, &model[0].x);
    glUniform3fv(program.place("uNormals"), 3, &normals[0].x);
    glUniform1f(program.place("uSide"), draw.side);
    glUniform2i(program.place("uMesh"), !draw.mesh->normals.empty(), !draw.mesh->tangents.empty());
    (material.oneSided ? glEnable : glDisable)(GL_CULL_FACE);
    glFrontFace(draw.side < 0 ? GL_CW : GL_CCW);
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

  static float maxAbs(Vec3 v) { return std::max(std::abs(v.x), std::max(std::abs(v.y), std::abs(v.z))); }

  const GlScene& scene_;
  const RenderSettings& settings_;
  BaseBitmap& bitmap_;
  const RenderHooks& hooks_;
  RenderStats& stats_;
  GlCache& cache_;
  std::shared_ptr<Film> film_;
  const std::string vertexSource_;
  std::array<float, 16> clip_{};
  std::vector<GLuint> ready_; // programs that have what belongs to this tile
  std::vector<float> pixels_;
  GLuint sorted_ = 0, empty_ = 0;
  bool reversed_ = false;
  std::uint32_t ahead_ = 0;
  double done_ = 0, parts_ = 1, told_ = -1;
};

void noteCounters() {
  Keep& k = keep();
  const std::lock_guard lock(k.mutex);
  const GlCache::Counters& c = k.cache.counters();
  k.counters = {c.meshUploads, c.textureUploads, c.programs};
}

// On a worker that has no other OpenGL context.
RENDERRESULT drawInTurn(const GlScene& scene, const RenderSettings& settings, BaseBitmap& bitmap,
                        const RenderHooks& hooks, RenderStats& stats, SteadyTime started) {
  try {
    PreviewDrawing drawing(scene, settings, bitmap, hooks, stats);
    if (hooks.progress) hooks.progress(0);
    drawing.upload();
    stats.build_ms = sinceMs(started);
    drawing.draw();
    stats.first_pixels_ms = sinceMs(started);
  } catch (const Broken&) {
    return RENDERRESULT_USERBREAK;
  }
  return RENDERRESULT_OK;
}

void sayFallback(const std::string& why) {
  if (!keep().said.exchange(true))
    GePrint(String(std::string_view("Render: the hardware preview cannot draw (" + why +
                                    "). The software preview draws instead.")));
}

// Texture units of the driver; 0 with the reason when there is none. Nothing after a break.
std::optional<int> textureUnits(const Stopped& stopped, std::string& why) {
  const GlTurn turn(stopped);
  if (turn.broken()) return std::nullopt;
  if (!turn.ready()) {
    why = turn.why();
    return 0;
  }
  GLint units = 0;
  glGetIntegerv(GL_MAX_TEXTURE_IMAGE_UNITS, &units);
  return std::clamp(units, 0, firstMaterialUnit + 16);
}

} // namespace

std::optional<RENDERRESULT> drawHardwarePreview(const SnapshotPtr& snapshot, const RenderSettings& settings,
                                                BaseBitmap& bitmap, const RenderHooks& hooks,
                                                RenderStats& stats, std::vector<std::string>& undecoded,
                                                SteadyTime started) {
  Keep& k = keep();
  if (!k.allowed) {
    sayFallback("it is switched off");
    return std::nullopt;
  }
  std::optional<RENDERRESULT> result = RENDERRESULT_USERBREAK;
  std::string why;
  RenderStats own = stats;
  bool begun = false;
  const auto work = [&](int) {
    const auto units = textureUnits(hooks.stopped, why);
    if (!units || *units == 0) {
      if (units) result.reset();
      return;
    }
    const auto scene = GlScene::build(snapshot, settings, *units, hooks.stopped, own, undecoded);
    if (!scene) return;
    const GlTurn turn(hooks.stopped);
    if (turn.broken()) return;
    try {
      if (!turn.ready()) throw GlError(turn.why());
      begun = true;
      if (hooks.beginPasses) hooks.beginPasses();
      result = drawInTurn(*scene, settings, bitmap, hooks, own, started);
      k.cache.trim();
    } catch (const GlError& e) {
      why = e.what();
      if (turn.ready()) k.cache.clear();
      result.reset();
    }
    noteCounters();
  };
  runOnWorkers(1, work);
  if (begun && hooks.endPasses) hooks.endPasses();
  if (result)
    stats = own;
  else
    sayFallback(why);
  return result;
}

void freeHardwarePreview() {
  bool tried = false;
  {
    const std::lock_guard lock(keep().mutex);
    tried = keep().counters.programs > 0;
  }
  if (!tried) return; // never drawn: making a context only to free it would be a waste
  runOnWorkers(1, [](int) {
    GlTurn turn({});
    if (!turn.ready()) return;
    keep().cache.clear();
    turn.destroyContext();
  });
}

void allowHardwarePreview(bool allowed) {
  if (keep().allowed.exchange(allowed) != allowed) keep().said = false;
}

HardwareCounters hardwareCounters() {
  const std::lock_guard lock(keep().mutex);
  return keep().counters;
}

} // namespace host::render
