#include "main_commands.h"

#include "command_table.h"
#include "dialog_docks.h"
#include "editor_view_widget.h"
#include "farm_windows.h"
#include "full_picture.h"
#include "key_commands.h"
#include "key_table.h"
#include "preset_commands.h"
#include "qt_user_interface.h"
#include "queue_windows.h"
#include "scene_commands.h"
#include "scene_edits.h"
#include "session.h"
#include "theme_choice.h"
#include "tool_windows.h"
#include "window_files.h"
#include "window_layout.h"

namespace host {

namespace {

QKeySequence key(const char* name) {
  return QKeySequence(QLatin1String(name));
}

QString word(const char* text) {
  return QCoreApplication::translate("host::MainCommands", text);
}

// The intervals of File > Autosave.
void addAutosaveCommands(const MainParts& parts) {
  constexpr Milliseconds minute = 60'000;
  Autosave& autosave = parts.session.autosave();
  for (const LONG minutes : {0, 1, 2, 5, 10, 30}) {
    const QString text = minutes == 0   ? word("&Off")
                         : minutes == 1 ? word("Every Minute")
                                        : word("Every %1 Minutes").arg(minutes);
    parts.commands.add({QStringLiteral("file.autosave-%1").arg(minutes),
                        word("File"),
                        text,
                        "",
                        {},
                        [&autosave, minutes] { autosave.setPeriod(minutes * minute); },
                        {},
                        [&autosave, minutes] { return autosave.period() == minutes * minute; }});
  }
}

void addFileCommands(const MainParts& parts) {
  const QString group = word("File");
  WindowFiles& window = parts.files;
  FileSession& files = parts.session.files();
  CommandTable& table = parts.commands;
  const auto idle = [&files] { return files.activity().kind == FileSession::Activity::Kind::none; };
  table.add({"file.new", group, word("&New"), "new", {key("Ctrl+N")}, [&files] { files.newScene(); }});
  table.add(
      {"file.open", group, word("&Open..."), "open", {key("Ctrl+O")}, [&window] { window.chooseAndOpen(); }});
  table.add({"file.save", group, word("&Save"), "save", {key("Ctrl+S")}, [&files] { files.save(); }, idle});
  table.add({"file.save-as",
             group,
             word("Save &As..."),
             "save-as",
             {key("Ctrl+Shift+S")},
             [&window] { window.saveAs(); },
             idle});
  table.add({"file.save-packed",
             group,
             word("Save Pac&ked (.glb)..."),
             "",
             {},
             [&window] { window.savePacked(); },
             idle});
  table.add({"file.save-version",
             group,
             word("Save New &Version"),
             "",
             {key("Ctrl+Alt+S")},
             [&files] { files.saveNewVersion(); },
             idle});
  table.add({"file.recover",
             group,
             word("Reco&ver Scenes..."),
             "",
             {},
             [&tools = parts.tools] { tools.showRecovery(true); },
             idle});
  table.add({"file.link",
             group,
             word("Live Lin&k..."),
             "",
             {key("Ctrl+Alt+L")},
             [&tools = parts.tools, link = parts.link] { tools.showLink(*link); },
             [there = parts.link != nullptr] { return there; }});
  addAutosaveCommands(parts);
  table.add({"file.clear-recent",
             group,
             word("&Clear List"),
             "",
             {},
             [&files] { files.clearRecent(); },
             [&files] { return !files.recentFiles().empty(); }});
  table.add(
      {"file.quit", group, word("&Quit"), "", {key("Ctrl+Q")}, [&main = parts.window] { main.close(); }});
}

// The axes of handles, and the steps of drags with Ctrl.
void addChoicesOfTools(const MainParts& parts) {
  EditorViewWidget& view = parts.view;
  const auto change = [&view](const std::function<void(ToolChoices&)>& set) {
    ToolChoices choices = ToolChoices::kept();
    set(choices);
    choices.keep();
    view.update();
  };
  CommandTable& table = parts.commands;
  table.add({"tool.object-axes",
             word("Tools"),
             word("Handles Along the &Object's Axes"),
             "",
             {key("Shift+X")},
             [change] { change([](ToolChoices& choices) { choices.objectAxes = !choices.objectAxes; }); },
             {},
             [] { return ToolChoices::kept().objectAxes; }});
  for (const auto& [id, name, metres] : {std::tuple{"tool.step-1cm", word("Moves of &1 cm"), 0.01},
                                         {"tool.step-10cm", word("Moves of 1&0 cm"), 0.1},
                                         {"tool.step-1m", word("Moves of 1 &m"), 1.0}})
    table.add(
        {id,
         word("Tools"),
         name,
         "",
         {},
         [change, step = metres] { change([step](ToolChoices& choices) { choices.steps.move = step; }); },
         {},
         [step = metres] { return ToolChoices::kept().steps.move == step; }});
  for (const auto& [id, name, degrees] : {std::tuple{"tool.step-5", word("Turns of &5°"), 5.0},
                                          {"tool.step-15", word("Turns of 15&°"), 15.0},
                                          {"tool.step-45", word("Turns of &45°"), 45.0}})
    table.add(
        {id,
         word("Tools"),
         name,
         "",
         {},
         [change, step = degrees] { change([step](ToolChoices& choices) { choices.steps.turn = step; }); },
         {},
         [step = degrees] { return ToolChoices::kept().steps.turn == step; }});
}

void addListCommands(const MainParts& parts) {
  parts.commands.add({"edit.library",
                      word("Edit"),
                      word("Material Li&brary..."),
                      "material",
                      {key("Ctrl+Shift+B")},
                      [&tools = parts.tools] { tools.showLibrary(); }});
  parts.commands.add({"edit.skies",
                      word("Edit"),
                      word("S&kies..."),
                      "object-sky",
                      {key("Ctrl+Shift+K")},
                      [&tools = parts.tools] { tools.showSkies(); }});
  parts.commands.add({"edit.lights",
                      word("Edit"),
                      word("&Lights..."),
                      "object-light-point",
                      {key("Ctrl+Shift+L")},
                      [&tools = parts.tools] { tools.showLights(); }});
  parts.commands.add({"edit.missing",
                      word("Edit"),
                      word("M&issing Files..."),
                      "warning",
                      {key("Ctrl+Shift+M")},
                      [&tools = parts.tools] { tools.showMissingFiles(); }});
}

// The lock of the camera that the view looks through; nothing where that is the view's own.
std::optional<bool> cameraLock(const Session& session) {
  const BaseDocument* document = session.document();
  const Identity camera = document ? viewCamera(*document) : 0;
  if (!camera) return std::nullopt;
  return isCameraLocked(*document, camera);
}

void addCameraCommands(const MainParts& parts) {
  CommandTable& table = parts.commands;
  Session& session = parts.session;
  table.add({"add.camera",
             word("Add"),
             word("&Camera from View"),
             "object-camera",
             {},
             [&session, &view = parts.view] {
               Identity camera = 0;
               session.edits().apply("Add Camera from View", [&camera](BaseDocument& document) {
                 camera = newObject(document, Ocamera, document.GetActiveBaseDraw());
               });
               view.lookThrough(camera);
             }});
  table.add({"view.lock-camera",
             word("View"),
             word("Loc&k Camera"),
             "lock",
             {},
             [&session] {
               const Identity camera = viewCamera(*session.document());
               const bool lock = !isCameraLocked(*session.document(), camera);
               session.edits().apply(
                   lock ? "Lock Camera" : "Unlock Camera",
                   [camera, lock](BaseDocument& document) { lockCamera(document, camera, lock); });
             },
             [&session] { return cameraLock(session).has_value(); },
             [&session] { return cameraLock(session).value_or(false); }});
}

void addViewCommands(const MainParts& parts) {
  const QString group = word("View");
  EditorViewWidget& view = parts.view;
  CommandTable& table = parts.commands;
  table.add({"view.frame-selected", group, word("Frame &Selected"), "frame-selected", {key("S")}, [&view] {
               view.view().frameSelected();
             }});
  table.add({"view.frame-all", group, word("Frame &All"), "frame-all", {key("H")}, [&view] {
               view.view().frameAll();
             }});
  const struct {
    const char* id;
    QString name;
    const char *icon, *key;
    ViewTool tool;
  } tools[] = {{"tool.select", word("Se&lect"), "", "Q", ViewTool::select},
               {"tool.move", word("&Move"), "move", "E", ViewTool::move},
               {"tool.turn", word("&Turn"), "rotate", "R", ViewTool::turn},
               {"tool.scale", word("S&cale"), "scale", "T", ViewTool::scale}};
  for (const auto& tool : tools)
    table.add({tool.id,
               word("Tools"),
               tool.name,
               tool.icon,
               {key(tool.key)},
               [&view, kind = tool.tool] {
                 const bool again = view.tool() == kind;
                 view.setTool(again ? ViewTool::select : kind);
               },
               {},
               [&view, kind = tool.tool] { return view.tool() == kind; }});
  addChoicesOfTools(parts);
  table.add({"tool.focus",
             word("Tools"),
             word("Pick &Focus"),
             "focus",
             {key("F")},
             [&view] { view.setTool(view.tool() == ViewTool::focus ? ViewTool::select : ViewTool::focus); },
             [&session = parts.session] { return session.document() && chosenCamera(*session.document()); },
             [&view] { return view.tool() == ViewTool::focus; }});
}

void addTimeCommands(const MainParts& parts) {
  const QString group = word("Time");
  Playback& playback = parts.session.playback();
  CommandTable& table = parts.commands;
  table.add({"time.play",
             group,
             word("&Play"),
             "play",
             {key("Space")},
             [&playback] { playback.toggle(); },
             {},
             {},
             [&playback] { return playback.isPlaying() ? word("S&top") : word("&Play"); }});
  const struct {
    const char* id;
    QString name;
    const char *icon, *key;
    std::function<void()> run;
  } moves[] = {
      {"time.previous", word("P&revious Frame"), "previous", "Left", [&playback] { playback.step(-1); }},
      {"time.next", word("&Next Frame"), "next", "Right", [&playback] { playback.step(1); }},
      {"time.first", word("&First Frame"), "first", "Ctrl+Left", [&playback] { playback.goToFirst(); }},
      {"time.last", word("&Last Frame"), "last", "Ctrl+Right", [&playback] { playback.goToLast(); }}};
  for (const auto& move : moves)
    table.add({move.id, group, move.name, move.icon, {key(move.key)}, move.run});
}

// Renders at the size of the view's frame on this screen.
void renderView(Session& session, const EditorViewWidget& view) {
  const QSizeF size = QSizeF(view.frameRect().size()) * view.devicePixelRatioF();
  session.renders().renderView(static_cast<LONG>(size.width()), static_cast<LONG>(size.height()));
}

void addRenderCommands(const MainParts& parts) {
  const QString group = word("Render");
  HostRenders& renders = parts.session.renders();
  ToolWindows& tools = parts.tools;
  CommandTable& table = parts.commands;
  table.add({"render.view",
             group,
             word("Render &View"),
             "render-view",
             {key("Ctrl+R")},
             [&session = parts.session, &view = parts.view] { renderView(session, view); }});
  table.add({"render.picture",
             group,
             word("Render to &Frame Buffer"),
             "render",
             {key("Shift+R")},
             [&renders, &tools] {
               if (renders.renderPicture()) tools.showFrameBuffer();
             }});
  table.add(
      {"render.more",
       group,
       word("&More Samples"),
       "",
       {key("Shift+M")},
       [&renders] {
         if (const SharedBitmap last = renders.state().bitmap) renders.moreSamples(*last);
       },
       [&renders] { return !renders.isRunning() && renders.hasSamples(renders.state().bitmap.get()); }});
  table.add({"render.stop",
             group,
             word("&Stop Rendering"),
             "stop",
             {key("Ctrl+.")},
             [&renders] { renders.cancel(); },
             [&renders] { return renders.isRunning(); }});
  table.add(
      {"render.settings", group, word("Render S&ettings..."), "render-settings", {key("Ctrl+B")}, [&tools] {
         tools.showRenderSettings();
       }});
  table.add({"render.viewer", group, word("Frame &Buffer"), "picture", {key("Shift+F6")}, [&tools] {
               tools.showFrameBuffer();
             }});
}

void addFarmCommands(const MainParts& parts) {
  ToolWindows& tools = parts.tools;
  parts.commands.add({"render.animation",
                      word("Render"),
                      word("Render A&nimation..."),
                      "",
                      {key("Ctrl+Alt+A")},
                      [&tools] { tools.queue().showDialog(); },
                      [&session = parts.session] { return session.document() != nullptr; }});
  parts.commands.add(
      {"render.queue", word("Render"), word("Render &Queue..."), "", {key("Ctrl+J")}, [&tools] {
         tools.queue().showQueue();
       }});
  parts.commands.add({"render.farm",
                      word("Render"),
                      word("Render on the F&arm..."),
                      "",
                      {key("Ctrl+Alt+R")},
                      [&tools] { tools.farm().showDialog(); },
                      [&session = parts.session] { return session.document() != nullptr; }});
  parts.commands.add(
      {"render.farm-jobs", word("Render"), word("Farm &Jobs..."), "", {key("Ctrl+Alt+J")}, [&tools] {
         tools.farm().showJobs();
       }});
}

// Shows the picture of the focused dialog alone on the screen, else the editor view; leaves the full screen
// when the editor view fills it.
void togglePicture(const MainParts& parts) {
  AreaWidget* area = parts.layout.isPictureOnly() ? nullptr : parts.dialogs.focusedPicture();
  if (area)
    new FullPicture(*area, &parts.window);
  else
    parts.layout.setPictureOnly(!parts.layout.isPictureOnly());
}

void addThemeCommands(CommandTable& table) {
  const struct {
    const char* id;
    QString text;
    std::optional<Theme> theme;
  } themes[] = {{"view.theme-desktop", word("As the &Desktop"), {}},
                {"view.theme-dark", word("D&ark"), Theme::dark},
                {"view.theme-light", word("&Light"), Theme::light}};
  for (const auto& one : themes)
    table.add({one.id,
               word("View"),
               one.text,
               "",
               {},
               [theme = one.theme] { chooseTheme(theme); },
               {},
               [theme = one.theme] { return storedTheme() == theme; }});
}

void addWindowCommands(const MainParts& parts) {
  const QString group = word("Window"), help = word("Help");
  WindowLayout& layout = parts.layout;
  ToolWindows& tools = parts.tools;
  CommandTable& table = parts.commands;
  table.add({"window.picture-only",
             group,
             word("&Full Screen Picture"),
             "fullscreen",
             {key("F11")},
             [parts] { togglePicture(parts); },
             {},
             [&layout] { return layout.isPictureOnly(); }});
  table.add({"window.reset", group, word("&Reset Layout"), "layout", {}, [&layout] { layout.reset(); }});
  table.add({"help.manual",
             help,
             word("&Manual"),
             "help",
             {key("F1")},
             [&ui = parts.ui, manual = parts.manual] { ui.openFile(manual); },
             [there = parts.manual.Content() != 0] { return there; }});
  table.add({"help.search", help, word("Search &Commands..."), "search", {key("Ctrl+Shift+P")}, [&tools] {
               tools.showPalette();
             }});
  table.add({"help.tour", help, word("Show the &Tour"), "", {}, [&tools] { tools.showTour(); }});
  table.add({"help.shortcuts", help, word("&Shortcuts"), "keyboard", {key("Ctrl+/")}, [&tools] {
               tools.showShortcuts();
             }});
  table.add(
      {"help.about", help, word("&About Lumenara Studio"), "info", {}, [&tools] { tools.showAbout(); }});
}

void addGestures(CommandTable& table) {
  const QString view = word("Editor View"), dialogs = word("Plug-in Dialogs"), fields = word("Number Fields"),
                frame = word("Frame Buffer");
  const Gesture gestures[] = {
      {view, word("Alt + left button, or 1 + left"), word("Orbit")},
      {view, word("Alt + middle button, or 2 + left"), word("Pan")},
      {view, word("Alt + right button, or 3 + left"), word("Dolly")},
      {view, word("Wheel"), word("Dolly towards the pointer")},
      {view, word("Click"), word("Select")},
      {view, word("Shift or Ctrl + click"), word("Add to the selection, or take out")},
      {view, word("Drag with the select tool"),
       word("Select what has a point in the box; with Shift or Ctrl add it")},
      {view, word("Drag on a selected object"), word("Use the active tool")},
      {view, word("Click with Pick Focus"),
       word("Set the focus distance of the selected camera, or of the view's")},
      {view, word("Right click"), word("Menu of the view")},
      {view, word("Escape"), word("Take back what the mouse does")},
      {frame, word("Wheel"), word("Zoom at the pointer")},
      {frame, word("Drag with the left or the middle button"), word("Move the picture")},
      {frame, word("Double click"), word("The whole picture, or one to one")},
      {frame, word("Shift + drag"), word("Mean, least and most of a rectangle; Escape ends it")},
      {frame, word("Click"), word("Select the object")},
      {frame, word("Alt + click"), word("Select the material")},
      {frame, word("Ctrl + drag"), word("Drag the picture to another program")},
      {dialogs, word("F10"), word("Open the dialog's menus")},
      {dialogs, word("Ctrl+W"), word("Close the dialog")},
      {fields, word("Drag sideways"), word("Change the value")},
      {fields, word("Up, Down or wheel"), word("Step; Shift ten times, Ctrl a tenth")},
      {fields, word("Enter, Escape"), word("Take over, take back")},
  };
  for (const Gesture& gesture : gestures)
    table.add(gesture);
}

} // namespace

void addMainCommands(const MainParts& parts) {
  addFileCommands(parts);
  addSceneCommands(parts);
  addListCommands(parts);
  addCameraCommands(parts);
  addKeyCommands(parts);
  addViewCommands(parts);
  addTimeCommands(parts);
  addRenderCommands(parts);
  addFarmCommands(parts);
  addPresetCommands(parts.commands);
  addWindowCommands(parts);
  addThemeCommands(parts.commands);
  addGestures(parts.commands);
  parts.commands.keys().complete({});
}

} // namespace host
