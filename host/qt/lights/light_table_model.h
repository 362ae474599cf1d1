// The rows of the table of lights, for views. Main thread.
#pragma once

#include <QAbstractTableModel>
#include <vector>

#include "light_rows.h"
#include "session.h"

namespace host {

/// Mirrors `lightRows`. Edits through the model are edits of the session: of all selected lights when the
/// edited one is among them.
class LightTableModel : public QAbstractTableModel {
  Q_OBJECT
 public:
  /// The value that rows are sorted by.
  enum Role { sortRole = Qt::UserRole };

  explicit LightTableModel(Session& session, QObject* parent = nullptr);

  /// Compares the rows with the document and signals the differences.
  void refresh();
  const std::vector<LightRow>& rows() const { return rows_; }
  /// Null for a cell that the row's kind does not have.
  const Attribute* attributeAt(const QModelIndex& index) const;
  /// The lights that an edit of this cell concerns.
  std::vector<Identity> edited(const QModelIndex& index) const;
  /// One step of undo, or a part of a continuous edit.
  void edit(const QModelIndex& index, const GeData& value);
  int rowOf(Identity light) const; // -1 for none

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
  bool setData(const QModelIndex& index, const QVariant& value, int role) override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;

 private:
  QVariant textOf(const Attribute& attribute) const;

  Session& session_;
  std::vector<LightRow> rows_;
};

} // namespace host
