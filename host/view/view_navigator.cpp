#include "view_navigator.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "active_document.h"
#include "document.h"
#include "parameters.h"
#include "view_picking.h"

namespace host {

namespace {

constexpr double turnPerPixel = 0.008;
constexpr double dollyPerPixel = 0.006;
constexpr double dollyPerNotch = 0.88;
constexpr double clickReach = 3; // logical pixels that a click may move

using Gesture = ViewNavigator::Gesture;

Gesture gestureOf(const ViewMouse& mouse) {
  if (mouse.button == MouseButton::left && mouse.keys.digit >= 1 && mouse.keys.digit <= 3)
    return mouse.keys.digit == 1 ? Gesture::orbit : mouse.keys.digit == 2 ? Gesture::pan : Gesture::dolly;
  if (mouse.button == MouseButton::middle) return Gesture::pan;
  if (!mouse.keys.alt) return Gesture::none;
  return mouse.button == MouseButton::left    ? Gesture::orbit
         : mouse.button == MouseButton::right ? Gesture::dolly
                                              : Gesture::none;
}

LONG channelOf(MouseButton button) {
  switch (button) {
  case MouseButton::left:
    return BFM_INPUT_MOUSELEFT;
  case MouseButton::right:
    return BFM_INPUT_MOUSERIGHT;
  case MouseButton::middle:
    return BFM_INPUT_MOUSEMIDDLE;
  default:
    return 0;
  }
}

bool finite(const Matrix& m) {
  const Vector sum = m.off + m.v1 + m.v2 + m.v3;
  return std::isfinite(sum.x + sum.y + sum.z);
}

} // namespace

ViewNavigator::ViewNavigator(ViewDisplay& display, const void* owner) : display_(display), owner_(owner) {
  display_.documentChanged = [this] {
    navigation_ = {};
    click_ = {};
  };
}

void ViewNavigator::selectHere(BaseObject* object, bool add) {
  BaseDocument& active = *display_.document();
  {
    const DocumentEdit edit(active);
    const bool wasActive = object && object->GetBit(BIT_ACTIVE);
    if (!add)
      forEachObject(stateOf(&active)->children, [](ObjectState& other) { other.bits &= ~BIT_ACTIVE; });
    if (object && add && wasActive)
      object->DelBit(BIT_ACTIVE);
    else if (object)
      object->SetBit(BIT_ACTIVE);
  }
  if (selectionShows(active)) EventAdd();
}

void ViewNavigator::pick(double x, double y, bool add) {
  BaseObject* object = objectAt(display_, x, y);
  if (!object && add) return; // nothing to add
  if (display_.services.select)
    display_.services.select(object, add);
  else
    selectHere(object, add);
  display_.requestPicture(true);
}

void ViewNavigator::cameraMoved(bool lookAgain) {
  if (display_.services.viewChanged) display_.services.viewChanged();
  display_.requestPicture(lookAgain);
}

void ViewNavigator::setCamera(const Matrix& world, bool finished) {
  if (!finite(world) || display_.isCameraLocked()) return;
  if (display_.isOwnCamera()) {
    const DocumentEdit edit(*display_.document());
    display_.camera()->SetMg(world);
  } else if (display_.services.moveCamera) {
    display_.services.moveCamera(*display_.camera(), world, finished);
    return cameraMoved(true); // other objects may follow it
  } else {
    return;
  }
  cameraMoved();
}

void ViewNavigator::setHalfHeight(double half, bool finished) {
  if (display_.isCameraLocked()) return;
  half = std::clamp(half, 1e-6, 1e9);
  if (display_.isOwnCamera()) {
    const DocumentEdit edit(*display_.document());
    display_.camera()->SetParameter(param::cameraYmag, half);
  } else if (display_.services.zoomCamera) {
    display_.services.zoomCamera(*display_.camera(), half, finished);
  } else {
    return;
  }
  cameraMoved();
}

bool ViewNavigator::startGesture(const ViewMouse& mouse) {
  const Gesture gesture = gestureOf(mouse);
  if (gesture == Gesture::none) return false;
  navigation_ = {gesture,
                 mouse.x,
                 mouse.y,
                 display_.camera()->GetMg(),
                 1,
                 viewCameraOf(*display_.view()),
                 pivotAt(display_, mouse.x, mouse.y),
                 display_.camera()->GetIdentity(),
                 false};
  navigation_.half = navigation_.view.half * navigation_.view.inner;
  return true;
}

// Each step is computed from the start, so that rounding does not add up.
void ViewNavigator::moveGesture(double x, double y, bool finished) {
  Navigation& now = navigation_;
  const double dx = x - now.x, dy = y - now.y;
  if (!now.moved && dx == 0 && dy == 0) return;
  now.moved = true;
  const double depth = now.view.depthOf(now.pivot);
  switch (now.gesture) {
  case Gesture::orbit:
    setCamera(navigate::orbit(now.camera, now.pivot, -dx * turnPerPixel, -dy * turnPerPixel), finished);
    break;
  case Gesture::pan:
    setCamera(navigate::pan(now.camera, now.view, depth > 1e-6 ? depth : 1, dx, dy), finished);
    break;
  case Gesture::dolly: {
    const double factor = std::exp(std::clamp((dy - dx) * dollyPerPixel, -20.0, 20.0));
    if (now.view.orthographic)
      setHalfHeight(now.half * factor, finished);
    else
      setCamera(navigate::dolly(now.camera, now.pivot, factor), finished);
    break;
  }
  case Gesture::none:
    break;
  }
}

bool ViewNavigator::press(const ViewMouse& mouse) {
  if (display_.hooks.inDrag() || navigation_.gesture != Gesture::none || !display_.ready()) return false;
  swallowed_ = MouseButton::none;
  const LONG channel = channelOf(mouse.button);
  if (channel == 0) return false;
  const SceneHooks::Input input = display_.offerToHooks(owner_, channel, 1, mouse);
  if (input.used) {
    if (!input.released) swallowed_ = mouse.button;
    return true;
  }
  if (!display_.ready()) return true; // a hook may have changed anything
  if (startGesture(mouse)) return true;
  if (mouse.button != MouseButton::left) return false;
  click_ = {true, mouse.x, mouse.y};
  return true;
}

bool ViewNavigator::move(const ViewMouse& mouse) {
  if (display_.hooks.inDrag()) return false;
  if (click_.held && std::hypot(mouse.x - click_.x, mouse.y - click_.y) > clickReach) click_.held = false;
  if (navigation_.gesture == Gesture::none) return false;
  if (!display_.camera() || display_.camera()->GetIdentity() != navigation_.object) {
    navigation_ = {}; // its camera is gone
    return false;
  }
  moveGesture(mouse.x, mouse.y, false);
  return true;
}

bool ViewNavigator::release(const ViewMouse& mouse) {
  if (display_.hooks.inDrag()) return false;
  if (swallowed_ != MouseButton::none && swallowed_ == mouse.button) {
    swallowed_ = MouseButton::none;
    return true;
  }
  if (navigation_.gesture != Gesture::none) {
    const BaseObject* camera = display_.camera();
    if (camera && camera->GetIdentity() == navigation_.object) moveGesture(mouse.x, mouse.y, true);
    navigation_ = {};
    return true;
  }
  const bool clicked = std::exchange(click_.held, false);
  if (!clicked || mouse.button != MouseButton::left || !display_.ready()) return false;
  pick(mouse.x, mouse.y, mouse.keys.ctrl || mouse.keys.shift);
  return true;
}

bool ViewNavigator::wheel(double x, double y, double notches, const ViewKeys& keys) {
  if (display_.hooks.inDrag() || notches == 0 || !std::isfinite(notches) || !display_.ready()) return false;
  const auto value = static_cast<LONG>(std::lround(std::clamp(notches, -1000.0, 1000.0) * 120));
  const ViewMouse at{x, y, MouseButton::none, keys, false};
  if (display_.offerToHooks(owner_, BFM_INPUT_MOUSEWHEEL, value, at).used) return true;
  if (!display_.ready() || navigation_.gesture != Gesture::none) return true;
  const double factor = std::pow(dollyPerNotch, std::clamp(notches, -50.0, 50.0));
  const ViewCamera eye = viewCameraOf(*display_.view());
  if (eye.orthographic) {
    setHalfHeight(eye.half * eye.inner * factor, true);
    return true;
  }
  const auto under = pointUnder(display_, x, y);
  const double depth = eye.depthOf(pivotAt(display_, x, y));
  const Vector target = under ? *under : eye.pointAt(x, y, depth > 1e-6 ? depth : 1);
  setCamera(navigate::dolly(display_.camera()->GetMg(), target, factor), true);
  return true;
}

bool ViewNavigator::cancel() {
  const Navigation before = std::exchange(navigation_, {});
  if (before.gesture == Gesture::none) return false;
  const BaseObject* camera = display_.camera();
  if (!before.moved || !camera || camera->GetIdentity() != before.object) return true;
  if (before.gesture == Gesture::dolly && before.view.orthographic)
    setHalfHeight(before.half, true);
  else
    setCamera(before.camera, true);
  return true;
}

void ViewNavigator::frameObjects(bool activeOnly) {
  if (!display_.ready()) return;
  const Snapshot* latest = display_.currentScene() ? &display_.currentScene()->snapshot() : nullptr;
  ViewBounds bounds = boundsOf(*display_.document(), activeOnly, latest);
  if (bounds.empty && activeOnly) bounds = boundsOf(*display_.document(), false, latest);
  if (bounds.empty) bounds.add({-1, -1, -1}), bounds.add({1, 1, 1});
  const ViewCamera eye = viewCameraOf(*display_.view());
  const Matrix before = display_.camera()->GetMg();
  const Matrix world = navigate::frame(before, eye, bounds);
  if (eye.orthographic) setHalfHeight(navigate::fittingHalf(eye, bounds), true);
  if (display_.isOwnCamera()) {
    // The camera stands close to small objects: the near plane must not clip them.
    const double distance = std::sqrt(Dot(world.off - bounds.center(), world.off - bounds.center()));
    const DocumentEdit edit(*display_.document());
    if (distance < 1) display_.camera()->SetParameter(param::cameraNear, distance * 0.01);
  }
  setCamera(world, true);
}

} // namespace host
