#include "library_model.h"

#include "material_manager.h"

namespace host {

LibraryModel::LibraryModel(Session& session, QObject* parent)
    : QAbstractListModel(parent), session_(session), thumbnails_(session, thumbnailSize) {
  ready_ = session_.previews().ready.add([this](Identity material) {
    for (std::size_t i = 0; i < rows_.size(); ++i)
      if (rows_[i].identity == material) {
        const QModelIndex at = index(static_cast<int>(i));
        emit dataChanged(at, at, {Qt::DecorationRole});
      }
  });
}

void LibraryModel::refresh() {
  beginResetModel();
  rows_ = session_.materialLibrary().entries();
  endResetModel();
}

Identity LibraryModel::identityOf(const QModelIndex& index) const {
  return index.isValid() ? rows_[static_cast<std::size_t>(index.row())].identity : 0;
}

int LibraryModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant LibraryModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) return {};
  const MaterialLibrary::Entry& row = rows_[static_cast<std::size_t>(index.row())];
  const QString name = QString::fromStdString(row.name), group = QString::fromStdString(row.group);
  switch (role) {
  case Qt::DisplayRole:
    return name;
  case Qt::DecorationRole:
    return thumbnails_.of(row.identity);
  case Qt::SizeHintRole:
    return QSize(thumbnailSize + 24, thumbnailSize + 44); // two lines of text
  case Qt::ToolTipRole:
    return group + QStringLiteral(": ") + name;
  case groupRole:
    return group;
  case identityRole:
    return QVariant::fromValue(static_cast<qulonglong>(row.identity));
  case ownRole:
    return row.own();
  default:
    return {};
  }
}

Qt::ItemFlags LibraryModel::flags(const QModelIndex& index) const {
  if (!index.isValid()) return Qt::NoItemFlags;
  return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled | Qt::ItemNeverHasChildren;
}

QStringList LibraryModel::mimeTypes() const {
  return {QLatin1String(materialMimeType)};
}

QMimeData* LibraryModel::mimeData(const QModelIndexList& indexes) const {
  if (indexes.isEmpty()) return nullptr;
  auto* data = new QMimeData;
  data->setData(QLatin1String(materialMimeType), materialData(identityOf(indexes.first())));
  return data;
}

} // namespace host
