// The table of commands, menus, tool bar, and the effects of commands.
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QMenuBar>
#include <QSet>
#include <QSlider>
#include <QToolBar>
#include <QToolButton>

#include "about_dialog.h"
#include "editor_view_widget.h"
#include "main_kit.h"
#include "plugin_registry.h"
#include "qt_text.h"
#include "scene_edits.h"
#include "scene_queries.h"
#include "status_widget.h"
#include "variants.h"

namespace {

using host::Identity;

class TestCommand final : public CommandData {
 public:
  explicit TestCommand(int* runs, LONG state = CMD_ENABLED) : runs_(runs), state_(state) {}
  Bool Execute(BaseDocument* document) override { return ++*runs_, document != nullptr; }
  LONG GetState(BaseDocument* /*document*/) override { return state_; }

 private:
  int* runs_;
  LONG state_;
};

class MainCommands : public StudioTest {
 protected:
  MainCommands() { startStudio(); }

  QStringList entries(QMenu& menu) {
    emit menu.aboutToShow();
    QStringList texts;
    for (const QAction* action : menu.actions())
      if (!action->isSeparator()) texts.push_back(QString(action->text()).remove(QLatin1Char('&')));
    return texts;
  }
  QMenu& menu(const char* title) {
    for (QAction* action : window().menuBar()->actions())
      if (QString(action->text()).remove(QLatin1Char('&')) == QLatin1String(title)) return *action->menu();
    throw std::runtime_error(title);
  }
  Identity add(const char* name) {
    Identity made = 0;
    session().edits().apply("Add", [&](BaseDocument& document) {
      made = host::newObject(document, Onull);
      host::renameNode(document, made, name);
    });
    settle();
    return made;
  }
  std::vector<std::string> names() {
    std::vector<std::string> all;
    for (const host::ObjectRow& row : host::objectRows(document()))
      all.push_back(row.name.GetUTF8());
    return all;
  }
  void press(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QTest::keyClick(&window().viewWidget(), static_cast<Qt::Key>(key), modifiers);
    settle();
  }
};

TEST_F(MainCommands, MenusStandInTheirOrder) {
  QStringList titles;
  for (const QAction* action : window().menuBar()->actions())
    titles.push_back(QString(action->text()).remove(QLatin1Char('&')));
  EXPECT_EQ(titles, QStringList({"File", "Edit", "View", "Render", "Plugins", "Window", "Help"}));
}

TEST_F(MainCommands, NoKeyIsGivenTwice) {
  EXPECT_EQ(window().commands().duplicateKeys(), QStringList());
  // The check itself finds one.
  window().commands().add({"test.twice", "Test", "Twice", "", {QKeySequence("Ctrl+S")}, [] {}});
  EXPECT_EQ(window().commands().duplicateKeys(), QStringList("Ctrl+S"));
}

TEST_F(MainCommands, KeysThatPeopleExpectAreThere) {
  const std::pair<const char*, const char*> keys[] = {
      {"file.open", "Ctrl+O"},   {"file.save", "Ctrl+S"},       {"file.save-as", "Ctrl+Shift+S"},
      {"edit.undo", "Ctrl+Z"},   {"edit.redo", "Ctrl+Shift+Z"}, {"edit.delete", "Del"},
      {"edit.rename", "F2"},     {"view.frame-selected", "S"},  {"view.frame-all", "H"},
      {"render.view", "Ctrl+R"}, {"render.picture", "Shift+R"}, {"time.play", "Space"},
      {"time.previous", "Left"}, {"time.next", "Right"},        {"window.picture-only", "F11"}};
  for (const auto& [id, key] : keys) {
    ASSERT_NE(action(id), nullptr) << id;
    EXPECT_EQ(action(id)->shortcut().toString(QKeySequence::PortableText).toStdString(), key) << id;
  }
}

TEST_F(MainCommands, EveryCommandHasAPlaceInAMenu) {
  QSet<const QAction*> reachable;
  const std::function<void(QMenu&)> walk = [&](QMenu& menu) {
    emit menu.aboutToShow();
    for (const QAction* action : menu.actions()) {
      reachable.insert(action);
      if (action->menu()) walk(*action->menu());
    }
  };
  for (QAction* action : window().menuBar()->actions())
    walk(*action->menu());
  for (const host::Command& command : window().commands().commands())
    EXPECT_TRUE(reachable.contains(window().commands().action(command.id))) << command.id.toStdString();
}

TEST_F(MainCommands, UndoAndRedoFollowTheEdits) {
  EXPECT_FALSE(action("edit.undo")->isEnabled());
  add("one");
  EXPECT_TRUE(action("edit.undo")->isEnabled());
  EXPECT_EQ(action("edit.undo")->text().remove('&').toStdString(), "Undo Add");
  choose("edit.undo");
  EXPECT_TRUE(names().empty());
  EXPECT_FALSE(action("edit.undo")->isEnabled());
  choose("edit.redo");
  EXPECT_EQ(names(), std::vector<std::string>{"one"});
  EXPECT_FALSE(action("edit.redo")->isEnabled());
}

TEST_F(MainCommands, KeysReachTheCommands) {
  window().activateWindow();
  window().viewWidget().setFocus();
  add("one");
  press(Qt::Key_Z, Qt::ControlModifier);
  EXPECT_TRUE(names().empty());
  press(Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
  EXPECT_EQ(names().size(), 1u);
  press(Qt::Key_A, Qt::ControlModifier);
  press(Qt::Key_D, Qt::ControlModifier);
  EXPECT_EQ(names().size(), 2u);
  press(Qt::Key_Delete);
  EXPECT_EQ(names().size(), 1u);
}

TEST_F(MainCommands, SelectionCommandsNeedASelection) {
  add("one");
  choose("edit.select-none");
  window().commands().refresh();
  EXPECT_FALSE(action("edit.duplicate")->isEnabled());
  EXPECT_FALSE(action("edit.group")->isEnabled());
  EXPECT_FALSE(action("edit.drop")->isEnabled());
  choose("edit.select-all");
  EXPECT_EQ(host::selectedObjects(document()).size(), 1u);
  choose("edit.group");
  EXPECT_EQ(names().size(), 2u);
}

TEST_F(MainCommands, AddMakesObjectsAsSteps) {
  for (const char* id : {"add.null", "add.camera", "add.light", "add.spot", "add.distant", "add.area",
                         "add.disk", "add.floor", "add.sky", "add.subdivision"})
    choose(id);
  EXPECT_EQ(names().size(), 10u);
  choose("add.material");
  EXPECT_EQ(host::materialRows(document()).size(), 1u);
  for (int i = 0; i < 11; ++i)
    choose("edit.undo");
  EXPECT_TRUE(names().empty());
}

TEST_F(MainCommands, PluginsMenuShowsTheRegistry) {
  int runs = 0, hidden = 0;
  AutoAlloc<BaseBitmap> picture;
  picture->Init(16, 16, 24);
  ASSERT_TRUE(RegisterCommandPlugin(999001, "Bend & Twist", 0, picture, "Bends what is selected",
                                    new TestCommand(&runs)));
  ASSERT_TRUE(RegisterCommandPlugin(999002, "Hidden", PLUGINFLAG_HIDEPLUGINMENU, nullptr, "",
                                    new TestCommand(&hidden)));
  ASSERT_TRUE(RegisterCommandPlugin(999003, "Off", 0, nullptr, "", new TestCommand(&runs, 0)));
  ASSERT_TRUE(RegisterCommandPlugin(999004, "Checked", 0, nullptr, "",
                                    new TestCommand(&runs, CMD_ENABLED | CMD_VALUE)));
  QMenu& plugins = menu("Plugins");
  EXPECT_EQ(entries(plugins).size(), 3);
  EXPECT_FALSE(entries(plugins).contains("Hidden"));
  const auto find = [&](const char* name) { return plugins.findChild<QAction*>(QLatin1String(name)); };
  QAction* bend = find("plugin-999001");
  ASSERT_NE(bend, nullptr);
  EXPECT_EQ(bend->text(), "Bend && Twist");
  EXPECT_EQ(bend->toolTip(), "Bends what is selected");
  EXPECT_FALSE(bend->icon().isNull());
  EXPECT_FALSE(find("plugin-999003")->isEnabled());
  EXPECT_TRUE(find("plugin-999004")->isChecked());
  bend->trigger();
  settle();
  EXPECT_EQ(runs, 1);
}

TEST_F(MainCommands, ADragOfAHookKeepsCommandsAway) {
  add("one");
  bool blocked = true;
  window().commands().setBlocked([&] { return blocked; });
  action("edit.undo")->trigger();
  EXPECT_EQ(names().size(), 1u);
  blocked = false;
  action("edit.undo")->trigger();
  EXPECT_TRUE(names().empty());
}

TEST_F(MainCommands, WidgetsKeepTheKeysThatTheyNeed) {
  QSlider slider(Qt::Horizontal, &window());
  slider.setRange(0, 100);
  slider.setValue(50);
  slider.show();
  slider.setFocus();
  settle();
  const LONG before = session().playback().frame();
  QTest::keyClick(&slider, Qt::Key_Right);
  settle();
  EXPECT_EQ(session().playback().frame(), before);
  EXPECT_EQ(slider.value(), 51);
}

TEST_F(MainCommands, ToolBarButtonsHaveNamesIconsAndHelp) {
  const auto buttons = window().findChild<QToolBar*>("tools")->findChildren<QToolButton*>();
  int count = 0;
  for (const QToolButton* button : buttons) {
    if (!button->defaultAction()) continue;
    ++count;
    EXPECT_FALSE(button->accessibleName().isEmpty());
    EXPECT_FALSE(button->icon().isNull()) << button->accessibleName().toStdString();
    EXPECT_FALSE(button->toolTip().isEmpty());
  }
  EXPECT_EQ(count, 10);
}

TEST_F(MainCommands, ACameraFromTheViewIsLookedThroughAndCanBeLocked) {
  QAction* lock = action("view.lock-camera");
  EXPECT_FALSE(lock->isEnabled()) << "the view's own camera has no lock";
  choose("add.camera");
  const Identity camera = host::objectRows(document()).front().identity;
  const auto seen = [&] { return window().viewWidget().view().camera()->GetIdentity(); };
  EXPECT_EQ(seen(), camera);
  choose("view.lock-camera");
  EXPECT_TRUE(host::isCameraLocked(document(), camera));
  const Matrix before = window().viewWidget().view().camera()->GetMg();
  choose("view.frame-all");
  EXPECT_EQ(window().viewWidget().view().camera()->GetMg(), before);
  choose("edit.undo");
  EXPECT_FALSE(host::isCameraLocked(document(), camera));
  choose("edit.undo");
  EXPECT_NE(seen(), camera) << "the camera is gone";
}

TEST_F(MainCommands, LookThroughListsTheCamerasAndLights) {
  choose("add.camera");
  choose("add.spot");
  const Identity camera = host::cameraRows(document()).back().identity;
  const Identity spot = host::lightViewRows(document()).front().identity;
  const auto seen = [&] { return window().viewWidget().view().camera()->GetIdentity(); };
  QMenu& cameras = *window().findChild<QMenu*>("menu-cameras");
  const auto entry = [&](const QString& name) {
    entries(cameras);
    for (QAction* one : cameras.actions())
      if (one->text() == name) return one;
    throw std::runtime_error("no entry " + name.toStdString());
  };
  entries(cameras);
  cameras.actions().first()->trigger();
  EXPECT_NE(seen(), camera);
  entry("Camera")->trigger();
  settle();
  EXPECT_EQ(seen(), camera);
  EXPECT_TRUE(entry("Camera")->isChecked());
  QMenu* lights = entry("&Light")->menu();
  ASSERT_TRUE(lights);
  ASSERT_EQ(lights->actions().size(), 1);
  EXPECT_FALSE(lights->actions().first()->isChecked());
  lights->actions().first()->trigger();
  EXPECT_EQ(seen(), spot);
  EXPECT_FALSE(entry("Camera")->isChecked());
  EXPECT_FALSE(cameras.actions().first()->isChecked());
  EXPECT_TRUE(entry("&Light")->menu()->actions().first()->isChecked());
  EXPECT_EQ(cameras.findChildren<QMenu*>().size(), 1) << "the submenu is not kept twice";
  // Moving the view moves the light, as one step.
  const Matrix before = window().viewWidget().view().camera()->GetMg();
  choose("view.frame-all");
  EXPECT_NE(window().viewWidget().view().camera()->GetMg(), before);
  choose("edit.undo");
  EXPECT_EQ(window().viewWidget().view().camera()->GetMg(), before);
}

// Two texture tags of one mesh, one of which counts in the second variant only.
TEST_F(MainCommands, MaterialVariantChoosesAndIsAStep) {
  QMenu& variants = *window().findChild<QMenu*>("menu-variants");
  EXPECT_EQ(entries(variants).size(), 1) << "none but the file's materials";
  const Filename file = folder / "variants.gltf";
  QFile source(QStringLiteral(LUMENARA_SOURCE_DIR "/scenes/small.gltf"));
  ASSERT_TRUE(source.open(QIODevice::ReadOnly));
  QJsonObject gltf = QJsonDocument::fromJson(source.readAll()).object();
  QJsonObject extensions = gltf["extensions"].toObject();
  extensions["KHR_materials_variants"] =
      QJsonObject{{"variants", QJsonArray{QJsonObject{{"name", "day"}}, QJsonObject{{"name", "night"}}}}};
  gltf["extensions"] = extensions;
  QFile target(host::toQt(file.GetString()));
  ASSERT_TRUE(target.open(QIODevice::WriteOnly));
  target.write(QJsonDocument(gltf).toJson());
  target.close();
  openScene(file);
  EXPECT_EQ(host::variantNames(document()), (std::vector<std::string>{"day", "night"}));
  EXPECT_EQ(entries(variants).size(), 3);
  const auto choices = [&] {
    QList<QAction*> list;
    for (QAction* action : variants.actions())
      if (!action->isSeparator()) list.append(action);
    return list;
  };
  EXPECT_TRUE(choices()[0]->isChecked());
  choices()[2]->trigger();
  settle();
  EXPECT_EQ(host::chosenVariant(document()), 1);
  entries(variants);
  EXPECT_TRUE(choices()[2]->isChecked());
  EXPECT_FALSE(choices()[0]->isChecked());
  choose("edit.undo");
  EXPECT_EQ(host::chosenVariant(document()), -1);
}

TEST_F(MainCommands, AboutShowsTheVersion) {
  host::AboutDialog about;
  bool found = false;
  for (const QLabel* label : about.findChildren<QLabel*>())
    found = found || label->text().contains(host::studioVersion());
  EXPECT_TRUE(found);
  EXPECT_FALSE(host::studioVersion().isEmpty());
}

} // namespace
