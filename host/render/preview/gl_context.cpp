#include "gl_context.h"

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <mutex>

#include <epoxy/egl.h>
#include <epoxy/gl.h>

namespace host::render {
namespace {

struct Context {
  EGLDisplay display = EGL_NO_DISPLAY;
  EGLContext context = EGL_NO_CONTEXT;
  EGLSurface surface = EGL_NO_SURFACE;
};

// The process's context and its current user. Never destroyed: a render may run until the program ends.
struct Shared {
  std::mutex mutex;
  std::condition_variable freed;
  bool taken = false;
  bool tried = false; // this and below: only the thread that has the turn
  Context context;
  std::string why;
};
Shared& shared() {
  static Shared& s = *new Shared;
  return s;
}

bool chooseConfig(EGLDisplay display, EGLint surfaces, EGLConfig& config) {
  const std::array<EGLint, 5> wanted{EGL_SURFACE_TYPE, surfaces, EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT,
                                     EGL_NONE};
  EGLint count = 0;
  return eglChooseConfig(display, wanted.data(), &config, 1, &count) && count > 0;
}

bool makeCurrent(const Context& c) {
  return eglMakeCurrent(c.display, c.surface, c.surface, c.context);
}

void release(Context& c) {
  if (c.display != EGL_NO_DISPLAY) {
    eglMakeCurrent(c.display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    if (c.context != EGL_NO_CONTEXT) eglDestroyContext(c.display, c.context);
    if (c.surface != EGL_NO_SURFACE) eglDestroySurface(c.display, c.surface);
    // The display stays open: others in the process may use it, and drivers do not unload well.
  }
  c = {};
}

// Opens a context on a display, current on this thread: without a surface, else with a tiny off-screen one.
bool openOn(EGLDisplay display, Context& c) {
  c = {display, EGL_NO_CONTEXT, EGL_NO_SURFACE};
  if (display == EGL_NO_DISPLAY || !eglInitialize(display, nullptr, nullptr)) {
    c = {};
    return false;
  }
  const bool bare = epoxy_has_egl_extension(display, "EGL_KHR_surfaceless_context");
  EGLConfig config = nullptr;
  if (eglBindAPI(EGL_OPENGL_API) &&
      (chooseConfig(display, EGL_PBUFFER_BIT, config) || (bare && chooseConfig(display, 0, config)))) {
    const std::array<EGLint, 7> version{EGL_CONTEXT_MAJOR_VERSION_KHR,
                                        3,
                                        EGL_CONTEXT_MINOR_VERSION_KHR,
                                        3,
                                        EGL_CONTEXT_OPENGL_PROFILE_MASK_KHR,
                                        EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT_KHR,
                                        EGL_NONE};
    c.context = eglCreateContext(display, config, EGL_NO_CONTEXT, version.data());
    if (c.context != EGL_NO_CONTEXT && bare && makeCurrent(c)) return true;
    if (c.context != EGL_NO_CONTEXT) {
      const std::array<EGLint, 5> size{EGL_WIDTH, 1, EGL_HEIGHT, 1, EGL_NONE};
      c.surface = eglCreatePbufferSurface(display, config, size.data());
      if (c.surface != EGL_NO_SURFACE && makeCurrent(c)) return true;
    }
  }
  release(c);
  return false;
}

// Tries the kinds of displays, those without a window system first.
bool open(Context& c) {
  const auto has = [](const char* name) { return epoxy_has_egl_extension(EGL_NO_DISPLAY, name); };
  if (has("EGL_EXT_platform_base")) {
    if (has("EGL_MESA_platform_surfaceless") &&
        openOn(eglGetPlatformDisplayEXT(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr), c))
      return true;
    std::array<EGLDeviceEXT, 16> devices{};
    EGLint count = 0;
    if (has("EGL_EXT_platform_device") && has("EGL_EXT_device_enumeration") &&
        eglQueryDevicesEXT(static_cast<EGLint>(devices.size()), devices.data(), &count))
      for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
        if (openOn(eglGetPlatformDisplayEXT(EGL_PLATFORM_DEVICE_EXT, devices[i], nullptr), c)) return true;
  }
  return openOn(eglGetDisplay(EGL_DEFAULT_DISPLAY), c);
}

bool makeContext(Shared& s) {
#if defined(__SANITIZE_THREAD__)
  // The software driver draws on the calling thread: hand-overs between its own threads would be reported.
  setenv("LP_NUM_THREADS", "0", 0);
#endif
  if (!epoxy_has_egl()) {
    s.why = "this system has no EGL";
    return false;
  }
  if (!open(s.context)) {
    s.why = "no driver for OpenGL 3.3 without a window was found";
    return false;
  }
  if (epoxy_gl_version() < 33) {
    release(s.context);
    s.why = "the driver's OpenGL is older than 3.3";
    return false;
  }
  return true;
}

} // namespace

GlTurn::GlTurn(const std::function<bool()>& stopped) {
  Shared& s = shared();
  {
    std::unique_lock lock(s.mutex);
    while (s.taken) {
      s.freed.wait_for(lock, std::chrono::milliseconds(5));
      if (!s.taken || !stopped) continue;
      lock.unlock();
      broken_ = stopped();
      if (broken_) return;
      lock.lock();
    }
    s.taken = taken_ = true;
  }
  if (!s.tried) {
    s.tried = true;
    ready_ = makeContext(s);
  } else if (s.context.context != EGL_NO_CONTEXT) {
    ready_ = eglBindAPI(EGL_OPENGL_API) && makeCurrent(s.context);
    if (!ready_) s.why = "the driver's context was lost";
  }
  why_ = s.why;
}

GlTurn::~GlTurn() {
  if (!taken_) return;
  Shared& s = shared();
  if (destroy_) {
    release(s.context);
    s.tried = false;
    s.why.clear();
  } else if (ready_) {
    eglMakeCurrent(s.context.display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
  }
  {
    const std::lock_guard lock(s.mutex);
    s.taken = false;
  }
  s.freed.notify_one();
}

} // namespace host::render
