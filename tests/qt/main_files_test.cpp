// Files through the window: opening, dropping, errors, questions, the start page.
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QPushButton>

#include "c4d_file.h"
#include "console.h"
#include "editor_view_widget.h"
#include "main_kit.h"
#include "preferences.h"
#include "scene_edits.h"
#include "scene_file.h"
#include "scene_queries.h"
#include "start_page.h"
#include "status_widget.h"

namespace {

class MainFiles : public StudioTest {
 protected:
  MainFiles() { startStudio(); }

  QWidget& startPage() { return *window().findChild<QWidget*>("start-page"); }
  void change() {
    session().edits().apply("Add", [](BaseDocument& document) { host::newObject(document, Onull); });
    settle();
  }
  bool isLoaded(const char* name) { return session().files().title() == String(name); }
  // The button of a box that starts with this word.
  static void answer(QWidget& box, const char* word) {
    for (QAbstractButton* button : box.findChildren<QAbstractButton*>())
      if (button->text().remove('&').startsWith(QLatin1String(word))) return button->click();
    ADD_FAILURE() << "The box has no button " << word;
    box.close();
  }
  static QString words(QWidget& box) {
    QString all;
    for (const QLabel* label : box.findChildren<QLabel*>())
      all += label->text() + QLatin1Char('\n');
    return all;
  }
};

TEST_F(MainFiles, OpensASceneAndSaysSo) {
  openScene(smallScene());
  EXPECT_TRUE(isLoaded("small.gltf"));
  EXPECT_EQ(window().windowTitle(), "small.gltf - Lumenara Studio");
  EXPECT_FALSE(window().findChild<QLabel*>("status-triangles")->text().startsWith("0 "));
  change();
  EXPECT_EQ(window().windowTitle(), "small.gltf * - Lumenara Studio");
  choose("edit.undo");
  EXPECT_EQ(window().windowTitle(), "small.gltf - Lumenara Studio");
}

TEST_F(MainFiles, StartPageShowsWithoutAScene) {
  EXPECT_TRUE(startPage().isVisible());
  EXPECT_EQ(window().findChild<QPushButton*>("start-demo"), nullptr); // without a demo scene
  openScene(smallScene());
  EXPECT_FALSE(startPage().isVisible());
  choose("file.new");
  EXPECT_TRUE(startPage().isVisible());
  change();
  EXPECT_FALSE(startPage().isVisible());
}

TEST_F(MainFiles, StartPageOffersTheDemoScene) {
  stopStudio();
  const Filename scene = smallScene();
  folder.makeFolder("program/scenes");
  QFile::copy(QString::fromStdString(scene.GetString().GetUTF8()),
              QString::fromStdString((folder / "program/scenes/demo.glb").GetString().GetUTF8()));
  startStudio();
  auto* demo = window().findChild<QPushButton*>("start-demo");
  ASSERT_NE(demo, nullptr);
  demo->click();
  ASSERT_TRUE(waitFor([&] { return isLoaded("demo.glb"); }));
}

TEST_F(MainFiles, TakesADroppedFile) {
  const Filename scene = smallScene("dropped.gltf");
  QMimeData data;
  data.setUrls({QUrl::fromLocalFile(QString::fromStdString(scene.GetString().GetUTF8()))});
  QDragEnterEvent enter(QPoint(100, 100), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(&window(), &enter);
  EXPECT_TRUE(enter.isAccepted());
  QDropEvent drop(QPointF(100, 100), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(&window(), &drop);
  ASSERT_TRUE(waitFor([&] { return isLoaded("dropped.gltf"); }));
}

// On the window, and on the view, which itself takes materials only.
TEST_F(MainFiles, ADroppedPictureBecomesTheSky) {
  openScene(smallScene());
  const host::DocumentPtr before(document().GetClone(COPYFLAGS_0));
  const auto dropOn = [this](QWidget& target, const char* name) {
    const Filename picture = folder.write(name, "#?RADIANCE\n");
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(QString::fromStdString(picture.GetString().GetUTF8()))});
    QDragEnterEvent enter(QPoint(100, 100), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&target, &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent drop(QPointF(100, 100), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&target, &drop);
    const auto shown = [&] {
      const BaseObject* sky = document().SearchObject("Sky");
      return sky && host::attributeValue(document(), sky->GetIdentity(), host::AttributeId::skyPicture)
                            .GetFilename() == picture;
    };
    EXPECT_TRUE(waitFor(shown)) << name;
  };
  dropOn(window(), "noon.hdr");
  dropOn(window().viewWidget(), "dusk.hdr");
  EXPECT_TRUE(isLoaded("small.gltf"));
  EXPECT_EQ(document().SearchObject("Sky 2"), nullptr);
  choose("edit.undo");
  choose("edit.undo");
  std::string difference;
  EXPECT_TRUE(host::documentsEqual(*before, document(), &difference)) << difference;
}

TEST_F(MainFiles, SavePackedMakesAGlb) {
  openScene(smallScene());
  whenModal([&](QWidget& box) {
    auto& chooser = dynamic_cast<QFileDialog&>(box);
    EXPECT_TRUE(chooser.selectedFiles().value(0).endsWith("small.glb"))
        << chooser.selectedFiles().value(0).toStdString();
    chooser.selectFile(QString::fromStdString((folder / "whole").GetString().GetUTF8()));
    QMetaObject::invokeMethod(&chooser, "accept");
  });
  choose("file.save-packed");
  ASSERT_TRUE(waitFor([&] { return isLoaded("whole.glb"); }));
  EXPECT_TRUE(GeFExist(folder / "whole.glb"));
}

TEST_F(MainFiles, RefusesADropWithoutAFile) {
  QMimeData data;
  data.setText("no file");
  QDragEnterEvent enter(QPoint(100, 100), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  enter.ignore();
  QApplication::sendEvent(&window(), &enter);
  EXPECT_FALSE(enter.isAccepted());
}

TEST_F(MainFiles, ABrokenSceneGivesOneBoxAndTheOpenOneStays) {
  openScene(smallScene());
  const Filename broken = folder.write("broken.gltf", "{ \"asset\": ");
  int boxes = 0;
  QString said;
  whenModal([&](QWidget& box) {
    ++boxes;
    said = words(box);
    box.close();
  });
  window().openFile(broken);
  ASSERT_TRUE(waitFor([&] { return boxes == 1; }));
  settle();
  EXPECT_TRUE(said.contains("broken.gltf")) << said.toStdString();
  EXPECT_TRUE(isLoaded("small.gltf"));
  EXPECT_FALSE(startPage().isVisible());
}

TEST_F(MainFiles, AsksBeforeChangesAreLost) {
  openScene(smallScene());
  change();
  whenModal([](QWidget& box) { answer(box, "Cancel"); });
  choose("file.new");
  EXPECT_TRUE(isLoaded("small.gltf"));
  whenModal([](QWidget& box) { answer(box, "Discard"); });
  choose("file.new");
  EXPECT_TRUE(isLoaded("Untitled"));
}

TEST_F(MainFiles, ClosingAsksToo) {
  int finished = 0;
  QObject::connect(&studio(), &host::Studio::finished, [&] { ++finished; });
  change();
  whenModal([](QWidget& box) { answer(box, "Cancel"); });
  window().close();
  settle();
  EXPECT_EQ(finished, 0);
  EXPECT_TRUE(window().isVisible());
  whenModal([](QWidget& box) { answer(box, "Discard"); });
  window().close();
  settle();
  EXPECT_EQ(finished, 1);
}

TEST_F(MainFiles, SavesFromTheQuestion) {
  const Filename scene = smallScene();
  openScene(scene);
  const std::string before = readText(scene);
  change();
  whenModal([](QWidget& box) { answer(box, "Save"); });
  choose("file.new");
  ASSERT_TRUE(
      waitFor([&] { return session().files().activity().kind == host::FileSession::Activity::Kind::none; }));
  EXPECT_NE(readText(scene), before);
}

TEST_F(MainFiles, RecentFilesAreInTheMenu) {
  openScene(smallScene("first.gltf"));
  openScene(smallScene("second.gltf"));
  QMenu& recent = *window().findChild<QMenu*>("menu-recent");
  emit recent.aboutToShow();
  ASSERT_GE(recent.actions().size(), 3);
  EXPECT_EQ(recent.actions()[0]->text(), "second.gltf");
  EXPECT_EQ(recent.actions()[1]->text(), "first.gltf");
  recent.actions()[1]->trigger();
  ASSERT_TRUE(waitFor([&] { return isLoaded("first.gltf"); }));
  settle();
  choose("file.clear-recent");
  emit recent.aboutToShow();
  EXPECT_FALSE(recent.actions()[0]->isEnabled());
}

TEST_F(MainFiles, EnterAtTheReloadQuestionKeepsTheEdits) {
  const Filename scene = smallScene();
  openScene(scene);
  change();
  const host::Identity before = document().GetIdentity();
  bool asked = false;
  whenModal([&](QWidget& box) {
    asked = words(box).contains("changed by another program");
    QTest::keyClick(&box, Qt::Key_Return);
  });
  folder.write("small.gltf", readText(scene) + "\n");
  ASSERT_TRUE(waitFor([&] { return asked; }, 10000));
  settle();
  EXPECT_EQ(document().GetIdentity(), before);
  EXPECT_TRUE(session().files().isDirty());
}

TEST_F(MainFiles, TheTitleMarksADeletedFile) {
  const Filename scene = smallScene();
  openScene(scene);
  const std::string whole = readText(scene);
  const auto title = [&](const char* wanted) {
    return waitFor([&] { return window().windowTitle() == QLatin1String(wanted); }, 10000);
  };
  GeFKill(scene);
  EXPECT_TRUE(title("small.gltf (deleted) - Lumenara Studio")) << window().windowTitle().toStdString();
  change();
  EXPECT_TRUE(title("small.gltf (deleted) * - Lumenara Studio")) << window().windowTitle().toStdString();
  choose("edit.undo");
  folder.write("small.gltf", whole);
  EXPECT_TRUE(title("small.gltf - Lumenara Studio")) << window().windowTitle().toStdString();
}

TEST_F(MainFiles, ADamagedListOfRecentFilesIsMended) {
  openScene(smallScene("first.gltf"));
  stopStudio();
  startHost();
  BaseContainer list = *host::preferences()->getNamed("recentFiles");
  list.SetLong(7, 12);
  list.SetString(8, "no file");
  list.SetFilename(9, Filename(String(std::string(100000, 'x'))));
  for (LONG i = 20; i < 500; ++i)
    list.SetFilename(i, Filename("f" + LongToString(i)));
  host::preferences()->setNamed("recentFiles", list);
  stopHost();
  std::vector<std::string> said;
  const std::uint64_t listener =
      host::addConsoleListener([&](const String& line) { said.push_back(line.GetUTF8()); });
  for (int start = 0; start < 2; ++start)
    startStudio();
  host::removeConsoleListener(listener);
  EXPECT_EQ(std::count_if(said.begin(), said.end(),
                          [](const std::string& line) { return line.find("recent files") != line.npos; }),
            1);
  const std::vector<Filename> recent = session().files().recentFiles();
  ASSERT_EQ(recent.size(), 10u);
  EXPECT_EQ(recent[0].GetFileString(), String("first.gltf"));
  EXPECT_TRUE(startPage().isVisible());
}

TEST_F(MainFiles, AReloadKeepsViewTimeAndSelection) {
  const Filename scene = smallScene();
  openScene(scene);
  choose("edit.select-all");
  const std::size_t selected = host::selectedObjects(document()).size();
  ASSERT_GT(selected, 0u);
  window().viewWidget().view().frameAll();
  settle();
  const Matrix camera = window().viewWidget().view().camera()->GetMg();
  session().playback().goTo(3);
  const host::Identity before = document().GetIdentity();
  std::string text = readText(scene);
  text += "\n";
  folder.write("small.gltf", text);
  ASSERT_TRUE(waitFor([&] { return document().GetIdentity() != before; }, 10000));
  settle();
  EXPECT_EQ(host::selectedObjects(document()).size(), selected);
  EXPECT_EQ(session().playback().frame(), 3);
  const Matrix after = window().viewWidget().view().camera()->GetMg();
  EXPECT_NEAR(after.off.x, camera.off.x, 1e-9);
  EXPECT_NEAR(after.off.z, camera.off.z, 1e-9);
}

} // namespace
