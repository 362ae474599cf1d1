#include "material_manager_model.h"

#include <algorithm>
#include <unordered_set>

#include "material_manager.h"
#include "qt_text.h"
#include "scene_edits.h"

namespace host {

QByteArray materialData(Identity material) {
  return QByteArray::number(QCoreApplication::applicationPid()) + ' ' +
         QByteArray::number(static_cast<qulonglong>(material));
}

Identity materialOf(const QByteArray& data) {
  const QList<QByteArray> parts = data.split(' ');
  if (parts.size() != 2 || parts[0] != QByteArray::number(QCoreApplication::applicationPid())) return 0;
  return parts[1].toULongLong();
}

MaterialModel::MaterialModel(Session& session, QObject* parent)
    : QAbstractListModel(parent), session_(session), thumbnails_(session, thumbnailSize) {
  ready_ = session_.previews().ready.add([this](Identity material) {
    const QModelIndex index = indexOf(material);
    if (index.isValid()) emit dataChanged(index, index, {Qt::DecorationRole});
  });
}

MaterialModel::~MaterialModel() = default;

// Removes rows that are gone, then inserts new ones and moves those that have another place.
void MaterialModel::refresh() {
  const BaseDocument* document = session_.document();
  const std::vector<MaterialRow> rows = document ? materialRows(*document) : std::vector<MaterialRow>();
  std::unordered_set<Identity> wanted;
  for (const MaterialRow& row : rows)
    wanted.insert(row.identity);
  for (int i = static_cast<int>(rows_.size()) - 1; i >= 0; --i) {
    const Identity identity = rows_[static_cast<std::size_t>(i)].identity;
    if (wanted.contains(identity)) continue;
    beginRemoveRows({}, i, i);
    rows_.erase(rows_.begin() + i);
    thumbnails_.forget(identity);
    endRemoveRows();
  }
  for (int i = 0; i < static_cast<int>(rows.size()); ++i) {
    const MaterialRow& row = rows[static_cast<std::size_t>(i)];
    const int place = placeOf(row.identity);
    if (place < 0) {
      beginInsertRows({}, i, i);
      rows_.insert(rows_.begin() + i, row);
      endInsertRows();
    } else if (place != i) { // never before i: earlier rows are in place
      beginMoveRows({}, place, place, {}, i);
      std::rotate(rows_.begin() + i, rows_.begin() + place, rows_.begin() + place + 1);
      endMoveRows();
    }
    if (rows_[static_cast<std::size_t>(i)] == row) continue;
    rows_[static_cast<std::size_t>(i)] = row;
    emit dataChanged(index(i), index(i));
  }
  // Requests the thumbnails of changed materials again.
  if (!rows_.empty())
    emit dataChanged(index(0), index(static_cast<int>(rows_.size()) - 1), {Qt::DecorationRole});
}

void MaterialModel::setPixelRatio(double ratio) {
  thumbnails_.setPixelRatio(ratio);
}

int MaterialModel::placeOf(Identity material) const {
  for (std::size_t i = 0; i < rows_.size(); ++i)
    if (rows_[i].identity == material) return static_cast<int>(i);
  return -1;
}

Identity MaterialModel::identityOf(const QModelIndex& index) const {
  return index.isValid() ? rows_[static_cast<std::size_t>(index.row())].identity : 0;
}

QModelIndex MaterialModel::indexOf(Identity identity) const {
  const int place = placeOf(identity);
  return place < 0 ? QModelIndex() : index(place);
}

int MaterialModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant MaterialModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) return {};
  const MaterialRow& row = rows_[static_cast<std::size_t>(index.row())];
  switch (role) {
  case Qt::DisplayRole:
  case Qt::EditRole:
    return toQt(row.name);
  case Qt::DecorationRole:
    return thumbnails_.of(row.identity);
  case Qt::ToolTipRole:
    return row.users == 1 ? tr("%1, on one object").arg(toQt(row.name))
           : row.users    ? tr("%1, on %2 objects").arg(toQt(row.name)).arg(row.users)
                          : tr("%1, on no object").arg(toQt(row.name));
  default:
    return {};
  }
}

bool MaterialModel::setData(const QModelIndex& index, const QVariant& value, int role) {
  const String name = toHost(value.toString().trimmed());
  if (!index.isValid() || role != Qt::EditRole || !name.Content()) return false;
  return session_.edits().apply(
      "Rename Material",
      [material = identityOf(index), name](BaseDocument& document) { renameNode(document, material, name); });
}

Qt::ItemFlags MaterialModel::flags(const QModelIndex& index) const {
  if (!index.isValid()) return Qt::NoItemFlags;
  return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsEditable | Qt::ItemIsDragEnabled |
         Qt::ItemNeverHasChildren;
}

QStringList MaterialModel::mimeTypes() const {
  return {QLatin1String(materialMimeType)};
}

QMimeData* MaterialModel::mimeData(const QModelIndexList& indexes) const {
  if (indexes.isEmpty()) return nullptr;
  auto* data = new QMimeData;
  data->setData(QLatin1String(materialMimeType), materialData(identityOf(indexes.first())));
  return data;
}

} // namespace host
