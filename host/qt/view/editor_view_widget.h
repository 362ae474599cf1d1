// The editor view on screen: forwards input to the view's model and shows its picture. Main thread.
#pragma once

#include <QWidget>
#include <optional>

#include "editor_view.h"
#include "hook_drag.h"
#include "scene_edits.h"
#include "session.h"
#include "tool_drag.h"

namespace host {

class EditorViewWidget : public QWidget {
  Q_OBJECT
 public:
  /// `tracer` shades and picks; null: only grid and symbols show.
  EditorViewWidget(Session& session, ViewTracer* tracer, QWidget* parent = nullptr);
  ~EditorViewWidget() override;

  EditorView& view() { return *view_; }
  /// Ends the view: it uses no document and no plug-in from then on. The widget stays, grey.
  void shutDown();

  ViewTool tool() const { return tool_; }
  void setTool(ViewTool tool);
  /// Looks through a camera of the document, or through the view's own (0).
  void lookThrough(Identity camera);

  /// The view's frame in the widget's pixels.
  QRect frameRect() const;

  /// The host's Render View lies in the frame until the scene, the camera or the size changes.
  bool showsRender() const { return render_ != nullptr; }
  void hideRender();

  QSize sizeHint() const override { return {640, 400}; }

 signals:
  void toolChanged();
  /// An object was clicked to select it; it may have been selected before.
  void picked();
  void menuWanted(const QPoint& globalPosition);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void hideEvent(QHideEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dragMoveEvent(QDragMoveEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  bool event(QEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  EditorViewServices services(ViewTracer* tracer);
  ViewKeys keys(Qt::KeyboardModifiers modifiers) const;
  ViewMouse mouse(const QMouseEvent& event) const;
  void press(QMouseEvent* event, bool twice);
  bool grabHandle(const QMouseEvent& event, const ViewMouse& input);
  void beginDrag(const QPointF& at, bool add);
  void pickFocus(const QPointF& at);
  bool escape(QEvent& event, bool onView);
  void paintTexts(QPainter& painter);
  void paintBand(QPainter& painter);
  void showCursor(const QPointF& at);
  void moveCamera(BaseObject& camera, const char* name, const Edits::Change& change, bool finished);
  void select(BaseObject* object, bool add);
  void select(const std::vector<Identity>& chosen, SelectMode mode);
  void takeRender();
  bool watchDigit(const QKeyEvent& key, bool down);

  // A box drawn with the select tool; the objects in it become the selection.
  struct Band {
    QPointF start, end;
    bool running = false; // further than a click may go
    bool add = false;
  };
  void dragBand(const QPointF& at);
  bool endBand(bool keep);

  Session& session_;
  std::unique_ptr<EditorView> view_;
  int digit_ = 0;

  HookDrag hookDrag_;
  ViewTool tool_ = ViewTool::select;
  ToolDrag toolDrag_;
  std::optional<Band> band_;

  SharedBitmap render_;
  QImage renderImage_;
  Subscription renderChanged_, renderFinished_, hubChanged_, timeChanged_, replaced_, selected_;
};

} // namespace host
