// The objects of the document as a tree for views. Main thread.
#pragma once

#include <QAbstractItemModel>
#include <memory>
#include <unordered_map>
#include <vector>

#include "scene_queries.h"
#include "session.h"

namespace host {

/// The name of a kind's icon, for icons.h.
QString objectIconName(ObjectIcon kind);

/// Mirrors `objectRows`. A change of the document changes only the rows it concerns: names and switches
/// as dataChanged, the tree as rows inserted, removed and moved; it is reset only for another document. Edits
/// through the model are edits of the session; the rows follow when `DocumentHub::changed` comes.
class ObjectModel : public QAbstractItemModel {
  Q_OBJECT
 public:
  enum Column { nameColumn, editorColumn, renderColumn, columns };
  /// In the switches' columns: whether an ancestor hides the object as well. In the name column: the
  /// identity.
  enum Role { hiddenRole = Qt::UserRole, identityRole };

  explicit ObjectModel(Session& session, QObject* parent = nullptr);
  ~ObjectModel() override;

  /// Compares the rows with the document and signals the differences. The manager calls it.
  void refresh();
  /// Shows only rows with this text in their names, and their ancestors; empty: all rows.
  void setFilter(const QString& text);
  QString filter() const { return filter_; }
  /// Switches these objects on or off in a switches' column: an edit, or a part of a continuous one.
  void switchObjects(const std::vector<Identity>& objects, int column, bool on);

  Identity identityOf(const QModelIndex& index) const; // 0 for none
  QModelIndex indexOf(Identity identity, int column = nameColumn) const;
  /// Null for an object without a row.
  const ObjectRow* rowOf(const QModelIndex& index) const;
  /// All rows of the document, including those that the filter hides.
  const std::vector<ObjectRow>& rows() const { return rows_; }
  int shownCount() const { return static_cast<int>(nodes_.size()); }

  QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
  QModelIndex parent(const QModelIndex& child) const override;
  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& = {}) const override { return columns; }
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
  /// Renames, or switches (Qt::CheckStateRole): all selected objects when the index is one of them.
  bool setData(const QModelIndex& index, const QVariant& value, int role) override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;

  // Objects are moved, materials (materialMimeType) are assigned.
  Qt::DropActions supportedDropActions() const override { return Qt::MoveAction | Qt::CopyAction; }
  Qt::DropActions supportedDragActions() const override { return Qt::MoveAction; }
  QStringList mimeTypes() const override;
  QMimeData* mimeData(const QModelIndexList& indexes) const override;
  bool canDropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                       const QModelIndex& parent) const override;
  bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                    const QModelIndex& parent) override;

 private:
  struct Node;
  using NodePtr = std::unique_ptr<Node>;
  using Shown = std::vector<ObjectRow>;
  struct Tree; // the rows wanted, by parent

  Node* nodeOf(const QModelIndex& index) const;
  QModelIndex indexOf(const Node& node, int column) const;
  bool sameTree(const Shown& rows) const;
  bool isScattered(const Shown& rows) const;
  void update(const Shown& rows);
  void rebuild(const Shown& rows);
  void takeValues(const Shown& rows);
  void removeRows_(Node& parent, const Tree& tree);
  void insertRows_(Node& parent, const Tree& tree);
  NodePtr makeNode(const Tree& tree, std::size_t row, Node& parent, int place);
  void forget(const Node& node);
  bool isSwitch(const QModelIndex& index) const;
  bool moveDropped(const std::vector<Identity>& objects, int row, const QModelIndex& parent);

  Session& session_;
  Subscription replaced_;
  QString filter_;
  std::vector<ObjectRow> rows_;
  std::vector<Identity> order_; // of the shown rows
  std::unique_ptr<Node> root_;
  std::unordered_map<Identity, Node*> nodes_;
  bool reset_ = true;
};

} // namespace host
