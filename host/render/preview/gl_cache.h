// Objects that the hardware preview keeps in the OpenGL context between renders: meshes and textures by
// identity, programs of materials, samplers. Every call needs the context to be current.
#pragma once

#include <array>
#include <cstdint>
#include <list>
#include <map>
#include <stdexcept>
#include <string>
#include <tuple>

#include <epoxy/gl.h>

#include "cache_key.h"
#include "mesh.h"
#include "texture.h"

namespace host::render {

/// The driver refused an operation. The text is part of a sentence.
struct GlError : std::runtime_error {
  using std::runtime_error::runtime_error;
};
/// Throws when the driver has recorded an error; `doing` names the operation.
void checkGl(const char* doing);

/// Locations of a mesh's data in the vertex program.
enum GlAttribute : GLuint { glPosition, glNormal, glTangent, glUv0, glUv1, glColor, glAttributeCount };

struct GlMesh {
  GLuint array = 0, vertices = 0, indices = 0;
};

/// A linked program with the locations of its uniforms.
class GlProgram {
 public:
  GlProgram() = default;
  GlProgram(const std::string& vertex, const std::string& fragment); // throws GlError
  GLuint name() const { return name_; }
  GLint place(const char* uniform); // -1: unused
  void free();

 private:
  GLuint name_ = 0;
  std::map<std::string, GLint> places_;
};

class GlCache {
 public:
  struct Counters {
    std::uint64_t meshUploads = 0, textureUploads = 0, programs = 0;
  };

  /// Uploads the mesh at its first use. References hold until `trim` or `clear`.
  const GlMesh& mesh(const Mesh& mesh);
  /// A texture with its mip levels, by its picture's identity and colour space.
  GLuint texture(Identity picture, const Texture& texture);
  GlProgram& program(const std::string& vertex, const std::string& fragment);
  GLuint sampler(Wrap u, Wrap v, bool nearest);
  /// `reflectionAlbedo` over cosine and roughness, in red and green.
  GLuint albedo();

  /// Drops the least recently used entries until the memory limit holds.
  void trim();
  void clear();
  void setLimit(std::size_t bytes) { limit_ = bytes; }
  const Counters& counters() const { return counters_; }

 private:
  using Key = CacheKey;
  struct Entry {
    GlMesh mesh;
    GLuint texture = 0;
    std::size_t bytes = 0;
    std::list<Key>::iterator use;
  };
  Entry* find(const Key& key);
  Entry& put(const Key& key, Entry entry);
  static void free(const Entry& entry);

  static constexpr std::size_t mostPrograms = 64;
  std::map<Key, Entry> entries_;
  std::list<Key> order_; // most recently used first
  std::size_t bytes_ = 0, limit_ = std::size_t{512} << 20;
  std::map<std::string, GlProgram> programs_; // by fragment source
  std::map<std::tuple<Wrap, Wrap, bool>, GLuint> samplers_;
  GLuint albedo_ = 0;
  Counters counters_;
};

} // namespace host::render
