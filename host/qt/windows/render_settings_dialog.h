// The render settings of the document. Main thread.
#pragma once

#include <QDialog>
#include <QTimer>
#include <vector>

#include "render_setting_fields.h"

class QCheckBox;
class QComboBox;
class QGridLayout;
class QLayout;
class QListWidget;
class QTabWidget;

namespace host {

class RenderEffectsPage;

/// Every change edits the active render data at once; nothing needs confirming. Not modal: it follows the
/// document. A setting that the document keeps and no render uses is marked as such.
class RenderSettingsDialog : public QDialog {
  Q_OBJECT
 public:
  explicit RenderSettingsDialog(Session& session, QWidget* parent = nullptr);
  ~RenderSettingsDialog() override;

  /// Shows changes of the document at once instead of soon.
  void refresh();
  /// The field of a setting (RDATA_...): a NumberField, QComboBox or QCheckBox; else null.
  QWidget* field(LONG id) const;
  QTabWidget& tabs() { return *tabs_; }
  QListWidget& effects();
  /// Adds an effect of a type that is not in the list; removes the chosen one.
  void addEffect(LONG type);
  void removeEffect();
  /// Keeps the picture's proportions when a side is changed. Of the dialog, not of the document.
  void setProportional(bool on);

  QSize sizeHint() const override { return {460, 640}; }

 signals:
  void renderWanted();

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  QWidget* buildOutput();
  QWidget* buildQuality();
  void addMotionBlur(QWidget* page);
  QWidget* buildOptions();
  QWidget* buildLayers();
  QLayout* buildButtons();
  void addSize(QGridLayout& grid, LONG id, const QString& label);
  void addPresets(QGridLayout& grid);
  void addView(QWidget* page);
  void addEngine(QWidget* page);

  Session& session_;
  RenderSettingFields fields_;
  QTabWidget* tabs_ = nullptr;
  RenderEffectsPage* effects_ = nullptr;
  QComboBox* presets_ = nullptr;
  QCheckBox* proportional_ = nullptr;
  double proportion_ = 16.0 / 9;
  QTimer soon_;
  bool stale_ = true;
  std::vector<Subscription> subscriptions_;
};

} // namespace host
