#include "editor_view_widget.h"

#include <cmath>

#include "bitmap_image.h"
#include "c4d_events.h"
#include "free_place.h"
#include "gizmo_paint.h"
#include "material_manager.h"
#include "parameters.h"
#include "running_state.h"
#include "scene_edits.h"
#include "scene_queries.h"
#include "theme.h"

namespace host {

namespace {

MouseButton buttonOf(Qt::MouseButtons buttons) {
  if (buttons & Qt::LeftButton) return MouseButton::left;
  if (buttons & Qt::MiddleButton) return MouseButton::middle;
  return buttons & Qt::RightButton ? MouseButton::right : MouseButton::none;
}

} // namespace

EditorViewWidget::EditorViewWidget(Session& session, ViewTracer* tracer, QWidget* parent)
    : QWidget(parent), session_(session), view_(std::make_unique<EditorView>(services(tracer))),
      toolDrag_(session) {
  setObjectName(QStringLiteral("editor-view"));
  setShowsPicture(*this);
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
    toolDrag_.forget();
    band_.reset();
    hideRender();
    view_->repaintSoon();
  });
}

EditorViewWidget::~EditorViewWidget() {
  shutDown();
}

void EditorViewWidget::shutDown() {
  hookDrag_.finish();
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
  services.pumpDrag = [this](DragEvent& drag) { return hookDrag_.next(drag, isVisible()); };
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

// All changes of one move make one undo step: the first begins it, the last ends it.
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
  toolDrag_.hover(tool, mapFromGlobal(QCursor::pos()));
  update();
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
  // A picture of an earlier size is scaled until one of this size comes.
  painter.setRenderHint(QPainter::SmoothPixmapTransform, !fits);
  painter.drawImage(fits ? QRectF(0, 0, image->width / ratio, image->height / ratio) : QRectF(rect()),
                    picture);
  paintTexts(painter);
  paintBand(painter);
  paintGizmo(painter, toolDrag_.handles(tool_), toolDrag_.part());
  if (const QString text = toolDrag_.text(); !text.isEmpty())
    paintGizmoText(painter, toolDrag_.pointer(), text);
}

void EditorViewWidget::paintTexts(QPainter& painter) {
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
}

void EditorViewWidget::paintBand(QPainter& painter) {
  if (!band_ || !band_->running) return;
  QColor inside = tokens().accent;
  painter.setPen(inside);
  inside.setAlpha(30);
  painter.setBrush(inside);
  painter.drawRect(QRectF(band_->start, band_->end).normalized().toRect());
}

void EditorViewWidget::resizeEvent(QResizeEvent* /*event*/) {
  hideRender();
  if (view_) view_->resize(width(), height(), devicePixelRatioF());
}

bool EditorViewWidget::event(QEvent* event) {
  // The window has moved to a screen of another density.
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
  renderImage_ = bitmapImage(*render_, true);
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
  ViewMouse input = mouse(*event);
  if (tool_ == ViewTool::focus && event->button() == Qt::LeftButton && !input.keys.alt &&
      input.keys.digit == 0)
    return pickFocus(event->position());
  hideRender();
  if (grabHandle(*event, input)) return;
  input.doubleClick = twice;
  hookDrag_.reset();
  const bool used = view_->mousePress(input);
  if (!view_) return; // the program ended during the drag
  if (hookDrag_.hasRun()) {
    hookDrag_.reset();
    session_.edits().notice("Drag in View");
    return;
  }
  if (!used && event->button() == Qt::RightButton) emit menuWanted(event->globalPosition().toPoint());
  const bool add = input.keys.shift || input.keys.ctrl;
  if (event->button() == Qt::LeftButton && !input.keys.alt && input.keys.digit == 0 && !view_->isNavigating())
    beginDrag(event->position(), add);
  showCursor(event->position());
}

// Handles lie on top of everything but the plug-ins' own.
bool EditorViewWidget::grabHandle(const QMouseEvent& event, const ViewMouse& input) {
  if (event.button() != Qt::LeftButton || input.keys.alt || input.keys.digit != 0 || view_->isNavigating())
    return false;
  if (view_->cursorAt(input.x, input.y) == MOUSE_MOVE) return false;
  return toolDrag_.grab(tool_, event.position());
}

// Also in a finished render, which shows the same view.
void EditorViewWidget::pickFocus(const QPointF& at) {
  BaseDocument* document = session_.document();
  const Identity camera = document ? chosenCamera(*document) : 0;
  const std::optional<Vector> point = view_->pointAt(at.x(), at.y());
  if (!camera || !point) return; // the tool stays for another try
  setTool(ViewTool::select);
  session_.edits().apply("Pick Focus",
                         [camera, point](BaseDocument& changed) { focusCamera(changed, camera, *point); });
}

void EditorViewWidget::beginDrag(const QPointF& at, bool add) {
  if (tool_ == ViewTool::select)
    band_ = Band{at, at, false, add};
  else if (!add)
    toolDrag_.arm(*view_, tool_, at);
}

void EditorViewWidget::mouseMoveEvent(QMouseEvent* event) {
  if (!view_) return;
  if (view_->inDrag()) {
    return hookDrag_.queue(
        {DragEvent::Kind::move, event->position().x(), event->position().y(), keys(event->modifiers())});
  }
  if (!toolDrag_.isArmed() || toolDrag_.part() == GizmoPart::none) view_->mouseMove(mouse(*event));
  toolDrag_.drag(event->position(), event->modifiers() & Qt::ControlModifier);
  if (toolDrag_.isRunning() || (!toolDrag_.isArmed() && toolDrag_.hover(tool_, event->position()))) update();
  if (band_) dragBand(event->position());
  showCursor(event->position());
}

void EditorViewWidget::mouseReleaseEvent(QMouseEvent* event) {
  if (!view_) return;
  if (view_->inDrag()) {
    return hookDrag_.queue(
        {DragEvent::Kind::release, event->position().x(), event->position().y(), keys(event->modifiers())});
  }
  if (!toolDrag_.isArmed() || toolDrag_.part() == GizmoPart::none) view_->mouseRelease(mouse(*event));
  if (event->button() == Qt::LeftButton) {
    toolDrag_.end(true);
    endBand(true);
    update();
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
  hookDrag_.finish();
  band_.reset();
  QWidget::hideEvent(event);
}

void EditorViewWidget::focusOutEvent(QFocusEvent* event) {
  QWidget::focusOutEvent(event);
  update();
}

void EditorViewWidget::showCursor(const QPointF& at) {
  const LONG code = toolDrag_.isRunning() ? MOUSE_MOVE : view_->cursorAt(at.x(), at.y());
  if (code == MOUSE_MOVE)
    setCursor(Qt::SizeAllCursor);
  else if (tool_ == ViewTool::focus)
    setCursor(Qt::CrossCursor);
  else
    unsetCursor();
}

// The digits count in every widget while no text is being typed.
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
  const bool escaped = key->key() == Qt::Key_Escape && type != QEvent::KeyRelease;
  if (!view_->inDrag()) return escaped && escape(*event, watched == this);
  // All keys belong to the drag.
  if (escaped && type == QEvent::KeyPress)
    hookDrag_.queue({DragEvent::Kind::escape, 0, 0, keys(key->modifiers())});
  if (type == QEvent::ShortcutOverride) event->accept();
  return true;
}

// Cancels the mouse's work, or removes the render from a focused view. False: Escape is left to others.
bool EditorViewWidget::escape(QEvent& event, bool onView) {
  const bool pressed = event.type() == QEvent::KeyPress;
  if (view_->isNavigating() || toolDrag_.isArmed() || (band_ && band_->running)) {
    if (!pressed) {
      event.accept();
      return true;
    }
    if (!toolDrag_.end(false) && !endBand(false)) view_->cancelNavigation();
    return true;
  }
  if (!pressed || !onView || (!render_ && tool_ != ViewTool::focus)) return false;
  if (tool_ == ViewTool::focus)
    setTool(ViewTool::select);
  else
    hideRender();
  return true;
}

// --- the selection's box ---

void EditorViewWidget::dragBand(const QPointF& at) {
  const QPointF moved = at - band_->start;
  band_->running = band_->running || std::hypot(moved.x(), moved.y()) > clickReach;
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
  session_.edits().apply("Assign Material", [identity = object->GetIdentity(), material,
                                             &library = session_.materialLibrary()](BaseDocument& document) {
    assignMaterial(document, std::vector{identity}, library.bring(document, material));
  });
  event->acceptProposedAction();
}

} // namespace host
