// The light mixer: a strip for each light group of the Frame Buffer's picture. Main thread.
#pragma once

#include <QWidget>
#include <vector>

#include "light_mix.h"
#include "session.h"

class QLabel;
class QPushButton;
class QVBoxLayout;

namespace host {

class LightStrip;

class LightMixerPanel : public QWidget {
  Q_OBJECT
 public:
  explicit LightMixerPanel(Session& session, QWidget* parent = nullptr);

  /// The groups of this film get strips; null: no film. Faders of groups that were there before keep their
  /// values.
  void showFilm(const Film* film);
  const LightMix& mix() const { return mix_; }
  /// All faders to neutral.
  void reset();
  /// Multiplies the scene's lights by the faders, one step of undo; then they are neutral.
  void applyToScene();
  /// Renders of the scene will have light groups, one step of undo.
  void wantGroups();

  const std::vector<LightStrip*>& strips() const { return strips_; }
  QSize sizeHint() const override { return {320, 360}; }

 signals:
  void mixChanged();

 private:
  QWidget* buildEmpty();
  void takeStrips();
  void updateState();

  Session& session_;
  LightMix mix_;
  std::vector<LightStrip*> strips_;
  QWidget *empty_, *filled_;
  QVBoxLayout* rows_;
  QLabel *lesson_, *note_;
  QPushButton *want_, *reset_, *apply_;
  bool hasFilm_ = false;
  std::vector<Subscription> subscriptions_;
};

} // namespace host
