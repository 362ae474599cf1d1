// The materials of the document as a list for views. Main thread.
#pragma once

#include <QAbstractListModel>
#include <vector>

#include "material_thumbnails.h"
#include "scene_queries.h"
#include "session.h"

namespace host {

/// Names and thumbnails. Thumbnails are requested when a view shows them; until the first is ready a
/// placeholder is shown. Rows are inserted, removed and moved as in the document.
class MaterialModel : public QAbstractListModel {
  Q_OBJECT
 public:
  static constexpr int thumbnailSize = 64; // logical pixels

  explicit MaterialModel(Session& session, QObject* parent = nullptr);
  ~MaterialModel() override;

  /// Compares the rows with the document and signals the differences. The manager calls it.
  void refresh();
  /// The pixel ratio of the screen that shows them.
  void setPixelRatio(double ratio);

  Identity identityOf(const QModelIndex& index) const; // 0 for none
  QModelIndex indexOf(Identity identity) const;
  const std::vector<MaterialRow>& rows() const { return rows_; }

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  bool setData(const QModelIndex& index, const QVariant& value, int role) override; // renames
  Qt::ItemFlags flags(const QModelIndex& index) const override;
  Qt::DropActions supportedDragActions() const override { return Qt::CopyAction; }
  QStringList mimeTypes() const override;
  QMimeData* mimeData(const QModelIndexList& indexes) const override;

 private:
  int placeOf(Identity material) const;

  Session& session_;
  std::vector<MaterialRow> rows_;
  mutable MaterialThumbnails thumbnails_;
  Subscription ready_;
};

} // namespace host
