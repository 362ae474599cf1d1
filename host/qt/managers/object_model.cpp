#include "object_model.h"

#include <algorithm>
#include <unordered_set>

#include "icons.h"
#include "material_manager.h"
#include "qt_text.h"
#include "scene_edits.h"
#include "theme.h"

namespace host {

namespace {

// Objects that are dragged: the process, then the identities.
const char* const objectsMimeType = "application/x-lumenara-objects";

QByteArray objectsData(const std::vector<Identity>& objects) {
  QByteArray data = QByteArray::number(QCoreApplication::applicationPid());
  for (const Identity identity : objects)
    data += ' ' + QByteArray::number(static_cast<qulonglong>(identity));
  return data;
}

std::vector<Identity> objectsOf(const QByteArray& data) {
  const QList<QByteArray> parts = data.split(' ');
  std::vector<Identity> objects;
  if (parts.first() != QByteArray::number(QCoreApplication::applicationPid())) return objects;
  for (qsizetype i = 1; i < parts.size(); ++i)
    if (const Identity identity = parts[i].toULongLong()) objects.push_back(identity);
  return objects;
}

// One icon for each kind, shared by all rows.
const QIcon& iconOf(ObjectIcon kind) {
  static QHash<int, QIcon> icons;
  const auto found = icons.constFind(static_cast<int>(kind));
  return found != icons.constEnd() ? *found
                                   : *icons.insert(static_cast<int>(kind), icon(objectIconName(kind)));
}

// Marks the values of a longest increasing subsequence: rows that need not move.
std::vector<bool> risingOnes(const std::vector<int>& values) {
  std::vector<std::size_t> ends, before(values.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    const auto place = std::lower_bound(ends.begin(), ends.end(), values[i],
                                        [&](std::size_t at, int value) { return values[at] < value; });
    before[i] = place == ends.begin() ? values.size() : *std::prev(place);
    if (place == ends.end())
      ends.push_back(i);
    else
      *place = i;
  }
  std::vector<bool> stays(values.size(), false);
  for (std::size_t at = ends.empty() ? values.size() : ends.back(); at < values.size(); at = before[at])
    stays[at] = true;
  return stays;
}

} // namespace

QString objectIconName(ObjectIcon kind) {
  switch (kind) {
  case ObjectIcon::mesh:
    return QStringLiteral("object-polygon");
  case ObjectIcon::light:
    return QStringLiteral("object-light-point");
  case ObjectIcon::spotLight:
    return QStringLiteral("object-light-spot");
  case ObjectIcon::distantLight:
    return QStringLiteral("object-light-distant");
  case ObjectIcon::areaLight:
    return QStringLiteral("object-light-area");
  case ObjectIcon::diskLight:
    return QStringLiteral("object-light-disk");
  case ObjectIcon::camera:
    return QStringLiteral("object-camera");
  case ObjectIcon::sky:
    return QStringLiteral("object-sky");
  case ObjectIcon::floor:
    return QStringLiteral("object-floor");
  case ObjectIcon::subdivision:
    return QStringLiteral("object-subdivision");
  case ObjectIcon::null:
    break;
  }
  return QStringLiteral("object-null");
}

struct ObjectModel::Node {
  ObjectRow row;
  Node* parent = nullptr;
  int place = 0;
  std::vector<NodePtr> children;
};

struct ObjectModel::Tree {
  explicit Tree(const Shown& shown) : rows(shown) {
    for (std::size_t i = 0; i < rows.size(); ++i) {
      std::vector<std::size_t>& siblings = children[rows[i].parent];
      places[rows[i].identity] = {rows[i].parent, static_cast<int>(siblings.size())};
      siblings.push_back(i);
    }
  }
  const std::vector<std::size_t>& below(Identity parent) const {
    static const std::vector<std::size_t> none;
    const auto found = children.find(parent);
    return found == children.end() ? none : found->second;
  }

  const Shown& rows;
  std::unordered_map<Identity, std::vector<std::size_t>> children;
  std::unordered_map<Identity, std::pair<Identity, int>> places; // parent, and which of its children
};

ObjectModel::ObjectModel(Session& session, QObject* parent)
    : QAbstractItemModel(parent), session_(session), root_(std::make_unique<Node>()) {
  replaced_ = session_.hub().replaced.add([this](Replacement) { reset_ = true; });
}

ObjectModel::~ObjectModel() = default;

// --- rows of the document ---

void ObjectModel::refresh() {
  const BaseDocument* document = session_.document();
  std::vector<ObjectRow> rows = document ? objectRows(*document) : std::vector<ObjectRow>();
  if (rows == rows_ && !reset_) return;
  rows_ = std::move(rows);
  update(filter_.isEmpty() ? rows_ : filterRows(rows_, toHost(filter_)));
}

void ObjectModel::setFilter(const QString& text) {
  if (text == filter_) return;
  filter_ = text;
  rebuild(filter_.isEmpty() ? rows_ : filterRows(rows_, toHost(filter_)));
}

void ObjectModel::update(const Shown& rows) {
  if (reset_) return rebuild(rows);
  if (!sameTree(rows)) {
    if (isScattered(rows)) return rebuild(rows);
    const Tree tree(rows);
    removeRows_(*root_, tree);
    insertRows_(*root_, tree);
    order_.clear();
    for (const ObjectRow& row : rows)
      order_.push_back(row.identity);
  }
  takeValues(rows);
}

void ObjectModel::rebuild(const Shown& rows) {
  beginResetModel();
  reset_ = false;
  nodes_.clear();
  root_->children.clear();
  order_.clear();
  for (const ObjectRow& row : rows) {
    const auto found = nodes_.find(row.parent);
    Node& above = found == nodes_.end() ? *root_ : *found->second;
    auto node = std::make_unique<Node>();
    node->row = row;
    node->parent = &above;
    node->place = static_cast<int>(above.children.size());
    nodes_.emplace(row.identity, node.get());
    order_.push_back(row.identity);
    above.children.push_back(std::move(node));
  }
  endResetModel();
}

bool ObjectModel::sameTree(const Shown& rows) const {
  if (rows.size() != order_.size()) return false;
  for (std::size_t i = 0; i < rows.size(); ++i)
    if (rows[i].identity != order_[i] || nodes_.at(order_[i])->row.parent != rows[i].parent) return false;
  return true;
}

// Many separate changes cost more one by one than a reset.
bool ObjectModel::isScattered(const Shown& rows) const {
  constexpr int most = 500;
  std::unordered_set<Identity> wanted;
  int places = 0;
  bool inside = false;
  for (const ObjectRow& row : rows) {
    wanted.insert(row.identity);
    const bool added = !nodes_.contains(row.identity);
    places += added && !inside ? 1 : 0;
    inside = added;
  }
  inside = false;
  for (const Identity identity : order_) {
    const bool gone = !wanted.contains(identity);
    places += gone && !inside ? 1 : 0;
    inside = gone;
  }
  return places > most;
}

void ObjectModel::forget(const Node& node) {
  nodes_.erase(node.row.identity);
  for (const NodePtr& child : node.children)
    forget(*child);
}

// Removes rows that are gone, have another parent, or have another place among their siblings.
void ObjectModel::removeRows_(Node& parent, const Tree& tree) {
  const int count = static_cast<int>(parent.children.size());
  std::vector<int> places, rows;
  for (int i = 0; i < count; ++i) {
    const auto found = tree.places.find(parent.children[static_cast<std::size_t>(i)]->row.identity);
    if (found == tree.places.end() || found->second.first != parent.row.identity) continue;
    rows.push_back(i);
    places.push_back(found->second.second);
  }
  const std::vector<bool> rising = risingOnes(places);
  std::vector<bool> stays(parent.children.size(), false);
  for (std::size_t i = 0; i < rows.size(); ++i)
    stays[static_cast<std::size_t>(rows[i])] = rising[i];

  for (int last = count - 1; last >= 0;) {
    if (stays[static_cast<std::size_t>(last)]) {
      --last;
      continue;
    }
    int first = last;
    while (first > 0 && !stays[static_cast<std::size_t>(first - 1)])
      --first;
    beginRemoveRows(indexOf(parent, nameColumn), first, last);
    const auto begin = parent.children.begin();
    for (auto at = begin + first; at <= begin + last; ++at)
      forget(**at);
    parent.children.erase(begin + first, begin + last + 1);
    for (auto at = static_cast<std::size_t>(first); at < parent.children.size(); ++at)
      parent.children[at]->place = static_cast<int>(at);
    endRemoveRows();
    last = first - 1;
  }
  for (const NodePtr& child : parent.children)
    removeRows_(*child, tree);
}

// The remaining rows are in order: inserts the missing ones.
void ObjectModel::insertRows_(Node& parent, const Tree& tree) {
  const std::vector<std::size_t>& wanted = tree.below(parent.row.identity);
  for (std::size_t first = 0; first < wanted.size(); ++first) {
    const auto isThere = [&](std::size_t at) { return nodes_.contains(tree.rows[wanted[at]].identity); };
    if (isThere(first)) continue;
    std::size_t end = first + 1;
    while (end < wanted.size() && !isThere(end))
      ++end;
    std::vector<NodePtr> added;
    beginInsertRows(indexOf(parent, nameColumn), static_cast<int>(first), static_cast<int>(end - 1));
    for (std::size_t at = first; at < end; ++at)
      added.push_back(makeNode(tree, wanted[at], parent, static_cast<int>(at)));
    parent.children.insert(parent.children.begin() + static_cast<std::ptrdiff_t>(first),
                           std::make_move_iterator(added.begin()), std::make_move_iterator(added.end()));
    for (std::size_t at = end; at < parent.children.size(); ++at)
      parent.children[at]->place = static_cast<int>(at);
    endInsertRows();
    first = end - 1;
  }
  for (const NodePtr& child : parent.children)
    insertRows_(*child, tree);
}

ObjectModel::NodePtr ObjectModel::makeNode(const Tree& tree, std::size_t row, Node& parent, int place) {
  auto node = std::make_unique<Node>();
  node->row = tree.rows[row];
  node->parent = &parent;
  node->place = place;
  nodes_[node->row.identity] = node.get();
  for (const std::size_t below : tree.below(node->row.identity))
    node->children.push_back(makeNode(tree, below, *node, static_cast<int>(node->children.size())));
  return node;
}

// Signals neighbouring changed rows together.
void ObjectModel::takeValues(const Shown& rows) {
  const Node* first = nullptr;
  const Node* last = nullptr;
  const auto tell = [&] {
    if (first) emit dataChanged(indexOf(*first, nameColumn), indexOf(*last, columns - 1));
    first = last = nullptr;
  };
  std::vector<Node*> changed;
  for (const ObjectRow& row : rows) {
    Node* node = nodes_.at(row.identity);
    if (node->row == row) continue;
    node->row = row;
    changed.push_back(node);
  }
  for (Node* node : changed) {
    if (!last || node->parent != last->parent || node->place != last->place + 1) {
      tell();
      first = node;
    }
    last = node;
  }
  tell();
}

// --- data for views ---

ObjectModel::Node* ObjectModel::nodeOf(const QModelIndex& index) const {
  return index.isValid() ? static_cast<Node*>(index.internalPointer()) : root_.get();
}

QModelIndex ObjectModel::indexOf(const Node& node, int column) const {
  return &node == root_.get() ? QModelIndex() : createIndex(node.place, column, &node);
}

Identity ObjectModel::identityOf(const QModelIndex& index) const {
  return index.isValid() ? nodeOf(index)->row.identity : 0;
}

QModelIndex ObjectModel::indexOf(Identity identity, int column) const {
  const auto found = nodes_.find(identity);
  return found == nodes_.end() ? QModelIndex() : indexOf(*found->second, column);
}

const ObjectRow* ObjectModel::rowOf(const QModelIndex& index) const {
  return index.isValid() ? &nodeOf(index)->row : nullptr;
}

QModelIndex ObjectModel::index(int row, int column, const QModelIndex& parent) const {
  if (!hasIndex(row, column, parent)) return {};
  return createIndex(row, column, nodeOf(parent)->children[static_cast<std::size_t>(row)].get());
}

QModelIndex ObjectModel::parent(const QModelIndex& child) const {
  return child.isValid() ? indexOf(*nodeOf(child)->parent, nameColumn) : QModelIndex();
}

int ObjectModel::rowCount(const QModelIndex& parent) const {
  return parent.column() > 0 ? 0 : static_cast<int>(nodeOf(parent)->children.size());
}

bool ObjectModel::isSwitch(const QModelIndex& index) const {
  return index.column() == editorColumn || index.column() == renderColumn;
}

QVariant ObjectModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) return {};
  const ObjectRow& row = nodeOf(index)->row;
  if (role == identityRole) return QVariant::fromValue<qulonglong>(row.identity);
  if (isSwitch(index)) {
    const bool editor = index.column() == editorColumn;
    const bool on = editor ? row.visibleEditor : row.visibleRender;
    if (role == Qt::CheckStateRole) return on ? Qt::Checked : Qt::Unchecked;
    if (role == hiddenRole) return on && (editor ? row.hiddenEditor : row.hiddenRender);
    if (role == Qt::ToolTipRole)
      return editor ? on ? tr("Seen in the editor view") : tr("Not seen in the editor view")
             : on ? tr("Seen in renders")
                    : tr("Not seen in renders");
    return {};
  }
  switch (role) {
  case Qt::DisplayRole:
  case Qt::EditRole:
    return toQt(row.name);
  case Qt::DecorationRole:
    return iconOf(row.icon);
  case Qt::ForegroundRole:
    return row.hiddenEditor && row.hiddenRender ? QVariant(QBrush(tokens().dim)) : QVariant();
  case Qt::ToolTipRole:
    return tr(row.animated ? "%1, animated" : "%1").arg(QString::fromUtf8(typeName(row.type)));
  default:
    return {};
  }
}

QVariant ObjectModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal) return {};
  if (role == Qt::DisplayRole) return section == nameColumn ? tr("Name") : QString();
  if (role == Qt::DecorationRole && section == editorColumn) return icon(QStringLiteral("eye"));
  if (role == Qt::DecorationRole && section == renderColumn) return icon(QStringLiteral("render"));
  if (role == Qt::ToolTipRole && section == editorColumn) return tr("Seen in the editor view");
  if (role == Qt::ToolTipRole && section == renderColumn) return tr("Seen in renders");
  return {};
}

Qt::ItemFlags ObjectModel::flags(const QModelIndex& index) const {
  if (!index.isValid()) return Qt::ItemIsDropEnabled;
  const Qt::ItemFlags all =
      Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDropEnabled | Qt::ItemIsDragEnabled;
  return isSwitch(index) ? all : all | Qt::ItemIsEditable;
}

// --- edits ---

bool ObjectModel::setData(const QModelIndex& index, const QVariant& value, int role) {
  if (!index.isValid()) return false;
  const ObjectRow& row = nodeOf(index)->row;
  if (isSwitch(index) && role == Qt::CheckStateRole) {
    std::vector<Identity> objects{row.identity};
    if (row.selected && session_.document()) objects = selectedObjects(*session_.document());
    switchObjects(objects, index.column(), value.toInt() == Qt::Checked);
    return true;
  }
  if (isSwitch(index) || role != Qt::EditRole) return false;
  const String name = toHost(value.toString().trimmed());
  if (!name.Content() || name == row.name) return false;
  return session_.edits().apply("Rename Object", [identity = row.identity, name](BaseDocument& document) {
    renameNode(document, identity, name);
  });
}

void ObjectModel::switchObjects(const std::vector<Identity>& objects, int column, bool on) {
  const AttributeId attribute =
      column == editorColumn ? AttributeId::visibleEditor : AttributeId::visibleRender;
  session_.edits().apply(on ? "Show Objects" : "Hide Objects", [=](BaseDocument& document) {
    setAttribute(document, objects, attribute, GeData::FromBool(on ? TRUE : FALSE));
  });
}

// --- drag and drop ---

QStringList ObjectModel::mimeTypes() const {
  return {QLatin1String(objectsMimeType), QLatin1String(materialMimeType)};
}

QMimeData* ObjectModel::mimeData(const QModelIndexList& indexes) const {
  std::vector<Identity> objects;
  for (const QModelIndex& index : indexes)
    if (index.column() == nameColumn) objects.push_back(identityOf(index));
  if (objects.empty()) return nullptr;
  auto* data = new QMimeData;
  data->setData(QLatin1String(objectsMimeType), objectsData(objects));
  return data;
}

bool ObjectModel::canDropMimeData(const QMimeData* data, Qt::DropAction /*action*/, int row, int /*column*/,
                                  const QModelIndex& parent) const {
  if (!data) return false;
  if (data->hasFormat(QLatin1String(materialMimeType)))
    return row < 0 && parent.isValid() && materialOf(data->data(QLatin1String(materialMimeType))) != 0;
  const std::vector<Identity> objects = objectsOf(data->data(QLatin1String(objectsMimeType)));
  // An object cannot become its own descendant.
  const std::unordered_set<Identity> dragged(objects.begin(), objects.end());
  for (const Node* up = nodeOf(parent); up; up = up->parent)
    if (up != root_.get() && dragged.contains(up->row.identity)) return false;
  return !objects.empty();
}

bool ObjectModel::dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                               const QModelIndex& parent) {
  if (!canDropMimeData(data, action, row, column, parent)) return false;
  if (!data->hasFormat(QLatin1String(materialMimeType)))
    return moveDropped(objectsOf(data->data(QLatin1String(objectsMimeType))), row, parent);
  const Identity material = materialOf(data->data(QLatin1String(materialMimeType)));
  const ObjectRow& target = nodeOf(parent)->row;
  std::vector<Identity> objects{target.identity};
  if (target.selected && session_.document()) objects = selectedObjects(*session_.document());
  return session_.edits().apply("Assign Material",
                                [=, &library = session_.materialLibrary()](BaseDocument& document) {
                                  assignMaterial(document, objects, library.bring(document, material));
                                });
}

// A drop on a row appends to its children.
bool ObjectModel::moveDropped(const std::vector<Identity>& objects, int row, const QModelIndex& parent) {
  const Node& above = *nodeOf(parent);
  const Identity to = above.row.identity;
  Identity pred = 0;
  if (row > 0)
    pred = above.children[std::min(static_cast<std::size_t>(row), above.children.size()) - 1]->row.identity;
  if (row < 0)
    for (const ObjectRow& other : rows_)
      if (other.parent == to) pred = other.identity;
  return session_.edits().apply("Move Objects",
                                [=](BaseDocument& document) { moveObjects(document, objects, to, pred); });
}

} // namespace host
