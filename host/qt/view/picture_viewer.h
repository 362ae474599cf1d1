// The Picture Viewer: the pictures shown in this session. Main thread.
#pragma once

#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>

#include "session.h"

class QAction;
class QIcon;
class QLabel;
class QListWidget;
class QListWidgetItem;
class QProgressBar;
class QSplitter;
class QToolBar;
class QToolButton;

namespace host {

class PictureCanvas;
class ViewBar;

/// A separate window: list of pictures, canvas, values of the pixel under the pointer. It follows the
/// session's picture list and the running render.
class PictureViewer : public QWidget {
  Q_OBJECT
 public:
  explicit PictureViewer(Session& session, QWidget* parent = nullptr);
  ~PictureViewer() override;

  PictureCanvas& canvas() { return *canvas_; }
  QListWidget& list() { return *list_; }
  ViewBar& viewBar() { return *view_; }

  /// Shows the window, in front.
  void present();
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

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  void build();
  void buildToolBar();
  QWidget* buildStatus();
  void connectParts();
  void refreshList();
  void showEntry(QListWidgetItem& item, const PictureList::Picture& picture) const;
  void showCurrent();
  void showNoise();
  void toggleNoise();
  void showWork();
  void showSaving();
  void showPixel(const QPoint& pixel);
  void showZoom();
  void refreshPicture(bool now);
  void takeSceneView();
  void keepSceneView();
  void setChromeVisible(bool visible);
  QIcon thumbnail(const BaseBitmap& bitmap) const;

  Session& session_;
  PictureCanvas* canvas_ = nullptr;
  QListWidget* list_ = nullptr;
  QSplitter* split_ = nullptr;
  QToolBar* bar_ = nullptr;
  QWidget* status_ = nullptr;
  ViewBar* view_ = nullptr;
  ViewSettings sceneView_; // as last seen in the scene
  QLabel *pixel_ = nullptr, *values_ = nullptr, *floats_ = nullptr, *size_ = nullptr,
         *progressText_ = nullptr;
  QWidget* swatch_ = nullptr;
  QToolButton* zoom_ = nullptr;
  QProgressBar* progress_ = nullptr;
  QToolButton* stop_ = nullptr;
  QAction *save_ = nullptr, *remove_ = nullptr, *fit_ = nullptr, *one_ = nullptr, *in_ = nullptr,
          *out_ = nullptr, *noise_ = nullptr, *full_ = nullptr, *render_ = nullptr;
  QPoint hovered_{-1, -1};
  QString folder_; // of the last save
  QElapsedTimer sinceRefresh_;
  qint64 refreshCost_ = 0; // milliseconds
  QString said_;           // the note about the last saved picture, for a moment
  QTimer late_, forget_;
  bool settling_ = false, wasMaximized_ = false;
  std::vector<Subscription> subscriptions_;
};

} // namespace host
