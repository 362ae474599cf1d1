#include "dialog_window.h"

#include "access.h"
#include "area_widget.h"
#include "dialog_scroll.h"
#include "dialog_state.h"
#include "gadget_actions.h"
#include "gadget_widgets.h"
#include "grid_box.h"
#include "input_watch.h"
#include "key_rules.h"
#include "qt_text.h"
#include "theme.h"

namespace host {

namespace {

bool holdsGadgets(const Gadget& gadget) {
  return gadget.kind == GadgetKind::group || gadget.kind == GadgetKind::scrollGroup;
}

bool isFoot(const Gadget& group) {
  bool ends = false, only = group.kind == GadgetKind::group;
  forEachGadget(group, [&](const Gadget& gadget) {
    ends = ends || gadget.id == IDC_OK || gadget.id == IDC_CANCEL;
    only = only && (gadget.kind == GadgetKind::group || gadget.kind == GadgetKind::button);
  });
  return ends && only;
}

// The buttons that end a modal dialog, where they are the last of its column: they stand below all else, and
// never scroll away.
const Gadget* footOf(const Gadget& root) {
  for (const Gadget* column = &root; !column->children.empty(); column = column->children.back().get()) {
    const Gadget& last = *column->children.back();
    if (isFoot(last)) return column->children.size() > 1 ? &last : nullptr;
    const bool isColumn = last.columns == 1 || (last.columns == 0 && last.rows == 0);
    if (last.kind != GadgetKind::group || !isColumn) return nullptr;
  }
  return nullptr;
}

// The names and numbers of menus, so that a changed check mark does not build them anew.
void describe(const std::vector<MenuEntry>& entries, QString& text) {
  for (const MenuEntry& entry : entries) {
    text += QString::number(entry.id) + QLatin1Char(' ') + toQt(entry.text) + QLatin1Char('\n');
    if (entry.children.empty()) continue;
    text += QLatin1String("{\n");
    describe(entry.children, text);
    text += QLatin1String("}\n");
  }
}

} // namespace

DialogWindow::DialogWindow(GeDialog& dialog, QWidget* parent) : QWidget(parent), dialog_(&dialog) {
  const DialogState& state = *Access::state(dialog);
  modal_ = state.modal;
  setObjectName(QStringLiteral("dialog-%1-%2").arg(state.pluginId).arg(state.subId));
  setFocusPolicy(Qt::ClickFocus);
  setDialogView(dialog, this);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  const Gadget& root = state.model.root;
  content_ = makeColumn(root);
  setRole(content_, "scrolled");
  scroll_ = new DialogScroll(this);
  layout->addWidget(scroll_, 1);
  widgets_[&root] = content_;
  titleChanged();
  buildMenus();
  foot_ = modal_ ? footOf(root) : nullptr;
  if (foot_) {
    footer_ = makeColumn(root);
    content_->layout()->setContentsMargins(root.borderLeft, root.borderTop, root.borderRight, 0);
    footer_->layout()->setContentsMargins(root.borderLeft, root.spaceY, root.borderRight, root.borderBottom);
    layout->addWidget(footer_);
  }
  addGadgets(root, *content_);
  scroll_->setWidget(content_);
  reserveRoom();
}

QWidget* DialogWindow::makeColumn(const Gadget& root) {
  auto* column = new QWidget(this);
  auto* grid = new GridBox(column);
  grid->setGroup(1, 0, root.spaceX, root.spaceY);
  grid->setContentsMargins(root.borderLeft, root.borderTop, root.borderRight, root.borderBottom);
  return column;
}

void DialogWindow::reserveRoom() {
  scroll_->setReserved((menuBar_ ? menuBar_->sizeHint().height() : 0) +
                       (footer_ ? footer_->sizeHint().height() : 0));
}

DialogWindow::~DialogWindow() {
  detach();
}

void DialogWindow::detach() {
  if (!dialog_) return;
  setDialogView(*dialog_, nullptr);
  dialog_ = nullptr;
  for (const auto& [gadget, widget] : widgets_)
    if (auto* area = qobject_cast<AreaWidget*>(widget.data())) area->setArea(nullptr);
  widgets_.clear();
}

bool DialogWindow::closeByUser() {
  if (!dialog_) return true;
  commitTyping(*this);
  return !dialog_ || host::closeByUser(*dialog_);
}

// ---- Gadgets

void DialogWindow::addGadgets(const Gadget& group, QWidget& widget) {
  auto* grid = static_cast<GridBox*>(widget.layout());
  const Gadget* before = nullptr;
  for (const auto& child : group.children) {
    const bool below = child.get() == foot_;
    QWidget* made = makeGadgetWidget(*this, *child, below ? footer_ : &widget);
    widgets_[child.get()] = made;
    made->setHidden(child->hidden);
    nameGadget(*made, *child, nameOf(*child, before));
    before = child.get();
    // The only child of a scroll group fills it.
    const bool alone = group.kind == GadgetKind::scrollGroup && group.children.size() == 1;
    auto* column = below ? static_cast<GridBox*>(footer_->layout()) : grid;
    column->add(made, alone ? child->flags | BFH_SCALE | BFV_SCALE : child->flags);
    if (!holdsGadgets(*child)) continue;
    auto* scroll = qobject_cast<ScrollGroup*>(made);
    addGadgets(*child, scroll ? *scroll->widget() : *made);
    if (scroll) connect(scroll, &ScrollGroup::resized, this, [this, at = child.get()] { followScroll(*at); });
  }
}

// For screen readers: the text before a field, what the plug-in says about it, else the last text, box or
// heading above.
QString DialogWindow::nameOf(const Gadget& gadget, const Gadget* before) {
  const bool heading = gadget.kind == GadgetKind::staticText || gadget.kind == GadgetKind::checkBox ||
                       gadget.kind == GadgetKind::group;
  const bool labelled = before && before->kind == GadgetKind::staticText && before->text.Content();
  if (heading && gadget.text.Content()) label_ = plainCommand(labelText(gadget.text));
  if (!labelled && gadget.tooltip.Content()) return toQt(gadget.tooltip);
  return label_.isEmpty() ? windowTitle() : label_;
}

// The areas of a scroll group may want a size that depends on what the group shows.
void DialogWindow::followScroll(const Gadget& group) {
  if (!dialog_ || !widgetOf(group)) return;
  std::vector<GeUserArea*> areas;
  forEachGadget(group, [&](const Gadget& gadget) {
    if (gadget.area) areas.push_back(gadget.area);
  });
  for (GeUserArea* area : areas) {
    if (!dialog_ || !widgetOf(group)) return;
    area->LayoutChanged();
  }
}

QWidget* DialogWindow::widgetOf(const Gadget& gadget) const {
  const auto found = widgets_.find(&gadget);
  return found == widgets_.end() ? nullptr : found->second.data();
}

QWidget* DialogWindow::gadgetWidget(LONG id) const {
  const Gadget* gadget = dialog_ ? findGadget(*dialog_, id) : nullptr;
  return gadget ? widgetOf(*gadget) : nullptr;
}

void DialogWindow::gadgetChanged(const Gadget& gadget) {
  QWidget* widget = widgetOf(gadget);
  if (!widget) return;
  showGadget(*widget, gadget);
  if (widget->isHidden() != gadget.hidden && widget != content_) widget->setHidden(gadget.hidden);
}

void DialogWindow::layoutChanged(const Gadget& gadget) {
  forEachGadget(gadget, [this](const Gadget& one) {
    QWidget* widget = widgetOf(one);
    auto* area = qobject_cast<AreaWidget*>(widget);
    if (auto* scroll = qobject_cast<ScrollGroup*>(widget)) scroll->keepFree(one.freeWidth, one.freeHeight);
    if (area && area->area() != one.area) area->setArea(one.area);
    if (area) area->takeMinSize();
    if (widget && widget != content_ && widget->isHidden() != one.hidden) widget->setHidden(one.hidden);
  });
}

void DialogWindow::areaPainted(const Gadget& gadget) {
  if (QWidget* widget = widgetOf(gadget)) widget->update();
}

void DialogWindow::titleChanged() {
  if (dialog_) setWindowTitle(toQt(dialogModel(*dialog_).title));
}

bool DialogWindow::visibleArea(const Gadget& gadget, LONG& left, LONG& top, LONG& right, LONG& bottom) const {
  const auto* scroll = qobject_cast<ScrollGroup*>(widgetOf(gadget));
  if (!scroll) return false;
  const QRect part = scroll->visiblePart();
  left = part.x();
  top = part.y();
  right = part.x() + part.width();
  bottom = part.y() + part.height();
  return true;
}

bool DialogWindow::place(const Gadget& gadget, Place& place) const {
  const QWidget* widget = widgetOf(gadget);
  if (!widget) return false;
  const QPoint at = content_->mapFromGlobal(widget->mapToGlobal(QPoint(0, 0)));
  place = {at.x(), at.y(), widget->width(), widget->height()};
  return true;
}

bool DialogWindow::origin(LONG& x, LONG& y) const {
  const QPoint at = content_->mapToGlobal(QPoint(0, 0));
  x = at.x();
  y = at.y();
  return true;
}

// ---- Menus

void DialogWindow::menuChanged() {
  if (!dialog_) return;
  QString layout;
  describe(dialogModel(*dialog_).menus, layout);
  if (layout == menuLayout_)
    showEntries(dialogModel(*dialog_).menus);
  else
    buildMenus();
}

// The old menus are deleted later: an entry of theirs may be running.
void DialogWindow::buildMenus() {
  const std::vector<MenuEntry>& menus = dialogModel(*dialog_).menus;
  menuLayout_.clear();
  describe(menus, menuLayout_);
  actions_.clear();
  if (menuBar_) {
    layout()->removeWidget(menuBar_);
    menuBar_->hide();
    menuBar_->deleteLater();
    menuBar_ = nullptr;
  }
  if (menus.empty()) return;
  menuBar_ = new QMenuBar(this);
  menuBar_->setNativeMenuBar(false);
  for (const MenuEntry& menu : menus) {
    if (!menu.children.empty() || menu.id == 0)
      addEntries(menu.children, *menuBar_->addMenu(labelText(menu.text)));
  }
  static_cast<QVBoxLayout*>(layout())->insertWidget(0, menuBar_);
  reserveRoom();
  showEntries(menus);
}

void DialogWindow::addEntries(const std::vector<MenuEntry>& entries, QMenu& menu) {
  connect(&menu, &QMenu::aboutToShow, this, [this] { commitTyping(*this); });
  for (const MenuEntry& entry : entries) {
    if (!entry.children.empty()) {
      addEntries(entry.children, *menu.addMenu(labelText(entry.text)));
    } else if (entry.id == 0 || !entry.text.Content()) {
      menu.addSeparator();
    } else {
      QAction* action = menu.addAction(labelText(entry.text));
      action->setObjectName(QStringLiteral("menu-%1").arg(entry.id));
      actions_[entry.id] = action;
      connect(action, &QAction::triggered, this, [this, id = entry.id] { chooseEntry(id); });
    }
  }
}

// Only an entry with a mark can be checked, so that Qt makes no marks by itself.
void DialogWindow::showEntries(const std::vector<MenuEntry>& entries) {
  for (const MenuEntry& entry : entries) {
    showEntries(entry.children);
    const auto found = actions_.find(entry.id);
    if (found == actions_.end() || !found->second) continue;
    QAction& action = *found->second;
    action.setEnabled(entry.enabled);
    action.setCheckable(entry.checked);
    action.setChecked(entry.checked);
  }
}

void DialogWindow::chooseEntry(LONG id) {
  if (!dialog_) return;
  const QPointer<DialogWindow> there = this;
  chooseMenu(*dialog_, id, {qualifiersOf(QGuiApplication::keyboardModifiers()), false, true});
  if (there && dialog_) showEntries(dialogModel(*dialog_).menus);
}

QAction* DialogWindow::menuAction(LONG id) const {
  const auto found = actions_.find(id);
  return found == actions_.end() ? nullptr : found->second.data();
}

// ---- Events

void DialogWindow::closeEvent(QCloseEvent* event) {
  event->ignore(); // the window goes when the dialog closes
  closeByUser();
}

// A focus that comes from a menu or another window is meant for the gadgets.
void DialogWindow::focusInEvent(QFocusEvent* event) {
  QWidget::focusInEvent(event);
  const Qt::FocusReason reason = event->reason();
  if (reason == Qt::ShortcutFocusReason || reason == Qt::ActiveWindowFocusReason) focusNextChild();
}

// F10 opens the menus; Ctrl+W closes a dialog that is not modal.
bool DialogWindow::windowKey(const QKeyEvent& event) {
  const bool menus = menuBar_ && !menuBar_->actions().isEmpty();
  if (menus && event.key() == Qt::Key_F10 && event.modifiers() == Qt::NoModifier) {
    menuBar_->setActiveAction(menuBar_->actions().constFirst());
    return true;
  }
  if (modal_ || !event.matches(QKeySequence::Close)) return false;
  closeByUser();
  return true;
}

// Keys that no gadget has handled.
void DialogWindow::keyPressEvent(QKeyEvent* event) {
  watchInput(*event);
  const LONG channel = channelOf(event->key());
  const bool used = dialog_ && channel != 0 &&
                    pressKey(*dialog_, channel, toHost(event->text()), qualifiersOf(event->modifiers()));
  if (!used && !windowKey(*event)) event->ignore();
}

} // namespace host
