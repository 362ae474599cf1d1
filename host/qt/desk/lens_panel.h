// Bloom, glare and vignette of the scene's pictures. Main thread.
#pragma once

#include <QWidget>
#include <functional>
#include <vector>

#include "lens_settings.h"
#include "session.h"

class QCheckBox;
class QGridLayout;
class QPushButton;

namespace host {

class SliderField;

/// Shows the effects that go with the document, and makes every change an edit: a drag is one step of undo,
/// and the picture follows while it lasts.
class LensPanel : public QWidget {
  Q_OBJECT
 public:
  explicit LensPanel(Session& session, QWidget* parent = nullptr);

  /// The effects on the shown picture; all off while the preview is off.
  LensSettings shown() const;
  QSize sizeHint() const override { return {320, 380}; }

 signals:
  void lensChanged();

 private:
  struct Number {
    SliderField* field;
    std::function<double()> read;
  };
  QGridLayout* addGroup(const QString& title);
  void addSwitch(QGridLayout& grid, const char* name, const QString& text, const QString& tip,
                 bool LensSettings::*value);
  template <class Value>
  void addNumber(QGridLayout& grid, const char* name, const QString& label, const QString& tip,
                 Value LensSettings::*value, double least, double most, double step, double factor,
                 const QString& suffix);
  void change(bool dragging);
  void takeDocument();
  void showFields();

  Session& session_;
  LensSettings lens_;
  bool dragging_ = false;
  QCheckBox* preview_;
  std::vector<std::pair<QCheckBox*, bool LensSettings::*>> switches_;
  std::vector<Number> numbers_;
  std::vector<Subscription> subscriptions_;
};

} // namespace host
