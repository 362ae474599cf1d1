// The main window's layout: stored in the preferences (stored_layout.h), restored, reset, and the full screen
// with the editor view alone. Main thread.
#pragma once

#include <QObject>
#include <QTimer>
#include <optional>

#include "stored_layout.h"

class QDockWidget;
class QMainWindow;
class QToolBar;
class QWidget;

namespace host {

/// Puts a window in the middle of the primary screen, 1440 x 900 or as large as fits.
void placeOnScreen(QWidget& window);

/// Puts a window beside a rectangle of the screen, where there is more room, no wider than that. False where
/// it would be narrower than its minimum or `leastBeside`; it stays where it is then.
bool placeBeside(QWidget& window, const QRect& neighbour);
inline constexpr int leastBeside = 480; // pixels

/// Whether another window has room beside a main window: on another screen, or on one at least 1880 pixels
/// wide.
bool hasRoomBeside(const QWidget& window);
/// Places of two windows side by side in the available part of a screen that is wide enough for both.
struct TwoPlaces {
  QRect first, second;
};
TwoPlaces sideBySide(const QRect& screen, const QSize& second);
/// Puts the second window on another screen, or both side by side, where the first takes up to 1440 x 900.
/// They must have room (see above).
void placeSideBySide(QWidget& first, QWidget& second);

class WindowLayout : public QObject {
  Q_OBJECT
 public:
  struct Parts {
    QDockWidget *objects, *materials, *attributes, *console;
    QToolBar* toolBar;
    QWidget* timeline;
  };
  /// The window and its parts must outlive `shutDown`.
  WindowLayout(QMainWindow& window, const Parts& parts);
  ~WindowLayout() override;

  /// Restores the stored layout for the docks that exist: open the dialogs first. Call it once, before the
  /// window shows. A layout that is damaged, of another version or unusable is dropped with a line
  /// on the console.
  void restore();
  void store();
  /// The default layout.
  void reset();
  /// Call it when the window or a dock has changed its place, size or visibility. The layout is stored soon.
  void changed();
  /// Docks it at the right, with the attributes below.
  void dockAboveAttributes(QDockWidget& dock);

  /// Full screen with nothing but the editor view, or back.
  void setPictureOnly(bool on);
  bool isPictureOnly() const { return pictureOnly_; }

  /// Stores the layout for the last time.
  void shutDown();

 signals:
  /// The window's own docks are back in their default places.
  void wasReset();
  void pictureOnlyChanged();

 private:
  void apply();
  void drop(const QString& trouble);

  QMainWindow& window_;
  Parts parts_;
  QTimer storeSoon_, applySoon_;
  std::optional<StoredLayout> waiting_; // until the window has its size
  QByteArray beforePictureOnly_;
  bool wasMaximized_ = false, pictureOnly_ = false, ready_ = false, down_ = false;
};

} // namespace host
