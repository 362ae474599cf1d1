// One widget for each kind of gadget. Main thread.
#pragma once

#include <QScrollArea>
#include <QWidget>

#include "gadget.h"

namespace host {

class DialogWindow;

/// The widget of a gadget, without its children. The user's actions go to the window's dialog.
QWidget* makeGadgetWidget(DialogWindow& window, const Gadget& gadget, QWidget* parent);

/// Updates value, text, range, entries, enabled state and tooltip; the dialog is not called.
void showGadget(QWidget& widget, const Gadget& gadget);

/// Names a field for screen readers; buttons and boxes that have a text are named by it.
void nameGadget(QWidget& widget, const Gadget& gadget, const QString& name);

/// Commits the text that is being typed in a field of the window.
void commitTyping(QWidget& window);

/// Holds a scroll group's children. Its size hint does not depend on later content: an area that follows the
/// visible part must not move it.
class ScrollGroup : public QScrollArea {
  Q_OBJECT
 public:
  ScrollGroup(const Gadget& gadget, QWidget* parent);
  /// The visible part of the content, in the content's coordinates. Before the first layout: the part that
  /// the group would show.
  QRect visiblePart() const;
  /// Leaves pixels of its right and lower edge empty.
  void keepFree(int width, int height);
  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

 signals:
  /// Emitted before the content is laid out for another size of the group.
  void resized();

 protected:
  void resizeEvent(QResizeEvent* event) override;

 private:
  QSize asked_; // 0: not asked for
  mutable QSize hint_;
  bool laidOut_ = false;
};

} // namespace host
