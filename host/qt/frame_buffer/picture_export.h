// Saving the current picture from the Frame Buffer. Main thread.
#pragma once

#include <QObject>
#include <QTemporaryDir>

#include "session.h"

class QImage;
class QWidget;

namespace host {

/// Files are written in the background; an error is shown in a box over the window.
class PictureExport : public QObject {
  Q_OBJECT
 public:
  PictureExport(Session& session, QWidget& window);

  /// Saves the session's current picture through this view, when there is one.
  void save(const Filename& file, const ViewSettings& view, const DeskLook& desk = {});
  /// The same, after asking for the file.
  void saveAs(const ViewSettings& view, const DeskLook& desk = {});

  /// Puts what is on screen on the clipboard.
  void copy(const QImage& image);
  /// Begins a drag of what is on screen to another program, as a PNG file that lives as long as this program.
  void dragOut(const QImage& image);

 signals:
  /// A sentence about a picture that was saved.
  void said(const QString& sentence);

 private:
  QString chooseFile(const String& name);

  Session& session_;
  QWidget& window_;
  QString folder_; // of the last save
  std::unique_ptr<QTemporaryDir> dragged_;
};

} // namespace host
