// The main window's commands, menus and tool bar.
#include "about_dialog.h"
#include "attribute_manager.h"
#include "console_widget.h"
#include "editor_view_widget.h"
#include "icons.h"
#include "main_window.h"
#include "material_manager.h"
#include "object_manager.h"
#include "picture_viewer.h"
#include "plugin_registry.h"
#include "qt_user_interface.h"
#include "render_settings_dialog.h"
#include "scene_edits.h"
#include "scene_queries.h"
#include "shortcuts_dialog.h"
#include "theme.h"

namespace host {

namespace {

QString text(const String& string) {
  return QString::fromStdString(string.GetUTF8());
}

QIcon commandIcon(const BaseBitmap* bitmap) {
  if (!bitmap || bitmap->GetBw() < 1) return {};
  QImage image(bitmap->GetBw(), bitmap->GetBh(), QImage::Format_ARGB32);
  for (int y = 0; y < image.height(); ++y) {
    auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
    for (int x = 0; x < image.width(); ++x) {
      UWORD r = 0, g = 0, b = 0;
      bitmap->GetPixel(x, y, &r, &g, &b);
      line[x] = qRgba(r, g, b, bitmap->GetAlpha(x, y));
    }
  }
  return QIcon(QPixmap::fromImage(image));
}

QKeySequence key(const char* name) {
  return QKeySequence(QLatin1String(name));
}

} // namespace

void MainWindow::fillTable() {
  fileCommands();
  editCommands();
  viewCommands();
  renderCommands();
  windowCommands();
  gestures();
}

void MainWindow::fileCommands() {
  const QString group = tr("File");
  FileSession& files = session_.files();
  const auto idle = [&files] { return files.activity().kind == FileSession::Activity::Kind::none; };
  commands_->add({"file.new", group, tr("&New"), "new", {key("Ctrl+N")}, [&files] { files.newScene(); }});
  commands_->add({"file.open", group, tr("&Open..."), "open", {key("Ctrl+O")}, [this] { chooseAndOpen(); }});
  commands_->add(
      {"file.save", group, tr("&Save"), "save", {key("Ctrl+S")}, [&files] { files.save(); }, idle});
  commands_->add({"file.save-as",
                  group,
                  tr("Save &As..."),
                  "save-as",
                  {key("Ctrl+Shift+S")},
                  [this] { saveAs(); },
                  idle});
  commands_->add(
      {"file.save-packed", group, tr("Save Pac&ked (.glb)..."), "", {}, [this] { savePacked(); }, idle});
  commands_->add({"file.clear-recent",
                  group,
                  tr("&Clear List"),
                  "",
                  {},
                  [&files] { files.clearRecent(); },
                  [&files] { return !files.recentFiles().empty(); }});
  commands_->add({"file.quit", group, tr("&Quit"), "", {key("Ctrl+Q")}, [this] { close(); }});
}

void MainWindow::editCommands() {
  const QString group = tr("Edit");
  Edits& edits = session_.edits();
  const auto has = [this] { return session_.document() && !selectedObjects(*session_.document()).empty(); };
  const auto label = [](const QString& word, const String& name) {
    return name.Content() ? QStringLiteral("%1 %2").arg(word, text(name)) : word;
  };
  commands_->add({"edit.undo",
                  group,
                  tr("&Undo"),
                  "undo",
                  {key("Ctrl+Z")},
                  [&edits] { edits.undo(); },
                  [&edits] { return edits.canUndo(); },
                  {},
                  [&edits, label] { return label(tr("&Undo"), edits.undoName()); }});
  commands_->add({"edit.redo",
                  group,
                  tr("&Redo"),
                  "redo",
                  {key("Ctrl+Shift+Z"), key("Ctrl+Y")},
                  [&edits] { edits.redo(); },
                  [&edits] { return edits.canRedo(); },
                  {},
                  [&edits, label] { return label(tr("&Redo"), edits.redoName()); }});
  commands_->add({"edit.rename", group, tr("Re&name"), "rename", {key("F2")}, [this] {
                    if (materials_->isAncestorOf(QApplication::focusWidget()))
                      return materials_->renameSelected();
                    objectsDock_->show();
                    objects_->renameSelected();
                  }});
  commands_->add({"edit.duplicate",
                  group,
                  tr("D&uplicate"),
                  "duplicate",
                  {key("Ctrl+D")},
                  [this] {
                    withSelection("Duplicate", [](BaseDocument& document) {
                      duplicateObjects(document, selectedObjects(document));
                    });
                  },
                  has});
  commands_->add({"edit.group",
                  group,
                  tr("&Group"),
                  "object-group",
                  {key("Ctrl+G")},
                  [this] {
                    withSelection("Group", [](BaseDocument& document) {
                      groupObjects(document, selectedObjects(document));
                    });
                  },
                  has});
  commands_->add({"edit.delete", group, tr("&Delete"), "delete", {key("Del")}, [this] {
                    if (materials_->isAncestorOf(QApplication::focusWidget()))
                      return materials_->deleteSelected();
                    objects_->deleteSelected();
                  }});
  commands_->add(
      {"edit.select-all", group, tr("Select &All"), "", {key("Ctrl+A")}, [this] { selectAll(true); }});
  commands_->add({"edit.select-none",
                  group,
                  tr("Select &None"),
                  "",
                  {key("Ctrl+Shift+A")},
                  [this] { selectAll(false); },
                  has});
  const struct {
    const char* id;
    QString name;
    const char* icon;
    LONG type;
  } kinds[] = {{"add.null", tr("&Null"), "object-null", Onull},
               {"add.camera", tr("&Camera from View"), "object-camera", Ocamera},
               {"add.floor", tr("&Floor"), "object-floor", Ofloor},
               {"add.sky", tr("S&ky"), "object-sky", Osky},
               {"add.subdivision", tr("Subdivision S&urface"), "object-subdivision", Osds}};
  for (const auto& kind : kinds)
    commands_->add({kind.id, tr("Add"), kind.name, kind.icon, {}, [this, type = kind.type, name = kind.name] {
                      create(type, name);
                    }});
  const struct {
    const char* id;
    QString name;
    const char* icon;
    LONG kind;
  } lights[] = {{"add.light", tr("&Light"), "object-light-point", 0},
                {"add.spot", tr("&Spot Light"), "object-light-spot", 1},
                {"add.distant", tr("&Distant Light"), "object-light-distant", 2}};
  for (const auto& light : lights)
    commands_->add(
        {light.id, tr("Add"), light.name, light.icon, {}, [this, kind = light.kind, name = light.name] {
           createLight(kind, name);
         }});
  commands_->add({"add.material", tr("Add"), tr("&Material"), "material", {}, [this] {
                    session_.edits().apply("New Material",
                                           [](BaseDocument& document) { newMaterial(document); });
                  }});
}

void MainWindow::viewCommands() {
  const QString group = tr("View"), time = tr("Time");
  commands_->add({"view.frame-selected", group, tr("Frame &Selected"), "frame-selected", {key("S")}, [this] {
                    view_->view().frameSelected();
                  }});
  commands_->add({"view.frame-all", group, tr("Frame &All"), "frame-all", {key("H")}, [this] {
                    view_->view().frameAll();
                  }});
  const struct {
    const char* id;
    QString name;
    const char *icon, *key;
    ViewTool tool;
  } tools[] = {{"tool.select", tr("Se&lect"), "", "Q", ViewTool::select},
               {"tool.move", tr("&Move"), "move", "E", ViewTool::move},
               {"tool.turn", tr("&Turn"), "rotate", "R", ViewTool::turn},
               {"tool.scale", tr("S&cale"), "scale", "T", ViewTool::scale}};
  for (const auto& tool : tools)
    commands_->add({tool.id,
                    tr("Tools"),
                    tool.name,
                    tool.icon,
                    {key(tool.key)},
                    [this, kind = tool.tool] {
                      const bool again = view_->tool() == kind;
                      view_->setTool(again ? ViewTool::select : kind);
                    },
                    {},
                    [this, kind = tool.tool] { return view_->tool() == kind; }});
  Playback& playback = session_.playback();
  commands_->add({"time.play",
                  time,
                  tr("&Play"),
                  "play",
                  {key("Space")},
                  [&playback] { playback.toggle(); },
                  {},
                  {},
                  [&playback] { return playback.isPlaying() ? tr("S&top") : tr("&Play"); }});
  commands_->add({"time.previous", time, tr("P&revious Frame"), "previous", {key("Left")}, [&playback] {
                    playback.step(-1);
                  }});
  commands_->add(
      {"time.next", time, tr("&Next Frame"), "next", {key("Right")}, [&playback] { playback.step(1); }});
  commands_->add({"time.first", time, tr("&First Frame"), "first", {key("Ctrl+Left")}, [&playback] {
                    playback.goToFirst();
                  }});
  commands_->add({"time.last", time, tr("&Last Frame"), "last", {key("Ctrl+Right")}, [&playback] {
                    playback.goToLast();
                  }});
}

void MainWindow::renderCommands() {
  const QString group = tr("Render");
  HostRenders& renders = session_.renders();
  commands_->add({"render.view", group, tr("Render &View"), "render-view", {key("Ctrl+R")}, [this] {
                    const double ratio = view_->devicePixelRatioF();
                    const QSizeF size = QSizeF(view_->frameRect().size()) * ratio;
                    session_.renders().renderView(static_cast<LONG>(size.width()),
                                                  static_cast<LONG>(size.height()));
                  }});
  commands_->add(
      {"render.picture", group, tr("Render to &Picture Viewer"), "render", {key("Shift+R")}, [this] {
         if (session_.renders().renderPicture()) showPictureViewer();
       }});
  commands_->add({"render.stop",
                  group,
                  tr("&Stop Rendering"),
                  "stop",
                  {key("Ctrl+.")},
                  [&renders] { renders.cancel(); },
                  [&renders] { return renders.isRunning(); }});
  commands_->add(
      {"render.settings", group, tr("Render S&ettings..."), "render-settings", {key("Ctrl+B")}, [this] {
         showRenderSettings();
       }});
  commands_->add({"render.viewer", group, tr("Picture Vie&wer"), "picture", {key("Shift+F6")}, [this] {
                    showPictureViewer();
                  }});
}

void MainWindow::windowCommands() {
  const QString window = tr("Window"), help = tr("Help");
  commands_->add({"window.picture-only",
                  window,
                  tr("&Full Screen Picture"),
                  "fullscreen",
                  {key("F11")},
                  [this] { togglePicture(); },
                  {},
                  [this] { return pictureOnly_; }});
  commands_->add({"window.reset", window, tr("&Reset Layout"), "layout", {}, [this] { resetLayout(); }});
  commands_->add({"help.manual",
                  help,
                  tr("&Manual"),
                  "help",
                  {key("F1")},
                  [this] { ui_.openFile(options_.manual); },
                  [this] { return options_.manual.Content() != 0; }});
  commands_->add(
      {"help.shortcuts", help, tr("&Shortcuts"), "keyboard", {key("Ctrl+/")}, [this] { showShortcuts(); }});
  commands_->add({"help.about", help, tr("&About Lumenara Studio"), "info", {}, [this] {
                    auto* about = new AboutDialog(this);
                    about->setAttribute(Qt::WA_DeleteOnClose);
                    about->open();
                  }});
}

void MainWindow::gestures() {
  const QString group = tr("Editor View");
  const std::pair<QString, QString> rows[] = {
      {tr("Alt + left button, or 1 + left"), tr("Orbit")},
      {tr("Alt + middle button, or 2 + left"), tr("Pan")},
      {tr("Alt + right button, or 3 + left"), tr("Dolly")},
      {tr("Wheel"), tr("Dolly towards the pointer")},
      {tr("Click"), tr("Select")},
      {tr("Shift or Ctrl + click"), tr("Add to the selection, or take out")},
      {tr("Drag with the select tool"), tr("Select what has a point in the box; with Shift or Ctrl add it")},
      {tr("Drag on a selected object"), tr("Use the active tool")},
      {tr("Right click"), tr("Menu of the view")},
      {tr("Escape"), tr("Take back what the mouse does")},
  };
  for (const auto& [keys, what] : rows)
    commands_->add(Gesture{group, keys, what});
  const QString dialogs = tr("Plug-in Dialogs");
  commands_->add(Gesture{dialogs, tr("F10"), tr("Open the dialog's menus")});
  commands_->add(Gesture{dialogs, tr("Ctrl+W"), tr("Close the dialog")});
  const QString fields = tr("Number Fields");
  commands_->add(Gesture{fields, tr("Drag sideways"), tr("Change the value")});
  commands_->add(Gesture{fields, tr("Up, Down or wheel"), tr("Step; Shift ten times, Ctrl a tenth")});
  commands_->add(Gesture{fields, tr("Enter, Escape"), tr("Take over, take back")});
}

// --- menus ---

void MainWindow::buildMenus() {
  const auto fill = [this](QMenu* menu, const char* list) {
    for (const QString& id : QString::fromLatin1(list).split(QLatin1Char(' ')))
      if (id == QLatin1String("-"))
        menu->addSeparator();
      else
        menu->addAction(commands_->action(id));
    connect(menu, &QMenu::aboutToShow, commands_, &CommandTable::refresh);
  };
  QMenu* file = menuBar()->addMenu(tr("&File"));
  fill(file, "file.new file.open");
  recentMenu_ = file->addMenu(tr("Open &Recent"));
  recentMenu_->setObjectName(QStringLiteral("menu-recent"));
  connect(recentMenu_, &QMenu::aboutToShow, this, &MainWindow::fillRecent);
  fill(file, "- file.save file.save-as file.save-packed - file.quit");

  QMenu* edit = menuBar()->addMenu(tr("&Edit"));
  fill(edit, "edit.undo edit.redo - edit.rename edit.duplicate edit.group edit.delete - edit.select-all "
             "edit.select-none -");
  QMenu* add = edit->addMenu(tr("A&dd"));
  fill(add, "add.null add.camera - add.light add.spot add.distant - add.floor add.sky add.subdivision - "
            "add.material");

  QMenu* view = menuBar()->addMenu(tr("&View"));
  fill(view, "view.frame-selected view.frame-all");
  camerasMenu_ = view->addMenu(icon(QStringLiteral("object-camera")), tr("Look &Through"));
  camerasMenu_->setObjectName(QStringLiteral("menu-cameras"));
  connect(camerasMenu_, &QMenu::aboutToShow, this, [this] { fillCameras(*camerasMenu_); });
  fill(view, "- tool.select tool.move tool.turn tool.scale - time.play time.previous time.next time.first "
             "time.last");

  fill(menuBar()->addMenu(tr("&Render")),
       "render.view render.picture render.stop - render.settings render.viewer");
  pluginsMenu_ = menuBar()->addMenu(tr("&Plugins"));
  pluginsMenu_->setObjectName(QStringLiteral("menu-plugins"));
  pluginsMenu_->setToolTipsVisible(true);
  connect(pluginsMenu_, &QMenu::aboutToShow, this, &MainWindow::fillPlugins);

  windowMenu_ = menuBar()->addMenu(tr("&Window"));
  windowMenu_->setObjectName(QStringLiteral("menu-window"));
  connect(windowMenu_, &QMenu::aboutToShow, this, &MainWindow::fillDocks);
  fillDocks();
  fill(menuBar()->addMenu(tr("&Help")), "help.manual help.shortcuts - help.about");
  fillPlugins();
  fillRecent();
  commands_->refresh();
}

void MainWindow::buildToolBar() {
  toolBar_ = addToolBar(tr("Tools"));
  toolBar_->setObjectName(QStringLiteral("tools"));
  toolBar_->setIconSize(QSize(metrics::icon, metrics::icon));
  for (const char* id : {"file.open", "file.save", "-", "edit.undo", "edit.redo", "-", "tool.move",
                         "tool.turn", "tool.scale", "-", "render.view", "render.picture", "render.settings"})
    if (*id == '-')
      toolBar_->addSeparator();
    else
      toolBar_->addAction(commands_->action(QLatin1String(id)));
  for (QToolButton* button : toolBar_->findChildren<QToolButton*>())
    if (button->defaultAction()) {
      button->setObjectName(QStringLiteral("button-") + button->defaultAction()->objectName());
      button->setAccessibleName(button->defaultAction()->text().remove(QLatin1Char('&')));
      button->setFocusPolicy(Qt::NoFocus);
    }
}

void MainWindow::fillRecent() {
  recentMenu_->clear();
  for (const Filename& file : session_.files().recentFiles()) {
    QAction* action =
        recentMenu_->addAction(text(file.GetFileString()).replace(QLatin1Char('&'), QStringLiteral("&&")));
    action->setToolTip(text(file.GetString()));
    connect(
        action, &QAction::triggered, this,
        [this, file] {
          userLoads_ = session_.files().openRecent(file);
          showActivity();
        },
        Qt::QueuedConnection);
  }
  recentMenu_->setToolTipsVisible(true);
  if (recentMenu_->isEmpty()) recentMenu_->addAction(tr("No files yet"))->setEnabled(false);
  recentMenu_->addSeparator();
  recentMenu_->addAction(commands_->action(QStringLiteral("file.clear-recent")));
}

void MainWindow::pluginsStarted() {
  fillPlugins();
}

void MainWindow::fillPlugins() {
  pluginsMenu_->clear();
  PluginRegistry* registry = pluginRegistry();
  if (registry && !down_) {
    for (const CommandEntry* entry : registry->commands()) {
      const LONG id = entry->id;
      const LONG state = registry->state(id, session_.document());
      QAction* action = pluginsMenu_->addAction(
          commandIcon(entry->icon), text(entry->name).replace(QLatin1Char('&'), QStringLiteral("&&")));
      action->setObjectName(QStringLiteral("plugin-%1").arg(id));
      action->setToolTip(text(entry->help));
      action->setCheckable((state & CMD_VALUE) != 0);
      action->setChecked((state & CMD_VALUE) != 0);
      action->setEnabled((state & CMD_ENABLED) != 0);
      connect(
          action, &QAction::triggered, this,
          [this, id] {
            if (!down_ && !view_->view().inDrag()) session_.runCommand(id);
          },
          Qt::QueuedConnection);
    }
  }
  if (pluginsMenu_->isEmpty()) pluginsMenu_->addAction(tr("No plug-ins are loaded"))->setEnabled(false);
}

void MainWindow::fillCameras(QMenu& menu) {
  menu.clear();
  if (!session_.document()) return;
  for (const CameraRow& row : cameraRows(*session_.document())) {
    QAction* action = menu.addAction(row.identity ? text(row.name) : tr("Perspective (the view's own)"));
    action->setCheckable(true);
    action->setChecked(row.current);
    connect(action, &QAction::triggered, this, [this, camera = row.identity] { view_->lookThrough(camera); });
    if (!row.identity) menu.addSeparator();
  }
}

void MainWindow::fillDocks() {
  windowMenu_->clear();
  for (QDockWidget* dock : {objectsDock_, materialsDock_, attributesDock_, consoleDock_})
    windowMenu_->addAction(dock->toggleViewAction());
  const QList<DialogDock*> dialogs = findChildren<DialogDock*>();
  if (!dialogs.isEmpty()) windowMenu_->addSeparator();
  for (DialogDock* dock : dialogs) {
    QAction* action = windowMenu_->addAction(dock->windowTitle());
    connect(action, &QAction::triggered, dock, [dock] {
      dock->show();
      dock->raise();
      dock->activateWindow();
      dock->widget()->setFocus(Qt::ShortcutFocusReason);
    });
  }
  windowMenu_->addSeparator();
  for (const char* id : {"render.viewer", "window.picture-only", "window.reset"})
    windowMenu_->addAction(commands_->action(QLatin1String(id)));
}

void MainWindow::showViewMenu(const QPoint& at) {
  commands_->refresh();
  QMenu menu(this);
  menu.addAction(commands_->action(QStringLiteral("view.frame-selected")));
  menu.addAction(commands_->action(QStringLiteral("view.frame-all")));
  QMenu* cameras = menu.addMenu(icon(QStringLiteral("object-camera")), tr("Look &Through"));
  fillCameras(*cameras);
  menu.addSeparator();
  menu.addAction(commands_->action(QStringLiteral("render.view")));
  menu.exec(at);
}

// --- what commands do ---

void MainWindow::chooseAndOpen() {
  FileRequest request;
  request.type = FILESELECTTYPE_SCENES;
  request.mode = FILESELECT_LOAD;
  request.title = "Open Scene";
  request.start = session_.files().file();
  Filename file;
  if (ui_.selectFile(request, file)) openFile(file);
}

void MainWindow::saveAs() {
  FileRequest request;
  request.type = FILESELECTTYPE_SCENES;
  request.mode = FILESELECT_SAVE;
  request.title = "Save Scene";
  request.start = session_.files().file();
  if (!request.start.Content()) request.start = Filename("Untitled.glb");
  Filename file;
  if (!ui_.selectFile(request, file)) return;
  if (!file.GetSuffix().Content()) file.SetSuffix("glb");
  session_.files().saveAs(file);
}

void MainWindow::savePacked() {
  FileRequest request;
  request.type = FILESELECTTYPE_SCENES;
  request.mode = FILESELECT_SAVE;
  request.title = "Save Packed Scene";
  request.forceSuffix = "glb";
  request.start = session_.files().file();
  if (!request.start.Content()) request.start = Filename("Untitled.glb");
  request.start.SetSuffix("glb");
  if (Filename file; ui_.selectFile(request, file)) session_.files().savePacked(file);
}

void MainWindow::withSelection(const char* name, const std::function<void(BaseDocument&)>& change) {
  if (session_.document() && !selectedObjects(*session_.document()).empty())
    session_.edits().apply(name, change);
}

void MainWindow::selectAll(bool all) {
  BaseDocument* document = session_.document();
  if (!document) return;
  bool different = false;
  {
    const DocumentEdit edit(*document);
    Identities objects;
    if (all)
      for (const ObjectRow& row : objectRows(*document))
        objects.push_back(row.identity);
    different = selectObjects(*document, objects);
  }
  if (different) session_.hub().tellSelection();
}

void MainWindow::create(LONG type, const QString& name) {
  const String step((tr("Add ") + QString(name).remove(QLatin1Char('&'))).toStdString().c_str());
  session_.edits().apply(
      step, [type](BaseDocument& document) { newObject(document, type, document.GetActiveBaseDraw()); });
}

void MainWindow::createLight(LONG kind, const QString& name) {
  const String step((tr("Add ") + QString(name).remove(QLatin1Char('&'))).toStdString().c_str());
  session_.edits().apply(step, [kind](BaseDocument& document) { newLight(document, kind); });
}

void MainWindow::showRenderSettings() {
  if (!settings_) {
    settings_ = new RenderSettingsDialog(session_, this);
    connect(settings_, &RenderSettingsDialog::renderWanted,
            commands_->action(QStringLiteral("render.picture")), &QAction::trigger);
  }
  settings_->show();
  settings_->raise();
  settings_->activateWindow();
}

void MainWindow::showShortcuts() {
  if (!shortcuts_) shortcuts_ = new ShortcutsDialog(*commands_, this);
  shortcuts_->show();
  shortcuts_->raise();
  shortcuts_->activateWindow();
}

} // namespace host
