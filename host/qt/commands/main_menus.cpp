#include "main_menus.h"

#include "bitmap_image.h"
#include "command_table.h"
#include "dialog_docks.h"
#include "editor_view_widget.h"
#include "icons.h"
#include "plugin_registry.h"
#include "qt_text.h"
#include "scene_queries.h"
#include "session.h"
#include "theme.h"
#include "variants.h"
#include "window_files.h"

namespace host {

namespace {

QIcon commandIcon(const BaseBitmap* bitmap) {
  if (!bitmap || bitmap->GetBw() < 1) return {};
  return QIcon(QPixmap::fromImage(bitmapImage(*bitmap)));
}

} // namespace

MainMenus::MainMenus(const MainParts& parts) : QObject(&parts.window), parts_(parts) {
  buildMenuBar();
  fillToolBar();
}

QMenu* MainMenus::addMenu(const QString& title, const char* name) {
  QMenu* menu = parts_.window.menuBar()->addMenu(title);
  if (name) menu->setObjectName(QLatin1String(name));
  return menu;
}

// The IDs of commands, in one text; "-" for a line.
void MainMenus::addCommands(QMenu& menu, const char* ids) {
  for (const QString& id : QString::fromLatin1(ids).split(QLatin1Char(' ')))
    if (id == QLatin1String("-"))
      menu.addSeparator();
    else
      menu.addAction(parts_.commands.action(id));
  connect(&menu, &QMenu::aboutToShow, &parts_.commands, &CommandTable::refresh, Qt::UniqueConnection);
}

void MainMenus::buildMenuBar() {
  QMenu* file = addMenu(tr("&File"));
  addCommands(*file, "file.new file.open");
  recent_ = file->addMenu(tr("Open &Recent"));
  recent_->setObjectName(QStringLiteral("menu-recent"));
  connect(recent_, &QMenu::aboutToShow, this, &MainMenus::fillRecent);
  addCommands(*file, "- file.save file.save-as file.save-version file.save-packed -");
  addCommands(*file->addMenu(tr("&Autosave")),
              "file.autosave-0 - file.autosave-1 file.autosave-2 file.autosave-5 "
              "file.autosave-10 file.autosave-30");
  addCommands(*file, "file.recover - file.link - file.quit");
  buildEditMenu();
  buildViewMenu();
  buildRenderMenu();
  plugins_ = addMenu(tr("&Plugins"), "menu-plugins");
  plugins_->setToolTipsVisible(true);
  connect(plugins_, &QMenu::aboutToShow, this, &MainMenus::fillPlugins);
  windows_ = addMenu(tr("&Window"), "menu-window");
  connect(windows_, &QMenu::aboutToShow, this, &MainMenus::fillDocks);
  addCommands(*addMenu(tr("&Help")), "help.search - help.manual help.shortcuts help.tour - help.about");
  fillDocks();
  fillPlugins();
  fillRecent();
  parts_.commands.refresh();
}

void MainMenus::buildRenderMenu() {
  QMenu* render = addMenu(tr("&Render"));
  addCommands(*render, "render.view render.picture render.more render.stop - render.animation render.queue - "
                       "render.farm render.farm-jobs -");
  addCommands(*render->addMenu(tr("Viewer &Optimizations")),
              "render.preset-draft render.preset-look render.preset-final - render.preset-back");
  addCommands(*render, "render.settings render.viewer");
}

void MainMenus::buildEditMenu() {
  QMenu* edit = addMenu(tr("&Edit"));
  addCommands(*edit, "edit.undo edit.redo - edit.rename edit.duplicate edit.group edit.drop edit.delete - "
                     "edit.select-all edit.select-none -");
  addCommands(*edit->addMenu(tr("A&dd")), "add.null add.camera - add.light add.spot add.distant add.area "
                                          "add.disk - add.floor add.sky add.subdivision - "
                                          "add.material");
  addCommands(*edit, "- edit.library edit.skies edit.lights edit.missing");
}

void MainMenus::buildViewMenu() {
  QMenu* view = addMenu(tr("&View"));
  addCommands(*view, "view.frame-selected view.frame-all");
  cameras_ = view->addMenu(icon(QStringLiteral("object-camera")), tr("Look &Through"));
  cameras_->setObjectName(QStringLiteral("menu-cameras"));
  connect(cameras_, &QMenu::aboutToShow, this, [this] { fillCameras(*cameras_); });
  QMenu* variants = view->addMenu(tr("Material &Variant"));
  variants->setObjectName(QStringLiteral("menu-variants"));
  connect(variants, &QMenu::aboutToShow, this, [this, variants] { fillVariants(*variants); });
  addCommands(*view, "- tool.select tool.move tool.turn tool.scale");
  addCommands(*view->addMenu(tr("&Handles")),
              "tool.object-axes - tool.step-1cm tool.step-10cm tool.step-1m - "
              "tool.step-5 tool.step-15 tool.step-45");
  addCommands(*view, "tool.focus - time.play time.previous time.next "
                     "time.first time.last");
  addCommands(*view->addMenu(tr("&Keyframes")), "key.set key.delete - key.previous key.next");
  view->addSeparator();
  addCommands(*view->addMenu(tr("Th&eme")), "view.theme-desktop - view.theme-dark view.theme-light");
}

void MainMenus::fillToolBar() {
  QToolBar& bar = parts_.toolBar;
  bar.setIconSize(QSize(metrics::icon, metrics::icon));
  for (const char* id : {"file.open", "file.save", "-", "edit.undo", "edit.redo", "-", "tool.move",
                         "tool.turn", "tool.scale", "-", "render.view", "render.picture", "render.settings"})
    if (*id == '-')
      bar.addSeparator();
    else
      bar.addAction(parts_.commands.action(QLatin1String(id)));
  for (QToolButton* button : bar.findChildren<QToolButton*>())
    if (button->defaultAction()) {
      button->setObjectName(QStringLiteral("button-") + button->defaultAction()->objectName());
      button->setAccessibleName(button->defaultAction()->text().remove(QLatin1Char('&')));
      button->setFocusPolicy(Qt::NoFocus);
    }
}

void MainMenus::fillRecent() {
  recent_->clear();
  for (const Filename& file : parts_.session.files().recentFiles()) {
    QAction* action = recent_->addAction(plainLabel(file.GetFileString()));
    action->setToolTip(toQt(file.GetString()));
    connect(
        action, &QAction::triggered, &parts_.files, [this, file] { parts_.files.openRecent(file); },
        Qt::QueuedConnection);
  }
  recent_->setToolTipsVisible(true);
  if (recent_->isEmpty()) recent_->addAction(tr("No files yet"))->setEnabled(false);
  recent_->addSeparator();
  recent_->addAction(parts_.commands.action(QStringLiteral("file.clear-recent")));
}

void MainMenus::fillPlugins() {
  plugins_->clear();
  PluginRegistry* registry = parts_.commands.isBlocked() ? nullptr : pluginRegistry();
  if (registry)
    for (const CommandEntry* entry : registry->commands())
      addPlugin(*entry, registry->state(entry->id, parts_.session.document()));
  if (plugins_->isEmpty()) plugins_->addAction(tr("No plug-ins are loaded"))->setEnabled(false);
}

void MainMenus::addPlugin(const CommandEntry& entry, LONG state) {
  QAction* action = plugins_->addAction(commandIcon(entry.icon), plainLabel(entry.name));
  action->setObjectName(QStringLiteral("plugin-%1").arg(entry.id));
  action->setToolTip(toQt(entry.help));
  action->setCheckable((state & CMD_VALUE) != 0);
  action->setChecked((state & CMD_VALUE) != 0);
  action->setEnabled((state & CMD_ENABLED) != 0);
  connect(
      action, &QAction::triggered, this,
      [this, id = entry.id] {
        if (!parts_.commands.isBlocked()) parts_.session.runCommand(id);
      },
      Qt::QueuedConnection);
}

void MainMenus::fillCameras(QMenu& menu) {
  menu.clear();
  qDeleteAll(menu.findChildren<QMenu*>(Qt::FindDirectChildrenOnly));
  const BaseDocument* document = parts_.session.document();
  if (!document) return;
  const std::vector<CameraRow> lights = lightViewRows(*document);
  const bool throughLight =
      std::any_of(lights.begin(), lights.end(), [](const CameraRow& row) { return row.current; });
  const auto add = [this](QMenu& to, const QString& name, const CameraRow& row, bool chosen) {
    QAction* action = to.addAction(name);
    action->setCheckable(true);
    action->setChecked(chosen);
    connect(action, &QAction::triggered, &parts_.view,
            [this, camera = row.identity] { parts_.view.lookThrough(camera); });
  };
  for (const CameraRow& row : cameraRows(*document)) {
    add(menu, row.identity ? plainLabel(row.name) : tr("Perspective (the view's own)"), row,
        row.current && !throughLight);
    if (!row.identity) menu.addSeparator();
  }
  menu.addSeparator();
  QMenu* through = menu.addMenu(icon(QStringLiteral("object-light-spot")), tr("&Light"));
  through->setEnabled(!lights.empty());
  for (const CameraRow& row : lights)
    add(*through, plainLabel(row.name), row, row.current);
  addCommands(menu, "- add.camera view.lock-camera");
}

void MainMenus::fillVariants(QMenu& menu) {
  menu.clear();
  if (!parts_.session.document()) return;
  const std::vector<std::string> names = variantNames(*parts_.session.document());
  const LONG chosen = chosenVariant(*parts_.session.document());
  for (LONG index = -1; index < static_cast<LONG>(names.size()); ++index) {
    const QString text = index < 0 ? tr("None (the file's materials)")
                                   : plainLabel(String(names[static_cast<std::size_t>(index)]));
    QAction* action = menu.addAction(text);
    action->setCheckable(true);
    action->setChecked(index == chosen);
    connect(action, &QAction::triggered, this, [this, index] {
      parts_.session.edits().apply("Material Variant",
                                   [index](BaseDocument& document) { chooseVariant(document, index); });
    });
    if (index < 0) menu.addSeparator();
  }
}

void MainMenus::fillDocks() {
  windows_->clear();
  for (QDockWidget* dock : parts_.docks)
    windows_->addAction(dock->toggleViewAction());
  const QList<DialogDock*> dialogs = parts_.dialogs.docks();
  if (!dialogs.isEmpty()) windows_->addSeparator();
  for (DialogDock* dock : dialogs) {
    QAction* action = windows_->addAction(dock->windowTitle());
    connect(action, &QAction::triggered, dock, [dock] {
      dock->show();
      dock->raise();
      dock->activateWindow();
      dock->widget()->setFocus(Qt::ShortcutFocusReason);
    });
  }
  windows_->addSeparator();
  for (const char* id : {"render.viewer", "window.picture-only", "window.reset"})
    windows_->addAction(parts_.commands.action(QLatin1String(id)));
}

void MainMenus::showViewMenu(const QPoint& at) {
  parts_.commands.refresh();
  QMenu menu(&parts_.window);
  menu.addAction(parts_.commands.action(QStringLiteral("view.frame-selected")));
  menu.addAction(parts_.commands.action(QStringLiteral("view.frame-all")));
  QMenu* cameras = menu.addMenu(icon(QStringLiteral("object-camera")), tr("Look &Through"));
  fillCameras(*cameras);
  menu.addSeparator();
  menu.addAction(parts_.commands.action(QStringLiteral("render.view")));
  menu.exec(at);
}

} // namespace host
