// The plug-in on a desktop, and a user who works its dialogs' widgets.
#pragma once

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QKeySequence>
#include <QLabel>
#include <algorithm>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "lm_keys.h"
#include "lm_settings.h"
#include "lm_version.h"
#include "main.h"
#include "number_field.h"
#include "plugin_registry.h"
#include "qt_fixture.h"
#include "theme.h"
#include "thread_context.h"

class PluginDialogs : public QtFixture {
 public:
  PluginDialogs() : unit_{"Lumenara", folder / "plugin", PluginMessage, nullptr, nullptr} {
    folder.makeFolder("plugin");
    std::filesystem::create_directory_symlink(std::filesystem::path(LUMENARA_SOURCE_DIR) / "res",
                                              (folder / "plugin/res").GetString().GetUTF8());
    startDesktop();
    asPlugin([] { ASSERT_TRUE(PluginMessage(C4DPL_INIT_SYS, nullptr)); });
    settings.Init(ID_LUMENARA);
    WriteDefaults(settings.GetDataInstance(), LM_DEFAULT_VIEWER);
  }
  ~PluginDialogs() override { host::setTheme(std::nullopt); }

  /// Runs a function as if the host called the plug-in.
  void asPlugin(const std::function<void()>& function) {
    const host::PluginScope scope(&unit_);
    function();
  }

  /// Opens a modal dialog by the first function and uses its window by the second; Escape closes it, unless
  /// the user did.
  static void openModal(const std::function<void()>& open, const std::function<void(QWidget&)>& user) {
    bool used = false;
    whenModal([&](QWidget& window) {
      used = true;
      try {
        user(window);
      } catch (const std::exception& error) {
        ADD_FAILURE() << error.what();
      }
      if (window.isVisible()) QTest::keyClick(&window, Qt::Key_Escape);
    });
    open();
    EXPECT_TRUE(used);
  }

  /// A gadget's widget in the window that is being used.
  template <class Widget = QWidget>
  static Widget& at(QWidget& window, LONG id) {
    auto* found = window.findChild<Widget*>(QStringLiteral("gadget-%1").arg(id));
    if (!found) throw std::runtime_error("no gadget " + std::to_string(id));
    return *found;
  }
  static void check(QWidget& window, LONG id) {
    QTest::mouseClick(&at<QCheckBox>(window, id), Qt::LeftButton, {}, QPoint(8, 12));
  }
  static void type(host::NumberField& field, const char* text) {
    QTest::mouseClick(&field, Qt::LeftButton);
    QTest::keyClicks(&field, text);
    QTest::keyClick(&field, Qt::Key_Return);
  }
  static void choose(QWidget& window, LONG id, const char* text) {
    auto& box = at<QComboBox>(window, id);
    for (int i = 0; i < 2 * box.count() && box.currentText() != QString::fromUtf8(text); ++i)
      QTest::keyClick(&box, i < box.count() ? Qt::Key_Down : Qt::Key_Up);
    EXPECT_EQ(box.currentText(), QString::fromUtf8(text));
  }
  static bool enabled(QWidget& window, LONG id) { return at(window, id).isEnabled(); }

  /// Every visible gadget is whole: none reaches over its parent's edge or is smaller than its minimum.
  static void expectNothingClipped(QWidget& window) {
    settle();
    for (const QWidget* widget : window.findChildren<QWidget*>()) {
      const bool gadget =
          widget->objectName().startsWith(QLatin1String("gadget-")) || qobject_cast<const QLabel*>(widget);
      if (!gadget || !widget->isVisible()) continue;
      EXPECT_TRUE(widget->parentWidget()->rect().contains(widget->geometry()))
          << widget->objectName().toStdString();
      EXPECT_GE(widget->width(), widget->minimumSizeHint().width()) << widget->objectName().toStdString();
    }
  }
  /// The order in which the Tab key visits the gadgets, from the first one.
  static std::vector<LONG> tabOrder(QWidget& window, LONG first) {
    std::vector<LONG> order;
    QWidget* start = &at(window, first);
    QWidget* widget = start;
    do {
      const QString name = widget->objectName();
      if (name.startsWith(QLatin1String("gadget-")) && (widget->focusPolicy() & Qt::TabFocus))
        order.push_back(static_cast<LONG>(name.mid(7).toInt()));
      widget = widget->nextInFocusChain();
    } while (widget != start);
    return order;
  }
  /// The letters that work with Alt; each has one check box.
  static std::string letters(QWidget& window) {
    std::string found;
    for (const QCheckBox* box : window.findChildren<QCheckBox*>()) {
      const QString key = QKeySequence::mnemonic(box->text()).toString();
      if (key.isEmpty()) continue;
      const char letter = key.back().toLatin1();
      EXPECT_EQ(found.find(letter), std::string::npos) << box->text().toStdString();
      found += letter;
    }
    return found;
  }
  static std::size_t place(const std::vector<LONG>& order, LONG id) {
    return static_cast<std::size_t>(std::find(order.begin(), order.end(), id) - order.begin());
  }

  lmSettings settings;

 private:
  host::PluginUnit unit_;
};
