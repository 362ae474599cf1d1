// The values of the selection. Main thread.
#pragma once

#include <QTimer>
#include <QWidget>
#include <vector>

#include "attributes.h"
#include "session.h"

class QLabel;
class QScrollArea;
class QStackedWidget;
class QVBoxLayout;

namespace host {

class AttributeField;
class MaterialParts;

/// Fields for the attributes that all selected objects have, or for those of the selected material, whichever
/// was selected last. Values that differ show as a dash; typing one sets it for all. A drag of a field is one
/// step of undo, live in every view meanwhile.
class AttributeManager : public QWidget {
  Q_OBJECT
 public:
  explicit AttributeManager(Session& session, QWidget* parent = nullptr);
  ~AttributeManager() override;

  /// The nodes that the fields show; empty without a selection.
  const std::vector<Identity>& nodes() const { return nodes_; }
  /// The field of an attribute; null when it is not shown.
  AttributeField* field(AttributeId attribute) const;

  /// The user has clicked the selected material, or the selected objects: the fields show them, also when
  /// they were selected before.
  void lookAtMaterial() { lookAt(true); }
  void lookAtObjects() { lookAt(false); }

  /// Shows changes of the document at once instead of soon.
  void refresh();

  QSize sizeHint() const override { return {300, 420}; }

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  void build();
  void lookAt(bool material);
  void chooseNodes();
  void rebuild(const std::vector<Attribute>& attributes);
  void showHeading();
  void connectField(AttributeField& field);
  void change(AttributeField& field, const GeData& value, int component);

  Session& session_;
  std::vector<Identity> nodes_, objects_;
  Identity material_ = 0;
  bool showsMaterial_ = false, stale_ = true, dragging_ = false;
  QStackedWidget* stack_ = nullptr;
  QScrollArea* area_ = nullptr;
  QWidget* content_ = nullptr;
  QLabel *heading_ = nullptr, *icon_ = nullptr, *empty_ = nullptr;
  std::vector<AttributeField*> fields_;
  MaterialParts* parts_ = nullptr; // of materials the textures, of objects the materials
  QTimer soon_;
  std::vector<Subscription> subscriptions_;
};

} // namespace host
