// One widget for each kind of gadget. Main thread.
#pragma once

#include <QScrollArea>
#include <QWidget>

#include "gadget.h"

namespace host {

class DialogWindow;

/// The widget of a gadget, without its children: what the user does with it goes to the window's dialog.
QWidget* makeGadgetWidget(DialogWindow& window, const Gadget& gadget, QWidget* parent);

/// Brings value, text, range, entries, enabled state and tooltip up to date, without a word to the dialog.
void showGadget(QWidget& widget, const Gadget& gadget);

/// Takes over what is being typed in a field of the window.
void commitTyping(QWidget& window);

/// What holds a scroll group's children. Its wish for room does not depend on what it holds later: an area
/// that follows the visible part must not move it.
class ScrollGroup : public QScrollArea {
  Q_OBJECT
 public:
  ScrollGroup(const Gadget& gadget, QWidget* parent);
  /// The part of the content that shows, in the content's coordinates. Before the first layout it is what the
  /// group would like to show.
  QRect visiblePart() const;
  /// Leaves pixels of its right and lower edge empty.
  void keepFree(int width, int height);
  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

 signals:
  /// Before the content is laid out for another size of the group.
  void resized();

 protected:
  void resizeEvent(QResizeEvent* event) override;

 private:
  QSize asked_; // 0: not asked for
  mutable QSize hint_;
  bool laidOut_ = false;
};

} // namespace host
