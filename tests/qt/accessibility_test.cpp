// Every control of every window has a tool tip, and a name for screen readers.
#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAbstractScrollArea>
#include <QAbstractSlider>
#include <QAbstractSpinBox>
#include <QAccessible>
#include <QComboBox>
#include <QDockWidget>
#include <QHelpEvent>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTabBar>
#include <QTextEdit>
#include <QToolTip>
#include <QTreeWidget>

#include "color_picker.h"
#include "command_table.h"
#include "dialog_window.h"
#include "dlg_animation.h"
#include "dlg_lumenara.h"
#include "dlg_optimize.h"
#include "dlg_options.h"
#include "elided_tips.h"
#include "frame_buffer.h"
#include "main_kit.h"
#include "message_box.h"
#include "movie_options_dialog.h"
#include "plugin_kit.h"
#include "recovery_dialog.h"

namespace {

// Parts of Qt's own controls: the control itself is judged.
bool isPart(const QWidget& widget) {
  const QWidget* parent = widget.parentWidget();
  if (qobject_cast<const QScrollBar*>(&widget)) return true;
  if (widget.objectName().startsWith("qt_")) return true;
  return qobject_cast<const QAbstractSpinBox*>(parent) || qobject_cast<const QComboBox*>(parent) ||
         qobject_cast<const QTabBar*>(parent) || qobject_cast<const QLineEdit*>(parent) ||
         qobject_cast<const QAbstractItemView*>(parent) || parent->inherits("QComboBoxPrivateContainer");
}

bool isControl(const QWidget& widget) {
  if (isPart(widget)) return false;
  return qobject_cast<const QAbstractButton*>(&widget) || qobject_cast<const QLineEdit*>(&widget) ||
         qobject_cast<const QComboBox*>(&widget) || qobject_cast<const QAbstractSpinBox*>(&widget) ||
         qobject_cast<const QAbstractSlider*>(&widget) || qobject_cast<const QAbstractItemView*>(&widget) ||
         qobject_cast<const QTextEdit*>(&widget) || qobject_cast<const QPlainTextEdit*>(&widget);
}

// Qt asks the widgets above for the tool tip that a widget lacks.
bool hasTip(const QWidget& widget) {
  for (const QWidget* above = &widget; above; above = above->parentWidget()) {
    if (!above->toolTip().isEmpty()) return true;
    if (above->isWindow()) break;
  }
  return false;
}

QString describe(const QWidget& widget) {
  QStringList path;
  for (const QWidget* above = &widget; above && path.size() < 4; above = above->parentWidget())
    path.prepend(above->objectName().isEmpty() ? QString::fromLatin1(above->metaObject()->className())
                                               : above->objectName());
  return path.join("/") + " \"" + widget.property("text").toString() + "\"";
}

/// What the controls in a window lack, one line each.
QStringList faults(const QWidget& window, bool tips = true) {
  QStringList list;
  for (QWidget* widget : window.findChildren<QWidget*>()) {
    if (!isControl(*widget)) continue;
    const QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(widget);
    if (!accessible || accessible->text(QAccessible::Name).isEmpty()) list << "no name: " + describe(*widget);
    if (tips && !hasTip(*widget)) list << "no tool tip: " + describe(*widget);
  }
  list.removeDuplicates();
  return list;
}

/// Buttons whose tool tip does not say the letter that they underline.
QStringList untoldLetters(const QWidget& window) {
  QStringList list;
  for (const QAbstractButton* button : window.findChildren<QAbstractButton*>()) {
    const QString key = QKeySequence::mnemonic(button->text()).toString(QKeySequence::NativeText);
    if (!key.isEmpty() && !isPart(*button) && !button->toolTip().contains(key)) list << describe(*button);
  }
  return list;
}

class Accessibility : public StudioTest {
 protected:
  Accessibility() {
    startStudio();
    window().show();
    openScene(smallScene());
  }
  /// The window that a command opens.
  QWidget* opened(const char* id, const char* name) {
    choose(id);
    QWidget* found = nullptr;
    waitFor([&] {
      found = window().findChild<QWidget*>(QLatin1String(name));
      return found && found->isVisible();
    });
    return found;
  }
  static std::string text(const QStringList& lines) { return lines.join("\n").toStdString(); }
};

TEST_F(Accessibility, TheWalkFindsWhatIsMissing) {
  QWidget form;
  auto* bare = new QLineEdit(&form);
  auto* named = new QLineEdit(&form);
  named->setAccessibleName("Size");
  named->setToolTip("The size");
  EXPECT_EQ(faults(form).size(), 2);
  bare->setToolTip("Something");
  EXPECT_EQ(faults(form).size(), 1);
}

TEST_F(Accessibility, MainWindow) {
  EXPECT_EQ(text(faults(window())), "");
}

TEST_F(Accessibility, AttributesOfEveryObject) {
  QStringList all;
  for (const char* id : {"add.null", "add.camera", "add.light", "add.spot", "add.distant", "add.area",
                         "add.disk", "add.floor", "add.sky", "add.subdivision", "add.material"}) {
    choose(id);
    all << faults(*window().findChild<QWidget*>("attributeManager"));
  }
  all.removeDuplicates();
  EXPECT_EQ(text(all), "");
}

TEST_F(Accessibility, FrameBuffer) {
  choose("render.viewer");
  host::FrameBuffer& frame = window().frameBuffer();
  for (QDockWidget* dock : frame.findChildren<QDockWidget*>())
    dock->show();
  settle();
  EXPECT_EQ(text(faults(frame)), "");
}

TEST_F(Accessibility, Windows) {
  const std::pair<const char*, const char*> windows[] = {{"render.settings", "renderSettings"},
                                                         {"help.shortcuts", "shortcuts"},
                                                         {"render.farm", "farm-dialog"},
                                                         {"render.farm-jobs", "farm-jobs"},
                                                         {"file.link", "link-dialog"},
                                                         {"edit.lights", "lightTable"},
                                                         {"edit.library", "materialLibrary"},
                                                         {"edit.skies", "skies"},
                                                         {"help.search", "palette"},
                                                         {"help.tour", "tour"},
                                                         {"help.about", "about"}};
  for (const auto& [id, name] : windows) {
    QWidget* shown = opened(id, name);
    ASSERT_TRUE(shown) << id;
    EXPECT_EQ(text(faults(*shown)), "") << id;
    EXPECT_EQ(text(untoldLetters(*shown)), "") << id;
    shown->close();
  }
}

TEST_F(Accessibility, RecoveredScenes) {
  host::RecoveryDialog recovery(session());
  EXPECT_EQ(text(faults(recovery)), "");
  EXPECT_EQ(text(untoldLetters(recovery)), "");
}

TEST_F(Accessibility, ColourPicker) {
  QPushButton field;
  field.show();
  host::ColorPicker* picker = host::ColorPicker::open(field, "Color", Vector(2, 1, 0.5), 100);
  EXPECT_EQ(text(faults(*picker)), "");
  EXPECT_EQ(text(untoldLetters(*picker)), "");
}

TEST_F(Accessibility, StartPage) {
  choose("file.new");
  const auto* start = window().findChild<QWidget*>("start-page");
  ASSERT_TRUE(start->isVisible());
  EXPECT_EQ(text(faults(*start)), "");
}

TEST_F(Accessibility, BoxesSayTheKeysOfTheirAnswers) {
  const host::BoxText box{"Save the scene?", "It has changes.", "They are lost otherwise.", "details"};
  QStringList tips;
  whenModal([&](QWidget& shown) {
    EXPECT_EQ(text(faults(shown)), "");
    for (const char* name : {"answer-0", "answer-1", "answer-2"})
      tips << shown.findChild<QPushButton*>(name)->toolTip();
    QTest::keyClick(&shown, Qt::Key_Escape);
  });
  EXPECT_EQ(host::askChoice(nullptr, box, {"&Save", "&Discard", "Cancel"}), 2);
  EXPECT_EQ(text(tips), "Save (Alt+S, Return)\nDiscard (Alt+D)\nCancel (Esc)");
}

TEST_F(Accessibility, MovieOptions) {
  const host::MovieOptionsDialog dialog(FILTER_MOVIE, {});
  EXPECT_EQ(text(faults(dialog)), "");
  EXPECT_EQ(text(untoldLetters(dialog)), "");
}

TEST_F(Accessibility, NamesThatDoNotFitAreShownOnHover) {
  QTreeWidget list;
  list.setColumnCount(1);
  auto* fits = new QTreeWidgetItem(&list, {"short"});
  auto* longer = new QTreeWidgetItem(&list, {QString("<b>long</b> ").repeated(40)});
  longer->setToolTip(0, "A file");
  list.resize(200, 100);
  list.show();
  settle();
  EXPECT_EQ(host::elidedTip(list, list.indexFromItem(fits)), "");
  const QString tip = host::elidedTip(list, list.indexFromItem(longer));
  EXPECT_TRUE(tip.contains("&lt;b&gt;long&lt;/b&gt;")) << tip.toStdString();
  EXPECT_TRUE(tip.endsWith("A file")) << tip.toStdString();
  const QPoint at = list.visualItemRect(longer).center();
  QHelpEvent hover(QEvent::ToolTip, at, list.viewport()->mapToGlobal(at));
  QApplication::sendEvent(list.viewport(), &hover);
  EXPECT_TRUE(QToolTip::text().contains("&lt;b&gt;long")) << QToolTip::text().toStdString();
  QToolTip::hideText();
}

// Tool tips of plug-ins' gadgets are the plug-ins'.
class AccessiblePlugin : public PluginDialogs {};

TEST_F(AccessiblePlugin, FieldsHaveNames) {
  const auto expectNames = [](QWidget& dialog) {
    EXPECT_EQ(faults(dialog, false).join("\n").toStdString(), "") << dialog.windowTitle().toStdString();
  };
  asPlugin([&] {
    DlgOptions choices;
    choices.settings = &settings;
    openModal([&] { choices.Open(); }, expectNames);
    DlgAnimation animation;
    animation.settings = &settings;
    openModal([&] { animation.Open(); }, expectNames);
    DlgOptimize optimize;
    EXPECT_TRUE(optimize.Open(DLG_TYPE_ASYNC, ID_LUMENARA, -1, -1, 400, 300));
    settle();
    expectNames(*desktop->windowOf(optimize));
    optimize.Close();
    DlgLumenara viewer;
    EXPECT_TRUE(viewer.Open(DLG_TYPE_ASYNC, ID_LUMENARA, -1, -1, 400, 300));
    settle();
    expectNames(*desktop->windowOf(viewer));
    viewer.Close();
  });
}

} // namespace
