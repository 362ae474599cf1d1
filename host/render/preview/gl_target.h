// The framebuffers that a tile is drawn into. Every call needs the context to be current.
#pragma once

#include <epoxy/gl.h>

namespace host::render {

/// A float framebuffer with depth. With several samples a pixel, a second framebuffer takes their mean.
class GlTarget {
 public:
  /// Throws GlError when the driver cannot draw into float framebuffers.
  GlTarget(int width, int height, int samples);
  ~GlTarget() { free(); }
  GlTarget(const GlTarget&) = delete;
  GlTarget& operator=(const GlTarget&) = delete;

  /// Clears a tile's part and draws into it from now on.
  void begin(int width, int height) const;
  /// Resolves the samples.
  void end(int width, int height) const;
  /// Four floats a pixel, rows from the bottom.
  void read(int width, int height, float* rgba) const;

 private:
  void add(GLuint& frame, GLuint& color, int samples) const;
  void free();

  int width_, height_, samples_;
  GLuint draw_ = 0, read_ = 0, drawColor_ = 0, readColor_ = 0, depth_ = 0;
};

} // namespace host::render
