// Pictures of the filmstrip on their way to another program. Main thread.
#pragma once

#include <QMimeData>
#include <QUrl>
#include <memory>
#include <vector>

#include "filmstrip_model.h"

namespace host {

/// A file for each picture: the plug-in's own, else a new one, which lives as long as this program. Kept
/// renders are read from the disk while the drag goes on; files are written when the receiver asks for them.
class DraggedPictures : public QMimeData {
  Q_OBJECT
 public:
  DraggedPictures(Session& session, const std::vector<FilmstripItem>& items);
  ~DraggedPictures() override;

  bool hasFormat(const QString& type) const override;
  QStringList formats() const override;

 protected:
  QVariant retrieveData(const QString& type, QMetaType wanted) const override;

 private:
  struct Picture;
  QList<QUrl> write() const;

  Session& session_;
  std::vector<std::shared_ptr<Picture>> pictures_;
  mutable bool written_ = false;
};

} // namespace host
