// The plug-in's dialogs through their widgets: clicks, typed text, and their effects.
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>

#include "active_document.h"
#include "color_field.h"
#include "color_picker.h"
#include "dialog_scroll.h"
#include "dialog_window.h"
#include "dlg_animation.h"
#include "dlg_optimize.h"
#include "dlg_options.h"
#include "lm_keys.h"
#include "main.h"
#include "number_field.h"
#include "plugin_kit.h"
#include "theme.h"

namespace {

using host::NumberField;
using host::SliderField;

/// A core message of the viewer's dialogs.
struct Sent {
  LONG id = 0;
  LLONG p1 = 0, p2 = 0;
  friend bool operator==(const Sent&, const Sent&) = default;
};

class SentLog final : public host::CoreListener {
 public:
  SentLog() { host::mainLoop().add(this); }
  ~SentLog() { host::mainLoop().remove(this); }
  void coreMessage(LONG id, const BaseContainer& message) override {
    if (id != EVMSG_CHANGE)
      sent.push_back({id, message.GetLLong(BFM_CORE_PAR1), message.GetLLong(BFM_CORE_PAR2)});
  }
  std::vector<Sent> take() {
    QtFixture::settle();
    std::vector<Sent> taken;
    taken.swap(sent);
    return taken;
  }

 private:
  std::vector<Sent> sent;
};

// ---- Options

class OptionsDialog : public PluginDialogs {
 public:
  void open(const std::function<void(QWidget&)>& user) {
    asPlugin([&] {
      DlgOptions dialog;
      dialog.settings = &settings;
      openModal([&] { dialog.Open(); }, user);
    });
  }
};

TEST_F(OptionsDialog, FitsTheScreenAndShowsEverythingInBothThemes) {
  for (const host::Theme theme : {host::Theme::dark, host::Theme::light}) {
    host::setTheme(theme);
    open([](QWidget& window) {
      EXPECT_EQ(window.windowTitle(), "Options");
      EXPECT_LE(window.height(), 1040) << "with its frame on a screen of 1080";
      EXPECT_LE(window.width(), 1000);
      expectNothingClipped(window);
    });
  }
}

TEST_F(OptionsDialog, ScrollsOnASmallScreenAndTheKeyboardReachesAll) {
  open([](QWidget& window) {
    window.activateWindow();
    ASSERT_TRUE(waitFor([&] { return window.isActiveWindow(); }));
    settle();
    const QRect screen = window.screen()->availableGeometry();
    ASSERT_LE(screen.height(), 800) << "the screen is too large for this test";
    EXPECT_LE(window.frameGeometry().height(), screen.height() - 32);
    EXPECT_TRUE(screen.contains(window.frameGeometry()));
    auto& scroll = *window.findChild<host::DialogScroll*>();
    EXPECT_GT(scroll.verticalScrollBar()->maximum(), 0);
    const auto isSeen = [](const QWidget& widget, const QWidget& in) {
      const int top = widget.mapTo(&in, QPoint(0, 0)).y();
      return top >= 0 && top + widget.height() <= in.height();
    };
    EXPECT_TRUE(isSeen(at(window, IDC_OK), window)) << at(window, IDC_OK).mapTo(&window, QPoint()).y();
    QTest::keyClick(&window, Qt::Key_Tab);
    int visited = 0;
    QWidget* first = window.focusWidget();
    do {
      QWidget* focus = window.focusWidget();
      ASSERT_NE(focus, nullptr);
      EXPECT_TRUE(!scroll.widget()->isAncestorOf(focus) || isSeen(*focus, *scroll.viewport()))
          << focus->objectName().toStdString();
      QTest::keyClick(focus, Qt::Key_Tab);
    } while (++visited < 300 && window.focusWidget() != first);
    EXPECT_GT(visited, 30);
    EXPECT_LT(visited, 300);
  });
}

TEST_F(OptionsDialog, ChecksEnableTheirFields) {
  open([](QWidget& window) {
    EXPECT_FALSE(enabled(window, LM_REFRESH_WAIT));
    EXPECT_FALSE(enabled(window, LM_REFRESH_DELAY));
    check(window, LM_AUTO_REFRESH);
    EXPECT_TRUE(enabled(window, LM_REFRESH_WAIT));
    EXPECT_FALSE(enabled(window, LM_REFRESH_DELAY)) << "waits";
    check(window, LM_REFRESH_WAIT);
    EXPECT_TRUE(enabled(window, LM_REFRESH_DELAY));
    check(window, LM_AUTO_REFRESH);
    EXPECT_FALSE(enabled(window, LM_REFRESH_DELAY));

    EXPECT_TRUE(enabled(window, LM_STAMP_RENDER_TIME_H)) << "on by default";
    check(window, LM_STAMP_RENDER_TIME);
    EXPECT_FALSE(enabled(window, LM_STAMP_RENDER_TIME_H));
    EXPECT_FALSE(enabled(window, LM_STAMP_IMAGE_FILE));
    check(window, LM_STAMP_IMAGE);
    for (const LONG id : {20022, 20023, 20024, 20025})
      EXPECT_TRUE(enabled(window, id)) << id;

    EXPECT_FALSE(enabled(window, LM_MIN_WIDTH));
    choose(window, LM_VIEW_SIZE, "Custom");
    EXPECT_TRUE(enabled(window, LM_MIN_WIDTH));
    EXPECT_TRUE(enabled(window, LM_MIN_HEIGHT));
  });
}

TEST_F(OptionsDialog, TypedTextIsClampedAndStored) {
  open([](QWidget& window) {
    auto& step = at<NumberField>(window, LM_ZOOM_STEP);
    EXPECT_EQ(step.text(), "10 %");
    type(step, "25");
    EXPECT_EQ(step.text(), "20 %");
    type(at<NumberField>(window, LM_HISTORY_SIZE), "1");
    EXPECT_EQ(at<NumberField>(window, LM_HISTORY_SIZE).text(), "2");
    type(at<NumberField>(window, LM_HISTORY_SIZE), "51");
    choose(window, LM_VIEW_SIZE, "Custom");
    type(at<NumberField>(window, LM_MIN_WIDTH), "512/2");
    check(window, LM_STAMP_CUSTOM1);
    auto& text = at<QLineEdit>(window, LM_STAMP_TEXT1);
    window.activateWindow();
    text.setFocus();
    EXPECT_TRUE(waitFor([&] { return text.hasFocus(); }));
    text.selectAll();
    QTest::keyClicks(&text, "Draft"); // still being typed when the dialog closes
  });
  const BaseContainer& data = *settings.GetDataInstance();
  EXPECT_DOUBLE_EQ(data.GetReal(LM_ZOOM_STEP), 0.2);
  EXPECT_EQ(data.GetLong(LM_HISTORY_SIZE), 50);
  EXPECT_EQ(data.GetLong(LM_VIEW_SIZE), 1);
  EXPECT_EQ(data.GetLong(LM_MIN_WIDTH), 256);
  EXPECT_EQ(data.GetLong(LM_STAMP_CUSTOM1), 1);
  EXPECT_EQ(data.GetString(LM_STAMP_TEXT1), String("Draft"));
  const BaseContainer* stored = GetWorldPluginData(ID_LUMENARA);
  ASSERT_NE(stored, nullptr);
  EXPECT_EQ(stored->GetLong(LM_MIN_WIDTH), 256) << "saved, though the window was closed without OK";
}

TEST_F(OptionsDialog, AColourIsChosen) {
  open([](QWidget& window) {
    auto& field = at<host::ColorField>(window, LM_ANAGLYPH_LEFT);
    EXPECT_EQ(field.color(), QColor(255, 0, 0));
    QTest::mouseClick(&field.button(), Qt::LeftButton);
    auto* picker = window.findChild<host::ColorPicker*>(QStringLiteral("colorPicker"));
    ASSERT_TRUE(picker);
    for (auto* number : picker->findChildren<host::NumberField*>())
      if (number->accessibleName() == "Hue") {
        number->setFocus();
        number->selectAll();
        QTest::keyClicks(number, "240");
        QTest::keyClick(number, Qt::Key_Return);
      }
  });
  EXPECT_EQ(settings.GetDataInstance()->GetVector(LM_ANAGLYPH_LEFT), Vector(0, 0, 1));
}

TEST_F(OptionsDialog, TheTabKeyGoesDownTheColumns) {
  open([](QWidget& window) {
    const std::vector<LONG> order = tabOrder(window, LM_AUTO_REFRESH);
    const LONG column[] = {LM_AUTO_REFRESH,
                           LM_REFRESH_WAIT,
                           LM_REFRESH_DELAY,
                           LM_VIEW_SIZE,
                           LM_MIN_WIDTH,
                           LM_MIN_HEIGHT,
                           LM_LOCK,
                           LM_ZOOM_STEP,
                           LM_HISTORY_SIZE,
                           LM_STAMP_RENDER_TIME,
                           LM_STAMP_RENDER_TIME_H,
                           LM_STAMP_RENDER_TIME_V,
                           LM_STAMP_IMAGE,
                           LM_STAMP_IMAGE_FILE,
                           LM_STEREO_LEFT_CAMERA};
    for (std::size_t i = 1; i < std::size(column); ++i) {
      ASSERT_LT(place(order, column[i]), order.size()) << column[i];
      EXPECT_LT(place(order, column[i - 1]), place(order, column[i])) << column[i];
    }
    EXPECT_EQ(order.back(), IDC_OK);
  });
}

TEST_F(OptionsDialog, LettersWorkWithAlt) {
  open([](QWidget& window) {
    EXPECT_GE(letters(window).size(), 15u);
    window.activateWindow();
    EXPECT_TRUE(waitFor([&] { return window.isActiveWindow(); }));
    QTest::keyClick(&window, Qt::Key_A, Qt::AltModifier);
    EXPECT_TRUE(waitFor([&] { return at<QCheckBox>(window, LM_AUTO_REFRESH).isChecked(); }))
        << "the button stays down for a moment";
  });
  EXPECT_EQ(settings.GetDataInstance()->GetLong(LM_AUTO_REFRESH), 1);
}

TEST_F(OptionsDialog, TheTitleBarShowsTheVersion) {
  open([](QWidget& window) {
    QString told;
    whenModal([&](QWidget& box) {
      for (const QLabel* label : box.findChildren<QLabel*>())
        told += label->text();
      QTest::keyClick(&box, Qt::Key_Escape);
    });
    QTest::mouseClick(&at(window, 20001), Qt::LeftButton, {}, QPoint(40, 12));
    settle();
    EXPECT_TRUE(told.contains(QString::fromStdString("Lumenara v" + GetVersionString().GetUTF8())))
        << told.toStdString();
  });
}

// ---- Render Animation

class AnimationDialog : public PluginDialogs {
 public:
  AnimationDialog() {
    BaseDocument* document = BaseDocument::Alloc();
    document->SetFps(30);
    document->SetMinTime(BaseTime(0));
    document->SetMaxTime(BaseTime(3));
    host::setActiveDocument(document);
    dialog.settings = &settings;
    dialog.format = 8;
    dialog.launch = 1;
  }
  ~AnimationDialog() override { host::setActiveDocument(nullptr); }

  bool open(const std::function<void(QWidget&)>& user) {
    openModal([&] { asPlugin([&] { dialog.Open(); }); }, user);
    return dialog.GetResult() != FALSE;
  }
  static void write(QWidget& window, const char* name) {
    auto& field = at<QLineEdit>(window, LM_ANIM_FILE);
    field.selectAll();
    QTest::keyClicks(&field, name);
    QTest::keyClick(&field, Qt::Key_Tab);
  }
  static void press(QWidget& window, LONG id) {
    QTest::mouseClick(&at<QPushButton>(window, id), Qt::LeftButton);
  }

  DlgAnimation dialog;
};

TEST_F(AnimationDialog, IsFilledInAndRemembered) {
  EXPECT_TRUE(open([](QWidget& window) {
    EXPECT_EQ(window.windowTitle(), "Render Animation");
    expectNothingClipped(window);
    EXPECT_EQ(at<QComboBox>(window, LM_ANIM_FORMAT).currentIndex(), -1) << "a stored 0 has no entry";
    EXPECT_FALSE(enabled(window, DLG_ANIMATION_CONFIGURE));
    write(window, "/tmp/shot");
    choose(window, LM_ANIM_FORMAT, "TIFF");
    EXPECT_EQ(at<QLineEdit>(window, LM_ANIM_FILE).text(), "/tmp/shot.tif");
    EXPECT_FALSE(enabled(window, DLG_ANIMATION_CONFIGURE));
    choose(window, LM_ANIM_FORMAT, "JPEG");
    EXPECT_EQ(at<QLineEdit>(window, LM_ANIM_FILE).text(), "/tmp/shot.jpg");
    EXPECT_TRUE(enabled(window, DLG_ANIMATION_CONFIGURE));

    choose(window, DLG_ANIMATION_FRAMES, "All Frames");
    EXPECT_EQ(at<NumberField>(window, LM_ANIM_FROM).text(), "0");
    EXPECT_EQ(at<NumberField>(window, LM_ANIM_TO).text(), "90");
    type(at<NumberField>(window, LM_ANIM_FROM), "10");
    EXPECT_EQ(at<QComboBox>(window, DLG_ANIMATION_FRAMES).currentText(), "Manual");
    type(at<NumberField>(window, LM_ANIM_STEP), "5");
    check(window, LM_ANIM_STAMP);
    check(window, LM_ANIM_REMEMBER);
    press(window, IDC_OK);
  }));
  EXPECT_EQ(dialog.fileName.GetString(), String("/tmp/shot.jpg"));
  EXPECT_EQ(std::vector<LONG>({dialog.from, dialog.to, dialog.step, dialog.format, dialog.stamp}),
            (std::vector<LONG>{10, 90, 5, 8, 1}));
  EXPECT_EQ(GetWorldPluginData(ID_LUMENARA)->GetLong(LM_ANIM_FROM), 10);
  EXPECT_EQ(GetWorldPluginData(ID_LUMENARA)->GetLong(LM_ANIM_REMEMBER), 1);
}

TEST_F(AnimationDialog, JpegAndPsdHaveDialogsOfTheirOwn) {
  settings.SetValue(LM_ANIM_FORMAT, static_cast<LONG>(8));
  open([](QWidget& window) {
    whenModal([](QWidget& jpeg) {
      EXPECT_EQ(jpeg.windowTitle(), "JPEG Settings");
      expectNothingClipped(jpeg);
      auto& quality = at<SliderField>(jpeg, LM_ANIM_JPEG_QUALITY);
      EXPECT_EQ(quality.value(), 95);
      // The captions stand at the slider's ends.
      const int left = quality.slider().mapTo(&jpeg, QPoint()).x();
      const int right = quality.slider().mapTo(&jpeg, QPoint(quality.slider().width(), 0)).x();
      for (const QLabel* label : jpeg.findChildren<QLabel*>()) {
        const int x = label->mapTo(&jpeg, QPoint()).x();
        if (label->text() == "Low" || label->text() == "Small File") {
          EXPECT_NEAR(x, left, 16);
        }
        if (label->text() == "High " || label->text() == "Large File ") {
          EXPECT_NEAR(x + label->width(), right, 16);
        }
      }
      type(*quality.findChild<NumberField*>(), "40");
      press(jpeg, IDC_OK);
    });
    press(window, DLG_ANIMATION_CONFIGURE);
    choose(window, LM_ANIM_FORMAT, "Photoshop (PSD)");
    whenModal([](QWidget& psd) {
      EXPECT_EQ(psd.windowTitle(), "PSD Options");
      EXPECT_GE(psd.width(), psd.fontMetrics().horizontalAdvance(psd.windowTitle()) + 100)
          << "the title is shown in full";
      check(psd, LM_ANIM_PHOTOSHOP7);
      QTest::keyClick(&psd, Qt::Key_Escape);
    });
    press(window, DLG_ANIMATION_CONFIGURE);
  });
  EXPECT_EQ(dialog.jpegQuality, 40);
  EXPECT_EQ(dialog.photoshop7, 1) << "cancelled";
}

TEST_F(AnimationDialog, EscapeStoresNothing) {
  EXPECT_FALSE(open([](QWidget& window) {
    write(window, "/tmp/never");
    check(window, LM_ANIM_REMEMBER);
  }));
  EXPECT_EQ(settings.GetValue(LM_ANIM_FILE, Filename()).GetString(), String());
  EXPECT_EQ(settings.GetValue(LM_ANIM_REMEMBER, static_cast<LONG>(0)), 0);
}

// ---- Optimizations

class OptimizationsDialog : public PluginDialogs {
 public:
  OptimizationsDialog() {
    asPlugin([&] {
      dialog = std::make_unique<DlgOptimize>();
      EXPECT_TRUE(dialog->Open(DLG_TYPE_ASYNC, ID_LUMENARA_OPTIMIZE));
    });
    settle();
    log.take();
  }
  ~OptimizationsDialog() override {
    dialog->Close();
    dialog.reset();
  }
  QWidget& window() { return *desktop->windowOf(*dialog); }
  static Sent event(LONG key, LLONG value) { return {1021446, key, value}; }
  std::vector<Sent> sentBy(const std::function<void()>& user) {
    user();
    return log.take();
  }

  std::unique_ptr<DlgOptimize> dialog;
  SentLog log;
};

TEST_F(OptimizationsDialog, FitsTheScreenAndShowsEverythingInBothThemes) {
  for (const host::Theme theme : {host::Theme::dark, host::Theme::light}) {
    host::setTheme(theme);
    settle();
    EXPECT_LE(window().height(), 1040);
    EXPECT_LE(window().width(), 1000);
    expectNothingClipped(window());
  }
}

TEST_F(OptimizationsDialog, LettersLeaveTheMainMenuItsOwn) {
  const std::string ours = letters(window());
  EXPECT_GE(ours.size(), 10u);
  EXPECT_EQ(ours.find_first_of("FEVRPWH"), std::string::npos) << ours;
}

TEST_F(OptimizationsDialog, EveryChangeIsSentAtOnce) {
  EXPECT_EQ(sentBy([&] { check(window(), 15014); }), (std::vector<Sent>{event(15014, 0)}));
  EXPECT_EQ(sentBy([&] { check(window(), 15014); }), (std::vector<Sent>{event(15014, 1)}));
  EXPECT_EQ(sentBy([&] { QTest::keyClick(&at<QComboBox>(window(), 15008), Qt::Key_Up); }),
            (std::vector<Sent>{event(15008, 1)}));
  auto& divisor = at<NumberField>(window(), LM_OPT_RES_DIVISOR);
  EXPECT_EQ(sentBy([&] { type(divisor, "25"); }), (std::vector<Sent>{event(15040, 20)}));
  EXPECT_EQ(divisor.text(), "20");
  auto& detail = at<SliderField>(window(), LM_OPT_LOD);
  EXPECT_EQ(sentBy([&] { type(*detail.findChild<NumberField*>(), "37"); }),
            (std::vector<Sent>{event(15043, 37)}));
}

TEST_F(OptimizationsDialog, StereoEnablesItsGadgets) {
  const std::vector<LONG> all = {15060, 15049, 15045, 15054, 15055, 15050, 15053, 15051, 15052};
  for (const LONG id : all)
    EXPECT_FALSE(enabled(window(), id)) << id;
  check(window(), LM_STEREO);
  for (const LONG id : all)
    EXPECT_TRUE(enabled(window(), id)) << id;
  log.take();
  EXPECT_EQ(sentBy([&] {
              type(*at<SliderField>(window(), LM_STEREO_SEPARATION).findChild<NumberField*>(), "-12.3");
            }),
            (std::vector<Sent>{event(15045, -123000)}));
  EXPECT_EQ(sentBy([&] { type(at<NumberField>(window(), LM_STEREO_SCALE), "0.25"); }),
            (std::vector<Sent>{event(15055, 25)}));

  check(window(), LM_STEREO_GREY);
  EXPECT_FALSE(enabled(window(), 15052));
  check(window(), LM_STEREO_NAMED_CAMERAS);
  for (const LONG id : {15049, 15045, 15054, 15055, 15053})
    EXPECT_FALSE(enabled(window(), id)) << id;
  EXPECT_TRUE(enabled(window(), 15050));
  check(window(), LM_STEREO);
  for (const LONG id : all)
    EXPECT_FALSE(enabled(window(), id)) << id;
}

} // namespace
