// The render thread's stereo: two eye renders combined into an anaglyph.

#include <algorithm>
#include <array>
#include <cmath>

#include "lm_keys.h"
#include "lm_numbers.h"
#include "lm_thread.h"

// Stereo needs the switch and a separation other than 0. The named pair is usable only when both are cameras.
void lmThread::DecideStereo(Job& job) {
  Stereo& stereo = job.stereo;
  stereo.separation =
      settings->GetValue(LM_STEREO_SEPARATION, 0.0) * settings->GetValue(LM_STEREO_SCALE, 1.0);
  stereo.on = settings->GetValue(LM_STEREO, 0) != 0 && stereo.separation != 0;

  BaseObject* left = job.clone->SearchObject(settings->GetValue(LM_STEREO_LEFT_CAMERA, String()));
  BaseObject* right = job.clone->SearchObject(settings->GetValue(LM_STEREO_RIGHT_CAMERA, String()));
  if (!left || !right || left->GetType() != Ocamera || right->GetType() != Ocamera) return;
  stereo.leftCamera = left;
  stereo.rightCamera = right;
}

// Prepares the eye bitmaps, a camera that nothing else moves, and the colour factors.
void lmThread::PrepareStereo(Job& job) {
  Stereo& stereo = job.stereo;
  if (!stereo.on) return;

  for (BaseBitmap** eye : {&stereo.left, &stereo.right}) {
    *eye = BaseBitmap::Alloc();
    if (*eye) (*eye)->Init(bitmap->GetBw(), bitmap->GetBh(), bitmap->GetBt());
  }

  for (BaseTag *tag = job.camera ? job.camera->GetFirstTag() : nullptr, *next = nullptr; tag; tag = next) {
    next = tag->GetNext();
    if (tag->GetType() == Tprotection) {
      tag->Remove();
      BaseTag::Free(tag);
    } else if (tag->GetType() == Taligntopath || tag->GetType() == Taligntospline) {
      tag->SetParameter(EXPRESSION_ENABLE, GeData::FromBool(FALSE));
    }
  }

  stereo.leftFactor = settings->GetValue(LM_ANAGLYPH_LEFT, LVector(1, 0, 0));
  stereo.rightFactor = settings->GetValue(LM_ANAGLYPH_RIGHT, LVector(0, 1, 1));
}

// The scene is evaluated at the frame's time first, because the camera's parents may have moved. The eyes
// stand on both sides of the camera's matrix at that time, which is restored at the end.
LONG lmThread::RenderStereo(Job& job, const BaseTime& time) {
  Stereo& stereo = job.stereo;
  if (!job.camera || !stereo.left || !stereo.right) return RENDERRESULT_OUTOFMEMORY;

  job.clone->SetTime(time);
  job.clone->ExecutePasses(Get(), TRUE, TRUE, FALSE, BUILDFLAGS_0);
  job.cameraMatrix = job.camera->GetMg();

  BaseTag* target =
      settings->GetValue(LM_STEREO_TAG_OFF, 0) ? job.camera->GetTag(Ttargetexpression) : nullptr;
  GeData targetEnabled;
  if (target) {
    target->GetParameter(EXPRESSION_ENABLE, targetEnabled);
    target->SetParameter(EXPRESSION_ENABLE, GeData::FromBool(FALSE));
  }

  job.camera->SetMg(job.cameraMatrix);
  stereo.left->Clear(0, 0, 0);
  stereo.right->Clear(0, 0, 0);

  RenderEye(job, stereo.leftCamera, -stereo.separation * 0.5, stereo.left); // this result is discarded
  const LONG result = RenderEye(job, stereo.rightCamera, stereo.separation * 0.5, stereo.right);
  CombineEyes(stereo.left, stereo.right, stereo.leftFactor, stereo.rightFactor,
              settings->GetValue(LM_STEREO_GREY, 1), settings->GetValue(LM_STEREO_GREY_SOURCE, 0), bitmap);

  job.camera->SetMg(job.cameraMatrix);
  if (target) target->SetParameter(EXPRESSION_ENABLE, targetEnabled);
  return result;
}

// Renders one eye: the camera moved along its own X axis, or a named camera in its place.
LONG lmThread::RenderEye(Job& job, BaseObject* namedCamera, Real shift, BaseBitmap* eye) {
  if (settings->GetValue(LM_STEREO_NAMED_CAMERAS, 0) && namedCamera) {
    SetSceneCameras(job.clone, namedCamera);
  } else {
    job.camera->SetMg(job.cameraMatrix * MatrixMove(Vector(shift, 0, 0)));
  }
  const LONG result = Render(job);
  bitmap->CopyTo(eye);
  return result;
}

namespace {

/// floor(value x factor) for each channel value of an eye, as an unsigned 16-bit word, so that a negative
/// factor wraps to a large value.
std::array<UWORD, 256> FactorTable(Real factor) {
  std::array<UWORD, 256> table{};
  for (std::size_t value = 0; value < table.size(); ++value) {
    table[value] = static_cast<UWORD>(TruncToLong(std::floor(static_cast<Real>(value) * factor)));
  }
  return table;
}

struct EyeTables {
  std::array<UWORD, 256> r, g, b;
  explicit EyeTables(const LVector& factor)
      : r(FactorTable(factor.x)), g(FactorTable(factor.y)), b(FactorTable(factor.z)) {}
};

UWORD Grey(UWORD r, UWORD g, UWORD b, LONG source) {
  switch (source) {
  case 1:
    return r;
  case 2:
    return g;
  case 3:
    return b;
  default:
    return static_cast<UWORD>((r + g + b) / 3);
  }
}

} // namespace

// For every pixel: each eye, grey if wanted, times its factors; the sum is limited to 255.
void CombineEyes(const BaseBitmap* left, const BaseBitmap* right, const LVector& leftFactor,
                 const LVector& rightFactor, Bool grey, LONG source, BaseBitmap* bitmap) {
  const LONG width = bitmap->GetBw(), height = bitmap->GetBh();
  const EyeTables leftTables(leftFactor), rightTables(rightFactor);

  UWORD rl, gl, bl, rr, gr, br;
  for (LONG y = 0; y < height; ++y) {
    for (LONG x = 0; x < width; ++x) {
      left->GetPixel(x, y, &rl, &gl, &bl);
      right->GetPixel(x, y, &rr, &gr, &br);
      if (grey) {
        rl = gl = bl = Grey(rl, gl, bl, source);
        rr = gr = br = Grey(rr, gr, br, source);
      }
      bitmap->SetPixel(x, y, std::min(leftTables.r[rl] + rightTables.r[rr], 255),
                       std::min(leftTables.g[gl] + rightTables.g[gr], 255),
                       std::min(leftTables.b[bl] + rightTables.b[br], 255));
    }
  }
}
