// The render settings: every field reaches the document and follows it.
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QScrollArea>
#include <QTabWidget>

#include "c4d_render.h"
#include "manager_kit.h"
#include "number_field.h"
#include "plugin_registry.h"
#include "render_settings.h"
#include "render_settings_dialog.h"
#include "view_setting.h"

using namespace host;

namespace {

class ManagerSettingsTest : public ManagerTest {
 public:
  ManagerSettingsTest() {
    dialog = std::make_unique<RenderSettingsDialog>(*session);
    dialog->show();
    dialog->activateWindow();
    settle();
  }
  ~ManagerSettingsTest() override { dialog.reset(); }

  std::unique_ptr<RenderSettingsDialog> dialog;

  GeData value(LONG id) { return renderValue(document(), id); }
  NumberField& number(LONG id) { return dynamic_cast<NumberField&>(*dialog->field(id)); }
  QComboBox& choice(LONG id) { return dynamic_cast<QComboBox&>(*dialog->field(id)); }
  QCheckBox& box(LONG id) { return dynamic_cast<QCheckBox&>(*dialog->field(id)); }
  void type(LONG id, const char* text) {
    NumberField& field = number(id);
    showPageOf(field);
    field.setFocus();
    field.selectAll();
    QTest::keyClicks(&field, QLatin1String(text));
    QTest::keyClick(&field, Qt::Key_Return);
    settle();
  }
  void choose(LONG id, int index) {
    QComboBox& field = choice(id);
    showPageOf(field);
    field.setFocus();
    const int steps = index - field.currentIndex();
    for (int i = 0; i < std::abs(steps); ++i)
      QTest::keyClick(&field, steps > 0 ? Qt::Key_Down : Qt::Key_Up);
    settle();
  }
  void showPageOf(const QWidget& field) {
    for (int page = 0; page < dialog->tabs().count(); ++page)
      if (dialog->tabs().widget(page)->isAncestorOf(&field)) dialog->tabs().setCurrentIndex(page);
  }
};

TEST_F(ManagerSettingsTest, NumbersReachTheDocument) {
  const DocumentPtr before = copy();
  type(RDATA_XRES, "800");
  type(RDATA_YRES, "600");
  type(RDATA_MAXSAMPLES, "2*128");
  type(RDATA_NOISETHRESHOLD, "0.005");
  type(RDATA_LOD, "50");
  EXPECT_EQ(value(RDATA_XRES).GetLong(), 800);
  EXPECT_EQ(value(RDATA_YRES).GetLong(), 600);
  EXPECT_EQ(value(RDATA_MAXSAMPLES).GetLong(), 256);
  EXPECT_DOUBLE_EQ(value(RDATA_NOISETHRESHOLD).GetReal(), 0.005);
  EXPECT_DOUBLE_EQ(value(RDATA_LOD).GetReal(), 0.5);
  EXPECT_EQ(edits().stepCount(), 5u);
  EXPECT_EQ(edits().undoName(), String("Change Render Settings"));
  for (int i = 0; i < 5; ++i)
    edits().undo();
  expectEqual(before);
  settle();
  EXPECT_EQ(number(RDATA_XRES).value(), 1280) << "the fields follow";
  EXPECT_EQ(number(RDATA_LOD).value(), 100);
}

TEST_F(ManagerSettingsTest, DenoisingIsOffAtTheEndOrLive) {
  const DocumentPtr before = copy();
  ASSERT_EQ(choice(render::denoiseSetting).count(), 3);
  EXPECT_EQ(choice(render::denoiseSetting).currentIndex(), 0);
  choose(render::denoiseSetting, 2);
  EXPECT_EQ(value(render::denoiseSetting).GetLong(), 2);
  edits().undo();
  edits().undo();
  expectEqual(before);
  settle();
  EXPECT_EQ(choice(render::denoiseSetting).currentIndex(), 0) << "the field follows";
}

TEST_F(ManagerSettingsTest, SamplesGoWhereTheNoiseIsOrEverywhere) {
  ASSERT_EQ(choice(render::spreadSetting).count(), 2);
  EXPECT_EQ(choice(render::spreadSetting).currentIndex(), 0);
  choose(render::spreadSetting, 1);
  EXPECT_EQ(value(render::spreadSetting).GetLong(), static_cast<LONG>(render::SampleSpread::evenly));
  edits().undo();
  settle();
  EXPECT_EQ(choice(render::spreadSetting).currentIndex(), 0) << "the field follows";
}

TEST_F(ManagerSettingsTest, TheRadianceCacheIsOnAndCanBeSwitchedOff) {
  EXPECT_TRUE(box(render::radianceCacheSetting).isChecked());
  box(render::radianceCacheSetting).click();
  settle();
  EXPECT_FALSE(value(render::radianceCacheSetting).GetBool());
  edits().undo();
  settle();
  EXPECT_TRUE(box(render::radianceCacheSetting).isChecked()) << "the field follows";
}

TEST_F(ManagerSettingsTest, TheShutterOpensWithMotionBlur) {
  const DocumentPtr before = copy();
  EXPECT_FALSE(box(render::motionBlurSetting).isChecked());
  for (const LONG id : {render::shutterOpenSetting, render::shutterCloseSetting, render::motionStepsSetting})
    EXPECT_FALSE(dialog->field(id)->isEnabled()) << id;
  box(render::motionBlurSetting).click();
  settle();
  EXPECT_TRUE(value(render::motionBlurSetting).GetBool());
  type(render::shutterOpenSetting, "0");
  type(render::shutterCloseSetting, "1/2");
  type(render::motionStepsSetting, "99");
  EXPECT_EQ(value(render::shutterOpenSetting).GetReal(), 0);
  EXPECT_DOUBLE_EQ(value(render::shutterCloseSetting).GetReal(), 0.5);
  EXPECT_EQ(value(render::motionStepsSetting).GetLong(), 16);
  for (int i = 0; i < 4; ++i)
    edits().undo();
  expectEqual(before);
}

TEST_F(ManagerSettingsTest, NumbersAreCutToTheirRanges) {
  type(RDATA_XRES, "0");
  EXPECT_EQ(value(RDATA_XRES).GetLong(), 1);
  type(RDATA_XRES, "1e9");
  EXPECT_EQ(value(RDATA_XRES).GetLong(), 32768);
  type(RDATA_MAXSAMPLES, "-4");
  EXPECT_EQ(value(RDATA_MAXSAMPLES).GetLong(), 1);
  type(RDATA_NOISETHRESHOLD, "7");
  EXPECT_EQ(value(RDATA_NOISETHRESHOLD).GetReal(), 1);
}

TEST_F(ManagerSettingsTest, ProportionsAreKept) {
  dialog->setProportional(true);
  type(RDATA_XRES, "640");
  EXPECT_EQ(value(RDATA_YRES).GetLong(), 360);
  EXPECT_EQ(edits().stepCount(), 1u) << "both sides are one step";
  type(RDATA_YRES, "1080");
  EXPECT_EQ(value(RDATA_XRES).GetLong(), 1920);
  auto* presets = dialog->findChild<QComboBox*>(QStringLiteral("presets"));
  EXPECT_TRUE(presets->currentText().startsWith(QStringLiteral("Full HD")));
  dialog->setProportional(false);
  type(RDATA_XRES, "1000");
  EXPECT_EQ(value(RDATA_YRES).GetLong(), 1080);
  EXPECT_EQ(presets->currentIndex(), -1);
}

TEST_F(ManagerSettingsTest, ChoicesReachTheDocument) {
  choose(RDATA_ANTIALIASING, 1);
  EXPECT_EQ(value(RDATA_ANTIALIASING).GetLong(), 1);
  choose(RDATA_AAFILTER, 6);
  EXPECT_EQ(value(RDATA_AAFILTER).GetLong(), 6);
  choose(RDATA_RENDERENGINE, 2);
  EXPECT_EQ(value(RDATA_RENDERENGINE).GetLong(), RDATA_RENDERENGINE_PREVIEWHARDWARE);
  edits().apply("Foreign",
                [](BaseDocument& in) { setRenderValue(in, RDATA_RENDERENGINE, GeData(LONG{77})); });
  settle();
  EXPECT_EQ(choice(RDATA_RENDERENGINE).currentData().toInt(), 77)
      << "what has no word here is shown and stays";
}

TEST_F(ManagerSettingsTest, EverySwitchReachesTheDocument) {
  dialog->tabs().setCurrentIndex(2);
  for (const LONG id :
       {RDATA_TEXTURES, RDATA_ENABLEBLURRY, RDATA_OPTION_LIMITREFLECTION, RDATA_OPTION_REFLECTION,
        RDATA_OPTION_REFRACTION, RDATA_OPTION_TRANSPARENCY, RDATA_SSS, RDATA_SUBPOLYGON_DISPLACEMENT,
        RDATA_OPTION_LIMITSHADOW, RDATA_OPTION_SHADOW, RDATA_VOLUMETRICLIGHTING, RDATA_ACTIVEOBJECTONLY,
        RDATA_POSTEFFECTS_ENABLE, RDATA_SAVEIMAGE, RDATA_RENDERREGION}) {
    const bool before = value(id).GetBool();
    EXPECT_EQ(box(id).isChecked(), before) << id;
    EXPECT_TRUE(box(id).isEnabled()) << id;
    box(id).click();
    settle();
    EXPECT_EQ(value(id).GetBool() != FALSE, !before) << id;
    edits().undo();
    settle();
    EXPECT_EQ(box(id).isChecked(), before) << id;
  }
}

TEST_F(ManagerSettingsTest, FieldsAreEnabledWhereTheyCount) {
  EXPECT_FALSE(number(RDATA_RENDERREGION_LEFT).isEnabled());
  box(RDATA_RENDERREGION).click();
  settle();
  EXPECT_TRUE(number(RDATA_RENDERREGION_LEFT).isEnabled());
  type(RDATA_RENDERREGION_RIGHT, "99");
  EXPECT_EQ(value(RDATA_RENDERREGION_RIGHT).GetLong(), 99);
  EXPECT_TRUE(box(RDATA_OPTION_REFRACTION).isEnabled());
  box(RDATA_OPTION_TRANSPARENCY).click();
  settle();
  EXPECT_FALSE(box(RDATA_OPTION_REFRACTION).isEnabled());
  EXPECT_TRUE(choice(RDATA_AAFILTER).isEnabled());
  choose(RDATA_ANTIALIASING, 0);
  EXPECT_FALSE(choice(RDATA_AAFILTER).isEnabled());
  EXPECT_TRUE(number(RDATA_MAXSAMPLES).isEnabled());
  choose(RDATA_RENDERENGINE, 1);
  EXPECT_FALSE(number(RDATA_MAXSAMPLES).isEnabled());
}

TEST_F(ManagerSettingsTest, FramesAreTimes) {
  document().SetFps(25);
  dialog->refresh();
  type(RDATA_FRAMEFROM, "10");
  type(RDATA_FRAMETO, "50");
  EXPECT_DOUBLE_EQ(value(RDATA_FRAMEFROM).GetTime().Get(), 0.4);
  EXPECT_DOUBLE_EQ(value(RDATA_FRAMETO).GetTime().Get(), 2);
  EXPECT_EQ(number(RDATA_FRAMETO).value(), 50);
}

TEST_F(ManagerSettingsTest, SettingsWithoutEffectSaySo) {
  for (const LONG id : {RDATA_SSS, RDATA_SUBPOLYGON_DISPLACEMENT, RDATA_VOLUMETRICLIGHTING, RDATA_SAVEIMAGE})
    EXPECT_TRUE(box(id).text().contains(QStringLiteral("no effect"))) << id;
  for (const LONG id : {RDATA_MULTIPASS_ENABLE, RDATA_MULTIPASS_SAVEIMAGE})
    EXPECT_EQ(dialog->field(id), nullptr) << id;
  for (const LONG id :
       {RDATA_TEXTURES, RDATA_OPTION_SHADOW, RDATA_ACTIVEOBJECTONLY, RDATA_POSTEFFECTS_ENABLE})
    EXPECT_FALSE(box(id).text().contains(QStringLiteral("no effect"))) << id;
}

TEST_F(ManagerSettingsTest, ADragIsOneStep) {
  NumberField& field = number(RDATA_XRES);
  const QPoint start = field.rect().center();
  QTest::mousePress(&field, Qt::LeftButton, {}, start);
  for (int x = 1; x <= 30; ++x) {
    const QPoint at = start + QPoint(x, 0);
    QMouseEvent move(QEvent::MouseMove, at, field.mapToGlobal(at), Qt::NoButton, Qt::LeftButton, {});
    QApplication::sendEvent(&field, &move);
    settle();
  }
  EXPECT_GT(value(RDATA_XRES).GetLong(), 1280);
  QTest::mouseRelease(&field, Qt::LeftButton, {}, start + QPoint(30, 0));
  settle();
  EXPECT_EQ(edits().stepCount(), 1u);
  edits().undo();
  EXPECT_EQ(value(RDATA_XRES).GetLong(), 1280);
}

TEST_F(ManagerSettingsTest, EffectsAreAddedSwitchedAndRemoved) {
  dialog->tabs().setCurrentIndex(3);
  while (dialog->effects().count() > 0) { // what a new document has
    dialog->effects().setCurrentRow(0);
    dialog->removeEffect();
  }
  settle();
  const DocumentPtr before = copy();
  const std::size_t steps = edits().stepCount();
  auto* add = dialog->findChild<QPushButton*>(QStringLiteral("addEffect"));
  emit add->menu()->aboutToShow();
  QStringList offered;
  for (const QAction* action : add->menu()->actions())
    offered << action->text();
  EXPECT_TRUE(offered.contains(QStringLiteral("Caustics")));
  EXPECT_TRUE(offered.contains(QStringLiteral("Hair (no effect)")));
  for (QAction* action : add->menu()->actions())
    if (action->text() == QStringLiteral("Caustics")) action->trigger();
  settle();
  ASSERT_EQ(dialog->effects().count(), 1);
  EXPECT_EQ(dialog->effects().item(0)->text(), QStringLiteral("Caustics"));
  EXPECT_EQ(dialog->effects().item(0)->checkState(), Qt::Checked);
  emit add->menu()->aboutToShow();
  for (const QAction* action : add->menu()->actions())
    EXPECT_NE(action->text(), QStringLiteral("Caustics")) << "there once";

  dialog->effects().item(0)->setCheckState(Qt::Unchecked);
  settle();
  ASSERT_EQ(videoPostRows(document()).size(), 1u);
  EXPECT_FALSE(videoPostRows(document())[0].on);
  edits().undo();
  settle();
  EXPECT_EQ(dialog->effects().item(0)->checkState(), Qt::Checked);

  dialog->effects().setCurrentRow(0);
  dialog->findChild<QPushButton*>(QStringLiteral("removeEffect"))->click();
  settle();
  EXPECT_EQ(dialog->effects().count(), 0);
  EXPECT_TRUE(videoPostRows(document()).empty());
  EXPECT_EQ(edits().stepCount(), steps + 2) << "added, removed; the switch was undone";
  edits().undo();
  EXPECT_EQ(videoPostRows(document()).size(), 1u);
  edits().undo();
  expectEqual(before);
}

TEST_F(ManagerSettingsTest, ItFollowsAnotherDocument) {
  type(RDATA_XRES, "333");
  session->hub().replace(scene(), Replacement::opened);
  settle();
  EXPECT_EQ(number(RDATA_XRES).value(), 1280);
}

TEST_F(ManagerSettingsTest, TabGoesThroughThePageFromTheTop) {
  dialog->tabs().setCurrentIndex(1);
  settle();
  choice(RDATA_RENDERENGINE).setFocus();
  const LONG order[] = {render::shadingSetting,    RDATA_MAXSAMPLES,
                        render::spreadSetting,     RDATA_NOISETHRESHOLD,
                        render::denoiseSetting,    render::radianceCacheSetting,
                        RDATA_ANTIALIASING,        RDATA_AAFILTER,
                        render::motionBlurSetting, RDATA_LOD};
  for (const LONG id : order) {
    QTest::keyClick(dialog->focusWidget(), Qt::Key_Tab);
    EXPECT_EQ(dialog->focusWidget(), dialog->field(id)) << id;
  }
}

TEST_F(ManagerSettingsTest, Looks) {
  for (int page = 0; page < dialog->tabs().count(); ++page) {
    dialog->tabs().setCurrentIndex(page);
    settle();
    const auto& area = dynamic_cast<QScrollArea&>(*dialog->tabs().widget(page));
    EXPECT_LE(area.widget()->width(), area.viewport()->width())
        << "nothing is cut off at the right of " << page;
    keepPicture(*dialog, QStringLiteral("settings-%1").arg(page));
  }
}

TEST_F(ManagerSettingsTest, TheViewGoesWithTheDocument) {
  EXPECT_EQ(choice(render::viewSetting).currentText(), "sRGB");
  EXPECT_EQ(number(render::gammaSetting).value(), 1);
  EXPECT_EQ(number(render::whiteBalanceSetting).value(), 6500);
  choose(render::viewSetting, choice(render::viewSetting).findText("Filmic"));
  type(render::exposureSetting, "-1.5");
  type(render::whiteBalanceSetting, "4000");
  const ViewSettings view = render::readView(document().GetActiveRenderData()->GetData(), nullptr);
  EXPECT_EQ(view, (ViewSettings{"Filmic", -1.5, 1, 4000}));
  edits().apply("Other View", [](BaseDocument& in) {
    setRenderValue(in, render::viewSetting, GeData(String("Screen - Elsewhere")));
  });
  settle();
  EXPECT_EQ(choice(render::viewSetting).currentText(), "Screen - Elsewhere") << "kept, though unknown here";
}

TEST_F(ManagerSettingsTest, AConfigurationBringsItsViews) {
  folder.write("own.ocio", R"(ocio_profile_version: 2
roles: {scene_linear: lin_rec709, default: lin_rec709}
displays:
  Screen:
    - !<View> {name: Plain, colorspace: lin_rec709}
colorspaces:
  - !<ColorSpace> {name: lin_rec709}
)");
  const QString file = toQt((folder / "own.ocio").GetString());
  auto& field = dynamic_cast<QLineEdit&>(*dialog->field(render::colorConfigSetting));
  EXPECT_EQ(choice(render::viewSetting).findText("Screen - Plain"), -1);
  field.setFocus();
  QTest::keyClicks(&field, file);
  QTest::keyClick(&field, Qt::Key_Return);
  settle();
  EXPECT_EQ(render::readView(document().GetActiveRenderData()->GetData(), nullptr).config,
            file.toStdString());
  const int index = choice(render::viewSetting).findText("Screen - Plain");
  ASSERT_GE(index, 0);
  choose(render::viewSetting, index);
  EXPECT_EQ(choice(render::viewSetting).currentText(), "Screen - Plain");
  field.clear();
  settle();
  EXPECT_EQ(render::readView(document().GetActiveRenderData()->GetData(), nullptr).config, "");
  EXPECT_EQ(choice(render::viewSetting).currentText(), "Screen - Plain") << "kept, though unknown now";
}

TEST_F(ManagerSettingsTest, MultiPassListsTheLayersOfTheFilm) {
  QWidget& field = *dialog->field(render::layersSetting);
  const QList<QCheckBox*> boxes = field.findChildren<QCheckBox*>();
  EXPECT_EQ(static_cast<std::size_t>(boxes.size()), layerTable().size());
  showPageOf(field);
  auto* depth = field.findChild<QCheckBox*>(QStringLiteral("depth"));
  auto* mattes = field.findChild<QCheckBox*>(QStringLiteral("cryptomatte"));
  ASSERT_TRUE(depth && mattes);
  depth->click();
  mattes->click();
  settle();
  EXPECT_EQ(value(render::layersSetting).GetLong(), static_cast<LONG>(depthLayer | cryptomatteLayers));
  depth->click();
  settle();
  EXPECT_EQ(value(render::layersSetting).GetLong(), static_cast<LONG>(cryptomatteLayers));
  EXPECT_TRUE(mattes->isChecked());
  EXPECT_FALSE(depth->isChecked());
}

} // namespace
