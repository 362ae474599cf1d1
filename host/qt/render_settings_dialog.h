// The render settings of the document. Main thread.
#pragma once

#include <QDialog>
#include <functional>
#include <vector>

#include "session.h"

class QListWidget;
class QTabWidget;

namespace host {

/// Every change is an edit of the active render data at once; there is nothing to confirm. Not modal: it
/// follows the document.
class RenderSettingsDialog : public QDialog {
  Q_OBJECT
 public:
  explicit RenderSettingsDialog(Session& session, QWidget* parent = nullptr);
  ~RenderSettingsDialog() override;

  /// Takes over what has changed in the document now and not soon.
  void refresh();
  /// The field of a setting (RDATA_...): a NumberField, QComboBox or QCheckBox; null when there is none.
  QWidget* field(LONG id) const;
  QListWidget& effects() { return *effects_; }
  /// Adds an effect of a type that is not there yet, removes the chosen one.
  void addEffect(LONG type);
  void removeEffect();

 signals:
  void renderWanted();

 private:
  Session& session_;
  QTabWidget* tabs_ = nullptr;
  QListWidget* effects_ = nullptr;
  std::vector<Subscription> subscriptions_;
};

} // namespace host
