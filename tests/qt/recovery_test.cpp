// Scenes of killed programs: the dialog, and the lists of changes.
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <filesystem>

#include "file_path.h"
#include "main_kit.h"
#include "recovery_dialog.h"
#include "scene_edits.h"

namespace {

namespace fs = std::filesystem;

class Recovery : public StudioTest {
 protected:
  Recovery() { startStudio(); }

  /// The folder of a program that was killed with unsaved changes of `original`.
  void leave(const char* name, const Filename& original, std::int64_t seconds,
             std::vector<std::string> changes) {
    const fs::path place = toPath(studio().program().writePath()) / "autosave" / name;
    fs::create_directories(place);
    fs::copy_file(host::toPath(smallScene()), place / "1.gltf", fs::copy_options::overwrite_existing);
    std::string error;
    const host::AutosavedScene scene{host::toFilename(place), host::toFilename(place / "1.gltf"), original,
                                     seconds, std::move(changes)};
    ASSERT_TRUE(host::describeScene(scene, error)) << error;
  }
  host::RecoveryDialog* dialog() { return window().findChild<host::RecoveryDialog*>("recovery"); }
  QTreeWidget& list() { return *dialog()->findChild<QTreeWidget*>("recovery-list"); }
  void press(const char* button) { dialog()->findChild<QPushButton*>(QLatin1String(button))->click(); }
  static fs::path toPath(const Filename& file) { return host::toPath(file); }
};

TEST_F(Recovery, IsOfferedOnlyWhenThereIsSomething) {
  window().offerRecovery();
  EXPECT_EQ(dialog(), nullptr);
  QString said;
  whenModal([&](QWidget& box) {
    for (const QLabel* label : box.findChildren<QLabel*>())
      said += label->text();
    box.close();
  });
  choose("file.recover");
  EXPECT_TRUE(said.contains("No unsaved scenes")) << said.toStdString();
}

TEST_F(Recovery, ListsTheNewestFirstAndOpensIt) {
  const Filename original = smallScene("robot.gltf");
  leave("1-1", {}, 1000, {});
  leave("2-2", original, 2000, {"Box moved", "Lamp intensity 1 -> 2", "Camera moved", "Box renamed to <b>"});
  window().offerRecovery();
  ASSERT_NE(dialog(), nullptr);
  ASSERT_EQ(list().topLevelItemCount(), 2);
  EXPECT_EQ(list().topLevelItem(0)->text(0), "robot.gltf");
  EXPECT_EQ(list().topLevelItem(0)->text(2), "Box moved, Lamp intensity 1 -> 2, 2 more");
  EXPECT_TRUE(list().topLevelItem(0)->toolTip(2).contains("&lt;b&gt;"));
  EXPECT_EQ(list().topLevelItem(1)->text(0), "Untitled");
  press("recovery-recover");
  EXPECT_TRUE(waitFor([&] { return window().windowTitle() == "robot.gltf * - Lumenara Studio"; }));
  EXPECT_TRUE(waitFor([&] { return dialog() == nullptr; }));
  EXPECT_EQ(session().autosave().abandoned().size(), 1u) << "the other one stays for later";
}

TEST_F(Recovery, DiscardAsksAndEnterKeeps) {
  leave("1-1", {}, 1000, {});
  window().offerRecovery();
  ASSERT_NE(dialog(), nullptr);
  whenModal([](QWidget& box) { QTest::keyClick(&box, Qt::Key_Return); });
  press("recovery-discard");
  EXPECT_EQ(session().autosave().abandoned().size(), 1u);
  whenModal([](QWidget& box) {
    for (QAbstractButton* button : box.findChildren<QAbstractButton*>())
      if (button->text().remove('&') == "Delete") button->click();
  });
  press("recovery-discard");
  EXPECT_TRUE(session().autosave().abandoned().empty());
  EXPECT_TRUE(waitFor([&] { return dialog() == nullptr; })) << "an empty list closes";
}

TEST_F(Recovery, LaterLeavesAll) {
  leave("1-1", {}, 1000, {});
  window().offerRecovery();
  press("recovery-later");
  EXPECT_TRUE(waitFor([&] { return dialog() == nullptr; }));
  EXPECT_EQ(session().autosave().abandoned().size(), 1u);
  choose("file.recover");
  EXPECT_NE(dialog(), nullptr);
}

TEST_F(Recovery, TheQuestionAboutUnsavedChangesListsThem) {
  openScene(smallScene());
  for (int i = 0; i < 10; ++i)
    session().edits().apply("Add", [](BaseDocument& to) { host::newObject(to, Onull); });
  QString said;
  whenModal([&](QWidget& box) {
    for (const QLabel* label : box.findChildren<QLabel*>())
      said += label->text() + QLatin1Char('\n');
    box.close();
  });
  choose("file.new");
  EXPECT_TRUE(said.contains("added")) << said.toStdString();
  EXPECT_TRUE(said.contains("and 2 more")) << said.toStdString();
}

TEST_F(Recovery, TheMenuSetsTheInterval) {
  EXPECT_TRUE(action("file.autosave-2")->isChecked());
  choose("file.autosave-10");
  EXPECT_EQ(session().autosave().period(), 600'000);
  EXPECT_TRUE(action("file.autosave-10")->isChecked());
  EXPECT_FALSE(action("file.autosave-2")->isChecked());
  choose("file.autosave-0");
  EXPECT_EQ(session().autosave().period(), 0);
}

TEST_F(Recovery, SavesANewVersion) {
  openScene(smallScene("robot.gltf"));
  choose("file.save-version");
  session().files().finish();
  EXPECT_TRUE(waitFor([&] { return window().windowTitle() == "robot_v002.gltf - Lumenara Studio"; }));
}

} // namespace
