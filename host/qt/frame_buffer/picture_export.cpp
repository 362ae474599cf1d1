#include "picture_export.h"

#include "message_box.h"
#include "qt_text.h"

namespace host {

namespace {

QString nameOf(const PictureFormat& format) {
  return QStringLiteral("%1 (*.%2)").arg(QString::fromUtf8(format.name), QString::fromUtf8(format.suffix));
}

// Without characters that file systems refuse, and without the suffix of the scene that was rendered: "a.glb
// 2" becomes "a 2".
QString fileNameOf(const QString& name) {
  QString text = name;
  static const QRegularExpression suffix(QStringLiteral("\\.(glb|gltf|obj|fbx|ply|stl|dae)(?=( \\d+)?$)"),
                                         QRegularExpression::CaseInsensitiveOption);
  text.remove(suffix).replace(QLatin1Char('.'), QLatin1Char('_'));
  static const QRegularExpression bad(QStringLiteral("[\\x00-\\x1f/\\\\:*?\"<>|]"));
  text.replace(bad, QStringLiteral("_"));
  return text.trimmed().isEmpty() ? QStringLiteral("Picture") : text.trimmed();
}

} // namespace

PictureExport::PictureExport(Session& session, QWidget& window)
    : QObject(&window), session_(session), window_(window) {
}

void PictureExport::save(const Filename& file, const ViewSettings& view, const DeskLook& desk) {
  const PictureList::Picture* picture = session_.pictures().find(session_.pictures().current());
  if (!picture) return;
  const auto done = [there = QPointer<PictureExport>(this), file](const std::string& error) {
    if (!there) return;
    if (!error.empty()) return showError(&there->window_, splitBoxText(QString::fromStdString(error)));
    emit there->said(tr("Saved %1").arg(toQt(file.GetFileString())));
  };
  session_.pictureSaver().save(picture->bitmap, file, done, view, desk);
}

void PictureExport::saveAs(const ViewSettings& view, const DeskLook& desk) {
  const PictureList::Picture* picture = session_.pictures().find(session_.pictures().current());
  if (!picture) return;
  const QPointer<PictureExport> there = this;
  const QString file = chooseFile(picture->name);
  if (!there || file.isEmpty()) return;
  folder_ = QFileInfo(file).absolutePath();
  save(Filename(toHost(file)), view, desk);
}

void PictureExport::copy(const QImage& image) {
  if (image.isNull()) return;
  QGuiApplication::clipboard()->setImage(image);
  emit said(tr("The picture is on the clipboard"));
}

void PictureExport::dragOut(const QImage& image) {
  const PictureList::Picture* picture = session_.pictures().find(session_.pictures().current());
  if (!picture || image.isNull()) return;
  if (!dragged_) dragged_ = std::make_unique<QTemporaryDir>();
  const QString file = dragged_->filePath(fileNameOf(toQt(picture->name)) + QStringLiteral(".png"));
  if (!image.save(file)) return emit said(tr("The picture was not dragged: its file cannot be written"));
  auto* data = new QMimeData;
  data->setUrls({QUrl::fromLocalFile(file)});
  data->setImageData(image);
  auto* drag = new QDrag(&window_);
  drag->setMimeData(data);
  const double ratio = window_.devicePixelRatioF();
  QPixmap shown =
      QPixmap::fromImage(image.scaled(QSize(96, 72) * ratio, Qt::KeepAspectRatio, Qt::SmoothTransformation));
  shown.setDevicePixelRatio(ratio);
  drag->setPixmap(shown);
  const ModalScope modal;
  drag->exec(Qt::CopyAction);
}

QString PictureExport::chooseFile(const String& name) {
  QFileDialog chooser(&window_, tr("Save Picture"));
  chooser.setAcceptMode(QFileDialog::AcceptSave);
  chooser.setFileMode(QFileDialog::AnyFile);
  QStringList filters;
  for (const PictureFormat& format : pictureFormats())
    filters << nameOf(format);
  chooser.setNameFilters(filters);
  const auto suffix = [&](const QString& filter) {
    for (const PictureFormat& format : pictureFormats())
      if (nameOf(format) == filter) chooser.setDefaultSuffix(QString::fromUtf8(format.suffix));
  };
  suffix(filters.first());
  connect(&chooser, &QFileDialog::filterSelected, this, suffix);
  if (!folder_.isEmpty()) chooser.setDirectory(folder_);
  chooser.selectFile(fileNameOf(toQt(name)));
  const ModalScope modal;
  return chooser.exec() == QDialog::Accepted ? chooser.selectedFiles().value(0) : QString();
}

} // namespace host
