// The frame buffer's panels: scopes, light mixer, lens effects.
#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDockWidget>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QToolButton>

#include "compare_panel.h"
#include "desk_panels.h"
#include "display_transform.h"
#include "film.h"
#include "filmstrip.h"
#include "frame_buffer.h"
#include "layer_table.h"
#include "lens_effects.h"
#include "lens_panel.h"
#include "lens_setting.h"
#include "light_mixer_panel.h"
#include "light_strip.h"
#include "manager_kit.h"
#include "number_field.h"
#include "picture_canvas.h"
#include "picture_source.h"
#include "render_settings.h"
#include "scopes_panel.h"

using namespace host;

namespace {

class DeskPanelsTest : public ManagerTest {
 public:
  DeskPanelsTest() {
    frame = std::make_unique<FrameBuffer>(*session);
    desk = new DeskPanels(*session, *frame);
    frame->resize(1000, 700);
    frame->show();
    settle();
  }
  ~DeskPanelsTest() override { frame.reset(); }

  /// Shows a picture with a film of one colour, and the same light in groups.
  void showFilm(std::initializer_list<std::pair<const char*, LightGain>> groups) {
    auto film = std::make_shared<Film>(16, 8);
    float sum[4] = {0, 0, 0, 1};
    for (const auto& [name, light] : groups) {
      const FilmLayerPtr layer = film->addLayer(std::string(lightGroupPrefix) + name, "RGB");
      for (std::size_t pixel = 0; pixel < 16 * 8; ++pixel)
        layer->set(pixel, light.data());
      for (std::size_t i = 0; i < 3; ++i)
        sum[i] += light[i];
    }
    showFilm(film, sum);
  }
  void showFilm(const std::shared_ptr<Film>& film, const float light[4]) {
    const SharedBitmap bitmap = makeBitmap(film->width(), film->height());
    bitmap->Clear(toDisplay(light[0]), toDisplay(light[1]), toDisplay(light[2]));
    for (int y = 0; y < film->height(); ++y)
      for (int x = 0; x < film->width(); ++x)
        film->setColor(x, y, light);
    setFilm(*bitmap, film);
    session->pictures().show(*bitmap, "film");
    settle();
  }
  bool shows(int x, int y, float red, float green, float blue) {
    const QColor wanted(toDisplay(red), toDisplay(green), toDisplay(blue));
    return waitFor([&] { return frame->canvas().shownColor({x, y}) == wanted; });
  }
  template <class T>
  T& part(const char* name) {
    return *frame->findChild<T*>(QLatin1String(name));
  }
  void open(QWidget& panel) {
    static_cast<QDockWidget*>(panel.parentWidget())->show();
    settle();
  }
  BaseContainer settings() { return session->document()->GetActiveRenderData()->GetData(); }
  bool measured() {
    return waitFor([this] { return !desk->scopes().isMeasuring(); });
  }
  int alphaAt(int x, int y) { return qAlpha(desk->scopes().plot().image().pixel(x, y)); }

  std::unique_ptr<FrameBuffer> frame;
  DeskPanels* desk = nullptr;
};

} // namespace

TEST_F(DeskPanelsTest, APanelMakesANarrowWindowWider) {
  frame->resize(600, 500);
  settle();
  auto* toggle = frame->findChild<QAction*>("show-scopes");
  ASSERT_TRUE(toggle);
  const int most = frame->screen()->availableGeometry().width();
  toggle->trigger();
  settle();
  EXPECT_TRUE(frame->centralWidget()->width() >= 640 || frame->frameGeometry().width() == most)
      << frame->centralWidget()->width() << " of " << frame->width();
  EXPECT_GT(frame->width(), 600);
  toggle->trigger();
  settle();
  EXPECT_EQ(frame->width(), 600);
  frame->resize(most, 500);
  settle();
  toggle->trigger();
  settle();
  EXPECT_EQ(frame->width(), most) << "the screen has no more";
}

TEST_F(DeskPanelsTest, ScopesMeasureViewAndFilm) {
  showFilm({{"key", {0.36f, 0.18f, 0.09f}}});
  EXPECT_TRUE(desk->scopes().plot().image().isNull()) << "nothing is measured while it is hidden";
  open(desk->scopes());
  ASSERT_TRUE(measured());
  const int green = toDisplay(0.18f);
  EXPECT_GT(alphaAt(green, 127), 0);
  EXPECT_EQ(alphaAt(green + 1, 127), 0);
  part<QComboBox>("scopeOf").setCurrentIndex(1);
  ASSERT_TRUE(measured());
  EXPECT_GT(alphaAt(160, 127), 0) << "middle grey";
  EXPECT_GT(alphaAt(176, 127), 0) << "a stop above";
  EXPECT_GT(alphaAt(144, 127), 0) << "a stop below";
  EXPECT_EQ(alphaAt(150, 127), 0);
  part<QComboBox>("scopeKind").setCurrentIndex(1);
  part<QCheckBox>("scopeParade").setChecked(true);
  ASSERT_TRUE(measured());
  EXPECT_EQ(desk->scopes().plot().image().size(), QSize(48, 256));
  EXPECT_GT(alphaAt(0, 255 - 176), 0);
  EXPECT_GT(alphaAt(16, 255 - 160), 0);
  keepPicture(*frame, QStringLiteral("desk-waveform"));
  part<QComboBox>("scopeKind").setCurrentIndex(2);
  ASSERT_TRUE(measured());
  EXPECT_EQ(desk->scopes().plot().image().size(), QSize(256, 256));
  keepPicture(*frame, QStringLiteral("desk-vectorscope"));
}

TEST_F(DeskPanelsTest, ScopesCountWhatIsBroken) {
  auto film = std::make_shared<Film>(4, 4);
  const float light[4] = {0.5f, std::nanf(""), 1, 1};
  showFilm(film, light);
  open(desk->scopes());
  part<QComboBox>("scopeOf").setCurrentIndex(1);
  ASSERT_TRUE(measured());
  EXPECT_TRUE(part<QLabel>("scopeFaults").text().startsWith(QStringLiteral("16 pixels")));
  EXPECT_TRUE(part<QLabel>("scopeFaults").isVisible());
}

TEST_F(DeskPanelsTest, FadersMixThePictureLive) {
  showFilm({{"key", {0.25f, 0.25f, 0}}, {"rim", {0, 0.125f, 0.5f}}});
  open(desk->mixer());
  ASSERT_EQ(desk->mixer().strips().size(), 2u);
  EXPECT_TRUE(shows(3, 3, 0.25f, 0.375f, 0.5f));
  LightStrip* key = desk->mixer().strips()[0];
  SliderField* stops = key->findChild<SliderField*>();
  stops->field().setValue(0);
  emit stops->valueChanged(1);
  EXPECT_TRUE(shows(3, 3, 0.5f, 0.625f, 0.5f));
  key->findChildren<QToolButton*>()[0]->click();
  EXPECT_TRUE(shows(3, 3, 0, 0.125f, 0.5f)) << "muted";
  keepPicture(*frame, QStringLiteral("desk-mixer"));
  part<QPushButton>("mixReset").click();
  EXPECT_TRUE(shows(3, 3, 0.25f, 0.375f, 0.5f));
  EXPECT_FALSE(part<QPushButton>("mixReset").isEnabled());
  EXPECT_FALSE(session->edits().canUndo()) << "the scene is not touched";
}

TEST_F(DeskPanelsTest, TheMixIsAppliedInOneStep) {
  ObjectState* lamp = makeObject(Olight);
  lamp->name = "key lamp";
  lamp->data.SetString(param::lightGroup, "key");
  stateOf(session->document())->children.append(*lamp);
  session->edits().notice("");
  session->edits().forgetAll();
  showFilm({{"key", {0.25f, 0.25f, 0}}, {"rim", {0, 0.125f, 0.5f}}});
  open(desk->mixer());
  emit desk->mixer().strips()[0]->findChild<SliderField*>()->valueChanged(2);
  ASSERT_TRUE(part<QPushButton>("mixApply").isEnabled());
  part<QPushButton>("mixApply").click();
  EXPECT_DOUBLE_EQ(param::real(*lamp, param::lightIntensity), 4);
  EXPECT_EQ(session->edits().stepCount(), 1u);
  EXPECT_TRUE(desk->mixer().mix().isNeutral());
  EXPECT_TRUE(shows(3, 3, 0.25f, 0.375f, 0.5f));
  session->edits().undo();
  EXPECT_DOUBLE_EQ(param::real(*lamp, param::lightIntensity), 1);
  emit desk->mixer().strips()[1]->findChild<SliderField*>()->valueChanged(2);
  part<QPushButton>("mixApply").click();
  EXPECT_TRUE(part<QLabel>("mixNote").text().startsWith(QStringLiteral("The scene has no lights")));
  EXPECT_FALSE(session->edits().canUndo());
}

TEST_F(DeskPanelsTest, APictureWithoutGroupsTeachesHowToGetThem) {
  showFilm({});
  open(desk->mixer());
  EXPECT_TRUE(
      part<QLabel>("mixLesson").text().startsWith(QStringLiteral("This picture has no light groups.")));
  keepPicture(*frame, QStringLiteral("desk-mixer-empty"));
  part<QPushButton>("mixWant").click();
  EXPECT_EQ(settings().GetLong(render::layersSetting), static_cast<LONG>(lightGroupLayers));
  EXPECT_FALSE(part<QPushButton>("mixWant").isEnabled());
  EXPECT_TRUE(part<QLabel>("mixLesson").text().startsWith(QStringLiteral("Light groups are on.")));
  session->edits().undo();
  settle();
  EXPECT_TRUE(part<QPushButton>("mixWant").isEnabled());
}

TEST_F(DeskPanelsTest, LensEffectsAreSeenAndKept) {
  auto film = std::make_shared<Film>(33, 33);
  const float dark[4] = {0, 0, 0, 1}, lamp[4] = {40, 20, 10, 1};
  showFilm(film, dark);
  const SharedBitmap bitmap = frame->picture().bitmap();
  filmOf(*bitmap)->setColor(16, 16, lamp);
  bitmap->SetPixel(16, 16, 255, 255, 255);
  frame->picture().refresh();
  open(desk->lens());
  EXPECT_FALSE(desk->lens().shown().any()) << "off at first";
  part<QCheckBox>("lensBloom").click();
  LensSettings lens;
  lens.bloom = true;
  EXPECT_EQ(render::readLens(settings()), lens);
  std::vector<float> light(3 * 33 * 33);
  std::copy_n(lamp, 3, light.begin() + 3 * (16 * 33 + 16));
  applyLens(lens, 33, 33, light);
  const float* near = light.data() + 3 * (16 * 33 + 18);
  EXPECT_GT(toDisplay(near[0]), 20);
  EXPECT_TRUE(shows(18, 16, near[0], near[1], near[2]));
  keepPicture(*frame, QStringLiteral("desk-lens"));
  part<QCheckBox>("lensPreview").click();
  EXPECT_TRUE(shows(18, 16, 0, 0, 0));
  part<QCheckBox>("lensPreview").click();
  EXPECT_TRUE(shows(18, 16, near[0], near[1], near[2]));
  session->edits().undo();
  EXPECT_TRUE(shows(18, 16, 0, 0, 0));
  EXPECT_FALSE(part<QCheckBox>("lensBloom").isChecked());
}

TEST_F(DeskPanelsTest, ADragOfALensFieldIsOneStep) {
  showFilm({});
  SliderField& amount = part<SliderField>("vignetteAmount");
  emit amount.dragStarted();
  for (const double percent : {60, 70, 80})
    emit amount.valueChanged(percent);
  EXPECT_FALSE(session->edits().canUndo());
  EXPECT_DOUBLE_EQ(desk->lens().shown().amount, 0.8);
  emit amount.dragFinished(false);
  EXPECT_EQ(session->edits().stepCount(), 1u);
  EXPECT_DOUBLE_EQ(render::readLens(settings()).amount, 0.8);
}

TEST_F(DeskPanelsTest, TheFilmstripGivesAAndB) {
  const SharedBitmap early = makeBitmap(8, 8), late = makeBitmap(8, 8);
  early->Clear(200, 0, 0);
  late->Clear(0, 0, 200);
  emit frame->list().useWanted(0, early, QStringLiteral("early"));
  ASSERT_EQ(session->pictures().pictures().size(), 1u) << "a picture of an earlier session";
  const SharedBitmap listed = session->pictures().pictures().front().bitmap;
  emit frame->list().useWanted(1, late, QStringLiteral("late"));
  emit frame->list().useWanted(1, listed, QStringLiteral("early"));
  EXPECT_EQ(session->pictures().pictures().size(), 2u) << "one of the list is not added again";
  emit frame->list().useWanted(1, session->pictures().pictures().back().bitmap, QStringLiteral("late"));
  desk->compare().setOn(true);
  settle();
  EXPECT_EQ(frame->canvas().shownColor({1, 4}), QColor(200, 0, 0));
  EXPECT_EQ(frame->canvas().shownColor({6, 4}), QColor(0, 0, 200));
}
