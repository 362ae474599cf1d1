#include "gl_cache.h"

#include <algorithm>
#include <vector>

#include "albedo_tables.h"

#if defined(__SANITIZE_ADDRESS__)
extern "C" void __lsan_disable(void);
extern "C" void __lsan_enable(void);
#endif

namespace host::render {
namespace {

// Drivers keep empty allocations of a linked program for good. They are not leaks of ours and not counted.
struct DriverLinks {
#if defined(__SANITIZE_ADDRESS__)
  DriverLinks() {
    __lsan_disable();
  }
  ~DriverLinks() {
    __lsan_enable();
  }
  DriverLinks(const DriverLinks&) = delete;
  DriverLinks& operator=(const DriverLinks&) = delete;
#endif
};

// Appends one attribute's values to the bound buffer and describes them to the array.
template <std::size_t N>
void addAttribute(GlAttribute place, const std::vector<std::array<float, N>>& values, std::size_t count,
                  std::size_t& offset) {
  if (values.size() != count || count == 0) {
    glDisableVertexAttribArray(place);
    return;
  }
  const std::size_t bytes = count * sizeof(values[0]);
  glBufferSubData(GL_ARRAY_BUFFER, static_cast<GLintptr>(offset), static_cast<GLsizeiptr>(bytes),
                  values.data());
  glVertexAttribPointer(place, static_cast<GLint>(N), GL_FLOAT, GL_FALSE, 0,
                        reinterpret_cast<const void*>(offset));
  glEnableVertexAttribArray(place);
  offset += bytes;
}

std::size_t vertexBytes(const Mesh& m) {
  return m.positions.size() * sizeof(Float3) + m.normals.size() * sizeof(Float3) +
         m.tangents.size() * sizeof(Float4) + (m.uv[0].size() + m.uv[1].size()) * sizeof(Float2) +
         m.colors.size() * sizeof(Float4);
}

GLuint compile(GLenum kind, const std::string& source) {
  const GLuint shader = glCreateShader(kind);
  const char* text = source.c_str();
  glShaderSource(shader, 1, &text, nullptr);
  glCompileShader(shader);
  GLint good = 0;
  glGetShaderiv(shader, GL_COMPILE_STATUS, &good);
  if (good) return shader;
  std::array<char, 400> log{};
  glGetShaderInfoLog(shader, static_cast<GLsizei>(log.size()) - 1, nullptr, log.data());
  glDeleteShader(shader);
  throw GlError(std::string("the driver refuses a shader: ") + log.data());
}

GLint wrapOf(Wrap wrap) {
  return wrap == Wrap::repeat ? GL_REPEAT : (wrap == Wrap::mirror ? GL_MIRRORED_REPEAT : GL_CLAMP_TO_EDGE);
}

} // namespace

void checkGl(const char* doing) {
  const GLenum error = glGetError();
  if (error == GL_NO_ERROR) return;
  while (glGetError() != GL_NO_ERROR) {
  }
  throw GlError(std::string(error == GL_OUT_OF_MEMORY ? "the driver has not enough memory when "
                                                      : "the driver reports an error when ") +
                doing);
}

GlProgram::GlProgram(const std::string& vertex, const std::string& fragment) {
  const GLuint v = compile(GL_VERTEX_SHADER, vertex);
  GLuint f = 0;
  try {
    f = compile(GL_FRAGMENT_SHADER, fragment);
  } catch (...) {
    glDeleteShader(v);
    throw;
  }
  name_ = glCreateProgram();
  glAttachShader(name_, v);
  glAttachShader(name_, f);
  {
    [[maybe_unused]] const DriverLinks uncounted;
    glLinkProgram(name_);
  }
  glDeleteShader(v);
  glDeleteShader(f);
  GLint good = 0;
  glGetProgramiv(name_, GL_LINK_STATUS, &good);
  if (good) return;
  free();
  throw GlError("the driver does not link a shader");
}

GLint GlProgram::place(const char* uniform) {
  const auto [it, fresh] = places_.try_emplace(uniform, -1);
  if (fresh) it->second = glGetUniformLocation(name_, uniform);
  return it->second;
}

void GlProgram::free() {
  if (name_) glDeleteProgram(name_);
  name_ = 0;
}

GlCache::Entry* GlCache::find(const Key& key) {
  const auto it = entries_.find(key);
  if (it == entries_.end()) return nullptr;
  order_.splice(order_.begin(), order_, it->second.use);
  return &it->second;
}

GlCache::Entry& GlCache::put(const Key& key, Entry entry) {
  order_.push_front(key);
  entry.use = order_.begin();
  bytes_ += entry.bytes;
  return entries_.emplace(key, entry).first->second;
}

void GlCache::free(const Entry& e) {
  if (e.texture) glDeleteTextures(1, &e.texture);
  if (e.mesh.array) glDeleteVertexArrays(1, &e.mesh.array);
  const std::array<GLuint, 2> buffers{e.mesh.vertices, e.mesh.indices};
  glDeleteBuffers(2, buffers.data());
}

const GlMesh& GlCache::mesh(const Mesh& m) {
  const Key key = Key::ofMesh(m.id);
  if (const Entry* known = find(key)) return known->mesh;
  Entry e;
  const std::size_t count = m.positions.size(), indexBytes = m.triangles.size() * sizeof(m.triangles[0]);
  e.bytes = vertexBytes(m) + indexBytes;
  glGenVertexArrays(1, &e.mesh.array);
  glGenBuffers(1, &e.mesh.vertices);
  glGenBuffers(1, &e.mesh.indices);
  const GlMesh& kept = put(key, e).mesh; // from here on the cache frees it, whatever fails
  glBindVertexArray(kept.array);
  glBindBuffer(GL_ARRAY_BUFFER, kept.vertices);
  glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(vertexBytes(m)), nullptr, GL_STATIC_DRAW);
  std::size_t offset = 0;
  addAttribute(glPosition, m.positions, count, offset);
  addAttribute(glNormal, m.normals, count, offset);
  addAttribute(glTangent, m.tangents, count, offset);
  addAttribute(glUv0, m.uv[0], count, offset);
  addAttribute(glUv1, m.uv[1], count, offset);
  addAttribute(glColor, m.colors, count, offset);
  glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, kept.indices);
  glBufferData(GL_ELEMENT_ARRAY_BUFFER, static_cast<GLsizeiptr>(indexBytes), m.triangles.data(),
               GL_STATIC_DRAW);
  glBindVertexArray(0);
  checkGl("it takes a mesh");
  ++counters_.meshUploads;
  return kept;
}

namespace {

std::vector<float> lightOf(const Texture& t, int level) {
  std::vector<float> light;
  for (int y = 0; y < t.levelHeight(level); ++y)
    for (int x = 0; x < t.levelWidth(level); ++x) {
      const Rgba texel = t.texel(level, x, y);
      light.insert(light.end(), {texel.r, texel.g, texel.b, texel.a});
    }
  return light;
}

} // namespace

GLuint GlCache::texture(Identity picture, const Texture& t) {
  const Key key = Key::ofTexture(picture, t.space(), t.colors());
  if (const Entry* known = find(key)) return known->texture;
  GLint most = 1024;
  glGetIntegerv(GL_MAX_TEXTURE_SIZE, &most);
  int first = 0; // a picture beyond the driver's limit starts with a smaller level
  while (first + 1 < t.levelCount() && std::max(t.levelWidth(first), t.levelHeight(first)) > most)
    ++first;
  Entry e;
  glGenTextures(1, &e.texture);
  const GLuint name = e.texture;
  // OpenGL has no sRGB codes of 16 bits.
  const bool coloredWords = !t.levelWords(0).empty() && t.space() == ColorSpace::srgb;
  const bool floats = !t.levelFloats(0).empty() || coloredWords;
  const bool words = !t.levelWords(0).empty() && !coloredWords;
  for (int level = first; level < t.levelCount(); ++level)
    e.bytes += static_cast<std::size_t>(t.levelWidth(level)) *
               static_cast<std::size_t>(t.levelHeight(level)) * (floats || words ? 8 : 4);
  put(key, e);
  glBindTexture(GL_TEXTURE_2D, name);
  glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
  const GLint coded = t.space() == ColorSpace::srgb ? GL_SRGB8_ALPHA8 : GL_RGBA8;
  const GLint format = floats ? GL_RGBA16F : (words ? GL_RGBA16 : coded);
  const GLenum type = floats ? GL_FLOAT : (words ? GL_UNSIGNED_SHORT : GL_UNSIGNED_BYTE);
  std::vector<float> cut; // clamped to the range of half floats
  for (int level = first; level < t.levelCount(); ++level) {
    const void* pixels = t.levelBytes(level).data();
    if (words) pixels = t.levelWords(level).data();
    if (floats) {
      cut = coloredWords ? lightOf(t, level) : t.levelFloats(level);
      for (float& v : cut)
        v = std::clamp(v, -65504.0f, 65504.0f);
      pixels = cut.data();
    }
    glTexImage2D(GL_TEXTURE_2D, level - first, format, t.levelWidth(level), t.levelHeight(level), 0, GL_RGBA,
                 type, pixels);
  }
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, t.levelCount() - 1 - first);
  checkGl("it takes a picture");
  ++counters_.textureUploads;
  return name;
}

GlProgram& GlCache::program(const std::string& vertex, const std::string& fragment) {
  const auto it = programs_.find(fragment);
  if (it != programs_.end()) return it->second;
  ++counters_.programs;
  return programs_.emplace(fragment, GlProgram(vertex, fragment)).first->second;
}

GLuint GlCache::sampler(Wrap u, Wrap v, bool nearest) {
  GLuint& name = samplers_[{u, v, nearest}];
  if (name) return name;
  glGenSamplers(1, &name);
  glSamplerParameteri(name, GL_TEXTURE_WRAP_S, wrapOf(u));
  glSamplerParameteri(name, GL_TEXTURE_WRAP_T, wrapOf(v));
  glSamplerParameteri(name, GL_TEXTURE_MIN_FILTER, nearest ? GL_NEAREST : GL_LINEAR_MIPMAP_LINEAR);
  glSamplerParameteri(name, GL_TEXTURE_MAG_FILTER, nearest ? GL_NEAREST : GL_LINEAR);
  return name;
}

GLuint GlCache::albedo() {
  if (albedo_) return albedo_;
  constexpr int size = AlbedoTable::size;
  std::vector<float> pixels;
  const ReflectionAlbedo& table = reflectionAlbedo();
  for (int y = 0; y < size; ++y)
    for (int x = 0; x < size; ++x) {
      const float cosine = sqr(static_cast<float>(x) / (size - 1)),
                  rough = static_cast<float>(y) / (size - 1);
      pixels.push_back(table.base.at(cosine, rough));
      pixels.push_back(table.edge.at(cosine, rough));
    }
  glGenTextures(1, &albedo_);
  glBindTexture(GL_TEXTURE_2D, albedo_);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RG32F, size, size, 0, GL_RG, GL_FLOAT, pixels.data());
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, 0);
  return albedo_;
}

void GlCache::trim() {
  while (bytes_ > limit_ && !order_.empty()) {
    const auto it = entries_.find(order_.back());
    free(it->second);
    bytes_ -= it->second.bytes;
    entries_.erase(it);
    order_.pop_back();
  }
  if (programs_.size() <= mostPrograms) return;
  for (auto& [source, program] : programs_)
    program.free();
  programs_.clear();
}

void GlCache::clear() {
  for (const auto& [key, entry] : entries_)
    free(entry);
  for (auto& [source, program] : programs_)
    program.free();
  for (const auto& [key, name] : samplers_)
    glDeleteSamplers(1, &name);
  if (albedo_) glDeleteTextures(1, &albedo_);
  entries_.clear();
  order_.clear();
  programs_.clear();
  samplers_.clear();
  albedo_ = 0;
  bytes_ = 0;
}

} // namespace host::render
