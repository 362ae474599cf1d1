// The user interface of a desktop. Main thread.
#pragma once

#include <QHash>
#include <QPointer>
#include <QWidget>
#include <functional>
#include <map>
#include <utility>
#include <vector>

#include "dialog_host.h"
#include "user_interface.h"

class QEventLoop;

namespace host {

class DialogWindow;

/// Boxes, choosers, popups and dialogs as windows of Qt. Boxes, popups and modal dialogs return when the user
/// has answered; meanwhile `mainLoop()` is in a modal box. `preferences()` keeps the placements of dialogs
/// under the name "dialogs"; they are stored when a dialog opens or closes, and shortly after it was moved.
class QtUserInterface : public QObject, public UserInterface {
  Q_OBJECT
 public:
  explicit QtUserInterface(QObject* parent = nullptr);
  ~QtUserInterface() override; // uninstalls itself if it is the current one

  /// The window that boxes belong to; may be null.
  void setMainWindow(QWidget* window);
  /// Places the dialogs; null: free windows. It must outlive the dialogs.
  void setDialogHost(DialogHost* host);
  void setShowBitmap(std::function<bool(const BaseBitmap&)> show);
  void setDrawViews(std::function<bool(LONG flags)> draw);
  /// Whether file choosers are the desktop's own. Default true.
  void setNativeFileDialogs(bool native);
  /// Replaces the desktop's launcher (for tests): gets a URL and returns whether it could be started. If not,
  /// a box names the file or the address, so that the user can open it.
  void setOpenUrl(std::function<bool(const QString& url)> open);

  /// The dialogs (plug-in ID, sub-ID) that were open when the program ended last and are not open now.
  std::vector<std::pair<LONG, LONG>> openAtLastEnd() const;
  /// The program is ending: dialogs that close from now on count as open for the next start.
  void keepOpenDialogs();

  /// The window of an open dialog, or null.
  DialogWindow* windowOf(const GeDialog& dialog) const;

  void message(const String& text) override;
  bool question(const String& text) override;
  bool selectFile(const FileRequest& request, Filename& chosen) override;
  LONG popup(const BaseContainer& entries, LONG x, LONG y) override;
  bool editMovieOptions(LONG format, BaseContainer& options) override;
  bool showBitmap(const BaseBitmap& bitmap) override;
  bool openFile(const Filename& file) override;
  bool openAddress(const String& address) override;
  bool drawViews(LONG flags) override;
  bool openDialog(GeDialog& dialog, const DialogPlacement& placement) override;
  bool restoredPlacement(LONG pluginId, LONG subId, void* secret, DialogPlacement& placement) override;
  void closeDialog(GeDialog& dialog) override;

  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  struct Open {
    QPointer<DialogWindow> window;
    QPointer<QWidget> frame;
    QEventLoop* loop = nullptr; // a modal one's
    DialogPlacement placement;
  };
  QWidget* boxParent() const;
  bool openUrl(const QUrl& url, const QString& shown);
  bool runModal(GeDialog& dialog, const DialogPlacement& placement);
  DialogPlacement remembered(const DialogPlacement& asked, QByteArray& state) const;
  void remember(const Open& open, bool isOpen);
  void rememberAll();

  QPointer<QWidget> mainWindow_;
  FreeDialogHost free_;
  DialogHost* host_ = nullptr;
  std::function<bool(const BaseBitmap&)> showBitmap_;
  std::function<bool(LONG)> drawViews_;
  std::function<bool(const QString&)> openUrl_;
  bool nativeFiles_ = true, keepOpen_ = false;
  std::map<const GeDialog*, Open> open_;
  class QTimer* storeTimer_ = nullptr;
};

} // namespace host
