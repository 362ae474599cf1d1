// The fader of one light group. Main thread.
#pragma once

#include <QWidget>

#include "light_mix.h"

class QToolButton;

namespace host {

class ColorField;
class SliderField;

class LightStrip : public QWidget {
  Q_OBJECT
 public:
  explicit LightStrip(const std::string& group, QWidget* parent = nullptr);

  const LightFader& fader() const { return fader_; }
  /// Shows these values; no signal.
  void setFader(const LightFader& fader);

 signals:
  void changed();

 private:
  QToolButton* addSwitch(const QString& text, const QString& tip, bool LightFader::*value);

  LightFader fader_;
  QToolButton *mute_, *solo_;
  ColorField* color_;
  SliderField* stops_;
};

} // namespace host
