#include "view_display.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "active_document.h"
#include "document.h"
#include "parameters.h"

namespace host {

namespace {

using Steady = std::chrono::steady_clock;

constexpr int longestSide = 16384; // device pixels

// A power of ten that fits the scene.
double gridStepOf(const Snapshot& snapshot) {
  ViewBounds bounds;
  for (const Instance& instance : snapshot.instances)
    if (!instance.isFloor) bounds.add(instance.toWorld, instance.mesh->low, instance.mesh->high);
  if (bounds.empty || !(bounds.size() > 0)) return 1;
  return std::pow(10, std::clamp(std::round(std::log10(bounds.size() / 8)), -6.0, 6.0));
}

Vector unit(const Vector& v) {
  const double length = std::sqrt(Dot(v, v));
  return length > 0 ? v * (1 / length) : Vector();
}

BaseContainer inputMessage(LONG channel, double x, double y, LONG value, const ViewKeys& keys) {
  BaseContainer message(BFM_INPUT);
  message.SetLong(BFM_INPUT_DEVICE, BFM_INPUT_MOUSE);
  message.SetLong(BFM_INPUT_CHANNEL, channel);
  message.SetReal(BFM_INPUT_X, x);
  message.SetReal(BFM_INPUT_Y, y);
  message.SetLong(BFM_INPUT_VALUE, value);
  message.SetLong(BFM_INPUT_QUALIFIER, qualifierOf(keys));
  return message;
}

} // namespace

ViewDisplay::ViewDisplay(EditorViewServices wanted) : services(std::move(wanted)) {
  const auto notify = [display = lifetime_.ref()] {
    mainLoop().post(
        [display] {
          if (display) display->deliver();
        },
        Urgency::painting);
  };
  painter = std::make_unique<ViewPainter>(services.tracer, notify, services.drawing);
  mainLoop().add(this);
}

ViewDisplay::~ViewDisplay() {
  close();
  mainLoop().remove(this);
}

void ViewDisplay::close() {
  if (!open_) return;
  open_ = false;
  mainLoop().removeTimer(lookTimer_);
  painter.reset();
  scene_ = nullptr;
  hooks.follow(nullptr);
}

void ViewDisplay::coreMessage(LONG id, const BaseContainer& /*message*/) {
  if (id == EVMSG_CHANGE) requestPicture(true);
}

BaseDraw* ViewDisplay::view() const {
  BaseDocument* active = document();
  return active ? active->GetActiveBaseDraw() : nullptr;
}

BaseObject* ViewDisplay::camera() const {
  const BaseDraw* draw = view();
  if (!draw) return nullptr;
  BaseObject* sceneCamera = draw->GetSceneCamera(nullptr);
  return sceneCamera ? sceneCamera : draw->GetEditorCamera();
}

bool ViewDisplay::isOwnCamera() const {
  return !view()->GetSceneCamera(nullptr);
}

bool ViewDisplay::isCameraLocked() const {
  const BaseObject* camera = view()->GetSceneCamera(nullptr);
  return camera && camera->IsInstanceOf(Ocamera) && param::flag(*stateOf(camera), param::cameraLocked);
}

void ViewDisplay::syncArea() {
  BaseDraw* draw = view();
  if (!draw || width < 1 || height < 1) return;
  if (stateOf(draw)->area != std::array<LONG, 4>{0, 0, width, height})
    setViewArea(*draw, 0, 0, width, height);
}

ViewRect ViewDisplay::frame() const {
  ViewRect frame;
  view()->GetFrame(&frame.left, &frame.top, &frame.right, &frame.bottom);
  return frame;
}

bool ViewDisplay::ready() {
  if (!open_) return false;
  hooks.follow(document());
  syncArea();
  return view() && width > 0 && height > 0;
}

void ViewDisplay::requestPicture(bool lookAgain) {
  lookAgain_ = lookAgain_ || lookAgain;
  if (submitPosted_ || !open_) return;
  submitPosted_ = true;
  mainLoop().post(
      [display = lifetime_.ref()] {
        if (display) display->submit();
      },
      Urgency::painting);
}

// A look at the document costs the main thread a clone, so looks are spaced to take a fifth of its time at
// most.
void ViewDisplay::submit(bool force) {
  submitPosted_ = false;
  if (!open_) return;
  const Measured measured(*this);
  BaseDocument* active = document();
  const Identity identity = active ? active->GetIdentity() : 0;
  const bool another = identity != lookedAt_;
  if (another) {
    scene_ = nullptr;
    gridStep_ = 1;
    if (documentChanged) documentChanged();
  }
  hooks.follow(active);
  syncArea();

  if (lookAgain_ && !another) refreshOverlay();
  PaintJob job;
  job.document = identity;
  if (!active) {
    symbols_.clear();
    selection_ = nullptr;
    lookAgain_ = false;
  } else if ((lookAgain_ || another) && (another || force || clock().now() >= nextLook_)) {
    const auto start = Steady::now();
    lookAtDocument(*active);
    job.scene.reset(active->GetClone(COPYFLAGS_NO_ANIMATION));
    lookAgain_ = false;
    const auto spent = std::chrono::duration_cast<std::chrono::milliseconds>(Steady::now() - start);
    nextLook_ = clock().now() + 4 * spent.count();
  } else if (lookAgain_ && !lookTimer_) {
    lookTimer_ = mainLoop().addTimer(
        std::max<Milliseconds>(1, nextLook_ - clock().now()),
        [this] {
          mainLoop().removeTimer(std::exchange(lookTimer_, 0));
          requestPicture(true);
        },
        Urgency::painting);
  }
  lookedAt_ = identity;
  job.setup = setupOf(active);
  painter->request(std::move(job));
}

namespace {

// The corners of an area light; none of other lights.
std::vector<Vector> outlineOf(const ObjectState& light, const Matrix& world) {
  constexpr LONG rectangle = 3, disc = 4;
  constexpr int corners = 24;
  const LONG kind = param::integer(light, param::lightKind);
  const Real width = 0.5 * param::real(light, param::lightWidth);
  const Real height = kind == disc ? width : 0.5 * param::real(light, param::lightHeight);
  const Vector right = unit(world.v1) * width, up = unit(world.v2) * height;
  std::vector<Vector> outline;
  if (kind == rectangle)
    for (const auto& [x, y] : {std::pair{-1, -1}, {1, -1}, {1, 1}, {-1, 1}})
      outline.push_back(world.off + right * x + up * y);
  for (int i = 0; kind == disc && i < corners; ++i) {
    const Real angle = 2 * 3.14159265358979323846 * i / corners;
    outline.push_back(world.off + right * std::cos(angle) + up * std::sin(angle));
  }
  return outline;
}

} // namespace

// Collects what the clone does not tell the picture: the selection, and the signs of lights and cameras.
void ViewDisplay::lookAtDocument(BaseDocument& document) {
  auto selection = std::make_shared<std::unordered_set<Identity>>();
  symbols_.clear();
  const auto walk = [&](const auto& self, const NodeList& list, const Matrix& above, bool chosen) -> void {
    for (const NodeState* node = list.first(); node; node = node->next) {
      const auto& object = static_cast<const ObjectState&>(*node);
      const Matrix world = above * object.local;
      const bool active = chosen || (object.bits & BIT_ACTIVE) != 0;
      if (active) selection->insert(object.identity);
      const bool isLight = object.type == Olight;
      if (isLight || object.type == Ocamera) {
        const bool shinesAround = isLight && param::integer(object, param::lightKind) == 0;
        symbols_.push_back({isLight ? ViewSymbol::Kind::light : ViewSymbol::Kind::camera, object.identity,
                            world.off, shinesAround || !isLight ? Vector() : unit(-world.v3), active,
                            isLight ? outlineOf(object, world) : std::vector<Vector>()});
      }
      self(self, object.children, world, active);
    }
  };
  walk(walk, stateOf(&document)->children, Matrix(), false);
  selection_ = std::move(selection);
}

PictureSetup ViewDisplay::setupOf(BaseDocument* document) const {
  PictureSetup setup;
  if (width < 1 || height < 1) return setup;
  setup.ratio =
      std::min({ratio, static_cast<double>(longestSide) / width, static_cast<double>(longestSide) / height});
  const auto pixels = [&](double logical) { return static_cast<int>(std::lround(logical * setup.ratio)); };
  setup.width = std::max(1, pixels(width));
  setup.height = std::max(1, pixels(height));
  setup.frame = {0, 0, setup.width, setup.height};
  setup.camera.width = width;
  setup.camera.height = height;
  if (!document) return setup;
  setup.hasDocument = true;
  const BaseDraw& draw = *document->GetActiveBaseDraw();
  setup.camera = viewCameraOf(draw);
  setup.gridStep = gridStep_;
  setup.selection = selection_;
  const Identity eye = camera()->GetIdentity();
  for (const ViewSymbol& symbol : symbols_)
    if (symbol.object != eye) setup.symbols.push_back(symbol);
  const ViewRect frame = this->frame();
  setup.frame = {pixels(frame.left), pixels(frame.top), pixels(frame.right), pixels(frame.bottom)};
  return setup;
}

void ViewDisplay::deliver() {
  if (!open_) return;
  std::optional<PaintResult> result = painter->take();
  if (!result) return;
  const Measured measured(*this);
  BaseDocument* active = document();
  if (result->document != (active ? active->GetIdentity() : 0)) return; // the document has changed
  image = std::move(result->image);
  painted_.clear();
  detail = result->detail;
  if (scene_ != result->scene) {
    scene_ = std::move(result->scene);
    const double step = scene_ ? gridStepOf(scene_->snapshot()) : 1;
    if (step != gridStep_) gridStep_ = step, requestPicture(false);
  }
  paintOverlay();
  if (services.present) services.present();
}

// Hooks get presses inside of the frame only, relative to its corner. A drag continues outside of it.
SceneHooks::Input ViewDisplay::offerToHooks(const void* owner, LONG channel, LONG value,
                                            const ViewMouse& mouse) {
  const ViewRect frame = this->frame();
  if (!frame.contains(mouse.x, mouse.y)) return {};
  BaseContainer message = inputMessage(channel, mouse.x - frame.left, mouse.y - frame.top, value, mouse.keys);
  if (mouse.doubleClick) message.SetLong(BFM_INPUT_DOUBLECLICK, 1);
  DragPump pump; // stays empty when the program has none
  if (services.pumpDrag)
    pump = [&](DragEvent& event) {
      if (!services.pumpDrag(event)) return false;
      event.x -= frame.left, event.y -= frame.top;
      return true;
    };
  return hooks.mouseInput(*view(), message, pump, owner);
}

Overlay ViewDisplay::drawnByHooks() {
  const std::shared_ptr<void> drawing = services.drawing ? services.drawing() : nullptr;
  Overlay drawn;
  inOverlay_ = true;
  hooks.draw(*view(), drawn);
  inOverlay_ = false;
  return drawn;
}

void ViewDisplay::paintOverlay() {
  if (inOverlay_ || !ready()) return;
  overlay_ = drawnByHooks();
  layOverlay();
}

void ViewDisplay::layOverlay() {
  if (image.empty() || !view()) return;
  const PictureSetup setup = setupOf(document());
  const auto [left, top, right, bottom] = setup.frame;
  const ViewRect frame = this->frame();
  drawOverlay(overlay_, {setup.ratio, frame.left, frame.top, left, top, right, bottom}, image, painted_);
}

// Hooks can depend on values that do not change the picture, so their drawing is compared on its own.
void ViewDisplay::refreshOverlay() {
  if (inOverlay_ || image.empty() || !ready()) return;
  Overlay now = drawnByHooks();
  if (now == overlay_) return;
  eraseOverlay(image, painted_);
  overlay_ = std::move(now);
  layOverlay();
  if (services.present) services.present();
}

void ViewDisplay::repaintNow() {
  if (inOverlay_ || !open_) return;
  {
    const Measured measured(*this);
    eraseOverlay(image, painted_);
    paintOverlay();
  }
  requestPicture(true);
  if (services.present) services.present();
}

} // namespace host
