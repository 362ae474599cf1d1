#include "gl_tile_state.h"

namespace host::render {
namespace {

void set(GLint place, Vec3 v) {
  glUniform3f(place, v.x, v.y, v.z);
}

float maxAbs(Vec3 v) {
  return std::max(std::abs(v.x), std::max(std::abs(v.y), std::abs(v.z)));
}

} // namespace

GlTileState::GlTileState(const GlScene& scene, GlCache& cache, int width, int height)
    : scene_(scene), cache_(cache), width_(width), height_(height), vertexSource_(surfaceVertexSource()) {
}

GlTileState::~GlTileState() {
  glUseProgram(0);
  for (int unit = 0; unit < firstMaterialUnit + 16; ++unit)
    glBindSampler(static_cast<GLuint>(unit), 0);
}

void GlTileState::begin(const GlTile& tile, bool reversed) {
  const float w = static_cast<float>(tile.width), h = static_cast<float>(tile.height);
  scale_ = {static_cast<float>(width_) / w, static_cast<float>(height_) / h};
  offset_ = {scale_.x - 2 * static_cast<float>(tile.left) / w - 1,
             1 - scale_.y + 2 * static_cast<float>(tile.top) / h};
  clip_ = scene_.clipMatrix(width_, height_, scale_, offset_);
  if (!reversed) // depth from -1 to 1
    for (std::size_t column = 0; column < 16; column += 4)
      clip_[column + 2] = 2 * clip_[column + 2] - clip_[column + 3];
  ready_.clear();
}

GlProgram& GlTileState::surfaceProgram(const GlMaterial& material) {
  return cache_.program(vertexSource_, material.fragment);
}

void GlTileState::useSky() {
  GlProgram& program = cache_.program(skyVertexSource(), skyFragmentSource());
  glUseProgram(program.name());
  setSky(program);
  const SnapshotCamera& camera = scene_.camera();
  const bool flat = camera.orthographic;
  const float aspect = static_cast<float>(width_) / static_cast<float>(height_);
  const float half = halfHeight(camera, aspect);
  const Vec3 right = flat ? Vec3() : scene_.right() * (half * aspect),
             up = flat ? Vec3() : scene_.up() * half;
  set(program.place("uForward"), right * (2 * camera.shiftX) + up * (2 * camera.shiftY) - scene_.back());
  set(program.place("uRight"), right);
  set(program.place("uUp"), up);
  glUniform4f(program.place("uTile"), scale_.x, scale_.y, offset_.x, offset_.y);
}

void GlTileState::useSurface(const GlDraw& draw) {
  const GlMaterial& material = scene_.material(draw.material);
  GlProgram& program = surfaceProgram(material);
  glUseProgram(program.name());
  setTile(program);
  setMaterial(program, material);
  const Transform& t = draw.toEye;
  const std::array<Vec3, 4> model{t.v1, t.v2, t.v3, t.off};
  // Only the direction of a normal matters; this keeps it in range at any scale.
  const float size = 1 / std::max(1e-30f, std::max(maxAbs(t.n1), std::max(maxAbs(t.n2), maxAbs(t.n3))));
  const std::array<Vec3, 3> normals{t.n1 * size, t.n2 * size, t.n3 * size};
  glUniform3fv(program.place("uModel"), 4, &model[0].x);
  glUniform3fv(program.place("uNormals"), 3, &normals[0].x);
  glUniform1f(program.place("uSide"), draw.side);
  glUniform2i(program.place("uMesh"), !draw.mesh->normals.empty(), !draw.mesh->tangents.empty());
  (material.oneSided ? glEnable : glDisable)(GL_CULL_FACE);
  glFrontFace(draw.side < 0 ? GL_CW : GL_CCW);
}

void GlTileState::bind(int unit, GLuint texture, GLuint sampler) const {
  glActiveTexture(static_cast<GLenum>(GL_TEXTURE0 + unit));
  glBindTexture(GL_TEXTURE_2D, texture);
  glBindSampler(static_cast<GLuint>(unit), sampler);
}

void GlTileState::setSky(GlProgram& program) {
  const SnapshotSky& sky = scene_.sky();
  int kind = static_cast<int>(sky.kind);
  if (sky.kind == SkyKind::picture && !scene_.skyTexture()) kind = static_cast<int>(SkyKind::constant);
  glUniform1i(program.place("uSkyKind"), kind);
  const std::array<Vec3, 3> colors{Vec3(sky.color), Vec3(sky.horizon), Vec3(sky.ground)};
  glUniform3fv(program.place("uSky"), 3, &colors[0].x);
  glUniform1f(program.place("uSkyTurn"), sky.rotation);
  glUniform3fv(program.place("uAmbient"), 9, &scene_.ambient()[0].x);
  glUniform1i(program.place("uSkyPicture"), skyUnit);
  // Some texture is bound in any case: drivers complain about a unit without one.
  const bool picture = kind == static_cast<int>(SkyKind::picture);
  bind(skyUnit, picture ? cache_.texture(sky.picture->id, *scene_.skyTexture()) : cache_.albedo(),
       cache_.sampler(Wrap::repeat, Wrap::clamp, false));
}

// The uniforms that all draws of a tile with one program share.
void GlTileState::setTile(GlProgram& program) {
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

void GlTileState::setMaterial(GlProgram& program, const GlMaterial& material) {
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

bool GlTileState::outside(const GlDraw& draw) const {
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

} // namespace host::render
