#include "editor_view_widget.h"

#include <cmath>

#include "c4d_events.h"
#include "icons.h"
#include "material_manager.h"
#include "parameters.h"
#include "running_state.h"
#include "scene_edits.h"
#include "scene_queries.h"
#include "theme.h"
#include "view_camera.h"

namespace host {

namespace {

constexpr int pumpMilliseconds = 10;
constexpr double dragReach = 3; // pixels before a tool begins to work

MouseButton buttonOf(Qt::MouseButtons buttons) {
  if (buttons & Qt::LeftButton) return MouseButton::left;
  if (buttons & Qt::MiddleButton) return MouseButton::middle;
  return buttons & Qt::RightButton ? MouseButton::right : MouseButton::none;
}

Matrix about(const Vector& place, const Matrix& turn) {
  Matrix back, forth;
  back.off = -place;
  forth.off = place;
  return forth * turn * back;
}

Matrix turnedAboutY(double angle) {
  Matrix m;
  m.v1 = Vector(std::cos(angle), 0, -std::sin(angle));
  m.v3 = Vector(std::sin(angle), 0, std::cos(angle));
  return m;
}

Matrix scaled(double factor) {
  Matrix m;
  m.v1 = m.v1 * factor;
  m.v2 = m.v2 * factor;
  m.v3 = m.v3 * factor;
  return m;
}

} // namespace

QImage opaqueImage(const BaseBitmap& bitmap) {
  QImage image(bitmap.GetBw(), bitmap.GetBh(), QImage::Format_RGB32);
  for (int y = 0; y < image.height(); ++y) {
    auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
    for (int x = 0; x < image.width(); ++x) {
      UWORD r = 0, g = 0, b = 0;
      bitmap.GetPixel(x, y, &r, &g, &b);
      line[x] = qRgb(r, g, b);
    }
  }
  return image;
}

EditorViewWidget::EditorViewWidget(Session& session, ViewTracer* tracer, QWidget* parent)
    : QWidget(parent), session_(session), view_(std::make_unique<EditorView>(services(tracer))) {
  setObjectName(QStringLiteral("editor-view"));
  setAccessibleName(tr("Editor view"));
  setAttribute(Qt::WA_OpaquePaintEvent);
  setMouseTracking(true);
  setFocusPolicy(Qt::StrongFocus);
  setAcceptDrops(true);
  setMinimumSize(160, 120);
  qApp->installEventFilter(this);

  renderChanged_ = session.renders().changed.add([this] { takeRender(); });
  renderFinished_ = session.renders().finished.add([this] { takeRender(); });
  hubChanged_ = session.hub().changed.add([this] { hideRender(), view_->repaintSoon(); });
  selected_ = session.hub().selectionChanged.add([this] { view_->repaintSoon(); });
  timeChanged_ = session.hub().timeChanged.add([this] { hideRender(), view_->repaintSoon(); });
  replaced_ = session.hub().replaced.add([this](Replacement) {
    toolDrag_.reset();
    band_.reset();
    hideRender();
    view_->repaintSoon();
  });
}

EditorViewWidget::~EditorViewWidget() {
  shutDown();
}

void EditorViewWidget::shutDown() {
  dragOver_ = true;
  for (Subscription* one :
       {&renderChanged_, &renderFinished_, &hubChanged_, &timeChanged_, &replaced_, &selected_})
    one->cancel();
  qApp->removeEventFilter(this);
  render_.reset();
  view_.reset();
}

EditorViewServices EditorViewWidget::services(ViewTracer* tracer) {
  EditorViewServices services;
  services.tracer = tracer;
  services.present = [this] { update(); };
  services.pumpDrag = [this](DragEvent& drag) { return pumpDrag(drag); };
  services.moveCamera = [this](BaseObject& camera, const Matrix& world, bool finished) {
    moveCamera(
        camera, "Move Camera",
        [object = camera.GetIdentity(), world](BaseDocument& document) {
          setWorldMatrix(document, object, world);
        },
        finished);
  };
  services.zoomCamera = [this](BaseObject& camera, double half, bool finished) {
    moveCamera(
        camera, "Zoom Camera",
        [object = camera.GetIdentity(), half](BaseDocument& document) {
          if (BaseObject* found = findObject(document, object)) found->SetParameter(param::cameraYmag, half);
        },
        finished);
  };
  services.select = [this](BaseObject* object, bool add) { select(object, add); };
  services.drawing = [] { return std::make_shared<RunningScope>(CHECKISRUNNING_VIEWDRAWING); };
  services.viewChanged = [this] {
    hideRender();
    EventAdd();
  };
  return services;
}

// All of one move are one step: the first change begins it, the last one ends it.
void EditorViewWidget::moveCamera(BaseObject& camera, const char* name, const Edits::Change& change,
                                  bool finished) {
  if (!camera.GetDocument()) return;
  Edits& edits = session_.edits();
  if (!edits.isContinuous()) {
    if (finished) {
      edits.apply(name, change, String(name) + LLongToString(static_cast<LLONG>(camera.GetIdentity())));
      return;
    }
    edits.begin(name);
  }
  edits.update(change);
  if (finished) edits.end();
}

void EditorViewWidget::select(BaseObject* object, bool add) {
  select(object ? Identities{object->GetIdentity()} : Identities{},
         add ? SelectMode::toggle : SelectMode::replace);
}

void EditorViewWidget::select(const Identities& chosen, SelectMode mode) {
  BaseDocument* document = session_.document();
  if (!document) return;
  bool different = false;
  {
    const DocumentEdit edit(*document);
    different = selectObjects(*document, chosen, mode);
  }
  if (different) session_.hub().tellSelection();
  if (!chosen.empty()) emit picked();
}

void EditorViewWidget::lookThrough(Identity camera) {
  BaseDocument* document = session_.document();
  if (!document) return;
  view_->lookThrough(camera ? findObject(*document, camera) : nullptr);
}

void EditorViewWidget::setTool(ViewTool tool) {
  if (tool == tool_) return;
  tool_ = tool;
  emit toolChanged();
}

// --- painting ---

void EditorViewWidget::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  const ViewImage* image = view_ ? &view_->image() : nullptr;
  if (!renderImage_.isNull()) {
    painter.fillRect(rect(), tokens().field);
    painter.drawImage(frameRect(), renderImage_);
    return;
  }
  if (!image || image->empty()) return painter.fillRect(rect(), tokens().field);
  const QImage picture(reinterpret_cast<const uchar*>(image->pixels.data()), image->width, image->height,
                       static_cast<qsizetype>(image->width) * 4, QImage::Format_RGB32);
  const double ratio = devicePixelRatioF();
  const bool fits =
      std::abs(image->width - width() * ratio) < 1 && std::abs(image->height - height() * ratio) < 1;
  // An earlier size is shown as large as this one until the right one comes.
  painter.setRenderHint(QPainter::SmoothPixmapTransform, !fits);
  painter.drawImage(fits ? QRectF(0, 0, image->width / ratio, image->height / ratio) : QRectF(rect()),
                    picture);

  painter.setFont(interfaceFont(metrics::smallFontPixels));
  for (const ViewText& text : view_->texts()) {
    const QString words = QString::fromStdString(text.text.GetUTF8());
    QRectF box = painter.fontMetrics().boundingRect(words);
    if (text.anchor == ViewText::Anchor::topRight) box.moveTopRight({text.x, text.y});
    if (text.anchor == ViewText::Anchor::bottomLeft) box.moveBottomLeft({text.x, text.y});
    if (text.anchor == ViewText::Anchor::center) box.moveCenter({text.x, text.y});
    painter.setPen(QColor(0, 0, 0, 150));
    painter.drawText(box.translated(0, 1).adjusted(-1, -1, 1, 1), Qt::AlignCenter, words);
    painter.setPen(QColor::fromRgb(text.color));
    painter.drawText(box.adjusted(-1, -1, 1, 1), Qt::AlignCenter, words);
  }
  if (band_ && band_->running) {
    QColor inside = tokens().accent;
    painter.setPen(inside);
    inside.setAlpha(30);
    painter.setBrush(inside);
    painter.drawRect(QRectF(band_->start, band_->end).normalized().toRect());
  }
}

void EditorViewWidget::resizeEvent(QResizeEvent* /*event*/) {
  hideRender();
  if (view_) view_->resize(width(), height(), devicePixelRatioF());
}

bool EditorViewWidget::event(QEvent* event) {
  // A window that goes to a screen of another density.
  if (event->type() == QEvent::ScreenChangeInternal && view_)
    view_->resize(width(), height(), devicePixelRatioF());
  return QWidget::event(event);
}

QRect EditorViewWidget::frameRect() const {
  const BaseDocument* document = session_.document();
  const BaseDraw* draw = document ? document->GetActiveBaseDraw() : nullptr;
  if (!draw) return rect();
  LONG left = 0, top = 0, right = 0, bottom = 0;
  draw->GetFrame(&left, &top, &right, &bottom);
  return {left, top, right - left, bottom - top};
}

void EditorViewWidget::takeRender() {
  const RenderState& state = session_.renders().state();
  if (state.kind != RenderKind::view) return;
  if (!state.bitmap || (!state.running && state.bitmap != render_)) return;
  render_ = state.bitmap;
  renderImage_ = opaqueImage(*render_);
  update();
}

void EditorViewWidget::hideRender() {
  if (!render_) return;
  render_.reset();
  renderImage_ = {};
  const RenderState& state = session_.renders().state();
  if (state.running && state.kind == RenderKind::view) session_.renders().cancel();
  update();
}

// --- input ---

ViewKeys EditorViewWidget::keys(Qt::KeyboardModifiers modifiers) const {
  ViewKeys keys;
  keys.alt = modifiers & Qt::AltModifier;
  keys.ctrl = modifiers & Qt::ControlModifier;
  keys.shift = modifiers & Qt::ShiftModifier;
  keys.digit = digit_;
  return keys;
}

ViewMouse EditorViewWidget::mouse(const QMouseEvent& event) const {
  ViewMouse mouse;
  mouse.x = event.position().x();
  mouse.y = event.position().y();
  mouse.button = event.button() != Qt::NoButton ? buttonOf(event.button()) : buttonOf(event.buttons());
  mouse.keys = keys(event.modifiers());
  return mouse;
}

void EditorViewWidget::mousePressEvent(QMouseEvent* event) {
  press(event, false);
}

void EditorViewWidget::mouseDoubleClickEvent(QMouseEvent* event) {
  press(event, true);
}

void EditorViewWidget::press(QMouseEvent* event, bool twice) {
  if (!view_ || view_->inDrag()) return;
  hideRender();
  ViewMouse input = mouse(*event);
  input.doubleClick = twice;
  pumped_ = false;
  dragEvents_.clear();
  const bool used = view_->mousePress(input);
  if (!view_) return; // the program ended in the drag
  if (pumped_) {
    dragEvents_.clear();
    session_.edits().notice("Drag in View");
    return;
  }
  if (!used && event->button() == Qt::RightButton) emit menuWanted(event->globalPosition().toPoint());
  const bool add = input.keys.shift || input.keys.ctrl;
  if (event->button() == Qt::LeftButton && !input.keys.alt && input.keys.digit == 0 &&
      !view_->isNavigating()) {
    if (tool_ == ViewTool::select)
      armBand(event->position(), add);
    else if (!add)
      armTool(event->position());
  }
  showCursor(event->position());
}

void EditorViewWidget::mouseMoveEvent(QMouseEvent* event) {
  if (!view_) return;
  if (view_->inDrag()) {
    return queueDrag(
        {DragEvent::Kind::move, event->position().x(), event->position().y(), keys(event->modifiers())});
  }
  view_->mouseMove(mouse(*event));
  if (toolDrag_) dragTool(event->position());
  if (band_) dragBand(event->position());
  showCursor(event->position());
}

void EditorViewWidget::mouseReleaseEvent(QMouseEvent* event) {
  if (!view_) return;
  if (view_->inDrag()) {
    return queueDrag(
        {DragEvent::Kind::release, event->position().x(), event->position().y(), keys(event->modifiers())});
  }
  view_->mouseRelease(mouse(*event));
  if (event->button() == Qt::LeftButton) {
    endTool(true);
    endBand(true);
  }
  showCursor(event->position());
}

void EditorViewWidget::wheelEvent(QWheelEvent* event) {
  event->accept();
  if (!view_) return;
  // With Alt held the window system reports a sideways wheel.
  const QPoint turned = event->angleDelta();
  const int delta = turned.y() != 0 ? turned.y() : turned.x();
  view_->wheel(event->position().x(), event->position().y(), delta / 120.0, keys(event->modifiers()));
}

void EditorViewWidget::leaveEvent(QEvent* /*event*/) {
  unsetCursor();
}

void EditorViewWidget::hideEvent(QHideEvent* event) {
  dragOver_ = true;
  band_.reset();
  if (dragLoop_) dragLoop_->quit();
  QWidget::hideEvent(event);
}

void EditorViewWidget::focusOutEvent(QFocusEvent* event) {
  QWidget::focusOutEvent(event);
  update();
}

void EditorViewWidget::showCursor(const QPointF& at) {
  const LONG code = toolDrag_ && toolDrag_->running ? MOUSE_MOVE : view_->cursorAt(at.x(), at.y());
  if (code == MOUSE_MOVE)
    setCursor(Qt::SizeAllCursor);
  else
    unsetCursor();
}

// The digits count wherever the keyboard is, as long as no text is being typed; Escape ends what the mouse
// does.
bool EditorViewWidget::watchDigit(const QKeyEvent& key, bool down) {
  const bool digit = key.key() >= Qt::Key_1 && key.key() <= Qt::Key_3;
  if (!digit || key.isAutoRepeat()) return false;
  const int number = key.key() - Qt::Key_0;
  if (down)
    digit_ = number;
  else if (digit_ == number)
    digit_ = 0;
  return true;
}

bool EditorViewWidget::eventFilter(QObject* watched, QEvent* event) {
  if (!view_) return false;
  const QEvent::Type type = event->type();
  if (type == QEvent::ApplicationStateChange) digit_ = 0;
  if (type != QEvent::KeyPress && type != QEvent::KeyRelease && type != QEvent::ShortcutOverride)
    return QWidget::eventFilter(watched, event);
  if (!watched->isWidgetType()) return false;
  const auto* key = static_cast<QKeyEvent*>(event);
  if (type == QEvent::KeyRelease) watchDigit(*key, false);
  if (type == QEvent::KeyPress && !qobject_cast<QLineEdit*>(watched)) watchDigit(*key, true);
  const bool escape = key->key() == Qt::Key_Escape && type != QEvent::KeyRelease;
  if (view_->inDrag()) {
    // Everything typed belongs to the drag.
    if (escape && type == QEvent::KeyPress)
      queueDrag({DragEvent::Kind::escape, 0, 0, keys(key->modifiers())});
    if (type == QEvent::ShortcutOverride) event->accept();
    return true;
  }
  if (escape && (view_->isNavigating() || toolDrag_ || (band_ && band_->running))) {
    if (type == QEvent::ShortcutOverride) {
      event->accept();
      return true;
    }
    if (!endTool(false) && !endBand(false)) view_->cancelNavigation();
    return true;
  }
  if (escape && type == QEvent::KeyPress && render_ && watched == this) {
    hideRender();
    return true;
  }
  return false;
}

void EditorViewWidget::queueDrag(const DragEvent& drag) {
  // Of several moves that wait only the last one counts.
  if (drag.kind == DragEvent::Kind::move && !dragEvents_.empty() &&
      dragEvents_.back().kind == DragEvent::Kind::move)
    dragEvents_.pop_back();
  dragEvents_.push_back(drag);
  if (dragLoop_) dragLoop_->quit();
}

bool EditorViewWidget::pumpDrag(DragEvent& drag) {
  if (!pumped_) pumped_ = true, dragOver_ = !isVisible();
  if (dragEvents_.empty() && !dragOver_) {
    QEventLoop loop;
    dragLoop_ = &loop;
    QTimer::singleShot(pumpMilliseconds, &loop, &QEventLoop::quit);
    loop.exec();
    dragLoop_ = nullptr;
  }
  if (dragOver_) return false;
  drag = {};
  if (dragEvents_.empty()) return true;
  drag = dragEvents_.front();
  dragEvents_.pop_front();
  return true;
}

// --- tools ---

void EditorViewWidget::armTool(const QPointF& at) {
  toolDrag_.reset();
  BaseDocument* document = session_.document();
  if (tool_ == ViewTool::select || !document) return;
  const BaseObject* object = view_->objectAt(at.x(), at.y());
  const BaseObject* anchor = object;
  while (anchor && !anchor->GetBit(BIT_ACTIVE))
    anchor = anchor->GetUp();
  if (!anchor) return;
  ToolDrag drag;
  drag.start = at;
  drag.anchor = anchor->GetIdentity();
  drag.place = anchor->GetMg().off;
  for (const Identity identity : topmost(*document, selectedObjects(*document)))
    if (const BaseObject* one = findObject(*document, identity))
      drag.objects.emplace_back(identity, one->GetMg());
  toolDrag_ = std::move(drag);
}

void EditorViewWidget::dragTool(const QPointF& at) {
  ToolDrag& drag = *toolDrag_;
  const QPointF moved = at - drag.start;
  if (!drag.running) {
    if (std::hypot(moved.x(), moved.y()) <= dragReach) return;
    static const char* const names[] = {"", "Move", "Turn", "Scale"};
    drag.running = session_.edits().begin(names[static_cast<int>(tool_)]);
    if (!drag.running) return toolDrag_.reset();
  }
  Matrix change;
  const BaseDraw* draw = session_.document()->GetActiveBaseDraw();
  if (tool_ == ViewTool::move && draw) {
    const ViewCamera eye = viewCameraOf(*draw);
    const double depth = eye.depthOf(drag.place);
    change.off = eye.pointAt(at.x(), at.y(), depth) - eye.pointAt(drag.start.x(), drag.start.y(), depth);
  } else if (tool_ == ViewTool::turn) {
    change = about(drag.place, turnedAboutY(moved.x() * 0.01));
  } else if (tool_ == ViewTool::scale) {
    change = about(drag.place, scaled(std::exp(std::clamp(moved.x() * 0.006, -8.0, 8.0))));
  }
  session_.edits().update([&](BaseDocument& document) {
    for (const auto& [identity, world] : drag.objects)
      setWorldMatrix(document, identity, change * world);
  });
}

bool EditorViewWidget::endTool(bool keep) {
  if (!toolDrag_) return false;
  const bool running = toolDrag_->running;
  toolDrag_.reset();
  if (!running) return false;
  if (keep)
    session_.edits().end();
  else
    session_.edits().cancel();
  return true;
}

void EditorViewWidget::armBand(const QPointF& at, bool add) {
  band_ = Band{at, at, false, add};
}

void EditorViewWidget::dragBand(const QPointF& at) {
  const QPointF moved = at - band_->start;
  band_->running = band_->running || std::hypot(moved.x(), moved.y()) > dragReach;
  band_->end = at;
  if (band_->running) update();
}

bool EditorViewWidget::endBand(bool keep) {
  const std::optional<Band> band = std::exchange(band_, std::nullopt);
  if (!band || !band->running) return false;
  update();
  if (!keep) return true;
  Identities chosen;
  for (const BaseObject* object :
       view_->objectsIn(band->start.x(), band->start.y(), band->end.x(), band->end.y()))
    chosen.push_back(object->GetIdentity());
  select(chosen, band->add ? SelectMode::add : SelectMode::replace);
  return true;
}

// --- drops ---

void EditorViewWidget::dragEnterEvent(QDragEnterEvent* event) {
  if (event->mimeData()->hasFormat(QLatin1String(materialMimeType))) event->acceptProposedAction();
}

void EditorViewWidget::dragMoveEvent(QDragMoveEvent* event) {
  const bool material = event->mimeData()->hasFormat(QLatin1String(materialMimeType));
  if (material && view_ && view_->objectAt(event->position().x(), event->position().y()))
    event->acceptProposedAction();
  else
    event->ignore();
}

void EditorViewWidget::dropEvent(QDropEvent* event) {
  const QByteArray dropped = event->mimeData()->data(QLatin1String(materialMimeType));
  BaseObject* object = view_ ? view_->objectAt(event->position().x(), event->position().y()) : nullptr;
  const Identity material = materialOf(dropped);
  if (!object || !material) return event->ignore();
  session_.edits().apply("Assign Material",
                         [identity = object->GetIdentity(), material](BaseDocument& document) {
                           assignMaterial(document, std::vector{identity}, material);
                         });
  event->acceptProposedAction();
}

} // namespace host
