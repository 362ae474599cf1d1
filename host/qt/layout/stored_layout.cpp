#include "stored_layout.h"

#include "preferences.h"

namespace host {

namespace {

enum LayoutKey : LONG {
  keyVersion = 1,
  keyGeometry,
  keyState,
  keyCheck,
  keyTool, // unused
  keyWidth,
  keyHeight,
  keyClosed
};
constexpr std::size_t mostBytes = 1 << 20;
constexpr int titleHeight = 24;
constexpr QSize leastDock(60, 48), leastCentre(120, 90);

QString word(const char* text) {
  return QCoreApplication::translate("host::StoredLayout", text);
}

QByteArray bytes(const BaseContainer& container, LONG id) {
  std::size_t count = 0;
  const void* memory = container.GetMemory(id, &count);
  return memory && count <= mostBytes
             ? QByteArray(static_cast<const char*>(memory), static_cast<qsizetype>(count))
             : QByteArray();
}

void setBytes(BaseContainer& container, LONG id, const QByteArray& data) {
  container.SetMemory(id, data.constData(), static_cast<std::size_t>(data.size()));
}

// Qt does not check the bytes of a state.
QByteArray checkOf(const StoredLayout& layout) {
  QCryptographicHash hash(QCryptographicHash::Sha256);
  hash.addData(QByteArray::number(layout.geometry.size()) + ' ' + QByteArray::number(layout.size.width()) +
               ' ' + QByteArray::number(layout.size.height()) + ' ');
  hash.addData(layout.geometry);
  hash.addData(layout.state);
  return hash.result();
}

bool isSmaller(const QSize& size, const QSize& least) {
  return size.width() < least.width() || size.height() < least.height();
}

// Rectangles of the visible docks, the centre and the menu; of docks in tabs, the front one. Empty, with a
// reason, when one of them is unusable.
QList<QRect> placesOf(QMainWindow& window, QString& trouble) {
  QList<QRect> places;
  // The layout is not to blame for a screen that is smaller than the parts' minimum.
  const QRect room(QPoint(0, 0), window.size().expandedTo(window.layout()->minimumSize()));
  for (QDockWidget* dock : window.findChildren<QDockWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
    if (!dock->isVisibleTo(&window) && !dock->isFloating()) continue;
    if (dock->isFloating() && dock->isHidden()) continue;
    const QRect place = dock->geometry();
    // Qt keeps docks behind a tab off the window, also those split there.
    const bool behind = !dock->isFloating() && !place.intersects(room);
    if (behind) continue;
    if (isSmaller(place.size(), leastDock))
      trouble = word("\"%1\" would be a strip of %2 x %3 pixels")
                    .arg(dock->windowTitle())
                    .arg(place.width())
                    .arg(place.height());
    else if (dock->isFloating() && !isReachable(place))
      trouble = word("\"%1\" would be off the screen").arg(dock->windowTitle());
    else if (!dock->isFloating() && !room.contains(place))
      trouble = word("\"%1\" would reach out of the window").arg(dock->windowTitle());
    if (!dock->isFloating()) places.append(place);
  }
  const QRect centre = window.centralWidget()->geometry();
  if (isSmaller(centre.size(), leastCentre) || !room.contains(centre))
    trouble = word("the view would have no room");
  places.append(centre);
  if (const QWidget* menu = window.menuWidget(); menu && menu->isVisibleTo(&window))
    places.append(menu->geometry());
  return places;
}

} // namespace

std::optional<StoredLayout> readLayout(const char* name, QString& trouble) {
  trouble.clear();
  const BaseContainer* stored = preferences() ? preferences()->getNamed(name) : nullptr;
  if (!stored || stored->GetCount() == 0) return {};
  if (stored->GetLong(keyVersion) != StoredLayout::version) {
    trouble = word("another version of the program wrote it");
    return {};
  }
  const StoredLayout layout{bytes(*stored, keyGeometry), bytes(*stored, keyState),
                            QSize(stored->GetLong(keyWidth), stored->GetLong(keyHeight)),
                            !stored->GetBool(keyClosed)};
  if (layout.state.isEmpty() || bytes(*stored, keyCheck) != checkOf(layout)) {
    trouble = word("it is damaged");
    return {};
  }
  return layout;
}

void writeLayout(const char* name, const StoredLayout& layout) {
  if (!preferences()) return;
  BaseContainer data;
  data.SetLong(keyVersion, StoredLayout::version);
  setBytes(data, keyGeometry, layout.geometry);
  setBytes(data, keyState, layout.state);
  setBytes(data, keyCheck, checkOf(layout));
  data.SetLong(keyWidth, layout.size.width());
  data.SetLong(keyHeight, layout.size.height());
  if (!layout.open) data.SetBool(keyClosed, TRUE);
  const BaseContainer* before = preferences()->getNamed(name);
  if (!before || *before != data) preferences()->setNamed(name, data);
}

void forgetLayouts() {
  if (!preferences()) return;
  for (const char* name : {mainLayout, frameBufferLayout})
    if (preferences()->getNamed(name)) preferences()->setNamed(name, {});
}

bool isReachable(const QRect& frame) {
  const QRect title(frame.topLeft(), QSize(frame.width(), titleHeight));
  for (const QScreen* screen : QGuiApplication::screens()) {
    const QRect seen = screen->availableGeometry().intersected(title);
    if (seen.width() >= titleHeight && seen.height() >= titleHeight / 2) return true;
  }
  return false;
}

QString layoutTrouble(QMainWindow& window) {
  window.ensurePolished();
  window.layout()->activate();
  if (!isReachable(window.frameGeometry())) return word("the window would be off the screen");
  QString trouble;
  const QList<QRect> places = placesOf(window, trouble);
  for (qsizetype i = 0; i < places.size() && trouble.isEmpty(); ++i)
    for (qsizetype k = i + 1; k < places.size(); ++k)
      if (places[i].intersects(places[k])) trouble = word("one part would lie over another");
  return trouble;
}

} // namespace host
