#include "dragged_pictures.h"

#include <QRegularExpression>
#include <QTemporaryDir>

#include "kept_bitmap.h"
#include "picture_saver.h"
#include "qt_text.h"

namespace host {

namespace {

const QString& files() {
  static const QString type = QStringLiteral("text/uri-list");
  return type;
}

QString fileNameOf(const QString& name) {
  static const QRegularExpression bad(QStringLiteral("[/\\\\:*?\"<>|\\x00-\\x1f]"));
  return QString(name).replace(bad, QStringLiteral("_")).left(100);
}

} // namespace

struct DraggedPictures::Picture {
  QString name, file;
  SharedBitmap bitmap;
  bool reading = false;
};

DraggedPictures::DraggedPictures(Session& session, const std::vector<FilmstripItem>& items)
    : session_(session) {
  for (const FilmstripItem& item : items) {
    auto picture = std::make_shared<Picture>();
    picture->name = item.name;
    pictures_.push_back(picture);
    if (item.isFile()) {
      picture->file = toQt(item.file.file);
    } else if (const PictureList::Picture* listed = session.pictures().find(item.picture)) {
      picture->bitmap = listed->bitmap;
    } else {
      picture->reading = true;
      session.history().readBitmap(item.entry, [picture](const SharedBitmap& bitmap) {
        picture->bitmap = bitmap;
        picture->reading = false;
      });
    }
  }
}

DraggedPictures::~DraggedPictures() = default;

QStringList DraggedPictures::formats() const {
  return {files()};
}

bool DraggedPictures::hasFormat(const QString& type) const {
  return type == files();
}

QVariant DraggedPictures::retrieveData(const QString& type, QMetaType wanted) const {
  if (type == files() && !std::exchange(written_, true)) const_cast<DraggedPictures*>(this)->setUrls(write());
  return QMimeData::retrieveData(type, wanted);
}

// Another one with this name gets a number.
QList<QUrl> DraggedPictures::write() const {
  static const QTemporaryDir folder; // of this program's run
  QList<QUrl> urls;
  QStringList taken;
  for (const std::shared_ptr<Picture>& picture : pictures_) {
    if (picture->reading) session_.history().finish();
    if (picture->file.isEmpty() && picture->bitmap) {
      QString name = fileNameOf(picture->name);
      for (int number = 2; taken.contains(name); ++number)
        name = QStringLiteral("%1 %2").arg(fileNameOf(picture->name)).arg(number);
      taken << name;
      const QString file = QDir(folder.path()).filePath(name + QStringLiteral(".png"));
      std::string error;
      if (savePicture(*picture->bitmap, Filename(toHost(file)), &error)) picture->file = file;
    }
    if (!picture->file.isEmpty()) urls << QUrl::fromLocalFile(picture->file);
  }
  return urls;
}

} // namespace host
