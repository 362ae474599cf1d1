#include "filmstrip_model.h"

#include "bitmap_image.h"
#include "dragged_pictures.h"
#include "icons.h"
#include "qt_text.h"
#include "theme.h"

namespace host {

namespace {

QString text(const std::string& utf8) {
  return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

FilmstripItem itemOf(const PictureList::Picture& picture) {
  FilmstripItem item;
  item.picture = picture.id;
  item.name = toQt(picture.name);
  item.size = QSize(picture.bitmap->GetBw(), picture.bitmap->GetBh());
  item.time = picture.time;
  item.running = picture.running;
  item.live = picture.live;
  return item;
}

FilmstripItem itemOf(const HistoryEntry& entry) {
  FilmstripItem item;
  item.entry = entry.id;
  item.name = text(entry.name);
  item.camera = text(entry.camera);
  item.note = text(entry.note);
  item.scene = text(entry.scene);
  item.size = QSize(entry.width, entry.height);
  item.time = entry.time;
  item.seconds = entry.seconds;
  item.starred = entry.starred;
  if (entry.picture.empty()) item.scenes = entry.id;
  return item;
}

FilmstripItem itemOf(const PluginPictures::Picture& picture) {
  FilmstripItem item;
  item.file = picture;
  item.name = QFileInfo(text(picture.source.file)).completeBaseName();
  item.size = QSize(picture.width, picture.height);
  item.time = picture.source.modified;
  return item;
}

// Short, as rows are narrow: "4.3 s", "2.5 min", "1.2 h".
QString tookText(double seconds) {
  if (seconds < 60) return FilmstripModel::tr("%1 s").arg(seconds, 0, 'f', 1);
  if (seconds < 3600) return FilmstripModel::tr("%1 min").arg(seconds / 60, 0, 'f', 1);
  return FilmstripModel::tr("%1 h").arg(seconds / 3600, 0, 'f', 1);
}

// When the picture was rendered, and how long that took. Rows are narrow: they leave out the parts of the
// date that do not tell pictures apart.
QString moment(const FilmstripItem& item, bool whole) {
  const QDateTime time = QDateTime::fromSecsSinceEpoch(item.time);
  const QDate today = QDate::currentDate();
  const char* format = whole                                ? "yyyy-MM-dd HH:mm:ss"
                       : time.date() == today               ? "HH:mm"
                       : time.date().year() == today.year() ? "MM-dd HH:mm"
                                                            : "yyyy-MM-dd";
  const QString at = time.toString(QLatin1String(format));
  return item.seconds > 0 ? QStringLiteral("%1, %2").arg(at, tookText(item.seconds)) : at;
}

RenderHistory::Id renderShownBy(const RenderHistory& history, const HistoryEntry& copy) {
  return history.renderShownAs(copy.pictureSamples, copy.width, copy.height, copy.time);
}

} // namespace

bool FilmstripItem::sameRow(const FilmstripItem& other) const {
  if (picture && picture == other.picture) return true;
  if (entry && entry == other.entry) return true;
  return isFile() && file.source == other.file.source;
}

FilmstripModel::FilmstripModel(Session& session, QObject* parent)
    : QAbstractListModel(parent), session_(session) {
  refresh();
}

std::vector<FilmstripItem> FilmstripModel::collect() const {
  std::vector<FilmstripItem> items;
  std::map<const Film*, std::size_t> films; // of the session's pictures
  for (const PictureList::Picture& picture : session_.pictures().pictures()) {
    if (const auto film = filmOf(*picture.bitmap)) films.emplace(film.get(), items.size());
    items.push_back(itemOf(picture));
  }
  for (const RenderHistory::Item& kept : session_.history().items()) {
    FilmstripItem item = itemOf(*kept.entry);
    if (item.scenes == 0) item.scenes = renderShownBy(session_.history(), *kept.entry);
    const auto film = session_.history().film(item.entry);
    const auto same = film ? films.find(film.get()) : films.end();
    if (same == films.end()) {
      items.push_back(std::move(item));
      continue;
    }
    item.picture = items[same->second].picture;
    item.running = items[same->second].running;
    items[same->second] = std::move(item);
  }
  for (const PluginPictures::Picture& picture : session_.pluginPictures().pictures()) {
    items.push_back(itemOf(picture));
    items.back().scenes = session_.pluginPictures().renderOf(picture);
  }
  std::stable_sort(items.begin(), items.end(),
                   [](const FilmstripItem& a, const FilmstripItem& b) { return a.time < b.time; });
  std::reverse(items.begin(), items.end());
  std::stable_partition(items.begin(), items.end(), [](const FilmstripItem& item) { return item.live; });
  return items;
}

bool FilmstripModel::passes(const FilmstripItem& item) const {
  if (starredOnly_ && !item.starred) return false;
  const QString words = item.name + QLatin1Char('\n') + item.camera + QLatin1Char('\n') + item.scene +
                        QLatin1Char('\n') + item.note;
  const QStringList wanted = filter_.split(QLatin1Char(' '), Qt::SkipEmptyParts);
  return std::all_of(wanted.begin(), wanted.end(),
                     [&](const QString& word) { return words.contains(word, Qt::CaseInsensitive); });
}

void FilmstripModel::setFilter(const QString& filter, bool starred) {
  filter_ = filter;
  starredOnly_ = starred;
  refresh();
}

// Rows that stay keep the selection: only others come and go.
void FilmstripModel::refresh() {
  all_ = collect();
  std::vector<FilmstripItem> wanted;
  std::copy_if(all_.begin(), all_.end(), std::back_inserter(wanted),
               [this](const FilmstripItem& item) { return passes(item); });
  const auto row = [](const std::vector<FilmstripItem>& items, const FilmstripItem& item) {
    const auto found = std::find_if(items.begin(), items.end(),
                                    [&](const FilmstripItem& other) { return other.sameRow(item); });
    return found == items.end() ? -1 : static_cast<int>(found - items.begin());
  };
  for (int i = static_cast<int>(shown_.size()) - 1; i >= 0; --i)
    if (row(wanted, shown_[static_cast<std::size_t>(i)]) < 0) {
      beginRemoveRows({}, i, i);
      shown_.erase(shown_.begin() + i);
      endRemoveRows();
    }
  for (int i = 0; i < static_cast<int>(wanted.size()); ++i) {
    const FilmstripItem& item = wanted[static_cast<std::size_t>(i)];
    const int before = row(shown_, item);
    if (before >= 0 && before != i) { // its time has changed: it goes and comes
      beginRemoveRows({}, before, before);
      shown_.erase(shown_.begin() + before);
      endRemoveRows();
    }
    if (before != i) {
      const int at = std::min(i, static_cast<int>(shown_.size()));
      beginInsertRows({}, at, at);
      shown_.insert(shown_.begin() + at, item);
      endInsertRows();
    } else {
      shown_[static_cast<std::size_t>(i)] = item;
    }
  }
  if (!shown_.empty()) emit dataChanged(index(0), index(static_cast<int>(shown_.size()) - 1));
}

const FilmstripItem* FilmstripModel::at(const QModelIndex& index) const {
  const bool valid = index.isValid() && index.row() < static_cast<int>(shown_.size());
  return valid ? &shown_[static_cast<std::size_t>(index.row())] : nullptr;
}

int FilmstripModel::rowOf(const FilmstripItem& item) const {
  const auto found = std::find_if(shown_.begin(), shown_.end(),
                                  [&](const FilmstripItem& other) { return other.sameRow(item); });
  return found == shown_.end() ? -1 : static_cast<int>(found - shown_.begin());
}

int FilmstripModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(shown_.size());
}

QString FilmstripModel::details(const FilmstripItem& item) const {
  QStringList lines;
  if (!item.camera.isEmpty()) lines << item.camera;
  lines << tr("%1 x %2").arg(item.size.width()).arg(item.size.height());
  if (item.running)
    lines << tr("rendering");
  else
    lines << moment(item, false);
  if (!item.note.isEmpty() && !item.running) lines << item.note;
  return lines.join(QLatin1Char('\n'));
}

QVariant FilmstripModel::data(const QModelIndex& index, int role) const {
  const FilmstripItem* item = at(index);
  if (!item) return {};
  switch (role) {
  case Qt::DisplayRole:
    return QString(item->name + QLatin1Char('\n') + details(*item));
  case Qt::EditRole:
    return item->name;
  case Qt::ToolTipRole:
    return QString(item->name + QLatin1Char('\n') + details(*item) +
                   (item->running ? QString() : QLatin1Char('\n') + moment(*item, true)) +
                   (item->scene.isEmpty() ? QString() : QLatin1Char('\n') + item->scene));
  case Qt::DecorationRole:
    return thumbnail(*item);
  case starredRole:
    return item->starred;
  case runningRole:
    return item->running;
  default:
    return {};
  }
}

// A picture that the history does not keep.
QImage FilmstripModel::smallPicture(const FilmstripItem& item) const {
  const PictureList::Picture* picture = session_.pictures().find(item.picture);
  if (!picture || picture->bitmap->GetBw() < 1) return {};
  if (const auto known = small_.find(item.picture); known != small_.end()) return known->second;
  const QImage small = bitmapImage(*picture->bitmap, true)
                           .scaled(thumbnailSize * 2, Qt::KeepAspectRatio, Qt::SmoothTransformation);
  if (!picture->running) small_[item.picture] = small;
  return small;
}

// The star lies on the thumbnail's corner.
QIcon FilmstripModel::thumbnail(const FilmstripItem& item) const {
  constexpr double ratio = 2; // sharp on dense displays too
  QPixmap pixmap(thumbnailSize * ratio);
  pixmap.fill(Qt::transparent);
  QImage image;
  if (const RenderHistory::Item* kept = session_.history().find(item.entry))
    image = thumbnailImage(kept->thumbnail);
  if (image.isNull() && item.isFile()) image = thumbnailImage(item.file.thumbnail);
  if (image.isNull()) image = smallPicture(item);
  QPainter painter(&pixmap);
  if (!image.isNull()) {
    const QImage small = image.scaled(pixmap.size(), Qt::KeepAspectRatio, Qt::SmoothTransformation);
    painter.drawImage((pixmap.width() - small.width()) / 2, (pixmap.height() - small.height()) / 2, small);
  }
  if (item.starred) {
    const QPixmap star = iconPixmap(QStringLiteral("star-filled"), 16, tokens().warning, ratio);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, 150));
    painter.drawEllipse(QRectF(pixmap.width() - 44, 4, 40, 40));
    painter.drawPixmap(QRectF(pixmap.width() - 40, 8, 32, 32), star, star.rect());
  }
  painter.end();
  pixmap.setDevicePixelRatio(ratio);
  QIcon made(pixmap);
  made.addPixmap(pixmap, QIcon::Selected);
  return made;
}

bool FilmstripModel::setData(const QModelIndex& index, const QVariant& value, int role) {
  const FilmstripItem* item = at(index);
  const QString name = value.toString().trimmed();
  if (!item || role != Qt::EditRole || name.isEmpty() || name == item->name) return false;
  const FilmstripItem renamed = *item; // the row changes with the next call
  if (!renamed.entry && !renamed.picture) return false;
  // The title and the choices of pictures to compare have the name of the session's picture.
  if (renamed.entry) session_.history().rename(renamed.entry, name.toStdString());
  if (renamed.picture) session_.pictures().rename(renamed.picture, toHost(name));
  return true;
}

Qt::ItemFlags FilmstripModel::flags(const QModelIndex& index) const {
  const FilmstripItem* item = at(index);
  if (!item) return Qt::NoItemFlags;
  Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
  if (!item->running) flags |= Qt::ItemIsDragEnabled;
  if (item->entry || item->picture) flags |= Qt::ItemIsEditable;
  return flags;
}

QStringList FilmstripModel::mimeTypes() const {
  return {QStringLiteral("text/uri-list")};
}

QMimeData* FilmstripModel::mimeData(const QModelIndexList& indexes) const {
  std::vector<FilmstripItem> items;
  for (const QModelIndex& index : indexes)
    if (const FilmstripItem* item = at(index)) items.push_back(*item);
  return items.empty() ? nullptr : new DraggedPictures(session_, items);
}

} // namespace host
