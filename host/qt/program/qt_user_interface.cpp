#include "qt_user_interface.h"

#include "dialog_window.h"
#include "file_chooser.h"
#include "input_watch.h"
#include "main_loop.h"
#include "message_box.h"
#include "movie_options_dialog.h"
#include "placements.h"
#include "popup_entries.h"
#include "preferences.h"
#include "qt_text.h"

namespace host {

namespace {

constexpr int storeDelay = 400; // milliseconds after the last movement of a window
constexpr LONG atPointer = 0x7fffffff;

// Room that a window's frame needs to show the whole title beside its buttons.
int titleWidth(const QWidget& window) {
  constexpr int frame = 140;
  return window.fontMetrics().horizontalAdvance(window.windowTitle()) + frame;
}

// Keeps the whole frame on the screen, even against a requested position.
void placeModal(QWidget& frame, const DialogPlacement& where, const QSize& wanted) {
  constexpr int side = 4, title = 32;
  const QRect room = (frame.parentWidget() ? *frame.parentWidget() : frame).screen()->availableGeometry();
  const QSize size = wanted.boundedTo(room.size() - QSize(2 * side, title + side));
  QRect place(QPoint(where.x, where.y), size);
  if (where.x == -1 && where.y == -1)
    place.moveCenter(frame.parentWidget() ? frame.parentWidget()->window()->frameGeometry().center()
                                          : room.center());
  place.moveRight(std::min(place.right(), room.right() - 2 * side));
  place.moveBottom(std::min(place.bottom(), room.bottom() - title - side));
  place.moveLeft(std::max(place.left(), room.left()));
  place.moveTop(std::max(place.top(), room.top()));
  frame.resize(size);
  frame.move(place.topLeft());
}

// The window of a modal dialog. Escape and its close button ask the dialog.
class ModalFrame : public QDialog {
 public:
  ModalFrame(DialogWindow& window, QWidget* parent) : QDialog(parent), window_(&window) {
    setObjectName(QStringLiteral("modal-") + window.objectName());
    setWindowTitle(window.windowTitle());
    connect(&window, &QWidget::windowTitleChanged, this, &QWidget::setWindowTitle);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(&window);
  }
  void reject() override {
    if (window_) window_->closeByUser();
  }

 protected:
  void closeEvent(QCloseEvent* event) override {
    event->ignore();
    reject();
  }

 private:
  QPointer<DialogWindow> window_;
};

bool isAddress(const QString& text) {
  static const QRegularExpression scheme(QStringLiteral("^(https?|mailto):"),
                                         QRegularExpression::CaseInsensitiveOption);
  return scheme.match(text).hasMatch();
}

} // namespace

QtUserInterface::QtUserInterface(QObject* parent) : QObject(parent), storeTimer_(new QTimer(this)) {
  storeTimer_->setSingleShot(true);
  storeTimer_->setInterval(storeDelay);
  connect(storeTimer_, &QTimer::timeout, this, &QtUserInterface::rememberAll);
  startInputWatch(this);
}

QtUserInterface::~QtUserInterface() {
  while (!open_.empty())
    const_cast<GeDialog*>(open_.begin()->first)->Close();
  if (hasUserInterface() && &userInterface() == this) setUserInterface(nullptr);
}

void QtUserInterface::setMainWindow(QWidget* window) {
  mainWindow_ = window;
  free_ = FreeDialogHost(window);
}

void QtUserInterface::setDialogHost(DialogHost* host) {
  host_ = host;
}

void QtUserInterface::setShowBitmap(std::function<bool(const BaseBitmap&)> show) {
  showBitmap_ = std::move(show);
}

void QtUserInterface::setDrawViews(std::function<bool(LONG)> draw) {
  drawViews_ = std::move(draw);
}

void QtUserInterface::setNativeFileDialogs(bool native) {
  nativeFiles_ = native;
}

void QtUserInterface::setOpenUrl(std::function<bool(const QString&)> open) {
  openUrl_ = std::move(open);
}

// ---- Boxes

// A box stands above the window that the user is in.
QWidget* QtUserInterface::boxParent() const {
  if (QWidget* modal = QApplication::activeModalWidget()) return modal;
  if (QWidget* active = QApplication::activeWindow()) return active;
  return mainWindow_;
}

void QtUserInterface::message(const String& text) {
  showMessage(boxParent(), splitBoxText(toQt(text)));
}

bool QtUserInterface::question(const String& text) {
  return askQuestion(boxParent(), splitBoxText(toQt(text)));
}

bool QtUserInterface::selectFile(const FileRequest& request, Filename& chosen) {
  return chooseFile(boxParent(), request, nativeFiles_, chosen);
}

LONG QtUserInterface::popup(const BaseContainer& entries, LONG x, LONG y) {
  QMenu menu;
  menu.setObjectName(QStringLiteral("popup"));
  for (const PopupEntry& entry : popupEntries(entries)) {
    if (entry.id == 0) {
      menu.addSeparator();
      continue;
    }
    QAction* action = menu.addAction(plainLabel(entry.text));
    action->setData(entry.id);
    action->setEnabled(entry.enabled);
    action->setCheckable(entry.checked);
    action->setChecked(entry.checked);
  }
  if (menu.isEmpty()) return 0;
  const QPoint at = x == atPointer || y == atPointer ? QCursor::pos() : QPoint(x, y);
  const ModalScope modal;
  const QAction* chosen = menu.exec(at);
  return chosen ? chosen->data().toInt() : 0;
}

bool QtUserInterface::editMovieOptions(LONG format, BaseContainer& options) {
  const QPointer<MovieOptionsDialog> dialog =
      new MovieOptionsDialog(format, readMovieOptions(&options), boxParent());
  const ModalScope modal;
  const bool accepted = dialog->exec() == QDialog::Accepted && dialog;
  if (accepted) writeMovieOptions(dialog->options(), options);
  delete dialog;
  return accepted;
}

bool QtUserInterface::showBitmap(const BaseBitmap& bitmap) {
  return showBitmap_ && showBitmap_(bitmap);
}

bool QtUserInterface::drawViews(LONG flags) {
  return drawViews_ && drawViews_(flags);
}

bool QtUserInterface::openUrl(const QUrl& url, const QString& shown) {
  if (openUrl_ ? openUrl_(url.toString()) : QDesktopServices::openUrl(url)) return true;
  showMessage(boxParent(), {tr("No program was found to open this:"),
                            shown,
                            tr("Open it by hand. The text can be selected and copied."),
                            {}});
  return false;
}

bool QtUserInterface::openFile(const Filename& file) {
  const QString path = toQt(file);
  if (isAddress(path)) return openUrl(QUrl(path), path);
  const QString whole = QFileInfo(path).absoluteFilePath();
  if (QFileInfo::exists(path)) return openUrl(QUrl::fromLocalFile(whole), QDir::toNativeSeparators(whole));
  return false;
}

bool QtUserInterface::openAddress(const String& address) {
  const QString text = toQt(address);
  return isAddress(text) && openUrl(QUrl(text), text);
}

// ---- Dialogs

bool QtUserInterface::openDialog(GeDialog& dialog, const DialogPlacement& placement) {
  if (open_.count(&dialog) != 0) return true;
  if (placement.type == DLG_TYPE_MODAL) return runModal(dialog, placement);
  QByteArray state;
  const DialogPlacement where = remembered(placement, state);
  auto* window = new DialogWindow(dialog);
  open_[&dialog] = {window, nullptr, nullptr, where};
  DialogHost& host = host_ ? *host_ : free_;
  QWidget* frame = host.place(*window, where, state);
  const auto found = open_.find(&dialog); // it may have been closed while it was being shown
  if (found == open_.end()) return true;
  if (!frame) {
    open_.erase(found);
    window->detach();
    delete window;
    return false;
  }
  found->second.frame = frame;
  frame->installEventFilter(this);
  remember(found->second, true);
  return true;
}

// Waits until the dialog has been closed by anyone.
bool QtUserInterface::runModal(GeDialog& dialog, const DialogPlacement& placement) {
  QByteArray state;
  const DialogPlacement where = remembered(placement, state);
  auto* window = new DialogWindow(dialog);
  const QPointer<ModalFrame> frame = new ModalFrame(*window, boxParent());
  QEventLoop loop;
  open_[&dialog] = {window, frame.data(), &loop, where};
  frame->setModal(true);
  QSize size = frame->sizeHint();
  size.setWidth(std::max(size.width(), titleWidth(*frame)));
  if (where.width > 0) size.setWidth(std::max<int>(where.width, size.width()));
  if (where.height > 0) size.setHeight(std::max<int>(where.height, size.height()));
  placeModal(*frame, where, size);
  frame->show();
  if (open_.count(&dialog) != 0) loop.exec();
  delete frame; // with the window
  return true;
}

void QtUserInterface::closeDialog(GeDialog& dialog) {
  const auto found = open_.find(&dialog);
  if (found == open_.end()) return;
  const Open open = found->second;
  open_.erase(found);
  remember(open, keepOpen_);
  if (open.frame) open.frame->removeEventFilter(this);
  if (!open.window) {
    if (open.loop) open.loop->quit();
    return;
  }
  open.window->detach();
  if (open.loop) {
    if (open.frame) open.frame->hide();
    open.loop->quit(); // the waiting call deletes the window
    return;
  }
  (host_ ? *host_ : free_).remove(*open.window);
  if (open.window) open.window->deleteLater(); // one of its widgets may be at work
}

DialogWindow* QtUserInterface::windowOf(const GeDialog& dialog) const {
  const auto found = open_.find(&dialog);
  return found == open_.end() ? nullptr : found->second.window.data();
}

// ---- Placements

bool QtUserInterface::restoredPlacement(LONG pluginId, LONG subId, void* /*secret*/,
                                        DialogPlacement& placement) {
  const auto stored = storedPlacement(pluginId, subId);
  if (!stored || !stored->open) return false;
  placement = stored->placement;
  return true;
}

std::vector<std::pair<LONG, LONG>> QtUserInterface::openAtLastEnd() const {
  std::vector<std::pair<LONG, LONG>> list;
  for (const StoredPlacement& stored : storedPlacements()) {
    const std::pair<LONG, LONG> ids(stored.placement.pluginId, stored.placement.subId);
    const bool here = std::any_of(open_.begin(), open_.end(), [&](const auto& one) {
      return one.second.placement.pluginId == ids.first && one.second.placement.subId == ids.second;
    });
    if (stored.open && !here) list.push_back(ids);
  }
  return list;
}

void QtUserInterface::keepOpenDialogs() {
  rememberAll();
  keepOpen_ = true;
}

// The requested placement, completed by the stored one.
DialogPlacement QtUserInterface::remembered(const DialogPlacement& asked, QByteArray& state) const {
  DialogPlacement placement = asked;
  const auto stored = asked.pluginId != 0 ? storedPlacement(asked.pluginId, asked.subId) : std::nullopt;
  if (!stored) return placement;
  state = stored->state;
  if (asked.x == -1 && asked.y == -1) {
    placement.x = stored->placement.x;
    placement.y = stored->placement.y;
  }
  if (asked.width <= 0) placement.width = stored->placement.width;
  if (asked.height <= 0) placement.height = stored->placement.height;
  return placement;
}

void QtUserInterface::remember(const Open& open, bool isOpen) {
  if (!open.frame || !open.window || open.placement.pluginId == 0) return;
  StoredPlacement stored{open.placement, isOpen && !open.loop, {}};
  const QWidget* at = open.frame;
  stored.placement.x = at->window() == at ? at->pos().x() : -1;
  stored.placement.y = at->window() == at ? at->pos().y() : -1;
  stored.placement.width = at->width();
  stored.placement.height = at->height();
  if (!open.loop) stored.state = (host_ ? host_ : &free_)->stateOf(*open.window);
  storePlacement(stored);
}

void QtUserInterface::rememberAll() {
  for (const auto& [dialog, open] : open_)
    remember(open, true);
}

bool QtUserInterface::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::Move || event->type() == QEvent::Resize) storeTimer_->start();
  return QObject::eventFilter(watched, event);
}

} // namespace host
