// The library's materials as a list for views. Main thread.
#pragma once

#include <QAbstractListModel>
#include <vector>

#include "material_thumbnails.h"

namespace host {

/// Names and thumbnails, which are rendered when a view shows them. Rows can be dragged onto objects, as
/// materials of the document can.
class LibraryModel : public QAbstractListModel {
  Q_OBJECT
 public:
  static constexpr int thumbnailSize = 80; // logical pixels
  enum Role { groupRole = Qt::UserRole, identityRole, ownRole };

  explicit LibraryModel(Session& session, QObject* parent = nullptr);

  /// Takes the library's entries as they are now.
  void refresh();
  void setPixelRatio(double ratio) { thumbnails_.setPixelRatio(ratio); }
  Identity identityOf(const QModelIndex& index) const; // 0 for none

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;
  Qt::DropActions supportedDragActions() const override { return Qt::CopyAction; }
  QStringList mimeTypes() const override;
  QMimeData* mimeData(const QModelIndexList& indexes) const override;

 private:
  Session& session_;
  std::vector<MaterialLibrary::Entry> rows_;
  mutable MaterialThumbnails thumbnails_;
  Subscription ready_;
};

} // namespace host
