// View, exposure, gamma, white balance and channels of a picture on screen. Main thread.
#pragma once

#include <QWidget>
#include <array>

#include "canvas_look.h"

class QAction;
class QComboBox;
class QToolBar;

namespace host {

class NumberField;
class SliderField;

/// Its actions have keys: R G B A L one channel or all, C clipping, E and Shift+E half a stop up and down.
class ViewBar : public QWidget {
  Q_OBJECT
 public:
  explicit ViewBar(QWidget* parent = nullptr);

  const CanvasLook& look() const { return look_; }
  /// Puts a widget before all fields.
  void insertFront(QWidget& widget);
  /// Shows these settings; `lookChanged` follows when they differ.
  void setView(const ViewSettings& view);
  /// Whether the picture has light that a view can show; else its fields are disabled.
  void setHasLight(bool has);

  QComboBox& views() { return *views_; }
  SliderField& exposure() { return *exposure_; }

 signals:
  void lookChanged();
  /// The view is to go with the scene.
  void keepWanted();

 private:
  void addFields(QToolBar& bar);
  void addChannels(QToolBar& bar);
  void addButtons(QToolBar& bar);
  QAction* addKey(QToolBar& bar, const QString& text, const QString& tip, const char* key);
  void show(const ViewSettings& view);
  void change(const CanvasLook& look);
  void toggleChannel(CanvasChannel channel);

  void listViews();

  CanvasLook look_;
  QToolBar* bar_ = nullptr;
  std::string config_; // whose views the list has
  QComboBox* views_ = nullptr;
  SliderField* exposure_ = nullptr;
  NumberField *gamma_ = nullptr, *kelvin_ = nullptr;
  std::array<QAction*, 5> channels_{};
  QAction *clipping_ = nullptr, *reset_ = nullptr, *keep_ = nullptr;
};

} // namespace host
