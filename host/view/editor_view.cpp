#include "editor_view.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "active_document.h"
#include "document.h"
#include "parameters.h"
#include "program.h"
#include "scene_hooks.h"
#include "view_camera.h"
#include "view_painter.h"

namespace host {

namespace {

using Steady = std::chrono::steady_clock;

constexpr int longestSide = 16384; // device pixels
constexpr double clickReach = 3;   // logical pixels that a click may move
constexpr double symbolReach = 9;  // around the sign of a light or camera
constexpr double turnPerPixel = 0.008;
constexpr double dollyPerPixel = 0.006;
constexpr double dollyPerNotch = 0.88;

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

enum class Gesture { none, orbit, pan, dolly };

Gesture gestureOf(const ViewMouse& mouse) {
  if (mouse.button == MouseButton::left && mouse.keys.digit >= 1 && mouse.keys.digit <= 3)
    return mouse.keys.digit == 1 ? Gesture::orbit : mouse.keys.digit == 2 ? Gesture::pan : Gesture::dolly;
  if (mouse.button == MouseButton::middle) return Gesture::pan;
  if (!mouse.keys.alt) return Gesture::none;
  return mouse.button == MouseButton::left    ? Gesture::orbit
         : mouse.button == MouseButton::right ? Gesture::dolly
                                              : Gesture::none;
}

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

bool finite(const Matrix& m) {
  const Vector sum = m.off + m.v1 + m.v2 + m.v3;
  return std::isfinite(sum.x + sum.y + sum.z);
}

} // namespace

class EditorView::Self final : public CoreListener {
 public:
  explicit Self(EditorViewServices given);
  ~Self();
  Self(const Self&) = delete;
  Self& operator=(const Self&) = delete;

  // Everything that is a call of the program's own code in the view is measured.
  class Measured {
   public:
    explicit Measured(Self& self) : self_(self), start_(Steady::now()) { ++self_.measuring_; }
    ~Measured() {
      if (--self_.measuring_ == 0)
        self_.mainSeconds += std::chrono::duration<double>(Steady::now() - start_).count();
    }
    Measured(const Measured&) = delete;
    Measured& operator=(const Measured&) = delete;

   private:
    Self& self_;
    Steady::time_point start_;
  };

  void coreMessage(LONG id, const BaseContainer& message) override;
  void close(); // before the program's documents and plug-ins go

  BaseDocument* document() const { return GetActiveDocument(); }
  BaseDraw* view() const;
  bool ready(); // a document with a view that has a size; its hooks and frame are up to date
  void syncFrame();

  void requestPicture(bool lookAgain);
  bool picturePosted() const { return submitPosted_; }
  void submit(bool force = false);
  void lookAtDocument(BaseDocument& document);
  PictureSetup setupOf(BaseDocument* document) const;
  void deliver();
  void paintOverlay();
  void repaintNow();

  ViewHit hitAt(double x, double y) const;
  std::optional<Vector> pointUnder(double x, double y) const;
  Vector pivotAt(double x, double y) const;
  BaseObject* objectAt(double x, double y) const;
  void pick(double x, double y, bool add);
  void selectHere(BaseObject* object, bool add);

  BaseObject* camera() const;
  bool isOwnCamera() const { return !view()->GetSceneCamera(nullptr); }
  void setCamera(const Matrix& world, bool finished);
  void setHalfHeight(double half, bool finished);
  void cameraMoved();
  bool startGesture(const ViewMouse& mouse);
  void moveGesture(double x, double y, bool finished);
  void frame(bool activeOnly);

  EditorViewServices services;
  int width = 0, height = 0;
  double ratio = 1;
  ViewImage image;
  ViewDetail detail = ViewDetail::none;
  std::unique_ptr<ViewPainter> painter;
  SceneHooks hooks;
  double mainSeconds = 0;

  struct Navigation {
    Gesture gesture = Gesture::none;
    double x = 0, y = 0; // where it began
    Matrix camera;       // as it was
    double half = 1;     // orthographic: half its height as it was
    ViewCamera view;
    Vector pivot;
    Identity object = 0; // the camera
    bool moved = false;
  } navigation;
  struct Click {
    bool held = false;
    double x = 0, y = 0;
  } click;
  MouseButton swallowed = MouseButton::none; // its release belongs to a drag that is over

 private:
  const std::shared_ptr<Self*> alive_ = std::make_shared<Self*>(this); // for tasks that come late
  bool open_ = true;
  bool lookAgain_ = true; // the document may have changed
  bool submitPosted_ = false;
  bool inOverlay_ = false;
  Identity lookedAt_ = 0; // the document that the view knows
  Milliseconds nextLook_ = 0;
  TimerId lookTimer_ = 0;
  std::vector<ViewSymbol> symbols_;
  std::shared_ptr<const std::unordered_set<Identity>> selection_;
  ViewScenePtr scene_;
  double gridStep_ = 1;
  Overlay overlay_;
  std::vector<PaintedPixel> painted_;
  int measuring_ = 0;
};

namespace {

// Views that live, for the program's end.
std::vector<EditorView*>& liveViews() {
  static std::vector<EditorView*> views;
  return views;
}

} // namespace

EditorView::Self::Self(EditorViewServices given) : services(std::move(given)) {
  painter = std::make_unique<ViewPainter>(services.tracer, [alive = std::weak_ptr(alive_)] {
    mainLoop().post(
        [alive] {
          if (const auto self = alive.lock()) (*self)->deliver();
        },
        Urgency::painting);
  });
  mainLoop().add(this);
}

EditorView::Self::~Self() {
  close();
  mainLoop().remove(this);
}

void EditorView::Self::close() {
  if (!open_) return;
  open_ = false;
  mainLoop().removeTimer(lookTimer_);
  painter.reset();
  scene_ = nullptr;
  hooks.follow(nullptr);
}

void EditorView::Self::coreMessage(LONG id, const BaseContainer& /*message*/) {
  if (id == EVMSG_CHANGE) requestPicture(true);
}

BaseDraw* EditorView::Self::view() const {
  BaseDocument* active = document();
  return active ? active->GetActiveBaseDraw() : nullptr;
}

void EditorView::Self::syncFrame() {
  BaseDraw* draw = view();
  if (!draw || width < 1 || height < 1) return;
  LONG left = 0, top = 0, right = 0, bottom = 0;
  draw->GetFrame(&left, &top, &right, &bottom);
  if (left != 0 || top != 0 || right != width || bottom != height) setViewFrame(*draw, 0, 0, width, height);
}

bool EditorView::Self::ready() {
  if (!open_) return false;
  hooks.follow(document());
  syncFrame();
  return view() && width > 0 && height > 0;
}

// --- painting ---

void EditorView::Self::requestPicture(bool lookAgain) {
  lookAgain_ = lookAgain_ || lookAgain;
  if (submitPosted_ || !open_) return;
  submitPosted_ = true;
  mainLoop().post(
      [alive = std::weak_ptr(alive_)] {
        if (const auto self = alive.lock()) (*self)->submit();
      },
      Urgency::painting);
}

// Looking at a large document costs the main thread a clone, so it happens only so often that it takes a
// fifth of the time at most.
void EditorView::Self::submit(bool force) {
  submitPosted_ = false;
  if (!open_) return;
  const Measured measured(*this);
  BaseDocument* active = document();
  const Identity identity = active ? active->GetIdentity() : 0;
  const bool another = identity != lookedAt_;
  if (another) scene_ = nullptr, gridStep_ = 1, navigation = {}, click = {};
  hooks.follow(active);
  syncFrame();

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

// What the picture needs besides the clone: what is selected, and where lights and cameras are.
void EditorView::Self::lookAtDocument(BaseDocument& document) {
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
                            world.off, shinesAround || !isLight ? Vector() : unit(-world.v3), active});
      }
      self(self, object.children, world, active);
    }
  };
  walk(walk, stateOf(&document)->children, Matrix(), false);
  selection_ = std::move(selection);
}

PictureSetup EditorView::Self::setupOf(BaseDocument* document) const {
  PictureSetup setup;
  if (width < 1 || height < 1) return setup;
  setup.ratio =
      std::min({ratio, static_cast<double>(longestSide) / width, static_cast<double>(longestSide) / height});
  const auto pixels = [&](double logical) { return static_cast<int>(std::lround(logical * setup.ratio)); };
  setup.width = std::max(1, pixels(width));
  setup.height = std::max(1, pixels(height));
  setup.safeFrame = {0, 0, setup.width, setup.height};
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
  LONG from = 0, to = 0, orientation = 0;
  draw.GetSafeFrame(&from, &to, &orientation);
  if (orientation == 1) setup.safeFrame[0] = pixels(from), setup.safeFrame[2] = pixels(to);
  if (orientation == 2) setup.safeFrame[1] = pixels(from), setup.safeFrame[3] = pixels(to);
  return setup;
}

void EditorView::Self::deliver() {
  if (!open_) return;
  std::optional<PaintResult> result = painter->take();
  if (!result) return;
  const Measured measured(*this);
  BaseDocument* active = document();
  if (result->document != (active ? active->GetIdentity() : 0)) return; // of a document that has gone
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

void EditorView::Self::paintOverlay() {
  if (inOverlay_ || !ready()) return;
  inOverlay_ = true;
  overlay_.clear();
  hooks.draw(*view(), overlay_);
  const double scale = width > 0 && !image.empty() ? setupOf(nullptr).ratio : 1;
  drawOverlay(overlay_, scale, image, painted_);
  inOverlay_ = false;
}

void EditorView::Self::repaintNow() {
  if (inOverlay_ || !open_) return;
  {
    const Measured measured(*this);
    eraseOverlay(image, painted_);
    paintOverlay();
  }
  requestPicture(true);
  if (services.present) services.present();
}

// --- picking ---

ViewHit EditorView::Self::hitAt(double x, double y) const {
  ViewHit hit;
  const BaseDraw* draw = view();
  if (!scene_ || !draw) return hit;
  const ViewRay ray = viewCameraOf(*draw).ray(x, y);
  scene_->trace({&ray, 1}, {&hit, 1});
  return hit;
}

std::optional<Vector> EditorView::Self::pointUnder(double x, double y) const {
  const ViewHit hit = hitAt(x, y);
  if (!hit.object) return std::nullopt;
  const ViewRay ray = viewCameraOf(*view()).ray(x, y);
  const double d = hit.distance;
  return Vector(ray.origin[0] + d * ray.direction[0], ray.origin[1] + d * ray.direction[1],
                ray.origin[2] + d * ray.direction[2]);
}

// The point that navigation turns about: under the pointer, else the selection's middle, else the scene's.
Vector EditorView::Self::pivotAt(double x, double y) const {
  if (const auto point = pointUnder(x, y)) return *point;
  const Snapshot* latest = scene_ ? &scene_->snapshot() : nullptr;
  for (const bool activeOnly : {true, false}) {
    const ViewBounds bounds = boundsOf(*document(), activeOnly, latest);
    if (!bounds.empty) return bounds.center();
  }
  return {};
}

BaseObject* EditorView::Self::objectAt(double x, double y) const {
  BaseDocument* active = document();
  const BaseDraw* draw = view();
  if (!active || !draw || x < 0 || y < 0 || x >= width || y >= height) return nullptr;
  const ViewCamera eye = viewCameraOf(*draw);
  Identity found = 0;
  double nearest = symbolReach;
  for (const ViewSymbol& symbol : symbols_) {
    if (symbol.object == camera()->GetIdentity()) continue;
    const auto spot = eye.project(symbol.place);
    const double distance = spot ? std::hypot(spot->x - x, spot->y - y) : nearest;
    if (distance < nearest) nearest = distance, found = symbol.object;
  }
  if (!found) found = hitAt(x, y).object;
  const NodeState* node = found ? findNode(*stateOf(active), found) : nullptr;
  return node && node->kind == NodeKind::object ? nodeOf<BaseObject>(node) : nullptr;
}

void EditorView::Self::selectHere(BaseObject* object, bool add) {
  BaseDocument& active = *document();
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
  EventAdd();
}

void EditorView::Self::pick(double x, double y, bool add) {
  BaseObject* object = objectAt(x, y);
  if (!object && add) return; // nothing to add
  if (services.select)
    services.select(object, add);
  else
    selectHere(object, add);
  requestPicture(true);
}

// --- navigation ---

BaseObject* EditorView::Self::camera() const {
  const BaseDraw* draw = view();
  if (!draw) return nullptr;
  BaseObject* sceneCamera = draw->GetSceneCamera(nullptr);
  return sceneCamera ? sceneCamera : draw->GetEditorCamera();
}

void EditorView::Self::cameraMoved() {
  if (services.viewChanged) services.viewChanged();
  requestPicture(false);
}

void EditorView::Self::setCamera(const Matrix& world, bool finished) {
  if (!finite(world)) return;
  if (isOwnCamera()) {
    const DocumentEdit edit(*document());
    camera()->SetMg(world);
  } else if (services.moveCamera) {
    services.moveCamera(*camera(), world, finished);
    lookAgain_ = true; // other things may hang on it
  } else {
    return;
  }
  cameraMoved();
}

void EditorView::Self::setHalfHeight(double half, bool finished) {
  half = std::clamp(half, 1e-6, 1e9);
  if (isOwnCamera()) {
    const DocumentEdit edit(*document());
    camera()->SetParameter(param::cameraYmag, half);
  } else if (services.zoomCamera) {
    services.zoomCamera(*camera(), half, finished);
  } else {
    return;
  }
  cameraMoved();
}

bool EditorView::Self::startGesture(const ViewMouse& mouse) {
  const Gesture gesture = gestureOf(mouse);
  if (gesture == Gesture::none) return false;
  navigation = {gesture,
                mouse.x,
                mouse.y,
                camera()->GetMg(),
                1,
                viewCameraOf(*view()),
                pivotAt(mouse.x, mouse.y),
                camera()->GetIdentity(),
                false};
  navigation.half = navigation.view.half * navigation.view.inner;
  return true;
}

// Always from where it began, so that no rounding adds up.
void EditorView::Self::moveGesture(double x, double y, bool finished) {
  Navigation& now = navigation;
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

void EditorView::Self::frame(bool activeOnly) {
  if (!ready()) return;
  const Snapshot* latest = scene_ && !lookAgain_ ? &scene_->snapshot() : nullptr;
  ViewBounds bounds = boundsOf(*document(), activeOnly, latest);
  if (bounds.empty && activeOnly) bounds = boundsOf(*document(), false, latest);
  if (bounds.empty) bounds.add({-1, -1, -1}), bounds.add({1, 1, 1});
  const ViewCamera eye = viewCameraOf(*view());
  const Matrix before = camera()->GetMg();
  const Matrix world = navigate::frame(before, eye, bounds);
  if (eye.orthographic) setHalfHeight(navigate::fittingHalf(eye, bounds), true);
  if (isOwnCamera()) {
    // What is small is looked at from nearby: the render must not cut it away.
    const double distance = std::sqrt(Dot(world.off - bounds.center(), world.off - bounds.center()));
    const DocumentEdit edit(*document());
    if (distance < 1) camera()->SetParameter(param::cameraNear, distance * 0.01);
  }
  setCamera(world, true);
}

// --- the view ---

EditorView::EditorView(EditorViewServices services) : self_(std::make_unique<Self>(std::move(services))) {
  static const bool once = [] {
    addShutdownStep(ShutdownStage::closeDialogs, [] {
      for (EditorView* view : liveViews())
        view->self_->close();
    });
    return true;
  }();
  (void)once;
  liveViews().push_back(this);
  repaintSoon();
}

EditorView::~EditorView() {
  std::erase(liveViews(), this);
}

void EditorView::resize(int width, int height, double pixelRatio) {
  self_->width = std::clamp(width, 0, longestSide);
  self_->height = std::clamp(height, 0, longestSide);
  self_->ratio = pixelRatio > 0 && std::isfinite(pixelRatio) ? std::clamp(pixelRatio, 0.25, 8.0) : 1;
  self_->syncFrame();
  self_->requestPicture(false);
}

int EditorView::width() const noexcept {
  return self_->width;
}

int EditorView::height() const noexcept {
  return self_->height;
}

double EditorView::pixelRatio() const noexcept {
  return self_->ratio;
}

const ViewImage& EditorView::image() const noexcept {
  return self_->image;
}

ViewDetail EditorView::detail() const noexcept {
  return self_->detail;
}

std::vector<ViewText> EditorView::texts() const {
  std::vector<ViewText> texts;
  const BaseDraw* draw = self_->view();
  if (!draw || self_->width < 1 || self_->height < 1) return texts;
  const ViewCamera eye = viewCameraOf(*draw);
  const BaseObject* through = draw->GetSceneCamera(nullptr);
  texts.push_back({self_->width - 10.0, 8, ViewText::Anchor::topRight,
                   through            ? through->GetName()
                   : eye.orthographic ? String("Parallel")
                                      : String("Perspective")});
  if (eye.width < 120 || eye.height < 120) return texts;
  const Tripod tripod = tripodOf(eye);
  const char* const letters[] = {"X", "Y", "Z"};
  for (std::size_t i = 0; i < 3; ++i) {
    const double dx = tripod.ends[i][0] - tripod.x, dy = tripod.ends[i][1] - tripod.y;
    const double length = std::hypot(dx, dy), further = length > 1 ? 1 + 9 / length : 1;
    texts.push_back({tripod.x + dx * further, tripod.y + dy * further, ViewText::Anchor::center, letters[i]});
  }
  return texts;
}

void EditorView::repaintSoon() {
  self_->requestPicture(true);
}

void EditorView::repaintNow() {
  self_->repaintNow();
}

bool EditorView::drawViews(LONG flags) {
  if (flags == DRAWFLAGS_ACTIVE_VIEW_NOW)
    repaintNow();
  else if (flags == DRAWFLAGS_ALL_VIEWS_SOON)
    repaintSoon();
  else
    return false;
  return true;
}

bool EditorView::mousePress(const ViewMouse& mouse) {
  if (inDrag() || self_->navigation.gesture != Gesture::none || !self_->ready()) return false;
  self_->swallowed = MouseButton::none;
  const LONG channel = channelOf(mouse.button);
  if (channel == 0) return false;
  BaseContainer message = inputMessage(channel, mouse.x, mouse.y, 1, mouse.keys);
  if (mouse.doubleClick) message.SetLong(BFM_INPUT_DOUBLECLICK, 1);
  const SceneHooks::Input input =
      self_->hooks.mouseInput(*self_->view(), message, self_->services.pumpDrag, this);
  if (input.used) {
    if (!input.released) self_->swallowed = mouse.button;
    return true;
  }
  if (!self_->ready()) return true; // a hook may do anything
  if (self_->startGesture(mouse)) return true;
  if (mouse.button != MouseButton::left) return false;
  self_->click = {true, mouse.x, mouse.y};
  return true;
}

bool EditorView::mouseMove(const ViewMouse& mouse) {
  if (inDrag()) return false;
  auto& click = self_->click;
  if (click.held && std::hypot(mouse.x - click.x, mouse.y - click.y) > clickReach) click.held = false;
  if (self_->navigation.gesture == Gesture::none) return false;
  if (!self_->camera() || self_->camera()->GetIdentity() != self_->navigation.object) {
    self_->navigation = {}; // its camera has gone
    return false;
  }
  self_->moveGesture(mouse.x, mouse.y, false);
  return true;
}

bool EditorView::mouseRelease(const ViewMouse& mouse) {
  if (inDrag()) return false;
  if (self_->swallowed != MouseButton::none && self_->swallowed == mouse.button) {
    self_->swallowed = MouseButton::none;
    return true;
  }
  if (self_->navigation.gesture != Gesture::none) {
    const BaseObject* camera = self_->camera();
    if (camera && camera->GetIdentity() == self_->navigation.object)
      self_->moveGesture(mouse.x, mouse.y, true);
    self_->navigation = {};
    return true;
  }
  const bool clicked = std::exchange(self_->click.held, false);
  if (!clicked || mouse.button != MouseButton::left || !self_->ready()) return false;
  self_->pick(mouse.x, mouse.y, mouse.keys.ctrl || mouse.keys.shift);
  return true;
}

bool EditorView::wheel(double x, double y, double notches, const ViewKeys& keys) {
  if (inDrag() || notches == 0 || !std::isfinite(notches) || !self_->ready()) return false;
  const auto value = static_cast<LONG>(std::lround(std::clamp(notches, -1000.0, 1000.0) * 120));
  const BaseContainer message = inputMessage(BFM_INPUT_MOUSEWHEEL, x, y, value, keys);
  if (self_->hooks.mouseInput(*self_->view(), message, self_->services.pumpDrag, this).used) return true;
  if (!self_->ready() || self_->navigation.gesture != Gesture::none) return true;
  const double factor = std::pow(dollyPerNotch, std::clamp(notches, -50.0, 50.0));
  const ViewCamera eye = viewCameraOf(*self_->view());
  if (eye.orthographic) {
    self_->setHalfHeight(eye.half * eye.inner * factor, true);
    return true;
  }
  const auto under = self_->pointUnder(x, y);
  const double depth = eye.depthOf(self_->pivotAt(x, y));
  const Vector target = under ? *under : eye.pointAt(x, y, depth > 1e-6 ? depth : 1);
  self_->setCamera(navigate::dolly(self_->camera()->GetMg(), target, factor), true);
  return true;
}

LONG EditorView::cursorAt(double x, double y) {
  if (isNavigating()) return MOUSE_MOVE;
  const LONG asked = self_->ready() ? self_->hooks.cursor(*self_->view(), x, y) : 0;
  return asked ? asked : MOUSE_NORMAL;
}

bool EditorView::cancelNavigation() {
  const Self::Navigation before = std::exchange(self_->navigation, {});
  if (before.gesture == Gesture::none) return false;
  const BaseObject* camera = self_->camera();
  if (!before.moved || !camera || camera->GetIdentity() != before.object) return true;
  if (before.gesture == Gesture::dolly && before.view.orthographic)
    self_->setHalfHeight(before.half, true);
  else
    self_->setCamera(before.camera, true);
  return true;
}

bool EditorView::isNavigating() const noexcept {
  return self_->navigation.gesture != Gesture::none;
}

bool EditorView::inDrag() const noexcept {
  return self_->hooks.inDrag();
}

BaseObject* EditorView::objectAt(double x, double y) const {
  return self_->objectAt(x, y);
}

void EditorView::frameAll() {
  self_->frame(false);
}

void EditorView::frameSelected() {
  self_->frame(true);
}

void EditorView::lookThrough(BaseObject* camera) {
  if (!self_->ready()) return;
  cancelNavigation();
  self_->view()->SetSceneCamera(camera);
  self_->cameraMoved();
}

BaseObject* EditorView::camera() const {
  return self_->camera();
}

bool EditorView::finishPicture(int milliseconds) {
  const auto deadline = Steady::now() + std::chrono::milliseconds(milliseconds);
  if (!self_->painter) return false;
  self_->submit(true);
  while (self_->painter->wait(deadline)) {
    self_->deliver();
    if (!self_->painter || self_->painter->idle()) {
      // What the delivery itself asked for is painted too.
      if (!self_->picturePosted()) return true;
      self_->submit(true);
    }
  }
  return false;
}

EditorView::Stats EditorView::stats() const {
  Stats stats;
  stats.mainSeconds = self_->mainSeconds;
  if (!self_->painter) return stats;
  const ViewPainter::Counts counts = self_->painter->counts();
  stats.pictures = counts.pictures;
  stats.views = counts.views;
  stats.finished = counts.finished;
  stats.cancelled = counts.cancelled;
  stats.scenes = counts.scenes;
  return stats;
}

} // namespace host
