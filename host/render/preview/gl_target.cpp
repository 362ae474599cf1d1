#include "gl_target.h"

#include <array>

#include "gl_cache.h"

namespace host::render {

GlTarget::GlTarget(int width, int height, int samples) : width_(width), height_(height), samples_(samples) {
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

void GlTarget::begin(int width, int height) const {
  glBindFramebuffer(GL_FRAMEBUFFER, draw_);
  glViewport(0, 0, width, height);
  glDepthMask(GL_TRUE);
  glClearColor(0, 0, 0, 0);
  glClearDepth(0);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

void GlTarget::end(int width, int height) const {
  if (samples_ == 0) return;
  glBindFramebuffer(GL_READ_FRAMEBUFFER, draw_);
  glBindFramebuffer(GL_DRAW_FRAMEBUFFER, read_);
  glBlitFramebuffer(0, 0, width, height, 0, 0, width, height, GL_COLOR_BUFFER_BIT, GL_NEAREST);
}

void GlTarget::read(int width, int height, float* rgba) const {
  glBindFramebuffer(GL_READ_FRAMEBUFFER, samples_ > 0 ? read_ : draw_);
  glPixelStorei(GL_PACK_ALIGNMENT, 4);
  glReadPixels(0, 0, width, height, GL_RGBA, GL_FLOAT, rgba);
}

void GlTarget::add(GLuint& frame, GLuint& color, int samples) const {
  glGenFramebuffers(1, &frame);
  glBindFramebuffer(GL_FRAMEBUFFER, frame);
  glGenRenderbuffers(1, &color);
  glBindRenderbuffer(GL_RENDERBUFFER, color);
  glRenderbufferStorageMultisample(GL_RENDERBUFFER, samples, GL_RGBA16F, width_, height_);
  glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, color);
}

void GlTarget::free() {
  const std::array<GLuint, 2> frames{draw_, read_};
  const std::array<GLuint, 3> buffers{drawColor_, readColor_, depth_};
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  glDeleteFramebuffers(2, frames.data());
  glDeleteRenderbuffers(3, buffers.data());
}

} // namespace host::render
