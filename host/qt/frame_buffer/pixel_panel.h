// The panel with the values of every layer under the pointer. Main thread.
#pragma once

#include <QRect>
#include <QTimer>
#include <QWidget>

#include "pixel_probe.h"

class QLabel;
class QTreeWidget;

namespace host {

/// Shows a pixel, or a rectangle with means, least and most values while one is marked. While it is hidden it
/// reads nothing.
class PixelPanel : public QWidget {
  Q_OBJECT
 public:
  explicit PixelPanel(QWidget* parent = nullptr);

  /// The film of the picture; null: it has none.
  void setFilm(std::shared_ptr<const Film> film);
  /// (-1, -1): no pixel.
  void showPixel(const QPoint& pixel);
  /// Stays until an empty one is given.
  void showRect(const QRect& rect);
  /// Reads the film again, once the events that wait now are done.
  void refresh();

  QTreeWidget& tree() { return *tree_; }
  /// The row of a layer as text, columns with " | " between them; empty when it is not listed.
  QString rowText(const std::string& layer) const;
  QSize sizeHint() const override { return {360, 420}; } // three values of a colour beside their layer's name

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  void read();
  void put(const std::vector<ProbeRow>& rows);
  void arrange(const std::vector<ProbeRow>& rows);

  std::shared_ptr<const Film> film_;
  FilmNames names_;
  QPoint pixel_{-1, -1};
  QRect rect_;
  QTimer soon_;
  QLabel* place_;
  QTreeWidget* tree_;
  std::vector<std::string> listed_; // layers, in the order of the tree
};

} // namespace host
