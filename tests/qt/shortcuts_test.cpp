// Keys that the user assigns: the table behind them, Help > Shortcuts, what is kept.
#include "shortcuts_dialog.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QToolButton>
#include <QTreeWidget>

#include "console_widget.h"
#include "frame_buffer.h"
#include "key_field.h"
#include "key_rules.h"
#include "key_table.h"
#include "main_kit.h"
#include "preferences.h"

namespace {

using host::KeyTable;

QKeySequence sequence(const char* text) {
  return QKeySequence(QLatin1String(text));
}

TEST(KeyRules, OneKeyWithModifiersIsAKey) {
  EXPECT_TRUE(host::isOneKey(sequence("Ctrl+Shift+P")));
  EXPECT_TRUE(host::isOneKey(sequence("H")));
  EXPECT_FALSE(host::isOneKey(sequence("Ctrl+K, Ctrl+C")));
  EXPECT_FALSE(host::isOneKey(sequence("nonsense")));
  EXPECT_FALSE(host::isOneKey(QKeySequence()));
  EXPECT_FALSE(host::isOneKey(QKeySequence(Qt::CTRL | Qt::Key_Control)));
}

TEST(KeyRules, EventsBecomeTheKeysOfMenus) {
  const auto pressed = [](int key, Qt::KeyboardModifiers modifiers, const QString& text) {
    return host::keyOfEvent(QKeyEvent(QEvent::KeyPress, key, modifiers, text))
        .toString(QKeySequence::PortableText)
        .toStdString();
  };
  EXPECT_EQ(pressed(Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier, QString()), "Ctrl+Shift+S");
  EXPECT_EQ(pressed(Qt::Key_A, Qt::ShiftModifier, "A"), "Shift+A");
  EXPECT_EQ(pressed(Qt::Key_Asterisk, Qt::ShiftModifier, "*"), "*");
  EXPECT_EQ(pressed(Qt::Key_Plus, Qt::KeypadModifier, "+"), "+");
  EXPECT_EQ(pressed(Qt::Key_F11, Qt::ShiftModifier, QString()), "Shift+F11");
  EXPECT_EQ(pressed(Qt::Key_Shift, Qt::ShiftModifier, QString()), "");
}

class Shortcuts : public StudioTest {
 protected:
  Shortcuts() { startStudio(); }

  KeyTable& keys() { return window().commands().keys(); }
  std::string key(const char* id) {
    return QKeySequence::listToString(keys().keys(QLatin1String(id)), QKeySequence::PortableText)
        .toStdString();
  }
  void assign(const char* id, const char* text) { keys().assign(QLatin1String(id), {sequence(text)}); }
  void restart() {
    stopStudio();
    startStudio();
  }
  /// Stores entries as a file from elsewhere has them, and starts Studio with them.
  void startWith(const std::vector<GeData>& entries) {
    BaseContainer stored;
    for (std::size_t i = 0; i < entries.size(); ++i)
      stored.SetData(static_cast<LONG>(i) + 1, entries[i]);
    host::preferences()->setNamed("keys", stored);
    restart();
  }
  static GeData entry(const std::string& text) { return GeData(String(text)); }

  host::ShortcutsDialog* open() {
    choose("help.shortcuts");
    return window().findChild<host::ShortcutsDialog*>();
  }
  template <class Kind>
  static Kind& part(QWidget& dialog, const char* name) {
    return *dialog.findChild<Kind*>(QLatin1String(name));
  }
  static QTreeWidgetItem* row(QWidget& dialog, const char* group, const char* text) {
    auto& list = part<QTreeWidget>(dialog, "keys-list");
    for (QTreeWidgetItem* heading : list.findItems(group, Qt::MatchExactly))
      for (int i = 0; i < heading->childCount(); ++i)
        if (heading->child(i)->text(0) == QLatin1String(text)) return heading->child(i);
    return nullptr;
  }
  static void take(QWidget& dialog, const char* group, const char* text) {
    QTreeWidgetItem* item = row(dialog, group, text);
    ASSERT_NE(item, nullptr) << text;
    part<QTreeWidget>(dialog, "keys-list").setCurrentItem(item);
  }
};

// --- the table ---

TEST_F(Shortcuts, AssignedKeysWorkInMenusTipsAndAtTheNextStart) {
  assign("file.save-version", "Ctrl+Alt+F9");
  settle();
  EXPECT_EQ(action("file.save-version")->shortcut(), sequence("Ctrl+Alt+F9"));
  EXPECT_EQ(action("file.save-version")->toolTip(), "Save New Version (Ctrl+Alt+F9)");
  EXPECT_TRUE(keys().isChanged("file.save-version"));
  restart();
  EXPECT_EQ(key("file.save-version"), "Ctrl+Alt+F9");
  EXPECT_EQ(key("file.save"), "Ctrl+S");
  keys().reset("file.save-version");
  EXPECT_FALSE(keys().anyChanged());
  restart();
  EXPECT_EQ(key("file.save-version"), "Ctrl+Alt+S");
}

TEST_F(Shortcuts, AKeyThatIsGivenAwayComesBackWithTheReset) {
  ASSERT_NE(keys().owner("file.open", sequence("Ctrl+S")), nullptr);
  EXPECT_EQ(keys().owner("file.open", sequence("Ctrl+S"))->id, "file.save");
  assign("file.open", "Ctrl+S");
  EXPECT_EQ(key("file.open"), "Ctrl+S");
  EXPECT_EQ(key("file.save"), "");
  restart();
  EXPECT_EQ(key("file.save"), "");
  keys().reset("file.open");
  EXPECT_EQ(key("file.open"), "Ctrl+O");
  EXPECT_EQ(key("file.save"), "Ctrl+S");
}

TEST_F(Shortcuts, ResettingTheLoserTakesTheKeyBack) {
  assign("file.open", "Ctrl+S");
  keys().reset("file.save");
  EXPECT_EQ(key("file.save"), "Ctrl+S");
  EXPECT_EQ(key("file.open"), "");
  keys().resetAll();
  EXPECT_EQ(key("file.open"), "Ctrl+O");
  EXPECT_FALSE(keys().anyChanged());
}

TEST_F(Shortcuts, EachWindowHasKeysOfItsOwn) {
  window().frameBuffer();
  EXPECT_EQ(key("frame.zoom-fit"), "H; 0");
  EXPECT_EQ(keys().owner("frame.zoom-one", sequence("S")), nullptr) << "S is the main window's";
  assign("frame.zoom-one", "S");
  EXPECT_EQ(key("view.frame-selected"), "S");
  ASSERT_NE(keys().owner("frame.zoom-one", sequence("Ctrl+Q")), nullptr) << "Quit works in both";
  EXPECT_EQ(keys().owner("file.quit", sequence("Ctrl+W"))->id, "frame.close-window");
  restart();
  window().frameBuffer();
  EXPECT_EQ(key("frame.zoom-one"), "S");
}

TEST_F(Shortcuts, TipsOfButtonsFollowTheKeys) {
  const auto* play = window().findChild<QToolButton*>("time-play");
  ASSERT_NE(play, nullptr);
  EXPECT_EQ(play->toolTip(), "Play (Space)");
  assign("time.play", "F8");
  EXPECT_EQ(play->toolTip(), "Play (F8)");
  keys().assign("time.play", {});
  EXPECT_EQ(play->toolTip(), "Play");
  const auto* layers = window().frameBuffer().findChild<QToolButton*>("layerChoice");
  EXPECT_TRUE(layers->toolTip().endsWith("(Left, Right)")) << layers->toolTip().toStdString();
  assign("frame.layer-next", "N");
  EXPECT_TRUE(layers->toolTip().endsWith("(Left, N)")) << layers->toolTip().toStdString();
}

TEST_F(Shortcuts, KeysOfMenusDialogsAndTheViewAreRefused) {
  window().show();
  for (const char* taken : {"Esc", "Tab", "Return", "F10", "Ctrl+W", "1", "Alt+F"}) {
    EXPECT_FALSE(keys().refusal("file.save", sequence(taken)).isEmpty()) << taken;
    assign("file.save", taken);
    EXPECT_EQ(key("file.save"), "") << taken;
  }
  EXPECT_TRUE(keys().refusal("file.save", sequence("Ctrl+Return")).isEmpty());
  window().frameBuffer();
  EXPECT_TRUE(keys().refusal("frame.zoom-one", sequence("1")).isEmpty()) << "its own";
  EXPECT_TRUE(keys().refusal("frame.zoom-one", sequence("2")).isEmpty());
}

TEST_F(Shortcuts, DamagedAndForeignEntriesAreIgnoredWithOneLine) {
  startWith({entry("file.open=Ctrl+Alt+O"), GeData(LONG(7)), entry("no equals sign"),
             entry("file.save=nonsense"), entry("file.new=Ctrl+Alt+O"), entry("edit.undo=Esc"),
             entry("of.another.version=F7"), entry("file.open=F3"), entry(std::string(1000, 'x') + "=F4")});
  EXPECT_EQ(key("file.new"), "Ctrl+Alt+O");
  EXPECT_EQ(key("file.open"), "Ctrl+O") << "one of two has the key";
  EXPECT_EQ(key("file.save"), "Ctrl+S");
  EXPECT_EQ(key("edit.undo"), "Ctrl+Z");
  const QString text = window().console().text();
  EXPECT_EQ(text.count("Keys from the preferences were ignored"), 1) << text.toStdString();
  EXPECT_TRUE(text.contains("damaged entries: 4")) << text.toStdString();
  EXPECT_TRUE(text.contains("of.another.version (no such command)")) << text.toStdString();
  // The choice of another version stays stored; what is damaged goes with the next change.
  assign("file.quit", "Ctrl+F12");
  EXPECT_EQ(key("file.quit"), "Ctrl+F12");
  restart();
  EXPECT_TRUE(window().console().text().contains("ignored: of.another.version (no such command)."))
      << window().console().text().toStdString();
}

TEST_F(Shortcuts, EveryCommandOfTheFrameBufferHasAnIdOfItsOwn) {
  window().frameBuffer();
  QSet<QString> ids;
  for (const host::KeyedCommand& command : keys().commands()) {
    EXPECT_FALSE(command.id.endsWith('.')) << command.text.toStdString();
    EXPECT_FALSE(ids.contains(command.id)) << command.id.toStdString();
    EXPECT_FALSE(command.text.isEmpty()) << command.id.toStdString();
    ids.insert(command.id);
    for (const QKeySequence& standard : command.standard)
      EXPECT_EQ(keys().owner(command.id, standard), nullptr) << command.id.toStdString();
  }
  EXPECT_TRUE(ids.contains("frame.view-brighter"));
}

// --- the dialog ---

TEST_F(Shortcuts, DialogListsCommandsGesturesAndTheFrameBuffer) {
  host::ShortcutsDialog* dialog = open();
  ASSERT_NE(dialog, nullptr);
  const auto& list = part<QTreeWidget>(*dialog, "keys-list");
  int shown = 0;
  for (int i = 0; i < list.topLevelItemCount(); ++i)
    shown += list.topLevelItem(i)->childCount();
  EXPECT_EQ(shown, static_cast<int>(keys().commands().size() + window().commands().gestures().size()));
  ASSERT_NE(row(*dialog, "Edit", "Undo"), nullptr);
  EXPECT_EQ(row(*dialog, "Edit", "Undo")->text(1), "Ctrl+Z");
  EXPECT_EQ(row(*dialog, "File", "Recover Scenes")->text(1), "") << "can be given a key";
  EXPECT_EQ(row(*dialog, "Frame Buffer", "One to One")->text(1), "1");
  EXPECT_EQ(row(*dialog, "Editor View", "Orbit")->text(1), "Alt + left button, or 1 + left");
  EXPECT_EQ(row(*dialog, "Frame Buffer", "Quit"), nullptr) << "listed with its menu";
}

TEST_F(Shortcuts, DialogAssignsAFreeKeyAtOnce) {
  host::ShortcutsDialog* dialog = open();
  take(*dialog, "File", "Recover Scenes");
  auto& field = part<host::KeyField>(*dialog, "keys-field");
  EXPECT_TRUE(field.isEnabled());
  field.setFocus();
  QTest::keyClick(&field, Qt::Key_F12, Qt::ControlModifier);
  EXPECT_EQ(key("file.recover"), "Ctrl+F12");
  EXPECT_EQ(row(*dialog, "File", "Recover Scenes")->text(1), "Ctrl+F12");
  EXPECT_EQ(field.text(), "Ctrl+F12");
  part<QPushButton>(*dialog, "keys-none").click();
  EXPECT_EQ(key("file.recover"), "");
  EXPECT_FALSE(part<QPushButton>(*dialog, "keys-reset").isEnabled()) << "it had none at first";
}

TEST_F(Shortcuts, DialogNamesTheOtherCommandAndWaits) {
  host::ShortcutsDialog* dialog = open();
  take(*dialog, "File", "Open");
  auto& field = part<host::KeyField>(*dialog, "keys-field");
  auto& reassign = part<QPushButton>(*dialog, "keys-reassign");
  EXPECT_TRUE(reassign.isHidden());
  QTest::keyClick(&field, Qt::Key_S, Qt::ControlModifier);
  EXPECT_EQ(part<QLabel>(*dialog, "keys-message").text(), "Ctrl+S is the key of \"Save\" (File).");
  EXPECT_FALSE(reassign.isHidden());
  EXPECT_EQ(key("file.open"), "Ctrl+O") << "not yet";
  QTest::keyClick(&field, Qt::Key_Return);
  EXPECT_EQ(key("file.open"), "Ctrl+S");
  EXPECT_EQ(key("file.save"), "");
  EXPECT_EQ(row(*dialog, "File", "Save")->text(1), "");
  EXPECT_TRUE(reassign.isHidden());
  part<QPushButton>(*dialog, "keys-reset").click();
  EXPECT_EQ(key("file.open"), "Ctrl+O");
  EXPECT_EQ(key("file.save"), "Ctrl+S");
}

TEST_F(Shortcuts, DialogRefusesInWords) {
  host::ShortcutsDialog* dialog = open();
  take(*dialog, "File", "Open");
  auto& field = part<host::KeyField>(*dialog, "keys-field");
  QTest::keyClick(&field, Qt::Key_F10);
  EXPECT_EQ(part<QLabel>(*dialog, "keys-message").text(),
            "F10 belongs to the dialogs of plug-ins and cannot be assigned.");
  EXPECT_EQ(key("file.open"), "Ctrl+O");
  take(*dialog, "Editor View", "Orbit");
  EXPECT_FALSE(field.isEnabled());
  EXPECT_FALSE(part<QLabel>(*dialog, "keys-message").text().isEmpty());
}

TEST_F(Shortcuts, DialogResetsAllWhenTheUserAgrees) {
  assign("file.open", "Ctrl+S");
  host::ShortcutsDialog* dialog = open();
  auto& all = part<QPushButton>(*dialog, "keys-reset-all");
  EXPECT_TRUE(all.isEnabled());
  whenModal([](QWidget& box) { QTest::keyClick(&box, Qt::Key_Escape); });
  all.click();
  EXPECT_EQ(key("file.open"), "Ctrl+S") << "kept";
  whenModal([](QWidget& box) {
    for (QPushButton* button : box.findChildren<QPushButton*>())
      if (button->text().remove('&') == "Reset") button->click();
  });
  all.click();
  EXPECT_EQ(key("file.open"), "Ctrl+O");
  EXPECT_EQ(key("file.save"), "Ctrl+S");
  EXPECT_FALSE(all.isEnabled());
}

TEST_F(Shortcuts, DialogFindsCommandsAndKeys) {
  host::ShortcutsDialog* dialog = open();
  auto& search = part<QLineEdit>(*dialog, "keys-search");
  search.setText("version");
  EXPECT_FALSE(row(*dialog, "File", "Save New Version")->isHidden());
  EXPECT_TRUE(row(*dialog, "File", "Open")->isHidden());
  search.setText("ctrl+o");
  EXPECT_FALSE(row(*dialog, "File", "Open")->isHidden());
  EXPECT_TRUE(row(*dialog, "File", "Save New Version")->isHidden());
}

TEST_F(Shortcuts, ListsObeyTheAssignedKeys) {
  window().show();
  session().edits().apply("Add", [](BaseDocument& document) {
    document.InsertObject(BaseObject::Alloc(Onull), nullptr, nullptr);
  });
  choose("edit.select-all");
  assign("edit.delete", "Ctrl+Alt+D");
  auto* tree = window().findChild<QTreeView*>("objectTree");
  ASSERT_NE(tree, nullptr);
  tree->setFocus();
  QTest::keyClick(tree, Qt::Key_Delete);
  settle();
  EXPECT_NE(document().GetFirstObject(), nullptr);
  QTest::keyClick(tree, Qt::Key_D, Qt::ControlModifier | Qt::AltModifier);
  settle();
  EXPECT_EQ(document().GetFirstObject(), nullptr);
}

} // namespace
