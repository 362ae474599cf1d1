// A dialog's model as native widgets: its menu, its gadgets, its user areas. Main thread.
#pragma once

#include <QPointer>
#include <QWidget>
#include <map>

#include "dialog_host.h"
#include "gadget.h"

class QMenu;
class QMenuBar;

namespace host {

class AreaWidget;
class DialogScroll;

/// The widgets of an open dialog, built from its model at construction. They scroll where the screen is too
/// small; a modal dialog's OK and Cancel stay in place below. It is the dialog's view
/// until it is detached or deleted. The object name is "dialog-PLUGIN-SUB", a gadget's widget is "gadget-ID",
/// a menu's action "menu-ID"; the window title is the dialog's. A focus that comes
/// from a menu or a key goes to the first gadget; F10 opens its menus, Ctrl+W closes it when it is not modal.
class DialogWindow : public QWidget, public DialogView {
  Q_OBJECT
 public:
  explicit DialogWindow(GeDialog& dialog, QWidget* parent = nullptr);
  ~DialogWindow() override;

  /// Null once it is detached.
  GeDialog* dialog() const { return dialog_; }
  /// Drops every reference to the dialog, which is about to close.
  void detach();
  /// Asks the dialog to close, for the close button and Escape. True when it has closed.
  bool closeByUser();
  bool isModalDialog() const { return modal_; }

  /// The widget of a gadget, or null. For a field with a slider, the box that holds both.
  QWidget* gadgetWidget(LONG id) const;
  QAction* menuAction(LONG id) const;
  QMenuBar* menuBar() const { return menuBar_; }

  // DialogView.
  void gadgetChanged(const Gadget& gadget) override;
  void layoutChanged(const Gadget& gadget) override;
  void menuChanged() override;
  void titleChanged() override;
  void areaPainted(const Gadget& gadget) override;
  bool visibleArea(const Gadget& gadget, LONG& left, LONG& top, LONG& right, LONG& bottom) const override;
  bool place(const Gadget& gadget, Place& place) const override;
  bool origin(LONG& x, LONG& y) const override;

 protected:
  void closeEvent(QCloseEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  bool windowKey(const QKeyEvent& event);
  QWidget* makeColumn(const Gadget& root);
  void reserveRoom();
  QWidget* widgetOf(const Gadget& gadget) const;
  void addGadgets(const Gadget& group, QWidget& widget);
  QString nameOf(const Gadget& gadget, const Gadget* before);
  void followScroll(const Gadget& group);
  void buildMenus();
  void addEntries(const std::vector<MenuEntry>& entries, QMenu& menu);
  void showEntries(const std::vector<MenuEntry>& entries);
  void chooseEntry(LONG id);

  GeDialog* dialog_;
  bool modal_ = false;
  QString menuLayout_; // the model that the menus were built from, as text
  QMenuBar* menuBar_ = nullptr;
  QString label_; // the last text that was added, while the window is built
  DialogScroll* scroll_ = nullptr;
  QWidget *content_ = nullptr, *footer_ = nullptr;
  const Gadget* foot_ = nullptr; // the group in the footer; null without a footer
  std::map<const Gadget*, QPointer<QWidget>> widgets_;
  std::map<LONG, QPointer<QAction>> actions_;
};

} // namespace host
