// A drop-down of a film's layers. Main thread.
#pragma once

#include <QToolButton>

#include "shown_layers.h"

class QFrame;
class QLineEdit;
class QListWidget;

namespace host {

/// A button with the name of the chosen layer. Its list has a heading for each group, and a search when there
/// are many layers.
class LayerChoice : public QToolButton {
  Q_OBJECT
 public:
  static constexpr std::size_t many = 12; // from so many layers on, the list has a search

  explicit LayerChoice(QWidget* parent = nullptr);

  /// Lists these layers; empty: the button is disabled. The chosen name stays: a picture without this layer
  /// shows the first one, and the next picture that has it shows it again.
  void setLayers(std::vector<ShownLayer> layers);
  std::size_t count() const { return layers_.size(); }
  /// The layer that is shown, by its name in the film; of those listed.
  const std::string& shown() const { return shown_; }
  void choose(const std::string& name);
  /// The next or the previous layer in the list, round and round.
  void step(int by);

  QListWidget& list() { return *list_; }
  QLineEdit& search() { return *search_; }
  void openList();

 signals:
  void layerChanged();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  void fill();
  void filter(const QString& text);
  void take();
  void settle();

  std::vector<ShownLayer> layers_;
  std::string wanted_, shown_;
  QFrame* popup_;
  QLineEdit* search_;
  QListWidget* list_;
};

} // namespace host
