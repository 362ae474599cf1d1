#include "file_chooser.h"

#include "main_loop.h"
#include "picture_formats.h"
#include "preferences.h"
#include "qt_text.h"

namespace host {

namespace {

const char* const preferencesName = "folders";

LONG kindOf(const FileRequest& request) {
  return 10 * (request.type + 1) + request.mode;
}

QString rememberedFolder(LONG kind) {
  const BaseContainer* folders = preferences() ? preferences()->getNamed(preferencesName) : nullptr;
  const QString folder = folders ? toQt(folders->GetFilename(kind)) : QString();
  return QDir(folder).exists() ? folder : QString();
}

void rememberFolder(LONG kind, const QString& folder) {
  if (!preferences() || folder == rememberedFolder(kind)) return;
  BaseContainer folders;
  folders.SetFilename(kind, Filename(toHost(folder)));
  preferences()->setNamed(preferencesName, folders, true);
}

/// The suffixes of all formats that are written, or that are read.
QString pictureFilter(bool written) {
  QStringList patterns;
  for (const PictureFileFormat& format : pictureFileFormats())
    for (const char* suffix : format.suffixes)
      if (suffix && (written ? format.write != nullptr : format.read != nullptr))
        patterns << QStringLiteral("*.") + QLatin1String(suffix);
  return QObject::tr("Pictures (%1)").arg(patterns.join(' '));
}

QStringList filtersOf(const FileRequest& request) {
  const QString all = QObject::tr("All files (*)");
  const QString suffix = toQt(request.forceSuffix);
  if (!suffix.isEmpty()) return {QObject::tr("%1 files (*.%2)").arg(suffix.toUpper(), suffix), all};
  if (request.type == FILESELECTTYPE_IMAGES) return {pictureFilter(request.mode == FILESELECT_SAVE), all};
  if (request.type == FILESELECTTYPE_SCENES && request.mode == FILESELECT_SAVE)
    return {QObject::tr("glTF scenes (*.glb *.gltf)")};
  if (request.type == FILESELECTTYPE_SCENES)
    return {QObject::tr("Scenes (*.glb *.gltf *.obj *.fbx *.dae *.stl *.ply *.3ds)"), all};
  return {all};
}

QString titleOf(const FileRequest& request) {
  if (request.title.Content()) return toQt(request.title);
  if (request.mode == FILESELECT_DIRECTORY) return QObject::tr("Choose a folder");
  return request.mode == FILESELECT_SAVE ? QObject::tr("Save as") : QObject::tr("Open");
}

void beginAt(QFileDialog& dialog, const FileRequest& request) {
  const QFileInfo start(toQt(request.start));
  if (request.start.Content() && start.isDir()) {
    dialog.setDirectory(start.filePath());
    return;
  }
  const bool folder = request.start.Content() && start.dir().exists() && start.filePath().contains('/');
  const QString remembered = rememberedFolder(kindOf(request));
  if (folder)
    dialog.setDirectory(start.dir());
  else
    dialog.setDirectory(remembered.isEmpty() ? QDir::homePath() : remembered);
  if (!start.fileName().isEmpty() && request.mode != FILESELECT_DIRECTORY)
    dialog.selectFile(start.fileName());
}

void setUp(QFileDialog& dialog, const FileRequest& request, bool native) {
  dialog.setObjectName(QStringLiteral("file-chooser"));
  dialog.setOption(QFileDialog::DontUseNativeDialog, !native);
  const bool save = request.mode == FILESELECT_SAVE, folder = request.mode == FILESELECT_DIRECTORY;
  dialog.setAcceptMode(save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
  dialog.setFileMode(folder ? QFileDialog::Directory
                     : save ? QFileDialog::AnyFile
                            : QFileDialog::ExistingFile);
  if (folder)
    dialog.setOption(QFileDialog::ShowDirsOnly);
  else
    dialog.setNameFilters(filtersOf(request));
  if (save && request.forceSuffix.Content()) dialog.setDefaultSuffix(toQt(request.forceSuffix));
  beginAt(dialog, request);
}

} // namespace

bool chooseFile(QWidget* parent, const FileRequest& request, bool native, Filename& chosen) {
  const QPointer<QFileDialog> dialog = new QFileDialog(parent, titleOf(request));
  setUp(*dialog, request, native);
  const ModalScope modal;
  const int answer = dialog->exec();
  if (!dialog) return false;
  const QStringList files = dialog->selectedFiles();
  delete dialog;
  if (answer != QDialog::Accepted || files.isEmpty()) return false;
  const QFileInfo file(files.first());
  rememberFolder(kindOf(request),
                 request.mode == FILESELECT_DIRECTORY ? file.absoluteFilePath() : file.absolutePath());
  chosen = Filename(toHost(file.absoluteFilePath()));
  return true;
}

} // namespace host
