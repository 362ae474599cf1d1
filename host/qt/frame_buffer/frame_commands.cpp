#include "frame_commands.h"

#include "icons.h"
#include "key_table.h"
#include "theme.h"

namespace host {

FrameCommands::FrameCommands(QMainWindow& window) : QObject(&window), window_(window) {
  const QString titles[] = {tr("&File"), tr("&Edit"), tr("&Picture"), tr("&View"), tr("P&anels")};
  for (std::size_t i = 0; i < menus_.size(); ++i) {
    menus_[i] = window.menuBar()->addMenu(titles[i]);
    menus_[i]->setToolTipsVisible(true);
    menus_[i]->menuAction()->setVisible(false); // until it has an entry
  }
  bar_ = window.addToolBar(tr("Commands"));
  bar_->setObjectName(QStringLiteral("frameCommands"));
  bar_->setIconSize({metrics::icon, metrics::icon});
  bar_->setMovable(false);
  bar_->setContextMenuPolicy(Qt::PreventContextMenu);
}

QAction* FrameCommands::add(FrameMenu menu, FrameCommand command) {
  auto* action = new QAction(command.text, &window_);
  const QString name = QLatin1String(command.name);
  action->setObjectName(name);
  if (QFile::exists(QStringLiteral(":/icons/%1.svg").arg(name))) action->setIcon(icon(name));
  action->setShortcuts(command.keys);
  action->setCheckable(command.checkable);
  if (!command.tip.isEmpty()) action->setToolTip(command.tip);
  connect(action, &QAction::triggered, this, [run = std::move(command.run)] { run(); });
  add(menu, action);
  return action;
}

void FrameCommands::add(FrameMenu menu, QAction* action) {
  action->setShortcutContext(Qt::WindowShortcut);
  setTipWithKey(*action, action->toolTip());
  window_.addAction(action); // keys work while bars and menus are hidden
  QMenu& to = this->menu(menu);
  to.addAction(action);
  to.menuAction()->setVisible(true);
}

void FrameCommands::addSeparator(FrameMenu menu) {
  this->menu(menu).addSeparator();
}

void FrameCommands::fillBar(const QList<QAction*>& actions) {
  for (QAction* action : actions)
    if (action)
      bar_->addAction(action);
    else
      bar_->addSeparator();
}

} // namespace host
