// The gadgets of a dialog, scrolled when the screen is too small for them. Main thread.
#pragma once

#include <QScrollArea>

namespace host {

/// Shows the whole widget while it fits. Never asks for more room than the screen has: beyond that it scrolls
/// and follows the keyboard focus.
class DialogScroll : public QScrollArea {
  Q_OBJECT
 public:
  explicit DialogScroll(QWidget* parent);
  /// Height of the widgets beside it in the same window, in logical pixels.
  void setReserved(int height);

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void showFocus(QWidget* focus);
  QSize fitted(const QSize& wanted) const;

  int reserved_ = 0;
};

} // namespace host
