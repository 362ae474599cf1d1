// The Frame Buffer: the pictures of this session, as light. Main thread.
#pragma once

#include <QElapsedTimer>
#include <QMainWindow>
#include <QPointer>
#include <QTimer>

#include "session.h"

class QSplitter;

namespace host {

class Film;
class Filmstrip;
class FrameCommands;
class FrameProbe;
class FrameStatus;
class FrameSteering;
class LayerChoice;
class PictureCanvas;
class PictureExport;
class PictureSource;
class ViewBar;

/// A separate window: the filmstrip, the canvas, the pixel under the pointer, and panels at the right.
/// It follows the session's picture list and the running render.
///
/// To add to it:
/// - `addPanel` docks a panel at the right; `commands` takes further commands.
/// - The canvas paints what its CanvasSource paints; `picture` is that of the current picture. A mode that
///   compares is a source of its own: `canvas().setSource(mode)`, and `canvas().setSource(&picture())` ends
///   it.
class FrameBuffer : public QMainWindow {
  Q_OBJECT
 public:
  explicit FrameBuffer(Session& session, QWidget* parent = nullptr);
  ~FrameBuffer() override;

  PictureCanvas& canvas() { return *canvas_; }
  PictureSource& picture() { return *picture_; }
  Filmstrip& list() { return *list_; }
  LayerChoice& layers() { return *layers_; }
  ViewBar& viewBar() { return *view_; }
  FrameCommands& commands() { return *commands_; }
  FrameStatus& status() { return *status_; }

  /// The light of pictures with a film is mixed and seen through the lens, on screen and in saved pictures.
  void setDesk(const DeskLook& desk);

  /// Docks a panel at the right, hidden at first. When it is shown and does not fit below the others, it
  /// becomes a tab. `name` is its object's name, without "panel-". The action that shows and hides it stands
  /// in the menu Panels and has this key.
  QAction* addPanel(QWidget* panel, const char* name, const QString& title, const QKeySequence& key = {});

  /// Shows a panel that `addPanel` docked.
  void showPanel(QWidget& panel);
  FrameProbe& probe() { return *probe_; }
  FrameSteering& steering() { return *steering_; }

  /// Shows the window, in front.
  void present();
  /// Opens picture files in the background, with all their layers; an error is shown in a box.
  void openPictures(const QStringList& files);
  /// The same after asking.
  void openPictures();
  /// Asks for a file and saves the current picture in the background; an error is shown in a box.
  void saveAs();
  /// The same without asking.
  void save(const Filename& file);
  void removeCurrent();
  /// Shows the picture alone on the whole screen, or goes back, as F11 and Escape do.
  void setFullScreen(bool on);

  QSize sizeHint() const override { return {960, 640}; }

 signals:
  /// Render was chosen in the tool bar.
  void renderWanted();
  /// Another picture is shown, or the shown one has got a film.
  void pictureChanged();
  /// The user has closed the window.
  void closed();

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void changeEvent(QEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  void build();
  void addFileCommands();
  void addViewCommands();
  void addHistoryCommands();
  void connectParts();
  void showCurrent();
  void showLayers();
  void showNoise();
  void toggleNoise();
  void showPixel();
  void refreshPicture(bool now);
  void takeSceneView();
  void keepSceneView();
  void setChromeVisible(bool visible);
  void showLook();
  void toNextScreen();

  Session& session_;
  FrameCommands* commands_ = nullptr;
  PictureExport* export_ = nullptr;
  PictureSource* picture_ = nullptr;
  PictureCanvas* canvas_ = nullptr;
  Filmstrip* list_ = nullptr;
  LayerChoice* layers_ = nullptr;
  ViewBar* view_ = nullptr;
  std::weak_ptr<Film> layersOf_; // that layers_ lists
  QTimer live_;                  // while the viewer renders
  FrameStatus* status_ = nullptr;
  FrameProbe* probe_ = nullptr;
  FrameSteering* steering_ = nullptr;
  ViewSettings sceneView_; // as last seen in the scene
  DeskLook desk_;
  QAction *next_ = nullptr, *previous_ = nullptr, *save_ = nullptr, *remove_ = nullptr, *fit_ = nullptr,
          *one_ = nullptr, *in_ = nullptr, *out_ = nullptr, *noise_ = nullptr, *full_ = nullptr,
          *render_ = nullptr, *copy_ = nullptr, *more_ = nullptr;
  QElapsedTimer sinceRefresh_;
  qint64 refreshCost_ = 0; // milliseconds
  bool wasMaximized_ = false;
  QList<QPointer<QWidget>> hidden_; // by the full screen
  std::vector<Subscription> subscriptions_;
};

} // namespace host
