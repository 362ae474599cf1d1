#include "window_layout.h"

#include <algorithm>

#include "c4d_events.h"

namespace host {
namespace {

constexpr QSize mainSize(1440, 900);
constexpr int border = 8, titleBar = 32; // room for a frame, whose size is not known before it shows
constexpr int leastForTwo = 1880,
              leastSecond = 680; // widths of a screen with two windows, and of the second one

} // namespace

void placeOnScreen(QWidget& window) {
  const QScreen* screen = QGuiApplication::primaryScreen();
  const QRect room = screen ? screen->availableGeometry() : QRect(0, 0, 1600, 1000);
  QRect place(QPoint(0, 0), mainSize.boundedTo(room.size() - QSize(8, 40)));
  place.moveCenter(room.center());
  window.setGeometry(place);
}

bool placeBeside(QWidget& window, const QRect& neighbour) {
  const QScreen* screen = QGuiApplication::screenAt(neighbour.center());
  if (!screen) return false;
  const QRect all = screen->availableGeometry().adjusted(border, titleBar, -border, -border);
  const int left = neighbour.left() - border - all.left(), right = all.right() - neighbour.right() - border;
  const int room = std::max(left, right);
  if (room < std::max(leastBeside, window.minimumSizeHint().width())) return false;
  const QSize size = window.size().boundedTo(QSize(room, all.height()));
  const int x = left >= right ? neighbour.left() - border - size.width() : neighbour.right() + 1 + border;
  const int y = std::clamp(neighbour.top(), all.top(), all.bottom() + 1 - size.height());
  window.setGeometry(QRect(QPoint(x, y), size));
  return true;
}

bool hasRoomBeside(const QWidget& window) {
  return QGuiApplication::screens().size() > 1 || window.screen()->availableSize().width() >= leastForTwo;
}

TwoPlaces sideBySide(const QRect& screen, const QSize& second) {
  const QRect all = screen.adjusted(border, titleBar, -border, -border);
  const int room = all.width() - 2 * border; // without the frames between them
  const int width = std::clamp(room - mainSize.width(), leastSecond, std::max(leastSecond, second.width()));
  const QSize size(std::min(mainSize.width(), room - width), std::min(mainSize.height(), all.height()));
  const int left = all.left() + (room - width - size.width()) / 2;
  const int top = all.top() + (all.height() - size.height()) / 2;
  const QRect first(QPoint(left, top), size);
  return {first, QRect(QPoint(first.right() + 1 + 2 * border, top), QSize(width, size.height()))};
}

void placeSideBySide(QWidget& first, QWidget& second) {
  const QScreen* screen = first.screen();
  for (const QScreen* other : QGuiApplication::screens()) {
    if (other == screen) continue;
    QRect place(QPoint(0, 0),
                second.size().boundedTo(other->availableSize() - QSize(2 * border, titleBar + border)));
    place.moveCenter(other->availableGeometry().center());
    return second.setGeometry(place);
  }
  const TwoPlaces places = sideBySide(screen->availableGeometry(), second.size());
  first.setGeometry(places.first);
  second.setGeometry(places.second);
}

WindowLayout::WindowLayout(QMainWindow& window, const Parts& parts)
    : QObject(&window), window_(window), parts_(parts) {
  storeSoon_.setSingleShot(true);
  storeSoon_.setInterval(1000);
  connect(&storeSoon_, &QTimer::timeout, this, &WindowLayout::store);
  applySoon_.setSingleShot(true);
  connect(&applySoon_, &QTimer::timeout, this, &WindowLayout::apply);
  for (QDockWidget* dock : {parts_.objects, parts_.materials, parts_.attributes, parts_.console}) {
    connect(dock, &QDockWidget::visibilityChanged, this, &WindowLayout::changed);
    connect(dock, &QDockWidget::dockLocationChanged, this, &WindowLayout::changed);
    connect(dock, &QDockWidget::topLevelChanged, this, &WindowLayout::changed);
  }
}

WindowLayout::~WindowLayout() = default;

void WindowLayout::reset() {
  waiting_.reset();
  window_.setUpdatesEnabled(true);
  if (pictureOnly_) setPictureOnly(false);
  const std::pair<QDockWidget*, Qt::DockWidgetArea> places[] = {{parts_.objects, Qt::LeftDockWidgetArea},
                                                                {parts_.materials, Qt::LeftDockWidgetArea},
                                                                {parts_.attributes, Qt::RightDockWidgetArea},
                                                                {parts_.console, Qt::BottomDockWidgetArea}};
  for (const auto& [dock, area] : places) {
    dock->setFloating(false);
    window_.addDockWidget(area, dock);
    dock->setVisible(dock != parts_.console);
  }
  window_.splitDockWidget(parts_.objects, parts_.materials, Qt::Vertical);
  window_.addToolBar(Qt::TopToolBarArea, parts_.toolBar);
  parts_.toolBar->show();
  window_.resizeDocks({parts_.objects, parts_.attributes}, {270, 380}, Qt::Horizontal);
  window_.resizeDocks({parts_.objects, parts_.materials}, {500, 260}, Qt::Vertical);
  emit wasReset();
}

// Qt sets the state of a window aside that will be maximized, with the docks of that moment; a dock added
// meanwhile is lost or ends the program. Such a window gets its state when it has its size.
void WindowLayout::restore() {
  ready_ = true;
  QString trouble;
  std::optional<StoredLayout> layout = readLayout(mainLayout, trouble);
  if (!layout) {
    if (!trouble.isEmpty()) drop(trouble);
    return;
  }
  if (!window_.restoreGeometry(layout->geometry)) return drop(tr("its place cannot be read"));
  waiting_ = std::move(layout);
  if (!(window_.windowState() & (Qt::WindowMaximized | Qt::WindowFullScreen))) return apply();
  window_.setUpdatesEnabled(false);
  applySoon_.start(400);
}

// Once, when all docks that were open exist.
void WindowLayout::apply() {
  applySoon_.stop();
  if (!waiting_) return;
  const QByteArray state = std::exchange(waiting_, {})->state;
  window_.setUpdatesEnabled(true);
  const bool read = window_.restoreState(state, StoredLayout::version);
  const QString trouble = read ? layoutTrouble(window_) : tr("its docks cannot be read");
  if (!trouble.isEmpty()) drop(trouble);
}

void WindowLayout::drop(const QString& trouble) {
  GePrint(String(tr("The window layout of the last time is not used: %1. The default layout is shown.")
                     .arg(trouble)
                     .toStdString()));
  if (!isReachable(window_.frameGeometry())) placeOnScreen(window_);
  reset();
}

void WindowLayout::store() {
  storeSoon_.stop();
  if (!ready_ || waiting_ || pictureOnly_ || down_) return;
  writeLayout(mainLayout, {window_.saveGeometry(), window_.saveState(StoredLayout::version), window_.size()});
}

void WindowLayout::changed() {
  if (down_) return;
  if (waiting_ && window_.isVisible() && window_.size() == waiting_->size) applySoon_.start(0);
  if (ready_ && !pictureOnly_) storeSoon_.start();
}

void WindowLayout::setPictureOnly(bool on) {
  if (on == pictureOnly_) return;
  apply();
  if (on) {
    store();
    beforePictureOnly_ = window_.saveState(StoredLayout::version);
    wasMaximized_ = window_.isMaximized();
    pictureOnly_ = true;
    for (QDockWidget* dock : window_.findChildren<QDockWidget*>(QString(), Qt::FindDirectChildrenOnly))
      if (!dock->isFloating()) dock->hide();
    parts_.toolBar->hide();
    window_.showFullScreen();
  } else {
    wasMaximized_ ? window_.showMaximized() : window_.showNormal();
    window_.restoreState(beforePictureOnly_, StoredLayout::version);
    pictureOnly_ = false;
  }
  window_.menuBar()->setVisible(!on);
  window_.statusBar()->setVisible(!on);
  parts_.timeline->setVisible(!on);
  emit pictureOnlyChanged();
}

void WindowLayout::dockAboveAttributes(QDockWidget& dock) {
  QDockWidget* attributes = parts_.attributes;
  dock.setFloating(false);
  window_.addDockWidget(Qt::RightDockWidgetArea, &dock);
  if (!attributes->isFloating() && window_.dockWidgetArea(attributes) == Qt::RightDockWidgetArea) {
    const bool shown = !attributes->isHidden();
    window_.splitDockWidget(&dock, attributes, Qt::Vertical);
    attributes->setVisible(shown);
    window_.resizeDocks({&dock, attributes}, {460, 320}, Qt::Vertical);
  }
  window_.resizeDocks({&dock}, {460}, Qt::Horizontal);
}

void WindowLayout::shutDown() {
  store();
  down_ = true;
  storeSoon_.stop();
  applySoon_.stop();
}

} // namespace host
