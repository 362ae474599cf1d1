// The viewer's button and the dialogs' title bar through real mouse events of their windows.
#include <QAction>
#include <QCursor>
#include <QImage>
#include <QPushButton>
#include <QWindow>
#include <fstream>

#include "active_document.h"
#include "dialog_window.h"
#include "dlg_lumenara.h"
#include "dlg_optimize.h"
#include "plugin_kit.h"

namespace {

/// A press and a release where the window system sees them: on the window, at the widget's place.
void clickWindow(QWidget& widget, const QPoint& at, Qt::KeyboardModifiers modifiers = {}) {
  QTest::mouseClick(widget.window()->windowHandle(), Qt::LeftButton, modifiers,
                    widget.mapTo(widget.window(), at));
}

/// Moves the screen's pointer and notifies the window under it.
void movePointer(QWidget& widget, const QPoint& at) {
  QCursor::setPos(widget.mapToGlobal(at));
}

// ---- Refresh

/// A viewer that counts its requests. Without a document they have nothing to render.
class CountingViewer : public DlgLumenara {
 public:
  void OnRender(LONG animation) override {
    ++requests;
    DlgLumenara::OnRender(animation);
  }
  using DlgLumenara::settings;
  LONG requests = 0;
};

class RefreshButton : public PluginDialogs {
 public:
  RefreshButton() {
    asPlugin([&] {
      viewer = std::make_unique<CountingViewer>();
      EXPECT_TRUE(viewer->Open(DLG_TYPE_ASYNC, ID_LUMENARA, -1, -1, 400, 300));
    });
    settle();
  }
  ~RefreshButton() override {
    viewer->Close();
    viewer.reset();
  }
  QPushButton& button() { return at<QPushButton>(*desktop->windowOf(*viewer), 1109); }
  void click(Qt::KeyboardModifiers modifiers = {}) {
    clickWindow(button(), button().rect().center(), modifiers);
    settle();
  }
  LONG stored(LONG key) { return GetWorldPluginData(ID_LUMENARA)->GetLong(key, -1); }
  LONG requestsOf(const std::function<void()>& user) {
    viewer->requests = 0;
    user();
    return viewer->requests;
  }

  std::unique_ptr<CountingViewer> viewer;
};

TEST_F(RefreshButton, AClickSwitchesOnAndAsksForARender) {
  ASSERT_EQ(viewer->settings.GetValue(LM_ENABLED, -1), 0);
  EXPECT_EQ(requestsOf([&] { click(); }), 1);
  EXPECT_EQ(stored(LM_ENABLED), 1);
  EXPECT_EQ(requestsOf([&] { click(); }), 1);
  EXPECT_EQ(stored(LM_ENABLED), 1);
}

TEST_F(RefreshButton, ShiftAndAClickSwitchOff) {
  click();
  ASSERT_EQ(stored(LM_ENABLED), 1);
  EXPECT_EQ(requestsOf([&] { click(Qt::ShiftModifier); }), 0);
  EXPECT_EQ(stored(LM_ENABLED), 0);
  EXPECT_EQ(requestsOf([&] { click(Qt::ShiftModifier); }), 1) << "off: Shift changes nothing";
  EXPECT_EQ(stored(LM_ENABLED), 1);
}

TEST_F(RefreshButton, OtherKeysAndTheKeyboardAreARefresh) {
  click();
  EXPECT_EQ(requestsOf([&] { click(Qt::ControlModifier); }), 1);
  EXPECT_EQ(requestsOf([&] { click(Qt::AltModifier); }), 1);
  EXPECT_EQ(requestsOf([&] { click(Qt::ShiftModifier | Qt::ControlModifier); }), 0) << "Shift is among them";
  EXPECT_EQ(stored(LM_ENABLED), 0);
  click();
  button().setFocus();
  EXPECT_EQ(requestsOf([&] { QTest::keyClick(&button(), Qt::Key_Space, Qt::ShiftModifier); }), 1);
  EXPECT_EQ(stored(LM_ENABLED), 1);
}

TEST_F(RefreshButton, ShiftCountsOnlyWithItsOption) {
  viewer->settings.SetValue(LM_SHIFT_DISABLES, 0);
  click();
  EXPECT_EQ(requestsOf([&] { click(Qt::ShiftModifier); }), 1);
  EXPECT_EQ(stored(LM_ENABLED), 1);
}

// ---- The other buttons

TEST_F(RefreshButton, TheButtonsOfTheHistoryAreGreyOutsideCompareMode) {
  QWidget& window = *desktop->windowOf(*viewer);
  for (const LONG mode : std::vector<LONG>{LM_MODE_NORMAL, LM_MODE_COMPARE, LM_MODE_REGION}) {
    viewer->Command(mode, BaseContainer());
    settle();
    for (const LONG button : {1120, 1121})
      EXPECT_EQ(enabled(window, button), mode == LM_MODE_COMPARE) << mode;
  }
}

TEST_F(RefreshButton, TheCamerasOfThePopupBearTheirNames) {
  BaseDocument* document = BaseDocument::Alloc();
  for (const char* name : {"R&D", "Left && Right"}) {
    BaseObject* camera = BaseObject::Alloc(Ocamera);
    camera->SetName(name);
    document->InsertObject(camera, nullptr, nullptr);
  }
  host::setActiveDocument(document);
  QStringList names;
  whenPopup([&](QWidget& popup) {
    for (const QAction* action : popup.actions()) {
      if (action->isSeparator()) continue;
      EXPECT_TRUE(QKeySequence::mnemonic(action->text()).isEmpty());
      names << action->text().replace(QLatin1String("&&"), QLatin1String("&"));
    }
    QTest::keyClick(&popup, Qt::Key_Escape);
  });
  auto& camera = at<QPushButton>(*desktop->windowOf(*viewer), 1118);
  clickWindow(camera, camera.rect().center());
  settle();
  names.sort();
  EXPECT_EQ(names, (QStringList{"Default Camera", "Left && Right", "R&D"}));
  host::setActiveDocument(nullptr);
}

// ---- The title bar

class TitleBar : public PluginDialogs {
 public:
  TitleBar() {
    folder.makeFolder("plugin/docs");
    std::ofstream((folder / "plugin/docs/lm_manual.pdf").GetString().GetUTF8()) << "manual";
    desktop->setOpenUrl([this](const QString& url) {
      opened << url;
      return true;
    });
    asPlugin([&] {
      dialog = std::make_unique<DlgOptimize>();
      EXPECT_TRUE(dialog->Open(DLG_TYPE_ASYNC, ID_LUMENARA_OPTIMIZE));
    });
    settle();
  }
  ~TitleBar() override {
    dialog->Close();
    dialog.reset();
  }
  QWidget& bar() { return at(*desktop->windowOf(*dialog), 15001); }
  QImage shown() { return bar().grab().toImage(); }
  int widthOf(const char* picture) const {
    const AutoAlloc<BaseBitmap> bitmap;
    EXPECT_EQ(bitmap->Init(folder / "plugin/res/gui" + picture), IMAGERESULT_OK);
    return bitmap->GetBw();
  }
  int helpLeft() { return bar().width() - 10 - widthOf("help_a.tif"); }

  std::unique_ptr<DlgOptimize> dialog;
  QStringList opened;
};

TEST_F(TitleBar, AClickOnHelpOpensTheManual) {
  clickWindow(bar(), {helpLeft(), 12});
  clickWindow(bar(), {helpLeft() + 5, 0});
  clickWindow(bar(), {bar().width() / 2, 12});
  settle();
  EXPECT_TRUE(opened.isEmpty()) << "on the edge, above it, and on no button";
  clickWindow(bar(), {helpLeft() + 1, 12});
  settle();
  ASSERT_EQ(opened.size(), 1);
  EXPECT_TRUE(opened[0].endsWith("/plugin/docs/lm_manual.pdf")) << opened[0].toStdString();
}

TEST_F(TitleBar, AClickOnTheNameShowsTheVersion) {
  QString told;
  whenModal([&](QWidget& box) {
    for (const QLabel* label : box.findChildren<QLabel*>())
      told += label->text();
    QTest::keyClick(&box, Qt::Key_Escape);
  });
  clickWindow(bar(), {1 + widthOf("name_a.tif") / 2, 12});
  settle();
  EXPECT_TRUE(told.contains(QString::fromStdString("Lumenara v" + GetVersionString().GetUTF8())))
      << told.toStdString();
  EXPECT_TRUE(opened.isEmpty());
}

TEST_F(TitleBar, ThePointerShowsTheHoverPictureUntilItLeaves) {
  const QImage plain = shown();
  const int help = helpLeft() + 5, name = 20;
  for (const int x : {help, name}) {
    SCOPED_TRACE(x);
    movePointer(bar(), {x, 12});
    EXPECT_TRUE(waitFor([&] { return shown() != plain; }));
    const QImage hovered = shown();
    const int other = x == help ? name : help;
    for (int y = 0; y < 24; ++y)
      ASSERT_EQ(hovered.pixel(other, y), plain.pixel(other, y)) << "the other button stays";
    // Within the window, but outside of the bar: its timer sees it.
    movePointer(*bar().window(), {x, bar().mapTo(bar().window(), QPoint(0, 60)).y()});
    EXPECT_TRUE(waitFor([&] { return shown() == plain; }));
  }
  movePointer(bar(), {bar().width() / 2, 12});
  settle();
  EXPECT_EQ(shown(), plain) << "between the buttons";
}

} // namespace
